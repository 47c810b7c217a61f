// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QDateTime>
#include <QSet>
#include <QString>

class QSettings;

namespace quillbay {

/// A century: what is asked for beyond it is taken for a damaged setting.
inline constexpr int kMaxAutoClearDays = 36'500;

/// Which notes empty themselves, and when.
struct AutoClear {
	/// Days without an edit, 0 to `kMaxAutoClearDays`; 0: never.
	int days = 0;
	/// All scenes, whatever scene collection they belong to.
	bool isAll = false;
	/// UUIDs of the chosen scenes, of all scene collections; they count while `isAll` is not set.
	QSet<QString> scenes;

	bool operator==(const AutoClear &) const = default;
	/// Whether there is a scene whose note may ever be emptied.
	[[nodiscard]] bool isOn() const { return days > 0 && (isAll || !scenes.isEmpty()); }
	[[nodiscard]] bool isChosen(const QString &scene) const { return isAll || scenes.contains(scene); }
};

/// Of damaged settings what makes sense; the rest is off.
AutoClear readAutoClear(const QSettings &settings);
/// False when the file could not be written; the settings are then as they were.
bool writeAutoClear(const AutoClear &choice, QSettings &settings);

/// A note that was last written then, or earlier, has been left alone for so many days. UTC: days have 24 hours,
/// wherever the machine is.
QDateTime autoClearCutoff(const QDateTime &now, int days);

} // namespace quillbay
