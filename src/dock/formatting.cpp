// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Formatting the note: fonts, colours, alignment, lists, indents, the format painter and the marks' colour.

#include "dock/dock.hpp"
#include "dock/marks.hpp"

#include "editor/editor.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <QAction>
#include <QColorDialog>
#include <QFontDialog>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTextBlock>
#include <QTextList>
#include <QToolBar>

#include <algorithm>
#include <cmath>

namespace quillbay {

namespace {

/// A mark with brackets; a lone "◆" is shorter.
constexpr int kBracketedMarkLength = 3;

// Runs `change` on every paragraph that starts before the selection's end, from the one that holds its start.
template <typename Change>
void forEachSelectedParagraph(const QTextCursor &cursor, Change change)
{
	QTextBlock block = cursor.document()->findBlock(cursor.selectionStart());
	const int end = std::max(cursor.selectionEnd(), cursor.selectionStart() + 1);
	for (; block.isValid() && block.position() < end; block = block.next()) {
		change(block);
	}
}

// Not QTextList::remove: that gives the paragraph the list's indent to keep, more with every list it has been in.
void leaveList(const QTextBlock &block)
{
	if (block.textList()) {
		QTextBlockFormat format = block.blockFormat();
		format.setObjectIndex(-1);
		QTextCursor(block).setBlockFormat(format);
	}
}

QTextBlockFormat plainParagraph()
{
	QTextBlockFormat format;
	format.setLineHeight(kLineHeightPercent, QTextBlockFormat::ProportionalHeight);
	return format;
}

} // namespace

void Dock::applyFormat(const QTextCharFormat &format)
{
	if (editor->isReadOnly() || !editor->isEnabled()) {
		return;
	}
	setFormatPainter(false, false);
	editor->mergeCurrentCharFormat(format);
	const auto colorName = [](const QBrush &brush) {
		return brush.style() == Qt::NoBrush ? QString() : brush.color().name();
	};
	const bool hasForeground = format.hasProperty(QTextFormat::ForegroundBrush);
	const bool hasBackground = format.hasProperty(QTextFormat::BackgroundBrush);
	if (editor->textCursor().hasSelection() && (hasForeground || hasBackground)) {
		if (hasForeground) {
			previewTextColor = colorName(format.foreground());
		}
		if (hasBackground) {
			previewHighlight = colorName(format.background());
		}
		updateAppearance();
	}
	editor->setFocus();
	syncFormat();
}

bool Dock::clearColorPreview()
{
	const bool hadPreview = !previewTextColor.isEmpty() || !previewHighlight.isEmpty();
	previewTextColor.clear();
	previewHighlight.clear();
	return hadPreview;
}

void Dock::chooseFont()
{
	if (editor->isReadOnly()) {
		return;
	}
	auto *dialog = new QFontDialog(editor->currentFont(), this);
	dialog->setAttribute(Qt::WA_DeleteOnClose);
	dialog->setWindowTitle(text("Font"));
	const QString key = sceneKey;
	connect(dialog, &QFontDialog::fontSelected, this, [this, key](const QFont &font) {
		if (key == sceneKey) {
			QTextCharFormat format;
			format.setFont(font);
			applyFormat(format);
		}
	});
	dialog->open();
}

// Opened, not executed: the host may end, or switch scenes, while the dialog is up.
void Dock::chooseColor(const char *titleKey, const QColor &start, void (QTextFormat::*setBrush)(const QBrush &))
{
	if (editor->isReadOnly()) {
		return;
	}
	auto *dialog = new QColorDialog(start, this);
	dialog->setAttribute(Qt::WA_DeleteOnClose);
	dialog->setWindowTitle(text(titleKey));
	const QString key = sceneKey;
	connect(dialog, &QColorDialog::colorSelected, this, [this, key, setBrush](const QColor &color) {
		if (key == sceneKey && color.isValid()) {
			QTextCharFormat format;
			(format.*setBrush)(color);
			applyFormat(format);
		}
	});
	dialog->open();
}

void Dock::setList(int style)
{
	if (editor->isReadOnly()) {
		return;
	}
	QTextCursor cursor = editor->textCursor();
	cursor.beginEditBlock();
	if (style == 0) {
		forEachSelectedParagraph(cursor, leaveList);
	} else {
		const QTextList *current = cursor.currentList();
		QTextListFormat format;
		format.setStyle(static_cast<QTextListFormat::Style>(style));
		format.setIndent(current ? current->format().indent() : 1);
		cursor.createList(format);
	}
	cursor.endEditBlock();
	editor->takeBackUnlessHarmless();
	editor->setFocus();
}

void Dock::indent(int delta)
{
	if (editor->isReadOnly()) {
		return;
	}
	QTextCursor cursor = editor->textCursor();
	cursor.beginEditBlock();
	if (const QTextList *list = cursor.currentList()) {
		QTextListFormat format = list->format();
		const int depth = format.indent() + delta;
		if (depth == 0) {
			leaveList(cursor.block());
		} else {
			format.setIndent(std::clamp(depth, 1, kMaxIndent));
			cursor.createList(format);
		}
	} else {
		QTextBlockFormat change;
		change.setIndent(std::clamp(cursor.blockFormat().indent() + delta, 0, kMaxIndent));
		cursor.mergeBlockFormat(change);
	}
	cursor.endEditBlock();
}

void Dock::clearFormat()
{
	if (editor->isReadOnly()) {
		return;
	}
	QTextCursor cursor = editor->textCursor();
	const bool isWhole = !cursor.hasSelection();
	if (isWhole) {
		cursor.select(QTextCursor::Document);
	}
	const auto clear = [](const QTextBlock &block) { QTextCursor(block).setBlockFormat(plainParagraph()); };
	const Editor::Place middle = editor->placeAt(editor->viewport()->height() / 2);
	cursor.beginEditBlock();
	cursor.setCharFormat({});
	forEachSelectedParagraph(cursor, clear);
	if (isWhole) {
		// An empty last paragraph does not start before the end of the selection.
		clear(editor->document()->lastBlock());
	}
	cursor.endEditBlock();
	editor->showPlace(middle);
	if (clearColorPreview()) {
		updateAppearance();
	}
	syncFormat();
}

void Dock::syncFormat()
{
	const QTextCharFormat format = editor->currentCharFormat();
	const auto check = [](QAction *action, bool isChecked) {
		const QSignalBlocker blocker(action);
		action->setChecked(isChecked);
	};
	const int weight = format.hasProperty(QTextFormat::FontWeight) ? format.fontWeight() : QFont::Normal;
	check(boldAction, weight >= QFont::Bold);
	check(italicAction, format.fontItalic());
	check(underlineAction, format.fontUnderline());
	check(strikeAction, format.fontStrikeOut());

	const double points = format.fontPointSize() > 0 ? format.fontPointSize() : editor->font().pointSizeF();
	const int size = std::clamp(static_cast<int>(std::lround(points)), fontSize->minimum(), fontSize->maximum());
	if (fontSize->value() != size) {
		const QSignalBlocker blocker(fontSize);
		fontSize->setValue(size);
	}
	const int alignment = static_cast<int>(editor->alignment());
	for (QAction *action : std::as_const(alignActions)) {
		action->setChecked(action->property("paragraphAlignment").toInt() & alignment);
	}
}

void Dock::setFormatPainter(bool on, bool continuous)
{
	const bool isOn = on && editor->isEnabled() && !editor->isReadOnly();
	painterContinuous = isOn && continuous;
	painterAction->setToolTip(text(painterContinuous ? "FormatPainterContinuous" : "FormatPainter"));
	painterAction->setChecked(isOn);
	if (!isOn) {
		if (!painterFormat.isEmpty()) {
			painterFormat = {};
			editor->viewport()->setCursor(Qt::IBeamCursor);
		}
		return;
	}
	if (painterFormat.isEmpty()) {
		const QTextCharFormat current = editor->currentCharFormat();
		painterFormat.setFont(editor->currentFont());
		painterFormat.setForeground(current.foreground());
		painterFormat.setBackground(current.background());
	}
	editor->viewport()->setCursor(Qt::CrossCursor);
	editor->setFocus();
}

void Dock::paintSelection()
{
	if (!painterAction->isChecked() || !editor->textCursor().hasSelection()) {
		return;
	}
	const QTextCharFormat format = painterFormat;
	const bool wasContinuous = painterContinuous;
	applyFormat(format);
	if (wasContinuous) {
		painterFormat = format;
		setFormatPainter(true, true);
	}
}

// Text typed around a mark goes on in the colour of its neighbours, text typed into it in the mark's.
void Dock::updateMarkFormat()
{
	const QTextCursor cursor = editor->textCursor();
	if (editor->isReadOnly() || cursor.hasSelection()) {
		return;
	}
	const QTextCursor mark = markAt(cursor);
	if (mark.isNull() || mark.selectionEnd() - mark.selectionStart() < kBracketedMarkLength) {
		return;
	}
	QTextCharFormat format = editor->currentCharFormat();
	const int position = cursor.position();
	if (position > mark.selectionStart() && position < mark.selectionEnd()) {
		format.setForeground(markColor(palette()));
	} else {
		const QBrush neighbour = neighbourForeground(mark);
		if (neighbour.style() == Qt::NoBrush) {
			format.clearForeground();
		} else {
			format.setForeground(neighbour);
		}
	}
	if (format != editor->currentCharFormat()) {
		editor->setCurrentCharFormat(format);
	}
}

bool Dock::removeMarkBeforeCaret()
{
	const QTextCursor cursor = editor->textCursor();
	const QTextCursor mark = markAt(cursor);
	if (editor->isReadOnly() || cursor.hasSelection() || mark.isNull() ||
	    mark.selectionEnd() != cursor.position()) {
		return false;
	}
	removeMark(mark);
	return true;
}

// The caret goes where the mark was.
void Dock::removeMark(QTextCursor mark)
{
	mark.beginEditBlock();
	mark.removeSelectedText();
	mark.endEditBlock();
	editor->setTextCursor(mark);
}

void Dock::insertMark()
{
	if (!editor->isEnabled() || editor->isReadOnly()) {
		return;
	}
	QTextCursor cursor = editor->textCursor();
	cursor.clearSelection();
	if (!editor->acceptsText(kEmptyMark, cursor)) {
		return;
	}
	QTextCharFormat format = cursor.charFormat();
	format.setForeground(markColor(palette()));
	cursor.beginEditBlock();
	cursor.insertText(kEmptyMark, format);
	cursor.movePosition(QTextCursor::PreviousCharacter);
	cursor.endEditBlock();
	editor->setTextCursor(cursor);
	editor->setCurrentCharFormat(format);
	editor->setFocus();
}

void Dock::updateEditorActions()
{
	const bool isEnabled = editor->isEnabled();
	const bool isEditable = isEnabled && !editor->isReadOnly();
	if (!isEditable) {
		setFormatPainter(false, false);
	}
	findAction->setEnabled(isEnabled);
	searchText->setEnabled(isEnabled);
	formatToolbar->setEnabled(isEnabled);
	paragraphToolbar->setEnabled(isEditable);
	const bool isReadOnly = editor->isReadOnly();
	const QList<QAction *> actions = formatToolbar->actions();
	for (QAction *action : actions) {
		const QString name = action->objectName();
		const bool staysOn =
			name == QLatin1StringView("exportDocument") || name == QLatin1StringView("nextMark") ||
			(name == QLatin1StringView("importDocument") && unavailable && !locked && !remoteEditing);
		action->setEnabled(!isReadOnly || staysOn);
	}
}

} // namespace quillbay
