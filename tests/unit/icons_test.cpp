// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "editor/icons.hpp"

#include <QtTest>
#include <QtWidgets>

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

QImage draw(const QIcon &icon, int side, QIcon::Mode mode = QIcon::Normal)
{
	QImage image(side, side, QImage::Format_ARGB32);
	image.fill(Qt::transparent);
	QPainter painter(&image);
	icon.paint(&painter, image.rect(), Qt::AlignCenter, mode);
	return image;
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
			const QImage image = draw(blueIcon(value), 240);
			const QRect ink = Ink(image).bounds;
			const QPoint offCenter = ink.topLeft() + ink.bottomRight() - QPoint(239, 239);
			QVERIFY2(offCenter.manhattanLength() <= 2, qPrintable(QString::number(value)));
			QVERIFY2(std::max(ink.width(), ink.height()) >= 120, qPrintable(QString::number(value)));
			QVERIFY2(!seen.contains(image), qPrintable(QString::number(value)));
			seen.append(image);
		}
		QCOMPARE(Ink(draw(blueIcon(kIconCount), 24)).alpha, 0);
	}

	void disabledIsPalerEvenWhereStrokesCross()
	{
		for (int value = 0; value < kIconCount; ++value) {
			QCOMPARE(Ink(draw(blueIcon(value), 96, QIcon::Disabled)).alpha, 110);
		}
		const QIcon faint = makeIcon(Icon::Pause, paletteOf(QColor(0, 0, 0, 80)));
		QCOMPARE(Ink(draw(faint, 96, QIcon::Disabled)).alpha, 80);
	}
};

QTEST_MAIN(IconsTest)
#include "icons_test.moc"
