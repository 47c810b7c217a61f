// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"

namespace quillbay::test {

constexpr int kDay = 86'400'000;
const QString kElsewhere = "a scene of another collection";
const QString kMarked = QStringLiteral("x\u25c6[a] words");

class MenuTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init() { fixture = std::make_unique<DockFixture>(); }
	void cleanup() { fixture.reset(); }

	void entriesFollowTheState()
	{
		QGuiApplication::clipboard()->setText("clip");
		const auto check = [this](const char *enabled) {
			QString found;
			inNext<QMenu>([&found](QMenu &menu) {
				for (const QAction *action : menu.actions()) {
					const QString key = action->objectName().mid(3) + ' ';
					found += action->isSeparator() ? "| " : action->isEnabled() ? key : "";
				}
				menu.close();
			});
			fixture->dock->showEditorContextMenu(fixture->editor->cursorRect().center());
			QCOMPARE(found.simplified(), enabled);
		};
		check("| Paste PastePlain | | BackupCurrent BackupAll RestoreBackup | About");
		fixture->editor->insertCheckedText(kMarked);
		fixture->select(2, 2);
		check("Undo | Paste PastePlain SelectAll | DeleteMark | ConvertBasic ClearBody | "
		      "BackupCurrent BackupAll RestoreBackup | About");
		fixture->editor->selectAll();
		check("Undo | Cut Copy Paste PastePlain Delete SelectAll | ConvertBasic ClearBody | "
		      "BackupCurrent BackupAll RestoreBackup | About");
		fixture->dock->setLocked(true);
		check("| Copy SelectAll | | BackupCurrent BackupAll | About");
		fixture->dock->setLocked(false);
		fixture->dock->setRemoteEditing(true);
		check("| Copy SelectAll | | BackupCurrent BackupAll | About");
		fixture->dock->bindScene(nullptr);
		check("| | | BackupAll | About");
	}

	void entriesDoTheirWork()
	{
		fixture->editor->insertCheckedText(kMarked);
		choose("ctxDeleteMark", 3);
		QCOMPARE(plain(), "x words");
		QCOMPARE(fixture->editor->textCursor().position(), 1);
		choose("ctxUndo");
		choose("ctxRedo");
		fixture->select(0, 2);
		for (const char *name : {"ctxCut", "ctxPaste", "ctxPastePlain", "ctxSelectAll", "ctxCopy"}) {
			choose(name);
		}
		QCOMPARE(QGuiApplication::clipboard()->text(), "x x words");
		fixture->select(0, 4);
		choose("ctxDelete");
		QCOMPARE(plain(), "words");
		QCOMPARE(answerDialogs({{.button = QMessageBox::Yes}}, [this] { choose("ctxClearBody"); }),
			 QStringList(text("ClearBody") + u'|' + text("ClearBodyPrompt")));
		QCOMPARE(plain() + fixture->status(), text("SavedNote"));
	}

	void theWorldMayChangeWhileTheMenuIsOpen()
	{
		Dock *dock = fixture->dock.get();
		const OBSSource other = addScene("Other", 0);
		fixture->editor->insertCheckedText(kMarked);
		choose("ctxUndo", 0, [dock] { dock->setLocked(true); });
		dock->setLocked(false);
		QCOMPARE(plain(), kMarked);
		choose("ctxDeleteMark", 2, [dock, other] { dock->bindScene(other); });
		QGuiApplication::clipboard()->setText("clip");
		choose("ctxPastePlain", 0, [this, dock] { dock->bindScene(fixture->scene); });
		QCOMPARE(plain(), kMarked);
		QVERIFY(!isEmptied(other));
		inNext<QMenu>([this](QMenu &) { fixture->dock.reset(); });
		dock->showEditorContextMenu({1, 1});
		QVERIFY2(!fixture->dock, "the host may end as well");
	}

	void choicesCountFromOkOn()
	{
		reopen(0, false, {kElsewhere});
		const OBSSource old = addScene("Old", 40);
		// A folder in the way: the choice cannot be saved, and must not be later.
		QVERIFY(QFile::remove(fixture->settingsPath()) && QDir().mkdir(fixture->settingsPath()));
		decide(9, "AutoClearSaveFailed");
		QCOMPARE(delay(), -1);
		QVERIFY(QDir().rmdir(fixture->settingsPath()));
		fixture->dock->savePreferences();
		QCOMPARE(fixture->saved("autoClear/days").toInt(), 0);
		decide(30, nullptr);
		QCOMPARE(delay(), 5000);
		const QStringList both = fixture->saved("autoClear/scenes").toStringList();
		QVERIFY(both.size() == 2 && both.contains(kElsewhere) && both.contains(uuidOf(old)));
		decide(31, nullptr);
		QCOMPARE(fixture->saved("autoClear/scenes").toStringList(), QStringList(kElsewhere));
		reopen(0, false);
		decide(31, nullptr);
		decide(31, "AutoClearEmpty");
		QCOMPARE(fixture->saved("autoClear/scenes").toStringList(), QStringList(uuidOf(old)));
	}

	void onlyOldUnusedNotesAreEmptied()
	{
		const std::array scenes{addScene("0", 90), addScene("1", 90),   addScene("2", 90),
					addScene("3", 90), addScene("4", 90),   addScene("5", 90),
					addScene("6", 29), addScene("7", -300), addScene("8", 30)};
		const auto &[shown, program, preview, other, gone, damaged, young, future, old] = scenes;
		QStringList chosen{kElsewhere};
		for (const OBSSource &scene : scenes) {
			chosen += scene == other ? QString() : uuidOf(scene);
		}
		frontend().currentScene = program;
		frontend().previewScene = shown;
		frontend().isStudioMode = true;
		reopen(30, false, chosen);
		frontend().previewScene = preview;
		obs_source_remove(gone);
		obs_source_set_name(old, "renamed");
		QFile file(fixture->dock->store().filePath(damaged));
		QVERIFY(file.open(QIODevice::ReadWrite | QIODevice::Truncate));
		QVERIFY(file.setFileTime(QDateTime::currentDateTime().addDays(-90), QFileDevice::FileModificationTime));
		frontend().saves = 0;
		pass();
		for (const OBSSource &scene : {shown, program, preview, other, gone, young, future}) {
			QVERIFY2(!isEmptied(scene), obs_source_get_name(scene));
		}
		QVERIFY(isEmptied(old));
		QCOMPARE(frontend().saves, 1);
		QCOMPARE(fixture->status(), text("AutoClearFailed").arg(5));
		QVERIFY(!fixture->find<QLabel>("saveError")->isHidden());
		reopen(29, true);
		pass();
		QVERIFY(isEmptied(young) && isEmptied(other) && !isEmptied(future));
	}

	void passesGoOnWhenTheyMay()
	{
		for (const char *days : {"36501", "0", "-3", "soon", "99999999999999"}) {
			reopen(days, true);
			QVERIFY2(delay() == -1 && step() == -1, days);
		}
		reopen(36'500, false);
		QCOMPARE(delay(), -1);
		reopen(30, true);
		QCOMPARE(delay(), 5000);
		QCOMPARE(step(), kDay);
		const OBSSource first = addScene("First", 40);
		const OBSSource second = addScene("Second", 40);
		QMessageBox box(fixture->dock.get());
		box.open();
		QCOMPARE(step(), 60'000);
		QVERIFY(!isEmptied(first));
		box.reject();
		QCOMPARE(step(), 25);
		QVERIFY(isEmptied(first));
		fixture->dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
		QCOMPARE(step(), -1);
		fixture->dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
		QCOMPARE(delay(), 5000);
		fixture->dock->shutdown();
		QCOMPARE(step(), -1);
		QVERIFY(!isEmptied(second));
	}

private:
	// Opens the menu at a position of the note and triggers an entry once `change` has happened.
	void choose(const char *name, int position = 0, const std::function<void()> &change = [] {}) const
	{
		inNext<QMenu>([name, change](QMenu &menu) {
			change();
			menu.findChild<QAction *>(name)->trigger();
		});
		QTextCursor cursor(fixture->editor->document());
		cursor.setPosition(position);
		const QPoint at = fixture->editor->cursorRect(cursor).center();
		QWidget *viewport = fixture->editor->viewport();
		QContextMenuEvent click(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
		QApplication::sendEvent(viewport, &click);
	}
	// Chooses the days, checks or unchecks the scene, and presses OK, which brings up the message, if there is one.
	void decide(int days, const char *message) const
	{
		inNext<QDialog>([days, message](QDialog &dialog) {
			for (const QLabel *label : dialog.findChildren<QLabel *>()) {
				QVERIFY2(label->height() >= label->heightForWidth(label->width()), "cut off");
			}
			dialog.findChild<QSpinBox *>()->setValue(days);
			inNext<QDialog>([](QDialog &chooser) {
				QListWidgetItem *item = chooser.findChild<QListWidget *>()->item(0);
				item->setCheckState(item->checkState() ? Qt::Unchecked : Qt::Checked);
				chooser.accept();
			});
			dialog.findChild<QPushButton *>("autoClearChoose")->click();
			const QStringList said(message ? 1 : 0,
					       text("AutoClear") + u'|' + text(message ? message : ""));
			QCOMPARE(answerDialogs({}, [&dialog] { dialog.accept(); }), said);
			QCOMPARE(dialog.isVisible(), message != nullptr);
			dialog.reject();
		});
		fixture->dock->showAbout();
	}
	[[nodiscard]] QString plain() const { return fixture->editor->toPlainText(); }
	void reopen(const QVariant &days, bool isAll, const QStringList &ids = {}) const
	{
		fixture->reopen({{"autoClear/days", days}, {"autoClear/all", isAll}, {"autoClear/scenes", ids}});
	}
	// A scene of the collection whose note was last written so many days ago.
	OBSSource addScene(const QString &name, int daysOld) const
	{
		const OBSSource scene = frontend().scenes.emplace_back(makeScene(name).Get());
		const QDateTime written = QDateTime::currentDateTimeUtc().addDays(-daysOld).addSecs(-60);
		const bool isWritten = fixture->dock->store().write(scene, {"words"}, nullptr, written);
		return isWritten && fixture->dock->store().takeReferenceChanges() ? scene : OBSSource();
	}
	[[nodiscard]] bool isEmptied(obs_source_t *scene) const { return fixture->dock->store().read(scene).isEmpty(); }
	// The auto-clear timer's interval, or -1 while it stands still.
	[[nodiscard]] int delay() const
	{
		const auto *timer = fixture->find<QTimer>("autoClearTimer");
		return timer->isActive() ? timer->interval() : -1;
	}
	// A step of auto-clear; how long it then waits.
	int step() const
	{
		fixture->dock->clearExpiredNotes();
		return delay();
	}
	void pass() const
	{
		while (step() != kDay) {
			QCOMPARE(delay(), 25);
		}
	}

	std::unique_ptr<DockFixture> fixture;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::MenuTest)
#include "menu_test.moc"
