// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>

namespace quillbay {

/// The elements that Qt's parser treats in a way of their own.
enum class Element : quint8 {
	Other,
	Body,
	Br,
	Caption,
	Dd,
	Div,
	Dl,
	Dt,
	Head,
	Hr,
	Html,
	Img,
	Li,
	List,
	Meta,
	P,
	Style,
	Table,
	Td,
	Th,
	Tr,
	TableSection,
	Block,
	Hidden,
};

/// How an element is shown where no CSS says otherwise.
enum class Display : quint8 { Inline, Block, Table, None };

/// What a tag's name stands for.
struct Name {
	QLatin1StringView text;
	Element element;
	Display display;
};

/// What Qt's parser takes a tag's name for; `Element::Other` for names it does not know.
Name lookUp(QStringView tag);
/// Whether Qt takes both for the same name.
bool isSameName(QStringView a, QStringView b);
/// Whether the text contains `part`, in any letter case.
bool mentions(QStringView text, const char *part);
/// Whether the element never has content.
bool isEmptyElement(Element element);
/// Whether it is a cell of a table, td or th.
bool isCell(Element element);
/// Whether Qt leaves the element where it stands in `parent`.
bool isAllowedIn(Element element, Element parent);

} // namespace quillbay
