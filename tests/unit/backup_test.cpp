// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"
#include "host/test_archive.hpp"

#include "backup/backup.hpp"
#include "backup/inspection.hpp"
#include "notes/limits.hpp"

#include <sys/resource.h>

#include <csignal>

namespace quillbay::test {

namespace {

const QString kInvalid = "BackupInvalid";

// The key of an error's text.
QString keyOf(QString error)
{
	for (const char *name : {"BackupInvalid", "BackupTooLarge", "BackupEmpty", "TextLimit", "FileReadFailed"}) {
		error.replace(text(name), QLatin1StringView(name));
	}
	return error;
}

QString idOf(int number)
{
	return QString("00000000-0000-4000-8000-%1").arg(number, 12, 10, QLatin1Char('0'));
}

QByteArray noteOf(int number, const QString &html = "<p>some words</p>")
{
	return encodeNote({idOf(number), "Scene", html});
}

} // namespace

class BackupTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		copies = copyFolders();
		folder = std::make_unique<QTemporaryDir>();
	}

	void cleanup()
	{
		folder.reset();
		QVERIFY2(copyFolders() == copies, "copies are left behind");
	}

	void archivesAreLaidOutAsTheyShould()
	{
		const QByteArray large = noteOf(2, QString("words and more ").repeated(600));
		const QStringList files{add("Ünï.json", noteOf(1)), add("b.JSON", large)};
		QString error;
		QVERIFY2(backupNotes(path("out.zip"), files, error), qPrintable(error));
		QCOMPARE(readFile(path("out.zip")), makeArchive({{"Ünï.json", noteOf(1)}, {"b.JSON", large}}).bytes);
		QCOMPARE(inspect(readFile(path("out.zip"))), "1 2");
		QVERIFY(backupNotes(path("one.Json"), files.mid(1), error));
		QCOMPARE(readFile(path("one.Json")), large);
	}

	void everyFieldOfEveryHeader()
	{
		const Archive good = makeArchive({{"a.json", noteOf(1)}});
		QCOMPARE(inspect(good.bytes), "1");
		// What the local header repeats is read from the directory; versions, times and attributes mean
		// nothing.
		const std::initializer_list<std::tuple<qsizetype, int, QList<int>>> headers{
			{0, 36, {4, 5, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25}},
			{good.central, 52, {4, 5, 6, 7, 12, 13, 14, 15, 36, 37, 38, 39, 40, 41}},
			{good.end, 22, {}}};
		for (const auto &[start, size, ignored] : headers) {
			for (int offset = 0; offset < size; ++offset) {
				for (const int flip : {0x01, 0x08, 0x80, 0xFF}) {
					QByteArray bytes = good.bytes;
					bytes[start + offset] = static_cast<char>(bytes[start + offset] ^ flip);
					const QString expected = ignored.contains(offset) ? "1" : kInvalid;
					QVERIFY2(inspect(bytes) == expected,
						 qPrintable(QString::number(start + offset)));
				}
			}
		}
		for (qsizetype size = 0; size < good.bytes.size(); ++size) {
			QCOMPARE(inspect(good.bytes.first(size)), kInvalid);
			QCOMPARE(inspect(good.bytes.last(size)), kInvalid);
		}
	}

	void oddArchives()
	{
		const QByteArray note = noteOf(1);
		const QByteArray bomb(kMaxNoteBytes, ' ');
		const Part good{"a.json", note};
		const std::initializer_list<std::pair<QList<Part>, const char *>> cases{
			{{{"a/b.json", note}, {"..json", noteOf(2)}, {"C.JSON", noteOf(3)}}, "1 2 3"},
			{{{"f/", {}, 0}, good, {"../", {}, 0}}, "1"}, // folders
			{{{"f/", {}, 0}}, "BackupInvalid"},
			{{}, "BackupInvalid"},
			{{{"a.json", note, 8, 0x0808}}, "1"},                      // a data descriptor
			{{{"a.json", note, 0, 0}}, "1"},                           // no UTF-8
			{{{"a.json", note, 0, 0x0800, -1, "x"}}, "BackupInvalid"}, // stored with more behind
			{{{"a.json", note, 8, 0x0800, -1, "x"}}, "BackupInvalid"}, // deflated with more behind
			{{{"a.json", bomb}}, "BackupInvalid"},
			{{{"a.json", bomb, 8, 0x0800, 9}}, "BackupInvalid"},
			{{{"a.json", note, 8, 0x0800, kMaxNoteBytes + 1}}, "BackupInvalid"},
			{{good, {"b.json", note}}, "BackupInvalid"}, // one scene twice
			{{good, {"a.json", noteOf(2)}}, "1 2"},      // one name twice
			{{good, {"b.json", "{}"}}, "BackupInvalid"},
			{{{"a.json", noteOf(1, QString(kMaxTextLength + 1, u'x'))}}, "TextLimit"},
			{{{"a.json", noteOf(1, QString("<table><tr><td>").repeated(40))}}, "TextLimit"},
		};
		for (const auto &[parts, expected] : cases) {
			QCOMPARE(inspect(makeArchive(parts).bytes), expected);
		}
		for (const char *name :
		     {"../x.json", "/x.json", "c:x.json", "a\\b.json", "x.txt", "a/../b.json", "", "..\\x.json"}) {
			QVERIFY2(inspect(makeArchive({good, {name, noteOf(2)}}).bytes) == kInvalid, name);
		}
		QCOMPARE(inspect(makeArchive({good}, {}, QByteArray(65'535, 'x')).bytes), "1");
		QCOMPARE(inspect(makeArchive({good}, {}, "x").bytes + 'x'), kInvalid);
		QCOMPARE(inspect(makeArchive({good}, {}, makeArchive({good}).bytes).bytes), kInvalid);
		QCOMPARE(inspect(makeArchive({good}, "gap").bytes), kInvalid);
		// Two entries share their data: it is the same note.
		Archive overlap = makeArchive({good, {"a.json", noteOf(2)}});
		const qsizetype entry = (overlap.end - overlap.central) / 2;
		overlap.bytes.replace(overlap.central + entry, entry, overlap.bytes.sliced(overlap.central, entry));
		QCOMPARE(inspect(overlap.bytes), kInvalid);
	}

	void refusedBackups()
	{
		const QString good = add("good.json", noteOf(1));
		const QString corrupt = add("corrupt.json", noteOf(3).chopped(1));
		const QString large = add("large.json", {});
		QVERIFY(QFile::resize(large, kMaxNoteBytes + 1) && QFile::link(good, path("link.json")) &&
			QDir(folder->path()).mkdir("folder"));
		const std::initializer_list<std::tuple<QStringList, QString, QString>> cases{
			{{}, "old.zip", "BackupEmpty"},
			{QStringList(10'001, good), "old.zip", "BackupEmpty"},
			{{good, good}, "old.zip", kInvalid},
			{{good, corrupt}, "old.zip", kInvalid},
			{{good, large}, "old.zip", "BackupTooLarge"},
			{{good, path("link.json")}, "old.zip", "FileReadFailed" + path("link.json")},
			{{good, path("missing.json")}, "old.zip", "FileReadFailed" + path("missing.json")},
			{{good, path("folder")}, "old.zip", "FileReadFailed" + path("folder")},
			{{good, add("other.json", noteOf(2))}, "old.json", text("BackupFailed")},
			{{corrupt}, "old.json", kInvalid},
		};
		for (const auto &[files, name, expected] : cases) {
			add(name, "old");
			const auto count = QDir(folder->path()).count();
			QString error;
			QVERIFY(!backupNotes(path(name), files, error));
			QCOMPARE(keyOf(error), expected);
			QCOMPARE(readFile(path(name)), QByteArray("old"));
			QCOMPARE(QDir(folder->path()).count(), count);
		}
	}

	void aFullDisk()
	{
		QRandomGenerator random(1);
		QString html;
		for (int i = 0; i < 100'000; ++i) {
			html += i % 5'000 == 0 ? QString("<p>") : QString(QChar(0x4E00 + random.bounded(20'000)));
		}
		const QString note = add("note.json", noteOf(1, html));
		const QString archive = add("in.zip", makeArchive({{"a.json", noteOf(1, html)}}).bytes);
		const QString old = add("old.zip", "old");
		const auto count = QDir(folder->path()).count();
		rlimit before{};
		QVERIFY(getrlimit(RLIMIT_FSIZE, &before) == 0);
		const rlimit small{100'000, before.rlim_max};
		const auto handler = std::signal(SIGXFSZ, SIG_IGN);
		QVERIFY(setrlimit(RLIMIT_FSIZE, &small) == 0);
		const QTemporaryDir target;
		QString errors[3];
		const bool isDone = backupNotes(old, {note}, errors[0]) ||
				    !inspectBackup(archive, target.path(), errors[1]).isEmpty() ||
				    restoreNote(note, {idOf(2), "Other", old, {}}, errors[2]);
		setrlimit(RLIMIT_FSIZE, &before);
		std::signal(SIGXFSZ, handler);
		QVERIFY(!isDone);
		for (const QString &error : errors) {
			QCOMPARE(error, QString::fromLocal8Bit(strerror(EFBIG)));
		}
		QCOMPARE(readFile(old), QByteArray("old"));
		QCOMPARE(QDir(folder->path()).count(), count);
	}

	void notesComeBack()
	{
		DockFixture fixture;
		Dock &dock = *fixture.dock;
		const auto noteFile = [&](obs_source_t *scene) { return dock.store().filePath(scene); };
		OBSSourceAutoRelease other = makeScene("Other");
		QTest::keyClicks(fixture.editor, "first");
		QVERIFY(dock.store().write(other, {"second"}));
		QCOMPARE(backUp(fixture, "all"), QStringList());
		const QByteArray first = readFile(noteFile(fixture.scene));
		// One note's backup goes to the scene on show, whatever scene it is from.
		QCOMPARE(backUp(fixture, "one", false), QStringList());
		QCOMPARE(readFile(path("one.json")), first);
		QVERIFY(backUp(fixture, dock.store().folder() + "/x")[0].endsWith(text("BackupChooseFolder")));

		obs_source_remove(other);
		dock.bindScene(other = makeScene("Third"));
		restore(fixture, "one.json");
		QCOMPARE(fixture.editor->toPlainText(), "first");
		QVERIFY(readFile(noteFile(other)).contains(uuidOf(other).toUtf8()));
		QCOMPARE(restore(fixture, "all.zip").size(), 1);
		QCOMPARE(fixture.status(), text("RestoreResult").arg("1", "1"));
		add("bad.zip", "x");
		QVERIFY(restore(fixture, "bad.zip", {})[0].endsWith(text("BackupInvalid")));
		add("made.zip", makeArchive({{"a.json", noteOf(1)}}).bytes);
		QVERIFY(restore(fixture, "made.zip", {})[0].endsWith(text("RestoreNoMatch")));

		// The second of two cannot be written.
		const OBSSourceAutoRelease last = makeScene("Last");
		QVERIFY(dock.store().write(last, {}));
		const QString blocked = noteFile(last);
		QVERIFY(QFile::remove(blocked) && QDir().mkdir(blocked));
		add("made.zip", makeArchive({{"a.json", encodeNote({uuidOf(fixture.scene), "x", "<p>third</p>"})},
					     {"b.json", encodeNote({uuidOf(last), "x", "x"})}})
					.bytes);
		const QStringList said = restore(fixture, "made.zip", {.button = QMessageBox::Yes}, 1);
		QVERIFY(said.size() == 2 && said[1].contains(u'|' + text("RestoreResult").arg("1", "0") + u'\n'));
		QVERIFY(dock.store().read(fixture.scene).contains("third") && !fixture.editor->isReadOnly());
	}

	void theQuestionStandsOpen()
	{
		const std::tuple<std::function<void(DockFixture &)>, const char *, bool> cases[] = {
			{[](DockFixture &fixture) { fixture.dock->setLocked(true); }, "oldnew", false},
			{[](DockFixture &fixture) { fixture.dock->setRemoteEditing(true); }, "oldnew", false},
			{[](DockFixture &fixture) { fixture.dock->shutdown(); }, "oldnew", false},
			{[](DockFixture &fixture) {
				 frontend().previewScene = makeScene("Other").Get();
				 fixture.dock->bindScene(frontend().previewScene);
			 },
			 "", true},
			{[](DockFixture &fixture) {
				 obs_source_set_name(fixture.scene, "Renamed");
				 fixture.dock->sceneRenamed(fixture.scene);
			 },
			 "old", true},
		};
		for (const auto &[change, shown, isRestored] : cases) {
			DockFixture fixture;
			QTest::keyClicks(fixture.editor, "old");
			QCOMPARE(backUp(fixture, "all.zip"), QStringList());
			QTest::keyClicks(fixture.editor, "new");
			const Answer yes{.button = QMessageBox::Yes, .then = [&] { change(fixture); }};
			QCOMPARE(restore(fixture, "all.zip", yes).size(), 1);
			const QString html = fixture.dock->store().read(fixture.scene);
			QVERIFY2(html.contains("old") && html.contains("oldnew") != isRestored, qPrintable(html));
			QCOMPARE(QDir(fixture.dock->store().folder()).entryList(QDir::Files).size(), 1);
			QCOMPARE(fixture.editor->toPlainText(), shown);
			QVERIFY(QFile::remove(path("all.zip")));
		}
	}

private:
	[[nodiscard]] QString path(const QString &name) const { return QDir(folder->path()).filePath(name); }
	QString add(const QString &name, const QByteArray &bytes) const
	{
		writeFile(path(name), bytes);
		return path(name);
	}
	// What an inspection says: the error's key, or the scenes' numbers.
	[[nodiscard]] QString inspect(const QByteArray &archive) const
	{
		const QTemporaryDir target;
		QString error;
		QStringList found;
		for (const BackupNote &note : inspectBackup(add("in.zip", archive), target.path(), error)) {
			found.append(QString::number(note.sceneId.right(12).toInt()));
		}
		return error.isEmpty() == found.isEmpty() ? "neither or both" : keyOf(error) + found.join(u' ');
	}
	QStringList backUp(const DockFixture &fixture, const QString &name, bool isAll = true) const
	{
		return answerDialogs({{.path = path(name)}}, [&] { fixture.dock->backup(isAll); });
	}
	QStringList restore(const DockFixture &fixture, const QString &name,
			    const Answer &answer = {.button = QMessageBox::Yes}, int more = 0) const
	{
		return answerDialogs(QList<Answer>{{.path = path(name)}, answer} + QList<Answer>(more),
				     [&] { fixture.dock->restoreBackup(); });
	}
	static QStringList copyFolders()
	{
		return QDir::temp().entryList({QCoreApplication::applicationName() + "-*"}, QDir::Dirs);
	}

	QStringList copies;
	std::unique_ptr<QTemporaryDir> folder;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::BackupTest)
#include "backup_test.moc"
