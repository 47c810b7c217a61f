// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QRect>
#include <QWidget>

namespace quillbay {

/// How far down the view the line to read lies.
inline constexpr double kReadingLine = 0.382;

/// Rows at the band's top, and as many at its bottom, that hold its lines. All rows between look alike.
inline constexpr int kBandEdge = 4;

/// Where the band lies in a view of this size whose text line at the reading line is `lineHeight` pixels high.
QRect readingBandRect(QSize view, int lineHeight);

/// Marks the line to read while the text scrolls. Takes no mouse and no focus.
class ReadingBand : public QWidget {
	Q_OBJECT

public:
	explicit ReadingBand(QWidget *viewport);

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace quillbay
