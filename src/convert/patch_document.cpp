// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/patch_document.hpp"

#include "convert/html_slices.hpp"
#include "notes/note_document.hpp"

#include <QStringBuilder>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextList>

#include <algorithm>
#include <memory>
#include <optional>

namespace quillbay {

namespace {

/// Paragraphs on either side that are parsed with those that change: Qt reads a document's first one in its own way.
constexpr qsizetype kNeighbours = 2;
/// More paragraphs are loaded quicker with the whole note than changed one by one.
constexpr qsizetype kMaxPatched = 1000;

/// Paragraphs of the old and the new note.
struct Change {
	qsizetype first = 0;
	qsizetype oldEnd = 0;
	qsizetype newEnd = 0;
};

/// A note's HTML and where its paragraphs stand in it.
struct Sliced {
	explicit Sliced(const QString &html) : text(html), slices(html) {}

	QStringView text;
	HtmlSlices slices;
};

// The first paragraph that begins at `position` or later.
qsizetype sliceFrom(const HtmlSlices &slices, qsizetype position)
{
	qsizetype low = 0;
	qsizetype high = slices.count();
	while (low < high) {
		const qsizetype middle = (low + high) / 2;
		if (slices.begin(middle) < position) {
			low = middle + 1;
		} else {
			high = middle;
		}
	}
	return low;
}

// The fewest paragraphs, and at least one of each note, with all that differs.
std::optional<Change> changeOf(const Sliced &before, const Sliced &after)
{
	const auto [oldMark, newMark] =
		std::mismatch(before.text.begin(), before.text.end(), after.text.begin(), after.text.end());
	const qsizetype same = oldMark - before.text.begin();
	const qsizetype least = std::min(before.text.size(), after.text.size()) - same;
	qsizetype tail = 0;
	while (tail < least && before.text[before.text.size() - 1 - tail] == after.text[after.text.size() - 1 - tail]) {
		++tail;
	}
	const qsizetype oldCount = before.slices.count();
	Change change;
	change.first = sliceFrom(before.slices, same + 1) - 1;
	change.oldEnd = sliceFrom(before.slices, before.text.size() - tail);
	change.newEnd = after.slices.count() - (oldCount - change.oldEnd);
	if (change.first > 0 && std::min(change.oldEnd, change.newEnd) <= change.first) {
		--change.first;
	}
	const bool isWhole = oldCount > 0 && change.first >= 0 &&
			     std::min(change.oldEnd, change.newEnd) > change.first &&
			     before.slices.begin(change.first) == after.slices.begin(change.first) &&
			     before.text.size() - before.slices.begin(change.oldEnd) ==
				     after.text.size() - after.slices.begin(change.newEnd);
	return isWhole ? std::optional(change) : std::nullopt;
}

std::unique_ptr<QTextDocument> parsedPart(const QTextDocument &shown, const Sliced &note, qsizetype first,
					  qsizetype end)
{
	auto part = NoteDocument::makeScratch();
	part->setDefaultFont(shown.defaultFont());
	part->setDefaultStyleSheet(shown.defaultStyleSheet());
	part->setHtml(note.text.first(note.slices.begin(0)) %
		      note.text.first(note.slices.begin(end)).sliced(note.slices.begin(first)) % kHtmlTail);
	return part->blockCount() == end - first ? std::move(part) : nullptr;
}

bool isSameItem(const QTextBlock &one, const QTextBlock &other)
{
	const QTextList *list = one.textList();
	const QTextList *otherList = other.textList();
	if (!list || !otherList) {
		return !list && !otherList;
	}
	return list->format().style() == otherList->format().style() &&
	       list->format().indent() == otherList->format().indent() &&
	       list->format().start() == otherList->format().start() &&
	       list->itemNumber(one) == otherList->itemNumber(other);
}

// Whether the paragraphs are those that the document shows, and stand in their lists as the new ones do.
bool canPatch(QTextBlock shown, QTextBlock old, QTextBlock wanted, const Change &change)
{
	const qsizetype oldCount = change.oldEnd - change.first;
	const qsizetype newCount = change.newEnd - change.first;
	for (qsizetype i = 0; i < std::max(oldCount, newCount); ++i) {
		const bool isBoth = i < std::min(oldCount, newCount);
		const bool hasList = (i < oldCount && old.textList()) || (i < newCount && wanted.textList());
		if ((hasList && oldCount != newCount) || (isBoth && !isSameItem(old, wanted)) ||
		    (i < oldCount && (shown.text() != old.text() || !shown.textList() != !old.textList()))) {
			return false;
		}
		shown = shown.next();
		old = old.next();
		wanted = wanted.next();
	}
	return true;
}

void setParagraph(const QTextBlock &shown, const QTextBlock &wanted)
{
	QTextCursor cursor(shown);
	cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
	cursor.removeSelectedText();
	QTextBlockFormat format = wanted.blockFormat();
	format.setObjectIndex(shown.blockFormat().objectIndex()); // its list
	cursor.setBlockFormat(format);
	cursor.setBlockCharFormat(wanted.charFormat());
	for (auto fragment = wanted.begin(); !fragment.atEnd(); ++fragment) {
		cursor.insertText(fragment.fragment().text(), fragment.fragment().charFormat());
	}
}

void patch(QTextDocument &shown, QTextBlock wanted, const Change &change)
{
	const auto block = [&shown](qsizetype number) { return shown.findBlockByNumber(static_cast<int>(number)); };
	QTextCursor edit(&shown);
	edit.beginEditBlock();
	QTextCursor cursor(block(std::min(change.oldEnd, change.newEnd) - 1));
	cursor.movePosition(QTextCursor::EndOfBlock);
	if (change.newEnd < change.oldEnd) {
		const QTextBlock last = block(change.oldEnd - 1);
		cursor.setPosition(last.position() + last.length() - 1, QTextCursor::KeepAnchor);
		cursor.removeSelectedText();
	}
	for (qsizetype i = change.oldEnd; i < change.newEnd; ++i) {
		cursor.insertBlock();
	}
	for (qsizetype i = change.first; i < change.newEnd; ++i) {
		setParagraph(block(i), wanted);
		wanted = wanted.next();
	}
	edit.endEditBlock();
}

} // namespace

bool patchDocument(QTextDocument &shown, const QString &before, const QString &after)
{
	const Sliced from(before);
	const Sliced to(after);
	const std::optional<Change> change = changeOf(from, to);
	if (!change || shown.blockCount() != from.slices.count()) {
		return false;
	}
	qsizetype first = std::max<qsizetype>(0, change->first - kNeighbours);
	while (!from.slices.standsAlone(first)) {
		--first;
	}
	const qsizetype grown = change->newEnd - change->oldEnd;
	qsizetype end = std::min(from.slices.count(), change->oldEnd + kNeighbours);
	while (end < from.slices.count() && !(from.slices.standsAlone(end) && to.slices.standsAlone(end + grown))) {
		++end;
	}
	if (std::max(end, end + grown) - first > kMaxPatched) {
		return false;
	}
	const auto old = parsedPart(shown, from, first, end);
	const auto wanted = parsedPart(shown, to, first, end + grown);
	if (!old || !wanted) {
		return false;
	}
	const int offset = static_cast<int>(change->first - first);
	const QTextBlock start = shown.findBlockByNumber(static_cast<int>(change->first));
	if (!canPatch(start, old->findBlockByNumber(offset), wanted->findBlockByNumber(offset), *change)) {
		return false;
	}
	patch(shown, wanted->findBlockByNumber(offset), *change);
	return true;
}

} // namespace quillbay
