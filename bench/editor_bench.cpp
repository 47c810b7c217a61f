// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The editor beside a stock QTextEdit with the same note, style and width of text.

#include "bench.hpp"

#include "editor/editor.hpp"
#include "notes/limits.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>

namespace quillbay::bench {

namespace {

constexpr double kKeyBudget = 1.15;
constexpr double kScrollBudget = 1.2;
constexpr double kOpenBudget = 1.25;
constexpr QSize kSize(900, 600);

void press(QTextEdit &edit, int key, const QString &typed)
{
	QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, typed);
	QCoreApplication::sendEvent(&edit, &event);
	paint();
}

double typeLetter(QTextEdit &edit)
{
	const double time = milliseconds([&edit] { press(edit, Qt::Key_X, QStringLiteral("x")); });
	press(edit, Qt::Key_Backspace, QStringLiteral("\b"));
	return time;
}

double splitParagraph(QTextEdit &edit)
{
	const double time = milliseconds([&edit] { press(edit, Qt::Key_Return, QStringLiteral("\r")); });
	press(edit, Qt::Key_Backspace, QStringLiteral("\b"));
	return time;
}

double scroll(QTextEdit &edit)
{
	QScrollBar *bar = edit.verticalScrollBar();
	return milliseconds([bar] {
		bar->setValue(bar->value() + 1);
		paint();
	});
}

void goToMiddle(QTextEdit &edit)
{
	layOut(edit);
	const QTextDocument *document = edit.document();
	QTextCursor cursor(document->findBlockByNumber(document->blockCount() / 2));
	cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::MoveAnchor, 5);
	edit.setTextCursor(cursor);
	edit.ensureCursorVisible();
	edit.setFocus();
	paint();
}

bool compareCase(const Case &note)
{
	Editor ours;
	ours.resize(kSize);
	showExposed(ours);
	if (!withinHtmlLimits(note.html)) {
		std::printf("%s is refused\n", note.name);
		return false;
	}
	ours.loadHtml(note.html);
	paint();
	QTextEdit stock;
	stock.document()->setDefaultStyleSheet(kStyle);
	stock.setWordWrapMode(ours.wordWrapMode());
	stock.resize(kSize.width() - ours.viewport()->x() + ours.frameWidth(), kSize.height());
	showExposed(stock);

	const auto open = [&] {
		return milliseconds([&] {
			if (withinHtmlLimits(note.html)) {
				ours.loadHtml(note.html);
			}
			paint();
		});
	};
	const auto openStock = [&] {
		return milliseconds([&] {
			stock.setHtml(note.html);
			paint();
		});
	};
	bool isWithin = compare("open", note.name, kOpenBudget, 7, open, openStock);
	const auto both = [&](const char *name, double budget, double (*act)(QTextEdit &)) {
		goToMiddle(ours);
		goToMiddle(stock);
		const auto run = [&] { return act(ours); };
		const auto runStock = [&] { return act(stock); };
		isWithin = compare(name, note.name, budget, 101, run, runStock) && isWithin;
	};
	both("key", kKeyBudget, typeLetter);
	if (ours.document()->blockCount() < kMaxParagraphs) {
		both("return", kKeyBudget, splitParagraph);
	}
	both("scroll", kScrollBudget, scroll);
	return isWithin;
}

} // namespace

} // namespace quillbay::bench

int main(int argc, char *argv[])
{
	return quillbay::bench::runWantedCases(argc, argv, quillbay::bench::compareCase);
}
