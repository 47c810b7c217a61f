// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"

#include "dock/matches.hpp"
#include "plugin/text.hpp"

#include <QLineEdit>
#include <QToolButton>

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
	void matches_data();
	void matches();
	void findsWhileTyping();
	void stepsAndWraps();
	void editsKeepTheCountRight();
	void marksAreFound();
	void aSelectionIsSearchedFor();
	void goToInputs_data();
	void goToInputs();
	void goingToAPlace();

private:
	[[nodiscard]] QString selected() const { return fixture->editor->textCursor().selectedText(); }
	[[nodiscard]] QString count() const { return fixture->find<QLabel>("searchStatus")->text(); }

	std::unique_ptr<DockFixture> fixture;
	QLineEdit *field = nullptr;
};

void SearchTest::matches_data()
{
	QTest::addColumn<QString>("note");
	QTest::addColumn<QString>("searchText");
	QTest::addColumn<int>("count");
	QTest::newRow("case") << QStringLiteral("Say saY\nSAY") << QStringLiteral("say") << 3;
	QTest::newRow("no overlap") << QStringLiteral("aaaa") << QStringLiteral("aa") << 2;
	QTest::newRow("no-break space") << QStringLiteral("two\u00a0words") << QStringLiteral("two words") << 1;
	QTest::newRow("no-break space searched for")
		<< QStringLiteral("two words") << QStringLiteral("two\u00a0words") << 1;
	QTest::newRow("not across paragraphs") << QStringLiteral("one\ntwo") << QStringLiteral("one\ntwo") << 0;
	QTest::newRow("bracket") << QStringLiteral("a[b[") << QStringLiteral("[") << 2;
	QTest::newRow("in a table") << QStringLiteral("<table><tr><td>one</td><td>One</td></tr></table>")
				    << QStringLiteral("one") << 2;
	QTest::newRow("nothing") << QStringLiteral("abc") << QString() << 0;
}

void SearchTest::matches()
{
	QFETCH(QString, note);
	QFETCH(QString, searchText);
	fixture->editor->setText(note);
	const auto found = findMatches(*fixture->editor->document(), searchText);
	QTEST(static_cast<int>(found.size()), "count");
	for (const SearchRange &range : found) {
		QTextCursor cursor(fixture->editor->document());
		cursor.setPosition(range.start);
		cursor.setPosition(range.end, QTextCursor::KeepAnchor);
		QCOMPARE(cursor.selectedText().replace(QChar::Nbsp, QChar::Space).toLower(),
			 QString(searchText).replace(QChar::Nbsp, QChar::Space).toLower());
	}
}

void SearchTest::findsWhileTyping()
{
	fixture->editor->setPlainText(QStringLiteral("one two one"));
	fixture->dock->findChild<QAction *>(QStringLiteral("findText"))->trigger();
	QVERIFY(field->hasFocus());
	QTest::keyClicks(field, QStringLiteral("one"));
	QVERIFY2(fixture->find<QLabel>("searchStatus")->isHidden(), "not at every key");
	QTRY_COMPARE(count(), QStringLiteral("1/2"));
	QCOMPARE(fixture->editor->textCursor().selectionStart(), 0);
	QVERIFY(fixture->editor->property("searchMatch").toBool());
	QCOMPARE(field->accessibleDescription(), text("MatchCount").arg(1).arg(2));
	QVERIFY(field->textMargins().right() >= fixture->find<QToolButton>("clearSearch")->width() * 3);
	field->setText(QStringLiteral("x"));
	QTRY_COMPARE(count(), QStringLiteral("0/0"));
	QCOMPARE(field->toolTip(), text("NoMatch"));
	fixture->find<QToolButton>("clearSearch")->click();
	QVERIFY(field->text().isEmpty() && fixture->editor->hasFocus());
	QVERIFY(!fixture->editor->property("searchMatch").toBool());
}

void SearchTest::stepsAndWraps()
{
	fixture->editor->setPlainText(QStringLiteral("a b a b a"));
	field->setText(QStringLiteral("a"));
	QTRY_COMPARE(count(), QStringLiteral("1/3"));
	QTest::keyClick(field, Qt::Key_Return);
	fixture->find<QToolButton>("findNext")->click();
	QCOMPARE(count(), QStringLiteral("3/3"));
	fixture->find<QToolButton>("findNext")->click();
	QCOMPARE(count(), QStringLiteral("1/3"));
	fixture->find<QToolButton>("findPrevious")->click();
	QCOMPARE(count(), QStringLiteral("3/3"));
	fixture->select(1, 1);
	QCOMPARE(count(), QStringLiteral("0/3"));
	fixture->find<QToolButton>("findPrevious")->click();
	QCOMPARE(count(), QStringLiteral("1/3"));
}

void SearchTest::editsKeepTheCountRight()
{
	fixture->editor->setPlainText(QStringLiteral("a b"));
	field->setText(QStringLiteral("a"));
	QTRY_COMPARE(count(), QStringLiteral("1/1"));
	fixture->select(3, 3);
	QTest::keyClicks(fixture->editor, QStringLiteral(" a"));
	QTRY_COMPARE(count(), QStringLiteral("0/2"));
	QCOMPARE(fixture->editor->textCursor().position(), 5);
}

void SearchTest::marksAreFound()
{
	fixture->editor->setPlainText(QStringLiteral("x ◆[one] y ◆[two]"));
	fixture->select(0, 0);
	fixture->dock->command(Command::NextMark);
	fixture->dock->command(Command::NextMark);
	QCOMPARE(fixture->editor->textCursor().selectionStart(), 11);
	fixture->dock->command(Command::NextMark);
	QCOMPARE(fixture->editor->textCursor().selectionStart(), 2);
	fixture->select(0, 0);
	QTest::keyClicks(fixture->editor, QStringLiteral("typed"));
	QVERIFY2(field->text().isEmpty(), "an edit ends the search for marks");
}

void SearchTest::aSelectionIsSearchedFor()
{
	fixture->editor->setPlainText(QStringLiteral("needle\nhay"));
	fixture->select(0, 6);
	QTest::keyClick(fixture->editor, Qt::Key_F, Qt::ControlModifier);
	QCOMPARE(field->text(), QStringLiteral("needle"));
	fixture->select(3, 9);
	fixture->action("findText")->trigger();
	QCOMPARE(field->text(), QStringLiteral("needle"));
}

void SearchTest::goToInputs_data()
{
	QTest::addColumn<QString>("typed");
	QTest::addColumn<bool>("isAccepted");
	const auto row = [](const char *typed, bool isAccepted) {
		QTest::newRow(typed) << QString::fromUtf8(typed) << isAccepted;
	};
	row("1", true);
	row(" 12 ", true);
	row("20", true);
	row("0%", true);
	row("100%", true);
	row("0", false);
	row("21", false);
	row("101%", false);
	row("-1%", false);
	row("abc", false);
	row("", false);
	row("%", false);
	row("1.5", false);
	row("9999999999", false);
	row("00000000001", false);
}

void SearchTest::goToInputs()
{
	QFETCH(QString, typed);
	QTEST(parseGoTo(typed, 20).has_value(), "isAccepted");
}

void SearchTest::goingToAPlace()
{
	fixture->lines(299);
	QTest::mouseClick(fixture->find<QLabel>("scrollPercent"), Qt::LeftButton);
	auto *input = fixture->find<QLineEdit>("goToInput");
	QCOMPARE(input->text(), QStringLiteral("0%"));
	input->setText(QStringLiteral("301"));
	QTest::keyClick(input, Qt::Key_Return);
	QVERIFY(input->isVisible() && input->property("invalid").toBool());
	QCOMPARE(input->toolTip(), text("GoToInvalid").arg(300));
	QCOMPARE(fixture->bar()->value(), 0);
	input->setText(QStringLiteral("50%"));
	QTest::keyClick(input, Qt::Key_Return);
	QVERIFY(!input->isVisible());
	QCOMPARE(fixture->bar()->value(), fixture->bar()->maximum() / 2);

	QTest::mouseClick(fixture->find<QLabel>("documentStatus"), Qt::LeftButton);
	QCOMPARE(input->text(), QStringLiteral("1"));
	input->setText(QStringLiteral("150"));
	QTest::keyClick(input, Qt::Key_Return);
	QCOMPARE(fixture->editor->textCursor().blockNumber(), 149);
	const int line = qRound(fixture->editor->viewport()->height() * 0.382);
	QCOMPARE(fixture->editor->cursorRect().top(), line);
	QTest::mouseClick(fixture->find<QLabel>("documentStatus"), Qt::LeftButton);
	QTest::keyClick(input, Qt::Key_Escape);
	QVERIFY(!input->isVisible() && fixture->editor->hasFocus());
}

} // namespace quillbay::test

int main(int argc, char *argv[])
{
	return quillbay::test::run<quillbay::test::SearchTest>(argc, argv);
}

#include "search_test.moc"
