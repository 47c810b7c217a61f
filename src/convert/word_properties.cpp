// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/word_properties.hpp"

#include "convert/export_document.hpp"
#include "convert/word_xml.hpp"

#include <QBrush>
#include <QColor>
#include <QFont>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>

namespace quillbay::word {

namespace {

constexpr double kMinPointSize = 1;
// Twice what systems take as a family's name. Every run of a note repeats its family.
constexpr qsizetype kLongestFamily = 64;

struct NamedColor {
	QLatin1StringView name;
	const char *color;
};

// The highlights (ST_HighlightColor in ISO/IEC 29500-1) that are no colour names, or name other colours.
constexpr std::array kHighlights = {
	NamedColor{QLatin1StringView("darkYellow"), "#808000"},  NamedColor{QLatin1StringView("darkBlue"), "#000080"},
	NamedColor{QLatin1StringView("darkCyan"), "#008080"},    NamedColor{QLatin1StringView("darkGreen"), "#008000"},
	NamedColor{QLatin1StringView("darkMagenta"), "#800080"}, NamedColor{QLatin1StringView("darkRed"), "#800000"},
	NamedColor{QLatin1StringView("lightGray"), "#c0c0c0"},   NamedColor{QLatin1StringView("darkGray"), "#808080"},
};

QColor highlightColor(const QString &name)
{
	const auto *const known = std::ranges::find(kHighlights, QLatin1StringView(name.toLatin1()), &NamedColor::name);
	return QColor::fromString(known == kHighlights.end() ? name : QString::fromLatin1(known->color));
}

void setSize(const QString &halfPoints, QTextCharFormat &format)
{
	bool isNumber = false;
	const double size = halfPoints.toDouble(&isNumber) / 2;
	if (isNumber && size >= kMinPointSize && size <= kMaxPointSize) {
		format.setFontPointSize(size);
	}
}

void setFamily(const QXmlStreamReader &reader, QTextCharFormat &format)
{
	for (const char *script : {"eastAsia", "ascii", "hAnsi"}) {
		const QString family = attr(reader, script);
		if (!family.isEmpty()) {
			if (family.size() <= kLongestFamily) {
				format.setFontFamilies({family});
			}
			return;
		}
	}
}

void setForeground(const QString &value, QTextCharFormat &format)
{
	const QColor color = QColor::fromString(u'#' + value);
	if (color.isValid()) {
		format.setForeground(color);
	}
}

void setBackground(const QColor &color, QTextCharFormat &format)
{
	if (color.isValid()) {
		format.setBackground(color);
	}
}

void setVerticalAlignment(const QString &value, QTextCharFormat &format)
{
	if (value == QLatin1StringView("superscript")) {
		format.setVerticalAlignment(QTextCharFormat::AlignSuperScript);
	} else if (value == QLatin1StringView("subscript")) {
		format.setVerticalAlignment(QTextCharFormat::AlignSubScript);
	}
}

void setAlignment(const QString &value, QTextBlockFormat &format)
{
	if (value == QLatin1StringView("center")) {
		format.setAlignment(Qt::AlignHCenter);
	} else if (value == QLatin1StringView("right") || value == QLatin1StringView("end")) {
		format.setAlignment(Qt::AlignRight);
	} else if (value == QLatin1StringView("both")) {
		format.setAlignment(Qt::AlignJustify);
	} else {
		format.setAlignment(Qt::AlignLeft); // where the style says otherwise
	}
}

void readNumbering(QXmlStreamReader &reader, Paragraph &paragraph)
{
	while (reader.readNextStartElement()) {
		if (reader.name() == QLatin1StringView("numId")) {
			paragraph.numId = attr(reader, "val").toInt();
		} else if (reader.name() == QLatin1StringView("ilvl")) {
			paragraph.ilvl = std::clamp(attr(reader, "val").toInt(), 0, kDeepestLevel);
		}
		reader.skipCurrentElement();
	}
}

} // namespace

void runProperty(QXmlStreamReader &reader, QTextCharFormat &format)
{
	const QStringView name = reader.name();
	if (name == QLatin1StringView("b")) {
		format.setFontWeight(enabled(reader) ? QFont::Bold : QFont::Normal);
	} else if (name == QLatin1StringView("i")) {
		format.setFontItalic(enabled(reader));
	} else if (name == QLatin1StringView("u")) {
		format.setFontUnderline(enabled(reader));
	} else if (name == QLatin1StringView("strike")) {
		format.setFontStrikeOut(enabled(reader));
	} else if (name == QLatin1StringView("sz")) {
		setSize(attr(reader, "val"), format);
	} else if (name == QLatin1StringView("rFonts")) {
		setFamily(reader, format);
	} else if (name == QLatin1StringView("color")) {
		setForeground(attr(reader, "val"), format);
	} else if (name == QLatin1StringView("highlight")) {
		setBackground(highlightColor(attr(reader, "val")), format);
	} else if (name == QLatin1StringView("shd")) {
		setBackground(QColor::fromString(u'#' + attr(reader, "fill")), format);
	} else if (name == QLatin1StringView("vertAlign")) {
		setVerticalAlignment(attr(reader, "val"), format);
	}
}

void runProperties(QXmlStreamReader &reader, QTextCharFormat &format)
{
	while (reader.readNextStartElement()) {
		runProperty(reader, format);
		reader.skipCurrentElement();
	}
}

Paragraph readParagraphProperties(QXmlStreamReader &reader)
{
	Paragraph paragraph;
	while (reader.readNextStartElement()) {
		const QStringView name = reader.name();
		if (name == QLatin1StringView("rPr")) {
			runProperties(reader, paragraph.chars);
			continue;
		}
		if (name == QLatin1StringView("numPr")) {
			readNumbering(reader, paragraph);
			continue;
		}
		if (name == QLatin1StringView("jc")) {
			setAlignment(attr(reader, "val"), paragraph.block);
		} else if (name == QLatin1StringView("pStyle")) {
			paragraph.style = attr(reader, "val");
		}
		reader.skipCurrentElement();
	}
	return paragraph;
}

} // namespace quillbay::word
