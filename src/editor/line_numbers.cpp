// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The strip of paragraph numbers along the editor's left edge.

#include "editor/editor.hpp"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QPainter>
#include <QPaintEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextFrame>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace quillbay {

namespace {

/// Pixels that the strip is wider than its longest number.
constexpr int kNumberPadding = 14;
/// Pixels between a number and the strip's right edge.
constexpr int kNumberGap = 6;
constexpr int kNumberAlpha = 170;
/// As far as the first paragraph in view is looked for from where it was.
constexpr int kMaxWalk = 64;

QFont numberFont(const QFont &font)
{
	QFont bold = font;
	bold.setWeight(QFont::Bold);
	return bold;
}

int widestDigit(const QFontMetrics &metrics)
{
	int width = 0;
	for (const QChar digit : QStringLiteral("0123456789")) {
		width = std::max(width, metrics.horizontalAdvance(digit));
	}
	return width;
}

} // namespace

void Editor::updateNumberArea()
{
	if (!numbers_) {
		return;
	}
	const QFont font = numberFont(this->font());
	numbers_->setFont(font);
	const auto digits = static_cast<int>(QString::number(document()->blockCount()).size());
	const int width = widestDigit(QFontMetrics(font)) * digits + kNumberPadding;
	const QMargins margins = viewportMargins();
	if (margins.left() != width) {
		setViewportMargins(width, 0, margins.right(), 0);
	}
	numbers_->setGeometry(contentsRect().left(), viewport()->y(), width, viewport()->height());
	numbers_->update();
}

bool Editor::eventFilter(QObject *watched, QEvent *event)
{
	if (watched == numbers_ && event->type() == QEvent::Paint) {
		exposed_ = static_cast<QPaintEvent *>(event)->rect();
		paintNumbers();
		return true;
	}
	return QTextEdit::eventFilter(watched, event);
}

// Asking for the text at a point looks at every line of a paragraph, which a frame of the teleprompter cannot afford;
// while the text scrolls the paragraph is the same as before or a neighbour. In a table neighbours stand side by side.
QTextBlock Editor::firstBlockInView()
{
	const QAbstractTextDocumentLayout &layout = *document()->documentLayout();
	const int offset = verticalScrollBar()->value();
	const auto isAbove = [&](const QTextBlock &block) { return layout.blockBoundingRect(block).top() <= offset; };
	QTextBlock block = document()->findBlockByNumber(firstBlock_);
	int steps = document()->rootFrame()->childFrames().isEmpty() ? 0 : kMaxWalk;
	for (; steps < kMaxWalk && block.isValid() && !isAbove(block); ++steps) {
		block = block.previous();
	}
	for (; steps < kMaxWalk && block.next().isValid() && isAbove(block.next()); ++steps) {
		block = block.next();
	}
	if (steps == kMaxWalk || !block.isValid()) {
		block = cursorForPosition({0, 0}).block();
	}
	firstBlock_ = block.blockNumber();
	return block;
}

void Editor::paintNumbers()
{
	const bool isActive = !isReadOnly() && hasFocus();
	QPainter painter(numbers_);
	painter.fillRect(numbers_->rect(), palette().color(isActive ? QPalette::Window : QPalette::Base));
	QColor numberColor = palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText);
	numberColor.setAlpha(kNumberAlpha);
	const QPalette outer = parentWidget() ? parentWidget()->palette() : QApplication::palette();

	const QFont font = numberFont(this->font());
	const QFontMetrics metrics(font);
	painter.setFont(font);
	const int offset = verticalScrollBar()->value();
	const int currentBlock = isEnabled() ? textCursor().blockNumber() : -1;
	const QAbstractTextDocumentLayout *layout = document()->documentLayout();
	for (QTextBlock block = firstBlockInView(); block.isValid(); block = block.next()) {
		const qreal top = layout->blockBoundingRect(block).top() - offset;
		if (top > exposed_.bottom() + metrics.height()) {
			break;
		}
		if (!block.isVisible() || block.layout()->lineCount() == 0) {
			continue;
		}
		const QTextLine line = block.layout()->lineAt(0);
		const QRectF band(0, top + line.y(), numbers_->width(), line.height());
		const qreal baseline = band.top() + line.ascent();
		// While the text scrolls only a sliver is new; large digits may reach out of a low line.
		if (std::max(band.bottom(), baseline + metrics.descent()) < exposed_.top() ||
		    std::min(band.top(), baseline - metrics.ascent()) > exposed_.bottom()) {
			continue;
		}
		const bool isCurrent = block.blockNumber() == currentBlock;
		if (isCurrent) {
			painter.fillRect(band, outer.color(QPalette::Highlight));
		}
		painter.setPen(isCurrent ? outer.color(QPalette::HighlightedText) : numberColor);
		const QString number = QString::number(block.blockNumber() + 1);
		const int x = numbers_->width() - 1 - metrics.horizontalAdvance(number) - kNumberGap;
		painter.drawText(QPointF(x, baseline), number);
	}
}

} // namespace quillbay
