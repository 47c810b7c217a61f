// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/dock_fixture.hpp"

#include "dock/matches.hpp"
#include "dock/speed.hpp"
#include "plugin/text.hpp"

namespace quillbay::test {

class PresenterTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		fixture = std::make_unique<DockFixture>();
		field = fixture->find<QLineEdit>("searchText");
	}
	void cleanup() { fixture.reset(); }
	void scrollsAtItsSpeed()
	{
		start(5.0);
		QVERIFY(fixture->editor->isReadOnly() && fixture->action("Read")->isChecked());
		QVERIFY(fixture->find<QWidget>("readingBand")->isVisible());
		QElapsedTimer clock;
		clock.start();
		QTest::qWait(1000);
		QTest::qSleep(300);
		QTest::qWait(200);
		const double expected = clock.elapsed() * kBaseSpeed * 5.0 / 1000;
		QVERIFY2(qAbs(fixture->bar()->value() - expected) < 3,
			 qPrintable(QString::number(fixture->bar()->value())));
		play()->click();
		QCOMPARE(fixture->status(), text("Paused"));
		QVERIFY2(fixture->editor->isReadOnly(), "pausing does not leave read mode");
	}

	// Frames move what is painted and add only what appears: it must look as if painted anew.
	void framesLeaveNothingBehind()
	{
		QVERIFY(QTest::qWaitForWindowExposed(fixture->dock.get()));
		fixture->lines(400);
		fixture->select(100, 100);
		QTest::keyClicks(fixture->editor, "typed");
		fixture->dock->setSpeed(5);
		fixture->dock->command(Command::StartScroll);
		QTRY_VERIFY(fixture->bar()->value() > 40);
		QCoreApplication::sendPostedEvents(); // The last frame may wait to be painted.
		const QImage screen = fixture->dock->screen()->grabWindow(fixture->dock->winId()).toImage();
		QCOMPARE(screen.convertToFormat(QImage::Format_RGB32),
			 fixture->dock->grab().toImage().convertToFormat(QImage::Format_RGB32));
	}

	void holdsAfterTheUserMovesTheText()
	{
		start(5.0);
		QTest::qWait(100);
		fixture->bar()->setValue(500);
		QTest::qWait(800);
		QCOMPARE(fixture->bar()->value(), 500);
		QTRY_VERIFY(fixture->bar()->value() > 500);
		QVERIFY2(fixture->bar()->value() < 510, "it goes on from there without a jump");
	}

	void countsDown()
	{
		fixture->find<QCheckBox>("startCountdown")->setChecked(true);
		fixture->lines(300);
		play()->click();
		QCOMPARE(play()->text(), "3");
		play()->click();
		QCOMPARE(fixture->status(), text("Paused"));
		fixture->dock->command(Command::ToggleScroll);
		QTest::qWait(2800);
		QVERIFY(!isScrolling() && fixture->bar()->value() == 0);
		QTRY_VERIFY_WITH_TIMEOUT(isScrolling(), 500);
	}

	void stopsAtTheEnd()
	{
		start(5.0);
		fixture->bar()->setValue(fixture->bar()->maximum() - 1);
		QTRY_COMPARE(fixture->status(), text("ReachedEnd"));
		QVERIFY(!isScrolling() && fixture->editor->isReadOnly());
		fixture->dock->command(Command::Top);
		QCOMPARE(fixture->bar()->value(), 0);
	}

	void keysInReadMode()
	{
		fixture->lines(400);
		fixture->dock->setLocked(true);
		QTest::keyClick(fixture->editor, Qt::Key_Space);
		QVERIFY(isScrolling());
		QTest::keyClick(fixture->editor, Qt::Key_Plus, Qt::ShiftModifier);
		QTest::keyClick(fixture->editor, Qt::Key_Equal);
		QTest::keyClick(fixture->editor, Qt::Key_Minus);
		QCOMPARE(fixture->dock->speed(), 1.1);
		QTest::keyClick(fixture->editor, Qt::Key_PageDown);
		QVERIFY(!isScrolling() && fixture->bar()->value() > 50);
		QTest::keyClick(fixture->editor, Qt::Key_Home);
		QCOMPARE(fixture->bar()->value(), 0);
		fixture->dock->setLocked(false);
		QTest::keyClick(fixture->editor, Qt::Key_Space);
		QVERIFY(!isScrolling());
		QTest::keyClicks(fixture->editor, "taken from who");
		fixture->dock->setRemoteEditing(true);
		QTest::keyClicks(fixture->editor, "writes it");
		QVERIFY(!isScrolling() && !fixture->dock->isLocked());
		QTest::qWait(2100);
		QTest::keyClick(fixture->editor, Qt::Key_Space);
		QVERIFY(isScrolling());
	}

	void clicksWithAlt()
	{
		fixture->editor->setPlainText("word");
		QWidget *viewport = fixture->editor->viewport();
		QTest::mouseClick(viewport, Qt::LeftButton, Qt::AltModifier, {5, 10});
		QVERIFY(fixture->editor->isReadOnly());
		QTest::mouseClick(viewport, Qt::LeftButton, Qt::AltModifier | Qt::ShiftModifier, {5, 10});
		QCOMPARE(fixture->editor->toPlainText(), "word");
		QTest::mouseClick(viewport, Qt::LeftButton, Qt::AltModifier, {5, 10});
		QTest::mouseClick(viewport, Qt::LeftButton, Qt::AltModifier | Qt::ShiftModifier, {500, 10});
		QCOMPARE(fixture->editor->toPlainText(), "word◆[]");
		QCOMPARE(fixture->editor->textCursor().position(), 6);
	}

	void aNarrowerDockKeepsThePlace()
	{
		fixture->editor->setPlainText(
			QString("many words to read aloud ").repeated(30).append(u'\n').repeated(200));
		QTRY_VERIFY(fixture->bar()->maximum() > 5000);
		fixture->bar()->setValue(fixture->bar()->maximum() / 2);
		const auto readParagraph = [this] {
			const int line = qRound(fixture->editor->viewport()->height() * 0.382);
			return fixture->editor->cursorForPosition({5, line}).blockNumber();
		};
		const int read = readParagraph();
		QVERIFY(read > 50);
		for (const int width : {700, 450, 1000}) {
			fixture->dock->resize(width, 500);
			QTest::qWait(300);
			QCOMPARE(readParagraph(), read);
		}
	}

	void pausesForWhatTakesTheTextAway()
	{
		const auto check = [this](const char *name, const std::function<void()> &cause) {
			start(1.0);
			cause();
			QTRY_VERIFY2(!isScrolling(), name);
			QVERIFY2(!fixture->find<QWidget>("readingBand")->isVisible(), name);
			cleanup();
			init();
		};
		check("hiding", [this] { fixture->dock->hide(); });
		check("leaving read mode", [this] { fixture->dock->setLocked(false); });
		check("remote editing", [this] { fixture->dock->setRemoteEditing(true); });
		check("another scene", [this] { fixture->dock->bindScene(nullptr); });
		check("the search field", [this] { field->setFocus(); });
		check("going to a place", [this] { fixture->dock->goToPosition("50%"); });
		check("the end", [this] { fixture->dock->shutdown(); });
	}

	void matches()
	{
		const auto check = [this](const QString &note, const QString &searchText, int count) {
			fixture->editor->setText(note);
			QCOMPARE(int(findMatches(*fixture->editor->document(), searchText).size()), count);
		};
		check("Say saY\nSAY", "say", 3);
		check("aaaa", "aa", 2);
		check("two\u00a0words", "two words", 1);
		check("one\ntwo", "one\ntwo", 0);
		check("<table><tr><td>one</td><td>One</td></tr></table>", "one", 2);
	}

	void findsWhileTypingAndWhatIsSelected()
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
		fixture->select(4, 7);
		QTest::keyClick(fixture->editor, Qt::Key_F, Qt::ControlModifier);
		QCOMPARE(field->text(), "two");
		QTRY_COMPARE(count(), "1/1");
		fixture->select(11, 11);
		QTest::keyClicks(fixture->editor, " two");
		QTRY_COMPARE(count(), "0/2");
		QCOMPARE(fixture->editor->textCursor().position(), 15);
		fixture->find<QToolButton>("findPrevious")->click();
		QCOMPARE(count(), "2/2");
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
	[[nodiscard]] QToolButton *play() const { return fixture->find<QToolButton>("scrollPlay"); }
	[[nodiscard]] bool isScrolling() const { return play()->text() == text("Pause"); }
	void start(double speed) const
	{
		fixture->lines(400);
		fixture->dock->setSpeed(speed);
		fixture->dock->command(Command::StartScroll);
		QVERIFY(isScrolling());
	}

	std::unique_ptr<DockFixture> fixture;
	QLineEdit *field = nullptr;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::PresenterTest)
#include "presenter_test.moc"
