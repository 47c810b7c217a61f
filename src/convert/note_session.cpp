// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/note_session.hpp"

#include "convert/export_document.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"

#include <QSet>
#include <QStringBuilder>
#include <QTextBlock>
#include <QTextList>

#include <algorithm>

namespace quillbay {

namespace {

/// Paragraphs on either side that are parsed with those that change: Qt takes some of a paragraph's properties, and of
/// what is inserted, from its neighbour, and reads the first paragraph of a document in its own way.
constexpr qsizetype kNeighbours = 1;
/// A note is parsed twice at most to find out whether it settles.
constexpr int kMaxFailures = 2;
/// Characters of HTML, far below those that make it ruinous by themselves.
constexpr qsizetype kSmallHtml = 8 * 1024 * 1024;
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

// Where the paragraph of that number begins in a text; 0 for the one after the last.
qsizetype startOf(QStringView text, qsizetype paragraph, QChar separator)
{
	qsizetype start = 0;
	for (; paragraph > 0; --paragraph) {
		start = text.indexOf(separator, start) + 1;
	}
	return start;
}

// From a paragraph's beginning to the end of the one before `end`, without the separator there.
QStringView paragraphs(QStringView text, qsizetype first, qsizetype end, QChar separator = QChar::ParagraphSeparator)
{
	const QStringView from = text.sliced(startOf(text, first, separator));
	const qsizetype next = startOf(from, end - first, separator);
	return next == 0 ? from : from.first(next - 1);
}

// Whether two pieces of what Qt has written differ in their texts only. It writes no quotes outside of tags, so what
// holds one is no text.
bool haveSameTags(QStringView one, QStringView other)
{
	while (true) {
		const qsizetype begin = one.indexOf(u'<');
		const qsizetype otherBegin = other.indexOf(u'<');
		const bool isLast = begin < 0 || otherBegin < 0;
		const bool isText = !one.first(std::max<qsizetype>(begin, 0)).contains(u'"') &&
				    !other.first(std::max<qsizetype>(otherBegin, 0)).contains(u'"');
		if (isLast || !isText) {
			return isLast && begin == otherBegin;
		}
		const qsizetype length = one.indexOf(u'>', begin) - begin;
		if (length < 0 || one.sliced(begin, length) !=
					  other.sliced(otherBegin).first(std::min(length, other.size() - otherBegin))) {
			return false;
		}
		one = one.sliced(begin + length);
		other = other.sliced(otherBegin + length);
	}
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

void NoteSession::prepareSaves()
{
	if (canSettle_ && !isSettled_) {
		isSettled_ = canSettle_ = settle();
		failures_ = isSettled_ ? 0 : failures_ + 1;
	}
}

bool NoteSession::applyWebDocument(const QString &baseHtml, const QJsonObject &document, QString &html,
				   bool *limitExceeded)
{
	if (baseHtml != html_) {
		remember(baseHtml, {});
	}
	prepareSaves();
	if (!isSettled_) {
		return applyWhole(document, html, limitExceeded);
	}
	const QJsonArray blocks = document.value(kBlocks).toArray();
	Sent sent = compareSent(blocks);
	const Verdict verdict = readSent(blocks, sent);
	if (limitExceeded) {
		*limitExceeded = verdict == Verdict::OverLimit;
	}
	return verdict == Verdict::Good &&
	       (applyInPart(blocks, sent, html) || applyWhole(document, html, limitExceeded));
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
	sentText_ = known.text();
	sentRuns_ = static_cast<qsizetype>(known.runs().size());
	return quillbay::isSettled(*document, html_, known, 0, slices_.listsBefore(slices_.count()));
}

NoteSession::Sent NoteSession::compareSent(const QJsonArray &blocks) const
{
	const qsizetype least = std::min(blocks_.size(), blocks.size());
	Sent sent;
	while (sent.head < least && blocks.at(sent.head) == blocks_.at(sent.head)) {
		++sent.head;
	}
	while (sent.tail < least - sent.head &&
	       blocks.at(blocks.size() - 1 - sent.tail) == blocks_.at(blocks_.size() - 1 - sent.tail)) {
		++sent.tail;
	}
	return sent;
}

// Checks what is sent.
Verdict NoteSession::readSent(const QJsonArray &blocks, Sent &sent) const
{
	if (readChanged(blocks, sent)) {
		return Verdict::Good;
	}
	// Which fault comes first is for the whole to tell.
	IncomingDocument whole;
	const Verdict verdict = whole.read({{kBlocks, blocks}});
	sent.text = whole.text();
	sent.runs = static_cast<qsizetype>(whole.runs().size());
	return verdict;
}

// What was sent before was found good and needs no second look. False where the document may have a fault.
bool NoteSession::readChanged(const QJsonArray &blocks, Sent &sent) const
{
	const qsizetype oldEnd = blocks_.size() - sent.tail;
	const QJsonArray changed = elements(blocks, sent.head, blocks.size() - sent.tail);
	IncomingDocument incoming;
	if (blocks.isEmpty() || blocks.size() > kMaxParagraphs ||
	    (!changed.isEmpty() && incoming.read({{kBlocks, changed}}) != Verdict::Good)) {
		return false;
	}
	QStringList parts;
	if (sent.head > 0) {
		parts << paragraphs(sentText_, 0, sent.head, u'\n').toString();
	}
	if (!changed.isEmpty()) {
		parts << incoming.text();
	}
	if (sent.tail > 0) {
		parts << paragraphs(sentText_, oldEnd, blocks_.size(), u'\n').toString();
	}
	sent.text = parts.join(u'\n');
	sent.runs = sentRuns_ + static_cast<qsizetype>(incoming.runs().size());
	for (qsizetype i = sent.head; i < oldEnd; ++i) {
		sent.runs -= blocks_.at(i).toObject().value(QLatin1StringView("runs")).toArray().size();
	}
	return sent.text.size() <= kMaxTextLength && sent.runs <= kMaxRuns;
}

bool NoteSession::applyInPart(const QJsonArray &blocks, const Sent &sent, QString &html)
{
	if (sent.head == blocks.size() && blocks.size() == blocks_.size()) {
		html = html_;
		return true;
	}
	const Extent extent = extentOf(blocks, sent);
	const std::optional<Part> part = partOf(extent, blocks);
	if (!part) {
		return false;
	}
	const QStringView all(html_);
	const qsizetype begin = slices_.begin(extent.first);
	const qsizetype end = slices_.begin(extent.oldEnd);
	const QStringView before = all.first(end).sliced(begin);
	const QStringView after = part->slices.body(part->html);
	const QString result = all.first(begin) % after % all.sliced(end);
	const bool isHarmless = result.size() <= kSmallHtml && haveSameTags(before, after);
	if (!isHarmless && !withinHtmlLimits(result)) {
		return false;
	}
	rememberPart(extent, blocks, *part, result);
	sentText_ = sent.text;
	sentRuns_ = sent.runs;
	html = result;
	++savesInPart_;
	return true;
}

void NoteSession::rememberPart(const Extent &extent, const QJsonArray &blocks, const Part &part, const QString &html)
{
	const int listsBefore = slices_.listsBefore(extent.first);
	const int lists = slices_.listsBefore(extent.oldEnd) - listsBefore;
	const auto again = loaded(part.html);
	const QString partText = again->toRawText();
	const bool isStill = part.slices.listsBefore(part.slices.count()) == lists &&
			     quillbay::isSettled(*again, part.html, part.sent, listsBefore, lists);
	const QStringView noted = paragraphs(text_, extent.first, extent.oldEnd);
	QString text = text_;
	text.replace(noted.begin() - QStringView(text_).begin(), noted.size(), partText);
	remember(html, blocks);
	canSettle_ = isSettled_ = isStill;
	text_ = text;
	slices_ = HtmlSlices(html_);
}

NoteSession::Extent NoteSession::extentOf(const QJsonArray &blocks, const Sent &sent) const
{
	const qsizetype oldCount = blocks_.size();
	const qsizetype newCount = blocks.size();
	qsizetype head = sent.head;
	qsizetype tail = sent.tail;
	Extent extent;
	extent.text = differenceOf(text_, sent.text);
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
	const auto document = loaded(before);
	Part part;
	IncomingDocument &sent = part.sent;
	if (document->toRawText() != noted || listsIn(*document) != lists ||
	    sent.read({{kBlocks, sentBlocks}}) != Verdict::Good ||
	    !differenceOf(noted, sent.text()).isSame(extent.text, offset)) {
		return {};
	}
	// The note as it is, in other words than before, is to be left alone.
	const bool isAsNoted = exportDocument(*document, false, listsBefore).value(kBlocks) == sentBlocks;
	if (!edit(*document, sent, listsBefore)) {
		return {};
	}
	part.html = document->toHtml();
	part.slices = HtmlSlices(part.html);
	if ((isAsNoted && part.html != before) || part.slices.count() != sentBlocks.size() ||
	    !isNeighbourhoodKept(extent, before, part)) {
		return {};
	}
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
