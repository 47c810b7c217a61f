// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QBrush>
#include <QChar>
#include <QColor>
#include <QPalette>
#include <QString>
#include <QTextCursor>

namespace quillbay {

/// The character that marks a place in a note. A note in square brackets right after it belongs to the mark.
inline constexpr QChar kMark(0x25c6);
/// What is inserted for a new mark; the caret goes between the brackets.
inline const QString kEmptyMark = QStringLiteral("\u25c6[]");

/// The mark that holds the caret or ends or starts at it, selected; a null cursor when there is none. Brackets
/// that hold another mark or a line separator do not belong to the mark.
QTextCursor markAt(const QTextCursor &cursor);

/// The foreground of the text that a mark stands in: of the character after it, or before it where the mark ends
/// its paragraph. No brush where there is none.
QBrush neighbourForeground(const QTextCursor &mark);

/// The colour of marks in a theme of these colours.
QColor markColor(const QPalette &palette);

} // namespace quillbay
