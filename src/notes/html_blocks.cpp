// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/html_blocks.hpp"
#include "notes/editor_html.hpp"

namespace quillbay {

namespace {

constexpr qsizetype kLongestEntity = 12;
// Those that Qt writes.
constexpr const char *kEntities[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&nbsp;"};

// The entity of them that the text starts with, or nothing.
QLatin1StringView editorEntity(QStringView text)
{
	for (const char *entity : kEntities) {
		const QLatin1StringView name(entity);
		if (text.startsWith(name)) {
			return name;
		}
	}
	return {};
}

// A character that no rule of Qt's parser treats in a way of its own; most are.
bool isLetter(QChar c)
{
	return c.unicode() > u' ' && c.unicode() < 0x7f && c != u'&';
}

} // namespace

bool BlockCounter::addText(QStringView text, bool isEditors)
{
	bool isAsWritten = true;
	qsizetype sureFrom = 0; // an entity of a kind not known here may reach up to it
	for (qsizetype i = 0; i < text.size();) {
		const QChar c = text[i];
		if (isLetter(c)) {
			i += addWords(text.sliced(i), sureFrom - i);
		} else if (c == u'&') {
			const QLatin1StringView entity = editorEntity(text.sliced(i));
			isAsWritten = isAsWritten && !entity.isEmpty();
			sureFrom = i + kLongestEntity;
			addEntity(entity.isEmpty() && i + 1 < text.size() && text[i + 1] == u'#');
			i += std::max<qsizetype>(entity.size(), 1);
		} else if (isBlockBreak(c)) {
			if (!isEditors || c != u'\n') {
				addPossibleBlock();
				addSpace();
			}
			++i;
		} else {
			if (!c.isSpace()) {
				beginContent();
				addSureCharacters(i >= sureFrom ? 1 : 0);
			}
			addSpace();
			++i;
		}
	}
	return isAsWritten;
}

// The letters and blanks that the text starts with; those from `sureFrom` on are not part of an entity. Returns how
// many they are.
qsizetype BlockCounter::addWords(QStringView text, qsizetype sureFrom)
{
	qsizetype length = 0;
	qsizetype sure = 0;
	for (; length < text.size() && (isLetter(text[length]) || text[length] == u' '); ++length) {
		sure += text[length] != u' ' && length >= sureFrom ? 1 : 0;
	}
	beginContent();
	addCharacters(length);
	addSureCharacters(sure);
	return length;
}

// An entity or a lone ampersand.
void BlockCounter::addEntity(bool mayBreakBlock)
{
	beginContent();
	if (mayBreakBlock) {
		addPossibleBlock();
	}
	addCharacters(1);
}

// A character, which need not be seen.
void BlockCounter::addSpace()
{
	isBodyFresh_ = false;
	isPristine_ = false;
	addCharacters(1);
}

void BlockCounter::addObject()
{
	beginContent();
	addCharacters(1);
}

void BlockCounter::addBlock()
{
	const bool isNew = !isBodyFresh_;
	isAfterBlock_ = false;
	isPristine_ = false;
	isBodyFresh_ = false;
	if (isNew) {
		addPossibleBlock();
		longestBlock_ = longestBlock();
		blockLength_ = 1;
	}
}

void BlockCounter::addPossibleBlock()
{
	sureLength_ = 0;
	++blocks_;
	++characters_;
}

void BlockCounter::openBody()
{
	if (!isPristine_) {
		addBlock();
		return;
	}
	isPristine_ = false;
	isBodyFresh_ = true;
}

// Something that is seen is about to be added.
void BlockCounter::beginContent()
{
	if (isAfterBlock_) {
		addPossibleBlock();
	}
	isAfterBlock_ = false;
	isBodyFresh_ = false;
	isPristine_ = false;
}

void BlockCounter::addCharacters(qint64 count)
{
	characters_ += count;
	blockLength_ += count;
}

// Characters of their own that Qt neither drops nor joins with others.
void BlockCounter::addSureCharacters(qint64 count)
{
	sureLength_ += count;
	leastLongestBlock_ = std::max(leastLongestBlock_, sureLength_);
}

} // namespace quillbay
