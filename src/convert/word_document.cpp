// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/word_document.hpp"

#include "convert/word_styles.hpp"
#include "convert/word_xml.hpp"
#include "notes/editor_html.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"
#include "plugin/text.hpp"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextList>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace quillbay::word {

namespace {

const QString kDefaultStyle = QStringLiteral("Normal");

// Qt walks a whole list for every item that it gets: a longer one goes on in a list that counts on from there.
constexpr int kMaxListItems = 1'000;

// Builds the note in a document of its own while the main part is read.
class Builder {
public:
	Builder(const QByteArray &styles, const QByteArray &numbering)
	    : sheet_(readStyles(styles)), numbering_(readNumbering(numbering))
	{
		plainChars_ = sheet_.defaults;
		plainChars_.merge(resolved(kDefaultStyle).chars);
	}

	DocxResult read(const QByteArray &part);

private:
	struct List {
		QTextList *open = nullptr;
		int items = 0;
	};

	// Whether the text so far keeps the limits of a note.
	[[nodiscard]] bool isWithinLimits() const
	{
		return document_->characterCount() <= kMaxCharacterCount && blockLength_ <= kMaxBlockLength &&
		       document_->blockCount() <= kMaxParagraphs;
	}
	void readElement();
	void readInParagraph();
	void startParagraph();
	void readBlockFormat();
	void endParagraph();
	void joinList(int numId, int ilvl);
	void restartBelow(int numId, int ilvl);
	void closeListsAfter(const QTextList *list);
	void readRunFormat();
	void readText();
	void insert(const QString &text);
	const Style &resolved(const QString &id);

	QXmlStreamReader reader_;
	StyleSheet sheet_;
	Numbering numbering_;
	QHash<QString, Style> resolved_;
	std::unique_ptr<NoteDocument> document_ = NoteDocument::makeScratch();
	QTextCursor cursor_{document_.get()};
	// By numId and ilvl. Not a QHash: it moves its values.
	std::map<std::pair<int, int>, List> lists_;
	// Those that can go on, each begun after the one before.
	std::vector<List *> openLists_;
	// A paragraph's characters where no properties say otherwise.
	QTextCharFormat plainChars_;
	QTextCharFormat paragraphChars_;
	QTextCharFormat runChars_;
	// The numbering of the paragraph; -1 when it has none.
	int numId_ = -1;
	int ilvl_ = 0;
	int blockLength_ = 1;
	bool isFirst_ = true;
	bool isInParagraph_ = false;
	bool isSimplified_ = false;
	bool isTooLong_ = false;
};

DocxResult Builder::read(const QByteArray &part)
{
	openPart(reader_, part);
	cursor_.beginEditBlock();
	while (!reader_.atEnd() && !isTooLong_ && isWithinLimits()) {
		reader_.readNext();
		if (reader_.isStartElement()) {
			readElement();
		} else if (reader_.isEndElement() && reader_.name() == QLatin1StringView("p")) {
			endParagraph();
		}
	}
	endParagraph();
	cursor_.endEditBlock();
	const bool isAtEnd = reader_.atEnd() && !isTooLong_;
	if (isAtEnd && reader_.hasError()) {
		return {.html = {}, .error = text("WordXmlError") + reader_.errorString()};
	}
	if (!isAtEnd || !withinTextLimits(*document_)) {
		return {.html = {}, .error = text("TextLimit")};
	}
	return {.html = document_->toHtml(), .error = {}, .simplified = isSimplified_};
}

void Builder::readElement()
{
	const QStringView name = reader_.name();
	if (name == QLatin1StringView("del") || name == QLatin1StringView("moveFrom")) {
		reader_.skipCurrentElement();
	} else if (name == QLatin1StringView("drawing") || name == QLatin1StringView("pict") ||
		   name == QLatin1StringView("object")) {
		isSimplified_ = true;
		reader_.skipCurrentElement();
	} else if (name == QLatin1StringView("tbl")) {
		isSimplified_ = true;
	} else if (name == QLatin1StringView("p")) {
		startParagraph();
	} else if (isInParagraph_) {
		readInParagraph();
	}
}

void Builder::readInParagraph()
{
	const QStringView name = reader_.name();
	if (name == QLatin1StringView("t")) {
		readText();
	} else if (name == QLatin1StringView("r")) {
		runChars_ = paragraphChars_;
	} else if (name == QLatin1StringView("rPr")) {
		readRunFormat();
	} else if (name == QLatin1StringView("pPr")) {
		readBlockFormat();
	} else if (name == QLatin1StringView("tab")) {
		insert(QStringLiteral("\t"));
	} else if (name == QLatin1StringView("br") || name == QLatin1StringView("cr")) {
		insert(QString(QChar::LineSeparator));
	}
}

void Builder::startParagraph()
{
	endParagraph();
	if (!std::exchange(isFirst_, false)) {
		cursor_.insertBlock(QTextBlockFormat(), sheet_.defaults);
		blockLength_ = 1;
	}
	paragraphChars_ = plainChars_;
	runChars_ = plainChars_;
	isInParagraph_ = true;
}

void Builder::readBlockFormat()
{
	const Paragraph own = readParagraphProperties(reader_);
	const Style &style = resolved(own.style.isEmpty() ? kDefaultStyle : own.style);
	QTextBlockFormat block = style.block;
	block.merge(own.block);
	paragraphChars_ = sheet_.defaults;
	paragraphChars_.merge(style.chars);
	paragraphChars_.merge(own.chars);
	cursor_.setBlockFormat(block);
	cursor_.setBlockCharFormat(paragraphChars_);
	numId_ = own.numId >= 0 ? own.numId : style.numId;
	ilvl_ = own.numId >= 0 ? own.ilvl : style.ilvl;
}

// The list is joined once, when the properties are known for good: Qt deletes a list that its only paragraph leaves.
// The numbering 0 takes a paragraph out of its style's list.
void Builder::endParagraph()
{
	if (numId_ > 0) {
		joinList(numId_, ilvl_);
	}
	numId_ = -1;
	isInParagraph_ = false;
}

void Builder::joinList(int numId, int ilvl)
{
	List &own = lists_[{numId, ilvl}];
	if (own.open) {
		closeListsAfter(own.open);
	} else {
		openLists_.push_back(&own);
	}
	restartBelow(numId, ilvl);
	if (own.open && own.items % kMaxListItems != 0) {
		own.open->add(cursor_.block());
	} else {
		QTextListFormat format;
		format.setStyle(numbering_.styleOf(numId, ilvl));
		format.setIndent(ilvl + 1);
		if (own.items > 0) {
			format.setStart(own.items + 1);
		}
		own.open = cursor_.createList(format);
	}
	++own.items;
}

// Under a new item of a list the levels below it count from one again, unless they still go on.
void Builder::restartBelow(int numId, int ilvl)
{
	for (int deeper = ilvl + 1; deeper <= kDeepestLevel; ++deeper) {
		const auto below = lists_.find({numId, deeper});
		if (below != lists_.end() && !below->second.open) {
			below->second.items = 0;
		}
	}
}

// Qt writes a list into the list before it that still goes on. So that one cannot go on once the outer one has: its
// later items make a list of their own.
void Builder::closeListsAfter(const QTextList *list)
{
	while (openLists_.back()->open != list) {
		openLists_.back()->open = nullptr;
		openLists_.pop_back();
	}
}

void Builder::readRunFormat()
{
	while (reader_.readNextStartElement()) {
		if (reader_.name() == QLatin1StringView("rStyle")) {
			runChars_.merge(resolved(attr(reader_, "val")).chars);
		} else {
			runProperty(reader_, runChars_);
		}
		reader_.skipCurrentElement();
	}
}

// The text of the element, of elements inside it too. Line ends in it are white space: paragraphs are elements.
void Builder::readText()
{
	QString content;
	for (int depth = 1; depth > 0 && !reader_.hasError();) {
		reader_.readNext();
		if (reader_.isCharacters() || reader_.isEntityReference()) {
			content += reader_.text();
		} else if (reader_.isStartElement()) {
			++depth;
		} else if (reader_.isEndElement()) {
			--depth;
		}
	}
	isTooLong_ = content.size() > kMaxCharacterCount - document_->characterCount() ||
		     content.size() > kMaxBlockLength - blockLength_;
	if (!isTooLong_) {
		std::ranges::replace_if(content, isBlockBreak, QChar(u' '));
		insert(content);
	}
}

void Builder::insert(const QString &content)
{
	cursor_.insertText(content, runChars_);
	blockLength_ += static_cast<int>(content.size());
}

// Cached: most paragraphs of a document share a few styles.
const Style &Builder::resolved(const QString &id)
{
	const auto known = resolved_.constFind(id);
	if (known != resolved_.constEnd()) {
		return *known;
	}
	static const Style kUnknown;
	return sheet_.styles.contains(id) ? *resolved_.insert(id, resolveStyle(sheet_.styles, id)) : kUnknown;
}

} // namespace

DocxResult parseDocument(const QByteArray &document, const QByteArray &styles, const QByteArray &numbering)
{
	return Builder(styles, numbering).read(document);
}

} // namespace quillbay::word
