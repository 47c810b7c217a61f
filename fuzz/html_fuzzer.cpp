// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// HTML on its way into a note, from an imported file, the clipboard, a drop or a note file: what is let through to Qt's
// parser and layout is what its shape was said to be, and costs no longer than it may.

#include "fuzz.hpp"

#include "notes/html_shape.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"

#include <QTextBlock>

#include <algorithm>
#include <ctime>

namespace {

using namespace quillbay;
using namespace quillbay::fuzz;

// The sanitizers and libFuzzer's counters make everything some five times slower.
constexpr double kLongestAnswerMs = 5 * 250;
// A harmless note may take as long as the worst plain one; with the same slowness no input of a fuzzer comes near it.
constexpr double kLongestLayoutMs = 5'000;

// Of this program's own time: machines that fuzz are busy.
double milliseconds()
{
	return 1000.0 * double(std::clock()) / CLOCKS_PER_SEC;
}

void checkBounds(const HtmlShape &shape, const QTextDocument &document)
{
	if (!shape.isBounded) {
		return;
	}
	int longest = 0;
	for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
		longest = std::max(longest, block.length());
	}
	require(document.characterCount() <= shape.characters, "more characters than the shape told");
	require(document.blockCount() <= shape.blocks, "more paragraphs than the shape told");
	require(longest <= shape.longestBlock, "a longer paragraph than the shape told");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	startGui();
	const QString html = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
	double start = milliseconds();
	const HtmlShape shape = shapeOf(html);
	require(milliseconds() - start < kLongestAnswerMs, "the shape took too long");
	if (!isWorthParsing(html)) {
		return 0;
	}
	NoteDocument document;
	start = milliseconds();
	document.setHtml(html);
	checkBounds(shape, document);
	const bool isWithin = withinTextLimits(document) && shape.isHarmless;
	require(withinHtmlLimits(html) == isWithin, "two answers about the limits");
	if (isWithin) {
		document.setTextWidth(400);
		(void)document.size();
	}
	require(milliseconds() - start < kLongestLayoutMs, "a harmless note took too long");
	return 0;
}
