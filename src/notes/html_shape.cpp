// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/html_shape.hpp"
#include "notes/css_cost.hpp"
#include "notes/editor_html.hpp"
#include "notes/html_blocks.hpp"
#include "notes/html_names.hpp"
#include "notes/html_tables.hpp"
#include "notes/html_tags.hpp"

#include <algorithm>
#include <vector>

namespace quillbay {

namespace {

constexpr qsizetype kMaxLength = 64 * 1024 * 1024;
constexpr qsizetype kMaxSourceText = 4'000'000; // a full note, written in entities and indented, stays below
constexpr qsizetype kMaxDepth = 200;
constexpr int kMaxFloats = 300;
constexpr int kMaxElementsWithSiblingRules = 500;

// What things cost Qt to parse and to show, in microseconds, as measured; and what all of them together may cost.
constexpr double kMaxCost = 1'000'000;
constexpr double kCellCost = 60;
constexpr double kNestedCellCost = 6; // doubles with every level, as do the next three
constexpr double kNestedBlockCost = 8;
constexpr double kNestedElementCost = 8;
constexpr double kNestedCharacterCost = 0.4;
constexpr double kComplexCharacterFactor = 5; // tabs and other scripts
constexpr double kPictureCost = 60;
constexpr double kListItemPairCost = 0.024;

// The tree that Qt's parser builds decides what HTML costs, so this follows that parser tag by tag: which element
// closes which, and where an element may not be.
class Reader {
public:
	Reader(QStringView html, bool isWhole) : source_(html, css_), isWhole_(isWhole) {}
	HtmlShape read();

private:
	struct Open {
		QStringView tag;
		Element element;
		Display display;
		qsizetype items; // list items so far
	};

	[[nodiscard]] bool isHarmless() const { return isCheap_ && source_.isHarmless() && tables_.isHarmless(); }
	[[nodiscard]] qsizetype depth() const { return qsizetype(stack_.size()); }
	[[nodiscard]] Element elementAt(qsizetype depth) const { return stack_[size_t(depth) - 1].element; }
	[[nodiscard]] Element top() const { return stack_.empty() ? Element::Other : stack_.back().element; }
	[[nodiscard]] bool isHidden() const { return !stack_.empty() && stack_.back().display == Display::None; }
	[[nodiscard]] bool isInside(Element element) const;
	void readTag();
	void skipDeclaration();
	void readOpeningTag();
	void readClosingTag();
	[[nodiscard]] bool isEditorPlace(const Name &name) const;
	[[nodiscard]] bool isEditorText(QStringView text) const;
	void truncate(qsizetype depth);
	void resolve(const Name &name);
	[[nodiscard]] qsizetype depthForParagraph() const;
	void push(const Name &name, QStringView tag);
	void pushImplied(QStringView tag);
	void addElement(const Tag &tag);
	void addContent(const Tag &tag);
	void addPicture(bool isFloating);
	void openTable(bool isRoot);
	void addRow();
	void addCell(const Tag &tag);
	void addListItem();
	void addText(QStringView text);
	void addCost(double cost);
	HtmlShape finish();

	CssCost css_;
	TagReader source_;
	BlockCounter blocks_;
	OpenTables tables_;
	std::vector<Open> stack_;

	bool isWhole_;              // not a marked part, before which Qt may put the mark of its own HTML
	bool isCheap_ = true;       // as far as it is judged here
	bool isBounded_ = true;     // see HtmlShape
	bool isOdd_ = false;        // something in it is not as QTextDocument::toHtml writes
	bool isEditorHtml_ = false; // it says that Qt wrote it
	bool isAfterVoid_ = false;  // Qt puts the text there into the void element, which the next tag ends
	bool hasRootTable_ = false;

	double cost_ = 0;
	qsizetype sourceText_ = 0; // characters between tags, as they are written
	qint64 floats_ = 0;
	qint64 images_ = 0;
};

HtmlShape Reader::read()
{
	isOdd_ = !isWhole_ || !source_.rest().startsWith(kEditorHead);
	while (isHarmless() && !source_.isAtEnd()) {
		addText(source_.readText());
		if (!source_.isAtEnd()) {
			readTag();
		}
	}
	return finish();
}

HtmlShape Reader::finish()
{
	isOdd_ = isOdd_ || !stack_.empty();
	truncate(0);
	if (css_.hasFloatRules()) {
		floats_ += images_;
	}
	HtmlShape shape;
	shape.isHarmless = isHarmless() && css_.isHarmless() && floats_ <= kMaxFloats &&
			   !(css_.hasSiblingRules() && source_.elements() > kMaxElementsWithSiblingRules);
	shape.characters = blocks_.characters();
	shape.blocks = blocks_.blocks();
	shape.longestBlock = blocks_.longestBlock();
	shape.leastLongestBlock = isBounded_ && !css_.hasDisplay() ? blocks_.leastLongestBlock() : 0;
	// A refused text is not read to its end, and Qt mends broken HTML in too many ways to foresee them all.
	shape.isBounded = isBounded_ && shape.isHarmless && !isOdd_;
	return shape;
}

void Reader::readTag()
{
	switch (source_.beginTag()) {
	case TagReader::Kind::Declaration:
		skipDeclaration();
		break;
	case TagReader::Kind::Closing:
		readClosingTag();
		break;
	case TagReader::Kind::Opening:
		readOpeningTag();
	}
}

void Reader::skipDeclaration()
{
	isOdd_ = !source_.skipDeclaration() || isOdd_;
	if (isWhole_ && stack_.empty() && !isEditorHtml_) {
		source_.skipSpace();
	}
}

void Reader::readOpeningTag()
{
	Tag tag = source_.readOpeningTag();
	const Name name = tag.name;
	addCost(tag.cost);
	isBounded_ = isBounded_ && tag.isBounded;
	isEditorHtml_ = isEditorHtml_ || (tag.isEditorHead && name.element == Element::Meta);
	if (name.element != Element::Other || tag.text.isEmpty() || isAfterVoid_) {
		blocks_.endSureText();
	}
	isOdd_ = isOdd_ || !tag.isEditors || !isEditorPlace(name);
	resolve(name);
	addCost(css_.addElement(depth(), tag.styled));
	addElement(tag);
	isAfterVoid_ = tag.isClosed || isEmptyElement(name.element);
	if (isAfterVoid_ && name.display == Display::Block && !isHidden()) {
		blocks_.closeBlock();
	}
	if (isAfterVoid_ || tag.text.isEmpty()) {
		floats_ += name.element == Element::Table ? 1 : 0;
		return;
	}
	push(name, tag.text);
	if (name.element == Element::Table) {
		openTable(tag.isRoot);
	}
	if (tag.isEmptyParagraph && !source_.skipFiller()) {
		isBounded_ = false; // Qt would skip more than this paragraph
	}
}

void Reader::readClosingTag()
{
	if (isAfterVoid_) {
		blocks_.endSureText();
	}
	isAfterVoid_ = false;
	if (top() == Element::Style) {
		addCost(css_.closeSheet());
	}
	const TagReader::ClosingTag tag = source_.readClosingTag();
	isOdd_ = isOdd_ || stack_.empty() || stack_.back().tag != tag.text || !tag.isEditors;
	const auto isSame = [&tag](const Open &open) { return isSameName(open.tag, tag.text); };
	const auto opening = std::find_if(stack_.rbegin(), stack_.rend(), isSame);
	if (opening != stack_.rend()) {
		truncate(stack_.rend() - opening - 1);
	}
}

bool Reader::isInside(Element element) const
{
	return std::ranges::any_of(stack_, [element](const Open &open) { return open.element == element; });
}

// Whether Qt itself would write such an element at this place.
bool Reader::isEditorPlace(const Name &name) const
{
	const bool isInBody = stack_.size() > 1 && stack_[1].element == Element::Body;
	switch (name.element) {
	case Element::Html:
		return stack_.empty() && blocks_.isPristine();
	case Element::Head:
	case Element::Body:
		return stack_.size() == 1 && top() == Element::Html && blocks_.isPristine();
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

// Whether Qt itself would write such text at this place: text is in paragraphs and list items, and line feeds are
// nowhere but between them and before lists in lists.
bool Reader::isEditorText(QStringView text) const
{
	if (top() == Element::Body || top() == Element::List || top() == Element::Html || stack_.empty()) {
		return text == u"\n";
	}
	const QStringView next = source_.rest();
	const bool isBeforeList =
		top() == Element::Li && text.endsWith(u'\n') &&
		(next.startsWith(QLatin1StringView("<ol")) || next.startsWith(QLatin1StringView("<ul")));
	return std::ranges::none_of(text.chopped(isBeforeList ? 1 : 0), isBlockBreak);
}

// Closes every element beyond `depth`.
void Reader::truncate(qsizetype depth)
{
	while (qsizetype(stack_.size()) > depth) {
		const Open open = stack_.back();
		stack_.pop_back();
		if (open.display == Display::Block || open.element == Element::Tr) {
			blocks_.closeBlock();
		}
		tables_.close(qsizetype(stack_.size()));
	}
}

// Leaves open only what the new element may be in, and opens what the HTML leaves out around it.
void Reader::resolve(const Name &name)
{
	if (name.element == Element::Td && !isInside(Element::Tr)) {
		resolve(lookUp(u"tr"));
		addRow();
		pushImplied(u"tr");
	}
	if (name.element == Element::Tr && !isInside(Element::Table)) {
		pushImplied(u"table");
		openTable(false);
	}
	qsizetype parent = name.element == Element::P ? depthForParagraph() : depth();
	const bool isNotSelfNesting = name.element == Element::P || name.element == Element::Li;
	if (isNotSelfNesting && parent > 0 && elementAt(parent) == name.element) {
		--parent;
	}
	while (parent > 0 && !isAllowedIn(name.element, elementAt(parent))) {
		--parent;
	}
	truncate(parent);
}

// A paragraph ends the one that it stands in, with all formatting that is open in there.
qsizetype Reader::depthForParagraph() const
{
	qsizetype block = depth();
	while (block > 0 && stack_[size_t(block) - 1].display != Display::Block) {
		--block;
	}
	return block > 0 && elementAt(block) == Element::P ? block : depth();
}

void Reader::push(const Name &name, QStringView tag)
{
	stack_.push_back({tag, name.element, isHidden() ? Display::None : name.display, 0});
	isCheap_ = isCheap_ && depth() <= kMaxDepth;
}

// Opens an element that the HTML leaves out.
void Reader::pushImplied(QStringView tag)
{
	StyledElement element;
	element.tag = tag;
	addCost(css_.addElement(depth(), element));
	push(lookUp(tag), tag);
}

// What an element adds to the document by itself.
void Reader::addElement(const Tag &tag)
{
	const Name &name = tag.name;
	addCost(tables_.nestingFactor() * kNestedElementCost);
	if (isHidden()) {
		// Qt may show what stands in a hidden element, or hide what follows it.
		isBounded_ = isBounded_ && top() == Element::Head && name.display == Display::None;
		return;
	}
	const bool isFrame =
		name.display == Display::None || name.element == Element::Html || name.element == Element::Body;
	if (!isFrame) {
		blocks_.touch();
	}
	const qint64 blocksBefore = blocks_.blocks();
	addContent(tag);
	addCost(tables_.nestingFactor() * kNestedBlockCost * double(blocks_.blocks() - blocksBefore));
}

void Reader::addContent(const Tag &tag)
{
	switch (tag.name.element) {
	case Element::Body:
		blocks_.openBody();
		break;
	case Element::Img:
		addPicture(tag.isFloating);
		break;
	case Element::Br:
		blocks_.addObject();
		break;
	case Element::Li:
		addListItem();
		break;
	case Element::List:
		blocks_.closeBlock();
		break;
	case Element::Hr:
		blocks_.addPossibleBlock(); // the text around a rule may get a block of its own
		blocks_.addBlock();
		break;
	case Element::Tr:
		addRow();
		break;
	case Element::Td:
	case Element::Th:
		addCell(tag);
		break;
	case Element::Table:
		floats_ += tag.isFloating || css_.hasFloatRules() ? 1 : 0;
		break;
	default:
		if (tag.name.display == Display::Block) {
			blocks_.addBlock();
		}
	}
}

void Reader::addPicture(bool isFloating)
{
	++images_;
	floats_ += isFloating ? 1 : 0;
	addCost(kPictureCost);
	blocks_.addObject();
}

void Reader::openTable(bool isRoot)
{
	isBounded_ = false;
	if (isRoot && !hasRootTable_) {
		hasRootTable_ = true;
		return;
	}
	tables_.open(depth() - 1);
}

void Reader::addRow()
{
	isBounded_ = false;
	tables_.addRow();
}

void Reader::addCell(const Tag &tag)
{
	isBounded_ = false;
	const double cells = double(tables_.addCell(tag.columnSpan, tag.rowSpan));
	addCost(cells * (kCellCost + tables_.nestingFactor() * kNestedCellCost));
}

// Qt walks a whole list for every item that it gets.
void Reader::addListItem()
{
	const auto isList = [](const Open &open) { return open.element == Element::List; };
	const auto list = std::find_if(stack_.rbegin(), stack_.rend(), isList);
	if (list != stack_.rend()) {
		addCost(kListItemPairCost * 2 * double(++list->items));
	}
	blocks_.addBlock();
}

void Reader::addText(QStringView text)
{
	sourceText_ += text.size();
	isCheap_ = isCheap_ && sourceText_ <= kMaxSourceText;
	if (text.isEmpty() || !isHarmless()) {
		return;
	}
	if (isHidden()) {
		if (top() == Element::Style) {
			css_.addSheet(text);
			isBounded_ = isBounded_ && !mentions(text, "paragraph-type");
			isOdd_ = isOdd_ || !isEditorSheet(text);
		}
		return;
	}
	if (tables_.nestingFactor() > 0) {
		const auto isComplex = [](QChar c) { return c == u'\t' || c == u'&' || c.unicode() >= 0x0300; };
		const double complex = double(std::ranges::count_if(text, isComplex)) * (kComplexCharacterFactor - 1);
		addCost(tables_.nestingFactor() * kNestedCharacterCost * (double(text.size()) + complex));
	}
	isOdd_ = isOdd_ || !isEditorText(text);
	if (isBounded_) {
		isOdd_ = !blocks_.addText(text, isEditorHtml_) || isOdd_;
	}
}

void Reader::addCost(double cost)
{
	cost_ += cost;
	isCheap_ = isCheap_ && cost_ <= kMaxCost;
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
