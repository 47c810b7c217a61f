// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/focus_ring.hpp"

#include <QAbstractSlider>
#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

namespace quillbay {

namespace {

constexpr qreal kRadius = 3;

bool needsRing(const QWidget *control)
{
	return qobject_cast<const QToolButton *>(control) || qobject_cast<const QAbstractSlider *>(control) ||
	       qobject_cast<const QLabel *>(control);
}

} // namespace

FocusRing::FocusRing(QWidget *parent) : QWidget(parent)
{
	setObjectName(QStringLiteral("focusRing"));
	setAttribute(Qt::WA_TransparentForMouseEvents);
	setFocusPolicy(Qt::NoFocus);
	hide();
}

void FocusRing::follow(QWidget *control)
{
	if (control_) {
		control_->removeEventFilter(this);
	}
	control_ = control && needsRing(control) ? control : nullptr;
	setVisible(control_ != nullptr);
	if (control_) {
		control_->installEventFilter(this);
		place();
	}
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
	if (watched == control_ && (event->type() == QEvent::Move || event->type() == QEvent::Resize)) {
		place();
	}
	return QWidget::eventFilter(watched, event);
}

void FocusRing::place()
{
	setGeometry(QRect(control_->mapTo(parentWidget(), QPoint()), control_->size()).adjusted(-1, -1, 1, 1));
	raise();
}

void FocusRing::paintEvent(QPaintEvent *)
{
	QPainter painter(this);
	painter.setRenderHint(QPainter::Antialiasing);
	painter.setPen(palette().color(QPalette::Highlight));
	painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
}

} // namespace quillbay
