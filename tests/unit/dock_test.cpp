// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "dock/dock.hpp"
#include "editor/editor.hpp"
#include "plugin/text.hpp"

#include <QtWidgets>

namespace quillbay::test {

class DockTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		frontend() = {};
		folder = std::make_unique<QTemporaryDir>();
		first = makeScene("First").Get();
		second = makeScene("Second").Get();
		reopen();
		frontend().currentScene = first;
		dock->frontendEvent(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	}

	void cleanup()
	{
		dock.reset();
		frontend() = {};
		removeScenes();
		first = nullptr;
		second = nullptr;
	}

	void savesBeforeItSwitches()
	{
		QCOMPARE(scene(), "First");
		QCOMPARE(status(), text("Loaded"));
		type("one");
		QCOMPARE(status(), text("Saving"));
		sendScene(second);
		QVERIFY(isOnDisk(first, "one"));
		QCOMPARE(frontend().saves, 1);
		QCOMPARE(editor->toPlainText(), QString());
		type("two");
		dock->bindScene(first);
		QCOMPARE(editor->toPlainText(), "one");
		QVERIFY(!editor->document()->isUndoAvailable());
		QVERIFY(isOnDisk(second, "two") && dock->readHtml(second).contains("two"));
	}

	void savesHalfASecondAfterTheLastKey()
	{
		type("a");
		QTest::qWait(350);
		QVERIFY(dock->readHtml(first).contains("a"));
		QCOMPARE(fileOf(first), QString());
		QTRY_VERIFY_WITH_TIMEOUT(isOnDisk(first, "a"), 400);
		QCOMPARE(status(), text("SavedNote"));
		QCOMPARE(frontend().saves, 1);
		for (int i = 0; i < 9; ++i) {
			type("b");
			QTest::qWait(100);
		}
		QVERIFY2(isOnDisk(first, "abbb"), "someone who types on is saved too");
	}

	void unavailableNotesAreNeverOverwritten()
	{
		QVERIFY(dock->store().write(second, {"x"}));
		const QString path = fileOf(second);
		for (const auto &[owner, error] : {std::pair(first, "NoteSceneMismatch"), {second, "TextLimit"}}) {
			const QByteArray bytes = encodeNote({uuidOf(owner), "", QString(10'001, u'x')});
			writeFile(path, bytes);
			dock->bindScene(second);
			QCOMPARE(editor->placeholderText(), text(error));
			type("no");
			dock->command(Command::InsertTime);
			QCOMPARE(editor->toPlainText(), QString());
			dock->bindScene(first);
			QCOMPARE(readFile(path), bytes);
			QVERIFY(!editor->isReadOnly() && editor->placeholderText().isEmpty());
		}
	}

	void aCollectionSwitchSavesWithoutAskingTheHost()
	{
		type("leaving");
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
		QVERIFY(isOnDisk(first, "leaving"));
		QVERIFY(scene() == text("NoScene") && !editor->isEnabled());
		QCOMPARE(frontend().saves, 0);
		frontend().currentScene = second;
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
		QCOMPARE(scene(), "Second");
		QCOMPARE(frontend().saves, 1);
	}

	void readModeProtectsTheNote()
	{
		type("kept");
		auto *read = find<QAction>("Read");
		read->trigger();
		QVERIFY2(isOnDisk(first, "kept"), "locking saves first");
		QVERIFY(editor->isReadOnly());
		type("x");
		dock->command(Command::InsertTime);
		QCOMPARE(editor->toPlainText(), "kept");
		reopen();
		dock->bindScene(first);
		QVERIFY(editor->isReadOnly() && find<QAction>("Read")->isChecked());
		dock->command(Command::ToggleLock);
		QVERIFY(!editor->isReadOnly());
	}

	void remembersScrollPositions()
	{
		const auto value = [this] { return editor->verticalScrollBar()->value(); };
		for (obs_source_t *scene : {first.Get(), second.Get()}) {
			QVERIFY(dock->store().write(scene, {QString("<p>line</p>").repeated(3000)}));
		}
		dock->bindScene(nullptr);
		dock->bindScene(first);
		QTRY_VERIFY(editor->verticalScrollBar()->maximum() > 20'000);
		editor->verticalScrollBar()->setValue(20'000);
		dock->bindScene(second);
		editor->verticalScrollBar()->setValue(50);
		for (obs_source_t *scene : {first.Get(), second.Get(), first.Get()}) {
			dock->bindScene(scene);
			QCoreApplication::processEvents(); // the view may have got another width meanwhile
			QCOMPARE(value(), scene == first ? 20'000 : 50);
		}
		reopen();
		dock->bindScene(first);
		QTRY_COMPARE(value(), 20'000);
	}

	void aSettingsFileOfGarbageDoesNoHarm()
	{
		dock.reset();
		QByteArray garbage(100'000, 0);
		QRandomGenerator(1).generate(garbage.begin(), garbage.end());
		writeFile(folder->filePath("settings.ini"), garbage);
		reopen();
		dock->bindScene(first);
		type("still here");
		QVERIFY(dock->flush(true, true) && isOnDisk(first, "still here"));
	}

	void shutdownEndsEverything()
	{
		type("last words");
		dock->shutdown();
		QVERIFY(isOnDisk(first, "last words"));
		QCOMPARE(frontend().saves, 0);
		dock->command(Command::InsertTime);
		QCOMPARE(editor->toPlainText(), "last words");
		dock->bindScene(second);
		QCOMPARE(frontend().saves, 0);
	}

private:
	template <typename T>
	T *find(const char *name) const
	{
		return dock->findChild<T *>(QLatin1StringView(name));
	}
	[[nodiscard]] QString scene() const { return find<QLabel>("sceneLabel")->text(); }
	[[nodiscard]] QString status() const { return find<QLabel>("saveStatus")->toolTip(); }
	[[nodiscard]] QString fileOf(obs_source_t *scene) const { return dock->store().filePath(scene); }
	[[nodiscard]] bool isOnDisk(obs_source_t *scene, const char *part) const
	{
		const QString path = fileOf(scene);
		return !path.isEmpty() && readFile(path).contains(part);
	}
	void sendScene(obs_source_t *scene)
	{
		frontend().currentScene = scene;
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED);
	}
	void type(const char *keys) { QTest::keyClicks(editor, QLatin1StringView(keys)); }
	void reopen()
	{
		dock.reset();
		dock = std::make_unique<Dock>(folder->filePath("settings.ini"));
		editor = find<Editor>("noteEditor");
		dock->show();
		QVERIFY(QTest::qWaitForWindowExposed(dock.get()));
	}

	std::unique_ptr<QTemporaryDir> folder;
	std::unique_ptr<Dock> dock;
	Editor *editor = nullptr;
	OBSSource first;
	OBSSource second;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::DockTest)
#include "dock_test.moc"
