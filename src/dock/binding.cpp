// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How the dock follows the host's scene, loads its note and finds its reader's place in it.

#include "dock/dock.hpp"
#include "dock/message.hpp"
#include "dock/scenes.hpp"

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

namespace quillbay {

namespace {

QString shownName(const obs_source_t *scene)
{
	return scene ? sceneName(scene) : text("NoScene");
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
	bindScene(shownScene());
}

void Dock::bindScene(obs_source_t *scene)
{
	const QString key = sceneUuid(scene);
	if (!key.isEmpty() && key == sceneKey && !unavailable) {
		continueSameScene(scene);
		return;
	}
	// What is being composed belongs to the note that it was begun in.
	if (editor->hasFocus()) {
		QGuiApplication::inputMethod()->commit();
	}
	if (!flush(true, true)) {
		isHeldBack = true;
		return;
	}
	isHeldBack = false;
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
	setSceneLabel(shownName(scene));
	flush(true, true);
}

void Dock::sceneRenamed(obs_source_t *scene)
{
	if (shutDown || restoring) {
		return;
	}
	remote->stateChanged();
	if (sceneUuid(scene) == sceneKey) {
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

QString Dock::loadNote(obs_source_t *scene, QString &error)
{
	// A scene that the host's undo brings back may be older than its record.
	noteStore.reattach(scene, notePaths.value(sceneUuid(scene)));
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
	setSceneLabel(shownName(scene));
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

void Dock::setSceneLabel(const QString &name)
{
	sceneLabel->setText(name);
	sceneLabel->setToolTip(plainToolTip(name));
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
	noteTarget = {sceneUuid(scene), sceneName(scene), path, path};
	rememberPath(scene);
}

void Dock::rememberPath(obs_source_t *scene)
{
	const QString path = noteStore.filePath(scene);
	if (!path.isEmpty()) {
		notePaths.insert(sceneUuid(scene), path);
	}
}

void Dock::rememberPosition()
{
	// The empty view of a note that could not be loaded says nothing about where its reader was.
	if (!sceneKey.isEmpty() && !unavailable) {
		readingPositions[sceneKey] = editor->verticalScrollBar()->value();
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

void Dock::savePreferences()
{
	for (auto position = readingPositions.cbegin(); position != readingPositions.cend(); ++position) {
		settings.setValue(positionSetting(position.key()), position.value());
	}
	settings.sync();
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

} // namespace quillbay
