// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How notes are taken away in a file and brought back. The host may end while a dialog is open: after each one it is
// asked whether the dock still lives.

#include "dock/dock.hpp"
#include "dock/file_dialog.hpp"
#include "dock/message.hpp"

#include "backup/backup.hpp"
#include "backup/file_job.hpp"
#include "backup/inspection.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QTemporaryDir>

#include <algorithm>
#include <utility>

namespace quillbay {

namespace {

/// Removing so many files takes less than a frame.
constexpr qsizetype kMaxCopiesRemovedAtOnce = 100;

void warn(QWidget *parent, const char *titleKey, const QString &message)
{
	showMessage(parent, QMessageBox::Warning, text(titleKey), message);
}

QStringList allNoteFiles(const QString &folder)
{
	QStringList files;
	const QFileInfoList infos = QDir(folder).entryInfoList({QStringLiteral("*.json")}, QDir::Files, QDir::Name);
	for (const QFileInfo &info : infos) {
		files.append(info.filePath());
	}
	return files;
}

bool isPresentScene(obs_source_t *source)
{
	const obs_scene_t *scene = obs_scene_from_source(source);
	return scene && !obs_source_removed(source) && !obs_scene_is_group(scene);
}

} // namespace

/// One note of a backup and where it goes.
struct Dock::Restore {
	OBSSource scene;
	NoteTarget target;
	QString file;
};

void Dock::backup(bool all)
{
	if (shutDown || restoring || !flush(true, true)) {
		return;
	}
	QString stem = QStringLiteral("OBS-QuillBay_Backup");
	const QStringList files = all ? allNoteFiles(noteStore.folder()) : boundNoteFile(stem);
	if (files.isEmpty()) {
		if (all) {
			showStatus(text("BackupEmpty"));
		}
		return;
	}
	const QPointer<Dock> self(this);
	const QString destination = chooseDestination(all, stem);
	if (!self || shutDown || destination.isEmpty()) {
		return;
	}
	QString error;
	bool isSaved = false;
	fileJob(this, text("BackingUp"), [&] { isSaved = backupNotes(destination, files, error); });
	if (!self || shutDown) {
		return;
	}
	if (isSaved) {
		showStatus(text("BackupSaved"));
	} else {
		warn(this, "BackupFailed", error);
	}
}

// The bound scene's note file, and its name for the backup; empty when there is none to back up.
QStringList Dock::boundNoteFile(QString &stem)
{
	const OBSSourceAutoRelease scene = OBSGetStrongRef(currentScene);
	if (!scene) {
		return {};
	}
	QString error;
	noteStore.reattach(scene, {});
	const QString path = noteStore.filePath(scene);
	if ((path.isEmpty() || !QFileInfo::exists(path)) && !noteStore.write(scene, {}, &error)) {
		showStatus(error);
		return {};
	}
	rememberPath(scene);
	stem = noteName(sceneName(scene));
	return flush(true, true) ? QStringList(noteStore.filePath(scene)) : QStringList();
}

// Where to save a backup, or empty.
QString Dock::chooseDestination(bool all, const QString &stem)
{
	const QString extension = all ? QStringLiteral(".zip") : QStringLiteral(".json");
	const QString now = QDateTime::currentDateTime().toString(QStringLiteral("_yyyyMMdd_HHmmss"));
	const QPointer<Dock> self(this);
	const auto choose = [&](const QString &proposed) {
		return chooseSaveFile(this, text(all ? "BackupAll" : "BackupCurrent"),
				      all ? QStringLiteral("ZIP (*.zip)") : QStringLiteral("JSON (*.json)"), proposed)
			.path;
	};
	QString path = choose(stem + now + extension);
	while (self && !path.isEmpty() && !path.endsWith(extension, Qt::CaseInsensitive)) {
		path += extension;
		// The dialog has not asked whether to replace the file of that name.
		if (QFileInfo::exists(path)) {
			path = choose(path);
		}
	}
	if (!self || path.isEmpty()) {
		return {};
	}
	if (QFileInfo(path).absoluteDir() == QDir(noteStore.folder())) {
		warn(this, "BackupFailed", text("BackupChooseFolder"));
		return {};
	}
	return path;
}

bool Dock::canRestore()
{
	return !shutDown && !locked && !remoteEditing && !restoring && flush(true, true);
}

void Dock::restoreBackup()
{
	const OBSSourceAutoRelease scene = OBSGetStrongRef(currentScene);
	if (!scene || !canRestore()) {
		return;
	}
	const QPointer<Dock> self(this);
	const QString path = chooseFile(this, text("RestoreBackup"), QStringLiteral("QuillBay (*.json *.zip)"));
	if (!self || shutDown || path.isEmpty()) {
		return;
	}
	QTemporaryDir folder;
	if (!folder.isValid()) {
		showStatus(text("RestoreFailed"));
		return;
	}
	QList<BackupNote> notes;
	QString error;
	fileJob(this, text("CheckingBackup"), [&] {
		notes = inspectBackup(path, folder.path(), error);
		if (notes.isEmpty()) {
			folder.remove();
		}
	});
	if (self && !shutDown && !error.isEmpty()) {
		warn(this, "RestoreFailed", error);
	} else if (self && canRestore()) {
		offerRestore(notes, isSingleNote(path) ? scene.Get() : nullptr, folder);
	}
	// A refused restore leaves its copies: thousands of them would hold up the host.
	if (self && notes.size() > kMaxCopiesRemovedAtOnce && QFileInfo::exists(folder.path())) {
		fileJob(this, text("CheckingBackup"), [&folder] { folder.remove(); });
	}
}

void Dock::offerRestore(const QList<BackupNote> &notes, obs_source_t *onlyScene, QTemporaryDir &copies)
{
	const QPointer<Dock> self(this);
	std::vector<Restore> restores = matchBackup(notes, onlyScene);
	if (restores.empty()) {
		showMessage(this, QMessageBox::Information, text("RestoreBackup"), text("RestoreNoMatch"));
	} else if (confirmRestore(restores) && self && canRestore()) {
		restoreNotes(restores, notes.size(), copies);
	}
}

// The notes whose scenes are here; a note for `onlyScene` may come from any scene.
std::vector<Dock::Restore> Dock::matchBackup(const QList<BackupNote> &notes, obs_source_t *onlyScene) const
{
	std::vector<Restore> restores;
	for (const BackupNote &note : notes) {
		const QByteArray sceneId = note.sceneId.toUtf8();
		const OBSSourceAutoRelease source =
			onlyScene ? obs_source_get_ref(onlyScene) : obs_get_source_by_uuid(sceneId.constData());
		if (isPresentScene(source)) {
			restores.push_back({source.Get(), {}, note.file});
		}
	}
	return restores;
}

// Decides where the notes go, and leaves out those whose scene has gone. Answers how many replace a file.
int Dock::prepareRestores(std::vector<Restore> &restores) const
{
	std::erase_if(restores, [](const Restore &restore) { return !isPresentScene(restore.scene); });
	int replaced = 0;
	QSet<QString> taken;
	for (Restore &restore : restores) {
		restore.target = noteStore.prepare(restore.scene, taken);
		const QFileInfo info(restore.target.path);
		taken.insert(info.fileName().toCaseFolded());
		replaced += info.exists() ? 1 : 0;
	}
	return replaced;
}

bool Dock::confirmRestore(std::vector<Restore> &restores)
{
	const int replaced = prepareRestores(restores);
	const QString question = text("RestorePrompt").arg(QString::number(restores.size()), QString::number(replaced));
	return showMessage(this, QMessageBox::Question, text("RestoreBackup"), question,
			   QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

void Dock::restoreNotes(std::vector<Restore> &restores, qsizetype noteCount, QTemporaryDir &copies)
{
	restoring = true;
	pauseScroll();
	updateReadOnly();
	remote->setCollectionChanging(true);
	// While the question was open a scene may have been renamed or removed, or a new note have taken a free name.
	prepareRestores(restores);

	const QPointer<Dock> self(this);
	std::size_t written = 0;
	QString error;
	fileJob(this, text("RestoringBackup"), [&restores, &written, &error, &copies] {
		while (written < restores.size() &&
		       restoreNote(restores[written].file, restores[written].target, error)) {
			++written;
		}
		copies.remove();
	});
	if (!self) {
		return;
	}
	for (std::size_t i = 0; i < written; ++i) {
		noteStore.accept(restores[i].scene, restores[i].target);
		rememberPath(restores[i].scene);
	}
	endRestore();

	const qsizetype skipped = noteCount - static_cast<qsizetype>(restores.size());
	const QString result = text("RestoreResult").arg(QString::number(written), QString::number(skipped));
	if (error.isEmpty()) {
		showStatus(result);
	} else if (!shutDown) {
		warn(this, "RestoreFailed", result + QLatin1Char('\n') + error);
	}
}

// Goes back to the scene on show, whose note may be another one now.
void Dock::endRestore()
{
	restoring = false;
	if (shutDown) {
		return;
	}
	flush(true, true);
	rememberPosition();
	const OBSSourceAutoRelease scene = OBSGetStrongRef(currentScene);
	sceneKey.clear();
	bindScene(scene);
	remote->setCollectionChanging(false);
	if (std::exchange(refreshPending, false)) {
		refreshScene();
	}
}

} // namespace quillbay
