// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QString>
#include <QTextDocument>
#include <QTextEdit>
#include <QtTest>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace quillbay::bench {

inline const QString kStyle = QStringLiteral("p, li { line-height: 140%; }");

/// A note at the limits.
struct Case {
	const char *name;
	/// As an editor saves it.
	QString html;
};

/// `count` characters of prose.
inline QString prose(int count)
{
	const QString sentence = QStringLiteral("Good evening and welcome to the show, here are the news of the day. ");
	return sentence.repeated(count / static_cast<int>(sentence.size()) + 1).left(count);
}

inline QString savedHtml(int paragraphs, const QString &content)
{
	QTextDocument document;
	document.setLayoutEnabled(false);
	document.setDefaultStyleSheet(kStyle);
	document.setHtml((QStringLiteral("<p>") + content + QStringLiteral("</p>")).repeated(paragraphs));
	return document.toHtml();
}

/// A: paragraphs of a line or two; B: as many paragraphs as there may be; C: A in 100,000 runs of bold and plain
/// text; D: paragraphs as long as they may be.
inline std::vector<Case> cases()
{
	const QString run = QStringLiteral("<b>ab</b>cd");
	return {{"A", savedHtml(2'000, prose(99))},
		{"B", savedHtml(20'000, prose(9))},
		{"C", savedHtml(2'000, run.repeated(24) + QStringLiteral("<b>ab</b>c"))},
		{"D", savedHtml(20, prose(9'990))}};
}

/// The cases that the command line names, or all of them.
inline std::vector<Case> wantedCases()
{
	std::vector<Case> wanted = cases();
	const QStringList names = QCoreApplication::arguments().mid(1);
	std::erase_if(wanted, [&names](const Case &note) {
		return !names.isEmpty() && !names.contains(QLatin1StringView(note.name));
	});
	return wanted;
}

template <typename Action>
double milliseconds(const Action &action)
{
	QElapsedTimer clock;
	clock.start();
	action();
	return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

/// Paints what is waiting to be painted, and nothing that waits for a timer.
inline void paint()
{
	QCoreApplication::sendPostedEvents();
}

inline void showExposed(QWidget &widget)
{
	widget.show();
	if (!QTest::qWaitForWindowExposed(&widget)) {
		qFatal("the window is not shown");
	}
}

inline void layOut(const QTextEdit &edit)
{
	(void)edit.document()->size();
}

inline double median(std::vector<double> values)
{
	const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
	std::nth_element(values.begin(), middle, values.end());
	return *middle;
}

/// Both run in turns, so that the machine's other work meets both; each returns its milliseconds. Prints the medians
/// and the median of the turns' ratios, which must not be over the budget.
template <typename Ours, typename Peers>
bool compare(const char *name, const char *caseName, double budget, int rounds, const Ours &ours, const Peers &peers,
	     const char *peer = "Qt")
{
	std::vector<double> ourTimes;
	std::vector<double> peerTimes;
	std::vector<double> ratios;
	ours();
	peers();
	for (int i = 0; i < rounds; ++i) {
		const bool isOursFirst = i % 2 == 0;
		const double first = isOursFirst ? ours() : peers();
		const double second = isOursFirst ? peers() : ours();
		ourTimes.push_back(isOursFirst ? first : second);
		peerTimes.push_back(isOursFirst ? second : first);
		ratios.push_back(ourTimes.back() / peerTimes.back());
	}
	const double ratio = median(ratios);
	const bool isWithin = ratio <= budget;
	std::printf("%-10s %s  ours %8.3f ms, %s %8.3f ms, ratio %.2f, budget %.2f%s\n", name, caseName,
		    median(ourTimes), peer, median(peerTimes), ratio, budget, isWithin ? "" : "  OVER");
	std::fflush(stdout);
	return isWithin;
}

/// A program that measures the wanted cases; its exit code is 1 when one is over its budget.
template <typename CompareCase>
int runWantedCases(int argc, char *argv[], const CompareCase &compareCase)
{
	const QApplication application(argc, argv);
	bool isWithin = true;
	for (const Case &note : wantedCases()) {
		isWithin = compareCase(note) && isWithin;
	}
	return isWithin ? 0 : 1;
}

} // namespace quillbay::bench
