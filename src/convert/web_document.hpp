// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QJsonObject>
#include <QString>

class QTextDocument;

namespace quillbay {

/// The note as a browser edits it: {"blocks": [...], "editable": bool}. A block is a paragraph with its alignment,
/// indentation, list and runs; a run is a stretch of text with its weight, italic, underline, strike-out, size in
/// points (0: inherited), family and colours as #rrggbb (empty: inherited). "editable" is false for a note that
/// holds anything that this form cannot say. An empty object means that the note is over the text limits, or would
/// freeze Qt's parser. GUI thread.
[[nodiscard]] QJsonObject webDocument(const QString &html);
/// The same for HTML that this document has just written (`writer.toHtml()`), without parsing it where the result is
/// known to be the same. GUI thread.
[[nodiscard]] QJsonObject webDocument(const QString &html, const QTextDocument &writer);

/// The note's text: paragraphs and lines end in "\n", list markers are no part of it, pictures are left out. Null
/// for HTML that would freeze Qt's parser. GUI thread.
[[nodiscard]] QString plainText(const QString &html);

/// Writes into `html` the document reduced to what the form above can say, with every inherited font and size
/// spelled out. False, with `html` untouched, when it is over the limits. GUI thread.
bool basicHtml(const QTextDocument &document, QString &html);

} // namespace quillbay
