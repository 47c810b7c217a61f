// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How the dock saves what is typed and never loses it.

#include "dock/dock.hpp"

#include "editor/editor.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QLabel>

#include <algorithm>
#include <chrono>

namespace quillbay {

namespace {

/// While someone types on, writing takes at most one part in this many of the time.
constexpr int kWriteShare = 8;
/// A note that could not be written is tried again this often.
constexpr auto kRetryDelay = std::chrono::seconds(2);

} // namespace

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
	if (dirty && !saveEdit(report)) {
		return false;
	}
	if (requestHostSave && !shutDown && !collectionChanging && noteStore.takeReferenceChanges()) {
		obs_frontend_save();
	}
	return true;
}

bool Dock::saveEdit(bool report)
{
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
	saveDeadline.setInterval(std::max<int>(saveTimer.interval(), kWriteShare * static_cast<int>(clock.elapsed())));
	dirty = false;
	saveError->hide();
	if (report) {
		showStatus(text("SavedNote"));
	}
	if (isHeldBack) {
		followTimer.start();
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
	followHost();
	return true;
}

// Goes on, soon, to the scene that the host shows, as if it showed it only now.
void Dock::followHost()
{
	if (!shutDown) {
		const auto follow = [this] { frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED); };
		QMetaObject::invokeMethod(this, follow, Qt::QueuedConnection);
	}
}

QString Dock::readHtml(obs_source_t *scene, QString *error, const QTextDocument **writer) const
{
	const bool isOpen = scene && sceneUuid(scene) == sceneKey;
	const QString shown = isOpen && (dirty || writer) ? editor->toHtml() : QString();
	const QString html = isOpen && dirty ? shown : noteStore.read(scene, error);
	if (writer) {
		*writer = isOpen && html == shown ? editor->document() : nullptr;
	}
	return html;
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
