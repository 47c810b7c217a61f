// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QByteArray>
#include <QXmlStreamReader>

namespace quillbay::word {

/// Gives a part to a new reader, in whichever of the two encodings that packages may use (UTF-8, UTF-16: ISO/IEC
/// 29500-2), whatever the part says of itself. The reader is left with an error instead when the part is
/// in neither, has a document type declaration, which packages must not have, or is built to keep the reader busy.
void openPart(QXmlStreamReader &reader, const QByteArray &part);

/// The value of the current element's attribute of that local name, whatever its prefix; empty when absent.
QString attr(const QXmlStreamReader &reader, const char *name);

/// The value of an on/off property: on unless its "val" says otherwise.
bool enabled(const QXmlStreamReader &reader);

} // namespace quillbay::word
