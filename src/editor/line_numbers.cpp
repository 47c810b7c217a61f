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
	QTextBlock block = cursorForPosition(QPoint(0, 0)).block();
	for (; block.isValid(); block = block.next()) {
		const qreal top = layout->blockBoundingRect(block).top() - offset;
		if (top > numbers_->height()) {
			break;
		}
		if (!block.isVisible() || block.layout()->lineCount() == 0) {
			continue;
		}
		const QTextLine line = block.layout()->lineAt(0);
		// While the text scrolls only a sliver is new; large digits may reach out of a low line.
		const qreal reach = line.height() + metrics.height();
		if (top + line.y() + reach < exposed_.top() || top + line.y() - reach > exposed_.bottom()) {
			continue;
		}
		const bool isCurrent = block.blockNumber() == currentBlock;
		if (isCurrent) {
			const QRectF band(0, top + line.y(), numbers_->width(), line.height());
			painter.fillRect(band, outer.color(QPalette::Highlight));
		}
		painter.setPen(isCurrent ? outer.color(QPalette::HighlightedText) : numberColor);
		const QString number = QString::number(block.blockNumber() + 1);
		const int x = numbers_->width() - 1 - metrics.horizontalAdvance(number) - kNumberGap;
		painter.drawText(QPointF(x, top + line.y() + line.ascent()), number);
	}
}

} // namespace quillbay
