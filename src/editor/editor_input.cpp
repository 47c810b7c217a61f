// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The paths by which text enters or leaves the note, each checked against the limits before it is carried out.

#include "editor/editor.hpp"

#include "notes/html_shape.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"

#include <QDropEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocumentFragment>

#include <algorithm>
#include <memory>
#include <optional>

namespace quillbay {

namespace {

QString withLineFeeds(QString text)
{
	return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
}

bool isParagraphBreak(QChar character)
{
	return character == u'\n' || character == u'\r' || character == QChar::ParagraphSeparator;
}

bool matchesAny(const QKeyEvent *event, std::initializer_list<QKeySequence::StandardKey> keys)
{
	return std::ranges::any_of(keys, [event](QKeySequence::StandardKey key) { return event->matches(key); });
}

bool isDeletion(const QKeyEvent *event)
{
	return event->key() == Qt::Key_Backspace || event->key() == Qt::Key_Delete ||
	       matchesAny(event, {QKeySequence::Backspace, QKeySequence::Delete, QKeySequence::DeleteStartOfWord,
				  QKeySequence::DeleteEndOfWord, QKeySequence::DeleteEndOfLine});
}

QTextCursor::MoveOperation deletionMove(const QKeyEvent *event)
{
	if (event->matches(QKeySequence::DeleteEndOfLine)) {
		return QTextCursor::EndOfBlock;
	}
	if (event->matches(QKeySequence::DeleteEndOfWord)) {
		return QTextCursor::NextWord;
	}
	if (event->matches(QKeySequence::DeleteStartOfWord)) {
		return QTextCursor::PreviousWord;
	}
	const bool isBackward = event->key() == Qt::Key_Backspace || event->matches(QKeySequence::Backspace);
	return isBackward ? QTextCursor::PreviousCharacter : QTextCursor::NextCharacter;
}

// The cursor with the text that the key would delete selected.
QTextCursor deletedBy(const QKeyEvent *event, QTextCursor cursor)
{
	if (cursor.hasSelection()) {
		return cursor;
	}
	cursor.movePosition(deletionMove(event), QTextCursor::KeepAnchor);
	if (!cursor.hasSelection() && event->matches(QKeySequence::DeleteEndOfLine)) {
		cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
	}
	return cursor;
}

// The text that a key would type, or nothing when it types none.
std::optional<QString> typedText(const QKeyEvent *event)
{
	if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
		const bool isLineBreak = event->modifiers().testFlag(Qt::ShiftModifier);
		return QString(isLineBreak ? QChar(QChar::LineSeparator) : QChar(u'\n'));
	}
	const Qt::KeyboardModifiers modifiers = event->modifiers();
	const bool isShortcut = (modifiers.testFlag(Qt::ControlModifier) && !modifiers.testFlag(Qt::AltModifier)) ||
				modifiers.testFlag(Qt::MetaModifier);
	return isShortcut || event->text().isEmpty() ? std::nullopt : std::optional(event->text());
}

} // namespace

bool Editor::refuse()
{
	if (onTextLimit) {
		onTextLimit();
	}
	return false;
}

bool Editor::acceptsText(const QString &text, const QTextCursor &cursor)
{
	const int start = cursor.selectionStart();
	const int end = cursor.selectionEnd();
	const QTextBlock first = document()->findBlock(start);
	const QTextBlock last = document()->findBlock(end);
	if (document()->characterCount() - (end - start) + text.size() > kMaxCharacterCount) {
		return refuse();
	}
	qsizetype column = start - first.position();
	qsizetype paragraphs = document()->blockCount() - (last.blockNumber() - first.blockNumber());
	bool isWithin = true;
	for (const QChar character : text) {
		if (isParagraphBreak(character)) {
			isWithin = isWithin && column <= kMaxParagraphLength;
			++paragraphs;
			column = 0;
		} else {
			++column;
		}
	}
	const qsizetype tail = last.position() + last.length() - end;
	isWithin = isWithin && column + tail <= kMaxBlockLength && paragraphs <= kMaxParagraphs;
	return isWithin || refuse();
}

void Editor::insertCheckedText(const QString &text)
{
	const QString plain = withLineFeeds(text);
	if (!isReadOnly() && acceptsText(plain, textCursor())) {
		textCursor().insertText(plain);
	}
}

void Editor::deleteSelection(bool cut)
{
	QTextCursor cursor = textCursor();
	if (isReadOnly() || !cursor.hasSelection() || !acceptsText({}, cursor)) {
		return;
	}
	if (cut) {
		QTextEdit::cut();
	} else {
		cursor.removeSelectedText();
	}
}

void Editor::keyPressEvent(QKeyEvent *event)
{
	if (isReadOnly() || matchesAny(event, {QKeySequence::Paste, QKeySequence::Undo, QKeySequence::Redo})) {
		QTextEdit::keyPressEvent(event);
		return;
	}
	if (event->matches(QKeySequence::Cut)) {
		deleteSelection(true);
		return;
	}
	bool isAccepted = true;
	if (isDeletion(event)) {
		isAccepted = acceptsText({}, deletedBy(event, textCursor()));
	} else if (const std::optional<QString> typed = typedText(event)) {
		isAccepted = acceptsText(*typed, textCursor());
	}
	if (isAccepted) {
		QTextEdit::keyPressEvent(event);
	} else {
		event->accept();
	}
}

void Editor::insertFromMimeData(const QMimeData *source)
{
	if (isReadOnly()) {
		return;
	}
	if (source->hasHtml()) {
		insertCheckedHtml(*source);
	} else {
		insertCheckedText(source->text());
	}
}

void Editor::insertCheckedHtml(const QMimeData &source)
{
	if (source.hasText() && !acceptsText(withLineFeeds(source.text()), textCursor())) {
		return;
	}
	const QString html = source.html();
	if (!isHarmlessHtml(html)) {
		refuse();
		return;
	}
	const QTextDocumentFragment fragment = QTextDocumentFragment::fromHtml(html, document());
	const std::unique_ptr<NoteDocument> scratch = NoteDocument::makeScratch();
	QTextCursor(scratch.get()).insertFragment(fragment);
	if (!withinTextLimits(*scratch)) {
		refuse();
		return;
	}
	if (acceptsText(scratch->toRawText(), textCursor())) {
		textCursor().insertFragment(fragment);
		ensureCursorVisible();
	}
}

void Editor::dropEvent(QDropEvent *event)
{
	const QMimeData &source = *event->mimeData();
	const std::unique_ptr<NoteDocument> scratch = NoteDocument::makeScratch();
	bool isAccepted = true;
	if (source.hasHtml()) {
		const QString html = source.html();
		isAccepted = isHarmlessHtml(html);
		if (isAccepted) {
			scratch->setHtml(html);
		}
	} else {
		scratch->setPlainText(source.text());
	}
	isAccepted = isAccepted && withinTextLimits(*scratch) &&
		     acceptsText(scratch->toRawText(), cursorForPosition(event->position().toPoint()));
	if (isAccepted) {
		QTextEdit::dropEvent(event);
	} else {
		event->setAccepted(false);
	}
}

void Editor::inputMethodEvent(QInputMethodEvent *event)
{
	if (acceptsComposition(*event)) {
		QTextEdit::inputMethodEvent(event);
		return;
	}
	QInputMethodEvent nothing;
	QTextEdit::inputMethodEvent(&nothing);
	event->accept();
}

bool Editor::acceptsComposition(const QInputMethodEvent &event)
{
	const bool hasReplacement = event.replacementStart() != 0 || event.replacementLength() != 0;
	QTextCursor cursor = textCursor();
	std::unique_ptr<QTextDocument> clone;
	if (cursor.hasSelection() && hasReplacement) {
		clone.reset(document()->clone());
		clone->setLayoutEnabled(false);
		QTextCursor inClone(clone.get());
		inClone.setPosition(cursor.selectionStart());
		inClone.setPosition(cursor.selectionEnd(), QTextCursor::KeepAnchor);
		inClone.removeSelectedText();
		cursor = inClone;
	}
	if (hasReplacement) {
		const int last = cursor.document()->characterCount() - 1;
		const int start = cursor.selectionStart() + event.replacementStart();
		cursor.setPosition(std::clamp(start, 0, last));
		cursor.setPosition(std::clamp(start + event.replacementLength(), 0, last), QTextCursor::KeepAnchor);
	}
	if (!clone) {
		return (event.commitString().isEmpty() && event.replacementLength() == 0) ||
		       acceptsText(event.commitString(), cursor);
	}
	cursor.insertText(event.commitString());
	return withinTextLimits(*clone) || refuse();
}

} // namespace quillbay
