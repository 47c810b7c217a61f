// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

class QIODevice;

namespace quillbay {

/// The decoded content of one note file.
struct NoteFile {
	/// UUID of the scene the note belongs to, as the host writes it.
	QString sceneId;
	/// The scene's name when the note was written.
	QString sceneName;
	/// The note as rich-text HTML; empty for an empty note.
	QString html;
};

/// A note handed to the note store for writing.
struct Note {
	QString html;
};

/// The file name stem, without extension, for a scene name: valid on every system that the host runs on,
/// at most 100 UTF-16 code units and 180 bytes of UTF-8, never empty.
QString noteName(const QString &name);

/// The content of a note file: compact JSON in UTF-8 with the members "format", "version", "sceneId",
/// "sceneName" and "html" in this order.
QByteArray encodeNote(const NoteFile &file);

/// Reads what `encodeNote` writes; unknown members are ignored. On failure `file` is left unchanged and
/// `error` holds a localized text.
bool decodeNote(const QByteArray &bytes, NoteFile &file, QString &error);

/// The id of the scene that the note file at `path` says it belongs to, for when reading all of it takes too long: it
/// stands near the start. Empty when it does not, and for what is no file.
QString ownerOf(const QString &path);

/// The bytes of the note file at `path`, not decoded. On failure `error` holds a localized text.
bool readNoteFile(const QString &path, QByteArray &bytes, QString &error);

/// Writes all of `bytes`. Where only a part finds room, as on a disk that is full, the device's error says why, which
/// after a single short `QIODevice::write` it does not.
bool writeAll(QIODevice &device, const QByteArray &bytes);

/// Replaces the file at `path` in one step, creating its folder where missing, and gives it the
/// modification time `modified` when that is valid. On failure the previous file stays as it was and
/// `error` holds a localized text or the file system's own description.
bool saveNoteFile(const QString &path, const QByteArray &bytes, QString &error, const QDateTime &modified = {});

} // namespace quillbay
