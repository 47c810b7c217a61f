// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/editor_html.hpp"

#include <algorithm>

namespace quillbay {

bool isBlockBreak(QChar c)
{
	// Hardly any character is, and every one of a note is asked.
	const bool isOrdinary = c.unicode() >= 0x20 && c.unicode() < 0x2029;
	return !isOrdinary && (c == u'\n' || c == u'\r' || c == QChar::ParagraphSeparator || c.unicode() == 0xfdd0 ||
			       c.unicode() == 0xfdd1);
}

bool isEditorTag(QStringView tag, const Name &name)
{
	const auto isNameLetter = [](QChar c) {
		return (c >= u'a' && c <= u'z') || (c >= u'1' && c <= u'6') || c == u'-';
	};
	const auto skipName = [&] {
		const auto end = std::ranges::find_if_not(tag, isNameLetter);
		const QStringView found = tag.first(end - tag.begin());
		tag = tag.sliced(found.size());
		return found;
	};
	const QStringView element = skipName();
	const bool isInline = element == u"a" || element == u"span";
	const bool isForeign = element == u"blockquote" || element == u"center" ||
			       (name.element == Element::Hidden && element != u"title");
	if (!isInline && (isForeign || name.element == Element::Other || element != name.text)) {
		return false;
	}
	while (tag.startsWith(u' ') && !tag.startsWith(QLatin1StringView(" /"))) {
		tag = tag.sliced(1);
		const bool isNamed = !skipName().isEmpty() && tag.startsWith(QLatin1StringView("=\""));
		const qsizetype end = isNamed ? tag.indexOf(u'"', 2) : -1;
		if (end < 0) {
			return false;
		}
		tag = tag.sliced(end + 1);
	}
	return tag == (isEmptyElement(name.element) ? QLatin1StringView(" />") : QLatin1StringView(">"));
}

bool isEditorStyle(QStringView css)
{
	const auto isOdd = [](QChar c) { return c == u'\\' || c == u'&' || c == u'/' || c == u'{' || c == u'}'; };
	return std::ranges::none_of(css, isOdd) && !mentions(css, "display");
}

// The only escapes in the sheet that Qt writes are those of the check boxes.
bool isEditorSheet(QStringView sheet)
{
	return sheet.startsWith(QLatin1StringView("\np, li { white-space: pre-wrap; }\n")) &&
	       !mentions(sheet, "display") && sheet.count(u'\\') == sheet.count(QLatin1StringView("\\261")) &&
	       !sheet.contains(QLatin1StringView("/*"));
}

} // namespace quillbay
