// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "dock/dock.hpp"
#include "editor/editor.hpp"
#include "notes/limits.hpp"
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
		frontend().currentScene = second;
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED);
		QVERIFY(isOnDisk(first, "one"));
		QCOMPARE(frontend().saves, 1);
		QCOMPARE(editor->toPlainText(), QString());
		type("two");
		dock->bindScene(first);
		QCOMPARE(editor->toPlainText(), "one");
		QVERIFY(!editor->document()->isUndoAvailable());
		QCOMPARE(dock->readHtml(second), dock->store().read(second));
		QVERIFY(dock->readHtml(second).contains("two"));
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
		QTRY_VERIFY_WITH_TIMEOUT(isOnDisk(first, "abbbbbbbbb"), 600);
	}

	void aFailedWriteKeepsTheSceneAndTheText()
	{
		writeFile(dock->store().folder(), "in the way");
		type("precious");
		frontend().currentScene = second;
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED);
		auto *error = find<QLabel>("saveError");
		QCOMPARE(scene(), "First");
		QCOMPARE(editor->toPlainText(), "precious");
		QVERIFY(error->isVisible());
		QCOMPARE(error->text(), QStringLiteral("! ") + text("NoteSaveFailed"));
		QVERIFY(status().startsWith(text("NoteSaveFailed")));

		QVERIFY(QFile::remove(dock->store().folder()));
		QTRY_VERIFY2(isOnDisk(first, "precious"), "it is tried again without another key");
		QVERIFY(!error->isVisible());
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED);
		QCOMPARE(scene(), "Second");
	}

	void unavailableNotesAreNeverOverwritten()
	{
		const auto check = [this](const QString &error, const QString &html, bool isForeign = false) {
			QVERIFY(dock->store().write(second, {"x"}));
			const QString path = fileOf(second);
			const QByteArray bytes = encodeNote({uuidOf(isForeign ? first : second), "Second", html});
			writeFile(path, bytes);
			dock->bindScene(second);
			QCOMPARE(editor->toPlainText(), QString());
			QCOMPARE(editor->placeholderText(), error);
			QCOMPARE(status(), error);
			QVERIFY(editor->isReadOnly() && editor->isEnabled());
			type("no");
			dock->command(Command::InsertTime);
			dock->bindScene(first);
			QCOMPARE(readFile(path), bytes);
			QVERIFY(!editor->isReadOnly() && editor->placeholderText().isEmpty());

			writeFile(path, encodeNote({uuidOf(second), "Second", "mended"}));
			dock->bindScene(second);
			QCOMPARE(editor->toPlainText(), "mended");
			QVERIFY(!editor->isReadOnly());
			dock->bindScene(first);
		};
		check(text("NoteSceneMismatch"), "x", true);
		check(text("TextLimit"), "<p>" + QString(kMaxParagraphLength + 1, u'x'));
		check(text("TextLimit"), QString("<p>x</p>").repeated(kMaxParagraphs + 1));
		check(text("TextLimit"), QString("<table><tr><td>").repeated(20));
	}

	void renamesFollow()
	{
		const auto rename = [this](obs_source_t *source, const char *name) {
			obs_source_set_name(source, name);
			dock->sceneRenamed(source);
			QCOMPARE(QFileInfo(fileOf(source)).completeBaseName(), name);
		};
		type("text");
		QVERIFY(dock->flush(true, true) && dock->store().write(second, {"x"}));
		rename(first, "Renamed");
		QCOMPARE(scene(), "Renamed");
		type(" and more");
		rename(first, "Again");
		QVERIFY(isOnDisk(first, "and more"));
		rename(second, "Other");
		QCOMPARE(QDir(dock->store().folder()).entryList(QDir::Files).size(), 2);
		obs_source_set_name(first, "<b>shown as it stands</b>");
		dock->sceneRenamed(first);
		QVERIFY(!find<QLabel>("sceneLabel")->toolTip().contains("<b>"));
	}

	void aCollectionSwitchSavesWithoutAskingTheHost()
	{
		type("leaving");
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
		QVERIFY(isOnDisk(first, "leaving"));
		QCOMPARE(scene(), text("NoScene"));
		QCOMPARE(status(), text("SelectScene"));
		QVERIFY(!editor->isEnabled());
		QCOMPARE(frontend().saves, 0);
		frontend().currentScene = second;
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
		QCOMPARE(scene(), "Second");
		QCOMPARE(frontend().saves, 1);
	}

	void anEditOutlivesItsScene()
	{
		type("known");
		QVERIFY(dock->flush(true, true));
		const QString known = fileOf(first);
		type(" pending");
		frontend().currentScene = second;
		obs_source_remove(first);
		first = nullptr;
		QTRY_COMPARE(scene(), "Second");
		QVERIFY(readFile(known).contains("known pending"));

		type("new");
		obs_source_remove(second);
		second = nullptr;
		frontend().currentScene = nullptr;
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_LIST_CHANGED);
		QCOMPARE(scene(), text("NoScene"));
		QVERIFY(readFile(dock->store().folder() + "/Second.json").contains("new"));
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

	void remoteEdits()
	{
		type("local");
		dock->setRemoteEditing(true);
		QVERIFY(isOnDisk(first, "local"));
		QVERIFY(editor->isReadOnly() && find<QAction>("Read")->isChecked());
		QCOMPARE(editor->toolTip(), text("RemoteEditing"));
		QVERIFY(dock->applyRemoteHtml(first, "<p>from a phone</p>"));
		QCOMPARE(editor->toPlainText(), "from a phone");
		QVERIFY(dock->applyRemoteHtml(second, "elsewhere"));
		QCOMPARE(dock->store().read(second), "elsewhere");
		dock->setRemoteEditing(false);
		QVERIFY(!editor->isReadOnly() && editor->toolTip().isEmpty());

		dock->setRemoteAvailable(true);
		auto *qr = find<QToolButton>("remoteQrButton");
		QVERIFY(qr->isVisible());
	}

	void remembersScrollPositions()
	{
		const auto value = [this] { return editor->verticalScrollBar()->value(); };
		QVERIFY(dock->store().write(first, {QString("<p>line</p>").repeated(3000)}));
		QVERIFY(dock->store().write(second, {QString("<p>line</p>").repeated(80)}));
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
		dock->hide();
		dock->show();
		QTRY_COMPARE(value(), 20'000);
		reopen();
		dock->bindScene(first);
		QTRY_COMPARE(value(), 20'000);
		dock.reset();
		QSettings settings(folder->filePath("settings.ini"), QSettings::IniFormat);
		settings.setValue("readingPositions/" + uuidOf(first), -5);
		settings.sync();
		reopen();
		dock->bindScene(first);
		QCOMPARE(value(), 0);
	}

	void countsCharacters()
	{
		editor->setPlainText("12345\n67890");
		auto *count = find<QLabel>("characterCount");
		const QString left = QLocale().toString(kMaxTextLength - 11);
		QCOMPARE(count->text(), text("CharacterCount").arg(11));
		QCOMPARE(count->accessibleName(),
			 text("CharacterRemaining").arg("11", QLocale().toString(kMaxTextLength), left));
		editor->selectAll();
		QCOMPARE(count->text(), text("SelectedCharacters").arg(10));
		QCOMPARE(find<QLabel>("documentStatus")->text(), text("DocumentStatus").arg(2));
	}

	void textOverTheLimitsIsReported()
	{
		editor->setPlainText(QString(kMaxParagraphLength, u'x'));
		type("y");
		QCOMPARE(status(), text("TextLimit"));
		QCOMPARE(editor->toPlainText().size(), kMaxParagraphLength);
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
