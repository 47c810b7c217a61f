// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "editor/icons.hpp"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTest>

#include <algorithm>

using namespace quillbay;

namespace {

constexpr int kIconCount = 31;

QPalette paletteOf(const QColor &color)
{
	QPalette palette(Qt::red);
	palette.setColor(QPalette::Active, QPalette::WindowText, color);
	palette.setCurrentColorGroup(QPalette::Inactive);
	return palette;
}

QIcon blueIcon(int value)
{
	return makeIcon(Icon(value), paletteOf(Qt::blue));
}

QImage draw(const QIcon &icon, const QSize &size, const QRect &rect, QIcon::Mode mode = QIcon::Normal,
	    QIcon::State state = QIcon::Off)
{
	QImage image(size, QImage::Format_ARGB32);
	image.fill(Qt::transparent);
	QPainter painter(&image);
	icon.paint(&painter, rect, Qt::AlignCenter, mode, state);
	return image;
}

QImage draw(int value, int side, QIcon::State state = QIcon::Off)
{
	return draw(blueIcon(value), {side, side}, {0, 0, side, side}, QIcon::Normal, state);
}

/// The smallest rectangle around the pixels that are not transparent, and the highest alpha among them.
struct Ink {
	QRect bounds;
	int alpha = 0;

	explicit Ink(const QImage &image)
	{
		for (int i = 0; i < image.width() * image.height(); ++i) {
			const QPoint at(i % image.width(), i / image.width());
			const int here = image.pixelColor(at).alpha();
			bounds |= here > 0 ? QRect(at, QSize(1, 1)) : QRect();
			alpha = std::max(alpha, here);
		}
	}
};

} // namespace

class IconsTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void figuresDifferAndSitInTheMiddle()
	{
		QList<QImage> seen;
		for (int value = 0; value < kIconCount; ++value) {
			const QImage image = draw(value, 240);
			const QRect ink = Ink(image).bounds;
			const QPoint offCenter = ink.topLeft() + ink.bottomRight() - QPoint(239, 239);
			QVERIFY2(offCenter.manhattanLength() <= 2, qPrintable(QString::number(value)));
			QVERIFY2(std::max(ink.width(), ink.height()) >= 120, qPrintable(QString::number(value)));
			QVERIFY2(!seen.contains(image), qPrintable(QString::number(value)));
			seen.append(image);
		}
		QCOMPARE(Ink(draw(-1, 24)).alpha, 0);
		QCOMPARE(Ink(draw(kIconCount, 24)).alpha, 0);
	}

	void oblongRectanglesKeepTheAspect()
	{
		const QIcon icon = blueIcon(int(Icon::InsertTime));
		const QImage square = draw(int(Icon::InsertTime), 16);
		const QImage tall = draw(icon, {20, 40}, {2, 4, 16, 32});
		QCOMPARE(tall.copy(2, 12, 16, 16), square);
		QCOMPARE(Ink(tall).bounds, Ink(square).bounds.translated(2, 12));
		QCOMPARE(draw(icon, {32, 16}, {0, 0, 32, 16}).copy(8, 0, 16, 16), square);
	}

	void disabledIsPalerEvenWhereStrokesCross()
	{
		const QRect rect(0, 0, 96, 96);
		for (int value = 0; value < kIconCount; ++value) {
			QCOMPARE(Ink(draw(blueIcon(value), rect.size(), rect, QIcon::Disabled)).alpha, 110);
		}
		const QIcon faint = makeIcon(Icon::Pause, paletteOf(QColor(0, 0, 0, 80)));
		QCOMPARE(Ink(draw(faint, rect.size(), rect, QIcon::Disabled)).alpha, 80);
	}

	void onlyThePadlockShowsTheState()
	{
		for (int value = 0; value < kIconCount; ++value) {
			QCOMPARE(draw(value, 48, QIcon::On) == draw(value, 48), Icon(value) != Icon::Read);
		}
		const QPoint rightLeg(160, 90);
		QCOMPARE(draw(int(Icon::Read), 240, QIcon::On).pixelColor(rightLeg).alpha(), 255);
		QCOMPARE(draw(int(Icon::Read), 240, QIcon::Off).pixelColor(rightLeg).alpha(), 0);
	}

	void colorStaysWhenTheApplicationPaletteChanges()
	{
		const QPalette before = QGuiApplication::palette();
		QGuiApplication::setPalette(paletteOf(Qt::white));
		const QIcon icon = makeIcon(Icon::Scroll, QGuiApplication::palette());
		QGuiApplication::setPalette(paletteOf(Qt::black));
		const QIcon remade = makeIcon(Icon::Scroll, QGuiApplication::palette());
		QCOMPARE(draw(icon, {24, 24}, {0, 0, 24, 24}).pixelColor(12, 12), QColor(Qt::white));
		QCOMPARE(draw(remade, {24, 24}, {0, 0, 24, 24}).pixelColor(12, 12), QColor(Qt::black));
		QGuiApplication::setPalette(before);
	}

	void densePixmapsAreDrawnNotStretched()
	{
		const QIcon original = blueIcon(int(Icon::Read));
		QIcon icon = original;
		icon.setIsMask(true); // Parts the copy from the original, with an engine of its own.
		const QPixmap pixmap = icon.pixmap({24, 24}, 2.0, QIcon::Normal, QIcon::On);
		QCOMPARE(pixmap.deviceIndependentSize(), QSizeF(24, 24));
		QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
		image.setDevicePixelRatio(1);
		QCOMPARE(image, draw(int(Icon::Read), 48, QIcon::On));
	}
};

QTEST_MAIN(IconsTest)
#include "icons_test.moc"
