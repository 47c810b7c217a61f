// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "editor/editor.hpp"
#include "notes/limits.hpp"

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>

#include <memory>

namespace quillbay::test {

namespace {

constexpr auto kNoModifier = Qt::KeyboardModifiers(Qt::NoModifier);

QString letters(int count)
{
	return QString(count, u'a');
}

// A text at the limit of all characters; only its last paragraph is at its own limit.
QString fullText()
{
	return (letters(9'999) + u'\n').repeated(19) + letters(10'000);
}

QString halves()
{
	return letters(6'000) + u'\n' + letters(5'000);
}

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
	void select(int anchor, int position)
	{
		QTextCursor cursor = textCursor();
		cursor.setPosition(anchor);
		cursor.setPosition(position, QTextCursor::KeepAnchor);
		setTextCursor(cursor);
	}
	void press(int key, Qt::KeyboardModifiers modifiers, const QString &typed)
	{
		QKeyEvent event(QEvent::KeyPress, key, modifiers, typed);
		QApplication::sendEvent(this, &event);
		isAccepted = event.isAccepted();
	}
	void paste(const QString &text, const QString &html)
	{
		QApplication::clipboard()->setMimeData(mimeData(text, html));
		QTest::keySequence(this, QKeySequence::Paste);
	}
	bool drop(QPoint at, const QMimeData &dropped)
	{
		QDragEnterEvent enter(at, Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
		QApplication::sendEvent(viewport(), &enter);
		QDropEvent event(at, Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
		QApplication::sendEvent(viewport(), &event);
		return event.isAccepted();
	}
	void compose(const QString &preedit, const QString &commit, int from = 0, int length = 0)
	{
		QInputMethodEvent event(preedit, {});
		event.setCommitString(commit, from, length);
		QApplication::sendEvent(this, &event);
	}
	void turnWheel(int delta, Qt::KeyboardModifiers modifiers = Qt::ControlModifier)
	{
		const QPoint center = viewport()->rect().center();
		QWheelEvent event(center, viewport()->mapToGlobal(center), {}, {0, delta}, Qt::NoButton, modifiers,
				  Qt::NoScrollPhase, false);
		QApplication::sendEvent(viewport(), &event);
	}
	static QMimeData *mimeData(const QString &text, const QString &html)
	{
		auto *made = new QMimeData;
		if (!text.isNull()) {
			made->setText(text);
		}
		if (!html.isNull()) {
			made->setHtml(html);
		}
		return made;
	}
	[[nodiscard]] QWidget *strip() const { return findChild<QWidget *>(QStringLiteral("lineNumbers")); }
	[[nodiscard]] QMargins margins() const { return viewportMargins(); }

	int refusals = 0;
	bool isAccepted = false;
};

} // namespace

class EditorTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void keysKeepTheLimits_data()
	{
		QTest::addColumn<QString>("text");
		QTest::addColumn<int>("anchor");
		QTest::addColumn<int>("position");
		QTest::addColumn<int>("key");
		QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
		QTest::addColumn<QString>("typed");
		QTest::addColumn<bool>("isRefused");
		const auto row = [](const char *name, const QString &text, int anchor, int position, int key,
				    bool isRefused, Qt::KeyboardModifiers modifiers = kNoModifier,
				    const QString &typed = {}) {
			QTest::newRow(name) << text << anchor << position << key << modifiers << typed << isRefused;
		};
		const QString full = fullText();
		row("full: letter", full, 5, 5, Qt::Key_X, true, kNoModifier, "x");
		row("full: keypad digit", full, 5, 5, Qt::Key_5, true, Qt::KeypadModifier, "5");
		row("full: return", full, 5, 5, Qt::Key_Return, true, kNoModifier, "\r");
		row("full: letter for a letter", full, 5, 6, Qt::Key_X, false, kNoModifier, "x");
		row("full: two characters for one", full, 5, 6, Qt::Key_X, true, kNoModifier, "xy");
		row("full: backspace", full, 5, 5, Qt::Key_Backspace, false, kNoModifier, "\b");
		row("one free: letter", full.left(kMaxTextLength - 1), 5, 5, Qt::Key_X, false, kNoModifier, "x");
		const QString longest = letters(kMaxParagraphLength);
		row("long: letter", longest, 5, 5, Qt::Key_X, true, kNoModifier, "x");
		row("long: tab", longest, 5, 5, Qt::Key_Tab, true, kNoModifier, "\t");
		row("long: letter with Super", longest, 5, 5, Qt::Key_X, true, Qt::MetaModifier, "x");
		row("long: letter with AltGr", longest, 5, 5, Qt::Key_Q, true, Qt::ControlModifier | Qt::AltModifier,
		    "@");
		row("long: joiner with Ctrl", longest, 5, 5, Qt::Key_2, true, Qt::ControlModifier | Qt::ShiftModifier,
		    QChar(0x200c));
		row("long: digit with Ctrl on the keypad", longest, 5, 5, Qt::Key_5, true,
		    Qt::ControlModifier | Qt::KeypadModifier, "5");
		row("long: return", longest, 5, 5, Qt::Key_Return, false, kNoModifier, "\r");
		row("long: enter on the keypad", longest, 5, 5, Qt::Key_Enter, false, Qt::KeypadModifier, "\r");
		row("long: line break", longest, 5, 5, Qt::Key_Return, true, Qt::ShiftModifier, "\r");
		const QString two = halves();
		row("halves: backspace", two, 6001, 6001, Qt::Key_Backspace, true, kNoModifier, "\b");
		row("halves: backspace over a word", two, 6001, 6001, Qt::Key_Backspace, true, Qt::ControlModifier);
		row("halves: delete", two, 6000, 6000, Qt::Key_Delete, true, kNoModifier, "\x7f");
		row("halves: delete a word", two, 6000, 6000, Qt::Key_Delete, true, Qt::ControlModifier);
		if (!QKeySequence::keyBindings(QKeySequence::DeleteEndOfLine).isEmpty()) {
			row("halves: delete the line's end", two, 6000, 6000, Qt::Key_K, true, Qt::ControlModifier);
		}
		row("halves: delete within", two, 5999, 5999, Qt::Key_Delete, false, kNoModifier, "\x7f");
		row("halves: letter for the break", two, 6000, 6001, Qt::Key_X, true, kNoModifier, "x");
		row("halves: cut the break", two, 5999, 6001, Qt::Key_X, true, Qt::ControlModifier);
		row("halves: cut enough", two, 4000, 6001, Qt::Key_X, false, Qt::ControlModifier);
		const QString rows = QString(kMaxParagraphs - 1, u'\n');
		row("rows: return", rows, 5, 5, Qt::Key_Return, true, kNoModifier, "\r");
		row("rows: return for a break", rows, 5, 6, Qt::Key_Return, false, kNoModifier, "\r");
	}

	void keysKeepTheLimits()
	{
		QFETCH(const QString, text);
		QFETCH(const int, anchor);
		QFETCH(const int, position);
		QFETCH(const int, key);
		QFETCH(const Qt::KeyboardModifiers, modifiers);
		QFETCH(const QString, typed);
		QFETCH(const bool, isRefused);
		ShownEditor editor;
		editor.setText(text, anchor, position);
		const int before = editor.document()->revision();
		editor.press(key, modifiers, typed);
		QCOMPARE(editor.refusals, isRefused ? 1 : 0);
		QVERIFY(editor.isAccepted || key == Qt::Key_X); // Cut is carried out without the base class.
		QCOMPARE(editor.document()->revision() == before, isRefused);
		QVERIFY(withinTextLimits(*editor.document()));
		editor.undo();
		QCOMPARE(editor.toPlainText(), text);
		editor.redo();
		QVERIFY(withinTextLimits(*editor.document()));
	}

	void pastesKeepTheLimits_data()
	{
		QTest::addColumn<QString>("before");
		QTest::addColumn<QString>("text");
		QTest::addColumn<QString>("html");
		QTest::addColumn<QString>("after"); // null: refused
		const QString note = QStringLiteral("[note]");
		QTest::newRow("line ends") << note << "1\r\n2\r3\n" << QString() << "1\n2\n3\n";
		QTest::newRow("rich text") << note << "bold" << "<b>bold</b>" << "bold";
		QTest::newRow("rich text alone") << note << QString() << "<p>1</p><p>2</p>" << "1\n2";
		QTest::newRow("neither: the selection stays") << note << QString() << QString() << note;
		QTest::newRow("too long a line") << note << letters(10'001) << QString() << QString();
		QTest::newRow("too long beside the rest")
			<< letters(6'000) + u'\n' << letters(4'001) + u'\n' << QString() << letters(4'001) + u'\n';
		QTest::newRow("rich text longer than it says")
			<< note << "short" << QString("<p>" + letters(10'001)) << QString();
		QTest::newRow("plain text longer than the rich")
			<< note << letters(10'001) << "<b>short</b>" << QString();
		QTest::newRow("edges of frames") << note << QString(20'000, QChar(0xfdd0)) << QString() << QString();
		QTest::newRow("ruinous") << note << "x" << QStringLiteral("<table><tr><td>").repeated(20) << QString();
		QTest::newRow("50 MB") << note << letters(50'000'000) << QString() << QString();
		QTest::newRow("50 MB of rich text") << note << QString() << letters(50'000'000) << QString();
		QTest::newRow("50 MB of lines") << note << QString(25'000'000, u'\n') << QString() << QString();
	}

	void pastesKeepTheLimits()
	{
		QFETCH(const QString, before);
		QFETCH(const QString, text);
		QFETCH(const QString, html);
		QFETCH(const QString, after);
		ShownEditor editor;
		editor.setText(before, 0, int(before.size()));
		QApplication::clipboard()->setMimeData(ShownEditor::mimeData(text, html));
		QElapsedTimer timer;
		timer.start();
		QTest::keySequence(&editor, QKeySequence::Paste);
		QVERIFY2(!after.isNull() || timer.elapsed() < 250, qPrintable(QString::number(timer.elapsed())));
		QCOMPARE(editor.refusals, after.isNull() ? 1 : 0);
		QCOMPARE(editor.toPlainText(), after.isNull() ? before : after);
		editor.undo();
		QCOMPARE(editor.toPlainText(), before);
		QApplication::clipboard()->clear();
	}

	void pastedTextIsShownWithItsFormat()
	{
		ShownEditor editor;
		editor.setText(QStringLiteral("\n").repeated(100), 50, 50);
		editor.paste("x", "<b>x</b>");
		editor.select(50, 51);
		QCOMPARE(editor.fontWeight(), int(QFont::Bold));
		editor.paste("plain\n" + QString(60, u'\n'), {});
		QVERIFY(editor.viewport()->rect().contains(editor.cursorRect()));
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

	void dropsKeepTheLimits_data()
	{
		QTest::addColumn<QString>("before");
		QTest::addColumn<QString>("text");
		QTest::addColumn<QString>("html");
		QTest::addColumn<bool>("isAccepted");
		QTest::addColumn<int>("refusals");
		const QString full = letters(10'000);
		QTest::newRow("plain") << "note" << "drop" << QString() << true << 0;
		QTest::newRow("rich") << "note" << "drop" << "<b>drop</b>" << true << 0;
		QTest::newRow("too long itself") << "note" << letters(10'001) << QString() << false << 0;
		QTest::newRow("too many lines itself") << "note" << QString(20'000, u'\n') << QString() << false << 0;
		QTest::newRow("too long itself, rich")
			<< "note" << "drop" << QString("<p>" + letters(10'001)) << false << 0;
		QTest::newRow("ruinous") << "note" << "x" << QStringLiteral("<div>").repeated(10'000) << false << 0;
		QTest::newRow("too long with the note") << full << "drop" << QString() << false << 1;
		QTest::newRow("too long with the note, rich") << full << "drop" << "<b>drop</b>" << false << 1;
	}

	void dropsKeepTheLimits()
	{
		QFETCH(const QString, before);
		QFETCH(const QString, text);
		QFETCH(const QString, html);
		QFETCH(const bool, isAccepted);
		QFETCH(const int, refusals);
		ShownEditor editor;
		editor.setText(before);
		const std::unique_ptr<QMimeData> data(ShownEditor::mimeData(text, html));
		QCOMPARE(editor.drop({1, 5}, *data), isAccepted);
		QCOMPARE(editor.refusals, refusals);
		QCOMPARE(editor.toPlainText(), isAccepted ? "drop" + before : before);
		editor.undo();
		QCOMPARE(editor.toPlainText(), before);
	}

	void draggedTextMovesWholeOrNotAtAll_data()
	{
		QTest::addColumn<QString>("text");
		QTest::addColumn<int>("anchor");
		QTest::addColumn<int>("position");
		QTest::addColumn<int>("to");
		QTest::addColumn<QString>("after");
		QTest::newRow("moves") << "one two\nend" << 0 << 4 << 8 << "two\none end";
		QTest::newRow("moves up") << "one two\nend" << 8 << 11 << 4 << "one endtwo\n";
		const QString joining = letters(20) + u'\n' + letters(6'000) + u'\n' + letters(5'000);
		QTest::newRow("leaves too much behind") << joining << 6'010 << 6'022 << 5 << joining;
	}

	void draggedTextMovesWholeOrNotAtAll()
	{
		if (QGuiApplication::platformName() == "offscreen") {
			QSKIP("No drags on this platform");
		}
		QFETCH(const QString, text);
		QFETCH(const int, anchor);
		QFETCH(const int, position);
		QFETCH(const int, to);
		QFETCH(const QString, after);
		ShownEditor editor;
		editor.setFont(QFont(editor.font().family(), 4));
		editor.resize(1000, 800);
		editor.setText(text, anchor, position);
		QTextCursor source = editor.textCursor();
		source.setPosition(anchor + 2);
		QTextCursor target = editor.textCursor();
		target.setPosition(to);
		const QPoint start = editor.cursorRect(source).center();
		const QPoint end = editor.cursorRect(target).center();
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
	}

	void compositionKeepsTheLimits()
	{
		ShownEditor editor;
		editor.setText(letters(10'000));
		editor.compose("ni", {});
		editor.compose({}, "你");
		QCOMPARE(editor.refusals, 1);
		QCOMPARE(editor.toPlainText(), letters(10'000));
		QVERIFY(editor.textCursor().block().layout()->preeditAreaText().isEmpty());
		editor.select(0, 1);
		editor.compose({}, "你");
		QCOMPARE(editor.toPlainText(), QString("你") + letters(9'999));
		editor.compose({}, "们", -1, 1);
		QCOMPARE(editor.toPlainText(), QString("们") + letters(9'999));
		editor.compose({}, "你们", -1, 1);
		QCOMPARE(editor.refusals, 2);

		// A replacement counts from where the selection was once it is gone.
		editor.setText(letters(10'000), 10, 12);
		editor.compose({}, "12345", -2, 3);
		QCOMPARE(editor.refusals, 0);
		QCOMPARE(editor.toPlainText(), letters(8) + "12345" + letters(9'987));
		editor.setText(letters(10'000), 10, 12);
		editor.compose({}, "123456", -2, 3);
		QCOMPARE(editor.refusals, 1);
		QCOMPARE(editor.toPlainText(), letters(10'000));

		editor.setText(halves(), 6000, 6001);
		editor.compose("ni", {});
		QCOMPARE(editor.refusals, 1);
		QCOMPARE(editor.toPlainText(), halves());
	}

	void nothingEntersWhileReadOnly()
	{
		ShownEditor editor;
		editor.setText("a note", 0, 1);
		editor.setReadOnly(true);
		const QString before = editor.toHtml();
		editor.press(Qt::Key_X, kNoModifier, "x");
		editor.press(Qt::Key_Backspace, kNoModifier, "\b");
		editor.press(Qt::Key_X, Qt::ControlModifier, {});
		editor.paste("x", "<b>x</b>");
		editor.insertCheckedText("x");
		editor.deleteSelection(false);
		editor.deleteSelection(true);
		editor.compose({}, "你");
		editor.compose("ni", {});
		editor.turnWheel(120);
		const std::unique_ptr<QMimeData> data(ShownEditor::mimeData("x", {}));
		QVERIFY(!editor.drop({5, 5}, *data));
		QCOMPARE(editor.toHtml(), before);
		QCOMPARE(editor.refusals, 0);
	}

	void ownersInsertionsAreChecked()
	{
		ShownEditor editor;
		editor.setText("note", 0, 4);
		editor.insertCheckedText("1\r\n2\r");
		QCOMPARE(editor.toPlainText(), "1\n2\n");
		editor.select(0, 1);
		editor.deleteSelection(true);
		QCOMPARE(QApplication::clipboard()->text(), "1");
		editor.setText(halves(), 5999, 6001);
		editor.deleteSelection(false);
		editor.deleteSelection(true);
		QCOMPARE(editor.refusals, 2);
		QCOMPARE(editor.toPlainText(), halves());
		QCOMPARE(QApplication::clipboard()->text(), "1");
		editor.onTextLimit = nullptr;
		QVERIFY(!editor.acceptsText(letters(10'001), editor.textCursor()));
	}

	void whatAsksNobodyIsUndone()
	{
		ShownEditor editor;
		editor.setText(halves());
		for (const char *name : {"edit-delete", "edit-cut"}) {
			editor.refusals = 0;
			editor.select(5999, 6001);
			const std::unique_ptr<QMenu> menu(editor.createStandardContextMenu());
			auto *action = menu->findChild<QAction *>(QLatin1StringView(name));
			QVERIFY(action);
			action->trigger();
			QTRY_COMPARE(editor.refusals, 1);
			QCOMPARE(editor.toPlainText(), halves());
			QVERIFY(!editor.document()->isRedoAvailable());
		}
	}

	void anEmptyNoteTypesWithTheLineHeightOfNotes()
	{
		ShownEditor editor;
		for (const char *html : {"<p>x</p>", ""}) {
			editor.loadHtml(html);
			QCOMPARE(editor.document()->firstBlock().blockFormat().lineHeight(), 140.0);
			QCOMPARE(editor.document()->firstBlock().blockFormat().lineHeightType(),
				 int(QTextBlockFormat::ProportionalHeight));
			QVERIFY(!editor.document()->isUndoAvailable());
			QVERIFY(editor.document()->isUndoRedoEnabled());
		}
	}

	void wheelZoomsEveryRun()
	{
		ShownEditor editor;
		editor.loadHtml("<p><span style='font-size:10pt'>a</span><span style='font-size:143pt'>b</span></p>"
				"<p><span style='font-size:96px'>c</span></p>");
		const auto sizeAt = [&editor](int position) {
			editor.select(position, position);
			return editor.fontPointSize();
		};
		editor.turnWheel(60);
		QCOMPARE(sizeAt(1), 10.0);
		editor.turnWheel(60);
		QCOMPARE(sizeAt(1), 11.0);
		editor.turnWheel(240);
		QCOMPARE(sizeAt(2), 144.0);
		QCOMPARE(sizeAt(4), 96.0 * 72 / editor.logicalDpiY() + 3);
		editor.undo();
		QCOMPARE(sizeAt(1), 11.0);
		QCOMPARE(sizeAt(2), 144.0);
		editor.turnWheel(-240);
		QCOMPARE(sizeAt(1), 9.0);
		editor.turnWheel(60);
		editor.turnWheel(1, kNoModifier); // ends the gesture
		editor.turnWheel(60);
		QCOMPARE(sizeAt(1), 9.0);
		for (int i = 0; i < 2; ++i) {
			editor.document()->clearUndoRedoStacks();
			editor.resizeText(-200);
			QCOMPARE(sizeAt(1), 6.0);
			QCOMPARE(editor.document()->isUndoAvailable(), i == 0);
		}
		editor.loadHtml({});
		const qreal typing = editor.currentFont().pointSizeF();
		editor.turnWheel(240);
		QCOMPARE(editor.fontPointSize(), typing + 2);
		editor.press(Qt::Key_X, kNoModifier, "x");
		QCOMPARE(sizeAt(1), typing + 2);
	}

	void stripNumbersTheParagraphsInView()
	{
		ShownEditor editor;
		QPalette colors = editor.palette();
		colors.setColor(QPalette::Highlight, Qt::red);
		QApplication::setPalette(colors);
		editor.setText("1\n2\n3");
		const int narrow = editor.margins().left();
		QCOMPARE(editor.strip()->width(), narrow);
		QCOMPARE(editor.strip()->height(), editor.viewport()->height());
		QVERIFY(editor.strip()->testAttribute(Qt::WA_TransparentForMouseEvents));
		editor.setText(QStringLiteral("line\n").repeated(149), 0, 0);
		QCOMPARE(editor.margins().left() - 14, (narrow - 14) * 3);
		const auto bandAt = [&editor](int block) {
			QTextCursor cursor(editor.document()->findBlockByNumber(block));
			editor.setTextCursor(cursor);
			const QImage image = editor.strip()->grab().toImage();
			return image.pixelColor(0, editor.cursorRect().center().y()) == QColor(Qt::red);
		};
		QVERIFY(bandAt(0));
		QVERIFY(bandAt(120));
		QVERIFY(editor.verticalScrollBar()->value() > 0);
		QVERIFY(QTest::qWaitForWindowExposed(&editor));
		// What has only been scrolled looks like what is painted whole.
		for (int i = 0; i < 40; ++i) {
			editor.verticalScrollBar()->setValue(editor.verticalScrollBar()->value() - 1);
			QCoreApplication::sendPostedEvents();
		}
		const QImage screen = editor.screen()->grabWindow(editor.winId()).toImage();
		QCOMPARE(screen.convertToFormat(QImage::Format_RGB32),
			 editor.grab().toImage().convertToFormat(QImage::Format_RGB32));
		const QImage current = editor.strip()->grab().toImage();
		editor.setEnabled(false);
		QVERIFY(editor.strip()->grab().toImage() != current);
		editor.setEnabled(true);
		editor.setFont(QFont(editor.font().family(), 30));
		QVERIFY(editor.strip()->width() > editor.margins().right() + (narrow - 14) * 3 + 14);
		QApplication::setPalette(QPalette());
	}

	void looksFollowTheOwnersSwitches()
	{
		ShownEditor editor;
		editor.setStyleSheet("QTextEdit { font-size: 20px; selection-background-color: #000000; }"
				     "QTextEdit[readOnly=\"true\"] { selection-background-color: #0000ff; }"
				     "QTextEdit[searchMatch=\"true\"] { selection-background-color: #fff200; }");
		const auto selectionColor = [&editor] { return editor.palette().color(QPalette::Highlight); };
		editor.setSearchMatch(true);
		QCOMPARE(selectionColor(), QColor(0xff, 0xf2, 0));
		editor.setSearchMatch(false);
		QCOMPARE(selectionColor(), QColor(Qt::black));
		const QFont font(QStringLiteral("Monospace"), 33);
		editor.document()->setDefaultFont(font);
		editor.setReadOnly(true);
		QCOMPARE(selectionColor(), QColor(Qt::blue));
		QCOMPARE(editor.document()->defaultFont(), font);

		const int left = editor.margins().left();
		const int width = editor.viewport()->width();
		for (int i = 0; i < 2; ++i) {
			editor.setQrSpace(true);
			QCOMPARE(editor.margins(), QMargins(left, 0, 28, 0));
		}
		QCOMPARE(editor.viewport()->width(), width - 28);
		editor.setQrSpace(false);
		QCOMPARE(editor.viewport()->width(), width);
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
		editor.loadHtml("<p>ab</p>");
		editor.selectAll();
		editor.copy();
		QVERIFY(QApplication::clipboard()->mimeData()->formats().size() > 2);
	}
};

} // namespace quillbay::test

QTEST_MAIN(quillbay::test::EditorTest)
#include "editor_test.moc"
