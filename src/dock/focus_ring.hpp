// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QPointer>
#include <QWidget>

namespace quillbay {

/// Shows which control has the keyboard's focus, for controls whose own looks do not: buttons, the slider and the
/// metrics. Takes no mouse and no focus.
class FocusRing : public QWidget {
	Q_OBJECT

public:
	explicit FocusRing(QWidget *parent);

	/// Surrounds `control`, a descendant of the parent, or hides for null and for controls that show the focus.
	void follow(QWidget *control);

protected:
	bool eventFilter(QObject *watched, QEvent *event) override;
	void paintEvent(QPaintEvent *event) override;

private:
	void place();

	QPointer<QWidget> control_;
};

} // namespace quillbay
