// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "notes/note_store.hpp"

#include <QList>
#include <QString>

namespace quillbay {

/// One checked note of a backup.
struct BackupNote {
	/// Path of the note's copy.
	QString file;
	/// UUID of the scene that the note was written for.
	QString sceneId;
};

/// Checks all of the backup at `path` (a ZIP archive, or a single note file whose name ends in ".json") and saves a
/// copy of every note in `folder`. An empty list means failure: `error` then holds a localized text or the file
/// system's own description, and copies may be left in `folder`. Touches nothing but files. Any thread.
QList<BackupNote> inspectBackup(const QString &path, const QString &folder, QString &error);

/// Makes the note file `file` the note of another scene: writes it, with that scene's UUID and name, where `target`
/// says. On failure the file there stays as it was, with `error` as above. Any thread.
bool restoreNote(const QString &file, const NoteTarget &target, QString &error);

} // namespace quillbay
