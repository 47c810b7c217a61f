// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "editor/editor.hpp"
#include "notes/limits.hpp"

namespace quillbay::test {

namespace {

QString letters(int count)
{
	return QString(count, u'a');
}

const QString kHalves = letters(6'000) + u'\n' + letters(5'000);

class ShownEditor : public Editor {
public:
	ShownEditor()
	{
		onTextLimit = [this] { ++refusals; };
		resize(400, 300);
		show();
		setFocus();
	}
	void setText(const QString &text, int anchor = 0, int position = 0)
	{
		setPlainText(text);
		select(anchor, position);
		refusals = 0;
	}
	void select(int anchor, int position) { test::select(*this, anchor, position); }
	void press(int key, Qt::KeyboardModifiers modifiers = {}, const QString &typed = {})
	{
		QKeyEvent event(QEvent::KeyPress, key, modifiers, typed);
		QApplication::sendEvent(this, &event);
		isAccepted = event.isAccepted();
	}
	void paste(const QString &text, const QString &html)
	{
		QApplication::clipboard()->setMimeData(mimeData(text, html).release());
		QTest::keySequence(this, QKeySequence::Paste);
	}
	bool drop(const QString &text, const QString &html)
	{
		const auto dropped = mimeData(text, html);
		QDragEnterEvent enter({1, 5}, Qt::CopyAction, dropped.get(), Qt::LeftButton, Qt::NoModifier);
		QApplication::sendEvent(viewport(), &enter);
		QDropEvent event({1, 5}, Qt::CopyAction, dropped.get(), Qt::LeftButton, Qt::NoModifier);
		QApplication::sendEvent(viewport(), &event);
		return event.isAccepted();
	}
	void compose(const QString &preedit, const QString &commit, int from = 0, int length = 0)
	{
		QInputMethodEvent event(preedit, {});
		event.setCommitString(commit, from, length);
		QApplication::sendEvent(this, &event);
	}
	void turnWheel(int delta)
	{
		const QPoint center = viewport()->rect().center();
		QWheelEvent event(center, viewport()->mapToGlobal(center), {}, {0, delta}, Qt::NoButton,
				  Qt::ControlModifier, Qt::NoScrollPhase, false);
		QApplication::sendEvent(viewport(), &event);
	}
	static std::unique_ptr<QMimeData> mimeData(const QString &text, const QString &html)
	{
		auto made = std::make_unique<QMimeData>();
		text.isNull() ? void() : made->setText(text);
		html.isNull() ? void() : made->setHtml(html);
		return made;
	}

	int refusals = 0;
	bool isAccepted = false;
};

} // namespace

class EditorTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void keysKeepTheLimits()
	{
		constexpr auto kNone = Qt::NoModifier;
		constexpr auto kCtrl = Qt::ControlModifier;
		// Only its last paragraph is at its own limit.
		const QString full = (letters(9'999) + u'\n').repeated(19) + letters(10'000);
		const QString free = full.left(kMaxTextLength - 1);
		const QString longest = letters(kMaxParagraphLength);
		const QString rows = QString(kMaxParagraphs - 1, u'\n');
		const auto check = [](const char *name, const QString &text, int anchor, int position, int key,
				      bool isRefused, Qt::KeyboardModifiers modifiers = {}, const QString &typed = {}) {
			ShownEditor editor;
			editor.setText(text, anchor, position);
			const int before = editor.document()->revision();
			editor.press(key, modifiers, typed);
			QVERIFY2(editor.refusals == (isRefused ? 1 : 0), name);
			// Cut is carried out without the base class.
			QVERIFY2(editor.isAccepted || key == Qt::Key_X, name);
			QVERIFY2((editor.document()->revision() == before) == isRefused, name);
			QVERIFY2(withinTextLimits(*editor.document()), name);
			editor.undo();
			QVERIFY2(editor.toPlainText() == text, name);
			editor.redo();
			QVERIFY2(withinTextLimits(*editor.document()), name);
		};
		check("full: letter", full, 5, 5, Qt::Key_X, true, kNone, "x");
		check("full: return", full, 5, 5, Qt::Key_Return, true, kNone, "\r");
		check("one free: letter", free, 5, 5, Qt::Key_X, false, kNone, "x");
		check("long: letter", longest, 5, 5, Qt::Key_X, true, kNone, "x");
		check("long: letter with Super", longest, 5, 5, Qt::Key_X, true, Qt::MetaModifier, "x");
		check("long: letter with AltGr", longest, 5, 5, Qt::Key_Q, true, kCtrl | Qt::AltModifier, "@");
		check("long: joiner", longest, 5, 5, Qt::Key_2, true, kCtrl | Qt::ShiftModifier, QChar(0x200c));
		check("long: keypad digit", longest, 5, 5, Qt::Key_5, true, kCtrl | Qt::KeypadModifier, "5");
		check("long: return", longest, 5, 5, Qt::Key_Return, false, kNone, "\r");
		check("long: line break", longest, 5, 5, Qt::Key_Return, true, Qt::ShiftModifier, "\r");
		check("halves: backspace", kHalves, 6001, 6001, Qt::Key_Backspace, true, kNone, "\b");
		check("halves: delete", kHalves, 6000, 6000, Qt::Key_Delete, true, kNone, "\x7f");
		check("halves: delete a word", kHalves, 6000, 6000, Qt::Key_Delete, true, kCtrl);
		check("halves: letter for the break", kHalves, 6000, 6001, Qt::Key_X, true, kNone, "x");
		check("halves: cut the break", kHalves, 5999, 6001, Qt::Key_X, true, kCtrl);
		check("halves: cut enough", kHalves, 4000, 6001, Qt::Key_X, false, kCtrl);
		check("rows: return", rows, 5, 5, Qt::Key_Return, true, kNone, "\r");
		check("rows: return for a break", rows, 5, 6, Qt::Key_Return, false, kNone, "\r");
	}

	void pastesKeepTheLimits()
	{
		const QString note = "[note]";
		const QString longLine = letters(10'001);
		const auto check = [](const char *name, const QString &before, const QString &text, const QString &html,
				      const QString &after = {}) {
			ShownEditor editor;
			editor.setText(before, 0, int(before.size()));
			const QDeadlineTimer deadline(250);
			editor.paste(text, html);
			const bool isRefused = after.isNull();
			QVERIFY2(!isRefused || !deadline.hasExpired(), name);
			QVERIFY2(editor.refusals == (isRefused ? 1 : 0), name);
			QVERIFY2(editor.toPlainText() == (isRefused ? before : after), name);
			editor.undo();
			QVERIFY2(editor.toPlainText() == before, name);
		};
		check("line ends", note, "1\r\n2\r3\n", {}, "1\n2\n3\n");
		check("rich text alone", note, {}, "<p>1</p><p>2</p>", "1\n2");
		check("neither: the selection stays", note, {}, {}, note);
		check("too long a line", note, longLine, {});
		check("rich text longer than it says", note, "short", "<p>" + longLine);
		check("plain text longer than the rich", note, longLine, "<b>short</b>");
		check("edges of frames", note, QString(20'000, QChar(0xfdd0)), {});
		check("ruinous", note, "x", QString("<table><tr><td>").repeated(20));
		check("50 MB", note, letters(50'000'000), {});
		check("50 MB of rich text", note, {}, letters(50'000'000));
		QApplication::clipboard()->clear();
	}

	void dropsKeepTheLimits()
	{
		ShownEditor editor;
		editor.setText(letters(9'996));
		QVERIFY(!editor.drop(letters(10'001), {}) && !editor.drop("x", QString("<div>").repeated(10'000)));
		QVERIFY(editor.drop("drop", "<b>drop</b>") && !editor.drop("drop", {}));
		QCOMPARE(editor.refusals, 1);
		QCOMPARE(editor.toPlainText(), "drop" + letters(9'996));
	}

	void pastedTextIsShownWithItsFormat()
	{
		ShownEditor editor;
		editor.paste("x", "<b>x</b>");
		QCOMPARE(editor.fontWeight(), int(QFont::Bold));
		editor.paste("plain\n" + QString(60, u'\n'), {});
		QVERIFY(editor.viewport()->rect().contains(editor.cursorRect()));
	}

	void compositionKeepsTheLimits()
	{
		ShownEditor editor;
		// A replacement counts from where the selection was once it is gone.
		const auto check = [&editor](int anchor, int position, const QString &commit, int from, int length,
					     const QString &after) {
			editor.setText(letters(10'000), anchor, position);
			editor.compose({}, commit, from, length);
			QCOMPARE(editor.toPlainText(), after);
			QCOMPARE(editor.refusals, after == letters(10'000) ? 1 : 0);
		};
		check(0, 1, "你", 0, 0, "你" + letters(9'999));
		check(1, 1, "们", -1, 1, "们" + letters(9'999));
		check(1, 1, "你们", -1, 1, letters(10'000));
		check(10, 12, "123456", -2, 3, letters(10'000));
		editor.setText(kHalves, 6000, 6001);
		editor.compose("ni", {});
		QCOMPARE(editor.refusals, 1);
		QCOMPARE(editor.toPlainText(), kHalves);
		QVERIFY(editor.textCursor().block().layout()->preeditAreaText().isEmpty());
	}

	void nothingEntersWhileReadOnly()
	{
		ShownEditor editor;
		editor.setText("a note", 0, 1);
		editor.setReadOnly(true);
		const QString before = editor.toHtml();
		editor.press(Qt::Key_X, {}, "x");
		editor.press(Qt::Key_Backspace);
		editor.press(Qt::Key_X, Qt::ControlModifier);
		editor.paste("x", "<b>x</b>");
		editor.insertCheckedText("x");
		editor.deleteSelection(true);
		editor.compose({}, "你");
		editor.turnWheel(120);
		QVERIFY(!editor.drop("x", {}));
		QCOMPARE(editor.toHtml(), before);
		QCOMPARE(editor.refusals, 0);
	}

	void aMiddleClickKeepsTheLimits()
	{
		if (!QApplication::clipboard()->supportsSelection()) {
			QSKIP("No selection clipboard on this platform");
		}
		ShownEditor editor;
		for (const int length : {10'000, 9'999}) {
			editor.setText(letters(length));
			QApplication::clipboard()->setText("x", QClipboard::Selection);
			QTest::mouseClick(editor.viewport(), Qt::MiddleButton, {}, {20, 20});
			QCOMPARE(editor.refusals, length == 10'000 ? 1 : 0);
			QCOMPARE(editor.toPlainText().size(), 10'000);
		}
	}

	void draggedTextMovesWholeOrNotAtAll()
	{
		if (QGuiApplication::platformName() == "offscreen") {
			QSKIP("No drags on this platform");
		}
		const auto check = [](const QString &text, int from, int to, int target, const QString &after) {
			ShownEditor editor;
			editor.setFont(QFont(editor.font().family(), 4));
			editor.resize(1000, 800);
			editor.setText(text, target, target);
			const QPoint end = editor.cursorRect().center();
			editor.select(from + 2, from + 2);
			const QPoint start = editor.cursorRect().center();
			editor.select(from, to);
			QWidget *view = editor.viewport();
			const QPoint there = view->mapTo(view->window(), end);
			QTest::mousePress(view, Qt::LeftButton, {}, start);
			QTimer::singleShot(50, view, [there, window = view->window()->windowHandle()] {
				QTest::mouseMove(window, there);
				QTest::mouseMove(window, there + QPoint(1, 0));
				QTest::mouseRelease(window, Qt::LeftButton, {}, there);
			});
			QTest::mouseMove(view, start + QPoint(QApplication::startDragDistance() + 2, 0));
			QTRY_COMPARE(editor.toPlainText(), after);
			QCOMPARE(editor.refusals, text == after ? 1 : 0);
		};
		check("one two\nend", 0, 4, 8, "two\none end");
		check("one two\nend", 8, 11, 4, "one endtwo\n");
		const QString joining = letters(20) + u'\n' + kHalves;
		check(joining, 6'010, 6'022, 5, joining); // leaves too much behind
	}

	void ownersInsertionsAreChecked()
	{
		ShownEditor editor;
		QApplication::clipboard()->setText("1");
		editor.setText(kHalves, 5999, 6001);
		editor.deleteSelection(false);
		editor.deleteSelection(true);
		QCOMPARE(editor.refusals, 2);
		QCOMPARE(editor.toPlainText(), kHalves);
		QCOMPARE(QApplication::clipboard()->text(), "1");
	}

	void whatAsksNobodyIsUndone()
	{
		ShownEditor editor;
		editor.setText(kHalves);
		for (const char *name : {"edit-delete", "edit-cut"}) {
			editor.refusals = 0;
			editor.select(5999, 6001);
			const std::unique_ptr<QMenu> menu(editor.createStandardContextMenu());
			auto *action = menu->findChild<QAction *>(QLatin1StringView(name));
			QVERIFY(action);
			action->trigger();
			QTRY_COMPARE(editor.refusals, 1);
			QCOMPARE(editor.toPlainText(), kHalves);
			QVERIFY(!editor.document()->isRedoAvailable());
		}
	}

	void aNoteTypesWithItsOwnLook()
	{
		ShownEditor editor;
		for (const char *html : {"<p>x</p>", ""}) {
			editor.setFontWeight(QFont::Bold);
			editor.loadHtml(html);
			QCOMPARE(editor.fontWeight(), int(QFont::Normal));
			QCOMPARE(editor.document()->firstBlock().blockFormat().lineHeight(), 140.0);
			QVERIFY(!editor.document()->isUndoAvailable());
			QVERIFY(editor.document()->isUndoRedoEnabled());
		}
	}

	void wheelZoomsEveryRun()
	{
		ShownEditor editor;
		editor.loadHtml("<p><span style='font-size:10pt'>a</span><span style='font-size:143pt'>b</span></p>"
				"<p><span style='font-size:96px'>c</span></p>");
		const auto check = [&editor](int delta, QList<qreal> sizes) {
			editor.turnWheel(delta);
			for (const int position : {1, 2, 4}) {
				editor.select(position, position);
				QCOMPARE(editor.fontPointSize(), sizes.takeFirst());
			}
		};
		const qreal pixels = 96.0 * 72 / editor.logicalDpiY();
		check(360, {13, 144, pixels + 3});
		editor.undo();
		check(-240, {8, 141, pixels - 2});
		editor.resizeText(-200);
		check(0, {6, 6, 6});
	}

	void aCopiedPictureStaysAName()
	{
		ShownEditor editor;
		editor.loadHtml("<p>a<img src=\"/etc/hostname\">b</p>");
		editor.selectAll();
		editor.copy();
		const QMimeData *copied = QApplication::clipboard()->mimeData();
		QVERIFY(copied->html().contains("/etc/hostname"));
		QCOMPARE(copied->formats(), QStringList({"text/html", "text/plain"}));
	}
};

} // namespace quillbay::test

QTEST_MAIN(quillbay::test::EditorTest)
#include "editor_test.moc"
