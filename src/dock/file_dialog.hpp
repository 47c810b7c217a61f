// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>

class QWidget;

namespace quillbay {

/// Lets the user choose a file to read; empty when none was chosen. The host may end meanwhile: `parent` may be gone
/// afterwards. User-interface thread only, as the next one.
QString chooseFile(QWidget *parent, const QString &title, const QString &filter);

/// What the user wants a file to be called, and as what kind of file.
struct SaveChoice {
	/// Empty when none was chosen.
	QString path;
	/// Of the filters, the one that was selected.
	QString filter;
};

/// Lets the user name a file to write; `proposed` stands there at first. Asks before it names one that exists.
SaveChoice chooseSaveFile(QWidget *parent, const QString &title, const QString &filter, const QString &proposed);

} // namespace quillbay
