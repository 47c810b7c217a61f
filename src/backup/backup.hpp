// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>
#include <QStringList>

namespace quillbay {

/// Saves note files to one backup file at `path`: a copy of the only note file where the name ends in ".json", else a
/// ZIP archive with an entry for each. Every note is checked on the way. On failure a file that was there before
/// stays as it was and `error` holds a localized text or the file system's own description.
/// Touches nothing but files. Any thread.
bool backupNotes(const QString &path, const QStringList &files, QString &error);

/// Whether `path` names a backup of a single note: the name ends in ".json", in any letter case.
bool isSingleNote(const QString &path);

} // namespace quillbay
