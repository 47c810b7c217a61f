// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/html_names.hpp"

#include <algorithm>
#include <array>

namespace quillbay {

namespace {

constexpr std::array kNames = {
	Name{QLatin1StringView("blockquote"), Element::Block, Display::Block},
	Name{QLatin1StringView("body"), Element::Body, Display::Block},
	Name{QLatin1StringView("br"), Element::Br, Display::Inline},
	Name{QLatin1StringView("caption"), Element::Caption, Display::Block},
	Name{QLatin1StringView("center"), Element::Block, Display::Block},
	Name{QLatin1StringView("dd"), Element::Dd, Display::Block},
	Name{QLatin1StringView("div"), Element::Div, Display::Block},
	Name{QLatin1StringView("dl"), Element::Dl, Display::Block},
	Name{QLatin1StringView("dt"), Element::Dt, Display::Block},
	Name{QLatin1StringView("h1"), Element::Block, Display::Block},
	Name{QLatin1StringView("h2"), Element::Block, Display::Block},
	Name{QLatin1StringView("h3"), Element::Block, Display::Block},
	Name{QLatin1StringView("h4"), Element::Block, Display::Block},
	Name{QLatin1StringView("h5"), Element::Block, Display::Block},
	Name{QLatin1StringView("h6"), Element::Block, Display::Block},
	Name{QLatin1StringView("head"), Element::Head, Display::None},
	Name{QLatin1StringView("hr"), Element::Hr, Display::Block},
	Name{QLatin1StringView("html"), Element::Html, Display::Inline},
	Name{QLatin1StringView("img"), Element::Img, Display::Inline},
	Name{QLatin1StringView("li"), Element::Li, Display::Block},
	Name{QLatin1StringView("link"), Element::Hidden, Display::None},
	Name{QLatin1StringView("meta"), Element::Meta, Display::None},
	Name{QLatin1StringView("ol"), Element::List, Display::Block},
	Name{QLatin1StringView("p"), Element::P, Display::Block},
	Name{QLatin1StringView("pre"), Element::Block, Display::Block},
	Name{QLatin1StringView("qt"), Element::Body, Display::Block},
	Name{QLatin1StringView("script"), Element::Hidden, Display::None},
	Name{QLatin1StringView("style"), Element::Style, Display::None},
	Name{QLatin1StringView("table"), Element::Table, Display::Table},
	Name{QLatin1StringView("tbody"), Element::TableSection, Display::Table},
	Name{QLatin1StringView("td"), Element::Td, Display::Block},
	Name{QLatin1StringView("tfoot"), Element::TableSection, Display::Table},
	Name{QLatin1StringView("th"), Element::Th, Display::Block},
	Name{QLatin1StringView("thead"), Element::TableSection, Display::Table},
	Name{QLatin1StringView("title"), Element::Hidden, Display::None},
	Name{QLatin1StringView("tr"), Element::Tr, Display::Table},
	Name{QLatin1StringView("ul"), Element::List, Display::Block},
};
constexpr qsizetype kLongestName = 10;
// As Qt compares names: only letters of ASCII have another case here, and the Kelvin sign is a capital k. A name
// that is not closed by what would close it for Qt only looks deeper nested than it is.
char16_t lower(QChar c)
{
	const char16_t unit = c.unicode();
	return unit >= u'A' && unit <= u'Z' ? char16_t(unit + 32) : unit == 0x212a ? u'k' : unit;
}

} // namespace

bool isSameName(QStringView a, QStringView b)
{
	return a.size() == b.size() && std::ranges::equal(a, b, {}, lower, lower);
}

Name lookUp(QStringView tag)
{
	std::array<char, kLongestName> letters;
	const Name unknown{QLatin1StringView(), Element::Other, Display::Inline};
	if (tag.size() > kLongestName) {
		return unknown;
	}
	for (qsizetype i = 0; i < tag.size(); ++i) {
		const char16_t letter = lower(tag[i]);
		letters[size_t(i)] = letter < 128 ? char(letter) : '?';
	}
	const QLatin1StringView name(letters.data(), tag.size());
	const auto found = std::ranges::lower_bound(kNames, name, {}, &Name::text);
	return found != kNames.end() && found->text == name ? *found : unknown;
}

bool mentions(QStringView text, const char *part)
{
	return text.contains(QLatin1StringView(part), Qt::CaseInsensitive);
}

bool isEmptyElement(Element element)
{
	return element == Element::Br || element == Element::Hr || element == Element::Img || element == Element::Meta;
}

bool isCell(Element element)
{
	return element == Element::Td || element == Element::Th;
}

bool isAllowedIn(Element element, Element parent)
{
	switch (element) {
	case Element::Dd:
	case Element::Dt:
		return parent == Element::Dl;
	case Element::Tr:
		return parent == Element::Table || parent == Element::TableSection;
	case Element::Td:
	case Element::Th:
		return parent == Element::Tr;
	case Element::TableSection:
	case Element::Caption:
		return parent == Element::Table;
	case Element::Body:
		return parent != Element::Head;
	default:
		return true;
	}
}

} // namespace quillbay
