// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "editor/editor.hpp"
#include "plugin/shell.hpp"
#include "plugin/text.hpp"

namespace quillbay::test {

namespace {

obs_hotkey_id hotkeyNamed(const char *name)
{
	std::pair<const char *, obs_hotkey_id> wanted{name, OBS_INVALID_HOTKEY_ID};
	const auto look = [](void *data, obs_hotkey_id id, obs_hotkey_t *hotkey) {
		auto &[sought, found] = *static_cast<decltype(wanted) *>(data);
		found = qstrcmp(obs_hotkey_get_name(hotkey), sought) == 0 ? id : found;
		return true;
	};
	obs_enum_hotkeys(look, &wanted);
	return wanted.second;
}

} // namespace

class PluginTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		frontend() = {};
		folder = std::make_unique<QTemporaryDir>();
		window = std::make_unique<QMainWindow>();
		frontend().mainWindow = window.get();
		scene = makeScene("Intro").Get();
		frontend().currentScene = scene;
		QVERIFY(load());
		frontend().sendEvent(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	}

	void cleanup()
	{
		shell().unload();
		window.reset();
		frontend() = {};
		removeScenes();
		scene = nullptr;
	}

	void bindingsRoundTrip()
	{
		obs_key_combination_t combination{INTERACT_CONTROL_KEY, OBS_KEY_F7};
		obs_hotkey_load_bindings(hotkeyNamed("QuillBay.Faster"), &combination, 1);
		const OBSDataAutoRelease saved = obs_data_create();
		const OBSDataAutoRelease empty = obs_data_create();
		frontend().save(saved, true);
		for (const bool isBound : {false, true}) {
			frontend().save(isBound ? saved : empty, false);
			const OBSDataArrayAutoRelease bindings = obs_hotkey_save(hotkeyNamed("QuillBay.Faster"));
			QCOMPARE(obs_data_array_count(bindings), isBound ? 1u : 0u);
		}
		const OBSDataAutoRelease atTheEnd = obs_data_create();
		frontend().sendEvent(OBS_FRONTEND_EVENT_EXIT);
		frontend().save(atTheEnd, true);
		QVERIFY(!obs_data_has_user_value(atTheEnd, "quillbay_hotkeys"));
	}

	void theHostsSaveComesWithTheNote()
	{
		type("text");
		const OBSDataAutoRelease saved = obs_data_create();
		frontend().save(saved, true);
		QVERIFY(readFile(dock()->store().filePath(scene)).contains("text"));
		QCOMPARE(frontend().saves, 0);
		QCoreApplication::processEvents();
		QCOMPARE(frontend().saves, 1);
		frontend().save(saved, true);
		QCoreApplication::processEvents();
		QVERIFY2(frontend().saves == 1, "a save must not ask for the next one for ever");
	}

	void keysInTheNoteStayThere()
	{
		int hostActions = 0;
		for (const char *keys : {"Ctrl+F", "Ctrl+Shift+V", "Ctrl+C", "Ctrl+R"}) {
			auto *action = new QAction(window.get());
			action->setShortcut(QKeySequence(QString::fromLatin1(keys)));
			connect(action, &QAction::triggered, this, [&hostActions] { ++hostActions; });
			window->addAction(action);
		}
		window->setCentralWidget(dock());
		window->show();
		window->activateWindow();
		QVERIFY(QTest::qWaitForWindowActive(window.get()));
		QTest::keyClick(window.get(), Qt::Key_R, Qt::ControlModifier);
		QCOMPARE(std::exchange(hostActions, 0), 1);
		editor()->setFocus();
		type("copied");
		editor()->selectAll();
		dock()->setLocked(true);
		QTest::keyClick(editor(), Qt::Key_C, Qt::ControlModifier);
		QTest::keyClick(editor(), Qt::Key_R, Qt::ControlModifier);
		dock()->setLocked(false);
		editor()->moveCursor(QTextCursor::End);
		QTest::keyClick(editor(), Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
		QCOMPARE(editor()->toPlainText(), "copiedcopied");
		QTest::keyClick(editor(), Qt::Key_F, Qt::ControlModifier);
		QTRY_VERIFY(dock()->findChild<QLineEdit *>("searchText")->hasFocus());
		QCOMPARE(hostActions, 0);
	}

private:
	bool load() { return shell().load(folder->filePath("settings.ini")); }
	void type(const char *keys) { QTest::keyClicks(editor(), QLatin1StringView(keys)); }
	static Dock *dock() { return static_cast<Dock *>(frontend().dock); }
	static Editor *editor() { return dock()->findChild<Editor *>(); }

	std::unique_ptr<QTemporaryDir> folder;
	std::unique_ptr<QMainWindow> window;
	OBSSource scene;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::PluginTest)
#include "plugin_test.moc"
