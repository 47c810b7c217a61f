// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The paths by which text enters or leaves the note, each checked against the limits before it is carried out.

#include "editor/editor.hpp"

#include "notes/editor_html.hpp"
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
	// No note could hold this even if every line end lost a character: it is refused as it is, at once.
	if (text.size() > 2 * kMaxCharacterCount) {
		return text;
	}
	return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n');
}

// How text divides into paragraphs.
struct Extent {
	qsizetype breaks = 0;
	qsizetype longest = 0; // of the paragraphs that a break ends
	qsizetype tail = 0;    // characters after the last break
};

// `column` characters stand in the paragraph before the text.
Extent extentOf(QStringView text, qsizetype column)
{
	Extent extent{.tail = column};
	for (const QChar character : text) {
		if (isBlockBreak(character)) {
			++extent.breaks;
			extent.longest = std::max(extent.longest, extent.tail);
			extent.tail = 0;
		} else {
			++extent.tail;
		}
	}
	return extent;
}

// Whether plain text keeps the limits as a note of its own; told without making a document of it.
bool isNoteSized(QStringView text)
{
	if (text.size() > kMaxTextLength) {
		return false;
	}
	const Extent extent = extentOf(text, 0);
	return extent.breaks < kMaxParagraphs && std::max(extent.longest, extent.tail) <= kMaxParagraphLength;
}

QString rawText(QTextDocument *document, int from, int to)
{
	QTextCursor cursor(document);
	cursor.setPosition(from);
	cursor.setPosition(to, QTextCursor::KeepAnchor);
	return cursor.selectedText();
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

// Whether the base class types the event's text although a modifier makes it a shortcut: a letter with the Super
// key, or a formatting character such as the zero-width joiner.
bool isTypedAnyway(const QKeyEvent *event)
{
	const QChar first = event->text().front();
	const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::ShiftModifier;
	return first.category() == QChar::Other_Format || (modifiers != Qt::ControlModifier && first.isPrint());
}

// The text that a key would type, or nothing when it types none.
std::optional<QString> typedText(const QKeyEvent *event)
{
	const Qt::KeyboardModifiers modifiers = event->modifiers();
	if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
		const bool isLineBreak = modifiers.testFlag(Qt::ShiftModifier);
		return QString(isLineBreak ? QChar(QChar::LineSeparator) : QChar(u'\n'));
	}
	if (event->text().isEmpty()) {
		return std::nullopt;
	}
	const bool isShortcut = (modifiers.testFlag(Qt::ControlModifier) && !modifiers.testFlag(Qt::AltModifier)) ||
				modifiers.testFlag(Qt::MetaModifier);
	return isShortcut && !isTypedAnyway(event) ? std::nullopt : std::optional(event->text());
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
	const Extent extent = extentOf(text, start - first.position());
	const qsizetype paragraphs = document()->blockCount() - (last.blockNumber() - first.blockNumber());
	const qsizetype rest = last.position() + last.length() - end; // with its separator
	const bool isWithin = extent.longest <= kMaxParagraphLength && extent.tail + rest <= kMaxBlockLength &&
			      paragraphs + extent.breaks <= kMaxParagraphs;
	return isWithin || refuse();
}

// The last resort against what asks nobody: a selection dragged out into another widget can join two paragraphs. It
// is undone as soon as the change is complete.
void Editor::checkChange(int position, int, int added)
{
	if (!document()->isUndoRedoEnabled()) {
		return; // The owner is loading a note.
	}
	bool isOver = document()->characterCount() > kMaxCharacterCount || document()->blockCount() > kMaxParagraphs;
	QTextBlock block = document()->findBlock(position);
	for (; !isOver && block.isValid() && block.position() <= position + added; block = block.next()) {
		isOver = block.length() > kMaxBlockLength;
	}
	if (isOver) {
		QMetaObject::invokeMethod(this, &Editor::takeBackOversize, Qt::QueuedConnection);
	}
}

void Editor::takeBackOversize()
{
	if (!withinTextLimits(*document()) && document()->isUndoAvailable()) {
		document()->undo();
		document()->clearUndoRedoStacks(QTextDocument::RedoStack);
		refuse();
	}
}

void Editor::insertCheckedText(const QString &text)
{
	const QString plain = withLineFeeds(text);
	if (!isReadOnly() && acceptsText(plain, textCursor())) {
		textCursor().insertText(plain);
		ensureCursorVisible();
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
	if (isReadOnly() || event->matches(QKeySequence::Paste)) {
		QTextEdit::keyPressEvent(event);
		return;
	}
	if (event->matches(QKeySequence::Undo)) {
		undo();
		return;
	}
	if (event->matches(QKeySequence::Redo)) {
		redo();
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
	} else if (source->hasText()) {
		insertCheckedText(source->text());
	}
}

void Editor::insertCheckedHtml(const QMimeData &source)
{
	if (source.hasText() && !acceptsText(withLineFeeds(source.text()), textCursor())) {
		return;
	}
	const QString html = source.html();
	if (!isWorthParsing(html)) {
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
		takeBackUnlessHarmless();
		ensureCursorVisible();
	}
}

// Several pastes, or a list of thousands, may add up to what no file may hold: saved, it could not be opened again.
bool Editor::takeBackUnlessHarmless()
{
	if (isHarmlessHtml(toHtml())) {
		return true;
	}
	document()->undo();
	document()->clearUndoRedoStacks(QTextDocument::RedoStack);
	refuse();
	return false;
}

// A copied picture stays a name: Qt's OpenDocument form of the selection would open the file that it names.
QMimeData *Editor::createMimeDataFromSelection() const
{
	if (!textCursor().selectedText().contains(QChar::ObjectReplacementCharacter)) {
		return QTextEdit::createMimeDataFromSelection();
	}
	const QTextDocumentFragment selection = textCursor().selection();
	auto *copied = new QMimeData;
	copied->setHtml(selection.toHtml());
	copied->setText(selection.toPlainText());
	return copied;
}

void Editor::dropEvent(QDropEvent *event)
{
	if (acceptsDrop(*event)) {
		QTextEdit::dropEvent(event);
		return;
	}
	// Ends the drag for the base class, which would go on scrolling towards the pointer.
	QDragLeaveEvent leave;
	QTextEdit::dragLeaveEvent(&leave);
	event->setAccepted(false);
}

bool Editor::acceptsDrop(const QDropEvent &event)
{
	const QMimeData &source = *event.mimeData();
	if (isReadOnly()) {
		return false;
	}
	const QTextCursor target = cursorForPosition(event.position().toPoint());
	QString dropped;
	if (source.hasHtml()) {
		const QString html = source.html();
		const std::unique_ptr<NoteDocument> scratch = NoteDocument::makeScratch();
		if (!isWorthParsing(html)) {
			return false;
		}
		scratch->setHtml(html);
		if (!withinTextLimits(*scratch)) {
			return false;
		}
		dropped = scratch->toRawText();
	} else {
		dropped = withLineFeeds(source.text());
		if (!isNoteSized(dropped)) {
			return false;
		}
	}
	const bool isMove = event.dropAction() == Qt::MoveAction && event.source() == viewport();
	return acceptsText(dropped, target) && (!isMove || acceptsMove(target));
}

// Whether the paragraphs keep their limit when the selection moves to the target: what it leaves behind joins, and
// the base class takes it away before it inserts it.
bool Editor::acceptsMove(const QTextCursor &target)
{
	QTextCursor changed = textCursor();
	const int start = changed.selectionStart();
	const int end = changed.selectionEnd();
	const int to = std::clamp(target.position(), start, end) == target.position() ? start : target.position();
	QString text = rawText(document(), start, end);
	if (to < start) {
		text += rawText(document(), to, start);
	} else if (to > end) {
		text.prepend(rawText(document(), end, to));
	}
	changed.setPosition(std::min(start, to));
	changed.setPosition(std::max(end, to), QTextCursor::KeepAnchor);
	return acceptsText(text, changed);
}

void Editor::inputMethodEvent(QInputMethodEvent *event)
{
	// The base class lets input methods write into a text that is merely selectable.
	if (isReadOnly()) {
		event->ignore();
		return;
	}
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
		// A composition that begins takes the selection away, which may join two paragraphs.
		const bool isComposing = cursor.hasSelection() && !event.preeditString().isEmpty();
		return (event.commitString().isEmpty() && event.replacementLength() == 0 && !isComposing) ||
		       acceptsText(event.commitString(), cursor);
	}
	cursor.insertText(event.commitString());
	return withinTextLimits(*clone) || refuse();
}

} // namespace quillbay
