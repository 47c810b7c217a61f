// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/note_session.hpp"

#include "convert/export_document.hpp"
#include "notes/limits.hpp"

#include <QSet>
#include <QStringBuilder>
#include <QTextBlock>
#include <QTextList>

#include <algorithm>

namespace quillbay {

namespace {

/// Paragraphs on either side that are parsed with those that change: Qt takes some of a paragraph's properties, and of
/// what is inserted, from its neighbour, and reads the first paragraph of a document in its own way.
constexpr qsizetype kNeighbours = 2;
/// A note is parsed twice at most to find out whether it settles.
constexpr int kMaxFailures = 2;
constexpr QLatin1StringView kBlocks("blocks");
constexpr QLatin1StringView kEditable("editable");

QJsonArray elements(const QJsonArray &array, qsizetype first, qsizetype end)
{
	QJsonArray part;
	for (qsizetype i = first; i < end; ++i) {
		part.append(array.at(i));
	}
	return part;
}

// Where the paragraph of that number begins in a raw text; 0 for the one after the last.
qsizetype startOf(QStringView text, qsizetype paragraph)
{
	qsizetype start = 0;
	for (; paragraph > 0; --paragraph) {
		start = text.indexOf(QChar::ParagraphSeparator, start) + 1;
	}
	return start;
}

// From a paragraph's beginning to the end of the one before `end`, without the separator there.
QStringView paragraphs(QStringView text, qsizetype first, qsizetype end)
{
	const QStringView from = text.sliced(startOf(text, first));
	const qsizetype next = startOf(from, end - first);
	return next == 0 ? from : from.first(next - 1);
}

int listsIn(const QTextDocument &document)
{
	QSet<const QTextList *> lists;
	for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
		if (const QTextList *list = block.textList()) {
			lists.insert(list);
		}
	}
	return static_cast<int>(lists.size());
}

// Whether the HTML that the document was parsed from stays as it is when `sent` is applied to it.
bool isSettled(QTextDocument &document, const QString &html, const IncomingDocument &sent, int listsBefore, int lists)
{
	return exportDocument(document, false).value(kEditable).toBool() && listsIn(document) == lists &&
	       differenceOf(document.toRawText(), sent.text()).isEmpty() && edit(document, sent, listsBefore) &&
	       document.toHtml() == html;
}

} // namespace

QJsonObject NoteSession::webDocument(const QString &html)
{
	auto document = parsed(html);
	const QJsonObject exported = document ? exportDocument(*document, false) : QJsonObject();
	remember(html, exported.value(kBlocks).toArray());
	canSettle_ = exported.value(kEditable).toBool();
	failures_ = 0;
	scratch_ = canSettle_ ? std::move(document) : nullptr;
	return exported;
}

bool NoteSession::applyWebDocument(const QString &baseHtml, const QJsonObject &document, QString &html,
				   bool *limitExceeded)
{
	if (baseHtml != html_) {
		remember(baseHtml, {});
	}
	if (canSettle_ && !isSettled_) {
		isSettled_ = canSettle_ = settle();
		failures_ = isSettled_ ? 0 : failures_ + 1;
	}
	if (!isSettled_) {
		return applyWhole(document, html, limitExceeded);
	}
	IncomingDocument incoming;
	const Verdict verdict = incoming.read(document);
	if (limitExceeded) {
		*limitExceeded = verdict == Verdict::OverLimit;
	}
	return verdict == Verdict::Good && (applyInPart(document.value(kBlocks).toArray(), incoming, html) ||
					    applyWhole(document, html, limitExceeded));
}

void NoteSession::remember(const QString &html, const QJsonArray &blocks)
{
	html_ = html;
	blocks_ = blocks;
	scratch_.reset();
	canSettle_ = isSettled_ = false;
	text_.clear();
	slices_ = {};
}

bool NoteSession::applyWhole(const QJsonObject &document, QString &html, bool *limitExceeded)
{
	const auto base = scratch_ ? std::move(scratch_) : parsed(html_);
	QString result;
	if (!applyTo(base.get(), html_, document, result, limitExceeded)) {
		return false;
	}
	remember(result, document.value(kBlocks).toArray());
	canSettle_ = failures_ < kMaxFailures;
	html = result;
	return true;
}

bool NoteSession::settle()
{
	auto document = scratch_ ? std::move(scratch_) : parsed(html_);
	slices_ = HtmlSlices(html_);
	IncomingDocument known;
	if (!document || slices_.count() != document->blockCount() ||
	    known.read({{kBlocks, blocks_}}) != Verdict::Good) {
		scratch_ = std::move(document);
		return false;
	}
	text_ = document->toRawText();
	return quillbay::isSettled(*document, html_, known, 0, slices_.listsBefore(slices_.count()));
}

bool NoteSession::applyInPart(const QJsonArray &blocks, const IncomingDocument &incoming, QString &html)
{
	if (blocks == blocks_) {
		html = html_;
		return true;
	}
	const Extent extent = extentOf(blocks, incoming.text());
	const std::optional<Part> part = partOf(extent, blocks);
	if (!part) {
		return false;
	}
	const qsizetype begin = part->slices.begin(0);
	const qsizetype end = part->slices.begin(part->slices.count());
	const QStringView all(html_);
	const QString result = all.first(slices_.begin(extent.first)) %
			       QStringView(part->html).first(end).sliced(begin) %
			       all.sliced(slices_.begin(extent.oldEnd));
	if (!withinHtmlLimits(result)) {
		return false;
	}
	const qsizetype textBegin = startOf(text_, extent.first);
	const qsizetype textLength = paragraphs(text_, extent.first, extent.oldEnd).size();
	QString text = text_;
	text.replace(textBegin, textLength, part->text);
	remember(result, blocks);
	canSettle_ = isSettled_ = part->isSettled;
	text_ = text;
	slices_ = HtmlSlices(html_);
	html = result;
	++savesInPart_;
	return true;
}

NoteSession::Extent NoteSession::extentOf(const QJsonArray &blocks, const QString &text) const
{
	const qsizetype oldCount = blocks_.size();
	const qsizetype newCount = blocks.size();
	const qsizetype least = std::min(oldCount, newCount);
	qsizetype head = 0;
	while (head < least && blocks.at(head) == blocks_.at(head)) {
		++head;
	}
	qsizetype tail = 0;
	while (tail < least - head && blocks.at(newCount - 1 - tail) == blocks_.at(oldCount - 1 - tail)) {
		++tail;
	}
	Extent extent;
	extent.text = differenceOf(text_, text);
	if (!extent.text.isEmpty()) {
		const QStringView noted(text_);
		head = std::min(head, noted.first(extent.text.start).count(QChar::ParagraphSeparator));
		tail = std::min(tail, noted.sliced(extent.text.oldEnd).count(QChar::ParagraphSeparator));
	}
	extent.first = std::max<qsizetype>(0, head - kNeighbours);
	while (!slices_.standsAlone(extent.first)) {
		--extent.first;
	}
	extent.oldEnd = std::min(oldCount, oldCount - tail + kNeighbours);
	while (!slices_.standsAlone(extent.oldEnd) && extent.oldEnd < oldCount) {
		++extent.oldEnd;
	}
	extent.newEnd = newCount - (oldCount - extent.oldEnd);
	extent.leading = head - extent.first;
	extent.trailing = extent.oldEnd - (oldCount - tail);
	return extent;
}

// Nothing where the part cannot stand for the whole.
std::optional<NoteSession::Part> NoteSession::partOf(const Extent &extent, const QJsonArray &blocks) const
{
	const QStringView all(html_);
	const QString before = all.first(slices_.begin(0)) %
			       all.first(slices_.begin(extent.oldEnd)).sliced(slices_.begin(extent.first)) % kHtmlTail;
	const int listsBefore = slices_.listsBefore(extent.first);
	const int lists = slices_.listsBefore(extent.oldEnd) - listsBefore;
	const QJsonArray sentBlocks = elements(blocks, extent.first, extent.newEnd);
	const QStringView noted = paragraphs(text_, extent.first, extent.oldEnd);
	const qsizetype offset = noted.begin() - QStringView(text_).begin();
	const auto document = parsed(before);
	IncomingDocument sent;
	if (!document || document->toRawText() != noted || listsIn(*document) != lists ||
	    sent.read({{kBlocks, sentBlocks}}) != Verdict::Good ||
	    !differenceOf(noted, sent.text()).isSame(extent.text, offset)) {
		return {};
	}
	// The note as it is, in other words than before, is to be left alone.
	const bool isAsNoted = exportDocument(*document, false, listsBefore).value(kBlocks) == sentBlocks;
	if (!edit(*document, sent, listsBefore)) {
		return {};
	}
	Part part;
	part.html = document->toHtml();
	part.slices = HtmlSlices(part.html);
	if ((isAsNoted && part.html != before) || part.slices.count() != sentBlocks.size() ||
	    !isNeighbourhoodKept(extent, before, part)) {
		return {};
	}
	const auto again = parsed(part.html);
	part.text = again ? again->toRawText() : QString();
	part.isSettled = again && part.slices.listsBefore(part.slices.count()) == lists &&
			 quillbay::isSettled(*again, part.html, sent, listsBefore, lists);
	return part;
}

bool NoteSession::isNeighbourhoodKept(const Extent &extent, const QString &before, const Part &part) const
{
	const qsizetype moved = slices_.begin(extent.first) - slices_.begin(0);
	const qsizetype leadingEnd = slices_.begin(extent.first + extent.leading) - moved;
	const qsizetype trailingBegin = slices_.begin(extent.oldEnd - extent.trailing) - moved;
	const qsizetype newTrailingBegin = part.slices.begin(part.slices.count() - extent.trailing);
	return part.slices.begin(extent.leading) == leadingEnd &&
	       QStringView(before).first(leadingEnd) == QStringView(part.html).first(leadingEnd) &&
	       QStringView(before).sliced(trailingBegin) == QStringView(part.html).sliced(newTrailingBegin);
}

} // namespace quillbay
