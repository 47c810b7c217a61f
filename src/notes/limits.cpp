// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/limits.hpp"

#include "notes/html_shape.hpp"
#include "notes/note_document.hpp"

#include <QTextBlock>

namespace quillbay {

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

// Opening a note parses it once more to show it, so HTML that is proven to fit is not parsed here.
bool withinHtmlLimits(const QString &html)
{
	const HtmlShape shape = shapeOf(html);
	const bool isTooLong = shape.leastLongestBlock > kMaxBlockLength;
	if (!shape.isHarmless || isTooLong) {
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
