// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The teleprompter: the note scrolls by itself while it is read.

#include "dock/dock.hpp"
#include "dock/reading_band.hpp"
#include "dock/speed.hpp"

#include "editor/editor.hpp"
#include "editor/icons.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QKeyEvent>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace quillbay {

namespace {

constexpr qint64 kHoldMs = 1000;
/// A pause between two words that is longer ends the sentence, in milliseconds.
constexpr qint64 kSentencePauseMs = 2000;
constexpr double kNanosecondsPerSecond = 1e9;

} // namespace

double Dock::speed() const
{
	return scrollSpeed->value();
}

void Dock::setSpeed(double speed)
{
	if (scrollTimer.isActive()) {
		scrollFrame();
	}
	const double accepted = acceptedSpeed(speed);
	{
		const QSignalBlocker boxBlocker(scrollSpeed);
		const QSignalBlocker sliderBlocker(scrollSlider);
		// Setting an unchanged value would rewrite what is being typed into the box.
		if (scrollSpeed->value() != accepted) {
			scrollSpeed->setValue(accepted);
		}
		scrollSlider->setValue(static_cast<int>(std::lround(accepted * 10)));
	}
	remote->stateChanged();
}

void Dock::startScroll()
{
	if (shutDown || !editor->isEnabled() || isScrollingOrCounting()) {
		return;
	}
	const QScrollBar *bar = editor->verticalScrollBar();
	if (bar->maximum() < 1) {
		showStatus(text("NoScrollNeeded"));
		return;
	}
	if (bar->value() >= bar->maximum()) {
		showStatus(text("AtEnd"));
		return;
	}
	setLocked(true);
	if (!startCountdown->isChecked()) {
		beginScroll();
		return;
	}
	countdownClock.restart();
	countdownTimer.start();
	scrollPlay->setToolButtonStyle(Qt::ToolButtonTextOnly);
	updateCountdown();
	editor->setFocus();
}

void Dock::updateCountdown()
{
	const int remaining = countdownSeconds(countdownClock.elapsed());
	if (remaining < 1) {
		beginScroll();
		return;
	}
	const QString message = text("CountdownRemaining").arg(remaining);
	scrollPlay->setText(QString::number(remaining));
	scrollPlay->setToolTip(message);
	showStatus(message);
}

void Dock::beginScroll()
{
	const QScrollBar *bar = editor->verticalScrollBar();
	if (!editor->isEnabled() || bar->value() >= bar->maximum()) {
		pauseScroll();
		return;
	}
	countdownTimer.stop();
	scrollPosition = bar->value();
	holdClock.invalidate();
	scrollTimer.start();
	updateReadingBand();
	showPlayFace("Pause", "Pause");
	showStatus(text("Scrolling"));
	remote->stateChanged();
	editor->setFocus();
	frameClock.restart();
}

void Dock::pauseScroll()
{
	if (!isScrollingOrCounting()) {
		return;
	}
	scrollTimer.stop();
	countdownTimer.stop();
	readingBand->hide();
	showPlayFace("Scroll", "ScrollTip");
	showStatus(text("Paused"));
	remote->stateChanged();
}

bool Dock::isScrollingOrCounting() const
{
	return scrollTimer.isActive() || countdownTimer.isActive();
}

void Dock::showPlayFace(const char *textKey, const char *tooltipKey)
{
	scrollPlay->setText(text(textKey));
	scrollPlay->setToolTip(text(tooltipKey));
	scrollPlay->setToolButtonStyle(Qt::ToolButtonIconOnly);
	scrollPlay->setIcon(makeIcon(scrollTimer.isActive() ? Icon::Pause : Icon::Scroll, palette()));
}

void Dock::scrollFrame()
{
	if (!scrollTimer.isActive()) {
		return;
	}
	QScrollBar *bar = editor->verticalScrollBar();
	if (bar->value() != static_cast<int>(std::floor(scrollPosition))) {
		scrollPosition = bar->value();
		holdClock.restart();
	}
	// Whole milliseconds would lose a thirtieth of the speed at 16 ms a frame.
	const double elapsed = static_cast<double>(frameClock.nsecsElapsed()) / kNanosecondsPerSecond;
	frameClock.restart();
	if (bar->isSliderDown() || (holdClock.isValid() && holdClock.elapsed() < kHoldMs)) {
		return;
	}
	scrollPosition += elapsed * kBaseSpeed * speed();
	bar->setValue(std::min(bar->maximum(), static_cast<int>(std::floor(scrollPosition))));
	if (scrollPosition >= bar->maximum()) {
		pauseScroll();
		showStatus(text("ReachedEnd"));
	}
}

// The user has hold of the text: it stays where they put it for a moment.
void Dock::restartHold()
{
	if (scrollTimer.isActive()) {
		holdClock.restart();
	}
}

double Dock::scrollProgress() const
{
	const QScrollBar *bar = editor->verticalScrollBar();
	const double range = static_cast<double>(bar->maximum()) - bar->minimum();
	return range < 1 ? 0.0 : (bar->value() - bar->minimum()) / range;
}

// A line stays at the reading line for many frames, and finding it in a long paragraph takes longer than a frame may.
int Dock::guidedLineHeight(QSize view)
{
	const int guide = static_cast<int>(view.height() * kReadingLine + 0.5);
	const int scrolled = editor->verticalScrollBar()->value();
	const QRect &line = guidedLine.rect;
	const bool isKnown = guidedLine.revision == editor->document()->revision() && guidedLine.view == view &&
			     scrolled + guide >= line.top() && scrolled + guide <= line.bottom();
	if (!isKnown) {
		const QRect found = editor->cursorRect(editor->cursorForPosition({view.width() / 2, guide}));
		guidedLine = {found.translated(0, scrolled), view, editor->document()->revision()};
	}
	return line.height();
}

void Dock::updateReadingBand()
{
	const QSize view = editor->viewport()->size();
	if (!scrollTimer.isActive() || !readingGuide->isChecked() || view.height() <= 0) {
		readingBand->hide();
		return;
	}
	readingBand->setGeometry(readingBandRect(view, guidedLineHeight(view)));
	readingBand->raise();
	readingBand->show();
}

// Keys that drive the teleprompter while the note is in read mode. True when the key has done its work.
bool Dock::filterReadingKey(const QKeyEvent &event)
{
	const QString typed = event.text();
	const bool isInSentence = typingClock.isValid() && !typingClock.hasExpired(kSentencePauseMs);
	if (!typed.isEmpty() && typed.front().isLetterOrNumber()) {
		typingClock.start();
	}
	if (!editor->isReadOnly() || (event.modifiers() & ~Qt::KeypadModifier & ~Qt::ShiftModifier)) {
		return false;
	}
	// A device or the host may take the note from under the hands of who writes: the next blank means no scrolling.
	if (!locked && isInSentence && typed.size() == 1 && QStringLiteral(" +-=").contains(typed)) {
		return true;
	}
	switch (event.key()) {
	case Qt::Key_Space:
		command(Command::ToggleScroll);
		return true;
	case Qt::Key_Plus:
	case Qt::Key_Equal:
		command(Command::Faster);
		return true;
	case Qt::Key_Minus:
		command(Command::Slower);
		return true;
	case Qt::Key_Home:
		command(Command::Top);
		return true;
	case Qt::Key_Up:
	case Qt::Key_Down:
	case Qt::Key_PageUp:
	case Qt::Key_PageDown:
		pauseScroll();
		return false;
	default:
		return false;
	}
}

} // namespace quillbay
