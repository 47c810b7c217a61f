// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the dock does with its own events and those of the widgets that it watches.

#include "dock/dock.hpp"
#include "dock/focus_ring.hpp"
#include "dock/reading_band.hpp"

#include "editor/editor.hpp"
#include "remote/remote.hpp"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QResizeEvent>
#include <QScrollBar>
#include <QToolBar>
#include <QToolButton>

namespace quillbay {

namespace {

/// Where the QR button sits: this far right of the viewport, this far below its top.
constexpr QPoint kQrOffset{2, 4};

bool isLeftButton(const QEvent *event)
{
	return static_cast<const QMouseEvent *>(event)->button() == Qt::LeftButton;
}

bool isKey(const QEvent *event, int key)
{
	return static_cast<const QKeyEvent *>(event)->key() == key;
}

// Keys whose release may end a selection made with the keyboard.
bool endsSelection(const QEvent *event)
{
	switch (static_cast<const QKeyEvent *>(event)->key()) {
	case Qt::Key_Shift:
	case Qt::Key_Home:
	case Qt::Key_End:
	case Qt::Key_Left:
	case Qt::Key_Right:
	case Qt::Key_Up:
	case Qt::Key_Down:
		return true;
	default:
		return false;
	}
}

bool isPlainPaste(const QKeyEvent &event)
{
	return event.key() == Qt::Key_V && event.modifiers() == (Qt::ControlModifier | Qt::ShiftModifier);
}

// Keys with Ctrl stay in the dock while it has the focus, in read mode too: the host would paste a source, or its
// filters, into a scene on air, or move the source that is selected there.
bool belongsToNote(const QKeyEvent &event)
{
	return (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) == Qt::ControlModifier;
}

} // namespace

void Dock::showEvent(QShowEvent *event)
{
	QWidget::showEvent(event);
	if (sceneKey.isEmpty()) {
		return;
	}
	// The text is laid out for the dock's size only once the dock is on the screen.
	const QString key = sceneKey;
	const int position = storedPosition();
	const auto restore = [this, key, position] {
		if (sceneKey == key && isVisible() && !isScrollingOrCounting()) {
			scrollTo(position);
		}
	};
	QMetaObject::invokeMethod(this, restore, Qt::QueuedConnection);
}

void Dock::hideEvent(QHideEvent *event)
{
	setFormatPainter(false, false);
	remote->hideQr();
	rememberPosition();
	pauseScroll();
	flush(true, true);
	QWidget::hideEvent(event);
}

void Dock::focusMoved(QWidget *, QWidget *to)
{
	focusRing->follow(to && isAncestorOf(to) ? to : nullptr);
	if (!goToInput || !goToInput->isVisible()) {
		return;
	}
	const auto hideWhenLeft = [this] {
		if (!shutDown && !QApplication::activePopupWidget() && QApplication::focusWidget() != goToInput) {
			hideGoTo();
		}
	};
	QMetaObject::invokeMethod(this, hideWhenLeft, Qt::QueuedConnection);
}

QAction *Dock::actionFor(const QKeyEvent &event) const
{
	const QKeySequence pressed(event.keyCombination());
	for (QAction *action : {findAction, boldAction, italicAction, underlineAction}) {
		if (action && action->isEnabled() && action->shortcut() == pressed) {
			return action;
		}
	}
	return nullptr;
}

// Whatever control has the focus: where both have an action on a key, neither would run.
bool Dock::event(QEvent *event)
{
	if (event->type() == QEvent::ShortcutOverride && belongsToNote(*static_cast<QKeyEvent *>(event))) {
		event->accept();
		return true;
	}
	return QWidget::event(event);
}

void Dock::keyPressEvent(QKeyEvent *event)
{
	if (QAction *action = actionFor(*event)) {
		action->trigger();
		return;
	}
	if (event->matches(QKeySequence::Save)) {
		flush(true, true);
		return;
	}
	QWidget::keyPressEvent(event);
}

bool Dock::eventFilter(QObject *watched, QEvent *event)
{
	if (!bottomControls) {
		return QWidget::eventFilter(watched, event);
	}
	const QEvent::Type type = event->type();
	if (filterPainter(watched, event) || filterGoTo(watched, event)) {
		return true;
	}
	if (watched == bottomControls && (type == QEvent::LayoutRequest || type == QEvent::Resize)) {
		if (type == QEvent::Resize) {
			hideGoTo();
		}
		updateControlLayout();
	}
	if (watched == searchText && type == QEvent::FocusIn) {
		pauseScroll();
	}
	if (watched == editor->viewport() && type == QEvent::Resize) {
		resizedViewport(*static_cast<QResizeEvent *>(event));
	}
	const bool isClick = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease;
	if (type == QEvent::Wheel || type == QEvent::MouseButtonPress) {
		remote->hideQr();
	}
	if (watched == editor->viewport() && isClick && filterViewportClick(*static_cast<QMouseEvent *>(event))) {
		return true;
	}
	if (watched == editor && type == QEvent::ShortcutOverride && belongsToNote(*static_cast<QKeyEvent *>(event))) {
		event->accept();
		return true;
	}
	if (watched == editor && type == QEvent::KeyPress && filterEditorKey(*static_cast<QKeyEvent *>(event))) {
		return true;
	}
	return QWidget::eventFilter(watched, event);
}

bool Dock::filterPainter(QObject *watched, QEvent *event)
{
	const QEvent::Type type = event->type();
	if (type == QEvent::MouseButtonDblClick && isLeftButton(event) &&
	    watched == formatToolbar->widgetForAction(painterAction)) {
		setFormatPainter(true, true);
		return true;
	}
	if (!painterAction->isChecked()) {
		return false;
	}
	if (watched == editor && type == QEvent::KeyPress && isKey(event, Qt::Key_Escape)) {
		setFormatPainter(false, false);
		return true;
	}
	const bool isSelected =
		(watched == editor->viewport() && type == QEvent::MouseButtonRelease && isLeftButton(event)) ||
		(watched == editor && type == QEvent::KeyRelease && endsSelection(event));
	if (isSelected) {
		QMetaObject::invokeMethod(this, &Dock::paintSelection, Qt::QueuedConnection);
	}
	return false;
}

bool Dock::filterGoTo(QObject *watched, QEvent *event)
{
	const QEvent::Type type = event->type();
	if (goToInput && watched == goToInput && type == QEvent::KeyPress && isKey(event, Qt::Key_Escape)) {
		hideGoTo();
		editor->setFocus();
		return true;
	}
	if (watched == searchText && type == QEvent::KeyPress && isKey(event, Qt::Key_Escape)) {
		clearSearch();
		return true;
	}
	const bool isMetric = watched == documentStatus || watched == scrollPercent;
	if (isMetric && type == QEvent::MouseButtonRelease && isLeftButton(event)) {
		showGoTo(watched == scrollPercent);
		return true;
	}
	const bool isOpened = type == QEvent::KeyPress && (isKey(event, Qt::Key_Return) || isKey(event, Qt::Key_Space));
	if (isMetric && isOpened) {
		showGoTo(watched == scrollPercent);
		return true;
	}
	return false;
}

void Dock::resizedViewport(const QResizeEvent &event)
{
	if (event.size().width() != event.oldSize().width()) {
		keepPlace();
	}
	remote->hideQr();
	updateReadingBand();
	const bool hasQrButton = !remoteQrButton->isHidden();
	editor->setQrSpace(hasQrButton);
	if (hasQrButton) {
		placeQrButton();
	}
}

// The text is about to flow anew: what stands at the reading line stays there, and a running teleprompter goes on.
void Dock::keepPlace()
{
	if (isKeepingPlace || editor->verticalScrollBar()->value() == 0) {
		return;
	}
	isKeepingPlace = true;
	const Editor::Place place = editor->placeAt(static_cast<int>(editor->viewport()->height() * kReadingLine));
	const auto restore = [this, place, shown = textsShown] {
		if (shown == textsShown) {
			isKeepingPlace = false;
			const int moved = editor->showPlace(place);
			scrollPosition += moved;
		}
	};
	QMetaObject::invokeMethod(this, restore, Qt::QueuedConnection);
}

void Dock::placeQrButton()
{
	const QWidget *viewport = editor->viewport();
	remoteQrButton->move(viewport->mapTo(this, QPoint(viewport->width(), 0) + kQrOffset));
	remoteQrButton->raise();
}

// True when the click was a command.
bool Dock::filterViewportClick(const QMouseEvent &event)
{
	if (event.button() != Qt::LeftButton) {
		return false;
	}
	const bool isPress = event.type() == QEvent::MouseButtonPress;
	if (event.modifiers() == Qt::AltModifier) {
		if (isPress) {
			command(Command::ToggleLock);
			editor->setFocus();
		}
		return true;
	}
	if (event.modifiers() == (Qt::AltModifier | Qt::ShiftModifier)) {
		if (isPress && editor->isEnabled() && !editor->isReadOnly()) {
			editor->setTextCursor(editor->cursorForPosition(event.position().toPoint()));
			command(Command::InsertMark);
		}
		return true;
	}
	return false;
}

// True when the key has done its work.
bool Dock::filterEditorKey(const QKeyEvent &event)
{
	if (event.key() == Qt::Key_Backspace && event.modifiers() == Qt::NoModifier && removeMarkBeforeCaret()) {
		return true;
	}
	if (remote->hideQr() && event.key() == Qt::Key_Escape) {
		return true;
	}
	if (isPlainPaste(event)) {
		if (!editor->isReadOnly()) {
			editor->insertCheckedText(QGuiApplication::clipboard()->text());
		}
		return true;
	}
	return filterReadingKey(event);
}

} // namespace quillbay
