// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What Qt's parser takes for text, tags and attributes. For this folder only.

#pragma once

#include "notes/css_cost.hpp"
#include "notes/html_names.hpp"

#include <QHash>
#include <QStringView>

namespace quillbay {

/// An opening tag. The views point into the HTML.
struct Tag {
	QStringView text; ///< its name as it is written
	Name name;
	StyledElement styled;
	int columnSpan = 1;
	int rowSpan = 1;
	bool isFloating = false;
	bool isRoot = false; ///< a table that Qt wrote for a whole document
	bool isEmptyParagraph = false;
	bool isEditorHead = false; ///< it says that Qt wrote the HTML
	bool isClosed = false;     ///< it ends its element, too
	bool isEditors = false;    ///< it is as Qt writes it, which means more of the same costs the same
	bool isBounded = true;     ///< false when its style may empty paragraphs in a way not followed here
	double cost = 0;           ///< of its CSS, in microseconds
};

/// Reads HTML from its start to its end, in the pieces that Qt's parser takes it for. The HTML and `css` must outlive
/// it. Any thread, one at a time.
class TagReader {
public:
	enum class Kind { Declaration, Closing, Opening };
	struct ClosingTag {
		QStringView text;
		bool isEditors; ///< it is as Qt writes it
	};

	/// Styles and font families go into `css` as they are read.
	TagReader(QStringView html, CssCost &css) : html_(html), css_(css) {}

	[[nodiscard]] bool isAtEnd() const { return pos_ == html_.size(); }
	/// What was not read yet.
	[[nodiscard]] QStringView rest() const { return html_.sliced(pos_); }

	/// Reads the text up to the next "<" or the end.
	QStringView readText();
	/// Reads the "<" and tells what it begins: what is to be called next.
	Kind beginTag();
	/// Skips a comment or a document type. Whether the HTML starts with it.
	bool skipDeclaration();
	ClosingTag readClosingTag();
	Tag readOpeningTag();
	/// Skips white space.
	void skipSpace();
	/// Skips the line break that Qt writes into an empty paragraph; false when something else stands there.
	bool skipFiller();

	/// False when there are more tags or attributes than Qt can bear, or names that Qt reads otherwise.
	[[nodiscard]] bool isHarmless() const;
	/// Opening tags so far.
	[[nodiscard]] qint64 elements() const { return elements_; }

private:
	[[nodiscard]] bool has(QChar c) const { return pos_ < html_.size() && html_[pos_] == c; }
	void skipTo(QChar c, qsizetype from);
	QStringView word();
	QStringView quoted(QChar quote, qsizetype start);
	Tag readAnew();
	void readAttributes(Tag &tag);
	void takeAttribute(QStringView key, QStringView value, Tag &tag);
	void takeStyle(QStringView css, Tag &tag);

	QStringView html_;
	CssCost &css_;
	qsizetype pos_ = 0;
	qsizetype tagStart_ = 0;        // behind the "<" of the tag that is read
	QHash<QStringView, Tag> known_; // those that Qt wrote, by their source
	bool isHarmless_ = true;
	qsizetype carried_ = 0; // characters of data: URLs and comments
	qint64 elements_ = 0;
	qint64 closeTags_ = 0;
	qint64 attributes_ = 0;
};

} // namespace quillbay
