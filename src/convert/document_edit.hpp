// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How a web document changes a note's document. For this folder only.

#pragma once

#include "convert/incoming_document.hpp"

#include <QStringView>
#include <QTextDocument>

namespace quillbay {

/// The stretch in which two texts differ.
struct Difference {
	qsizetype start = 0; ///< in both
	qsizetype oldEnd = 0;
	qsizetype newEnd = 0;

	[[nodiscard]] bool isEmpty() const { return start == oldEnd && start == newEnd; }
};

/// `noted` is a document's raw text, `sent` has line feeds between its paragraphs. Never splits a surrogate pair of
/// what is noted.
Difference differenceOf(QStringView noted, QStringView sent);

/// Replaces the text that differs, then sets the form of every run and paragraph. `listsBefore` lists of the note
/// stand before this part of it. False when the document has fewer paragraphs than were sent.
bool edit(QTextDocument &document, const IncomingDocument &incoming, int listsBefore = 0);

/// `applyWebDocument` with the document that `baseHtml` makes, or null where it makes none; changes the document.
bool applyTo(QTextDocument *base, const QString &baseHtml, const QJsonObject &document, QString &html,
	     bool *limitExceeded);

} // namespace quillbay
