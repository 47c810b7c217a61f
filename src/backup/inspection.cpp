// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "backup/inspection.hpp"

#include "backup/backup.hpp"
#include "backup/zip_reader.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

namespace quillbay {

namespace {

/// Deflate makes what cannot be compressed a little longer: no note needs more than this.
constexpr qint64 kPackingBytes = 64 * 1024;
/// Archives are as large as their notes and this much for headers.
constexpr qint64 kArchiveBytes = 16 * 1024 * 1024;
constexpr ZipLimits kLimits{kMaxBackupBytes + kArchiveBytes, kMaxBackupNotes, 8 * 1024 * 1024,
			    kMaxNoteBytes + kPackingBytes, kMaxNoteBytes};

// Copies last for one command: that thousands of them survive a power cut is not worth the wait.
bool saveCopy(const QString &path, const QByteArray &bytes, QString &error)
{
	QFile file(path);
	const bool isSaved = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && writeAll(file, bytes);
	if (!isSaved) {
		error = file.errorString();
	}
	return isSaved;
}

/// Collects the notes of one backup in a folder.
class Inspection {
public:
	explicit Inspection(const QString &folder) : folder_(folder) {}

	bool accept(const QByteArray &bytes, QString &error)
	{
		NoteFile note;
		if (!decodeNote(bytes, note, error)) {
			return false;
		}
		if (!withinHtmlLimits(note.html)) {
			error = text("TextLimit");
			return false;
		}
		totalBytes_ += bytes.size();
		if (totalBytes_ > kMaxBackupBytes || notes_.size() >= kMaxBackupNotes) {
			error = text("BackupTooLarge");
			return false;
		}
		if (seen_.contains(note.sceneId)) {
			error = text("BackupInvalid");
			return false;
		}
		const QString path = folder_.filePath(QString::number(notes_.size()) + QStringLiteral(".json"));
		if (!saveCopy(path, bytes, error)) {
			return false;
		}
		seen_.insert(note.sceneId);
		notes_.append({path, note.sceneId});
		return true;
	}

	[[nodiscard]] const QList<BackupNote> &notes() const { return notes_; }

private:
	QDir folder_;
	qint64 totalBytes_ = 0;
	QSet<QString> seen_;
	QList<BackupNote> notes_;
};

bool inspectNote(const QString &path, Inspection &inspection, QString &error)
{
	QByteArray bytes;
	return readNoteFile(path, bytes, error) && inspection.accept(bytes, error);
}

bool inspectArchive(const QString &path, Inspection &inspection, QString &error)
{
	// A pipe would keep its reader waiting for ever.
	const QFileInfo info(path);
	if (info.exists() && !info.isFile() && !info.isDir()) {
		error = text("BackupInvalid");
		return false;
	}
	QFile archive(path);
	if (!archive.open(QIODevice::ReadOnly)) {
		error = archive.errorString();
		return false;
	}
	ZipReader zip(archive, kLimits, QStringLiteral(".json"));
	ZipReader::Step step = zip.open() ? zip.next() : ZipReader::Step::Invalid;
	while (step == ZipReader::Step::File) {
		if (!inspection.accept(zip.data(), error)) {
			return false;
		}
		step = zip.next();
	}
	if (step == ZipReader::Step::Invalid || inspection.notes().isEmpty()) {
		error = text("BackupInvalid");
		return false;
	}
	return true;
}

} // namespace

QList<BackupNote> inspectBackup(const QString &path, const QString &folder, QString &error)
{
	if (!QDir().mkpath(folder)) {
		error = text("NoteSaveFailed");
		return {};
	}
	Inspection inspection(folder);
	const bool isValid =
		isSingleNote(path) ? inspectNote(path, inspection, error) : inspectArchive(path, inspection, error);
	return isValid ? inspection.notes() : QList<BackupNote>();
}

bool restoreNote(const QString &file, const NoteTarget &target, QString &error)
{
	QFile copy(file);
	if (!copy.open(QIODevice::ReadOnly)) {
		error = copy.errorString();
		return false;
	}
	NoteFile note;
	if (!decodeNote(copy.readAll(), note, error)) {
		return false;
	}
	note.sceneId = target.sceneId;
	note.sceneName = target.sceneName;
	if (QFileInfo(target.path).isSymLink()) {
		error = text("BackupInvalid");
		return false;
	}
	return saveNoteFile(target.path, encodeNote(note), error);
}

} // namespace quillbay
