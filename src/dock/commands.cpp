// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What hotkeys, buttons and remote devices can ask of the dock.

#include "dock/dock.hpp"

#include "editor/editor.hpp"
#include "plugin/text.hpp"

#include <QAction>
#include <QDateTime>
#include <QScrollBar>

namespace quillbay {

void Dock::command(Command command)
{
	if (shutDown || restoring) {
		return;
	}
	switch (command) {
	case Command::Top:
		editor->verticalScrollBar()->setValue(0);
		showStatus(text("AtTop"));
		break;
	case Command::InsertTime:
		insertTime();
		break;
	case Command::ToggleLock:
		if (readAction->isEnabled()) {
			readAction->trigger();
		}
		break;
	default:
		break;
	}
}

void Dock::insertTime()
{
	if (editor->isEnabled() && !editor->isReadOnly()) {
		editor->insertCheckedText(
			QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss ")));
	}
}

} // namespace quillbay
