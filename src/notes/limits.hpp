// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>
#include <QtGlobal>

class QTextDocument;

namespace quillbay {

/// Characters of text in a note. Qt counts one separator for every paragraph, the last included.
inline constexpr int kMaxTextLength = 200'000;
/// `QTextDocument::characterCount` of the longest note: the text and its closing separator.
inline constexpr int kMaxCharacterCount = kMaxTextLength + 1;
/// Paragraphs (`QTextDocument::blockCount`) of a note.
inline constexpr int kMaxParagraphs = 20'000;
/// Characters of text in one paragraph.
inline constexpr int kMaxParagraphLength = 10'000;
/// `QTextBlock::length` of the longest paragraph: its text and its separator.
inline constexpr int kMaxBlockLength = kMaxParagraphLength + 1;
/// Levels that a paragraph or a list may be indented.
inline constexpr int kMaxIndent = 12;
/// Bytes of an encoded note file, or of one entry of an archive: 64 MiB.
inline constexpr qint64 kMaxNoteBytes = 67'108'864;
/// Notes in one backup.
inline constexpr int kMaxBackupNotes = 10'000;
/// Bytes of all note files in one backup: 512 MiB.
inline constexpr qint64 kMaxBackupBytes = 536'870'912;

/// Whether a finished document keeps every text limit above. Never lays the document out.
bool withinTextLimits(const QTextDocument &document);

/// Whether `html` may be given to Qt's parser at all: false for what would freeze it, or its layout, and for what
/// is far over the limits. Makes nothing and takes well under 250 ms.
bool isWorthParsing(const QString &html);

/// Whether the document that `html` makes keeps every text limit and is harmless to show: HTML that would
/// freeze Qt's parser or layout counts as over the limits and is answered before either sees it.
bool withinHtmlLimits(const QString &html);

} // namespace quillbay
