// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "remote/qr.hpp"

#include <QImage>
#include <QPainter>
#include <QResizeEvent>

#include <qrcodegen.hpp>

namespace quillbay {

namespace {

constexpr int kMarginModules = 4;
constexpr QSize kPreferredSize{240, 240};
constexpr QSize kSmallestSize{64, 64};

void paintModules(QPainter &painter, const qrcodegen::QrCode &code, int scale, int offset)
{
	for (int y = 0; y < code.getSize(); ++y) {
		for (int x = 0; x < code.getSize(); ++x) {
			if (code.getModule(x, y)) {
				painter.fillRect(offset + x * scale, offset + y * scale, scale, scale, Qt::black);
			}
		}
	}
}

} // namespace

QPixmap qrPixmap(const QString &text, int size)
{
	using qrcodegen::QrCode;
	const QByteArray utf8 = text.toUtf8();
	try {
		const QrCode code = QrCode::encodeText(utf8.constData(), QrCode::Ecc::LOW);
		const int modules = code.getSize();
		const int wanted = modules + 2 * kMarginModules;
		if (wanted > size) {
			return {};
		}
		QImage image(size, size, QImage::Format_RGB32);
		image.fill(Qt::white);
		const int scale = size / wanted;
		QPainter painter(&image);
		paintModules(painter, code, scale, (size - modules * scale) / 2);
		painter.end();
		return QPixmap::fromImage(image);
	} catch (const qrcodegen::data_too_long &) {
		return {};
	}
}

QrLabel::QrLabel(QWidget *parent) : QLabel(parent)
{
	setMinimumSize(kSmallestSize);
	setAlignment(Qt::AlignCenter);
}

void QrLabel::setLink(const QString &link)
{
	link_ = link;
	redraw();
}

QSize QrLabel::sizeHint() const
{
	return kPreferredSize;
}

QSize QrLabel::minimumSizeHint() const
{
	return kSmallestSize;
}

void QrLabel::resizeEvent(QResizeEvent *event)
{
	QLabel::resizeEvent(event);
	if (event->size().width() != event->oldSize().width()) {
		setFixedHeight(width());
		redraw();
	}
}

void QrLabel::redraw()
{
	if (link_.isEmpty()) {
		clear();
	} else {
		setPixmap(qrPixmap(link_, width()));
	}
}

} // namespace quillbay
