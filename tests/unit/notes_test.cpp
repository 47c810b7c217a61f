// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "notes/limits.hpp"
#include "notes/note_file.hpp"
#include "notes/note_store.hpp"
#include "plugin/text.hpp"

namespace quillbay::test {

namespace {

const QString kId = "0a8f2f5e-5a35-4d7c-9f0f-0f6c2a4b7c11";
const QByteArray kQuotedId = "'" + kId.toUtf8() + "'";

// Apostrophes stand for quotes.
QByteArray noteJson(const char *format, const char *version, const QByteArray &id,
		    const QByteArray &rest = "'sceneName':'A','html':'x'}")
{
	const QByteArray head = QByteArray("{'format':'") + format + "','version':" + version;
	return (head + ",'sceneId':" + id + ',' + rest).replace('\'', '"');
}
} // namespace

class NotesTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		removeScenes();
		folder = std::make_unique<QTemporaryDir>();
		store = std::make_unique<NoteStore>(folder->path() + "//x/../notes/");
		QCOMPARE(store->folder(), folder->path() + "/notes");
	}

	void fileNames()
	{
		const auto check = [](const QString &scene, const QString &expected) {
			QCOMPARE(noteName(scene), expected);
		};
		check(" . . ", "Scene");
		check("", "Scene");
		check("a/b\\c<d>e:f\"g|h?i*j", "a_b_c_d_e_f_g_h_i_j");
		check("con", "_con");
		check("Com1.txt", "_Com1.txt");
		check("CONSOLE", "CONSOLE");
		check("../../x", ".._.._x");
		check("Cafe\u0301", "Caf\u00e9");
		// Long ones never split a character.
		const QString emoji = "😀";
		check(emoji.repeated(200), emoji.repeated(45));
		check(u'a' + emoji.repeated(60), u'a' + emoji.repeated(44));
		check(QString(98, u'a') + " . tail", QString(98, u'a'));
		check(QString(99, u'a') + emoji, QString(99, u'a'));
	}

	void notesSurviveARoundTrip()
	{
		for (const QString html :
		     {"", "<p>\"a\"\\b/c'</p>", "a\tb\r\nc\u2028d\u0001e\u007f", "😀 漢字 עברית ◆[x]"}) {
			NoteFile file;
			QString error;
			QVERIFY2(decodeNote(encodeNote({kId, "A \"scene\"", html}), file, error), qPrintable(error));
			QCOMPARE(file.sceneName, "A \"scene\"");
			QCOMPARE(file.html, html);
		}
		// Members stand in order.
		QCOMPARE(encodeNote({kId, "A", "x"}), noteJson("OBS-QuillBay", "1", kQuotedId));
	}

	void strangersAreRefused()
	{
		const auto check = [](const char *name, const QByteArray &bytes, const QString &error) {
			NoteFile file{"before", {}, {}};
			QString message;
			QVERIFY2(decodeNote(bytes, file, message) == error.isEmpty(), name);
			QVERIFY2(message == error, name);
			QVERIFY2((file.sceneId == "before") == !error.isEmpty(), name);
		};
		const QString invalid = text("BackupInvalid");
		const QByteArray good = noteJson("OBS-QuillBay", "1.0", kQuotedId);
		check("good", good, QString());
		check("good, unknown member",
		      noteJson("OBS-QuillBay", "1", kQuotedId, "'more':[1],'sceneName':'A','html':'x'}"), QString());
		check("cut off", good.chopped(3), invalid);
		check("array", "[" + good + "]", invalid);
		check("other case", noteJson("OBS-Quillbay", "1", kQuotedId), invalid);
		check("version 2", noteJson("OBS-QuillBay", "2", kQuotedId), invalid);
		check("version text", noteJson("OBS-QuillBay", "'1'", kQuotedId), invalid);
		check("id and more", noteJson("OBS-QuillBay", "1", "'" + kId.toUtf8() + "/../x'"), invalid);
		check("no html", noteJson("OBS-QuillBay", "1", kQuotedId, "'sceneName':'A'}"), invalid);
		check("too large", good + QByteArray(kMaxNoteBytes, ' '), text("BackupTooLarge"));
	}

	// Whoever wrote the file: what Qt's own reader makes of it.
	void anyJsonIsReadAlike()
	{
		const char *const tails[] = {R"('sceneName':'A','html':'a\'b\\c\/d\ne'})",
					     R"('sceneName':'A','html':''})",
					     R"('sceneName':'A','html':'\u0001\ud83d\ude00\t'})",
					     R"('sceneName':'A','html':'x' })",
					     R"('html':'first','sceneName':'A'})",
					     R"('sceneName':'\',\'html\':\'x','html':'y'})",
					     R"('sceneName':'A','html':'x','html':'y'})",
					     R"('sceneName':'A','html':'x\'})",
					     R"('sceneName':'A','more':{'z':'','html':'x'}})",
					     R"('sceneName':'A','html':'a	b'})",
					     "'sceneName':'A','html':'\xef\xbb\xbf\xc3\xa9'}",
					     "'sceneName':'A','html':'\xc3'}"};
		for (const char *tail : tails) {
			const QByteArray bytes = noteJson("OBS-QuillBay", "1", kQuotedId, tail);
			const QJsonValue html = QJsonDocument::fromJson(bytes).object()[QLatin1StringView("html")];
			NoteFile file;
			QString error;
			QCOMPARE(decodeNote(bytes, file, error), html.isString());
			QCOMPARE(file.html, html.toString());
		}
	}

	void everyTextIsInEveryLanguage()
	{
		static const QRegularExpression use(QString("\"([A-Z][A-Za-z0-9]+)\""));
		static const QRegularExpression lookup(QString("text\\(\"(\\w+)\"\\)"));
		static const QRegularExpression entry("^(\\w+)=\"(.*)\"$", QRegularExpression::MultilineOption);
		static const QRegularExpression kept("%\\d|<[^>]*>|&\\w+;|(Ctrl|Shift|Alt)\\+|\\*\\.\\w+|;;");
		const auto read = [](const QString &path) { return QString::fromUtf8(readFile(path)); };
		const QDir locales(QUILLBAY_SOURCE_DIR "/data/locale");
		// The texts' keys, each with what a translation keeps as it is.
		const auto textsOf = [&](const QString &file) {
			QStringList texts;
			for (const auto &match : entry.globalMatch(read(locales.filePath(file)))) {
				QStringList parts;
				for (const auto &part : kept.globalMatch(match.captured(2))) {
					parts << part.captured();
				}
				parts.sort();
				texts << match.captured(1) + u' ' + parts.join(u' ');
			}
			texts.sort();
			return texts;
		};
		const QStringList english = textsOf("en-US.ini");
		for (const QString &file : locales.entryList({"*.ini"})) {
			QCOMPARE(textsOf(file), english);
		}
		QSet<QString> keys;
		for (const QString &text : english) {
			keys.insert(text.section(u' ', 0, 0));
		}
		QSet<QString> unused = keys;
		QDirIterator sources(QUILLBAY_SOURCE_DIR "/src", {"*.cpp", "*.hpp"}, QDir::Files,
				     QDirIterator::Subdirectories);
		while (sources.hasNext()) {
			const QString code = read(sources.next());
			for (const auto &match : lookup.globalMatch(code)) {
				QVERIFY2(keys.contains(match.captured(1)), qPrintable(match.captured(1)));
			}
			for (const auto &match : use.globalMatch(code)) {
				unused.remove(match.captured(1));
			}
		}
		QVERIFY2(unused.isEmpty(), qPrintable("never used: " + unused.values().join(u' ')));
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
		QCOMPARE(recordOf(second, "file"), "intro_2.json");

		QVERIFY(store->write(first, {"three"}));
		QVERIFY2(!store->takeReferenceChanges(), "the record is as it was");
		QCOMPARE(store->destination("Intro", path("Intro.json"), {"intro.json"}), path("Intro_3.json"));
		writeFile(path(".hidden.json"), "x");
		QCOMPARE(store->destination(".hidden", {}, {}), path(".hidden_2.json"));
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

	void aFailedWriteChangesNothing()
	{
		const OBSSourceAutoRelease scene = makeScene("Intro");
		QVERIFY(store->write(scene, {"one"}));
		store->takeReferenceChanges();
		QString error;
		QVERIFY(!store->write(nullptr, {}, &error));
		QCOMPARE(error, text("SelectScene"));

		setRecord(scene, uuidOf(scene), "Link.json", "Intro");
		QVERIFY(QFile::link(path("Intro.json"), path("Link.json")));
		QVERIFY(!store->write(scene, {"two"}, &error));
		QCOMPARE(error, text("NoteSaveFailed"));
		QCOMPARE(recordOf(scene, "file"), "Link.json");
		QVERIFY(readFile(path("Intro.json")).contains("one"));

		QVERIFY(!store->takeReferenceChanges());

		setRecord(scene, uuidOf(scene), "Intro.json", "Intro");
		QVERIFY(QDir().rename(store->folder(), folder->filePath("disk")));
		error.clear();
		QVERIFY2(store->read(scene, &error).isEmpty() && error.isEmpty(), "no note is an empty note");
		QVERIFY(QFile::link(folder->filePath("unplugged/notes"), store->folder()));
		QVERIFY2(store->read(scene, &error).isEmpty() && !error.isEmpty(), "what is out of reach is not empty");
	}

	void aGoneScenesNoteFindsItsFile()
	{
		const OBSSourceAutoRelease other = makeScene("Other");
		QVERIFY(store->write(other, {"theirs"}));
		NoteTarget target{kId, "Other", path("Other.json"), {}};
		QVERIFY2(store->writeDetached(target, {"ours"}), "never over another scene's note");
		QCOMPARE(target.path, path("Other_2.json"));
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

QUILLBAY_TEST_MAIN(quillbay::test::NotesTest)
#include "notes_test.moc"
