// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Synthetic input into the host's widgets. User-interface thread only.

#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QWidget>

namespace probe {

/// Types one character (a line feed is the Return key) with all that a key press brings: shortcuts, press, release.
void typeCharacter(QWidget &widget, const QString &character);
/// Presses the key sequence in "key", such as "Ctrl+V" or "Return".
QJsonValue pressKey(QWidget &widget, const QJsonObject &request);
/// "action" press, release, click, double or wheel; "at" [x, y], else the middle; "button"; "modifiers"; "delta".
QJsonValue useMouse(QWidget &widget, const QJsonObject &request);
/// Drops "text" and "html" at "at"; answers whether the widget took it.
QJsonValue drop(QWidget &widget, const QJsonObject &request);
/// Input method: "preedit", "commit", "replaceStart", "replaceLength".
QJsonValue compose(QWidget &widget, const QJsonObject &request);
/// Puts "text" ("repeat" times) and "html" on the clipboard.
QJsonValue setClipboard(const QJsonObject &request);

} // namespace probe
