// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "convert/word_import.hpp"

#include <QByteArray>

namespace quillbay::word {

/// Makes a note of a package's main part with its styles and numbering parts, either of which may be empty or broken.
/// GUI thread only.
DocxResult parseDocument(const QByteArray &document, const QByteArray &styles, const QByteArray &numbering);

} // namespace quillbay::word
