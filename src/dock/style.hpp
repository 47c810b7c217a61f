// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QColor>
#include <QPalette>
#include <QSize>
#include <QString>

namespace quillbay {

/// Size of every tool button, in device-independent pixels.
inline constexpr QSize buttonSize{28, 24};
/// Size of the icons on them.
inline constexpr QSize iconSize{18, 18};

/// Whether the palette is one of a dark theme, judged by its Window colour.
bool isDark(const QPalette &palette);
/// The colour of texts that step back behind the note.
QColor mutedColor(const QPalette &palette);
/// The colour of lines between controls.
QColor separatorColor(const QPalette &palette);

/// The sheet of the line that says that a note is not saved.
QString saveErrorSheet(const QPalette &palette);
/// The editor's sheet. `textPreview` and `highlightPreview` are the colour names that a selection shows
/// instead of the usual selection colours, or empty.
QString editorSheet(const QPalette &palette, const QString &textPreview = {}, const QString &highlightPreview = {});
/// The sheet of tool buttons that stand alone.
QString toolButtonSheet(const QPalette &palette);
/// The sheet of a tool bar and the buttons on it.
QString toolBarSheet(const QPalette &palette);
/// The sheet of the speed slider.
QString sliderSheet(const QPalette &palette);
/// The sheet of spin boxes of this class: the host's own leaves room for buttons that ours do not have.
QString spinBoxSheet(const char *className);
/// The sheet of the search field and the status in it.
QString searchSheet(const QPalette &palette);
/// The sheet of the thin lines between controls.
QString separatorSheet(const QPalette &palette);

} // namespace quillbay
