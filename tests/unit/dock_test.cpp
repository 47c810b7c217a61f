// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"

#include "plugin/text.hpp"

namespace quillbay::test {

class DockTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		fixture = std::make_unique<DockFixture>();
		first = fixture->scene;
		second = makeScene("Second").Get();
		reopen();
	}

	void cleanup()
	{
		fixture.reset();
		first = nullptr;
		second = nullptr;
	}

	void savesBeforeItSwitches()
	{
		QCOMPARE(scene(), "Intro");
		QCOMPARE(fixture->status(), text("Loaded"));
		type("one");
		QCOMPARE(fixture->status(), text("Saving"));
		frontend().currentScene = second;
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED);
		QVERIFY(isOnDisk(first, "one"));
		QCOMPARE(frontend().saves, 1);
		QCOMPARE(editor->toPlainText(), QString());
		type("two");
		dock->bindScene(first);
		QCOMPARE(editor->toPlainText(), "one");
		QVERIFY(!editor->document()->isUndoAvailable());
		QVERIFY(isOnDisk(second, "two") && dock->readHtml(second).contains("two"));
		const QString path = fileOf(first);
		QVERIFY(QFile::remove(path) && QDir().mkdir(path));
		type("more");
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED);
		QCOMPARE(scene(), "Intro");
		QVERIFY(QDir().rmdir(path) && dock->flush(true, true) && isOnDisk(first, "more"));
		QTest::qWait(100);
		type("!");
		QTRY_COMPARE(scene(), "Second");
		QVERIFY(isOnDisk(first, "more!"));
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

	void readModeProtectsTheNote()
	{
		type("kept");
		fixture->action("Read")->trigger();
		QVERIFY2(isOnDisk(first, "kept"), "locking saves first");
		QVERIFY(editor->isReadOnly());
		type("x");
		dock->command(Command::InsertTime);
		QCOMPARE(editor->toPlainText(), "kept");
	}

	void remembersScrollPositions()
	{
		for (obs_source_t *scene : {first.Get(), second.Get()}) {
			QVERIFY(dock->store().write(scene, {QString("<p>line</p>").repeated(3000)}));
		}
		dock->bindScene(nullptr);
		dock->bindScene(first);
		QTRY_VERIFY(fixture->bar()->maximum() > 20'000);
		fixture->bar()->setValue(20'000);
		dock->bindScene(second);
		fixture->bar()->setValue(50);
		for (obs_source_t *scene : {first.Get(), second.Get(), first.Get()}) {
			dock->bindScene(scene);
			QCoreApplication::processEvents(); // the view may have got another width meanwhile
			QCOMPARE(fixture->bar()->value(), scene == first ? 20'000 : 50);
		}
		reopen();
		QTRY_COMPARE(fixture->bar()->value(), 20'000);
	}

private:
	[[nodiscard]] QString scene() const { return fixture->find<QLabel>("sceneLabel")->text(); }
	[[nodiscard]] QString fileOf(obs_source_t *scene) const { return dock->store().filePath(scene); }
	[[nodiscard]] bool isOnDisk(obs_source_t *scene, const char *part) const
	{
		return !fileOf(scene).isEmpty() && readFile(fileOf(scene)).contains(part);
	}
	void type(const char *keys) { QTest::keyClicks(editor, QLatin1StringView(keys)); }
	void reopen()
	{
		fixture->reopen({});
		dock = fixture->dock.get();
		editor = fixture->editor;
	}

	std::unique_ptr<DockFixture> fixture;
	Dock *dock = nullptr;
	Editor *editor = nullptr;
	OBSSource first;
	OBSSource second;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::DockTest)
#include "dock_test.moc"
