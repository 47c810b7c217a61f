// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the dock adds to Qt's own work when it opens, edits and saves a note, and that it rests when nothing happens.

#include "bench.hpp"

#include "host/dock_fixture.hpp"

#include <QKeyEvent>
#include <QSaveFile>
#include <QTextBlock>

#include <cstring>

namespace quillbay::bench {

namespace {

constexpr double kBindBudget = 1.25;
constexpr double kFlushBudget = 1.2;
/// At every key the dock also shows the count of characters and the format at the caret.
constexpr double kKeyBudget = 1.5;
constexpr int kRestMilliseconds = 3000;

using test::DockFixture;

QTextCursor middleOf(const QTextDocument &document)
{
	QTextCursor cursor(document.findBlockByNumber(document.blockCount() / 2));
	cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::MoveAnchor, 4);
	return cursor;
}

void press(QTextEdit &edit, int key, const QString &typed)
{
	QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, typed);
	QCoreApplication::sendEvent(&edit, &event);
	paint();
}

void changeWord(const QTextEdit &edit)
{
	QTextCursor cursor = middleOf(*edit.document());
	cursor.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor, 4);
	cursor.insertText(cursor.selectedText() == QLatin1StringView("word") ? QStringLiteral("text")
									     : QStringLiteral("word"));
	paint();
}

double saveAsQtDoes(const QTextDocument &document, const QString &path, const QByteArray &bytes)
{
	return milliseconds([&] {
		const QString html = document.toHtml();
		QSaveFile file(path);
		if (html.isEmpty() || !file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() ||
		    !file.commit()) {
			qFatal("the file could not be written");
		}
	});
}

bool compareKeys(const char *name, QTextEdit &ours, QTextEdit &stock)
{
	const auto type = [](QTextEdit &edit) {
		const double time = milliseconds([&edit] { press(edit, Qt::Key_X, QStringLiteral("x")); });
		press(edit, Qt::Key_Backspace, QStringLiteral("\b"));
		return time;
	};
	for (QTextEdit *edit : {&ours, &stock}) {
		layOut(*edit);
		edit->setTextCursor(middleOf(*edit->document()));
		edit->ensureCursorVisible();
	}
	paint();
	return compare("dock key", name, kKeyBudget, 101, [&] { return type(ours); }, [&] { return type(stock); });
}

bool compareCase(const Case &note)
{
	DockFixture fixture;
	Dock &dock = *fixture.dock;
	showExposed(dock);
	if (!dock.applyRemoteHtml(fixture.scene, note.html)) {
		qFatal("the note could not be stored");
	}
	QTextEdit stock;
	stock.document()->setDefaultStyleSheet(kStyle);
	stock.document()->setDefaultFont(fixture.editor->document()->defaultFont());
	stock.setWordWrapMode(fixture.editor->wordWrapMode());
	stock.resize(fixture.editor->viewport()->size());
	showExposed(stock);

	const OBSSource empty = test::makeScene(QStringLiteral("Empty")).Get();
	const auto bind = [&] {
		dock.bindScene(empty);
		paint();
		return milliseconds([&] {
			dock.bindScene(fixture.scene);
			paint();
		});
	};
	const auto setHtml = [&] {
		stock.clear();
		paint();
		return milliseconds([&] {
			stock.setHtml(note.html);
			paint();
		});
	};
	bool isWithin = compare("bind", note.name, kBindBudget, 7, bind, setHtml);
	isWithin = compareKeys(note.name, *fixture.editor, stock) && isWithin;

	const auto flush = [&] {
		changeWord(*fixture.editor);
		return milliseconds([&dock] {
			if (!dock.flush(true, true)) {
				qFatal("the note could not be saved");
			}
		});
	};
	flush();
	const QString path = dock.store().filePath(fixture.scene);
	const QByteArray bytes = test::readFile(path);
	const auto save = [&] {
		changeWord(*fixture.editor);
		return saveAsQtDoes(*fixture.editor->document(), path + QStringLiteral(".qt"), bytes);
	};
	return compare("flush", note.name, kFlushBudget, 15, flush, save) && isWithin;
}

// Counts the timers that fire, but for the blinking caret and the like of Qt's own.
class TimerCounter : public QObject {
public:
	bool eventFilter(QObject *watched, QEvent *event) override
	{
		if (event->type() == QEvent::Timer) {
			const char *name = watched->metaObject()->className();
			count += std::strcmp(name, "QWidgetTextControl") == 0 ? 0 : 1;
		}
		return false;
	}
	int count = 0;
};

bool rests(const Case &note)
{
	DockFixture fixture;
	fixture.dock->applyRemoteHtml(fixture.scene, note.html);
	layOut(*fixture.editor);
	QTest::qWait(kRestMilliseconds);
	TimerCounter counter;
	qApp->installEventFilter(&counter);
	QEventLoop loop;
	QTimer end;
	end.setSingleShot(true);
	QObject::connect(&end, &QTimer::timeout, &loop, &QEventLoop::quit);
	end.start(kRestMilliseconds);
	loop.exec();
	const int count = counter.count - 1; // but for the end
	std::printf("%-10s %s  %d timers in %d ms, budget 0\n", "rest", note.name, count, kRestMilliseconds);
	return count == 0;
}

} // namespace

} // namespace quillbay::bench

int main(int argc, char *argv[])
{
	using namespace quillbay;
	const QApplication application(argc, argv);
	const test::Host host;
	const std::vector<bench::Case> notes = bench::wantedCases();
	bool isWithin = true;
	for (const bench::Case &note : notes) {
		isWithin = bench::compareCase(note) && isWithin;
	}
	return bench::rests(notes.front()) && isWithin ? 0 : 1;
}
