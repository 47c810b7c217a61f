// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"

#include "dock/marks.hpp"
#include "dock/style.hpp"

namespace quillbay::test {

class FormattingTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		fixture = std::make_unique<DockFixture>();
		editor = fixture->editor;
	}
	void cleanup() { fixture.reset(); }

	void stylesAreOneUndoStep()
	{
		for (const char *name : {"formatBold", "formatItalic", "formatUnderline", "formatStrike", "alignCenter",
					 "increaseIndent", "clearFormat"}) {
			editor->loadHtml("<p>one <b>two</b></p><p>three</p>");
			const QString before = editor->toHtml();
			fixture->select(2, 10);
			fixture->action(name)->trigger();
			QVERIFY2(editor->toHtml() != before, name);
			editor->undo();
			QCOMPARE(editor->toHtml(), before);
			QVERIFY(!editor->document()->isUndoAvailable());
		}
	}

	void controlsFollowTheCaret()
	{
		editor->loadHtml("<p>plain</p><p align=right><i style='font-size:20pt'>styled</i></p>");
		const auto check = [this](int position, bool isStyled) {
			fixture->select(position, position);
			QCOMPARE(fixture->action("formatItalic")->isChecked(), isStyled);
			QCOMPARE(fixture->action("alignRight")->isChecked(), isStyled);
			QCOMPARE(fixture->find<QSpinBox>("fontSize")->value() == 20, isStyled);
		};
		check(8, true);
		check(1, false);
		QVERIFY2(!editor->document()->isUndoAvailable(), "looking at a format must not change it");
	}

	void listsAndIndents()
	{
		insert("a\nb\nc");
		fixture->select(0, 3);
		fixture->find<QToolButton>("listStyle")->menu()->actions()[3]->trigger();
		const QTextBlock second = editor->document()->findBlockByNumber(1);
		QVERIFY(second.textList() && second.textList()->format().style() == QTextListFormat::ListDecimal);
		QVERIFY(!second.next().textList());
		const auto press = [this](const char *name, int times) {
			for (int i = 0; i < times; ++i) {
				fixture->action(name)->trigger();
			}
		};
		fixture->select(2, 2);
		press("increaseIndent", 15);
		QCOMPARE(second.textList()->format().indent(), 12);
		press("decreaseIndent", 13);
		QVERIFY2(!second.textList(), "below the first level a paragraph leaves its list");
	}

	void painterWorksOnceOrAgain()
	{
		QAction *painter = fixture->action("formatPainter");
		QWidget *button = fixture->find<QToolBar>("formatToolbar")->widgetForAction(painter);
		for (const bool isLasting : {false, true}) {
			editor->loadHtml("<p><b>bold</b> one two</p>");
			fixture->select(2, 2);
			isLasting ? QTest::mouseDClick(button, Qt::LeftButton) : painter->trigger();
			QCOMPARE(editor->viewport()->cursor().shape(), Qt::CrossCursor);
			for (const int start : {5, 9}) {
				fixture->select(start, start + 3);
				QTest::keyRelease(editor, Qt::Key_Shift);
				QCoreApplication::processEvents();
				QCOMPARE(formatAt(start + 1).fontWeight() == QFont::Bold, isLasting || start == 5);
				QCOMPARE(painter->isChecked(), isLasting);
			}
			QTest::keyClick(editor, Qt::Key_Escape);
			QVERIFY(!painter->isChecked());
			QCOMPARE(editor->viewport()->cursor().shape(), Qt::IBeamCursor);
		}
	}

	void marks()
	{
		const auto check = [this](const QString &paragraph, int caret, const QString &mark) {
			editor->setPlainText("first\n" + paragraph);
			QTextCursor cursor(editor->document());
			cursor.setPosition(6 + caret);
			QCOMPARE(markAt(cursor).selectedText(), mark);
		};
		check("a◆[x]b", 1, "◆[x]");
		check("a◆[x]b", 5, "◆[x]");
		check("a◆[x]bc", 6, "");
		check("◆[]", 3, "◆[]");
		check("◆[x", 3, "");
		check("◆[a\u2028b]", 1, "◆");
	}

	void marksAreOfOnePiece()
	{
		insert("ab");
		fixture->select(1, 1);
		fixture->action("insertMark")->trigger();
		QTest::keyClicks(editor, "in");
		QCOMPARE(formatAt(4).foreground().color(), markColor(fixture->dock->palette()));
		fixture->select(6, 6);
		QTest::keyClicks(editor, "out");
		QCOMPARE(editor->toPlainText(), "a◆[in]outb");
		QVERIFY2(!formatAt(7).hasProperty(QTextFormat::ForegroundBrush),
			 "text after a mark goes on as before it");
		fixture->select(6, 6);
		QTest::keyClick(editor, Qt::Key_Backspace);
		QCOMPARE(editor->toPlainText(), "aoutb");
		editor->undo();
		QCOMPARE(editor->toPlainText(), "a◆[in]outb");
	}

private:
	void insert(const QString &text) const { editor->textCursor().insertText(text); }
	[[nodiscard]] QTextCharFormat formatAt(int position) const
	{
		QTextCursor cursor(editor->document());
		cursor.setPosition(position + 1);
		return cursor.charFormat();
	}

	std::unique_ptr<DockFixture> fixture;
	Editor *editor = nullptr;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::FormattingTest)
#include "formatting_test.moc"
