// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/document_edit.hpp"

#include "convert/export_document.hpp"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextList>

#include <algorithm>

namespace quillbay {

namespace {

// Whether the browser's character leaves the note's as it is. A browser may send a plain space for a no-break one;
// that is no reason to replace it.
bool isKept(QChar noted, QChar sent)
{
	if (noted == QChar::ParagraphSeparator) {
		return sent == u'\n';
	}
	return noted == sent || (noted == QChar::Nbsp && sent == u' ');
}

void applyText(QTextCursor &cursor, const QString &sent)
{
	const Difference changed = differenceOf(cursor.document()->toRawText(), sent);
	// From its end to its start: what is inserted looks like the text before it.
	cursor.setPosition(static_cast<int>(changed.oldEnd));
	cursor.setPosition(static_cast<int>(changed.start), QTextCursor::KeepAnchor);
	cursor.insertText(sent.mid(changed.start, changed.newEnd - changed.start));
}

/// Text whose font is the first of these families that is there.
struct FamilyList {
	int begin = 0;
	int end = 0;
	QString first;
};

std::vector<FamilyList> familyLists(const QTextDocument &document)
{
	QHash<int, QString> known; // by format; null where there is no list
	std::vector<FamilyList> lists;
	for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
		for (auto at = block.begin(); !at.atEnd(); ++at) {
			const QTextFragment fragment = at.fragment();
			auto first = known.constFind(fragment.charFormatIndex());
			if (first == known.constEnd()) {
				const QTextCharFormat format = fragment.charFormat();
				const bool isList = format.fontFamilies().toStringList().size() > 1;
				first = known.insert(fragment.charFormatIndex(), isList ? familyOf(format) : QString());
			}
			if (!first->isNull()) {
				lists.push_back({fragment.position(), fragment.position() + fragment.length(), *first});
			}
		}
	}
	return lists;
}

void merge(QTextCursor &cursor, int begin, int end, const QTextCharFormat &format)
{
	if (begin < end) {
		cursor.setPosition(begin);
		cursor.setPosition(end, QTextCursor::KeepAnchor);
		cursor.mergeCharFormat(format);
	}
}

// A run can name one family. Where it names the one that its text has, it says nothing about those that are there to
// stand in for it, as in every note that is written in the host's own font.
void applyRuns(QTextCursor &cursor, const std::vector<Run> &runs)
{
	const std::vector<FamilyList> lists = familyLists(*cursor.document());
	auto list = lists.begin();
	for (const Run &run : runs) {
		const int end = run.position + run.length;
		int begin = run.position;
		for (; list != lists.end() && list->begin < end; ++list) {
			if (list->end > begin && list->first == familyOf(run.format)) {
				const int kept = std::max(begin, list->begin);
				merge(cursor, begin, kept, run.format);
				begin = std::min(end, list->end);
				merge(cursor, kept, begin, run.besidesFamily);
			}
			if (list->end > end) {
				break; // the next run goes on in it
			}
		}
		merge(cursor, begin, end, run.format);
	}
}

QHash<const QTextList *, int> numberLists(const QTextDocument &document, int listsBefore)
{
	ListNumbers numbers(listsBefore);
	QHash<const QTextList *, int> lists;
	for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
		if (const QTextList *list = block.textList()) {
			lists.insert(list, numbers.of(list));
		}
	}
	return lists;
}

// Puts each paragraph into the list that it belongs to.
class ListKeeper {
public:
	ListKeeper(const QTextDocument &document, int listsBefore) : numbers_(numberLists(document, listsBefore)) {}

	/// The list that the block is to be in, or null. May make a new list at the cursor.
	QTextList *listFor(QTextCursor &cursor, const BlockForm &form)
	{
		const bool goesOn = current_ && form.listGroup == last_.listGroup && form.list == last_.list &&
				    form.listIndent == last_.listIndent;
		last_ = form;
		if (form.list == 0) {
			current_ = nullptr;
		} else if (!goesOn) {
			QTextList *own = cursor.block().textList();
			current_ = own && isAsked(*own, form) ? own : createList(cursor, form);
		}
		return current_;
	}

private:
	[[nodiscard]] bool isAsked(const QTextList &list, const BlockForm &form) const
	{
		const QTextListFormat format = list.format();
		return numbers_.value(&list) == form.listGroup && format.style() == form.list &&
		       format.indent() == form.listIndent && format.start() == form.listStart;
	}

	static QTextList *createList(QTextCursor &cursor, const BlockForm &form)
	{
		QTextListFormat format;
		format.setStyle(static_cast<QTextListFormat::Style>(form.list));
		format.setIndent(form.listIndent);
		format.setStart(form.listStart);
		return cursor.createList(format);
	}

	const QHash<const QTextList *, int> numbers_;
	QTextList *current_ = nullptr;
	BlockForm last_;
};

// False when there are fewer paragraphs than forms.
bool applyBlocks(QTextCursor &cursor, ListKeeper &lists, const std::vector<BlockForm> &forms)
{
	QTextBlock block = cursor.document()->begin();
	for (const BlockForm &form : forms) {
		if (!block.isValid()) {
			return false;
		}
		cursor.setPosition(block.position());
		const QTextList *list = lists.listFor(cursor, form);
		// Not QTextList::remove: it would add the list's indentation to the paragraph's.
		QTextBlockFormat format = block.blockFormat();
		format.setAlignment(static_cast<Qt::Alignment>(form.align));
		format.setIndent(form.indent);
		format.setObjectIndex(list ? list->objectIndex() : -1);
		if (format != block.blockFormat()) {
			cursor.setBlockFormat(format);
		}
		block = block.next();
	}
	return true;
}

} // namespace

Difference differenceOf(QStringView noted, QStringView sent)
{
	const qsizetype shorter = std::min(noted.size(), sent.size());
	qsizetype prefix = 0;
	while (prefix < shorter && isKept(noted[prefix], sent[prefix])) {
		++prefix;
	}
	if (prefix > 0 && prefix < noted.size() && noted[prefix].isLowSurrogate()) {
		--prefix;
	}
	qsizetype suffix = 0;
	while (suffix < shorter - prefix && isKept(noted[noted.size() - 1 - suffix], sent[sent.size() - 1 - suffix])) {
		++suffix;
	}
	if (suffix > 0 && suffix < noted.size() - prefix && noted[noted.size() - suffix].isLowSurrogate()) {
		--suffix;
	}
	return {prefix, noted.size() - suffix, sent.size() - suffix};
}

bool edit(QTextDocument &document, const IncomingDocument &incoming, int listsBefore)
{
	ListKeeper lists(document, listsBefore);
	QTextCursor cursor(&document);
	cursor.beginEditBlock();
	applyText(cursor, incoming.text());
	applyRuns(cursor, incoming.runs());
	const bool isApplied = applyBlocks(cursor, lists, incoming.blocks());
	cursor.endEditBlock();
	return isApplied;
}

} // namespace quillbay
