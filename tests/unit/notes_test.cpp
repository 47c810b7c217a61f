// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "notes/limits.hpp"
#include "notes/note_file.hpp"
#include "plugin/text.hpp"

#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace quillbay::test {

namespace {

const QString kId = QStringLiteral("0a8f2f5e-5a35-4d7c-9f0f-0f6c2a4b7c11");

QByteArray noteJson(const QByteArray &format, const QByteArray &version, const QByteArray &id,
		    const QByteArray &rest = "\"sceneName\":\"A\",\"html\":\"x\"")
{
	return "{\"format\":\"" + format + "\",\"version\":" + version + ",\"sceneId\":" + id + ',' + rest + '}';
}

} // namespace

class NotesTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void fileNames_data();
	void fileNames();
	void longNamesNeverSplitACharacter();
	void notesSurviveARoundTrip_data();
	void notesSurviveARoundTrip();
	void membersStandInOrder();
	void strangersAreRefused_data();
	void strangersAreRefused();
	void anyJsonIsReadAlike();
	void savingIsAllOrNothing();
	void everyTextKeyHasAnEnglishText();
	void macModifiers();
};

void NotesTest::fileNames_data()
{
	QTest::addColumn<QString>("scene");
	QTest::addColumn<QString>("expected");
	const auto row = [](const char *name, const char *scene, const char *expected) {
		QTest::newRow(name) << QString::fromUtf8(scene) << QString::fromUtf8(expected);
	};
	row("plain", "Intro", "Intro");
	row("blanks and dots", " . . ", "Scene");
	row("nothing", "", "Scene");
	row("forbidden", R"(a/b\c<d>e:f"g|h?i*j)", "a_b_c_d_e_f_g_h_i_j");
	row("control", "a\nb\x01", "a_b_");
	row("device", "con", "_con");
	row("device with dot", "Com1.txt", "_Com1.txt");
	row("last device", "LPT9", "_LPT9");
	row("no device", "CONSOLE", "CONSOLE");
	row("no port zero", "COM0", "COM0");
	row("device after trimming", "nul . .", "_nul");
	row("climbing", "../../x", ".._.._x");
	row("composed", "Cafe\u0301", "Caf\u00e9");
}

void NotesTest::fileNames()
{
	QFETCH(QString, scene);
	QFETCH(QString, expected);
	QCOMPARE(noteName(scene), expected);
}

void NotesTest::longNamesNeverSplitACharacter()
{
	const QString emoji = noteName(QString::fromUtf8("😀").repeated(200));
	QVERIFY(emoji.size() <= 100 && emoji.toUtf8().size() <= 180);
	QCOMPARE(emoji, QString::fromUtf8("😀").repeated(45));
	QCOMPARE(noteName(QStringLiteral("a") + QString::fromUtf8("😀").repeated(60)).toUtf8().size(), 177);
	QCOMPARE(noteName(QString(98, u'a') + QStringLiteral(" . tail")), QString(98, u'a'));
	QCOMPARE(noteName(QString(99, u'a') + QString::fromUtf8("😀")), QString(99, u'a'));
}

void NotesTest::notesSurviveARoundTrip_data()
{
	QTest::addColumn<QString>("html");
	QTest::newRow("empty") << QString();
	QTest::newRow("quotes") << QStringLiteral(R"(<p style="color:#ff0000">"a"\b/c</p>)");
	QTest::newRow("controls") << QStringLiteral("a\tb\r\nc\u2028d\u0001e\u007f");
	QTest::newRow("other planes") << QString::fromUtf8("😀 漢字 עברית ◆[x]");
}

void NotesTest::notesSurviveARoundTrip()
{
	QFETCH(QString, html);
	const QByteArray bytes = encodeNote({kId, QStringLiteral("A \"scene\""), html});
	NoteFile file;
	QString error;
	QVERIFY2(decodeNote(bytes, file, error), qPrintable(error));
	QCOMPARE(file.sceneId, kId);
	QCOMPARE(file.sceneName, QStringLiteral("A \"scene\""));
	QCOMPARE(file.html, html);
}

void NotesTest::membersStandInOrder()
{
	QCOMPARE(encodeNote({kId, QStringLiteral("A"), QStringLiteral("x")}),
		 noteJson("OBS-QuillBay", "1", '"' + kId.toUtf8() + '"'));
}

void NotesTest::strangersAreRefused_data()
{
	QTest::addColumn<QByteArray>("bytes");
	QTest::addColumn<QString>("error");
	const QString invalid = text("BackupInvalid");
	const QByteArray id = '"' + kId.toUtf8() + '"';
	const QByteArray good = noteJson("OBS-QuillBay", "1.0", id);
	QTest::newRow("good") << good << QString();
	QTest::newRow("good, braces") << noteJson("OBS-QuillBay", "1", "\"{" + kId.toUtf8() + "}\"") << QString();
	QTest::newRow("good, unknown member")
		<< noteJson("OBS-QuillBay", "1", id, R"("more":[1],"sceneName":"A","html":"x")") << QString();
	QTest::newRow("nothing") << QByteArray() << invalid;
	QTest::newRow("cut off") << good.chopped(3) << invalid;
	QTest::newRow("array") << "[" + good + "]" << invalid;
	QTest::newRow("other case") << noteJson("OBS-Quillbay", "1", id) << invalid;
	QTest::newRow("version 2") << noteJson("OBS-QuillBay", "2", id) << invalid;
	QTest::newRow("version text") << noteJson("OBS-QuillBay", "\"1\"", id) << invalid;
	QTest::newRow("version true") << noteJson("OBS-QuillBay", "true", id) << invalid;
	QTest::newRow("null id") << noteJson("OBS-QuillBay", "1", "\"00000000-0000-0000-0000-000000000000\"")
				 << invalid;
	QTest::newRow("id and more") << noteJson("OBS-QuillBay", "1", '"' + kId.toUtf8() + "/../x\"") << invalid;
	QTest::newRow("id number") << noteJson("OBS-QuillBay", "1", "7") << invalid;
	QTest::newRow("no html") << noteJson("OBS-QuillBay", "1", id, R"("sceneName":"A")") << invalid;
	QTest::newRow("html null") << noteJson("OBS-QuillBay", "1", id, R"("sceneName":"A","html":null)") << invalid;
	QTest::newRow("too large") << good + QByteArray(kMaxNoteBytes, ' ') << text("BackupTooLarge");
}

void NotesTest::strangersAreRefused()
{
	QFETCH(QByteArray, bytes);
	QFETCH(QString, error);
	NoteFile file{QStringLiteral("before"), {}, {}};
	QString message;
	QCOMPARE(decodeNote(bytes, file, message), error.isEmpty());
	QCOMPARE(message, error);
	QCOMPARE(file.sceneId == QStringLiteral("before"), !error.isEmpty());
}

// Whoever wrote the file: what Qt's own reader makes of it.
void NotesTest::anyJsonIsReadAlike()
{
	const char *const tails[] = {
		R"("sceneName":"A","html":"a\"b\\c\/d\ne"})",
		R"("sceneName":"A","html":""})",
		R"("sceneName":"A","html":"\u0001\ud83d\ude00\t"})",
		R"("sceneName":"A","html":"x" })",
		R"("html":"first","sceneName":"A"})",
		R"("sceneName":"\",\"html\":\"x","html":"y"})",
		R"("sceneName":"A","html":"x","html":"y"})",
		R"("sceneName":"A","html":"x\"})",
		R"("sceneName":"A","more":{"z":"","html":"x"}})",
		R"("sceneName":"A","html":"a	b"})",
		"\"sceneName\":\"A\",\"html\":\"\xef\xbb\xbf\xc3\xa9\"}",
		"\"sceneName\":\"A\",\"html\":\"\xc3\"}",
	};
	for (const char *tail : tails) {
		const QByteArray bytes =
			R"({"format":"OBS-QuillBay","version":1,"sceneId":")" + kId.toUtf8() + "\"," + tail;
		const QJsonValue html = QJsonDocument::fromJson(bytes).object()[QLatin1StringView("html")];
		NoteFile file;
		QString error;
		QCOMPARE(decodeNote(bytes, file, error), html.isString());
		QCOMPARE(file.html, html.toString());
	}
}

void NotesTest::savingIsAllOrNothing()
{
	const QTemporaryDir folder;
	const QString path = folder.filePath(QStringLiteral("deep/er/note.json"));
	const QDateTime modified = QDateTime::fromSecsSinceEpoch(1'500'000'000);
	QString error;
	QVERIFY(saveNoteFile(path, "one", error, modified));
	QCOMPARE(readFile(path), QByteArray("one"));
	QCOMPARE(QFileInfo(path).lastModified(), modified);

	QVERIFY(!saveNoteFile(path, QByteArray(kMaxNoteBytes + 1, 'x'), error));
	QCOMPARE(error, text("BackupTooLarge"));
	QVERIFY(!saveNoteFile(path + QStringLiteral("/below"), "two", error));
	QCOMPARE(error, text("NoteSaveFailed"));
	error.clear();
	QVERIFY(!saveNoteFile(QFileInfo(path).absolutePath(), "two", error));
	QVERIFY(!error.isEmpty());
	QCOMPARE(readFile(path), QByteArray("one"));
	QVERIFY(saveNoteFile(path, "two", error));
	QCOMPARE(readFile(path), QByteArray("two"));
	QCOMPARE(QDir(QFileInfo(path).absolutePath()).entryList(QDir::Files).size(), 1);
}

void NotesTest::everyTextKeyHasAnEnglishText()
{
	static const QRegularExpression use(QStringLiteral(R"re("([A-Z][A-Za-z0-9]+)")re"));
	static const QRegularExpression lookup(QStringLiteral(R"re(text\("(\w+)"\))re"));
	QSet<QString> keys;
	const QStringList lines =
		QString::fromUtf8(readFile(QStringLiteral(QUILLBAY_SOURCE_DIR "/data/locale/en-US.ini"))).split(u'\n');
	for (const QString &line : lines) {
		if (!line.startsWith(u'#') && line.contains(u'=')) {
			keys.insert(line.section(u'=', 0, 0).trimmed());
		}
	}
	QVERIFY(!keys.isEmpty());
	QSet<QString> unused = keys;
	QDirIterator sources(QStringLiteral(QUILLBAY_SOURCE_DIR "/src"),
			     {QStringLiteral("*.cpp"), QStringLiteral("*.hpp")}, QDir::Files,
			     QDirIterator::Subdirectories);
	while (sources.hasNext()) {
		const QString code = QString::fromUtf8(readFile(sources.next()));
		for (const auto &match : lookup.globalMatch(code)) {
			QVERIFY2(keys.contains(match.captured(1)), qPrintable(match.captured(1)));
		}
		for (const auto &match : use.globalMatch(code)) {
			unused.remove(match.captured(1));
		}
	}
	QVERIFY2(unused.isEmpty(), qPrintable(QStringList(unused.cbegin(), unused.cend()).join(u' ')));
}

void NotesTest::macModifiers()
{
	QCOMPARE(withMacModifiers(QStringLiteral("Ctrl+Shift+F, Ctrl+G, Alt+Up, ctrl+g")),
		 QStringLiteral("⇧⌘F, ⌘G, Option+Up, ctrl+g"));
}

} // namespace quillbay::test

int main(int argc, char *argv[])
{
	return quillbay::test::run<quillbay::test::NotesTest>(argc, argv);
}

#include "notes_test.moc"
