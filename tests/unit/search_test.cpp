// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"

#include "dock/matches.hpp"
#include "plugin/text.hpp"

#include <QtWidgets>

namespace quillbay::test {

class SearchTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		fixture = std::make_unique<DockFixture>();
		field = fixture->find<QLineEdit>("searchText");
	}
	void cleanup() { fixture.reset(); }
	void matches()
	{
		const auto check = [this](const QString &note, const QString &searchText, int count) {
			fixture->editor->setText(note);
			const auto found = findMatches(*fixture->editor->document(), searchText);
			QCOMPARE(int(found.size()), count);
			for (const SearchRange &range : found) {
				fixture->select(range.start, range.end);
				const QString shown = fixture->editor->textCursor().selectedText();
				QCOMPARE(shown.toLower().replace(QChar::Nbsp, u' '), searchText);
			}
		};
		check("Say saY\nSAY", "say", 3);
		check("aaaa", "aa", 2);
		check("two\u00a0words", "two words", 1);
		check("one\ntwo", "one\ntwo", 0);
		check("<table><tr><td>one</td><td>One</td></tr></table>", "one", 2);
		check("abc", QString(), 0);
	}

	void findsWhileTyping()
	{
		fixture->editor->setPlainText("one two one");
		fixture->action("findText")->trigger();
		QVERIFY(field->hasFocus());
		QTest::keyClicks(field, "one");
		QVERIFY2(fixture->find<QLabel>("searchStatus")->isHidden(), "not at every key");
		QTRY_COMPARE(count(), "1/2");
		QCOMPARE(fixture->editor->textCursor().selectionStart(), 0);
		QVERIFY(fixture->editor->property("searchMatch").toBool());
		field->setText("x");
		QTRY_COMPARE(count(), "0/0");
		fixture->find<QToolButton>("clearSearch")->click();
		QVERIFY(field->text().isEmpty() && fixture->editor->hasFocus());
		QVERIFY(!fixture->editor->property("searchMatch").toBool());
	}

	void stepsAndWraps()
	{
		fixture->editor->setPlainText("a b a b a");
		field->setText("a");
		QTRY_COMPARE(count(), "1/3");
		const auto check = [this](const char *button, const char *expected) {
			fixture->find<QToolButton>(button)->click();
			QCOMPARE(count(), expected);
		};
		QTest::keyClick(field, Qt::Key_Return);
		check("findNext", "3/3");
		check("findNext", "1/3");
		fixture->select(1, 1);
		QCOMPARE(count(), "0/3");
		check("findPrevious", "1/3");
		fixture->select(9, 9);
		QTest::keyClicks(fixture->editor, " a");
		QTRY_COMPARE(count(), "0/4");
		QCOMPARE(fixture->editor->textCursor().position(), 11);
	}

	void marksAreFound()
	{
		fixture->editor->setPlainText("x ◆[one] y ◆[two]");
		fixture->select(0, 0);
		for (const int start : {2, 11, 2}) {
			fixture->dock->command(Command::NextMark);
			QCOMPARE(fixture->editor->textCursor().selectionStart(), start);
		}
		fixture->select(0, 0);
		QTest::keyClicks(fixture->editor, "typed");
		QVERIFY2(field->text().isEmpty(), "an edit ends the search for marks");
	}

	void aSelectionIsSearchedFor()
	{
		fixture->editor->setPlainText("needle\nhay");
		fixture->select(0, 6);
		QTest::keyClick(fixture->editor, Qt::Key_F, Qt::ControlModifier);
		QCOMPARE(field->text(), "needle");
	}

	void goToInputs()
	{
		for (const char *good : {"1", " 12 ", "20", "0%", "100%"}) {
			QVERIFY2(parseGoTo(good, 20).has_value(), good);
		}
		for (const char *bad : {"0", "21", "101%", "-1%", "abc", "", "%", "1.5", "9999999999", "00000000001"}) {
			QVERIFY2(!parseGoTo(bad, 20).has_value(), bad);
		}
	}

	void goingToAPlace()
	{
		fixture->lines(299);
		QLineEdit *input = nullptr;
		const auto go = [&](const char *label, const char *offered, const char *typed) {
			QTest::mouseClick(fixture->find<QLabel>(label), Qt::LeftButton);
			input = fixture->find<QLineEdit>("goToInput");
			QCOMPARE(input->text(), offered);
			input->setText(typed);
			QTest::keyClick(input, Qt::Key_Return);
		};
		go("scrollPercent", "0%", "301");
		QVERIFY(input->isVisible() && input->property("invalid").toBool());
		QCOMPARE(input->toolTip(), text("GoToInvalid").arg(300));
		QCOMPARE(fixture->bar()->value(), 0);
		QTest::keyClick(input, Qt::Key_Escape);
		QVERIFY(!input->isVisible() && fixture->editor->hasFocus());
		go("scrollPercent", "0%", "50%");
		QVERIFY(!input->isVisible());
		QCOMPARE(fixture->bar()->value(), fixture->bar()->maximum() / 2);
		go("documentStatus", "1", "150");
		QCOMPARE(fixture->editor->textCursor().blockNumber(), 149);
		QCOMPARE(fixture->editor->cursorRect().top(), qRound(fixture->editor->viewport()->height() * 0.382));
	}

private:
	[[nodiscard]] QString count() const { return fixture->find<QLabel>("searchStatus")->text(); }

	std::unique_ptr<DockFixture> fixture;
	QLineEdit *field = nullptr;
};
} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::SearchTest)
#include "search_test.moc"
