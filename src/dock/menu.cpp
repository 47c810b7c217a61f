// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The menu of a right click on the note.

#include "dock/about.hpp"
#include "dock/dock.hpp"
#include "dock/marks.hpp"

#include "editor/editor.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMenu>
#include <QMimeData>
#include <QPointer>

namespace quillbay {

namespace {

bool hasClipboardText()
{
	const QMimeData *data = QGuiApplication::clipboard()->mimeData();
	return data && data->hasText();
}

} // namespace

/// An entry of the menu; without a condition it is always possible.
struct Dock::MenuEntry {
	const char *textKey;
	QKeySequence keys;
	std::function<bool()> isPossible;
	std::function<void()> run;
};

bool Dock::isEditable() const
{
	return editor->isEnabled() && !editor->isReadOnly();
}

std::vector<Dock::MenuEntry> Dock::undoEntries()
{
	return {{"Undo", QKeySequence::Undo, [this] { return isEditable() && editor->document()->isUndoAvailable(); },
		 [this] { editor->undo(); }},
		{"Redo", QKeySequence::Redo, [this] { return isEditable() && editor->document()->isRedoAvailable(); },
		 [this] { editor->redo(); }}};
}

std::vector<Dock::MenuEntry> Dock::clipboardEntries()
{
	const auto hasSelection = [this] { return editor->textCursor().hasSelection(); };
	const auto isDeletable = [this, hasSelection] { return isEditable() && hasSelection(); };
	return {{"Cut", QKeySequence::Cut, isDeletable, [this] { editor->deleteSelection(true); }},
		{"Copy", QKeySequence::Copy, hasSelection, [this] { editor->copy(); }},
		{"Paste", QKeySequence::Paste, [this] { return isEditable() && editor->canPaste(); },
		 [this] { editor->paste(); }},
		{"PastePlain", Qt::CTRL | Qt::SHIFT | Qt::Key_V, [this] { return isEditable() && hasClipboardText(); },
		 [this] { editor->insertCheckedText(QGuiApplication::clipboard()->text()); }},
		{"Delete", QKeySequence::Delete, isDeletable, [this] { editor->deleteSelection(false); }},
		{"SelectAll", QKeySequence::SelectAll, [this] { return !editor->document()->isEmpty(); },
		 [this] { editor->selectAll(); }}};
}

// Only for a point on a mark.
std::vector<Dock::MenuEntry> Dock::markEntries(QPoint point)
{
	const QTextCursor mark = markAt(editor->cursorForPosition(point));
	if (mark.isNull()) {
		return {};
	}
	// The cursor keeps to its text: when that has been deleted meanwhile it selects nothing.
	return {{"DeleteMark", {}, [this] { return isEditable(); }, [this, mark] { removeMark(mark); }}};
}

std::vector<Dock::MenuEntry> Dock::noteEntries()
{
	const auto hasText = [this] { return isEditable() && !editor->document()->isEmpty(); };
	return {{"ConvertBasic", {}, hasText, [this] { convertToBasic(); }},
		{"ClearBody", {}, hasText, [this] { replaceHtml({}, "ClearBody", "ClearBodyPrompt", true); }}};
}

std::vector<Dock::MenuEntry> Dock::backupEntries()
{
	const auto isBound = [this] { return !sceneKey.isEmpty(); };
	const auto isRestorable = [this, isBound] { return isBound() && !locked && !remoteEditing; };
	return {{"BackupCurrent", {}, isBound, [this] { backup(false); }},
		{"BackupAll", {}, {}, [this] { backup(true); }},
		{"RestoreBackup", {}, isRestorable, [this] { restoreBackup(); }}};
}

std::vector<Dock::MenuEntry> Dock::moduleEntries()
{
	return {{"RemoteAccess", {}, {}, [this] { remote->showSettings(); }},
		{"About", {}, {}, [this] { showAbout(); }}};
}

void Dock::showEditorContextMenu(QPoint point)
{
	if (shutDown) {
		return;
	}
	// The command runs once the menu has gone: it may open dialogs, and the host may end while one is open.
	std::function<void()> chosen;
	const QPointer<QMenu> menu = new QMenu(editor);
	menu->setObjectName(QStringLiteral("noteContextMenu"));
	for (const auto &group :
	     {undoEntries(), clipboardEntries(), markEntries(point), noteEntries(), backupEntries(), moduleEntries()}) {
		if (!group.empty() && !menu->isEmpty()) {
			menu->addSeparator();
		}
		for (const MenuEntry &entry : group) {
			QAction *action = addMenuEntry(menu, entry);
			connect(action, &QAction::triggered, menu.data(), [this, &chosen, menu, entry, key = sceneKey] {
				// While the menu was open another scene may have come, or the right to edit gone.
				if (!entry.isPossible || (key == sceneKey && entry.isPossible())) {
					chosen = entry.run;
				}
				menu->close();
			});
		}
	}
	const QPointer<Dock> self(this);
	menu->exec(editor->viewport()->mapToGlobal(point));
	delete menu.data();
	if (self && !shutDown && chosen) {
		chosen();
	}
}

QAction *Dock::addMenuEntry(QMenu *menu, const MenuEntry &entry)
{
	QString label = text(entry.textKey);
	if (!entry.keys.isEmpty()) {
		label += QLatin1Char('\t') + entry.keys.toString(QKeySequence::NativeText);
	}
	QAction *action = menu->addAction(label);
	if (qstrcmp(entry.textKey, "RemoteAccess") != 0) {
		action->setObjectName(QStringLiteral("ctx") + QLatin1StringView(entry.textKey));
	}
	action->setEnabled(!entry.isPossible || entry.isPossible());
	return action;
}

void Dock::showAbout()
{
	// On the heap: the host may end, and take the dock along, while the dialog is open.
	const QPointer<AboutDialog> dialog = new AboutDialog(autoClearChoice(), this);
	dialog->apply = [this](const AutoClear &choice) { return changeAutoClear(choice); };
	dialog->exec();
	delete dialog.data();
}

} // namespace quillbay
