// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/note_document.hpp"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QTextImageFormat>
#include <QTextObjectInterface>
#include <QUrl>

#include <algorithm>
#include <cmath>

namespace quillbay {

namespace {

constexpr QSizeF kPlaceholderSize(16, 16);

bool isDataUrl(QStringView name)
{
	return name.startsWith(QLatin1StringView("data:"), Qt::CaseInsensitive);
}

// The bytes that a data: URL carries: "data:[type][;base64],payload".
QByteArray payloadOf(QStringView url)
{
	const qsizetype comma = url.indexOf(u',');
	if (comma < 0) {
		return {};
	}
	const QByteArray payload = QByteArray::fromPercentEncoding(url.sliced(comma + 1).toLatin1());
	const bool isBase64 = url.first(comma).trimmed().endsWith(QLatin1StringView(";base64"), Qt::CaseInsensitive);
	return isBase64 ? QByteArray::fromBase64(payload) : payload;
}

// Only the plain picture formats: SVG, say, can name files of its own.
bool isPlainFormat(const QByteArray &format)
{
	static constexpr const char *kFormats[] = {"png", "jpeg", "jpg", "gif", "bmp", "webp"};
	return std::ranges::any_of(kFormats, [&format](const char *plain) { return format == plain; });
}

// Decodes a picture of at most `maxPixels`; its size is read from its head before anything is decoded.
QImage decoded(QByteArray bytes, qint64 maxPixels)
{
	QBuffer buffer(&bytes);
	buffer.open(QIODevice::ReadOnly);
	QImageReader reader(&buffer);
	reader.setDecideFormatFromContent(true);
	reader.setAutoTransform(true);
	const QSize size = reader.canRead() && isPlainFormat(reader.format()) ? reader.size() : QSize();
	const bool isSmallEnough = size.isValid() && qint64(size.width()) * size.height() <= maxPixels;
	return isSmallEnough ? reader.read() : QImage();
}

qreal sane(qreal side)
{
	return std::isfinite(side) ? std::clamp(side, qreal(0), NoteDocument::kMaxShownSide) : 0;
}

// The size that a picture is shown at: that of the format, else its own, with its own proportions where only one
// side is given.
QSizeF shownSize(const QTextImageFormat &format, QSizeF own)
{
	const bool hasWidth = format.hasProperty(QTextFormat::ImageWidth) && format.width() >= 0;
	const bool hasHeight = format.hasProperty(QTextFormat::ImageHeight) && format.height() >= 0;
	QSizeF size(hasWidth ? format.width() : own.width(), hasHeight ? format.height() : own.height());
	if (hasWidth && !hasHeight && own.width() > 0) {
		size.setHeight(size.width() * own.height() / own.width());
	}
	if (hasHeight && !hasWidth && own.height() > 0) {
		size.setWidth(size.height() * own.width() / own.height());
	}
	return {sane(size.width()), sane(size.height())};
}

// Stands in for Qt's own handler, which opens what a picture names as a file.
class PictureHandler final : public QObject, public QTextObjectInterface {
	Q_OBJECT
	Q_INTERFACES(QTextObjectInterface)

public:
	explicit PictureHandler(NoteDocument *document) : QObject(document), document_(document) {}

	QSizeF intrinsicSize(QTextDocument *, int, const QTextFormat &format) override
	{
		const QTextImageFormat image = format.toImageFormat();
		const QPixmap picture = document_->picture(image.name());
		return shownSize(image, picture.isNull() ? kPlaceholderSize : QSizeF(picture.size()));
	}

	void drawObject(QPainter *painter, const QRectF &rect, QTextDocument *, int, const QTextFormat &format) override
	{
		const QPixmap picture = document_->picture(format.toImageFormat().name());
		painter->save();
		if (picture.isNull()) {
			painter->setBrush(Qt::NoBrush);
			painter->setPen(Qt::gray);
			painter->drawRect(rect.adjusted(0.5, 0.5, -0.5, -0.5));
		} else {
			painter->setRenderHint(QPainter::SmoothPixmapTransform);
			painter->drawPixmap(rect, picture, picture.rect());
		}
		painter->restore();
	}

private:
	NoteDocument *document_;
};

} // namespace

NoteDocument::NoteDocument(QObject *parent) : QTextDocument(parent)
{
	connect(this, &QTextDocument::documentLayoutChanged, this, &NoteDocument::registerPictures);
}

void NoteDocument::forgetPictures()
{
	pictures_.clear();
	picturePixels_ = 0;
}

std::unique_ptr<NoteDocument> NoteDocument::makeScratch()
{
	auto scratch = std::make_unique<NoteDocument>();
	scratch->setLayoutEnabled(false);
	scratch->setUndoRedoEnabled(false);
	scratch->isDecoding_ = false;
	return scratch;
}

void NoteDocument::registerPictures()
{
	QObject *handler = findChild<PictureHandler *>(Qt::FindDirectChildrenOnly);
	documentLayout()->registerHandler(QTextFormat::ImageObject, handler ? handler : new PictureHandler(this));
}

QPixmap NoteDocument::picture(const QString &name)
{
	if (!isDecoding_ || !isDataUrl(name)) {
		return {};
	}
	if (const auto known = pictures_.constFind(name); known != pictures_.constEnd()) {
		return *known;
	}
	const QImage image = decoded(payloadOf(name), kMaxPicturePixels - picturePixels_);
	picturePixels_ += qint64(image.width()) * image.height();
	return *pictures_.insert(name, QPixmap::fromImage(image));
}

// An answer that is not null keeps Qt from looking for the name itself.
QVariant NoteDocument::loadResource(int type, const QUrl &name)
{
	const bool isPicture = type == ImageResource && name.scheme() == QLatin1StringView("data");
	const QPixmap found = isPicture ? picture(name.toString(QUrl::FullyEncoded)) : QPixmap();
	return found.isNull() ? QVariant(QByteArray("")) : QVariant(found);
}

} // namespace quillbay

#include "note_document.moc"
