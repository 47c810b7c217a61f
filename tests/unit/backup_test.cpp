// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"

#include "backup/backup.hpp"
#include "backup/inspection.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <QAbstractButton>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QProcess>
#include <QRandomGenerator>

#include <sys/resource.h>
#include <zlib.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace quillbay::test {

namespace {

const QString kInvalid = QStringLiteral("BackupInvalid");

// The key of an error's text.
QString keyOf(const QString &error)
{
	for (const char *key : {"BackupInvalid", "BackupTooLarge", "BackupEmpty", "TextLimit", "FileReadFailed"}) {
		if (error.startsWith(text(key))) {
			return QLatin1StringView(key) + error.sliced(text(key).size());
		}
	}
	return error;
}

QString idOf(int number)
{
	return QStringLiteral("00000000-0000-4000-8000-%1").arg(number, 12, 10, QLatin1Char('0'));
}

QByteArray noteOf(int number, const QString &html = QStringLiteral("<p>some words</p>"))
{
	return encodeNote({idOf(number), QStringLiteral("Scene"), html});
}

/// One entry as an archive is to hold it.
struct Part {
	QByteArray name;
	QByteArray data;
	quint16 method = 8;
	quint16 flags = 0x0800;
	qint64 size = -1;
	QByteArray tail{};
};

/// An archive, and where its headers begin.
struct Archive {
	QByteArray bytes;
	qsizetype central = 0;
	qsizetype end = 0;
};

template <typename... Numbers>
QByteArray little(Numbers... numbers)
{
	QByteArray bytes;
	QDataStream stream(&bytes, QIODevice::WriteOnly);
	stream.setByteOrder(QDataStream::LittleEndian);
	(stream << ... << numbers);
	return bytes;
}

Archive makeArchive(const QList<Part> &parts, const QByteArray &gap = {}, const QByteArray &comment = {})
{
	Archive archive;
	QByteArray directory;
	for (const Part &part : parts) {
		const QByteArray packed =
			(part.method == 8 ? qCompress(part.data, 1).sliced(6).chopped(4) : part.data) + part.tail;
		const auto *bytes = reinterpret_cast<const Bytef *>(part.data.constData());
		const auto crc = static_cast<quint32>(crc32(0, bytes, static_cast<uInt>(part.data.size())));
		const qint64 size = part.size < 0 ? part.data.size() : part.size;
		const QByteArray shared =
			little(quint16(20), part.flags, part.method, quint16(0), quint16(0x0021), crc,
			       quint32(packed.size()), quint32(size), quint16(part.name.size()), quint16(0));
		directory += little(quint32(0x02014B50), quint16(20)) + shared +
			     little(quint16(0), quint16(0), quint16(0), quint32(0), quint32(archive.bytes.size())) +
			     part.name;
		archive.bytes += little(quint32(0x04034B50)) + shared + part.name + packed;
	}
	archive.central = archive.bytes.size();
	archive.end = archive.central + directory.size() + gap.size();
	archive.bytes +=
		directory + gap +
		little(quint32(0x06054B50), quint16(0), quint16(0), quint16(parts.size()), quint16(parts.size()),
		       quint32(directory.size()), quint32(archive.central), quint16(comment.size())) +
		comment;
	return archive;
}

} // namespace

class BackupTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init() { folder = std::make_unique<QTemporaryDir>(); }
	void archivesAreLaidOutAsTheyShould();
	void everyFieldOfEveryHeader();
	void oddArchives_data();
	void oddArchives();
	void realTools();
	void refusedBackups();
	void aFullDisk();
	void notesComeBack();
	void theQuestionStandsOpen();

private:
	[[nodiscard]] QString path(const QString &name) const { return folder->filePath(name); }
	QString add(const QString &name, const QByteArray &bytes) const
	{
		writeFile(path(name), bytes);
		return path(name);
	}
	// What an inspection says: the error's key, or the scenes' numbers.
	[[nodiscard]] QString inspect(const QByteArray &archive) const
	{
		const QTemporaryDir copies;
		QString error;
		QStringList found;
		for (const BackupNote &note :
		     inspectBackup(add(QStringLiteral("in.zip"), archive), copies.path(), error)) {
			found.append(QString::number(note.sceneId.right(12).toInt()));
		}
		return error.isEmpty() == found.isEmpty() ? QStringLiteral("neither or both")
							  : keyOf(error) + found.join(u' ');
	}

	std::unique_ptr<QTemporaryDir> folder;
};

void BackupTest::archivesAreLaidOutAsTheyShould()
{
	const QByteArray large = noteOf(2, QStringLiteral("words and more ").repeated(600));
	const QStringList files{add(QStringLiteral("Ünï.json"), noteOf(1)), add(QStringLiteral("b.JSON"), large)};
	const QString zip = path(QStringLiteral("out.zip"));
	QString error;
	QVERIFY2(backupNotes(zip, files, error), qPrintable(error));
	QCOMPARE(readFile(zip), makeArchive({{"Ünï.json", noteOf(1)}, {"b.JSON", large}}).bytes);
	QCOMPARE(inspect(readFile(zip)), QStringLiteral("1 2"));
	QVERIFY(backupNotes(path(QStringLiteral("one.Json")), files.mid(1), error));
	QCOMPARE(readFile(path(QStringLiteral("one.Json"))), large);
}

void BackupTest::everyFieldOfEveryHeader()
{
	const Archive good = makeArchive({{"a.json", noteOf(1)}});
	QCOMPARE(inspect(good.bytes), QStringLiteral("1"));
	// What the local header repeats is read from the directory; versions, times and attributes mean nothing here.
	const std::initializer_list<std::pair<qsizetype, QList<int>>> ignored{
		{0, {4, 5, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25}},
		{good.central, {4, 5, 6, 7, 12, 13, 14, 15, 36, 37, 38, 39, 40, 41}},
		{good.end, {}}};
	for (const auto &[start, offsets] : ignored) {
		const int size = start == 0 ? 36 : start == good.central ? 52 : 22;
		for (int offset = 0; offset < size; ++offset) {
			for (const int flip : {0x01, 0x08, 0x80, 0xFF}) {
				QByteArray bytes = good.bytes;
				bytes[start + offset] = static_cast<char>(bytes[start + offset] ^ flip);
				const QString expected = offsets.contains(offset) ? QStringLiteral("1") : kInvalid;
				QVERIFY2(inspect(bytes) == expected, qPrintable(QString::number(start + offset)));
			}
		}
	}
	for (qsizetype size = 0; size < good.bytes.size(); ++size) {
		QCOMPARE(inspect(good.bytes.first(size)), kInvalid);
		QCOMPARE(inspect(good.bytes.last(size)), kInvalid);
	}
}

void BackupTest::oddArchives_data()
{
	QTest::addColumn<QByteArray>("archive");
	QTest::addColumn<QString>("expected");
	const auto row = [](const char *name, const QList<Part> &parts, const char *expected) {
		QTest::newRow(name) << makeArchive(parts).bytes << QString::fromLatin1(expected);
	};
	const Part good{"a.json", noteOf(1)};
	for (const char *name :
	     {"../x.json", "/x.json", "c:x.json", "a\\b.json", "x.txt", "a/../b.json", "", "..\\x.json"}) {
		row(qPrintable(QStringLiteral("name ") + QLatin1StringView(name)), {good, {name, noteOf(2)}},
		    "BackupInvalid");
	}
	row("good names", {{"a/b.json", noteOf(1)}, {"..json", noteOf(2)}, {"C.JSON", noteOf(3)}}, "1 2 3");
	row("folders", {{"f/", {}, 0}, good, {"../", {}, 0}}, "1");
	row("only folders", {{"f/", {}, 0}}, "BackupInvalid");
	row("none", {}, "BackupInvalid");
	row("data descriptor flag", {{"a.json", noteOf(1), 8, 0x0808}}, "1");
	row("no UTF-8 flag", {{"a.json", noteOf(1), 0, 0}}, "1");
	row("encrypted", {{"a.json", noteOf(1), 8, 0x0801}}, "BackupInvalid");
	row("LZMA", {{"a.json", noteOf(1), 14}}, "BackupInvalid");
	row("stored in another size", {{"a.json", noteOf(1), 0, 0x0800, 5}}, "BackupInvalid");
	row("stored with more behind", {{"a.json", noteOf(1), 0, 0x0800, -1, "x"}}, "BackupInvalid");
	row("inflates to more", {{"a.json", noteOf(1), 8, 0x0800, 5}}, "BackupInvalid");
	row("inflates to less", {{"a.json", noteOf(1), 8, 0x0800, 5000}}, "BackupInvalid");
	row("deflated with more behind", {{"a.json", noteOf(1), 8, 0x0800, -1, "x"}}, "BackupInvalid");
	row("bomb", {{"a.json", QByteArray(kMaxNoteBytes, ' ')}}, "BackupInvalid");
	row("bomb that lies", {{"a.json", QByteArray(kMaxNoteBytes, ' '), 8, 0x0800, 9}}, "BackupInvalid");
	row("too large", {{"a.json", noteOf(1), 8, 0x0800, kMaxNoteBytes + 1}}, "BackupInvalid");
	row("one scene twice", {good, {"b.json", noteOf(1)}}, "BackupInvalid");
	row("one name twice", {good, {"a.json", noteOf(2)}}, "1 2");
	row("no note", {good, {"b.json", "{}"}}, "BackupInvalid");
	row("over the limits", {{"a.json", noteOf(1, QString(kMaxTextLength + 1, u'x'))}}, "TextLimit");
	row("freezing", {{"a.json", noteOf(1, QStringLiteral("<table><tr><td>").repeated(40))}}, "TextLimit");

	QTest::newRow("comment") << makeArchive({good}, {}, QByteArray(65'535, 'x')).bytes << QStringLiteral("1");
	QTest::newRow("bytes after the comment") << makeArchive({good}, {}, "x").bytes + 'x' << kInvalid;
	QTest::newRow("archive in the comment")
		<< makeArchive({good}, {}, makeArchive({{"b.json", noteOf(2)}}).bytes).bytes << kInvalid;
	QTest::newRow("gap before the end") << makeArchive({good}, "gap").bytes << kInvalid;
	// Two entries share their data: it is the same note.
	Archive overlap = makeArchive({good, {"a.json", noteOf(2)}});
	const qsizetype entry = (overlap.end - overlap.central) / 2;
	overlap.bytes.replace(overlap.central + entry, entry, overlap.bytes.sliced(overlap.central, entry));
	QTest::newRow("overlap") << overlap.bytes << kInvalid;
}

void BackupTest::oddArchives()
{
	QFETCH(const QByteArray, archive);
	QTEST(inspect(archive), "expected");
}

void BackupTest::realTools()
{
	QVERIFY(QDir(folder->path()).mkdir(QStringLiteral("d")));
	const QStringList files{add(QStringLiteral("d/Ünï.json"), noteOf(1)),
				add(QStringLiteral("d/b.json"), noteOf(2))};
	QProcess tool;
	tool.setWorkingDirectory(folder->path());
	const auto run = [&tool](const QString &name, const QStringList &arguments) {
		tool.start(name, arguments);
		return tool.waitForFinished() && tool.exitStatus() == QProcess::NormalExit && tool.exitCode() == 0;
	};
	for (const char *option : {"-6", "-0", "-fd", "-r"}) {
		QVERIFY(run("zip", {option, "-q", "tool.zip", "d", "d/Ünï.json", "d/b.json"}));
		QCOMPARE(inspect(readFile(path(QStringLiteral("tool.zip")))).size(), 3);
		QVERIFY(QFile::remove(path(QStringLiteral("tool.zip"))));
	}
	QString error;
	QVERIFY(backupNotes(path(QStringLiteral("out.zip")), files, error));
	QVERIFY(run("unzip", {"-p", "out.zip"}));
	QCOMPARE(tool.readAllStandardOutput(), noteOf(1) + noteOf(2));
}

void BackupTest::refusedBackups()
{
	add("good.json", noteOf(1));
	add("other.json", noteOf(2));
	add("corrupt.json", noteOf(3).chopped(1));
	QVERIFY(QFile::resize(add("large.json", {}), kMaxNoteBytes + 1));
	QVERIFY(QFile::link(path("good.json"), path("link.json")) && QDir(folder->path()).mkdir("folder"));
	const std::initializer_list<std::tuple<QStringList, QString, QString>> cases{
		{{}, "old.zip", "BackupEmpty"},
		{QStringList(10'001, "good.json"), "old.zip", "BackupEmpty"},
		{{"good.json", "good.json"}, "old.zip", kInvalid},
		{{"good.json", "corrupt.json"}, "old.zip", kInvalid},
		{{"good.json", "large.json"}, "old.zip", "BackupTooLarge"},
		{{"good.json", "link.json"}, "old.zip", "FileReadFailed" + path("link.json")},
		{{"good.json", "missing.json"}, "old.zip", "FileReadFailed" + path("missing.json")},
		{{"good.json", "folder"}, "old.zip", "FileReadFailed" + path("folder")},
		{{"good.json", "other.json"}, "old.json", text("BackupFailed")},
		{{"corrupt.json"}, "old.json", kInvalid},
	};
	for (const auto &[names, name, expected] : cases) {
		QStringList files;
		for (const QString &file : names) {
			files.append(path(file));
		}
		add(name, "old");
		const auto count = QDir(folder->path()).count();
		QString error;
		QVERIFY(!backupNotes(path(name), files, error));
		QCOMPARE(keyOf(error), expected);
		QCOMPARE(readFile(path(name)), QByteArray("old"));
		QCOMPARE(QDir(folder->path()).count(), count);
	}
}

void BackupTest::aFullDisk()
{
	QRandomGenerator random(1);
	QString html;
	for (int i = 0; i < 100'000; ++i) {
		html += i % 5'000 == 0 ? QStringLiteral("<p>") : QString(QChar(0x4E00 + random.bounded(20'000)));
	}
	const QString note = add("note.json", noteOf(1, html));
	const QByteArray archive = makeArchive({{"a.json", noteOf(1, html)}}).bytes;
	const QString old = add("old.zip", "old");
	add("in.zip", archive);
	const auto count = QDir(folder->path()).count();
	rlimit before{};
	QVERIFY(getrlimit(RLIMIT_FSIZE, &before) == 0);
	const rlimit small{100'000, before.rlim_max};
	const auto handler = std::signal(SIGXFSZ, SIG_IGN);
	QVERIFY(setrlimit(RLIMIT_FSIZE, &small) == 0);
	const QTemporaryDir copies;
	QString errors[3];
	const bool isDone = backupNotes(old, {note}, errors[0]) ||
			    !inspectBackup(path("in.zip"), copies.path(), errors[1]).isEmpty() ||
			    restoreNote(note, {idOf(2), "Other", old, {}}, errors[2]);
	setrlimit(RLIMIT_FSIZE, &before);
	std::signal(SIGXFSZ, handler);
	QVERIFY(!isDone);
	for (const QString &error : errors) {
		QVERIFY2(error == QString::fromLocal8Bit(strerror(EFBIG)), qPrintable(error));
	}
	QCOMPARE(readFile(old), QByteArray("old"));
	QCOMPARE(QDir(folder->path()).count(), count);
}

namespace {

// Runs a command of the dock, giving each dialog its answer. Answers what the message boxes said.
QStringList drive(const QString &file, const std::function<void()> &command,
		  const std::function<void()> &meanwhile = {})
{
	QStringList messages;
	const QStringList copies{QCoreApplication::applicationName() + QStringLiteral("-*")};
	const qsizetype folders = QDir::temp().entryList(copies, QDir::Dirs).size();
	QTimer timer;
	QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
		QWidget *modal = QApplication::activeModalWidget();
		if (auto *chooser = qobject_cast<QFileDialog *>(modal)) {
			chooser->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(file);
			QMetaObject::invokeMethod(chooser, "accept");
		} else if (auto *box = qobject_cast<QMessageBox *>(modal)) {
			messages.append(box->text());
			if (meanwhile) {
				meanwhile();
			}
			(box->button(QMessageBox::Yes) ? box->button(QMessageBox::Yes) : box->button(QMessageBox::Ok))
				->click();
		}
	});
	timer.start(5);
	command();
	if (QDir::temp().entryList(copies, QDir::Dirs).size() != folders) {
		messages.append(QStringLiteral("left copies behind"));
	}
	return messages;
}

} // namespace

void BackupTest::notesComeBack()
{
	DockFixture fixture;
	Dock &dock = *fixture.dock;
	const auto noteFile = [&](obs_source_t *scene) { return dock.store().filePath(scene); };
	OBSSourceAutoRelease other = makeScene(QStringLiteral("Other"));
	QTest::keyClicks(fixture.editor, QStringLiteral("first"));
	QVERIFY(dock.store().write(other, {QStringLiteral("second")}));
	const QString zip = path(QStringLiteral("all"));
	QCOMPARE(drive(zip, [&] { dock.backup(true); }), QStringList());
	QCOMPARE(fixture.status(), text("BackupSaved"));
	const QByteArray first = readFile(noteFile(fixture.scene));
	const QByteArray second = readFile(noteFile(other));
	QVERIFY(first.contains("first"));
	// One note's backup goes to the scene on show, whatever scene it is from.
	QCOMPARE(drive(path(QStringLiteral("one")), [&] { dock.backup(false); }), QStringList());
	QCOMPARE(readFile(path(QStringLiteral("one.json"))), first);
	QCOMPARE(drive(dock.store().folder() + QStringLiteral("/x"), [&] { dock.backup(true); }),
		 QStringList(text("BackupChooseFolder")));

	QTest::keyClicks(fixture.editor, QStringLiteral(" changed"));
	QVERIFY(QFile::remove(noteFile(other)));
	obs_source_set_name(other, "Renamed");
	const auto restore = [&](const char *name) {
		return drive(path(QLatin1StringView(name)), [&] { dock.restoreBackup(); });
	};
	QCOMPARE(restore("all.zip"), QStringList(text("RestorePrompt").arg(QStringLiteral("2"), QStringLiteral("1"))));
	QCOMPARE(fixture.status(), text("RestoreResult").arg(QStringLiteral("2"), QStringLiteral("0")));
	QCOMPARE(readFile(noteFile(fixture.scene)), first);
	QCOMPARE(readFile(noteFile(other)), QByteArray(second).replace("Other", "Renamed"));
	QVERIFY(noteFile(other).endsWith(QStringLiteral("/Renamed.json")));
	QVERIFY(fixture.editor->toPlainText() == QStringLiteral("first") && !fixture.editor->isReadOnly());

	obs_source_remove(other);
	dock.bindScene(other = makeScene(QStringLiteral("Third")));
	restore("one.json");
	QCOMPARE(fixture.editor->toPlainText(), QStringLiteral("first"));
	QVERIFY(readFile(noteFile(other)).contains(uuidOf(other).toUtf8()));
	QCOMPARE(restore("all.zip").size(), 1);
	QCOMPARE(fixture.status(), text("RestoreResult").arg(QStringLiteral("1"), QStringLiteral("1")));
	add(QStringLiteral("bad.zip"), "x");
	QCOMPARE(restore("bad.zip"), QStringList(text("BackupInvalid")));
	obs_sceneitem_t *group = obs_scene_add_group(obs_scene_from_source(other), "Group");
	const QString groupId = uuidOf(obs_sceneitem_get_source(group));
	add("strange.zip", makeArchive({{"a.json", noteOf(1)}, {"b.json", encodeNote({groupId, "Group", "x"})}}).bytes);
	QCOMPARE(restore("strange.zip"), QStringList(text("RestoreNoMatch")));

	// The second of two cannot be written.
	const OBSSourceAutoRelease last = makeScene(QStringLiteral("Last"));
	QVERIFY(dock.store().write(last, {}));
	const QString blocked = noteFile(last);
	QVERIFY(QFile::remove(blocked) && QDir().mkdir(blocked));
	add("two.zip", makeArchive({{"a.json", encodeNote({uuidOf(fixture.scene), "x", "<p>third</p>"})},
				    {"b.json", encodeNote({uuidOf(last), "x", "x"})}})
			       .bytes);
	const QStringList said = restore("two.zip");
	QVERIFY(said.size() == 2 && said[1].startsWith(text("RestoreResult").arg("1", "0") + u'\n'));
	QVERIFY(dock.store().read(fixture.scene).contains("third") && !fixture.editor->isReadOnly());
}

void BackupTest::theQuestionStandsOpen()
{
	for (const QByteArray event : {"lock", "remote", "shutdown", "switch", "rename"}) {
		DockFixture fixture;
		Dock &dock = *fixture.dock;
		const OBSSourceAutoRelease other = makeScene(QStringLiteral("Other"));
		QTest::keyClicks(fixture.editor, QStringLiteral("old"));
		QCOMPARE(drive(path("all.zip"), [&] { dock.backup(true); }), QStringList());
		QTest::keyClicks(fixture.editor, QStringLiteral("new"));
		const auto meanwhile = [&] {
			if (event == "lock") {
				dock.setLocked(true);
			} else if (event == "remote") {
				dock.setRemoteEditing(true);
			} else if (event == "shutdown") {
				dock.shutdown();
			} else if (event == "switch") {
				dock.bindScene(other);
			} else {
				obs_source_set_name(fixture.scene, "Renamed");
				dock.sceneRenamed(fixture.scene);
			}
		};
		QCOMPARE(drive(path("all.zip"), [&] { dock.restoreBackup(); }, meanwhile).size(), 1);
		const bool isRestored = event == "switch" || event == "rename";
		const QString html = dock.store().read(fixture.scene);
		QVERIFY2(html.contains("old") && html.contains("oldnew") != isRestored, event.constData());
		QCOMPARE(QDir(dock.store().folder()).entryList(QDir::Files).size(), 1);
		QCOMPARE(fixture.editor->toPlainText(), QString(event == "switch" ? ""
								: isRestored      ? "old"
										  : "oldnew"));
		QVERIFY(QFile::remove(path("all.zip")));
	}
}

} // namespace quillbay::test

int main(int argc, char *argv[])
{
	return quillbay::test::run<quillbay::test::BackupTest>(argc, argv);
}

#include "backup_test.moc"
