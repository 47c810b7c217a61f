// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QLabel>
#include <QPixmap>
#include <QString>

namespace quillbay {

/// The QR code of a text in UTF-8, with the lowest error correction, black on white, in a square of `size` pixels
/// with the margin of at least four modules that ISO/IEC 18004 asks for. Null when the code does not fit.
QPixmap qrPixmap(const QString &text, int size);

/// A square that shows a link as a QR code, or nothing.
class QrLabel : public QLabel {
	Q_OBJECT

public:
	explicit QrLabel(QWidget *parent = nullptr);

	/// Shows the link; an empty one clears the label.
	void setLink(const QString &link);

	[[nodiscard]] QSize sizeHint() const override;
	[[nodiscard]] QSize minimumSizeHint() const override;

protected:
	void resizeEvent(QResizeEvent *event) override;

private:
	void redraw();

	QString link_;
};

} // namespace quillbay
