// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/word_styles.hpp"
#include "convert/word_xml.hpp"

namespace quillbay::word {

namespace {

QTextListFormat::Style listStyle(const QString &numFmt)
{
	static const QHash<QString, QTextListFormat::Style> kStyles = {
		{QStringLiteral("bullet"), QTextListFormat::ListDisc},
		{QStringLiteral("lowerLetter"), QTextListFormat::ListLowerAlpha},
		{QStringLiteral("upperLetter"), QTextListFormat::ListUpperAlpha},
		{QStringLiteral("lowerRoman"), QTextListFormat::ListLowerRoman},
		{QStringLiteral("upperRoman"), QTextListFormat::ListUpperRoman},
	};
	return kStyles.value(numFmt, QTextListFormat::ListDecimal);
}

QString levelKey(int abstractNumId, int ilvl)
{
	return QString::number(abstractNumId) + u':' + QString::number(ilvl);
}

// The attribute as a number; -1 when it is none.
int numberOf(const QXmlStreamReader &reader, const char *name)
{
	bool isNumber = false;
	const int number = attr(reader, name).toInt(&isNumber);
	return isNumber ? number : -1;
}

} // namespace

Numbering readNumbering(const QByteArray &part)
{
	Numbering numbering;
	QXmlStreamReader reader;
	openPart(reader, part);
	int abstractNum = -1;
	int level = -1;
	int num = -1;
	while (!reader.atEnd()) {
		reader.readNext();
		const QStringView name = reader.name();
		if (reader.isEndElement() && name == QLatin1StringView("abstractNum")) {
			abstractNum = -1;
		} else if (reader.isEndElement() && name == QLatin1StringView("lvl")) {
			level = -1;
		} else if (reader.isEndElement() && name == QLatin1StringView("num")) {
			num = -1;
		} else if (!reader.isStartElement()) {
			continue;
		} else if (name == QLatin1StringView("abstractNum")) {
			abstractNum = numberOf(reader, "abstractNumId");
		} else if (name == QLatin1StringView("lvl")) {
			level = numberOf(reader, "ilvl");
		} else if (name == QLatin1StringView("numFmt") && abstractNum >= 0 && level >= 0) {
			numbering.levelStyles.insert(levelKey(abstractNum, level), listStyle(attr(reader, "val")));
		} else if (name == QLatin1StringView("num")) {
			num = numberOf(reader, "numId");
		} else if (name == QLatin1StringView("abstractNumId") && num >= 0) {
			numbering.abstractNums.insert(num, numberOf(reader, "val"));
		}
	}
	return numbering;
}

QTextListFormat::Style Numbering::styleOf(int numId, int ilvl) const
{
	return levelStyles.value(levelKey(abstractNums.value(numId, -1), ilvl), QTextListFormat::ListDecimal);
}

} // namespace quillbay::word
