// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The dock's look: what follows the host's palette, font and the dock's width.

#include "dock/dock.hpp"
#include "dock/style.hpp"

#include "editor/editor.hpp"
#include "editor/icons.hpp"

#include <QAction>
#include <QBoxLayout>
#include <QEvent>
#include <QFontMetrics>
#include <QFrame>
#include <QLabel>
#include <QToolButton>

namespace quillbay {

namespace {

// Polishing a widget again is dear, and host themes answer each one with another change event.
void setSheet(QWidget *widget, const QString &sheet)
{
	if (widget->styleSheet() != sheet) {
		widget->setStyleSheet(sheet);
	}
}

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
	setSheet(editor, editorSheet(colors));
	setSheet(readMode, toolButtonSheet(colors));
	const QString separator = separatorSheet(colors);
	for (QFrame *frame : std::as_const(separators)) {
		setSheet(frame, separator);
	}
	const QColor muted = mutedColor(colors);
	for (QLabel *label : {saveStatus, scenePrefix, documentStatus, characterCount, scrollPercent}) {
		setTextColor(label, muted);
	}
	readAction->setIcon(makeIcon(Icon::Read, colors));
	remoteQrButton->setIcon(makeIcon(Icon::RemoteQr, colors));
}

void Dock::updateControlSizes()
{
	if (!bottomControls) {
		return;
	}
	readingControls->setFixedHeight(readMode->sizeHint().expandedTo(buttonSize).height());
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
		break;
	case QEvent::StyleChange:
		updateAppearance();
		updateControlSizes();
		break;
	default:
		break;
	}
}

} // namespace quillbay
