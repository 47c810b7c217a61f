// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/limits.hpp"

#include "notes/html_shape.hpp"
#include "notes/note_document.hpp"

#include <QTextBlock>

namespace quillbay {

namespace {

// The shape of broken HTML is a guess, so only what is far too long is refused by it.
constexpr qint64 kSurelyTooLong = 2 * kMaxBlockLength;

bool isWorthParsing(const HtmlShape &shape)
{
	return shape.isHarmless && shape.leastLongestBlock < kSurelyTooLong;
}

} // namespace

bool withinTextLimits(const QTextDocument &document)
{
	if (document.characterCount() > kMaxCharacterCount || document.blockCount() > kMaxParagraphs) {
		return false;
	}
	for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
		if (block.length() > kMaxBlockLength) {
			return false;
		}
	}
	return true;
}

bool isWorthParsing(const QString &html)
{
	return isWorthParsing(shapeOf(html));
}

// Opening a note parses it once more to show it, so HTML that is proven to fit is not parsed here.
bool withinHtmlLimits(const QString &html)
{
	const HtmlShape shape = shapeOf(html);
	if (!isWorthParsing(shape)) {
		return false;
	}
	if (shape.isBounded && shape.characters <= kMaxCharacterCount && shape.blocks <= kMaxParagraphs &&
	    shape.longestBlock <= kMaxBlockLength) {
		return true;
	}
	const auto scratch = NoteDocument::makeScratch();
	scratch->setHtml(html);
	return withinTextLimits(*scratch);
}

} // namespace quillbay
