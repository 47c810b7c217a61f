// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>

namespace quillbay {

/// What can be told about the document that some HTML makes without making it.
struct HtmlShape {
	/// False when Qt's parser or layout would need longer for it than for the worst plain note.
	bool isHarmless = true;
	/// Whether the three bounds below hold: only for what `QTextDocument::toHtml` writes, without tables.
	bool isBounded = true;
	/// At least `QTextDocument::characterCount`.
	qint64 characters = 1;
	/// At least `QTextDocument::blockCount`.
	qint64 blocks = 1;
	/// At least the length of the longest block.
	qint64 longestBlock = 1;
	/// About the least length of the longest block; 0 where it cannot be told. Proves nothing by itself: broken
	/// HTML may make less.
	qint64 leastLongestBlock = 0;
};

/// Reads the HTML once, as Qt's parser would read it, and makes nothing. Any thread.
HtmlShape shapeOf(const QString &html);

/// Whether the HTML may be given to Qt's parser and be shown. Answered in well under 250 ms for any HTML; text over
/// the note limits may pass (see withinHtmlLimits).
bool isHarmlessHtml(const QString &html);

} // namespace quillbay
