// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QIcon>
#include <QPalette>

#include <cstdint>

namespace quillbay {

/// The figures of the dock's buttons and actions. The values are fixed: actions carry them as integers in a property.
enum class Icon : std::int32_t {
	ImportDocument = 0,
	ExportDocument = 1,
	ChooseFont = 2,
	Bold = 3,
	Italic = 4,
	Underline = 5,
	TextColor = 6,
	Highlight = 7,
	ClearFormat = 8,
	AlignLeft = 9,
	AlignCenter = 10,
	AlignRight = 11,
	AlignJustify = 12,
	DecreaseIndent = 13,
	IncreaseIndent = 14,
	InsertTime = 15,
	ListStyle = 16,
	Scroll = 17,
	Pause = 18,
	ScrollTop = 19,
	Read = 20, ///< A padlock: closed in the On state, open in the Off state.
	ReadingGuide = 21,
	More = 22,
	FindPrevious = 23,
	FindNext = 24,
	ClearSearch = 25,
	RemoteQr = 26,
	InsertMark = 27,
	NextMark = 28,
	Strike = 29,
	FormatPainter = 30,
};

/// An icon that draws `icon` as a vector figure, sharp at any size and pixel density, in the window text colour of
/// `palette`'s active group; paler when disabled. The colour is fixed here: make the icon again when the palette
/// changes. A value outside the enumeration gives an icon that draws nothing. UI thread.
QIcon makeIcon(Icon icon, const QPalette &palette);

} // namespace quillbay
