// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "host/test_host.hpp"

#include "dock/dock.hpp"
#include "editor/editor.hpp"

#include <QAction>
#include <QLabel>
#include <QScrollBar>

namespace quillbay::test {

/// A shown dock on a note of one scene, in a folder of its own.
class DockFixture {
public:
	DockFixture() : scene(makeScene(QStringLiteral("Intro")).Get())
	{
		frontend() = {};
		frontend().currentScene = scene;
		dock = std::make_unique<Dock>(folder.filePath(QStringLiteral("settings.ini")));
		editor = find<Editor>("noteEditor");
		dock->resize(1000, 500);
		dock->show();
		dock->activateWindow();
		dock->frontendEvent(OBS_FRONTEND_EVENT_FINISHED_LOADING);
		editor->setFocus();
		QCoreApplication::processEvents();
	}
	~DockFixture()
	{
		dock.reset();
		frontend() = {};
		removeScenes();
	}
	Q_DISABLE_COPY_MOVE(DockFixture)

	template <typename T>
	T *find(const char *name) const
	{
		return dock->findChild<T *>(QLatin1StringView(name));
	}
	[[nodiscard]] QAction *action(const char *name) const { return find<QAction>(name); }
	[[nodiscard]] QString status() const { return find<QLabel>("saveStatus")->toolTip(); }
	[[nodiscard]] QScrollBar *bar() const { return editor->verticalScrollBar(); }
	void select(int start, int end) const
	{
		QTextCursor cursor = editor->textCursor();
		cursor.setPosition(start);
		cursor.setPosition(end, QTextCursor::KeepAnchor);
		editor->setTextCursor(cursor);
	}
	void lines(int count) const { editor->setPlainText(QStringLiteral("some words\n").repeated(count)); }

	QTemporaryDir folder;
	OBSSource scene;
	std::unique_ptr<Dock> dock;
	Editor *editor = nullptr;
};

} // namespace quillbay::test
