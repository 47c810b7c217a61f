// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "backup/backup.hpp"

#include "backup/zip_writer.hpp"
#include "notes/limits.hpp"
#include "notes/note_file.hpp"
#include "plugin/text.hpp"

#include <QFileInfo>
#include <QSaveFile>
#include <QSet>

namespace quillbay {

namespace {

/// Reads the files of one backup; together they keep its limits.
class NoteCollector {
public:
	bool read(const QString &path, QByteArray &bytes, QString &error)
	{
		NoteFile note;
		if (!readNoteFile(path, bytes, error) || !decodeNote(bytes, note, error)) {
			return false;
		}
		totalBytes_ += bytes.size();
		if (totalBytes_ > kMaxBackupBytes) {
			error = text("BackupTooLarge");
			return false;
		}
		if (seen_.contains(note.sceneId)) {
			error = text("BackupInvalid");
			return false;
		}
		seen_.insert(note.sceneId);
		return true;
	}

private:
	qint64 totalBytes_ = 0;
	QSet<QString> seen_;
};

bool writeArchive(QSaveFile &archive, const QStringList &files, QString &error)
{
	ZipWriter zip(archive);
	NoteCollector collector;
	QByteArray bytes;
	for (const QString &path : files) {
		if (!collector.read(path, bytes, error)) {
			return false;
		}
		switch (zip.add(QFileInfo(path).fileName(), bytes)) {
		case ZipWriter::Result::Written:
			break;
		case ZipWriter::Result::NotCompressed:
			error = text("BackupFailed");
			return false;
		case ZipWriter::Result::NotWritten:
			error = archive.errorString();
			return false;
		}
	}
	if (!zip.finish()) {
		error = archive.errorString();
		return false;
	}
	return true;
}

bool copyNote(const QString &path, const QString &file, QString &error)
{
	QByteArray bytes;
	return NoteCollector().read(file, bytes, error) && saveNoteFile(path, bytes, error);
}

} // namespace

bool isSingleNote(const QString &path)
{
	return path.endsWith(QLatin1StringView(".json"), Qt::CaseInsensitive);
}

bool backupNotes(const QString &path, const QStringList &files, QString &error)
{
	if (files.isEmpty() || files.size() > kMaxBackupNotes) {
		error = text("BackupEmpty");
		return false;
	}
	if (isSingleNote(path)) {
		if (files.size() == 1) {
			return copyNote(path, files.first(), error);
		}
		error = text("BackupFailed");
		return false;
	}
	QSaveFile archive(path);
	if (!archive.open(QIODevice::WriteOnly)) {
		error = archive.errorString();
		return false;
	}
	if (!writeArchive(archive, files, error)) {
		return false;
	}
	if (!archive.commit()) {
		error = archive.errorString();
		return false;
	}
	return true;
}

} // namespace quillbay
