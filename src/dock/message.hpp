// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QMessageBox>

namespace quillbay {

/// Shows a message box over `parent`, with the text as it stands, and waits for the answer. The host may end
/// meanwhile: `parent` may be gone afterwards. User-interface thread only.
int showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &message,
		QMessageBox::StandardButtons buttons = QMessageBox::Ok,
		QMessageBox::StandardButton defaultButton = QMessageBox::NoButton);

} // namespace quillbay
