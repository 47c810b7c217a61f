// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How the dock follows the host's scene, loads its note and never loses an edit of it.

#include "dock/dock.hpp"

#include "convert/patch_document.hpp"
#include "editor/editor.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QAbstractTextDocumentLayout>
#include <QAction>
#include <QGuiApplication>
#include <QInputMethod>
#include <QLabel>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTextBlock>
#include <QToolButton>

#include <algorithm>
#include <chrono>

namespace quillbay {

namespace {

/// While someone types on, writing takes at most one part in this many of the time.
constexpr int kWriteShare = 8;
/// A note that could not be written is tried again this often.
constexpr auto kRetryDelay = std::chrono::seconds(2);

QString keyOf(obs_source_t *scene)
{
	return scene ? QString::fromUtf8(obs_source_get_uuid(scene)) : QString();
}

QString nameOf(obs_source_t *scene)
{
	return scene ? QString::fromUtf8(obs_source_get_name(scene)) : text("NoScene");
}

QString positionSetting(const QString &key)
{
	return QStringLiteral("readingPositions/") + key;
}

} // namespace

void Dock::refreshScene()
{
	if (shutDown || collectionChanging) {
		return;
	}
	const OBSSourceAutoRelease scene = obs_frontend_preview_program_mode_active()
						   ? obs_frontend_get_current_preview_scene()
						   : obs_frontend_get_current_scene();
	bindScene(scene);
}

void Dock::bindScene(obs_source_t *scene)
{
	const QString key = keyOf(scene);
	if (!key.isEmpty() && key == sceneKey && !unavailable) {
		continueSameScene(scene);
		return;
	}
	// What is being composed belongs to the note that it was begun in.
	if (editor->hasFocus()) {
		QGuiApplication::inputMethod()->commit();
	}
	if (!flush(true, true)) {
		return;
	}
	setFormatPainter(false, false);
	hideGoTo();
	rememberPosition();
	pauseScroll();
	currentScene = OBSGetWeakRef(scene);
	sceneKey = key;

	QString error;
	const QString html = loadNote(scene, error);
	showLoadedNote(scene, html, error);
	flush(true, true);
}

// The same scene again: it may have a new name, or be a new object that the host's undo has made.
void Dock::continueSameScene(obs_source_t *scene)
{
	currentScene = OBSGetWeakRef(scene);
	noteStore.reattach(scene, notePaths.value(sceneKey));
	QString error;
	if (!dirty && !noteStore.rename(scene, &error)) {
		showStatus(error);
	}
	rememberTarget(scene);
	setSceneLabel(nameOf(scene));
	flush(true, true);
}

QString Dock::loadNote(obs_source_t *scene, QString &error)
{
	// A scene that the host's undo brings back may be older than its record.
	noteStore.reattach(scene, notePaths.value(keyOf(scene)));
	QString html;
	if (noteStore.rename(scene, &error)) {
		html = noteStore.read(scene, &error);
		if (error.isEmpty() && !withinHtmlLimits(html)) {
			error = text("TextLimit");
		}
	}
	unavailable = !error.isEmpty();
	rememberTarget(scene);
	return unavailable ? QString() : html;
}

void Dock::showLoadedNote(obs_source_t *scene, const QString &html, const QString &error)
{
	editor->setPlaceholderText(error);
	{
		const QSignalBlocker blocker(editor);
		updateReadOnly();
		editor->setEnabled(scene != nullptr);
		showHtml(html, storedPosition());
	}
	updateReadAction();
	updateEditorActions();
	scrollPlay->setEnabled(scene != nullptr);
	guideAction->setEnabled(scene != nullptr);
	setSceneLabel(nameOf(scene));
	dirty = false;
	saveError->hide();
	saveTimer.stop();
	saveDeadline.stop();
	syncFormat();
	showStatus(unavailable ? error : text(scene ? "Loaded" : "SelectScene"));
	updateDocumentStatus();
	resetSearch();
	remote->stateChanged();
}

// Whatever width the view gets with its new scroll bar, the place in the text that it showed before is no more.
void Dock::showHtml(const QString &html, int position)
{
	++textsShown;
	isKeepingPlace = true;
	editor->loadHtml(html);
	scrollTo(position);
	isKeepingPlace = false;
}

void Dock::rememberTarget(obs_source_t *scene)
{
	const QString path = noteStore.filePath(scene);
	noteTarget = {keyOf(scene), nameOf(scene), path, path};
	rememberPath(scene);
}

void Dock::rememberPath(obs_source_t *scene)
{
	const QString path = noteStore.filePath(scene);
	if (!path.isEmpty()) {
		notePaths.insert(keyOf(scene), path);
	}
}

int Dock::storedPosition() const
{
	const auto position = readingPositions.constFind(sceneKey);
	const int value = position != readingPositions.constEnd()
				  ? *position
				  : settings.value(positionSetting(sceneKey), 0).toInt();
	return std::max(value, 0);
}

void Dock::scrollTo(int position)
{
	QScrollBar *bar = editor->verticalScrollBar();
	if (position > bar->maximum()) {
		layoutWholeNote();
	}
	bar->setValue(position);
}

// A long text is laid out step by step: until its end is known the scroll range is too short.
void Dock::layoutWholeNote()
{
	editor->document()->documentLayout()->blockBoundingRect(editor->document()->lastBlock());
}

void Dock::rememberPosition()
{
	// The empty view of a note that could not be loaded says nothing about where its reader was.
	if (!sceneKey.isEmpty() && !unavailable) {
		readingPositions[sceneKey] = editor->verticalScrollBar()->value();
	}
}

void Dock::savePreferences()
{
	for (auto position = readingPositions.cbegin(); position != readingPositions.cend(); ++position) {
		settings.setValue(positionSetting(position.key()), position.value());
	}
	settings.sync();
}

void Dock::noteEdited()
{
	if (restoring || unavailable) {
		return;
	}
	setFormatPainter(false, false);
	dirty = true;
	remote->noteChanged(sceneKey);
	showStatus(text("Saving"));
	updateCharacterStatus();
	saveTimer.start();
	if (!saveDeadline.isActive()) {
		saveDeadline.start();
	}
}

bool Dock::flush(bool requestHostSave, bool report)
{
	saveTimer.stop();
	saveDeadline.stop();
	if (dirty) {
		if (!withinTextLimits(*editor->document())) {
			editor->onTextLimit();
			return false;
		}
		QString error;
		QElapsedTimer clock;
		clock.start();
		if (!writeOpenNote(error)) {
			if (report) {
				showSaveError(error);
				showStatus(text("NoteSaveFailed") + QLatin1Char(' ') + error);
			}
			if (!shutDown) {
				saveDeadline.start(kRetryDelay);
			}
			return false;
		}
		// On a slow disk, or with a vast note, writing while someone types must not cost more than an eighth.
		saveDeadline.setInterval(
			std::max<int>(saveTimer.interval(), kWriteShare * static_cast<int>(clock.elapsed())));
		dirty = false;
		saveError->hide();
		if (report) {
			showStatus(text("SavedNote"));
		}
	}
	if (requestHostSave && !shutDown && !collectionChanging && noteStore.takeReferenceChanges()) {
		obs_frontend_save();
	}
	return true;
}

bool Dock::writeOpenNote(QString &error)
{
	const OBSSourceAutoRelease scene = OBSGetStrongRef(currentScene);
	if (!scene) {
		return writeDetachedNote(error);
	}
	if (!noteStore.write(scene, {editor->toHtml()}, &error)) {
		return false;
	}
	rememberTarget(scene);
	return true;
}

// The scene has gone with an edit pending: the text goes to the file that the scene had, and the dock goes on
// to what the host shows now.
bool Dock::writeDetachedNote(QString &error)
{
	if (!noteStore.writeDetached(noteTarget, {editor->toHtml()}, &error)) {
		return false;
	}
	notePaths.insert(noteTarget.sceneId, noteTarget.path);
	rememberPosition();
	sceneKey.clear();
	if (!shutDown) {
		QMetaObject::invokeMethod(this, &Dock::refreshScene, Qt::QueuedConnection);
	}
	return true;
}

QString Dock::readHtml(obs_source_t *scene, QString *error, const QTextDocument **writer) const
{
	const bool isOpen = scene && keyOf(scene) == sceneKey;
	const QString shown = isOpen && (dirty || writer) ? editor->toHtml() : QString();
	const QString html = isOpen && dirty ? shown : noteStore.read(scene, error);
	if (writer) {
		*writer = isOpen && html == shown ? editor->document() : nullptr;
	}
	return html;
}

void Dock::sceneRenamed(obs_source_t *scene)
{
	if (shutDown || restoring) {
		return;
	}
	remote->stateChanged();
	if (keyOf(scene) == sceneKey) {
		bindScene(scene);
		return;
	}
	QString error;
	if (!noteStore.rename(scene, &error)) {
		showStatus(error);
	}
	rememberPath(scene);
	flush(true, true);
}

void Dock::frontendEvent(obs_frontend_event event)
{
	if (restoring) {
		refreshPending = true;
		return;
	}
	const bool isCollectionReady =
		event == OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED || event == OBS_FRONTEND_EVENT_FINISHED_LOADING;
	switch (event) {
	case OBS_FRONTEND_EVENT_SCENE_CHANGED:
	case OBS_FRONTEND_EVENT_SCENE_LIST_CHANGED:
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED:
	case OBS_FRONTEND_EVENT_STUDIO_MODE_ENABLED:
	case OBS_FRONTEND_EVENT_STUDIO_MODE_DISABLED:
	case OBS_FRONTEND_EVENT_PREVIEW_SCENE_CHANGED:
	case OBS_FRONTEND_EVENT_FINISHED_LOADING:
		if (isCollectionReady) {
			collectionChanging = false;
			remote->setCollectionChanging(false);
		}
		refreshScene();
		if (isCollectionReady) {
			collectionReady = true;
			scheduleAutoClear();
		}
		remote->stateChanged();
		break;
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING:
		collectionReady = false;
		scheduleAutoClear();
		collectionChanging = true;
		remote->setCollectionChanging(true);
		flush(false, true);
		bindScene(nullptr);
		break;
	default:
		break;
	}
}

void Dock::setLocked(bool isLocked)
{
	flush(true, true);
	locked = isLocked;
	settings.setValue(QStringLiteral("locked"), locked);
	remote->lockChanged();
	updateReadAction();
	if (!locked) {
		pauseScroll();
	}
	updateReadOnly();
	updateSceneStyle();
	updateEditorActions();
}

void Dock::setRemoteEditing(bool isEditing)
{
	if (isEditing == remoteEditing) {
		return;
	}
	flush(false, true);
	pauseScroll();
	remoteEditing = isEditing;
	if (remoteEditing) {
		// Every save needs it: it is done once, when the device waits anyway.
		layoutWholeNote();
	}
	updateReadOnly();
	updateReadAction();
	readAction->setToolTip(text("ReadTip"));
	editor->setToolTip(remoteEditing ? text("RemoteEditing") : QString());
	updateEditorActions();
}

void Dock::updateReadOnly()
{
	editor->setReadOnly(locked || remoteEditing || unavailable || restoring);
}

void Dock::updateReadAction()
{
	const QSignalBlocker blocker(readAction);
	readAction->setChecked(locked || remoteEditing);
}

bool Dock::applyRemoteHtml(obs_source_t *scene, const QString &html)
{
	if (restoring) {
		return false;
	}
	const bool isBound = scene && keyOf(scene) == sceneKey;
	// What the editor shows, unless it holds an edit.
	const QString before = isBound && !dirty && !unavailable ? noteStore.read(scene) : QString();
	QString error;
	if (!noteStore.write(scene, {html}, &error)) {
		showSaveError(error);
		showStatus(error);
		return false;
	}
	if (isBound) {
		showRemoteHtml(before, html);
		dirty = false;
		saveError->hide();
		unavailable = false;
		editor->setPlaceholderText({});
		updateReadOnly();
		rememberTarget(scene);
		updateEditorActions();
		invalidateSearch(false);
		updateDocumentStatus();
	}
	flush(true, true);
	return true;
}

void Dock::showRemoteHtml(const QString &before, const QString &html)
{
	const QSignalBlocker blocker(editor);
	const int position = editor->verticalScrollBar()->value();
	// Qt loses the end of a text that is edited while it is laid out step by step.
	layoutWholeNote();
	// What the device's user did is no step for the dock's user to undo.
	editor->document()->setUndoRedoEnabled(false);
	if (patchDocument(*editor->document(), before, html)) {
		scrollTo(position);
	} else {
		showHtml(html, position);
	}
	editor->document()->setUndoRedoEnabled(true);
}

void Dock::shutdown()
{
	if (shutDown) {
		return;
	}
	hideGoTo();
	remote->shutdown();
	rememberPosition();
	flush(false, true);
	pauseScroll();
	searchTimer.stop();
	autoClearTimer.stop();
	autoClearPending.clear();
	savePreferences();
	if (!dirty) {
		currentScene = nullptr;
	}
	shutDown = true;
}

} // namespace quillbay
