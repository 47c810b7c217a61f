// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>

#include <optional>
#include <vector>

class QTextDocument;

namespace quillbay {

/// A match of a search: document positions, `end` behind the last character.
struct SearchRange {
	int start;
	int end;
	bool operator==(const SearchRange &) const = default;
};

/// All places of `searchText` in document order, ignoring case; a no-break space of the document matches a
/// blank. Matches neither overlap nor cross paragraphs.
std::vector<SearchRange> findMatches(const QTextDocument &document, const QString &searchText);

/// The match that follows the selection, or precedes it, wrapping around. There must be one.
SearchRange nextMatch(const std::vector<SearchRange> &ranges, int selectionStart, int selectionEnd, bool backward);

/// Which match, counted from 1, the selection is; 0 when it is none.
int matchNumber(const std::vector<SearchRange> &ranges, SearchRange selection);

/// What was typed into the go-to input.
struct GoTo {
	bool isPercent;
	/// The paragraph's number counted from 1, or the percentage.
	int number;
	bool operator==(const GoTo &) const = default;
};

/// "12" or "40%", with blanks around it, for a note of so many paragraphs; nothing when it cannot be gone to.
std::optional<GoTo> parseGoTo(const QString &typed, int paragraphs);

/// Longest text that `parseGoTo` takes.
inline constexpr int kMaxGoToLength = 10;

} // namespace quillbay
