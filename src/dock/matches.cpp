// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/matches.hpp"

#include <QStringMatcher>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>

namespace quillbay {

namespace {

// What separates paragraphs and cells in a document's raw text; a search never crosses them.
constexpr QChar kSeparators[] = {QChar(0xfdd0), QChar(0xfdd1), QChar::ParagraphSeparator};

} // namespace

std::vector<SearchRange> findMatches(const QTextDocument &document, const QString &searchText)
{
	std::vector<SearchRange> ranges;
	const auto crosses = [&searchText](QChar separator) { return searchText.contains(separator); };
	if (searchText.isEmpty() || std::ranges::any_of(kSeparators, crosses)) {
		return ranges;
	}
	const auto withBlanks = [](QString text) { return text.replace(QChar::Nbsp, QChar::Space); };
	// Its indices are document positions; asking every paragraph for its text would take most of the time.
	const QString note = withBlanks(document.toRawText());
	const QStringMatcher matcher(withBlanks(searchText), Qt::CaseInsensitive);
	const auto length = static_cast<int>(searchText.size());
	for (qsizetype at = matcher.indexIn(note); at >= 0; at = matcher.indexIn(note, at + length)) {
		const auto start = static_cast<int>(at);
		ranges.push_back({start, start + length});
	}
	return ranges;
}

// The ranges are in order and do not overlap, so a caret's move costs a binary search, however many there are.
SearchRange nextMatch(const std::vector<SearchRange> &ranges, int selectionStart, int selectionEnd, bool backward)
{
	if (backward) {
		const auto after = std::ranges::upper_bound(ranges, selectionStart, {}, &SearchRange::end);
		return after == ranges.begin() ? ranges.back() : *std::prev(after);
	}
	const auto next = std::ranges::lower_bound(ranges, selectionEnd, {}, &SearchRange::start);
	return next == ranges.end() ? ranges.front() : *next;
}

int matchNumber(const std::vector<SearchRange> &ranges, SearchRange selection)
{
	const auto found = std::ranges::lower_bound(ranges, selection.start, {}, &SearchRange::start);
	return found != ranges.end() && *found == selection ? static_cast<int>(found - ranges.begin()) + 1 : 0;
}

std::optional<GoTo> parseGoTo(const QString &typed, int paragraphs)
{
	QString digits = typed.trimmed();
	if (digits.size() > kMaxGoToLength) {
		return std::nullopt;
	}
	const bool isPercent = digits.endsWith(QLatin1Char('%'));
	if (isPercent) {
		digits.chop(1);
	}
	bool isNumber = false;
	const int number = digits.toInt(&isNumber);
	const int least = isPercent ? 0 : 1;
	const int most = isPercent ? 100 : paragraphs;
	if (!isNumber || number < least || number > most) {
		return std::nullopt;
	}
	return GoTo{isPercent, number};
}

} // namespace quillbay
