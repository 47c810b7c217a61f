// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The dock's look: what follows the host's palette, font and the dock's width.

#include "dock/dock.hpp"
#include "dock/style.hpp"

#include "editor/editor.hpp"
#include "editor/icons.hpp"
#include "plugin/text.hpp"

#include <QAction>
#include <QBoxLayout>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFontMetrics>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QToolBar>
#include <QToolButton>

#include <algorithm>

namespace quillbay {

namespace {

// Polishing a widget again is dear, and host themes answer each one with another change event.
void setSheet(QWidget *widget, const QString &sheet)
{
	if (widget->styleSheet() != sheet) {
		widget->setStyleSheet(sheet);
	}
}

/// Least height of a text line that controls leave room for.
constexpr int kMinTextHeight = 18;

void setTextColor(QWidget *widget, const QColor &color)
{
	QPalette palette = widget->palette();
	palette.setColor(QPalette::WindowText, color);
	widget->setPalette(palette);
}

} // namespace

void Dock::updateAppearance()
{
	if (!bottomControls) {
		return;
	}
	const QPalette colors = palette();
	setSheet(saveError, saveErrorSheet(colors));
	setSheet(editor, editorSheet(colors, previewTextColor, previewHighlight));
	setSheet(scrollSlider, sliderSheet(colors));
	const QString buttonSheet = toolButtonSheet(colors);
	for (QToolButton *button : {readMode, scrollPlay, scrollTop, readingGuide}) {
		setSheet(button, buttonSheet);
	}
	const QString toolbarSheet = toolBarSheet(colors);
	for (QToolBar *bar : {formatToolbar, paragraphToolbar}) {
		setSheet(bar, toolbarSheet);
	}
	const QString separator = separatorSheet(colors);
	for (QFrame *frame : std::as_const(separators)) {
		setSheet(frame, separator);
	}
	const QColor muted = mutedColor(colors);
	for (QLabel *label : {saveStatus, scenePrefix, documentStatus, characterCount, scrollPercent}) {
		setTextColor(label, muted);
	}
	setSheet(searchText, searchSheet(colors));
	updateIcons();
}

void Dock::updateIcons()
{
	const QPalette colors = palette();
	for (QToolBar *bar : {formatToolbar, paragraphToolbar}) {
		const QList<QAction *> actions = bar->actions();
		for (QAction *action : actions) {
			const QVariant icon = action->property("quillBayIcon");
			if (icon.isValid()) {
				action->setIcon(makeIcon(static_cast<Icon>(icon.toInt()), colors));
			}
		}
		if (auto *more = bar->findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"))) {
			more->setIcon(makeIcon(Icon::More, colors));
			more->setToolTip(text("MoreTools"));
			more->setAccessibleName(text("MoreTools"));
		}
	}
	scrollPlay->setIcon(makeIcon(scrollTimer.isActive() ? Icon::Pause : Icon::Scroll, colors));
	scrollTop->setIcon(makeIcon(Icon::ScrollTop, colors));
	listStyle->setIcon(makeIcon(Icon::ListStyle, colors));
	findPrevious->setIcon(makeIcon(Icon::FindPrevious, colors));
	findNext->setIcon(makeIcon(Icon::FindNext, colors));
	clearSearchButton->setIcon(makeIcon(Icon::ClearSearch, colors));
	readAction->setIcon(makeIcon(Icon::Read, colors));
	remoteQrButton->setIcon(makeIcon(Icon::RemoteQr, colors));
	guideAction->setIcon(makeIcon(Icon::ReadingGuide, colors));
}

void Dock::updateControlSizes()
{
	if (!bottomControls) {
		return;
	}
	const auto fix = [this](QWidget *box, const QString &sample, int minimumWidth) {
		box->setAttribute(Qt::WA_LayoutUsesWidgetRect);
		box->ensurePolished();
		box->setFont(font());
		const QFontMetrics metrics(font());
		box->setFixedSize(std::max(metrics.horizontalAdvance(sample) + 16, minimumWidth),
				  std::max(metrics.height(), kMinTextHeight) + 10);
	};
	fix(fontSize, QStringLiteral("144"), 44);
	fix(scrollSpeed, QStringLiteral("5.0×"), 52);
	searchText->setFixedHeight(fontSize->height());
	updateSearchMargins();
	readingControls->setFixedHeight(std::max(scrollSpeed->height(), paragraphToolbar->sizeHint().height()));
	for (QToolBar *bar : {formatToolbar, paragraphToolbar}) {
		bar->setFixedWidth(bar->sizeHint().width());
	}
	scrollPercent->setFont(font());
	scrollPercent->setFixedWidth(QFontMetrics(font()).horizontalAdvance(QStringLiteral("100%")));
	updateControlLayout();
}

void Dock::updateControlLayout()
{
	const int needed = readingControls->minimumSizeHint().width() + readingMetrics->sizeHint().width() +
			   bottomLayout->spacing();
	const bool isOneRow = bottomControls->width() >= needed;
	bottomLayout->setDirection(isOneRow ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
	const int stacked = isOneRow ? 0 : readingMetrics->sizeHint().height() + bottomLayout->spacing();
	bottomControls->setFixedHeight(readingControls->height() + stacked);
}

void Dock::updateSceneStyle()
{
	setSheet(sceneLabel, locked ? QStringLiteral("font-weight: bold; color: palette(highlight);")
				    : QStringLiteral("font-weight: bold;"));
}

void Dock::changeEvent(QEvent *event)
{
	QWidget::changeEvent(event);
	switch (event->type()) {
	case QEvent::ApplicationPaletteChange:
	case QEvent::PaletteChange:
		updateAppearance();
		break;
	case QEvent::ApplicationFontChange:
	case QEvent::FontChange:
		updateControlSizes();
		QMetaObject::invokeMethod(this, &Dock::updateControlSizes, Qt::QueuedConnection);
		break;
	case QEvent::StyleChange:
		updateAppearance();
		updateControlSizes();
		// The children are polished only after this: what they want to be is known on the next turn.
		QMetaObject::invokeMethod(this, &Dock::updateControlSizes, Qt::QueuedConnection);
		break;
	default:
		break;
	}
}

} // namespace quillbay
