// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How many paragraphs and characters the document gets. For this folder only.

#pragma once

#include <QStringView>

#include <algorithm>

namespace quillbay {

/// Counts blocks (`QTextBlock`) and the characters in them as Qt makes them of text and elements, in the order in which
/// these stand in the HTML. Where Qt may do one thing or the other, the larger number counts. Any thread, one at a
/// time.
class BlockCounter {
public:
	/// Adds text as Qt keeps it at most: white space that it would drop or join counts. `isEditors`: Qt wrote it,
	/// and line feeds between blocks mean nothing. False when it holds an entity that Qt does not write.
	bool addText(QStringView text, bool isEditors);
	/// Adds what takes the place of one character: a line break, a picture.
	void addObject();
	/// An element that is a block opens.
	void addBlock();
	/// A block that Qt may start or not: what follows may also belong to the block so far.
	void addPossibleBlock();
	/// The <body> opens: the first one stands for the block that every document has.
	void openBody();
	/// An element that is a block has closed: text would start a block of its own.
	void closeBlock() { isAfterBlock_ = true; }
	/// Text that follows may be in another block than the text so far.
	void endSureText() { sureLength_ = 0; }
	/// Something that is neither text nor a block is put into the document.
	void touch() { isPristine_ = false; }

	/// Whether nothing has been put into the document yet.
	[[nodiscard]] bool isPristine() const { return isPristine_; }
	/// At least the document's characters so far, with a separator for each block.
	[[nodiscard]] qint64 characters() const { return characters_; }
	/// At least its blocks.
	[[nodiscard]] qint64 blocks() const { return blocks_; }
	/// At least the length of the longest one, its separator included.
	[[nodiscard]] qint64 longestBlock() const { return std::max(longestBlock_, blockLength_); }
	/// About the least length of the longest one.
	[[nodiscard]] qint64 leastLongestBlock() const { return leastLongestBlock_; }

private:
	qsizetype addWords(QStringView text, qsizetype sureFrom);
	void addEntity(bool mayBreakBlock);
	void addSpace();
	void addCharacters(qint64 count);
	void addSureCharacters(qint64 count);
	void beginContent();

	qint64 characters_ = 1;
	qint64 blocks_ = 1;
	qint64 longestBlock_ = 1;
	qint64 leastLongestBlock_ = 0;
	qint64 blockLength_ = 1;
	qint64 sureLength_ = 0;     // characters that surely are in the same block
	bool isAfterBlock_ = false; // text would start a block of its own
	bool isBodyFresh_ = false;  // the next block is the one the document came with
	bool isPristine_ = true;
};

} // namespace quillbay
