// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/style.hpp"

#include <cstdlib>

namespace quillbay {

namespace {

constexpr int kDarkBelowLightness = 128;
constexpr int kMutedAlpha = 170;

/// Least difference from Window in lightness by which a checked button is told from its surroundings.
constexpr int kVisibleLightness = 32;

// Mid, but not in the host's own themes, which paint docks in just that colour.
QColor checkedColor(const QPalette &palette)
{
	const QColor mid = palette.color(QPalette::Mid);
	const int difference = mid.lightness() - palette.color(QPalette::Window).lightness();
	return std::abs(difference) < kVisibleLightness ? separatorColor(palette) : mid;
}

int blend(int window, int text)
{
	return (3 * window + text) / 4;
}

} // namespace

bool isDark(const QPalette &palette)
{
	return palette.color(QPalette::Window).lightness() < kDarkBelowLightness;
}

QColor mutedColor(const QPalette &palette)
{
	QColor color = palette.color(QPalette::Active, QPalette::WindowText);
	color.setAlpha(kMutedAlpha);
	return color;
}

QColor separatorColor(const QPalette &palette)
{
	const QColor window = palette.color(QPalette::Window);
	const QColor text = palette.color(QPalette::WindowText);
	return QColor(blend(window.red(), text.red()), blend(window.green(), text.green()),
		      blend(window.blue(), text.blue()));
}

QString saveErrorSheet(const QPalette &palette)
{
	return isDark(palette) ? QStringLiteral("QLabel { color: #ffd2cc; background: #4b2525; border: 1px solid "
						"#b96359; border-radius: 3px; }")
			       : QStringLiteral("QLabel { color: #8c2520; background: #fff0ec; border: 1px solid "
						"#b96359; border-radius: 3px; }");
}

QString editorSheet(const QPalette &palette, const QString &textPreview, const QString &highlightPreview)
{
	QString preview;
	if (!textPreview.isEmpty()) {
		preview += QStringLiteral("selection-color: %1;").arg(textPreview);
	}
	if (!highlightPreview.isEmpty()) {
		preview += QStringLiteral("selection-background-color: %1;").arg(highlightPreview);
	}
	return QStringLiteral("QTextEdit { color: %2; %3 border: 1px solid palette(highlight); } "
			      "QTextEdit[readOnly=\"true\"], QTextEdit:disabled { border-color: palette(mid); } "
			      "QTextEdit[readOnly=\"true\"], QTextEdit:!focus { background-color: %1; } "
			      "QTextEdit[searchMatch=\"true\"] { selection-background-color: #fff200; selection-color: "
			      "#202126; }")
		.arg(palette.color(QPalette::Window).darker(115).name(), palette.color(QPalette::WindowText).name(),
		     preview);
}

QString toolButtonSheet(const QPalette &palette)
{
	return QStringLiteral("QToolButton { min-width: %1px; max-width: %1px; min-height: %2px; max-height: %2px; "
			      "icon-size: %3px; "
			      "padding: 0px; margin: 0px; border: 0px; border-radius: 3px; background: transparent; } "
			      "QToolButton:checked { background: %4; } "
			      "QToolButton#readMode:checked { background: transparent; } "
			      "QToolButton:enabled:hover, QToolButton#readMode:enabled:hover { background: %5; } "
			      "QToolButton::menu-indicator { image: none; width: 0px; } "
			      "QToolButton#qt_toolbar_ext_button { min-width: 16px; max-width: 16px; }")
		.arg(QString::number(buttonSize.width()), QString::number(buttonSize.height()),
		     QString::number(iconSize.width()), checkedColor(palette).name(),
		     palette.color(QPalette::Button).lighter(120).name());
}

QString toolBarSheet(const QPalette &palette)
{
	return QStringLiteral("QToolBar { border: 0px; padding: 0px; margin: 0px; spacing: 2px; } "
			      "QToolBar::separator { width: 1px; background: %1; margin: 6px 4px; }")
		       .arg(separatorColor(palette).name()) +
	       toolButtonSheet(palette);
}

QString sliderSheet(const QPalette &palette)
{
	return QStringLiteral("QSlider::groove:horizontal { height: 4px; border-radius: 2px; background: %1; } "
			      "QSlider::sub-page:horizontal { border-radius: 2px; background: %2; } "
			      "QSlider::handle:horizontal { width: 14px; margin: -3px 0; border-radius: 5px; "
			      "background: %2; } "
			      "QSlider::handle:horizontal:hover { background: %3; }")
		.arg(separatorColor(palette).name(), palette.color(QPalette::Highlight).name(),
		     isDark(palette) ? QStringLiteral("#d8dce3") : QStringLiteral("#606975"));
}

QString spinBoxSheet(const char *className)
{
	return QStringLiteral("%1 { min-height: 0px; min-width: 0px; padding: 2px 6px; } "
			      "%1 QLineEdit { background: transparent; border: 0px; border-radius: 0px; padding: 0px; "
			      "margin: 0px; min-height: 0px; min-width: 0px; }")
		.arg(QLatin1StringView(className));
}

QString searchSheet(const QPalette &palette)
{
	const QColor muted = mutedColor(palette);
	return QStringLiteral("QLineEdit { min-height: 0px; padding: 2px 6px; placeholder-text-color: %1; } "
			      "QLineEdit QLabel { background: transparent; border: 0px; padding: 0px; color: %1; }")
		.arg(QStringLiteral("rgba(%1, %2, %3, %4)")
			     .arg(muted.red())
			     .arg(muted.green())
			     .arg(muted.blue())
			     .arg(muted.alpha()));
}

QString separatorSheet(const QPalette &palette)
{
	return QStringLiteral("QFrame { border: 0px; background: %1; }").arg(separatorColor(palette).name());
}

} // namespace quillbay
