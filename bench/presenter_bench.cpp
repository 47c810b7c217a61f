// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the dock adds to Qt's own work while a note is read on air: frames of the teleprompter, the search, moves of
// the caret and a change of the theme; and how exactly the text follows the clock.

#include "bench.hpp"

#include "dock/matches.hpp"
#include "dock/speed.hpp"
#include "host/dock_fixture.hpp"

#include <QAction>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QTextBlock>
#include <QToolButton>

namespace quillbay::bench {

namespace {

constexpr double kFrameBudget = 1.2;
constexpr double kSearchBudget = 3.0;
constexpr double kPositionBudget = 1.0;
/// The dock's caret in the full note against the small note, and that against the same in a stock editor.
constexpr double kGrowthBudget = 1.25;

using test::DockFixture;

void open(const DockFixture &fixture, const QString &html)
{
	if (!fixture.dock->applyRemoteHtml(fixture.scene, html)) {
		qFatal("the note could not be stored");
	}
	layOut(*fixture.editor);
	paint();
}

// The start of a note, so that only the number of paragraphs differs.
QString startOf(const Case &note, int paragraphs)
{
	QTextDocument document;
	document.setLayoutEnabled(false);
	document.setHtml(note.html);
	QTextCursor cursor(document.findBlockByNumber(std::min(paragraphs, document.blockCount() - 1)));
	cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
	cursor.removeSelectedText();
	return document.toHtml();
}

double scrollOnePixel(const QTextEdit &edit)
{
	return milliseconds([&edit] {
		edit.verticalScrollBar()->setValue(edit.verticalScrollBar()->value() + 1);
		paint();
	});
}

bool compareFrames(const Case &note)
{
	const DockFixture fixture;
	showExposed(*fixture.dock);
	open(fixture, note.html);

	QWidget window;
	window.resize(fixture.dock->size());
	QTextEdit stock(&window);
	stock.setGeometry(QRect(fixture.editor->mapTo(fixture.dock.get(), QPoint()), fixture.editor->size()));
	stock.document()->setDefaultStyleSheet(kStyle);
	stock.document()->setDefaultFont(fixture.editor->document()->defaultFont());
	stock.setWordWrapMode(fixture.editor->wordWrapMode());
	stock.setHtml(note.html);
	stock.setReadOnly(true);
	showExposed(window);
	layOut(stock);

	for (QTextEdit *edit : {static_cast<QTextEdit *>(fixture.editor), &stock}) {
		edit->verticalScrollBar()->setValue(edit->verticalScrollBar()->maximum() / 2);
	}
	fixture.dock->startScroll();
	paint();
	if (!fixture.find<QWidget>("readingBand")->isVisible()) {
		qFatal("the note does not scroll");
	}
	const auto frames = [&](const char *what) {
		return compare(
			what, note.name, kFrameBudget, 301, [&] { return scrollOnePixel(*fixture.editor); },
			[&] { return scrollOnePixel(stock); });
	};
	const bool isWithin = frames("frame+band");
	fixture.find<QToolButton>("readingGuide")->defaultAction()->setChecked(false);
	return frames("frame") && isWithin;
}

// How far the text has been from where the clock wants it, at every step.
bool followsClock(const QString &html, const char *size, double speed, int seconds)
{
	const DockFixture fixture;
	open(fixture, html);
	QScrollBar &bar = *fixture.bar();
	fixture.dock->setSpeed(speed);
	QElapsedTimer clock;
	double error = 0;
	int steps = 0;
	int before = 0;
	int longest = 0;
	const auto measure = [&](int value) {
		const double wanted = static_cast<double>(clock.nsecsElapsed()) / 1e9 * kBaseSpeed * speed;
		// The scroll bar holds the whole part of the position.
		error = std::max({error, value - wanted, wanted - (value + 1)});
		longest = std::max(longest, value - before);
		before = value;
		++steps;
	};
	fixture.dock->startScroll();
	clock.start();
	QObject::connect(&bar, &QScrollBar::valueChanged, &bar, measure);
	QTest::qWait(seconds * 1000);
	measure(bar.value());
	if (bar.value() >= bar.maximum()) {
		qFatal("the note is too short");
	}
	const bool isWithin = error <= kPositionBudget;
	std::printf("%-10s %s  speed %.1f, %d s: off by %.2f px at most, %d steps of up to %d px, budget %.2f px%s\n",
		    "position", size, speed, seconds, error, steps, longest, kPositionBudget, isWithin ? "" : "  OVER");
	std::fflush(stdout);
	return isWithin;
}

bool compareSearches(const Case &note)
{
	QTextDocument document;
	document.setLayoutEnabled(false);
	document.setHtml(note.html);
	const QString wanted = document.toPlainText().left(2).toUpper();
	std::size_t found = 0;
	const auto list = [&] { return milliseconds([&] { found = findMatches(document, wanted).size(); }); };
	std::size_t scanned = 0;
	const auto scan = [&] {
		return milliseconds([&] {
			const QString plain = document.toPlainText();
			scanned = 0;
			for (qsizetype at = plain.indexOf(wanted, 0, Qt::CaseInsensitive); at >= 0;
			     at = plain.indexOf(wanted, at + wanted.size(), Qt::CaseInsensitive)) {
				++scanned;
			}
		});
	};
	const bool isWithin = compare("search", note.name, kSearchBudget, 31, list, scan);
	if (found == 0 || found != scanned) {
		qFatal("the searches differ");
	}
	return isWithin;
}

double caretMove(QTextEdit &edit)
{
	layOut(edit);
	edit.setTextCursor(QTextCursor(edit.document()->findBlockByNumber(edit.document()->blockCount() / 2)));
	edit.ensureCursorVisible();
	paint();
	std::vector<double> times;
	for (int i = 0; i < 301; ++i) {
		times.push_back(milliseconds([&edit] {
			QKeyEvent event(QEvent::KeyPress, Qt::Key_Right, Qt::NoModifier);
			QCoreApplication::sendEvent(&edit, &event);
			paint();
		}));
	}
	return median(times);
}

double caretMoveInDock(const QString &html)
{
	const DockFixture fixture;
	showExposed(*fixture.dock);
	open(fixture, html);
	return caretMove(*fixture.editor);
}

double caretMoveInStock(const QString &html)
{
	QTextEdit stock;
	stock.document()->setDefaultStyleSheet(kStyle);
	stock.resize(1000, 400);
	stock.setHtml(html);
	showExposed(stock);
	stock.setFocus();
	return caretMove(stock);
}

double themeChange(const QString &html)
{
	const DockFixture fixture;
	showExposed(*fixture.dock);
	open(fixture, html);
	std::vector<double> times;
	for (int i = 0; i < 10; ++i) {
		const QPalette palette(i % 2 == 0 ? QColor(45, 45, 48) : QColor(240, 240, 240));
		times.push_back(milliseconds([&] {
			fixture.dock->setPalette(palette);
			paint();
		}));
	}
	return median(times);
}

// Whatever Qt's own caret costs more in a full note is not ours.
bool compareSizes(const Case &note)
{
	const QString small = startOf(note, 100);
	std::vector<double> growths;
	for (int i = 0; i < 3; ++i) {
		const double few = caretMoveInDock(small);
		const double many = caretMoveInDock(note.html);
		const double stockFew = caretMoveInStock(small);
		const double stockMany = caretMoveInStock(note.html);
		growths.push_back(many / few / std::max(stockMany / stockFew, 1.0));
		std::printf("%-10s %s  full %8.3f ms, small %8.3f ms; Qt %8.3f ms, %8.3f ms\n", "caret", note.name,
			    many, few, stockMany, stockFew);
	}
	const double growth = median(growths);
	const bool isWithin = growth <= kGrowthBudget;
	std::printf("%-10s %s  growth %.2f of Qt's, budget %.2f%s\n", "caret", note.name, growth, kGrowthBudget,
		    isWithin ? "" : "  OVER");
	std::printf("%-10s %s  full %8.3f ms, small %8.3f ms\n", "theme", note.name, themeChange(note.html),
		    themeChange(small));
	std::fflush(stdout);
	return isWithin;
}

bool run(const std::vector<Case> &notes, int seconds)
{
	bool isWithin = true;
	for (const Case &note : notes) {
		isWithin = compareFrames(note) && isWithin;
		isWithin = compareSearches(note) && isWithin;
		isWithin = compareSizes(note) && isWithin;
	}
	const QString small = savedHtml(200, prose(60));
	for (const double speed : {1.0, 2.5, 5.0}) {
		isWithin = followsClock(small, "small", speed, seconds) && isWithin;
		isWithin = followsClock(notes.back().html, "full ", speed, seconds) && isWithin;
	}
	return isWithin;
}

} // namespace

} // namespace quillbay::bench

int main(int argc, char *argv[])
{
	using namespace quillbay;
	const QApplication application(argc, argv);
	QCommandLineParser parser;
	const QCommandLineOption length(QStringLiteral("seconds"), QStringLiteral("Length of a scrolling run."),
					QStringLiteral("seconds"), QStringLiteral("20"));
	parser.addOption(length);
	parser.addHelpOption();
	parser.process(application);
	const QStringList names = parser.positionalArguments();
	const test::Host host;
	std::vector<bench::Case> notes = bench::cases();
	std::erase_if(notes, [&names](const bench::Case &note) {
		return !names.isEmpty() && !names.contains(QLatin1StringView(note.name));
	});
	return !notes.empty() && bench::run(notes, parser.value(length).toInt()) ? 0 : 1;
}
