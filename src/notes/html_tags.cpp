// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/html_tags.hpp"
#include "notes/editor_html.hpp"

#include <algorithm>

namespace quillbay {

namespace {

constexpr qsizetype kMaxMarkupLength = 32 * 1024 * 1024; // without comments and data: URLs
constexpr int kMaxElements = 125'000;                    // a full note of 20,000 paragraphs and 100,000 runs passes
constexpr int kMaxCloseTags = 250'000;
constexpr int kMaxAttributes = 250'000;
constexpr int kMaxAttributesOfElement = 1'000;
constexpr int kMaxColumnSpan = 20'480;    // Qt's own
constexpr double kBorderedCellCost = 130; // microseconds, as measured

constexpr qsizetype kMaxKnownTags = 256;
constexpr qsizetype kMaxKnownTag = 1'000;
constexpr qsizetype kShortestCarried = 64;

bool is(QStringView text, const char *other)
{
	return text.compare(QLatin1StringView(other), Qt::CaseInsensitive) == 0;
}

// Whether a name can be taken as it is written. Qt resolves entities in names; nobody else writes them.
bool isPlainName(QStringView name)
{
	return !name.contains(u'&') || !name.contains(u';');
}

// A number in an attribute; entities may hide digits, so what holds one counts as the largest.
int spanOf(QStringView value)
{
	bool isNumber = false;
	const int span = value.toInt(&isNumber);
	return value.contains(u'&') ? kMaxColumnSpan : isNumber ? std::clamp(span, 1, kMaxColumnSpan) : 1;
}

// Whether a style is of the simple kind that Qt writes and surely reads: "name:value; name:value;".
bool isPlainStyle(QStringView css)
{
	const auto isPlain = [](QChar c) {
		return c.isLetterOrNumber() || c == u'-' || c == u'.' || c == u'#' || c == u' ' || c == u'\'' ||
		       c == u',';
	};
	for (QStringView declaration : css.tokenize(u';', Qt::SkipEmptyParts)) {
		const qsizetype colon = declaration.indexOf(u':');
		const QStringView value = declaration.sliced(colon + 1).trimmed();
		const bool isComplete = colon > 0 && !value.isEmpty() && value.count(u'\'') % 2 == 0;
		if (!isComplete || !std::ranges::all_of(value, isPlain) ||
		    !std::ranges::all_of(declaration.first(colon), isPlain)) {
			return false;
		}
	}
	return css.endsWith(u';');
}

} // namespace

bool TagReader::isHarmless() const
{
	return isHarmless_ && pos_ - carried_ <= kMaxMarkupLength;
}

QStringView TagReader::readText()
{
	const qsizetype start = pos_;
	const qsizetype next = html_.indexOf(u'<', start);
	pos_ = next < 0 ? html_.size() : next;
	return html_.sliced(start, pos_ - start);
}

TagReader::Kind TagReader::beginTag()
{
	tagStart_ = ++pos_;
	skipSpace();
	return has(u'!') ? Kind::Declaration : has(u'/') ? Kind::Closing : Kind::Opening;
}

bool TagReader::skipDeclaration()
{
	const qsizetype start = pos_++;
	if (rest().startsWith(QLatin1StringView("--"))) {
		const qsizetype end = html_.indexOf(QLatin1StringView("-->"), pos_ + 2);
		pos_ = end < 0 ? html_.size() : end + 3;
	} else {
		skipTo(u'>', pos_);
	}
	carried_ += pos_ - start;
	return start == 1;
}

TagReader::ClosingTag TagReader::readClosingTag()
{
	const qsizetype start = ++pos_;
	const QStringView text = word().trimmed();
	skipTo(u'>', pos_);
	isHarmless_ = isHarmless_ && isPlainName(text) && ++closeTags_ <= kMaxCloseTags;
	const bool isEditors = start == tagStart_ + 1 && pos_ - start == text.size() + 1 && html_[pos_ - 1] == u'>';
	return {text, isEditors};
}

// A note repeats few tags thousands of times: one that Qt wrote is read once.
Tag TagReader::readOpeningTag()
{
	const qsizetype end = html_.indexOf(u'>', tagStart_);
	if (pos_ != tagStart_ || end < 0) {
		return readAnew();
	}
	const QStringView source = html_.sliced(tagStart_, end + 1 - tagStart_);
	if (const auto known = known_.constFind(source); known != known_.constEnd()) {
		pos_ += source.size();
		attributes_ += known->styled.attributes;
		isHarmless_ = isHarmless_ && ++elements_ <= kMaxElements && attributes_ <= kMaxAttributes;
		return *known;
	}
	const qsizetype carried = carried_;
	const Tag tag = readAnew();
	const bool isRepeatable = tag.isEditors && carried == carried_ && pos_ - tagStart_ == source.size() &&
				  known_.size() < kMaxKnownTags && source.size() <= kMaxKnownTag &&
				  !mentions(source, "texture");
	if (isRepeatable) {
		known_.insert(source, tag);
	}
	return tag;
}

Tag TagReader::readAnew()
{
	const qsizetype start = pos_;
	Tag tag;
	tag.isEditors = true;
	tag.text = word();
	tag.name = lookUp(tag.text);
	tag.styled.tag = tag.text;
	isHarmless_ = isHarmless_ && isPlainName(tag.text) && ++elements_ <= kMaxElements;
	if (pos_ < html_.size() && html_[pos_].isSpace()) {
		readAttributes(tag);
	}
	const qsizetype end = pos_;
	skipTo(u'>', pos_);
	tag.isClosed = html_.sliced(end, pos_ - end).contains(u'/');
	tag.isEditors = tag.isEditors && isEditorTag(html_.sliced(start, pos_ - start), tag.name);
	return tag;
}

void TagReader::readAttributes(Tag &tag)
{
	bool isEditorName = false;
	while (pos_ < html_.size() && isHarmless_) {
		skipSpace();
		if (has(u'>') || has(u'/')) {
			break;
		}
		const QStringView key = word();
		if (key.isEmpty()) {
			break;
		}
		isHarmless_ = isHarmless_ && isPlainName(key) && ++attributes_ <= kMaxAttributes &&
			      ++tag.styled.attributes <= kMaxAttributesOfElement;
		skipSpace();
		if (!has(u'=')) {
			continue;
		}
		++pos_;
		skipSpace();
		const QStringView value = word();
		isEditorName = isEditorName || (is(key, "name") && value == QLatin1StringView("qrichtext"));
		tag.isEditorHead =
			tag.isEditorHead || (isEditorName && is(key, "content") && value == QLatin1StringView("1"));
		takeAttribute(key, value, tag);
	}
}

void TagReader::takeAttribute(QStringView key, QStringView value, Tag &tag)
{
	if (is(key, "style")) {
		takeStyle(value, tag);
	} else if (isCell(tag.name.element) && is(key, "colspan")) {
		tag.columnSpan = std::max(tag.columnSpan, spanOf(value));
	} else if (isCell(tag.name.element) && is(key, "rowspan")) {
		tag.rowSpan = std::max(tag.rowSpan, spanOf(value));
	} else if (is(key, "align") && tag.name.element == Element::Img) {
		tag.isFloating = true;
	} else if (is(key, "face")) {
		css_.addFontFamilies(value);
	} else if (is(key, "class")) {
		tag.styled.isUnclear = tag.styled.isUnclear || !tag.styled.classes.isEmpty() || value.contains(u'&');
		tag.styled.classes = value;
	} else if (is(key, "id")) {
		tag.styled.isUnclear = tag.styled.isUnclear || !tag.styled.id.isEmpty() || value.contains(u'&');
		tag.styled.id = value;
	}
	if (value.size() > kShortestCarried && value.startsWith(QLatin1StringView("data:"))) {
		carried_ += value.size();
	}
}

void TagReader::takeStyle(QStringView css, Tag &tag)
{
	tag.cost += css_.addStyle(css);
	tag.cost += isCell(tag.name.element) && mentions(css, "border") ? kBorderedCellCost : 0;
	tag.isEditors = tag.isEditors && isEditorStyle(css);
	tag.isFloating = tag.isFloating || mentions(css, "float") || css.contains(u'\\') || css.contains(u'&');
	tag.isRoot = css.startsWith(QLatin1StringView("-qt-table-type: root;")) && isPlainStyle(css);
	tag.isEmptyParagraph = css.startsWith(QLatin1StringView("-qt-paragraph-type:empty;")) && isPlainStyle(css);
	tag.isBounded = tag.isBounded && (tag.isEmptyParagraph || !mentions(css, "paragraph-type"));
}

bool TagReader::skipFiller()
{
	static constexpr QLatin1StringView kFiller("<br />");
	if (!rest().startsWith(kFiller) || !rest().sliced(kFiller.size()).startsWith(QLatin1StringView("</"))) {
		return false;
	}
	pos_ += kFiller.size();
	++elements_;
	return true;
}

void TagReader::skipSpace()
{
	while (pos_ < html_.size() && html_[pos_].isSpace() && html_[pos_] != QChar::ParagraphSeparator) {
		++pos_;
	}
}

// Moves behind the next `c`, or to the end.
void TagReader::skipTo(QChar c, qsizetype from)
{
	const qsizetype found = html_.indexOf(c, from);
	pos_ = found < 0 ? html_.size() : found + 1;
}

// What stands between the quotation mark at `start` and the one just read, if one was.
QStringView TagReader::quoted(QChar quote, qsizetype start)
{
	const bool isClosed = pos_ > start + 1 && html_[pos_ - 1] == quote;
	return html_.sliced(start + 1, pos_ - start - 1 - (isClosed ? 1 : 0));
}

// A name or a value, quoted or not.
QStringView TagReader::word()
{
	const qsizetype start = pos_;
	if (has(u'"')) {
		skipTo(u'"', pos_ + 1);
		return quoted(u'"', start);
	}
	if (has(u'\'')) {
		++pos_;
		do {
			skipTo(u'\'', pos_);
		} while (pos_ < html_.size() && html_[pos_ - 2] == u'\\');
		return quoted(u'\'', start);
	}
	while (pos_ < html_.size()) {
		const QChar c = html_[pos_];
		const bool isEnd = c == u'>' || c == u'<' || c == u'=' || c.isSpace() ||
				   (c == u'/' && pos_ + 1 < html_.size() && html_[pos_ + 1] == u'>');
		if (isEnd) {
			break;
		}
		++pos_;
	}
	return html_.sliced(start, pos_ - start);
}

} // namespace quillbay
