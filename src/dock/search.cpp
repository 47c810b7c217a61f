// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Finding text in the note, and going to a paragraph or a percentage of it.

#include "dock/dock.hpp"
#include "dock/marks.hpp"
#include "dock/reading_band.hpp"
#include "dock/style.hpp"

#include "editor/editor.hpp"
#include "editor/icons.hpp"
#include "plugin/text.hpp"

#include <QAction>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QStyle>
#include <QTextBlock>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace quillbay {

namespace {

constexpr int kSearchDelayMs = 160;
constexpr int kMaxSearchSeed = 256;
constexpr int kSearchButtonSize = 20;

const QString kSearchButtonSheet = QStringLiteral("QToolButton { min-width: 0px; min-height: 0px; padding: 0px; "
						  "margin: 0px; border: 0px; background: transparent; } "
						  "QToolButton:hover { background: palette(button); }");

const QString kGoToSheet = QStringLiteral(
	"QLineEdit { min-width: 0px; min-height: 0px; padding: 0px 3px; border: 1px solid palette(highlight); "
	"border-radius: 3px; color: palette(text); background: palette(base); } "
	"QLineEdit[invalid=\"true\"] { border-color: #b96359; }");

} // namespace

void Dock::createSearchField()
{
	searchText = new QLineEdit(topControls);
	searchText->setObjectName(QStringLiteral("searchText"));
	const QString shortcut = QKeySequence(QKeySequence::Find).toString(QKeySequence::NativeText);
	searchText->setPlaceholderText(text("FindPlaceholder") + QStringLiteral(" (") + shortcut + u')');
	searchText->setAccessibleName(text("Find"));
	searchText->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
	searchText->installEventFilter(this);

	auto *row = new QHBoxLayout(searchText);
	row->setContentsMargins(0, 0, 4, 0);
	row->setSpacing(2);
	row->addStretch();
	searchStatus = new QLabel(searchText);
	searchStatus->setObjectName(QStringLiteral("searchStatus"));
	searchStatus->setTextFormat(Qt::PlainText);
	searchStatus->hide();
	row->addWidget(searchStatus);
	findPrevious = addSearchButton("findPrevious", "FindPrevious");
	findNext = addSearchButton("findNext", "FindNext");
	clearSearchButton = addSearchButton("clearSearch", "CloseSearch");
	clearSearchButton->hide();

	findAction = new QAction(text("Find"), this);
	findAction->setObjectName(QStringLiteral("findText"));
	findAction->setShortcut(QKeySequence::Find);
	findAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
	addAction(findAction);
	connectSearch();
}

QToolButton *Dock::addSearchButton(const char *name, const char *tooltipKey)
{
	auto *button = new QToolButton(searchText);
	button->setObjectName(QLatin1StringView(name));
	button->setFixedSize(kSearchButtonSize, kSearchButtonSize);
	button->setIconSize(iconSize);
	button->setAutoRaise(true);
	button->setCursor(Qt::ArrowCursor);
	button->setFocusPolicy(Qt::TabFocus);
	button->setStyleSheet(kSearchButtonSheet);
	button->setToolTip(text(tooltipKey));
	button->setAccessibleName(text(tooltipKey));
	searchText->layout()->addWidget(button);
	return button;
}

void Dock::connectSearch()
{
	searchTimer.setSingleShot(true);
	searchTimer.setInterval(kSearchDelayMs);
	connect(&searchTimer, &QTimer::timeout, this, [this] {
		if (searchJumpPending) {
			findText(false, true);
		} else {
			rebuildSearch();
			updateSearchStatus();
		}
	});
	connect(searchText, &QLineEdit::textChanged, this, [this](const QString &typed) {
		markSearch = false;
		clearSearchButton->setVisible(!typed.isEmpty());
		invalidateSearch(true);
	});
	connect(searchText, &QLineEdit::returnPressed, this, [this] { findText(false, false); });
	connect(findPrevious, &QToolButton::clicked, this, [this] { findText(true, false); });
	connect(findNext, &QToolButton::clicked, this, [this] { findText(false, false); });
	connect(clearSearchButton, &QToolButton::clicked, this, &Dock::clearSearch);
	connect(findAction, &QAction::triggered, this, &Dock::showSearch);
	connect(editor->document(), &QTextDocument::contentsChange, this, [this](int, int removed, int added) {
		if (removed == 0 && added == 0) {
			return;
		}
		if (markSearch) {
			searchText->clear();
		} else {
			invalidateSearch(false);
		}
	});
}

void Dock::invalidateSearch(bool jump)
{
	editor->setSearchMatch(false);
	searchStale = true;
	searchJumpPending = searchJumpPending || jump;
	searchRanges.clear();
	searchTimer.stop();
	searchStatus->hide();
	searchText->setAccessibleDescription({});
	searchText->setToolTip(text("FindPlaceholder"));
	updateSearchMargins();
	if (!searchText->text().isEmpty() && editor->isEnabled()) {
		searchTimer.start();
	}
}

// Another note: whatever was being searched for starts afresh in it, without moving the text.
void Dock::resetSearch()
{
	markSearch = false;
	searchJumpPending = false;
	invalidateSearch(false);
}

void Dock::rebuildSearch()
{
	searchTimer.stop();
	if (!searchStale) {
		return;
	}
	searchRanges.clear();
	if (editor->isEnabled()) {
		searchRanges = findMatches(*editor->document(), searchText->text());
	}
	searchStale = false;
}

void Dock::findText(bool backward, bool fromStart)
{
	const bool first = fromStart || searchJumpPending;
	searchJumpPending = false;
	rebuildSearch();
	if (!searchText->text().isEmpty() && editor->isEnabled()) {
		pauseScroll();
	}
	if (!searchRanges.empty()) {
		QTextCursor cursor = editor->textCursor();
		const SearchRange match =
			first ? searchRanges.front()
			      : nextMatch(searchRanges, cursor.selectionStart(), cursor.selectionEnd(), backward);
		cursor.setPosition(match.start);
		cursor.setPosition(match.end, QTextCursor::KeepAnchor);
		editor->setTextCursor(cursor);
		editor->ensureCursorVisible();
	}
	updateSearchStatus();
}

void Dock::updateSearchStatus()
{
	if (searchText->text().isEmpty() || !editor->isEnabled()) {
		editor->setSearchMatch(false);
		if (!searchStatus->isHidden()) {
			searchStatus->hide();
			updateSearchMargins();
		}
		return;
	}
	const QTextCursor cursor = editor->textCursor();
	const int current = matchNumber(searchRanges, {cursor.selectionStart(), cursor.selectionEnd()});
	const auto count = static_cast<int>(searchRanges.size());
	editor->setSearchMatch(current >= 1);
	const QString status = QStringLiteral("%1/%2").arg(current).arg(count);
	const bool isNew = searchStatus->text() != status || searchStatus->isHidden();
	if (searchStatus->text() != status) {
		searchStatus->setText(status);
	}
	const QString description = count > 0 ? text("MatchCount").arg(current).arg(count) : text("NoMatch");
	searchStatus->setToolTip(description);
	searchText->setAccessibleDescription(description);
	searchText->setToolTip(description);
	if (isNew) {
		searchStatus->show();
		updateSearchMargins();
	}
}

// Typed text never runs under the status and the buttons.
void Dock::updateSearchMargins()
{
	const int width = searchText->layout()->sizeHint().width();
	const QMargins margins = searchText->textMargins();
	if (margins.right() != width) {
		searchText->setTextMargins(margins.left(), margins.top(), width, margins.bottom());
	}
	const int room = QFontMetrics(searchText->font()).horizontalAdvance(QStringLiteral("MM")) + 8;
	searchText->setMinimumWidth(width + room);
}

void Dock::showSearch()
{
	if (!editor->isEnabled()) {
		return;
	}
	pauseScroll();
	const QString selected = editor->textCursor().selectedText();
	if (!selected.isEmpty() && selected.size() <= kMaxSearchSeed && !selected.contains(QChar::ParagraphSeparator)) {
		searchText->setText(selected);
	}
	searchText->setFocus();
	searchText->selectAll();
}

void Dock::clearSearch()
{
	searchText->clear();
	QTextCursor cursor = editor->textCursor();
	cursor.clearSelection();
	editor->setTextCursor(cursor);
	editor->setFocus();
}

void Dock::findNextMark()
{
	if (!editor->isEnabled()) {
		return;
	}
	searchText->setText(QString(kMark));
	searchTimer.stop();
	searchJumpPending = false;
	markSearch = true;
	findText(false, false);
	editor->setFocus();
}

void Dock::showGoTo(bool percent)
{
	if (shutDown || !editor->isEnabled()) {
		return;
	}
	if (!goToInput) {
		goToInput = new QLineEdit(this);
		goToInput->setObjectName(QStringLiteral("goToInput"));
		goToInput->setMaxLength(kMaxGoToLength);
		goToInput->setAccessibleName(text("GoToPrompt"));
		goToInput->setPlaceholderText(text("GoToPrompt"));
		goToInput->installEventFilter(this);
		connect(goToInput, &QLineEdit::returnPressed, this, &Dock::acceptGoTo);
	}
	goToInput->setFont(font());
	goToInput->setAlignment(percent ? Qt::AlignRight : Qt::AlignLeft);
	markGoTo(false, text("GoToPrompt"));

	const int height = std::max(QFontMetrics(font()).height(), 18) + 6;
	const QRect metrics(readingMetrics->mapTo(this, QPoint()), readingMetrics->size());
	QRect place(metrics.left(), metrics.center().y() - height / 2, metrics.width(), height);
	place.moveBottom(std::min(place.bottom(), rect().bottom()));
	place.moveRight(std::min(place.right(), rect().right()));
	place.moveTopLeft({std::max(place.left(), 0), std::max(place.top(), 0)});
	goToInput->setGeometry(place);
	goToInput->setText(percent ? readingPercent() : QString::number(editor->textCursor().blockNumber() + 1));
	goToInput->show();
	goToInput->raise();
	goToInput->setFocus();
	goToInput->selectAll();
}

void Dock::hideGoTo()
{
	if (goToInput) {
		goToInput->hide();
	}
}

void Dock::markGoTo(bool isInvalid, const QString &tooltip)
{
	goToInput->setProperty("invalid", isInvalid);
	goToInput->setToolTip(tooltip);
	// Set anew so that the rule for the property takes effect.
	goToInput->setStyleSheet({});
	goToInput->setStyleSheet(kGoToSheet);
}

void Dock::acceptGoTo()
{
	if (goToPosition(goToInput->text())) {
		hideGoTo();
		editor->setFocus();
		return;
	}
	markGoTo(true, text("GoToInvalid").arg(editor->document()->blockCount()));
	goToInput->selectAll();
}

bool Dock::goToPosition(const QString &typed)
{
	if (shutDown || !editor->isEnabled()) {
		return false;
	}
	const std::optional<GoTo> target = parseGoTo(typed, editor->document()->blockCount());
	if (!target) {
		return false;
	}
	pauseScroll();
	QScrollBar *bar = editor->verticalScrollBar();
	if (target->isPercent) {
		layoutWholeNote();
		bar->setValue(static_cast<int>(static_cast<qint64>(target->number) * bar->maximum() / 100));
		return true;
	}
	QTextCursor cursor = editor->textCursor();
	cursor.setPosition(editor->document()->findBlockByNumber(target->number - 1).position());
	editor->setTextCursor(cursor);
	editor->ensureCursorVisible();
	const int readingLine = static_cast<int>(std::lround(editor->viewport()->height() * kReadingLine));
	bar->setValue(bar->value() + editor->cursorRect().top() - readingLine);
	return true;
}

} // namespace quillbay
