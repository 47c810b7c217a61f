// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"

#include "notes/limits.hpp"

namespace quillbay::test {

static const Answer kYes{.button = QMessageBox::Yes};
static const Answer kNo{.button = QMessageBox::No};

class FilesTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		cleanup();
		fixture = std::make_unique<DockFixture>();
		other = makeScene("Other").Get();
	}

	void cleanup()
	{
		other = nullptr;
		fixture.reset();
	}

	void imports()
	{
		const std::tuple<const char *, QByteArray, const char *> cases[] = {
			{"a.txt", "<b>h\xc3\xa4</b>\r\ntwo\rthree\n", "<b>h\xc3\xa4</b>\ntwo\nthree\n"},
			{"A.TXT", QByteArray("a\0b & c", 7), "ab & c"},
			{"utf-16.txt", QByteArray("\xff\xfe\x41\x00\xe4\x00", 6), "A\xc3\xa4"},
			{"latin-1.txt", "a\xe4z", "a\xef\xbf\xbdz"},
			{"a.htm", "<p>one<p><b>two</b>", "one\ntwo"},
			{"hostile.html",
			 "<script>x()</script><style>@import 'a.css'</style><img src='a'><iframe src='b'>one",
			 "\xef\xbf\xbcone"},
			{"no extension", "\xef\xbb\xbf<i>one</i>", "one"},
			{"table.html", "<table><tr><td>one</table>", "\none\n"},
			{"empty.html", "", ""},
			{"word.DocX", readFile(QUILLBAY_SOURCE_DIR "/tests/unit/data/pandoc.docx"), nullptr},
		};
		for (const auto &[name, bytes, imported] : cases) {
			init();
			Editor *editor = fixture->editor;
			writeFile(at(name), bytes);
			import({.path = at(name)});
			const QString expected = imported ? QString::fromUtf8(imported) : note();
			QCOMPARE(messages, QStringList());
			QCOMPARE(note(), expected);
			QCOMPARE(fixture->status(), text(imported ? "SavedNote" : "WordSimplified"));
			editor->setHtml("<ul><li>kept</li></ul>");
			const QString before = editor->toHtml();
			import({.path = at(name)}, {kNo});
			QCOMPARE(messages, QStringList(text("ReplaceTitle") + u'|' + text("ReplacePrompt")));
			QCOMPARE(editor->toHtml(), before);
			import({.path = at(name)}, {kYes});
			QCOMPARE(note(), expected);
			QVERIFY2(!editor->document()->begin().textList(), name);
			QCOMPARE(fixture->dock->store().read(fixture->scene), editor->toHtml());
			editor->undo();
			QCOMPARE(editor->toHtml(), before);
			QVERIFY(!editor->document()->isUndoAvailable());
		}
	}

	void refusesWhatItCannotImport()
	{
		const QByteArray full = (QByteArray(99, 'x') + '\n').repeated(kMaxTextLength / 100);
		const std::tuple<const char *, QByteArray, const char *> cases[] = {
			{"characters.txt", full + "x", nullptr},
			{"lines.txt", QByteArray(24 * 1024 * 1024, '\n'), nullptr}, // is refused at once
			{"paragraph.txt", QByteArray(kMaxParagraphLength + 1, 'x'), nullptr},
			{"characters.html", "<pre>" + full + "x</pre>", nullptr},
			{"ruinous.html", QByteArray("<div>").repeated(2'000'000), nullptr},
			{"large.html", QByteArray(24 * 1024 * 1024 + 1, ' '), "FileReadFailed"},
			{"gone.txt", "x", "FileReadFailed"},
			{"gone.docx", "x", "WordSizeError"},
			{"no zip.docx", "x", "WordBodyError"},
		};
		for (const auto &[name, bytes, error] : cases) {
			init();
			const QString path = at(name);
			fixture->editor->setHtml("<p>kept</p>");
			const QString before = fixture->editor->toHtml();
			writeFile(path, bytes);
			const auto vanish = [&path] { QVERIFY(!path.contains("gone") || QFile::remove(path)); };
			import({.path = path, .then = vanish}, QList<Answer>(error ? 1 : 0));
			QCOMPARE(fixture->editor->toHtml(), before);
			QVERIFY(!fixture->editor->document()->isUndoAvailable());
			const bool isWord = path.endsWith("docx");
			const QString title = text(isWord ? "WordImportFailed" : "ImportFailed");
			const QString message = title + u'|' + text(error ? error : "") + (isWord ? "" : path);
			QCOMPARE(messages, error ? QStringList(message) : QStringList());
			QVERIFY2(error || fixture->status() == text("TextLimit"), name);
		}
	}

	void cancelsWhatHasChangedMeanwhile()
	{
		const std::function<void()> changes[] = {
			[this] { fixture->dock->bindScene(other); },
			[this] { fixture->dock->bindScene(nullptr); },
			[this] { fixture->editor->insertPlainText("!"); },
			[this] { fixture->dock->setLocked(true); },
			[this] { fixture->dock->setRemoteEditing(true); },
			[this] { fixture->dock->shutdown(); },
			[this] { fixture->dock.reset(); },
		};
		for (const auto &change : changes) {
			init();
			const QString path = at("a.html");
			writeFile(path, "<p>imported</p>");
			fixture->editor->insertPlainText("kept");
			import({.path = path}, {{.button = QMessageBox::Yes, .then = change}});
			QCOMPARE(messages.size(), 1);
			if (fixture->dock) {
				fixture->dock->flush(true, true);
				QVERIFY(note() != "imported");
				QVERIFY(fixture->dock->store().read(other).isEmpty());
				QVERIFY(fixture->dock->readHtml(fixture->scene).contains("kept"));
			}
		}
	}

	void exports()
	{
		const QStringList filters = text("ExportFilter").split(";;");
		const std::tuple<const char *, int, const char *, bool> cases[] = {
			{"a", 0, "a.html", false},    {"a", 1, "a.txt", true},        {"a.b", 1, "a.b.txt", true},
			{"a.HTM", 1, "a.HTM", false}, {"a.html", 1, "a.html", false}, {"a.TXT", 0, "a.TXT", true},
		};
		for (const auto &[typed, filter, written, isText] : cases) {
			init();
			fixture->editor->setHtml("<p>\u00e4<b>b</b><img src='x'><br>c<p>d");
			fixture->dock->setLocked(true);
			const QString html = fixture->editor->toHtml();
			const QString expected = isText ? "\u00e4b\nc\nd" : html;
			const Answer named{.path = at(typed),
					   .then = [this] { fixture->dock->bindScene(other); },
					   .filter = filters.at(filter)};
			answer({named}, &Dock::exportDocument); // of the scene that it was begun in
			QCOMPARE(QString::fromUtf8(readFile(at(written))), expected);
			QCOMPARE(messages, QStringList());
			QCOMPARE(fixture->status(), text("Exported"));
			if (qstrcmp(typed, written) != 0) {
				writeFile(at(written), "old");
				answer({named, {}}, &Dock::exportDocument); // asked again, and cancelled
				QCOMPARE(messages, QStringList(text("ExportTitle")));
				QCOMPARE(readFile(at(written)), QByteArray("old"));
			}
		}
	}

	void aFailedExportLeavesTheOldFile()
	{
		const QString name = at(QString(247, u'x') + ".html"); // too long for a temporary one beside it
		writeFile(name, "old");
		answer({{.path = name}, kYes, {}}, &Dock::exportDocument);
		QCOMPARE(messages.size(), 2);
		QVERIFY(messages.at(1).startsWith(text("ExportFailed") + u'|'));
		QCOMPARE(readFile(name), QByteArray("old"));
		const auto block = [this] { QVERIFY(QDir().mkdir(at("folder.txt"))); };
		answer({{.path = at("folder.txt"), .then = block}, {}}, &Dock::exportDocument);
		QCOMPARE(messages.size(), 1);
		answer({{.then = [this] { fixture->dock.reset(); }}}, &Dock::exportDocument); // the host ends
	}

	void notesThatCannotBeOpened()
	{
		const QString path = at("a.txt");
		const QString huge(kMaxParagraphLength + 1, u'x');
		QVERIFY(fixture->dock->store().write(other, {"<p>" + huge + "</p>"}));
		fixture->dock->bindScene(other);
		QCOMPARE(fixture->editor->placeholderText(), text("TextLimit"));
		answer({}, &Dock::convertToBasic);
		answer({{.path = path}}, &Dock::exportDocument);
		QCOMPARE(QString::fromUtf8(readFile(path)), huge);
		writeFile(path, "new");
		import({.path = path}, {kNo});
		QVERIFY(fixture->editor->isReadOnly() && !fixture->editor->placeholderText().isEmpty());
		QVERIFY(fixture->dock->store().read(other).contains(huge));
		import({.path = path}, {kYes});
		QVERIFY(!fixture->editor->isReadOnly() && fixture->editor->placeholderText().isEmpty());
		QVERIFY(fixture->dock->store().read(other).contains("new"));
		QVERIFY(fixture->dock->store().write(other, {QString("<div>").repeated(50'000)}));
		fixture->dock->bindScene(nullptr);
		fixture->dock->bindScene(other);
		answer({{.path = path}, kYes}, &Dock::exportDocument);
		QCOMPARE(fixture->status(), text("TextLimit"));
		QCOMPARE(readFile(path), QByteArray("new")); // and is not replaced by nothing
	}

	void convertsToBasicFormatting()
	{
		Editor *editor = fixture->editor;
		answer({}, &Dock::convertToBasic);
		editor->setHtml("<table><tr><td>a</td><td><a href='x'>b</a></td></tr></table><b>c</b>");
		const QString before = editor->toHtml();
		fixture->dock->setLocked(true);
		answer({}, &Dock::convertToBasic);
		fixture->dock->setLocked(false);
		answer({kNo}, &Dock::convertToBasic);
		QCOMPARE(messages, QStringList(text("ConvertBasic") + u'|' + text("ConvertPrompt")));
		QCOMPARE(editor->toHtml(), before);
		answer({kYes}, &Dock::convertToBasic);
		QVERIFY(editor->document()->rootFrame()->childFrames().isEmpty());
		QVERIFY(note().endsWith(u"a\nb\nc") && !editor->toHtml().contains(u"href"));
		QCOMPARE(fixture->status(), text("ConvertedBasic"));
		editor->undo();
		QCOMPARE(editor->toHtml(), before);
	}

private:
	void answer(const QList<Answer> &answers, void (Dock::*command)())
	{
		messages = answerDialogs(answers, [&] { (*fixture->dock.*command)(); });
	}
	void import(const Answer &file, const QList<Answer> &more = {})
	{
		answer(QList{file} + more, &Dock::importFile);
	}
	[[nodiscard]] QString at(const QString &name) const { return fixture->folder.filePath(name); }
	[[nodiscard]] QString note() const { return fixture->editor->toPlainText(); }

	std::unique_ptr<DockFixture> fixture;
	OBSSource other;
	QStringList messages; // those that the last command has shown
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::FilesTest)
#include "files_test.moc"
