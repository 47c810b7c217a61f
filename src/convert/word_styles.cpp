// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/word_styles.hpp"

#include "convert/word_xml.hpp"

namespace quillbay::word {

namespace {

constexpr int kDeepestParent = 16;

void readDefaults(QXmlStreamReader &reader, QTextCharFormat &format)
{
	while (reader.readNextStartElement()) {
		if (reader.name() == QLatin1StringView("rPr")) {
			runProperties(reader, format);
		} else {
			reader.skipCurrentElement();
		}
	}
}

Style readStyle(QXmlStreamReader &reader)
{
	Style style;
	while (reader.readNextStartElement()) {
		const QStringView name = reader.name();
		if (name == QLatin1StringView("rPr")) {
			style.chars = QTextCharFormat();
			runProperties(reader, style.chars);
		} else if (name == QLatin1StringView("pPr")) {
			const QTextCharFormat own = style.chars;
			static_cast<Paragraph &>(style) = readParagraphProperties(reader);
			style.chars.merge(own);
		} else {
			if (name == QLatin1StringView("basedOn")) {
				style.basedOn = attr(reader, "val");
			}
			reader.skipCurrentElement();
		}
	}
	return style;
}

} // namespace

StyleSheet readStyles(const QByteArray &part)
{
	StyleSheet sheet;
	QXmlStreamReader reader;
	openPart(reader, part);
	while (!reader.atEnd()) {
		reader.readNext();
		if (!reader.isStartElement()) {
			continue;
		}
		if (reader.name() == QLatin1StringView("rPrDefault")) {
			readDefaults(reader, sheet.defaults);
		} else if (reader.name() == QLatin1StringView("style")) {
			// An empty id means no style wherever one is named.
			const QString id = attr(reader, "styleId");
			const Style style = readStyle(reader);
			if (!id.isEmpty()) {
				sheet.styles.insert(id, style);
			}
		}
	}
	return sheet;
}

Style resolveStyle(const QHash<QString, Style> &styles, const QString &id, int depth)
{
	const auto own = styles.constFind(id);
	if (depth > kDeepestParent || own == styles.constEnd()) {
		return {};
	}
	Style style = resolveStyle(styles, own->basedOn, depth + 1);
	style.chars.merge(own->chars);
	style.block.merge(own->block);
	if (own->numId >= 0) {
		style.numId = own->numId;
		style.ilvl = own->ilvl;
	}
	return style;
}

} // namespace quillbay::word
