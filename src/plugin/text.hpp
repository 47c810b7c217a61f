// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>

namespace quillbay {

/// The localized text of a locale-file key, or the key itself when no locale file has it. Any thread.
/// On macOS the modifier names in "ShortcutBody" are replaced by the ones printed on its keyboards.
QString text(const char *key);

/// `body` with the modifier names of other systems replaced by those of macOS: "Ctrl+Shift+" by "⇧⌘",
/// "Ctrl+" by "⌘", "Alt+" by "Option+". Case-sensitive.
QString withMacModifiers(QString body);

} // namespace quillbay
