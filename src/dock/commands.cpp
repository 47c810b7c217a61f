// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What hotkeys, buttons and remote devices can ask of the dock.

#include "dock/dock.hpp"
#include "dock/speed.hpp"

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
	case Command::StartScroll:
		if (!scrollTimer.isActive()) {
			startScroll();
		}
		break;
	case Command::PauseScroll:
		pauseScroll();
		break;
	case Command::ToggleScroll:
		if (isScrollingOrCounting()) {
			pauseScroll();
		} else {
			startScroll();
		}
		break;
	case Command::Faster:
		setSpeed(speed() + kSpeedStep);
		break;
	case Command::Slower:
		setSpeed(speed() - kSpeedStep);
		break;
	case Command::Top:
		pauseScroll();
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
	case Command::InsertMark:
		insertMark();
		break;
	case Command::NextMark:
		findNextMark();
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
