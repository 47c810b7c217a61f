// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/html_shape.hpp"
#include "notes/css_cost.hpp"
#include "notes/editor_html.hpp"
#include "notes/html_names.hpp"

#include <QHash>

#include <algorithm>
#include <vector>

namespace quillbay {

namespace {

// The tree that Qt's parser builds decides what HTML costs, so the reader below follows that parser tag by tag:
// what it takes for a tag, which element closes which, and where an element may not be.

constexpr qsizetype kMaxLength = 64 * 1024 * 1024;
constexpr qsizetype kMaxMarkupLength = 32 * 1024 * 1024; // without comments and data: URLs
constexpr qsizetype kMaxSourceText = 4'000'000;          // a full note, written in entities and indented, stays below
constexpr int kMaxDepth = 200;
constexpr int kMaxTableDepth = 12;
constexpr int kMaxElements = 125'000; // a full note of 20,000 paragraphs and 100,000 runs passes
constexpr int kMaxCloseTags = 250'000;
constexpr int kMaxAttributes = 250'000;
constexpr int kMaxAttributesOfElement = 1'000;
constexpr int kMaxFloats = 300;
constexpr int kMaxColumnSpan = 20'480; // Qt's own
constexpr int kMaxOpenRowSpans = 1'000;
constexpr int kMaxElementsWithSiblingRules = 500;

// What things cost Qt to parse and to show, in microseconds, as measured; and what all of them together may cost.
constexpr double kMaxCost = 1'000'000;
constexpr double kCellCost = 60;
constexpr double kBorderedCellCost = 130;
constexpr double kNestedCellCost = 6; // doubles with every level, as do the next three
constexpr double kNestedBlockCost = 8;
constexpr double kNestedElementCost = 8;
constexpr double kNestedCharacterCost = 0.4;
constexpr double kComplexCharacterFactor = 5; // tabs and other scripts
constexpr double kPictureCost = 60;
constexpr double kListItemPairCost = 0.024;

constexpr qsizetype kLongestEntity = 12;
constexpr qsizetype kMaxKnownTags = 256;
constexpr qsizetype kMaxKnownTag = 1'000;

bool contains(QStringView text, const char *part)
{
	return text.contains(QLatin1StringView(part), Qt::CaseInsensitive);
}

bool is(QStringView text, const char *other)
{
	return text.compare(QLatin1StringView(other), Qt::CaseInsensitive) == 0;
}

class Reader {
public:
	Reader(QStringView html, bool isWhole) : html_(html), isWhole_(isWhole) {}
	HtmlShape read();

private:
	struct Open {
		QStringView tag;
		Element element;
		Display display;
		qsizetype items; // list items so far
	};
	struct RowSpan {
		qint64 endRow;
		int columns;
	};
	struct Table {
		qsizetype depth;
		qint64 rows = 0;
		qint64 columns = 0;
		qint64 rowColumns = 0;
		qint64 cells = 0;
		size_t firstSpan;
	};
	/// What the attributes of a tag say.
	struct Attributes {
		int columnSpan = 1;
		int rowSpan = 1;
		bool isFloating = false;
		bool isRoot = false;
		bool isEmptyParagraph = false;
		bool isEditorHead = false;
		StyledElement styled;
	};
	/// A tag as it was read, and what reading it has added to the reader.
	struct Tag {
		QStringView text;
		Name name;
		Attributes found;
		bool isClosed = false;
		bool isEditors = false; // as Qt writes it, which means more of the same costs the same
		double cost = 0;
	};

	[[nodiscard]] bool has(QChar c) const { return pos_ < html_.size() && html_[pos_] == c; }
	[[nodiscard]] Element top() const { return stack_.empty() ? Element::Other : stack_.back().element; }
	[[nodiscard]] bool isHidden() const { return !stack_.empty() && stack_.back().display == Display::None; }
	void skipSpace();
	QStringView word();
	void skipTo(QChar c, qsizetype from);
	void declaration();
	void tag();
	Tag readTag();
	Tag readTagAnew();
	void skipFiller(bool isEmptyParagraph);
	void closeTag();
	[[nodiscard]] bool isEditorPlace(const Name &name) const;
	[[nodiscard]] bool isEditorText(QStringView text) const;
	Attributes attributes(const Name &name);
	void attribute(QStringView key, QStringView value, const Name &name, Attributes &found);
	void truncate(qsizetype depth);
	void resolve(const Name &name);
	void push(const Name &name, QStringView tag);
	void pushImplied(QStringView tag);
	void element(const Name &name, const Attributes &found);
	void table(bool isRoot);
	void row();
	void cell(const Attributes &found);
	void listItem();
	void text(QStringView text);
	void addText(QStringView text);
	qsizetype entity(QStringView text);
	void addSureCharacters(qint64 count);
	void addCharacters(qint64 count);
	void addBlock();
	void addPossibleBlock();
	void content();
	void addCost(double cost);
	void finish();

	QStringView html_;
	bool isWhole_; // not a marked part, before which Qt may put the mark of its own HTML
	qsizetype pos_ = 0;
	HtmlShape shape_;
	std::vector<Open> stack_;
	std::vector<Table> tables_;
	std::vector<RowSpan> spans_;
	CssCost css_;
	QHash<QStringView, Tag> tags_; // those that Qt wrote, by their source

	qint64 blockLength_ = 1;
	qint64 sureLength_ = 0;     // characters that surely are in the same block
	bool isAfterVoid_ = false;  // Qt puts the text there into the void element, which the next tag ends
	bool isAfterBlock_ = false; // text would start a block of its own
	bool isBodyFresh_ = false;  // the next block is the one the document came with
	bool isPristine_ = true;    // nothing has been put into the document yet
	bool isEditorText_ = false; // Qt wrote it: line feeds between blocks mean nothing
	bool isOdd_ = false;        // something in it is not as QTextDocument::toHtml writes

	double cost_ = 0;
	double nestedFactor_ = 0;  // 2 to the number of open tables, or 0
	qsizetype carried_ = 0;    // characters of data: URLs and comments
	qsizetype sourceText_ = 0; // characters between tags, as they are written
	qint64 elements_ = 0;
	qint64 closeTags_ = 0;
	qint64 attributes_ = 0;
	qint64 floats_ = 0;
	qint64 images_ = 0;
	bool hasRootTable_ = false;
};

HtmlShape Reader::read()
{
	isOdd_ = !isWhole_ || !html_.startsWith(kEditorHead);
	shape_.isHarmless = html_.size() <= kMaxLength;
	while (pos_ < html_.size() && shape_.isHarmless) {
		const qsizetype next = html_.indexOf(u'<', pos_);
		text(html_.sliced(pos_, (next < 0 ? html_.size() : next) - pos_));
		if (next < 0) {
			break;
		}
		pos_ = next + 1;
		tag();
	}
	finish();
	return shape_;
}

void Reader::finish()
{
	isOdd_ = isOdd_ || !stack_.empty();
	truncate(0);
	if (css_.hasFloatRules()) {
		floats_ += images_;
	}
	shape_.isHarmless = shape_.isHarmless && css_.isHarmless() && floats_ <= kMaxFloats &&
			    pos_ - carried_ <= kMaxMarkupLength &&
			    !(css_.hasSiblingRules() && elements_ > kMaxElementsWithSiblingRules);
	shape_.longestBlock = std::max(shape_.longestBlock, blockLength_);
	if (!shape_.isBounded || css_.hasDisplay()) {
		shape_.leastLongestBlock = 0;
	}
	// A refused text is not read to its end, and Qt mends broken HTML in too many ways to foresee them all.
	shape_.isBounded = shape_.isBounded && shape_.isHarmless && !isOdd_;
}

void Reader::skipSpace()
{
	while (pos_ < html_.size() && html_[pos_].isSpace() && html_[pos_] != QChar::ParagraphSeparator) {
		++pos_;
	}
}

// Moves behind the next `c`, or to the end.
void Reader::skipTo(QChar c, qsizetype from)
{
	const qsizetype found = html_.indexOf(c, from);
	pos_ = found < 0 ? html_.size() : found + 1;
}

// A name or a value, quoted or not.
QStringView Reader::word()
{
	const qsizetype start = pos_;
	if (has(u'"')) {
		skipTo(u'"', pos_ + 1);
		const bool isClosed = pos_ > start + 1 && html_[pos_ - 1] == u'"';
		return html_.sliced(start + 1, pos_ - start - 1 - (isClosed ? 1 : 0));
	}
	if (has(u'\'')) {
		++pos_;
		do {
			skipTo(u'\'', pos_);
		} while (pos_ < html_.size() && html_[pos_ - 2] == u'\\');
		const bool isClosed = pos_ > start + 1 && html_[pos_ - 1] == u'\'';
		return html_.sliced(start + 1, pos_ - start - 1 - (isClosed ? 1 : 0));
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

// "<!": a comment or a document type.
void Reader::declaration()
{
	const qsizetype start = pos_;
	++pos_;
	if (html_.sliced(pos_).startsWith(QLatin1StringView("--"))) {
		const qsizetype end = html_.indexOf(QLatin1StringView("-->"), pos_ + 2);
		pos_ = end < 0 ? html_.size() : end + 3;
	} else {
		skipTo(u'>', pos_);
	}
	carried_ += pos_ - start;
}

// Whether a tag's name can be taken as it is written. Qt resolves entities in names; nobody else writes them.
bool isPlainName(QStringView tag)
{
	return !tag.contains(u'&') || !tag.contains(u';');
}

void Reader::tag()
{
	const qsizetype tagStart = pos_;
	skipSpace();
	if (has(u'!')) {
		isOdd_ = isOdd_ || pos_ > 1;
		declaration();
		if (isWhole_ && stack_.empty() && !isEditorText_) {
			skipSpace();
		}
		return;
	}
	if (has(u'/')) {
		closeTag();
		return;
	}
	Tag read = pos_ == tagStart ? readTag() : readTagAnew();
	const QStringView tag = read.text;
	const Name &name = read.name;
	Attributes &found = read.found;
	isEditorText_ = isEditorText_ || (found.isEditorHead && name.element == Element::Meta);
	if (name.element != Element::Other || tag.isEmpty() || isAfterVoid_) {
		sureLength_ = 0;
	}
	isOdd_ = isOdd_ || !read.isEditors || !isEditorPlace(name);
	resolve(name);
	found.styled.tag = tag;
	addCost(css_.addElement(qsizetype(stack_.size()), found.styled));
	element(name, found);
	const bool isVoid = read.isClosed || isEmptyElement(name.element);
	isAfterVoid_ = isVoid;
	isAfterBlock_ = isAfterBlock_ || (isVoid && name.display == Display::Block && !isHidden());
	if (!isVoid && !tag.isEmpty()) {
		push(name, tag);
		if (name.element == Element::Table) {
			table(found.isRoot);
		}
		skipFiller(found.isEmptyParagraph);
	} else if (name.element == Element::Table) {
		++floats_;
	}
}

// A note repeats few tags thousands of times: one that Qt wrote is read once.
Reader::Tag Reader::readTag()
{
	const qsizetype start = pos_;
	const qsizetype end = html_.indexOf(u'>', start);
	if (end < 0) {
		return readTagAnew();
	}
	const QStringView source = html_.sliced(start, end + 1 - start);
	if (const auto known = tags_.constFind(source); known != tags_.constEnd()) {
		pos_ += source.size();
		attributes_ += known->found.styled.attributes;
		shape_.isHarmless = shape_.isHarmless && ++elements_ <= kMaxElements && attributes_ <= kMaxAttributes;
		addCost(known->cost);
		return *known;
	}
	const bool wasBounded = shape_.isBounded;
	const double cost = cost_;
	const qsizetype carried = carried_;
	Tag tag = readTagAnew();
	tag.cost = cost_ - cost;
	const bool isRepeatable = tag.isEditors && !isOdd_ && wasBounded == shape_.isBounded && carried == carried_ &&
				  pos_ - start == source.size() && tags_.size() < kMaxKnownTags &&
				  source.size() <= kMaxKnownTag && !contains(source, "texture");
	if (isRepeatable) {
		tags_.insert(source, tag);
	}
	return tag;
}

Reader::Tag Reader::readTagAnew()
{
	const qsizetype tagStart = pos_;
	Tag read;
	read.text = word();
	read.name = lookUp(read.text);
	shape_.isHarmless = shape_.isHarmless && isPlainName(read.text) && ++elements_ <= kMaxElements;
	if (pos_ < html_.size() && html_[pos_].isSpace()) {
		read.found = attributes(read.name);
	}
	const qsizetype start = pos_;
	skipTo(u'>', pos_);
	read.isClosed = html_.sliced(start, pos_ - start).contains(u'/');
	read.isEditors = isEditorTag(html_.sliced(tagStart, pos_ - tagStart), read.name);
	return read;
}

// Qt writes a line break into an empty paragraph and drops it when it reads it.
void Reader::skipFiller(bool isEmptyParagraph)
{
	static constexpr QLatin1StringView kFiller("<br />");
	if (!isEmptyParagraph) {
		return;
	}
	const QStringView rest = html_.sliced(pos_);
	if (rest.startsWith(kFiller) && rest.sliced(kFiller.size()).startsWith(QLatin1StringView("</"))) {
		pos_ += kFiller.size();
		++elements_;
	} else {
		shape_.isBounded = false; // Qt would skip more than this paragraph
	}
}

void Reader::closeTag()
{
	++pos_;
	sureLength_ = isAfterVoid_ ? 0 : sureLength_;
	isAfterVoid_ = false;
	if (top() == Element::Style) {
		addCost(css_.closeSheet());
	}
	const qsizetype start = pos_;
	const QStringView tag = word().trimmed();
	skipTo(u'>', pos_);
	isOdd_ = isOdd_ || stack_.empty() || stack_.back().tag != tag || pos_ - start != tag.size() + 1 ||
		 html_[start - 2] != u'<' || html_[pos_ - 1] != u'>';
	shape_.isHarmless = shape_.isHarmless && isPlainName(tag) && ++closeTags_ <= kMaxCloseTags;
	for (qsizetype depth = qsizetype(stack_.size()); depth > 0; --depth) {
		if (isSameName(stack_[size_t(depth) - 1].tag, tag)) {
			truncate(depth - 1);
			return;
		}
	}
}

// Whether Qt itself would write such an element at this place.
bool Reader::isEditorPlace(const Name &name) const
{
	const bool isInBody = stack_.size() > 1 && stack_[1].element == Element::Body;
	switch (name.element) {
	case Element::Html:
		return stack_.empty() && isPristine_;
	case Element::Head:
	case Element::Body:
		return stack_.size() == 1 && top() == Element::Html && isPristine_;
	case Element::Meta:
	case Element::Style:
	case Element::Hidden:
		return top() == Element::Head;
	case Element::Li:
		return isInBody && top() == Element::List;
	case Element::Other:
	case Element::Br:
	case Element::Img:
		return isInBody && top() != Element::Body && top() != Element::List;
	default:
		return isInBody && (top() == Element::Body || top() == Element::List || top() == Element::Li);
	}
}

// Text is in paragraphs and list items, and line feeds are nowhere but between them and before lists in lists.
bool Reader::isEditorText(QStringView text) const
{
	if (top() == Element::Body || top() == Element::List || top() == Element::Html || stack_.empty()) {
		return text == u"\n";
	}
	const QStringView next = html_.sliced(pos_ + text.size());
	const bool isBeforeList =
		top() == Element::Li && text.endsWith(u'\n') &&
		(next.startsWith(QLatin1StringView("<ol")) || next.startsWith(QLatin1StringView("<ul")));
	return std::ranges::none_of(text.chopped(isBeforeList ? 1 : 0), isBlockBreak);
}

Reader::Attributes Reader::attributes(const Name &name)
{
	Attributes found;
	bool isEditorName = false;
	bool isEditorContent = false;
	while (pos_ < html_.size() && shape_.isHarmless) {
		skipSpace();
		if (has(u'>') || has(u'/')) {
			break;
		}
		const QStringView key = word();
		if (key.isEmpty()) {
			break;
		}
		shape_.isHarmless = shape_.isHarmless && isPlainName(key) && ++attributes_ <= kMaxAttributes &&
				    ++found.styled.attributes <= kMaxAttributesOfElement;
		skipSpace();
		if (!has(u'=')) {
			continue;
		}
		++pos_;
		skipSpace();
		const QStringView value = word();
		isEditorName = isEditorName || (is(key, "name") && value == QLatin1StringView("qrichtext"));
		isEditorContent =
			isEditorContent || (isEditorName && is(key, "content") && value == QLatin1StringView("1"));
		attribute(key, value, name, found);
	}
	found.isEditorHead = isEditorContent;
	return found;
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

void Reader::attribute(QStringView key, QStringView value, const Name &name, Attributes &found)
{
	if (is(key, "style")) {
		addCost(css_.addStyle(value));
		isOdd_ = isOdd_ || !isEditorStyle(value);
		addCost(isCell(name.element) && contains(value, "border") ? kBorderedCellCost : 0);
		found.isFloating =
			found.isFloating || contains(value, "float") || value.contains(u'\\') || value.contains(u'&');
		found.isRoot = value.startsWith(QLatin1StringView("-qt-table-type: root;")) && isPlainStyle(value);
		found.isEmptyParagraph =
			value.startsWith(QLatin1StringView("-qt-paragraph-type:empty;")) && isPlainStyle(value);
		shape_.isBounded = shape_.isBounded && (found.isEmptyParagraph || !contains(value, "paragraph-type"));
	} else if (isCell(name.element) && is(key, "colspan")) {
		found.columnSpan = std::max(found.columnSpan, spanOf(value));
	} else if (isCell(name.element) && is(key, "rowspan")) {
		found.rowSpan = std::max(found.rowSpan, spanOf(value));
	} else if (is(key, "align") && name.element == Element::Img) {
		found.isFloating = true;
	} else if (is(key, "face")) {
		css_.addFontFamilies(value);
	} else if (is(key, "class")) {
		found.styled.isUnclear =
			found.styled.isUnclear || !found.styled.classes.isEmpty() || value.contains(u'&');
		found.styled.classes = value;
	} else if (is(key, "id")) {
		found.styled.isUnclear = found.styled.isUnclear || !found.styled.id.isEmpty() || value.contains(u'&');
		found.styled.id = value;
	}
	if (value.size() > 64 && value.startsWith(QLatin1StringView("data:"))) {
		carried_ += value.size();
	}
}

// Closes every element beyond `depth`.
void Reader::truncate(qsizetype depth)
{
	while (qsizetype(stack_.size()) > depth) {
		const Open open = stack_.back();
		stack_.pop_back();
		isAfterBlock_ = isAfterBlock_ || open.display == Display::Block || open.element == Element::Tr;
		if (!tables_.empty() && tables_.back().depth == qsizetype(stack_.size())) {
			spans_.resize(tables_.back().firstSpan);
			tables_.pop_back();
			nestedFactor_ = tables_.empty() ? 0 : double(1 << tables_.size());
		}
	}
}

// Leaves open only what the new element may be in.
void Reader::resolve(const Name &name)
{
	const auto elementAt = [this](qsizetype depth) { return stack_[size_t(depth) - 1].element; };
	qsizetype parent = qsizetype(stack_.size());
	const auto isInside = [&](Element element) {
		return std::ranges::any_of(stack_, [element](const Open &open) { return open.element == element; });
	};
	if (name.element == Element::Td && !isInside(Element::Tr)) {
		resolve(lookUp(u"tr"));
		row();
		pushImplied(u"tr");
		parent = qsizetype(stack_.size());
	}
	if (name.element == Element::Tr && !isInside(Element::Table)) {
		pushImplied(u"table");
		table(false);
		parent = qsizetype(stack_.size());
	}
	if (name.element == Element::P) {
		qsizetype block = parent;
		while (block > 0 && stack_[size_t(block) - 1].display != Display::Block) {
			--block;
		}
		parent = block > 0 && elementAt(block) == Element::P ? block : parent;
	}
	const bool isNotSelfNesting = name.element == Element::P || name.element == Element::Li;
	if (isNotSelfNesting && parent > 0 && elementAt(parent) == name.element) {
		--parent;
	}
	while (parent > 0 && !isAllowedIn(name.element, elementAt(parent))) {
		--parent;
	}
	truncate(parent);
}

void Reader::push(const Name &name, QStringView tag)
{
	stack_.push_back({tag, name.element, isHidden() ? Display::None : name.display, 0});
	shape_.isHarmless = shape_.isHarmless && qsizetype(stack_.size()) <= kMaxDepth;
}

// Opens an element that the HTML leaves out.
void Reader::pushImplied(QStringView tag)
{
	StyledElement element;
	element.tag = tag;
	addCost(css_.addElement(qsizetype(stack_.size()), element));
	push(lookUp(tag), tag);
}

// What an element adds to the document by itself.
void Reader::element(const Name &name, const Attributes &found)
{
	const bool isFloating = found.isFloating || (name.element == Element::Table && css_.hasFloatRules());
	addCost(nestedFactor_ * kNestedElementCost);
	if (isHidden()) {
		// Qt may show what stands in a hidden element, or hide what follows it.
		const bool isInPlace = top() == Element::Head && name.display == Display::None;
		shape_.isBounded = shape_.isBounded && isInPlace;
		return;
	}
	const bool isFrame = name.display == Display::None || name.element == Element::Html;
	isPristine_ = isPristine_ && (isFrame || name.element == Element::Body);
	switch (name.element) {
	case Element::Body:
		if (isPristine_) {
			isPristine_ = false;
			isBodyFresh_ = true;
		} else {
			addBlock();
		}
		break;
	case Element::Img:
		++images_;
		addCost(kPictureCost);
		floats_ += isFloating ? 1 : 0;
		[[fallthrough]];
	case Element::Br:
		content();
		addCharacters(1);
		break;
	case Element::Li:
		listItem();
		addBlock();
		break;
	case Element::List:
		isAfterBlock_ = true;
		break;
	case Element::Hr:
		addPossibleBlock(); // the text around a rule may get a block of its own
		addBlock();
		break;
	case Element::Tr:
		row();
		break;
	case Element::Td:
	case Element::Th:
		cell(found);
		break;
	case Element::Table:
		floats_ += isFloating ? 1 : 0;
		break;
	default:
		if (name.display == Display::Block) {
			addBlock();
		}
	}
}

void Reader::table(bool isRoot)
{
	shape_.isBounded = false;
	if (isRoot && !hasRootTable_) {
		hasRootTable_ = true;
		return;
	}
	tables_.push_back({.depth = qsizetype(stack_.size()) - 1, .firstSpan = spans_.size()});
	nestedFactor_ = double(1 << tables_.size());
	shape_.isHarmless = shape_.isHarmless && qsizetype(tables_.size()) <= kMaxTableDepth;
}

void Reader::row()
{
	shape_.isBounded = false;
	if (tables_.empty()) {
		return;
	}
	Table &table = tables_.back();
	++table.rows;
	const auto isOver = [&table](const RowSpan &span) { return span.endRow <= table.rows; };
	const auto first = spans_.begin() + std::ptrdiff_t(table.firstSpan);
	spans_.erase(std::remove_if(first, spans_.end(), isOver), spans_.end());
	table.rowColumns = 0;
	for (size_t i = table.firstSpan; i < spans_.size(); ++i) {
		table.rowColumns += spans_[i].columns;
	}
}

// Every row has as many cells as the longest.
void Reader::cell(const Attributes &found)
{
	shape_.isBounded = false;
	if (tables_.empty()) {
		return;
	}
	Table &table = tables_.back();
	table.rowColumns += found.columnSpan;
	table.columns = std::max(table.columns, table.rowColumns);
	if (found.rowSpan > 1) {
		spans_.push_back({table.rows + found.rowSpan, found.columnSpan});
		shape_.isHarmless = shape_.isHarmless && spans_.size() - table.firstSpan <= kMaxOpenRowSpans;
	}
	const qint64 cells = std::max<qint64>(table.rows, 1) * table.columns;
	addCost(double(cells - table.cells) * (kCellCost + nestedFactor_ * kNestedCellCost));
	table.cells = cells;
}

// Qt walks a whole list for every item that it gets.
void Reader::listItem()
{
	const auto isList = [](const Open &open) { return open.element == Element::List; };
	const auto list = std::find_if(stack_.rbegin(), stack_.rend(), isList);
	if (list != stack_.rend()) {
		addCost(kListItemPairCost * 2 * double(++list->items));
	}
}

void Reader::text(QStringView text)
{
	sourceText_ += text.size();
	shape_.isHarmless = shape_.isHarmless && sourceText_ <= kMaxSourceText;
	if (text.isEmpty() || !shape_.isHarmless) {
		return;
	}
	if (isHidden()) {
		if (top() == Element::Style) {
			css_.addSheet(text);
			shape_.isBounded = shape_.isBounded && !contains(text, "paragraph-type");
			isOdd_ = isOdd_ || !isEditorSheet(text);
		}
		return;
	}
	if (nestedFactor_ > 0) {
		const auto isComplex = [](QChar c) { return c == u'\t' || c == u'&' || c.unicode() >= 0x0300; };
		const double complex = double(std::ranges::count_if(text, isComplex)) * (kComplexCharacterFactor - 1);
		addCost(nestedFactor_ * kNestedCharacterCost * (double(text.size()) + complex));
	}
	isOdd_ = isOdd_ || !isEditorText(text);
	if (shape_.isBounded) {
		addText(text);
	}
}

// A character that no rule of Qt's parser treats in a way of its own; most are.
bool isLetter(QChar c)
{
	return c.unicode() > u' ' && c.unicode() < 0x7f && c != u'&';
}

// Counts text as Qt keeps it at most: white space that it would drop or join counts.
void Reader::addText(QStringView text)
{
	qsizetype sureFrom = 0; // an entity of a kind not known here may reach up to it
	for (qsizetype i = 0; i < text.size() && shape_.isBounded; ++i) {
		const QChar c = text[i];
		if (isLetter(c)) {
			qsizetype end = i;
			qsizetype sure = 0;
			for (; end < text.size() && (isLetter(text[end]) || text[end] == u' '); ++end) {
				sure += text[end] != u' ' && end >= sureFrom ? 1 : 0;
			}
			content();
			addCharacters(end - i);
			addSureCharacters(sure);
			i = end - 1;
		} else if (c == u'&') {
			content();
			sureFrom = i + kLongestEntity;
			i += entity(text.sliced(i)) - 1;
		} else if (isBlockBreak(c)) {
			if (!isEditorText_ || c != u'\n') {
				addPossibleBlock();
				addCharacters(1);
				isBodyFresh_ = false;
				isPristine_ = false;
			}
		} else {
			if (!c.isSpace()) {
				content();
				addSureCharacters(i >= sureFrom ? 1 : 0);
			}
			isBodyFresh_ = false;
			isPristine_ = false;
			addCharacters(1);
		}
	}
}

// Counts the entity or the lone ampersand that `text` starts with; returns its length.
qsizetype Reader::entity(QStringView text)
{
	static constexpr const char *kCharacters[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&nbsp;"};
	for (const char *known : kCharacters) {
		const QLatin1StringView name(known);
		if (text.startsWith(name)) {
			addCharacters(1);
			return name.size();
		}
	}
	isOdd_ = true;
	if (text.size() > 1 && text[1] == u'#') {
		addPossibleBlock();
	}
	addCharacters(1);
	return 1;
}

// Characters of their own that Qt neither drops nor joins with others.
void Reader::addSureCharacters(qint64 count)
{
	sureLength_ += count;
	shape_.leastLongestBlock = std::max(shape_.leastLongestBlock, sureLength_);
}

void Reader::addCharacters(qint64 count)
{
	shape_.characters += count;
	blockLength_ += count;
}

// An element that is a block opens.
void Reader::addBlock()
{
	const bool isNew = !isBodyFresh_;
	isAfterBlock_ = false;
	isPristine_ = false;
	isBodyFresh_ = false;
	if (isNew) {
		addPossibleBlock();
		shape_.longestBlock = std::max(shape_.longestBlock, blockLength_);
		blockLength_ = 1;
	}
}

// A block that Qt may start or not: what follows may also belong to the block so far.
void Reader::addPossibleBlock()
{
	addCost(nestedFactor_ * kNestedBlockCost);
	sureLength_ = 0;
	++shape_.blocks;
	++shape_.characters;
}

// Something that is seen is about to be added.
void Reader::content()
{
	if (isAfterBlock_) {
		addPossibleBlock();
	}
	isAfterBlock_ = false;
	isBodyFresh_ = false;
	isPristine_ = false;
}

void Reader::addCost(double cost)
{
	cost_ += cost;
	shape_.isHarmless = shape_.isHarmless && cost_ <= kMaxCost;
}

// What Qt reads of the HTML: the clipboard marks the part that was copied.
QStringView fragmentOf(QStringView html)
{
	const qsizetype start = html.indexOf(QLatin1StringView("<!--StartFragment-->"));
	if (start < 0) {
		return html;
	}
	const qsizetype end = html.indexOf(QLatin1StringView("<!--EndFragment-->"));
	return start < end ? html.sliced(start, end - start) : html.sliced(start);
}

} // namespace

HtmlShape shapeOf(const QString &html)
{
	if (html.size() > kMaxLength) {
		return {.isHarmless = false, .isBounded = false};
	}
	const QStringView fragment = fragmentOf(html);
	return Reader(fragment, fragment.size() == html.size()).read();
}

bool isHarmlessHtml(const QString &html)
{
	return shapeOf(html).isHarmless;
}

} // namespace quillbay
