// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "dock/dock.hpp"
#include "editor/editor.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <QAction>
#include <QLabel>
#include <QLocale>
#include <QScrollBar>
#include <QToolButton>

namespace quillbay::test {

class DockTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init();
	void cleanup();
	void startsWithNoScene();
	void savesBeforeItSwitches();
	void savesHalfASecondAfterTheLastKey();
	void aFailedWriteKeepsTheSceneAndTheText();
	void unavailableNotesAreNeverOverwritten_data();
	void unavailableNotesAreNeverOverwritten();
	void renamesFollow();
	void followsThePreviewInStudioMode();
	void aCollectionSwitchSavesWithoutAskingTheHost();
	void anEditOutlivesItsScene();
	void readModeProtectsTheNote();
	void remoteEdits();
	void remembersScrollPositions();
	void countsCharacters();
	void timeStampsAndOtherCommands();
	void shutdownEndsEverything();
	void looksFollowThePalette();

private:
	template <typename T>
	T *find(const char *name) const
	{
		return dock->findChild<T *>(QLatin1StringView(name));
	}
	[[nodiscard]] QString status() const { return find<QLabel>("saveStatus")->toolTip(); }
	[[nodiscard]] QString fileOf(obs_source_t *scene) const { return dock->store().filePath(scene); }
	[[nodiscard]] bool isOnDisk(obs_source_t *scene, const char *part) const
	{
		const QString path = fileOf(scene);
		return !path.isEmpty() && readFile(path).contains(part);
	}
	void type(const char *keys) { QTest::keyClicks(editor, QLatin1StringView(keys)); }
	void reopen();

	std::unique_ptr<QTemporaryDir> folder;
	std::unique_ptr<Dock> dock;
	Editor *editor = nullptr;
	OBSSource first;
	OBSSource second;
};

void DockTest::init()
{
	frontend() = {};
	folder = std::make_unique<QTemporaryDir>();
	first = makeScene(QStringLiteral("First")).Get();
	second = makeScene(QStringLiteral("Second")).Get();
	reopen();
	frontend().currentScene = first;
	dock->frontendEvent(OBS_FRONTEND_EVENT_FINISHED_LOADING);
}

void DockTest::reopen()
{
	dock.reset();
	dock = std::make_unique<Dock>(folder->filePath(QStringLiteral("settings.ini")));
	editor = find<Editor>("noteEditor");
	dock->show();
	QVERIFY(QTest::qWaitForWindowExposed(dock.get()));
}

void DockTest::cleanup()
{
	dock.reset();
	frontend() = {};
	removeScenes();
	first = nullptr;
	second = nullptr;
}

void DockTest::startsWithNoScene()
{
	dock->bindScene(nullptr);
	QCOMPARE(find<QLabel>("sceneLabel")->text(), text("NoScene"));
	QVERIFY(!editor->isEnabled() && !find<QToolButton>("scrollPlay")->isEnabled());
	QCOMPARE(status(), text("SelectScene"));
	QCOMPARE(find<QLabel>("documentStatus")->text(), text("DocumentStatus").arg(0));
}

void DockTest::savesBeforeItSwitches()
{
	QCOMPARE(find<QLabel>("sceneLabel")->text(), QStringLiteral("First"));
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
	QCOMPARE(editor->toPlainText(), QStringLiteral("one"));
	QVERIFY(!editor->document()->isUndoAvailable());
	QCOMPARE(dock->readHtml(second), dock->store().read(second));
	QVERIFY(dock->readHtml(second).contains(QStringLiteral("two")));
}

void DockTest::savesHalfASecondAfterTheLastKey()
{
	type("a");
	QTest::qWait(350);
	QVERIFY(dock->readHtml(first).contains(QStringLiteral("a")));
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

void DockTest::aFailedWriteKeepsTheSceneAndTheText()
{
	writeFile(dock->store().folder(), "in the way");
	type("precious");
	frontend().currentScene = second;
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED);
	auto *error = find<QLabel>("saveError");
	QCOMPARE(find<QLabel>("sceneLabel")->text(), QStringLiteral("First"));
	QCOMPARE(editor->toPlainText(), QStringLiteral("precious"));
	QVERIFY(error->isVisible());
	QCOMPARE(error->text(), QStringLiteral("! ") + text("NoteSaveFailed"));
	QVERIFY(status().startsWith(text("NoteSaveFailed")));

	QVERIFY(QFile::remove(dock->store().folder()));
	QTRY_VERIFY2(isOnDisk(first, "precious"), "it is tried again without another key");
	QVERIFY(!error->isVisible());
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_CHANGED);
	QCOMPARE(find<QLabel>("sceneLabel")->text(), QStringLiteral("Second"));
}

void DockTest::unavailableNotesAreNeverOverwritten_data()
{
	QTest::addColumn<QString>("html");
	QTest::addColumn<bool>("isForeign");
	QTest::addColumn<QString>("error");
	const QString paragraph(kMaxParagraphLength + 1, u'x');
	QTest::newRow("another scene's") << QStringLiteral("x") << true << text("NoteSceneMismatch");
	QTest::newRow("long paragraph") << QStringLiteral("<p>%1</p>").arg(paragraph) << false << text("TextLimit");
	QTest::newRow("many paragraphs") << QStringLiteral("<p>x</p>").repeated(kMaxParagraphs + 1) << false
					 << text("TextLimit");
	QTest::newRow("ruinous") << QStringLiteral("<table><tr><td>").repeated(20) << false << text("TextLimit");
}

void DockTest::unavailableNotesAreNeverOverwritten()
{
	QFETCH(QString, html);
	QFETCH(bool, isForeign);
	QFETCH(QString, error);
	QVERIFY(dock->store().write(second, {QStringLiteral("x")}));
	const QString path = fileOf(second);
	const QByteArray bytes = encodeNote({uuidOf(isForeign ? first : second), QStringLiteral("Second"), html});
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

	writeFile(path, encodeNote({uuidOf(second), QStringLiteral("Second"), QStringLiteral("mended")}));
	dock->bindScene(second);
	QCOMPARE(editor->toPlainText(), QStringLiteral("mended"));
	QVERIFY(!editor->isReadOnly());
}

void DockTest::renamesFollow()
{
	type("text");
	QVERIFY(dock->flush(true, true));
	obs_source_set_name(first, "Renamed");
	dock->sceneRenamed(first);
	QCOMPARE(find<QLabel>("sceneLabel")->text(), QStringLiteral("Renamed"));
	QCOMPARE(QFileInfo(fileOf(first)).fileName(), QStringLiteral("Renamed.json"));
	type(" and more");
	obs_source_set_name(first, "Again");
	dock->sceneRenamed(first);
	QCOMPARE(QFileInfo(fileOf(first)).fileName(), QStringLiteral("Again.json"));
	QVERIFY(isOnDisk(first, "and more"));
	QVERIFY(dock->store().write(second, {QStringLiteral("x")}));
	obs_source_set_name(second, "Other");
	dock->sceneRenamed(second);
	QCOMPARE(QFileInfo(fileOf(second)).fileName(), QStringLiteral("Other.json"));
	QCOMPARE(QDir(dock->store().folder()).entryList(QDir::Files).size(), 2);
}

void DockTest::followsThePreviewInStudioMode()
{
	frontend().previewScene = second;
	frontend().isStudioMode = true;
	dock->frontendEvent(OBS_FRONTEND_EVENT_STUDIO_MODE_ENABLED);
	QCOMPARE(find<QLabel>("sceneLabel")->text(), QStringLiteral("Second"));
	frontend().isStudioMode = false;
	dock->frontendEvent(OBS_FRONTEND_EVENT_STUDIO_MODE_DISABLED);
	QCOMPARE(find<QLabel>("sceneLabel")->text(), QStringLiteral("First"));
}

void DockTest::aCollectionSwitchSavesWithoutAskingTheHost()
{
	type("leaving");
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	QVERIFY(isOnDisk(first, "leaving"));
	QCOMPARE(find<QLabel>("sceneLabel")->text(), text("NoScene"));
	QCOMPARE(frontend().saves, 0);
	frontend().currentScene = second;
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	QCOMPARE(find<QLabel>("sceneLabel")->text(), QStringLiteral("Second"));
	QCOMPARE(frontend().saves, 1);
}

void DockTest::anEditOutlivesItsScene()
{
	type("known");
	QVERIFY(dock->flush(true, true));
	const QString known = fileOf(first);
	type(" pending");
	frontend().currentScene = second;
	obs_source_remove(first);
	first = nullptr;
	QTRY_COMPARE(find<QLabel>("sceneLabel")->text(), QStringLiteral("Second"));
	QVERIFY(readFile(known).contains("known pending"));

	type("new");
	obs_source_remove(second);
	second = nullptr;
	frontend().currentScene = nullptr;
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_LIST_CHANGED);
	QCOMPARE(find<QLabel>("sceneLabel")->text(), text("NoScene"));
	QVERIFY(readFile(dock->store().folder() + QStringLiteral("/Second.json")).contains("new"));
}

void DockTest::readModeProtectsTheNote()
{
	type("kept");
	auto *read = find<QAction>("Read");
	read->trigger();
	QVERIFY2(isOnDisk(first, "kept"), "locking saves first");
	QVERIFY(editor->isReadOnly());
	type("x");
	dock->command(Command::InsertTime);
	QCOMPARE(editor->toPlainText(), QStringLiteral("kept"));
	reopen();
	dock->bindScene(first);
	QVERIFY(editor->isReadOnly() && find<QAction>("Read")->isChecked());
	dock->command(Command::ToggleLock);
	QVERIFY(!editor->isReadOnly());
}

void DockTest::remoteEdits()
{
	type("local");
	dock->setRemoteEditing(true);
	QVERIFY(isOnDisk(first, "local"));
	QVERIFY(editor->isReadOnly() && find<QAction>("Read")->isChecked());
	QCOMPARE(editor->toolTip(), text("RemoteEditing"));
	QVERIFY(dock->applyRemoteHtml(first, QStringLiteral("<p>from a phone</p>")));
	QCOMPARE(editor->toPlainText(), QStringLiteral("from a phone"));
	QVERIFY(dock->applyRemoteHtml(second, QStringLiteral("elsewhere")));
	QCOMPARE(dock->store().read(second), QStringLiteral("elsewhere"));
	dock->setRemoteEditing(false);
	QVERIFY(!editor->isReadOnly() && editor->toolTip().isEmpty());

	dock->setRemoteAvailable(true);
	auto *qr = find<QToolButton>("remoteQrButton");
	const QWidget *viewport = editor->viewport();
	QVERIFY(qr->isVisible());
	QCOMPARE(qr->pos(), viewport->mapTo(dock.get(), QPoint(viewport->width() + 2, 4)));
}

void DockTest::remembersScrollPositions()
{
	QVERIFY(dock->store().write(first, {QStringLiteral("<p>line</p>").repeated(3000)}));
	QVERIFY(dock->store().write(second, {QStringLiteral("<p>line</p>").repeated(80)}));
	dock->bindScene(nullptr);
	dock->bindScene(first);
	QScrollBar *bar = editor->verticalScrollBar();
	QTRY_VERIFY(bar->maximum() > 20'000);
	bar->setValue(20'000);
	dock->bindScene(second);
	bar->setValue(50);
	for (obs_source_t *scene : {first.Get(), second.Get(), first.Get()}) {
		dock->bindScene(scene);
		QCoreApplication::processEvents(); // the view may have got another width meanwhile
		QCOMPARE(bar->value(), scene == first ? 20'000 : 50);
	}
	dock->hide();
	dock->show();
	QTRY_COMPARE(bar->value(), 20'000);
	reopen();
	bar = editor->verticalScrollBar();
	dock->bindScene(first);
	QTRY_COMPARE(bar->value(), 20'000);
	dock.reset();
	QSettings(folder->filePath(QStringLiteral("settings.ini")), QSettings::IniFormat)
		.setValue(QStringLiteral("readingPositions/") + uuidOf(first), -5);
	reopen();
	dock->bindScene(first);
	QCOMPARE(editor->verticalScrollBar()->value(), 0);
}

void DockTest::countsCharacters()
{
	const QLocale locale;
	editor->setPlainText(QStringLiteral("12345\n67890"));
	auto *count = find<QLabel>("characterCount");
	QCOMPARE(count->text(), text("CharacterCount").arg(locale.toString(11)));
	QCOMPARE(count->accessibleName(), text("CharacterRemaining")
						  .arg(locale.toString(11), locale.toString(kMaxTextLength),
						       locale.toString(kMaxTextLength - 11)));
	editor->selectAll();
	QCOMPARE(count->text(), text("SelectedCharacters").arg(locale.toString(10)));
	QCOMPARE(find<QLabel>("documentStatus")->text(), text("DocumentStatus").arg(2));
}

void DockTest::timeStampsAndOtherCommands()
{
	const auto before = QDateTime::currentDateTime().addSecs(-1);
	dock->command(Command::InsertTime);
	const auto stamp = QDateTime::fromString(editor->toPlainText(), QStringLiteral("yyyy-MM-dd HH:mm:ss "));
	QVERIFY(stamp.isValid() && stamp >= before);
	editor->setPlainText(QStringLiteral("line\n").repeated(200));
	editor->verticalScrollBar()->setValue(50);
	dock->command(Command::Top);
	QCOMPARE(editor->verticalScrollBar()->value(), 0);
	QCOMPARE(status(), text("AtTop"));
}

void DockTest::shutdownEndsEverything()
{
	type("last words");
	dock->shutdown();
	QVERIFY(isOnDisk(first, "last words"));
	QCOMPARE(frontend().saves, 0);
	dock->command(Command::InsertTime);
	QCOMPARE(editor->toPlainText(), QStringLiteral("last words"));
	dock->bindScene(second);
	QCOMPARE(frontend().saves, 0);
}

void DockTest::looksFollowThePalette()
{
	const QString before = find<QLabel>("saveError")->styleSheet();
	QPalette other = dock->palette();
	const bool wasDark = other.color(QPalette::Window).lightness() < 128;
	other.setColor(QPalette::Window, wasDark ? Qt::white : Qt::black);
	other.setColor(QPalette::WindowText, wasDark ? Qt::black : Qt::white);
	dock->setPalette(other);
	QVERIFY(find<QLabel>("saveError")->styleSheet() != before);
	dock->resize(1500, 400);
	QTRY_VERIFY(find<QWidget>("bottomControls")->height() == find<QWidget>("readingControls")->height());
}

} // namespace quillbay::test

int main(int argc, char *argv[])
{
	return quillbay::test::run<quillbay::test::DockTest>(argc, argv);
}

#include "dock_test.moc"
