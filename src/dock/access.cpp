// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Who may edit the note, the dock's user or a remote device, and what the device writes.

#include "dock/dock.hpp"

#include "convert/patch_document.hpp"
#include "editor/editor.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QAction>
#include <QLabel>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QToolButton>

namespace quillbay {

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

void Dock::setRemoteAvailable(bool isAvailable)
{
	remoteQrButton->setVisible(isAvailable);
	editor->setQrSpace(isAvailable);
	placeQrButton();
}

bool Dock::applyRemoteHtml(obs_source_t *scene, const QString &html)
{
	if (restoring) {
		return false;
	}
	const bool isBound = scene && sceneUuid(scene) == sceneKey;
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

} // namespace quillbay
