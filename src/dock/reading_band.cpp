// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/reading_band.hpp"

#include <QPainter>

#include <algorithm>

namespace quillbay {

namespace {

constexpr int kLineAlpha = 210;

} // namespace

QRect readingBandRect(QSize view, int lineHeight)
{
	const int guide = static_cast<int>(view.height() * kReadingLine + 0.5);
	const int band = std::min(lineHeight > 16 ? lineHeight + 8 : 24, view.height());
	const int top = std::max(std::min(guide - band / 2, view.height() - band), 0);
	return {0, top, view.width(), band};
}

ReadingBand::ReadingBand(QWidget *viewport) : QWidget(viewport)
{
	setObjectName(QStringLiteral("readingBand"));
	setAttribute(Qt::WA_TransparentForMouseEvents);
	setFocusPolicy(Qt::NoFocus);
	hide();
}

void ReadingBand::paintEvent(QPaintEvent *)
{
	const bool isLight = palette().color(QPalette::Base).lightness() >= 128;
	QColor color = isLight ? QColor(0, 119, 204) : QColor(56, 189, 248);
	QPainter painter(this);
	color.setAlpha(isLight ? 36 : 54);
	painter.fillRect(rect(), color);
	color.setAlpha(kLineAlpha);
	painter.setPen(QPen(color, 2.0));
	painter.drawLine(0, 1, width() - 1, 1);
	painter.drawLine(0, height() - 2, width() - 1, height() - 2);
}

} // namespace quillbay
