// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/export_document.hpp"

#include "notes/limits.hpp"

#include <QFont>
#include <QHash>
#include <QTextBlock>
#include <QTextFrame>
#include <QTextList>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace quillbay {

namespace {

/// A note of more formats is parsed.
constexpr qsizetype kMaxFormats = 256;
constexpr int kWeightStep = 100;

constexpr std::array<int, 9> kPlainCharacterProperties = {
	QTextFormat::FontFamilies,  QTextFormat::FontPointSize,   QTextFormat::FontWeight,
	QTextFormat::FontItalic,    QTextFormat::FontUnderline,   QTextFormat::TextUnderlineStyle,
	QTextFormat::FontStrikeOut, QTextFormat::ForegroundBrush, QTextFormat::BackgroundBrush,
};
constexpr std::array<int, 10> kPlainBlockProperties = {
	QTextFormat::LayoutDirection, // HTML without one sets it too; the text's is looked at
	QTextFormat::BlockAlignment,   QTextFormat::BlockIndent,       QTextFormat::TextIndent,
	QTextFormat::BlockTopMargin,   QTextFormat::BlockBottomMargin, QTextFormat::BlockLeftMargin,
	QTextFormat::BlockRightMargin, QTextFormat::LineHeight,        QTextFormat::LineHeightType,
};

template <size_t size>
bool holdsOnly(const QTextFormat &format, const std::array<int, size> &known)
{
	const QMap<int, QVariant> properties = format.properties();
	return std::all_of(properties.keyBegin(), properties.keyEnd(),
			   [&known](int property) { return std::ranges::find(known, property) != known.end(); });
}

// Whether CSS reads the names as they are.
bool arePlainFamilies(const QStringList &families)
{
	const auto isPlain = [](QChar c) {
		return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u' ' || c == u'-' || c == u'.');
	};
	return !families.isEmpty() && std::ranges::all_of(families, [&isPlain](const QString &family) {
		return !family.isEmpty() && family == family.simplified() && std::ranges::all_of(family, isPlain);
	});
}

// Whether HTML keeps the values of the format, which says all that a run does.
bool isPlain(const QTextCharFormat &format)
{
	const double size = format.fontPointSize();
	const int weight = format.fontWeight();
	const auto underline = format.underlineStyle();
	return arePlainFamilies(format.fontFamilies().toStringList()) && size >= 1 && size <= kMaxPointSize &&
	       QString::number(size).toDouble() == size && weight >= kWeightStep && weight < kMaxWeight &&
	       weight % kWeightStep == 0 &&
	       (underline == QTextCharFormat::NoUnderline || underline == QTextCharFormat::SingleUnderline) &&
	       isPlainColor(format.foreground()) && isPlainColor(format.background());
}

// What text has that says nothing of its own: Qt writes the default font into the body.
QTextCharFormat bodyFormat(const QFont &font)
{
	QTextCharFormat format;
	format.setFontFamilies(font.families());
	format.setFontPointSize(std::max(font.pointSizeF(), 0.0));
	format.setFontWeight(font.weight());
	format.setFontItalic(font.italic());
	return format;
}

/// Tells whether paragraphs come out of HTML as they went in.
class PlainText {
public:
	explicit PlainText(const QTextCharFormat &body) : body_(body) {}

	bool holds(const QTextBlock &block)
	{
		const auto known = blockFormats_.constFind(block.blockFormatIndex());
		const bool isKnown = known != blockFormats_.constEnd();
		const bool isPlainBlock = isKnown ? *known : isPlainFormat(block);
		if (!isKnown) {
			blockFormats_.insert(block.blockFormatIndex(), isPlainBlock);
		}
		if (!isPlainBlock || block.textDirection() != Qt::LeftToRight) {
			return false;
		}
		qsizetype before = -1;
		for (auto at = block.begin(); !at.atEnd(); ++at) {
			const qsizetype look = lookOf(at.fragment());
			// Neighbours that look the same might become one.
			if (look < 0 || look == before || !isPlainString(at.fragment().text())) {
				return false;
			}
			before = look;
		}
		return true;
	}

private:
	static bool isPlainFormat(const QTextBlock &block)
	{
		const QTextBlockFormat format = block.blockFormat();
		const Qt::Alignment align = format.alignment();
		return !block.textList() && holdsOnly(format, kPlainBlockProperties) && format.indent() >= 0 &&
		       format.indent() <= kMaxIndent &&
		       (align == Qt::AlignLeft || align == Qt::AlignRight || align == Qt::AlignHCenter ||
			align == Qt::AlignJustify || align == (Qt::AlignRight | Qt::AlignAbsolute) ||
			align == (Qt::AlignLeft | Qt::AlignAbsolute));
	}

	static bool isPlainString(const QString &text)
	{
		const auto isOdd = [](QChar c) {
			return c.unicode() < 0x20 || (c.unicode() >= 0x7f && c.unicode() < 0xa0) ||
			       c == QChar::LineSeparator;
		};
		return isRunText(text) && std::ranges::none_of(text, isOdd);
	}

	// The number of the format among those that runs tell apart, or -1.
	qsizetype lookOf(const QTextFragment &fragment)
	{
		const int index = fragment.charFormatIndex();
		if (const auto known = looks_.constFind(index); known != looks_.constEnd()) {
			return *known;
		}
		const QTextCharFormat own = fragment.charFormat();
		const bool isPlainFormat = looks_.size() < kMaxFormats && holdsOnly(own, kPlainCharacterProperties);
		const QTextCharFormat format = isPlainFormat ? whole(own) : QTextCharFormat();
		qsizetype look = -1;
		if (isPlainFormat && isPlain(format)) {
			const QTextCharFormat told = whatRunsTell(format);
			look = std::ranges::find(told_, told) - told_.begin();
			if (look == qsizetype(told_.size())) {
				told_.push_back(told);
			}
		}
		looks_.insert(index, look);
		return look;
	}

	[[nodiscard]] QTextCharFormat whole(const QTextCharFormat &own) const
	{
		QTextCharFormat format = body_;
		format.merge(own);
		return format;
	}

	static QTextCharFormat whatRunsTell(const QTextCharFormat &format)
	{
		QTextCharFormat told;
		told.setFontFamilies({familyOf(format)});
		told.setFontPointSize(format.fontPointSize());
		told.setFontWeight(format.fontWeight());
		told.setFontItalic(format.fontItalic());
		told.setFontUnderline(format.fontUnderline());
		told.setFontStrikeOut(format.fontStrikeOut());
		for (const int property : {QTextFormat::ForegroundBrush, QTextFormat::BackgroundBrush}) {
			const QBrush brush = format.brushProperty(property);
			if (brush.style() != Qt::NoBrush) {
				told.setProperty(property, brush.color().name());
			}
		}
		return told;
	}

	const QTextCharFormat body_;
	QHash<int, bool> blockFormats_;
	QHash<int, qsizetype> looks_; // by the index of their format
	std::vector<QTextCharFormat> told_;
};

// Anything else about it would be written around all of the text.
bool isPlainFrame(const QTextDocument &document)
{
	QTextFrameFormat plain;
	plain.setMargin(document.documentMargin());
	return document.rootFrame()->childFrames().isEmpty() && document.rootFrame()->frameFormat() == plain;
}

} // namespace

QJsonObject exportWritten(const QTextDocument &document)
{
	const QTextCharFormat body = bodyFormat(document.defaultFont());
	bool isCertain = isPlainFrame(document) && isPlain(body);
	PlainText text(body);
	for (QTextBlock block = document.begin(); isCertain && block.isValid(); block = block.next()) {
		isCertain = text.holds(block);
	}
	return isCertain ? exportDocument(document, false, 0, body) : QJsonObject();
}

} // namespace quillbay
