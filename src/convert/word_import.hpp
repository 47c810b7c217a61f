// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>

namespace quillbay {

/// What became of a Word document.
struct DocxResult {
	/// The note's HTML; empty on failure.
	QString html;
	/// A localized text that says what is wrong; empty on success.
	QString error;
	/// Whether pictures, drawings or objects were dropped or tables flattened; false on failure.
	bool simplified = false;
};

/// Makes a note of a Word document (Office Open XML, ISO/IEC 29500): its main text with paragraph, character and list
/// formatting. The file may be hostile: time and memory are bounded, and nothing is written. GUI thread only.
DocxResult importDocx(const QString &path);

} // namespace quillbay
