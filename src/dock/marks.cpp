// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/marks.hpp"

#include "dock/style.hpp"

#include <QTextBlock>

#include <algorithm>

namespace quillbay {

namespace {

// Where the mark that starts at `start` ends.
qsizetype markEnd(const QString &paragraph, qsizetype start)
{
	const qsizetype afterMark = start + 1;
	if (afterMark >= paragraph.size() || paragraph[afterMark] != QLatin1Char('[')) {
		return afterMark;
	}
	const qsizetype closing = paragraph.indexOf(QLatin1Char(']'), afterMark + 1);
	if (closing < 0) {
		return afterMark;
	}
	const QStringView note = QStringView(paragraph).sliced(afterMark + 1, closing - afterMark - 1);
	const bool isWhole = !note.contains(kMark) && !note.contains(QChar::LineSeparator);
	return isWhole ? closing + 1 : afterMark;
}

} // namespace

QTextCursor markAt(const QTextCursor &cursor)
{
	const QTextBlock block = cursor.block();
	const QString paragraph = block.text();
	const qsizetype offset = cursor.positionInBlock();
	const qsizetype from = std::min(offset, paragraph.size() - 1);
	const qsizetype start = from < 0 ? -1 : paragraph.lastIndexOf(kMark, from);
	if (start < 0) {
		return {};
	}
	const qsizetype end = markEnd(paragraph, start);
	if (offset > end) {
		return {};
	}
	QTextCursor mark = cursor;
	mark.setPosition(block.position() + static_cast<int>(start));
	mark.setPosition(block.position() + static_cast<int>(end), QTextCursor::KeepAnchor);
	return mark;
}

QBrush neighbourForeground(const QTextCursor &mark)
{
	const QTextBlock block = mark.block();
	const bool endsParagraph = mark.selectionEnd() == block.position() + block.length() - 1;
	if (endsParagraph && mark.selectionStart() == block.position()) {
		return {};
	}
	// A cursor's format is that of the character before it.
	QTextCursor neighbour = mark;
	neighbour.setPosition(endsParagraph ? mark.selectionStart() : mark.selectionEnd() + 1);
	return neighbour.charFormat().foreground();
}

QColor markColor(const QPalette &palette)
{
	return isDark(palette) ? QColor(0xff, 0xb3, 0x47) : QColor(0xb8, 0x5b, 0x00);
}

} // namespace quillbay
