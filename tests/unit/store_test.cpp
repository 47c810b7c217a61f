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
	void init();
	void namesNeverCollide();
	void renames_data();
	void renames();
	void aDuplicateGetsAFileOfItsOwn();
	void hostileRecordsAreNoFile_data();
	void hostileRecordsAreNoFile();
	void unreadableNotesSayWhy_data();
	void unreadableNotesSayWhy();
	void aFailedWriteChangesNothing();
	void clearingByAge();
	void aGoneScenesNoteFindsItsFile();
	void aLostFirstRecord();

private:
	[[nodiscard]] QString path(const char *file) const { return store->folder() + u'/' + QLatin1StringView(file); }
	[[nodiscard]] QStringList files() const { return QDir(store->folder()).entryList(QDir::Files, QDir::Name); }

	std::unique_ptr<QTemporaryDir> folder;
	std::unique_ptr<NoteStore> store;
};

void StoreTest::init()
{
	removeScenes();
	folder = std::make_unique<QTemporaryDir>();
	store = std::make_unique<NoteStore>(folder->path() + QStringLiteral("//x/../notes/"));
	QCOMPARE(store->folder(), folder->path() + QStringLiteral("/notes"));
}

void StoreTest::namesNeverCollide()
{
	const OBSSourceAutoRelease first = makeScene(QStringLiteral("Intro"));
	const OBSSourceAutoRelease second = makeScene(QStringLiteral("intro"));
	QVERIFY(!store->takeReferenceChanges());
	QVERIFY(store->write(first, {QStringLiteral("one")}));
	QVERIFY(store->write(second, {QStringLiteral("two")}));
	QVERIFY(store->takeReferenceChanges() && !store->takeReferenceChanges());
	QCOMPARE(files(), QStringList({QStringLiteral("Intro.json"), QStringLiteral("intro_2.json")}));
	QCOMPARE(store->read(first), QStringLiteral("one"));
	QCOMPARE(recordOf(second, "id"), uuidOf(second));
	QCOMPARE(recordOf(second, "file"), QStringLiteral("intro_2.json"));
	QCOMPARE(recordOf(second, "name"), QStringLiteral("intro"));

	QVERIFY(store->write(first, {QStringLiteral("three")}));
	QVERIFY2(!store->takeReferenceChanges(), "the record is as it was");
	QCOMPARE(store->destination(QStringLiteral("Intro"), path("Intro.json"), {QStringLiteral("intro.json")}),
		 path("Intro_3.json"));
	writeFile(path(".hidden.json"), "x");
	QCOMPARE(store->destination(QStringLiteral(".hidden"), {}, {}), path(".hidden_2.json"));
}

void StoreTest::renames_data()
{
	QTest::addColumn<QString>("name");
	QTest::addColumn<QString>("file");
	QTest::newRow("other") << QStringLiteral("Outro") << QStringLiteral("Outro.json");
	QTest::newRow("letter case") << QStringLiteral("INTRO") << QStringLiteral("Intro.json");
	QTest::newRow("trailing blank") << QStringLiteral("Intro ") << QStringLiteral("Intro.json");
	QTest::newRow("device") << QStringLiteral("aux") << QStringLiteral("_aux.json");
	QTest::newRow("taken") << QStringLiteral("Taken") << QStringLiteral("Taken_2.json");
}

void StoreTest::renames()
{
	QFETCH(QString, name);
	QFETCH(QString, file);
	const OBSSourceAutoRelease scene = makeScene(QStringLiteral("Intro"));
	const OBSSourceAutoRelease taken = makeScene(QStringLiteral("taken"));
	const QDateTime modified = QDateTime::fromSecsSinceEpoch(1'600'000'000);
	QVERIFY(store->write(taken, {QStringLiteral("theirs")}));
	QVERIFY(store->write(scene, {QStringLiteral("ours")}, nullptr, modified));
	const QByteArray utf8 = name.toUtf8();
	obs_source_set_name(scene, utf8.constData());

	QVERIFY(store->rename(scene));
	QCOMPARE(QFileInfo(store->filePath(scene)).fileName(), file);
	QCOMPARE(store->read(scene), QStringLiteral("ours"));
	QCOMPARE(QFileInfo(store->filePath(scene)).lastModified(), modified);
	QCOMPARE(recordOf(scene, "name"), QString::fromUtf8(obs_source_get_name(scene)));
	QCOMPARE(files().size(), 2);
}

void StoreTest::aDuplicateGetsAFileOfItsOwn()
{
	const OBSSourceAutoRelease scene = makeScene(QStringLiteral("Intro"));
	QVERIFY(store->write(scene, {QStringLiteral("one")}));
	const OBSSourceAutoRelease copy = duplicateScene(scene, QStringLiteral("Intro 2"));
	setRecord(copy, recordOf(scene, "id"), recordOf(scene, "file"), recordOf(scene, "name"));
	QCOMPARE(store->filePath(copy), QString());
	QCOMPARE(store->read(copy), QString());
	QVERIFY(store->rename(copy));
	QVERIFY(store->write(copy, {QStringLiteral("two")}));
	QCOMPARE(store->read(scene), QStringLiteral("one"));
	QCOMPARE(files().size(), 2);
}

void StoreTest::hostileRecordsAreNoFile_data()
{
	QTest::addColumn<QString>("file");
	for (const char *file : {"", "../x.json", "a\\b.json", "note.txt", "/etc/x.json", "sub/x.json", ".."}) {
		QTest::newRow(file) << QString::fromLatin1(file);
	}
}

void StoreTest::hostileRecordsAreNoFile()
{
	QFETCH(QString, file);
	const OBSSourceAutoRelease scene = makeScene(QStringLiteral("Intro"));
	setRecord(scene, uuidOf(scene), file, QStringLiteral("Intro"));
	QCOMPARE(store->filePath(scene), QString());
	QVERIFY(store->write(scene, {QStringLiteral("one")}));
	QCOMPARE(store->filePath(scene), path("Intro.json"));
}

void StoreTest::unreadableNotesSayWhy_data()
{
	QTest::addColumn<QString>("kind");
	QTest::addColumn<QByteArray>("key");
	QTest::newRow("missing") << QStringLiteral("missing") << QByteArray();
	QTest::newRow("link") << QStringLiteral("link") << QByteArray("FileReadFailed");
	QTest::newRow("folder") << QStringLiteral("folder") << QByteArray("FileReadFailed");
	QTest::newRow("pipe") << QStringLiteral("pipe") << QByteArray("FileReadFailed");
	QTest::newRow("notes folder is a file") << QStringLiteral("parent") << QByteArray("FileReadFailed");
	QTest::newRow("too large") << QStringLiteral("large") << QByteArray("BackupTooLarge");
	QTest::newRow("not a note") << QStringLiteral("text") << QByteArray("BackupInvalid");
	QTest::newRow("another scene's") << QStringLiteral("other") << QByteArray("NoteSceneMismatch");
}

void StoreTest::unreadableNotesSayWhy()
{
	QFETCH(QString, kind);
	QFETCH(QByteArray, key);
	const OBSSourceAutoRelease scene = makeScene(QStringLiteral("Intro"));
	const OBSSourceAutoRelease other = makeScene(QStringLiteral("Other"));
	QVERIFY(store->write(scene, {QStringLiteral("one")}));
	QVERIFY(store->write(other, {QStringLiteral("two")}));
	const QString file = path("Intro.json");
	QVERIFY(QFile::remove(file));
	if (kind == u"link") {
		QVERIFY(QFile::link(path("Other.json"), file));
	} else if (kind == u"folder") {
		QVERIFY(QDir().mkdir(file));
	} else if (kind == u"pipe") {
		QCOMPARE(mkfifo(QFile::encodeName(file).constData(), 0600), 0);
	} else if (kind == u"parent") {
		QVERIFY(QDir(store->folder()).removeRecursively());
		writeFile(store->folder(), "in the way");
	} else if (kind == u"large") {
		writeFile(file, QByteArray(kMaxNoteBytes + 1, ' '));
	} else if (kind == u"text") {
		writeFile(file, "{\"format\"");
	} else if (kind == u"other") {
		QVERIFY(QFile::copy(path("Other.json"), file));
	}
	QString error;
	QCOMPARE(store->read(scene, &error), QString());
	const bool namesFile = key == "FileReadFailed";
	QCOMPARE(error, key.isEmpty() ? QString() : text(key.constData()) + (namesFile ? file : QString()));
}

void StoreTest::aFailedWriteChangesNothing()
{
	const OBSSourceAutoRelease scene = makeScene(QStringLiteral("Intro"));
	QVERIFY(store->write(scene, {QStringLiteral("one")}));
	store->takeReferenceChanges();
	QString error;
	QVERIFY(!store->write(nullptr, {}, &error));
	QCOMPARE(error, text("SelectScene"));

	obs_source_set_name(scene, "Outro");
	QVERIFY(QFile::link(path("Intro.json"), path("Outro_trap")));
	setRecord(scene, uuidOf(scene), QStringLiteral("Link.json"), QStringLiteral("Outro"));
	QVERIFY(QFile::link(path("Intro.json"), path("Link.json")));
	QVERIFY(!store->write(scene, {QStringLiteral("two")}, &error));
	QCOMPARE(error, text("NoteSaveFailed"));
	QCOMPARE(recordOf(scene, "file"), QStringLiteral("Link.json"));
	QVERIFY(readFile(path("Intro.json")).contains("one"));

	QVERIFY(QFile::remove(path("Link.json")) && QDir().mkdir(path("Link.json")));
	error.clear();
	QVERIFY(!store->write(scene, {QStringLiteral("two")}, &error));
	QVERIFY(!error.isEmpty() && !store->takeReferenceChanges());
}

void StoreTest::clearingByAge()
{
	const OBSSourceAutoRelease scene = makeScene(QStringLiteral("Intro"));
	const QDateTime written = QDateTime::fromSecsSinceEpoch(1'600'000'000);
	QVERIFY(!store->clearExpired(scene, written));
	QVERIFY(store->write(scene, {QStringLiteral("one")}, nullptr, written));
	QVERIFY(!store->clearExpired(scene, {}));
	QVERIFY(!store->clearExpired(scene, written.addSecs(-1)));
	QCOMPARE(store->read(scene), QStringLiteral("one"));
	QVERIFY(store->clearExpired(scene, written));
	QCOMPARE(store->read(scene), QString());
	QVERIFY(QFileInfo(path("Intro.json")).lastModified() > written);
	QVERIFY(!store->clearExpired(scene, QDateTime::currentDateTime().addDays(1)));
}

void StoreTest::aGoneScenesNoteFindsItsFile()
{
	const OBSSourceAutoRelease other = makeScene(QStringLiteral("Other"));
	QVERIFY(store->write(other, {QStringLiteral("theirs")}));
	NoteTarget target{QStringLiteral("0a8f2f5e-5a35-4d7c-9f0f-0f6c2a4b7c11"), QStringLiteral("Other"), {}, {}};
	QVERIFY(store->writeDetached(target, {QStringLiteral("ours")}));
	QCOMPARE(target.path, path("Other_2.json"));
	target.path = path("Other.json");
	QVERIFY2(store->writeDetached(target, {QStringLiteral("ours")}), "never over another scene's note");
	QCOMPARE(target.path, path("Other_3.json"));
	QCOMPARE(store->read(other), QStringLiteral("theirs"));

	setRecord(other, {}, {}, {});
	store->reattach(other, target.path);
	QCOMPARE(store->filePath(other), path("Other.json"));
	setRecord(other, uuidOf(other), QStringLiteral("Moved away.json"), QStringLiteral("Moved away"));
	store->reattach(other, {});
	QCOMPARE(store->read(other), QStringLiteral("theirs"));
}

// The host died before it saved the record.
void StoreTest::aLostFirstRecord()
{
	const OBSSourceAutoRelease first = makeScene(QStringLiteral("Intro"));
	const OBSSourceAutoRelease second = makeScene(QStringLiteral("intro"));
	QVERIFY(store->write(first, {QStringLiteral("one")}) && store->write(second, {QStringLiteral("two")}));
	setRecord(second, {}, {}, {});
	QCOMPARE(store->read(second), QStringLiteral("two"));
	QCOMPARE(store->prepare(second, {}).path, path("intro_2.json"));
	store->reattach(second, {});
	QCOMPARE(store->filePath(second), path("intro_2.json"));
	setRecord(second, {}, {}, {});
	QVERIFY(QFile::remove(path("Intro.json")));
	QVERIFY(store->write(second, {QStringLiteral("three")}));
	QCOMPARE(files().size(), 1);
	QCOMPARE(store->read(second), QStringLiteral("three"));
}

} // namespace quillbay::test

int main(int argc, char *argv[])
{
	return quillbay::test::run<quillbay::test::StoreTest>(argc, argv);
}

#include "store_test.moc"
