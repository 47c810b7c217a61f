// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "notes/limits.hpp"
#include "notes/note_store.hpp"
#include "plugin/text.hpp"

#include <sys/stat.h>

namespace quillbay::test {

class StoreTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		removeScenes();
		folder = std::make_unique<QTemporaryDir>();
		store = std::make_unique<NoteStore>(folder->path() + "//x/../notes/");
		QCOMPARE(store->folder(), folder->path() + "/notes");
	}

	void namesNeverCollide()
	{
		const OBSSourceAutoRelease first = makeScene("Intro");
		const OBSSourceAutoRelease second = makeScene("intro");
		QVERIFY(!store->takeReferenceChanges());
		QVERIFY(store->write(first, {"one"}));
		QVERIFY(store->write(second, {"two"}));
		QVERIFY(store->takeReferenceChanges() && !store->takeReferenceChanges());
		QCOMPARE(files(), QStringList({"Intro.json", "intro_2.json"}));
		QCOMPARE(store->read(first), "one");
		QCOMPARE(recordOf(second, "id"), uuidOf(second));
		QCOMPARE(recordOf(second, "file"), "intro_2.json");
		QCOMPARE(recordOf(second, "name"), "intro");

		QVERIFY(store->write(first, {"three"}));
		QVERIFY2(!store->takeReferenceChanges(), "the record is as it was");
		QCOMPARE(store->destination("Intro", path("Intro.json"), {"intro.json"}), path("Intro_3.json"));
		writeFile(path(".hidden.json"), "x");
		QCOMPARE(store->destination(".hidden", {}, {}), path(".hidden_2.json"));
	}

	void renames()
	{
		const auto check = [this](const QString &name, const QString &file) {
			init();
			const OBSSourceAutoRelease scene = makeScene("Intro");
			const OBSSourceAutoRelease taken = makeScene("taken");
			const QDateTime modified = QDateTime::fromSecsSinceEpoch(1'600'000'000);
			QVERIFY(store->write(taken, {"theirs"}));
			QVERIFY(store->write(scene, {"ours"}, nullptr, modified));
			const QByteArray utf8 = name.toUtf8();
			obs_source_set_name(scene, utf8.constData());

			QVERIFY(store->rename(scene));
			QCOMPARE(QFileInfo(store->filePath(scene)).fileName(), file);
			QCOMPARE(store->read(scene), "ours");
			QCOMPARE(QFileInfo(store->filePath(scene)).lastModified(), modified);
			QCOMPARE(recordOf(scene, "name"), QString::fromUtf8(obs_source_get_name(scene)));
			QCOMPARE(files().size(), 2);
		};
		check("Outro", "Outro.json");
		check("INTRO", "Intro.json");
		check("Intro ", "Intro.json");
		check("aux", "_aux.json");
		check("Taken", "Taken_2.json");
	}

	void aDuplicateGetsAFileOfItsOwn()
	{
		const OBSSourceAutoRelease scene = makeScene("Intro");
		QVERIFY(store->write(scene, {"one"}));
		const OBSSourceAutoRelease copy = duplicateScene(scene, "Intro 2");
		setRecord(copy, recordOf(scene, "id"), recordOf(scene, "file"), recordOf(scene, "name"));
		QCOMPARE(store->filePath(copy), QString());
		QCOMPARE(store->read(copy), QString());
		QVERIFY(store->rename(copy));
		QVERIFY(store->write(copy, {"two"}));
		QCOMPARE(store->read(scene), "one");
		QCOMPARE(files().size(), 2);
	}

	void hostileRecordsAreNoFile()
	{
		const OBSSourceAutoRelease scene = makeScene("Intro");
		for (const char *file : {"", "../x.json", "a\\b.json", "note.txt", "/etc/x.json", "sub/x.json", ".."}) {
			setRecord(scene, uuidOf(scene), file, "Intro");
			QCOMPARE(store->filePath(scene), QString());
		}
		QVERIFY(store->write(scene, {QStringLiteral("one")}));
		QCOMPARE(store->filePath(scene), path("Intro.json"));
	}

	void unreadableNotesSayWhy()
	{
		const OBSSourceAutoRelease scene = makeScene("Intro");
		const OBSSourceAutoRelease other = makeScene("Other");
		QVERIFY(store->write(other, {"two"}) && store->write(scene, {"one"}));
		const QString file = path("Intro.json");
		const auto check = [&](const char *key, const std::function<void()> &spoil) {
			QVERIFY(QFile::remove(file));
			spoil();
			QString error;
			QCOMPARE(store->read(scene, &error), QString());
			const bool namesFile = qstrcmp(key, "FileReadFailed") == 0;
			QCOMPARE(error, *key == 0 ? QString() : text(key) + (namesFile ? file : QString()));
			QFile::remove(file) || QDir().rmdir(file);
			writeFile(file, "x");
		};
		check("", [] {});
		check("FileReadFailed", [&] { QVERIFY(QFile::link(path("Other.json"), file)); });
		check("FileReadFailed", [&] { QVERIFY(QDir().mkdir(file)); });
		check("FileReadFailed", [&] { QCOMPARE(mkfifo(QFile::encodeName(file).constData(), 0600), 0); });
		check("BackupTooLarge", [&] { writeFile(file, QByteArray(kMaxNoteBytes + 1, ' ')); });
		check("BackupInvalid", [&] { writeFile(file, "{\"format\""); });
		check("NoteSceneMismatch", [&] { QVERIFY(QFile::copy(path("Other.json"), file)); });
		QVERIFY(QDir(store->folder()).removeRecursively());
		writeFile(store->folder(), "in the way");
		QString error;
		QCOMPARE(store->read(scene, &error), QString());
		QCOMPARE(error, text("FileReadFailed") + file);
	}

	void aFailedWriteChangesNothing()
	{
		const OBSSourceAutoRelease scene = makeScene("Intro");
		QVERIFY(store->write(scene, {"one"}));
		store->takeReferenceChanges();
		QString error;
		QVERIFY(!store->write(nullptr, {}, &error));
		QCOMPARE(error, text("SelectScene"));

		obs_source_set_name(scene, "Outro");
		QVERIFY(QFile::link(path("Intro.json"), path("Outro_trap")));
		setRecord(scene, uuidOf(scene), "Link.json", "Outro");
		QVERIFY(QFile::link(path("Intro.json"), path("Link.json")));
		QVERIFY(!store->write(scene, {"two"}, &error));
		QCOMPARE(error, text("NoteSaveFailed"));
		QCOMPARE(recordOf(scene, "file"), "Link.json");
		QVERIFY(readFile(path("Intro.json")).contains("one"));

		QVERIFY(QFile::remove(path("Link.json")) && QDir().mkdir(path("Link.json")));
		error.clear();
		QVERIFY(!store->write(scene, {"two"}, &error));
		QVERIFY(!error.isEmpty() && !store->takeReferenceChanges());
	}

	void clearingByAge()
	{
		const OBSSourceAutoRelease scene = makeScene("Intro");
		const QDateTime written = QDateTime::fromSecsSinceEpoch(1'600'000'000);
		QVERIFY(!store->clearExpired(scene, written));
		QVERIFY(store->write(scene, {"one"}, nullptr, written));
		QVERIFY(!store->clearExpired(scene, {}));
		QVERIFY(!store->clearExpired(scene, written.addSecs(-1)));
		QCOMPARE(store->read(scene), "one");
		QVERIFY(store->clearExpired(scene, written));
		QCOMPARE(store->read(scene), QString());
		QVERIFY(QFileInfo(path("Intro.json")).lastModified() > written);
		QVERIFY(!store->clearExpired(scene, QDateTime::currentDateTime().addDays(1)));
	}

	void aGoneScenesNoteFindsItsFile()
	{
		const OBSSourceAutoRelease other = makeScene("Other");
		QVERIFY(store->write(other, {"theirs"}));
		NoteTarget target{"0a8f2f5e-5a35-4d7c-9f0f-0f6c2a4b7c11", "Other", {}, {}};
		QVERIFY(store->writeDetached(target, {"ours"}));
		QCOMPARE(target.path, path("Other_2.json"));
		target.path = path("Other.json");
		QVERIFY2(store->writeDetached(target, {"ours"}), "never over another scene's note");
		QCOMPARE(target.path, path("Other_3.json"));
		QCOMPARE(store->read(other), "theirs");

		setRecord(other, {}, {}, {});
		store->reattach(other, target.path);
		QCOMPARE(store->filePath(other), path("Other.json"));
		const OBSSourceAutoRelease third = makeScene("Third");
		QVERIFY(store->write(third, {"third"}));
		for (const char *file : {"Moved away.json", "Third.json"}) {
			setRecord(other, uuidOf(other), file, "Moved away");
			store->reattach(other, {});
			QCOMPARE(store->read(other), "theirs");
		}
		setRecord(other, uuidOf(other), "Third.json", "Other");
		QVERIFY(store->write(other, {"new"}));
		QVERIFY(store->read(other) == "new" && store->read(third) == "third");
	}

	// The host died before it saved the record.
	void aLostFirstRecord()
	{
		const OBSSourceAutoRelease first = makeScene("Intro");
		const OBSSourceAutoRelease second = makeScene("intro");
		QVERIFY(store->write(first, {"one"}) && store->write(second, {"two"}));
		setRecord(second, {}, {}, {});
		QCOMPARE(store->read(second), "two");
		QCOMPARE(store->prepare(second, {}).path, path("intro_2.json"));
		store->reattach(second, {});
		QCOMPARE(store->filePath(second), path("intro_2.json"));
		setRecord(second, {}, {}, {});
		QVERIFY(QFile::remove(path("Intro.json")));
		QVERIFY(store->write(second, {"three"}));
		QCOMPARE(files().size(), 1);
		QCOMPARE(store->read(second), "three");
	}

private:
	[[nodiscard]] QString path(const char *file) const { return store->folder() + u'/' + QLatin1StringView(file); }
	[[nodiscard]] QStringList files() const { return QDir(store->folder()).entryList(QDir::Files, QDir::Name); }

	std::unique_ptr<QTemporaryDir> folder;
	std::unique_ptr<NoteStore> store;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::StoreTest)
#include "store_test.moc"
