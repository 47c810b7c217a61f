// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>
#include <QTextBlockFormat>
#include <QTextCharFormat>

class QXmlStreamReader;

namespace quillbay::word {

/// What a paragraph-properties element yields.
struct Paragraph {
	/// The alignment, if any.
	QTextBlockFormat block;
	/// The paragraph mark's run properties.
	QTextCharFormat chars;
	/// The paragraph style's id; empty when none.
	QString style;
	/// The numbering; -1 when the paragraph has none of its own.
	qint32 numId = -1;
	/// The list level, 0 to 8.
	qint32 ilvl = 0;
};

/// Applies the run-property element that the reader stands at, and leaves the reader there.
void runProperty(QXmlStreamReader &reader, QTextCharFormat &format);

/// Applies each child of the element that the reader stands at with runProperty, and reads to the element's end.
void runProperties(QXmlStreamReader &reader, QTextCharFormat &format);

/// Reads the paragraph-properties element that the reader stands at, to its end.
Paragraph readParagraphProperties(QXmlStreamReader &reader);

} // namespace quillbay::word
