// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/note_store.hpp"

#include "plugin/text.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <utility>

#include <obs.hpp>

namespace quillbay {

namespace {

constexpr const char *kRecordKey = "quillbay";
constexpr const char *kIdKey = "id";
constexpr const char *kFileKey = "file";
constexpr const char *kNameKey = "name";

struct Record {
	QString file;
	QString name;
};

// Empty unless the record was written for this very scene: duplicating a scene copies its private settings.
Record readRecord(obs_source_t *scene)
{
	const OBSDataAutoRelease settings = obs_source_get_private_settings(scene);
	const OBSDataAutoRelease record = obs_data_get_obj(settings, kRecordKey);
	if (!record || QString::fromUtf8(obs_data_get_string(record, kIdKey)) != sceneUuid(scene)) {
		return {};
	}
	return {QString::fromUtf8(obs_data_get_string(record, kFileKey)),
		QString::fromUtf8(obs_data_get_string(record, kNameKey))};
}

void writeRecord(obs_source_t *scene, const NoteTarget &target)
{
	const QByteArray id = target.sceneId.toUtf8();
	const QByteArray file = QFileInfo(target.path).fileName().toUtf8();
	const QByteArray name = target.sceneName.toUtf8();
	const OBSDataAutoRelease record = obs_data_create();
	obs_data_set_string(record, kIdKey, id.constData());
	obs_data_set_string(record, kFileKey, file.constData());
	obs_data_set_string(record, kNameKey, name.constData());
	const OBSDataAutoRelease settings = obs_source_get_private_settings(scene);
	obs_data_set_obj(settings, kRecordKey, record);
}

bool isBareNoteFileName(const QString &file)
{
	return !file.isEmpty() && file == QFileInfo(file).fileName() && !file.contains(QLatin1Char('\\')) &&
	       file.endsWith(QLatin1StringView(".json"), Qt::CaseInsensitive);
}

// Whether the nearest thing above `path` that is there is a link to nowhere, as to a disk that has gone.
bool isBehindBrokenLink(std::filesystem::path path)
{
	std::error_code error;
	while (path.has_relative_path() &&
	       std::filesystem::symlink_status(path, error).type() == std::filesystem::file_type::not_found) {
		path = path.parent_path();
	}
	return std::filesystem::is_symlink(path, error) && !std::filesystem::exists(path, error);
}

// Only a file that is truly not there is an empty note: behind a folder that cannot be entered, that has become a
// file, or that is a link to a disk that has gone, a note may well be.
bool isMissing(const QString &path)
{
	std::error_code error;
	const auto file = QFileInfo(path).filesystemAbsoluteFilePath();
	const auto status = std::filesystem::symlink_status(file, error);
	return status.type() == std::filesystem::file_type::not_found && error != std::errc::not_a_directory &&
	       !isBehindBrokenLink(file.parent_path());
}

bool loadNoteFile(const QString &path, NoteFile &note, QString &error)
{
	QByteArray bytes;
	return readNoteFile(path, bytes, error) && decodeNote(bytes, note, error);
}

bool holdsNoteOf(const QString &path, const QString &sceneId)
{
	NoteFile note;
	QString error;
	return !path.isEmpty() && loadNoteFile(path, note, error) && note.sceneId == sceneId;
}

// As above, for many files: the whole is read only where the start fits.
bool isFoundIn(const QString &path, const QString &sceneId)
{
	return ownerOf(path) == sceneId && holdsNoteOf(path, sceneId);
}

// A collection that the host brings back from an old copy may name a file that has become another scene's since.
bool isOfAnother(const QString &path, const QString &sceneId)
{
	const QString owner = ownerOf(path);
	return !owner.isEmpty() && owner != sceneId;
}

// The names that a stem's notes get, from n = 1 on.
QString fileName(const QString &stem, quint64 n)
{
	return n == 1 ? stem + QStringLiteral(".json") : QStringLiteral("%1_%2.json").arg(stem, QString::number(n));
}

void report(QString *error, const QString &message)
{
	if (error) {
		*error = message;
	}
}

} // namespace

QString sceneUuid(const obs_source *scene)
{
	return scene ? QString::fromUtf8(obs_source_get_uuid(scene)) : QString();
}

QString sceneName(const obs_source *scene)
{
	return scene ? QString::fromUtf8(obs_source_get_name(scene)) : QString();
}

NoteStore::NoteStore(const QString &folder) : folder_(QDir::cleanPath(folder)) {}

QString NoteStore::filePath(obs_source *scene) const
{
	if (!scene) {
		return {};
	}
	const QString file = readRecord(scene).file;
	return isBareNoteFileName(file) ? QDir(folder_).filePath(file) : QString();
}

QString NoteStore::read(obs_source *scene, QString *error) const
{
	const QString path = ownFile(scene);
	if (path.isEmpty() || isMissing(path)) {
		return {};
	}
	NoteFile note;
	QString message;
	if (!loadNoteFile(path, note, message)) {
		report(error, message);
		return {};
	}
	if (note.sceneId != sceneUuid(scene)) {
		report(error, text("NoteSceneMismatch"));
		return {};
	}
	return note.html;
}

QString NoteStore::destination(const QString &name, const QString &current, const QSet<QString> &taken) const
{
	const QDir folder(folder_);
	QSet<QString> used = taken;
	const QStringList entries = folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
	for (const QString &entry : entries) {
		if (folder.filePath(entry) != current) {
			used.insert(entry.toCaseFolded());
		}
	}
	// What the listing leaves out, hidden files or all of a folder that may not be listed, is still not ours.
	const auto isFree = [&](const QString &candidate) {
		const QFileInfo info(folder.filePath(candidate));
		const bool isThere = info.exists() || info.isSymLink();
		return !used.contains(candidate.toCaseFolded()) && (!isThere || info.filePath() == current);
	};
	const QString stem = noteName(name);
	quint64 n = 1;
	while (!isFree(fileName(stem, n))) {
		++n;
	}
	return folder.filePath(fileName(stem, n));
}

QString NoteStore::ownFile(obs_source *scene) const
{
	const QString recorded = filePath(scene);
	return recorded.isEmpty() && scene ? findByName(scene) : recorded;
}

// A host that dies after a note was written and before it saves its collection forgets the scene's first record: the
// note is where `destination` put it. Only a few names are tried, as scenes without a note are shown all the time.
QString NoteStore::findByName(obs_source *scene) const
{
	constexpr quint64 kNamesTried = 8;
	const QDir folder(folder_);
	const QString stem = noteName(sceneName(scene));
	const QString id = sceneUuid(scene);
	for (quint64 n = 1; n <= kNamesTried; ++n) {
		const QString path = folder.filePath(fileName(stem, n));
		if (isFoundIn(path, id)) {
			return path;
		}
	}
	return {};
}

NoteTarget NoteStore::prepare(obs_source *scene, const QSet<QString> &taken) const
{
	const QString name = sceneName(scene);
	QString current = ownFile(scene);
	if (isOfAnother(current, sceneUuid(scene))) {
		current.clear();
	}
	const bool isKept = !current.isEmpty() &&
			    (readRecord(scene).name == name ||
			     QFileInfo(current).completeBaseName().compare(noteName(name), Qt::CaseInsensitive) == 0);
	return {sceneUuid(scene), name, isKept ? current : destination(name, current, taken), current};
}

void NoteStore::accept(obs_source *scene, const NoteTarget &target)
{
	if (readRecord(scene).name == target.sceneName && target.path == target.previousPath) {
		return;
	}
	writeRecord(scene, target);
	isReferenceChanged_ = true;
	// On a file system that ignores letter case both names are the same file.
	if (!target.previousPath.isEmpty() && target.previousPath.compare(target.path, Qt::CaseInsensitive) != 0 &&
	    !QFileInfo(target.previousPath).isSymLink()) {
		QFile::remove(target.previousPath);
	}
}

bool NoteStore::save(const NoteTarget &target, const Note &note, QString *error, const QDateTime &modified) const
{
	QString message;
	const bool isSaved =
		!QFileInfo(target.path).isSymLink() &&
		saveNoteFile(target.path, encodeNote({target.sceneId, target.sceneName, note.html}), message, modified);
	if (!isSaved) {
		report(error, message.isEmpty() ? text("NoteSaveFailed") : message);
	}
	return isSaved;
}

bool NoteStore::write(obs_source *scene, const Note &note, QString *error, const QDateTime &modified)
{
	if (!scene) {
		report(error, text("SelectScene"));
		return false;
	}
	const NoteTarget target = prepare(scene, {});
	if (!save(target, note, error, modified)) {
		return false;
	}
	accept(scene, target);
	return true;
}

bool NoteStore::writeDetached(NoteTarget &target, const Note &note, QString *error) const
{
	if (target.sceneId.isEmpty()) {
		report(error, text("SelectScene"));
		return false;
	}
	NoteTarget place = target;
	if (place.path.isEmpty() || (!isMissing(place.path) && !holdsNoteOf(place.path, place.sceneId))) {
		place.path = destination(place.sceneName, {}, {});
	}
	if (!save(place, note, error, {})) {
		return false;
	}
	target = place;
	return true;
}

void NoteStore::reattach(obs_source *scene, const QString &path)
{
	if (!scene) {
		return;
	}
	const QString id = sceneUuid(scene);
	const QString recorded = filePath(scene);
	if (path == recorded && !path.isEmpty()) {
		return;
	}
	// The usual case must not read the note twice.
	const bool isLost = !recorded.isEmpty() && (isMissing(recorded) || isOfAnother(recorded, id));
	const bool isInPlace = path.isEmpty() && !recorded.isEmpty() && !isLost;
	if (isInPlace || holdsNoteOf(recorded, id)) {
		return;
	}
	QString found = holdsNoteOf(path, id) ? path : QString();
	if (found.isEmpty() && recorded.isEmpty()) {
		found = findByName(scene);
	} else if (found.isEmpty() && isLost) {
		found = findNote(id);
	}
	if (!found.isEmpty()) {
		accept(scene, {id, sceneName(scene), found, {}});
	}
}

QString NoteStore::findNote(const QString &sceneId) const
{
	const QDir folder(folder_);
	const QStringList names = folder.entryList({QStringLiteral("*.json")}, QDir::Files | QDir::NoSymLinks);
	for (const QString &name : names) {
		const QString path = folder.filePath(name);
		if (isFoundIn(path, sceneId)) {
			return path;
		}
	}
	return {};
}

bool NoteStore::rename(obs_source *scene, QString *error)
{
	const QString path = filePath(scene);
	if (path.isEmpty() || readRecord(scene).name == sceneName(scene)) {
		return true;
	}
	const QDateTime modified = QFileInfo(path).lastModified();
	QString readError;
	const QString html = read(scene, &readError);
	if (!readError.isEmpty()) {
		report(error, readError);
		return false;
	}
	return write(scene, {html}, error, modified);
}

bool NoteStore::clearExpired(obs_source *scene, const QDateTime &cutoff, QString *error)
{
	const QString path = filePath(scene);
	if (path.isEmpty() || !cutoff.isValid() || !QFileInfo::exists(path)) {
		return false;
	}
	const QDateTime modified = QFileInfo(path).lastModified();
	if (!modified.isValid() || modified > cutoff) {
		return false;
	}
	QString readError;
	const QString html = read(scene, &readError);
	if (!readError.isEmpty()) {
		report(error, readError);
		return false;
	}
	return !html.isEmpty() && write(scene, {}, error);
}

bool NoteStore::takeReferenceChanges()
{
	return std::exchange(isReferenceChanged_, false);
}

} // namespace quillbay
