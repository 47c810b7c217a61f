// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QMessageBox>

namespace quillbay {

/// `message` as a tooltip that shows it as it stands: Qt takes one that looks like HTML for HTML, and opens the files
/// that it names. For scene names, paths and what the system says.
QString plainToolTip(const QString &message);

/// Shows a message box over `parent`, with the text as it stands, and waits for the answer. The host may end
/// meanwhile: `parent` may be gone afterwards. User-interface thread only.
int showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &message,
		QMessageBox::StandardButtons buttons = QMessageBox::Ok,
		QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

} // namespace quillbay
