// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "editor/icons.hpp"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QPixmap>

#include <algorithm>
#include <initializer_list>
#include <vector>

namespace quillbay {

namespace {

constexpr qreal kGridSize = 24;
constexpr qreal kPenWidth = 2;
constexpr qreal kBoldPenWidth = 3.2;
/// How far, in grid units, a flattened curve may stray: still invisible where an icon is hundreds of pixels wide.
constexpr qreal kCurveTolerance = 0.01;
constexpr int kDisabledAlpha = 110;

/// Collects the strokes of one figure on the design grid: x to the right, y downwards.
struct Sketch {
	QPainterPath path;

	Sketch &stroke(std::initializer_list<QPointF> points)
	{
		path.moveTo(*points.begin());
		std::for_each(points.begin() + 1, points.end(), [this](const QPointF &point) { path.lineTo(point); });
		return *this;
	}

	Sketch &closed(std::initializer_list<QPointF> points)
	{
		stroke(points);
		path.closeSubpath();
		return *this;
	}

	/// Goes on from the end of the last stroke.
	Sketch &curve(const QPointF &control1, const QPointF &control2, const QPointF &end)
	{
		path.cubicTo(control1, control2, end);
		return *this;
	}

	/// Goes on from the end of the last stroke.
	Sketch &line(const QPointF &end)
	{
		path.lineTo(end);
		return *this;
	}

	Sketch &ellipse(const QRectF &bounds)
	{
		path.addEllipse(bounds);
		return *this;
	}

	Sketch &box(const QRectF &bounds, qreal radius = 0)
	{
		path.addRoundedRect(bounds, radius, radius);
		return *this;
	}
};

struct Figure {
	Icon icon;
	Sketch sketch;
	Sketch sketchWhenOn = sketch;
	qreal penWidth = kPenWidth;
	bool isFilled = false;
};

Sketch tray()
{
	return Sketch().stroke({{5, 16}, {5, 20}, {19, 20}, {19, 16}});
}

/// Four lines of text, the second and the fourth from x `left` to `right`.
Sketch paragraph(qreal left, qreal right)
{
	return Sketch()
		.stroke({{3, 5}, {21, 5}})
		.stroke({{left, 10}, {right, 10}})
		.stroke({{3, 15}, {21, 15}})
		.stroke({{left, 20}, {right, 20}});
}

/// Lines of text around the shaft of an arrow that still lacks its head.
Sketch indentation()
{
	return Sketch()
		.stroke({{3, 5}, {21, 5}})
		.stroke({{12, 10}, {21, 10}})
		.stroke({{12, 15}, {21, 15}})
		.stroke({{3, 20}, {21, 20}})
		.stroke({{3, 12}, {8, 12}});
}

/// A padlock whose shackle still lacks its bow and right leg.
Sketch padlock()
{
	return Sketch().box({5, 10, 14, 11}, 1.5).stroke({{12, 14}, {12, 17}}).stroke({{8, 10}, {8, 7}});
}

std::vector<Figure> documentAndFormatFigures()
{
	return {
		{Icon::ImportDocument, tray().stroke({{12, 4}, {12, 14}}).stroke({{8, 10}, {12, 14}, {16, 10}})},
		{Icon::ExportDocument, tray().stroke({{12, 14}, {12, 4}}).stroke({{8, 8}, {12, 4}, {16, 8}})},
		{Icon::ChooseFont, Sketch().stroke({{2, 19}, {7, 5}, {12, 19}})
					   .stroke({{4, 14}, {10, 14}})
					   .ellipse({14, 11, 7, 8})
					   .stroke({{21, 11}, {21, 19}})},
		{.icon = Icon::Bold,
		 .sketch = Sketch().stroke({{7, 4}, {7, 20}})
				   .stroke({{7, 20}, {13, 20}})
				   .curve({21, 20}, {21, 12}, {13, 12})
				   .line({7, 12})
				   .stroke({{7, 4}, {12, 4}})
				   .curve({20, 4}, {20, 12}, {12, 12}),
		 .penWidth = kBoldPenWidth},
		{Icon::Italic,
		 Sketch().stroke({{10, 4}, {18, 4}}).stroke({{6, 20}, {14, 20}}).stroke({{15, 4}, {9, 20}})},
		{Icon::Underline, Sketch().stroke({{6, 4}, {6, 12}})
					  .curve({6, 20}, {18, 20}, {18, 12})
					  .line({18, 4})
					  .stroke({{5, 22}, {19, 22}})},
		{Icon::Strike, Sketch().stroke({{18, 6}})
				       .curve({10, 0}, {2, 11}, {12, 12})
				       .curve({22, 13}, {14, 24}, {6, 18})
				       .stroke({{4, 12}, {20, 12}})},
		{Icon::TextColor,
		 Sketch().stroke({{5, 17}, {12, 3}, {19, 17}}).stroke({{8, 12}, {16, 12}}).stroke({{4, 22}, {20, 22}})},
		{Icon::Highlight, Sketch().stroke({{6, 13}, {15, 4}, {20, 9}, {11, 18}})
					  .stroke({{6, 13}, {4, 19}, {11, 18}})
					  .stroke({{4, 22}, {20, 22}})},
		{Icon::FormatPainter, Sketch().box({4, 3, 16, 7}, 1).stroke({{18, 10}, {18, 14}, {12, 14}, {12, 21}})},
		{Icon::ClearFormat, Sketch().closed({{8, 20}, {3, 15}, {13, 5}, {21, 13}, {14, 20}})
					    .stroke({{8, 10}, {16, 18}})
					    .stroke({{8, 20}, {21, 20}})},
	};
}

std::vector<Figure> paragraphFigures()
{
	return {
		{Icon::AlignLeft, paragraph(3, 15)},
		{Icon::AlignCenter, paragraph(6, 18)},
		{Icon::AlignRight, paragraph(9, 21)},
		{Icon::AlignJustify, paragraph(3, 21)},
		{Icon::DecreaseIndent, indentation().stroke({{6, 9}, {3, 12}, {6, 15}})},
		{Icon::IncreaseIndent, indentation().stroke({{5, 9}, {8, 12}, {5, 15}})},
		// Filled, or the pen, wider than the dots' radius, would leave a hole in each.
		{.icon = Icon::ListStyle,
		 .sketch = Sketch().ellipse({3.4, 5.4, 1.2, 1.2})
				   .stroke({{9, 6}, {20, 6}})
				   .ellipse({3.4, 11.4, 1.2, 1.2})
				   .stroke({{9, 12}, {20, 12}})
				   .ellipse({3.4, 17.4, 1.2, 1.2})
				   .stroke({{9, 18}, {20, 18}}),
		 .isFilled = true},
		{Icon::InsertTime, Sketch().ellipse({3, 3, 18, 18}).stroke({{12, 7}, {12, 12}, {16, 14}})},
		{Icon::InsertMark, Sketch().closed({{12, 4}, {20, 12}, {12, 20}, {4, 12}})},
		{Icon::NextMark,
		 Sketch().closed({{8, 6}, {14, 12}, {8, 18}, {2, 12}}).stroke({{17, 7}, {22, 12}, {17, 17}})},
	};
}

std::vector<Figure> readingAndToolFigures()
{
	return {
		{.icon = Icon::Scroll, .sketch = Sketch().closed({{8, 5}, {19, 12}, {8, 19}}), .isFilled = true},
		{.icon = Icon::Pause,
		 .sketch = Sketch().box({6, 5, 4, 14}, 0.5).box({14, 5, 4, 14}, 0.5),
		 .isFilled = true},
		{Icon::ScrollTop,
		 Sketch().stroke({{5, 3}, {19, 3}}).stroke({{12, 21}, {12, 7}}).stroke({{6, 13}, {12, 7}, {18, 13}})},
		{.icon = Icon::Read,
		 .sketch = padlock().curve({8, 0}, {19, 0}, {19, 6}).line({19, 7}),
		 .sketchWhenOn = padlock().curve({8, 1}, {16, 1}, {16, 7}).line({16, 10})},
		{Icon::ReadingGuide, Sketch().stroke({{7, 5}, {20, 5}})
					     .stroke({{7, 19}, {20, 19}})
					     .stroke({{2, 9}, {5, 12}, {2, 15}})
					     .stroke({{9, 12}, {21, 12}})},
		{Icon::More, Sketch().stroke({{5, 6}, {11, 12}, {5, 18}}).stroke({{13, 6}, {19, 12}, {13, 18}})},
		{Icon::FindPrevious, Sketch().stroke({{6, 15}, {12, 9}, {18, 15}})},
		{Icon::FindNext, Sketch().stroke({{6, 9}, {12, 15}, {18, 9}})},
		{Icon::ClearSearch, Sketch().stroke({{6, 6}, {18, 18}}).stroke({{18, 6}, {6, 18}})},
		{Icon::RemoteQr, Sketch().box({3, 3, 6, 6})
					 .box({15, 3, 6, 6})
					 .box({3, 15, 6, 6})
					 .stroke({{15, 14}, {15, 18}, {12, 18}})
					 .stroke({{18, 12}, {21, 12}, {21, 16}})
					 .stroke({{18, 21}, {21, 21}, {21, 19}})},
	};
}

/// The figure of `icon`, or nullptr when the value names none.
const Figure *findFigure(Icon icon)
{
	static const std::vector<Figure> figures = [] {
		std::vector<Figure> all = documentAndFormatFigures();
		for (const std::vector<Figure> &more : {paragraphFigures(), readingAndToolFigures()}) {
			all.insert(all.end(), more.begin(), more.end());
		}
		return all;
	}();
	const auto found = std::find_if(figures.begin(), figures.end(),
					[icon](const Figure &figure) { return figure.icon == icon; });
	return found == figures.end() ? nullptr : &*found;
}

/// What to fill on the grid for `figure`: one area, so that crossing strokes of a translucent colour do not add up.
QPainterPath inkOf(const Figure &figure, QIcon::State state)
{
	QPainterPath path = (state == QIcon::On ? figure.sketchWhenOn : figure.sketch).path;
	path.translate(QPointF(kGridSize / 2, kGridSize / 2) - path.boundingRect().center());

	QPainterPathStroker pen;
	pen.setWidth(figure.penWidth);
	pen.setCapStyle(Qt::RoundCap);
	pen.setJoinStyle(Qt::RoundJoin);
	pen.setCurveThreshold(kCurveTolerance);
	const QPainterPath outline = pen.createStroke(path);
	return figure.isFilled ? outline.united(path) : outline;
}

class MonoIcon : public QIconEngine {
public:
	MonoIcon(Icon icon, const QPalette &palette) : icon_(icon), palette_(palette) {}

	void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
	{
		const Figure *figure = findFigure(icon_);
		if (!figure) {
			return;
		}
		const qreal scale = std::min(rect.width(), rect.height()) / kGridSize;
		painter->save();
		painter->setRenderHint(QPainter::Antialiasing);
		painter->translate(rect.left() + (rect.width() - kGridSize * scale) / 2,
				   rect.top() + (rect.height() - kGridSize * scale) / 2);
		painter->scale(scale, scale);
		painter->fillPath(inkOf(*figure, state), color(mode));
		painter->restore();
	}

	QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
	{
		QPixmap pixmap(size);
		if (pixmap.isNull()) {
			return pixmap;
		}
		pixmap.fill(Qt::transparent);
		QPainter painter(&pixmap);
		paint(&painter, pixmap.rect(), mode, state);
		return pixmap;
	}

	QIconEngine *clone() const override { return new MonoIcon(*this); }

private:
	QColor color(QIcon::Mode mode) const
	{
		QColor color = palette_.color(QPalette::Active, QPalette::WindowText);
		if (mode == QIcon::Disabled) {
			color.setAlpha(std::min(color.alpha(), kDisabledAlpha));
		}
		return color;
	}

	Icon icon_;
	QPalette palette_;
};

} // namespace

QIcon makeIcon(Icon icon, const QPalette &palette)
{
	return QIcon(new MonoIcon(icon, palette));
}

} // namespace quillbay
