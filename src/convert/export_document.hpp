// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The walk over a document that every conversion here starts from. For this folder only.

#pragma once

#include <QHash>
#include <QJsonObject>
#include <QStringView>
#include <QTextCharFormat>
#include <QTextDocument>

#include <memory>

class QTextList;

namespace quillbay {

/// Runs of a web document.
inline constexpr int kMaxRuns = 100'000;
/// Bounds of what a run and a block may say; `QFont` takes the same weights.
inline constexpr int kMinWeight = 1;
inline constexpr int kMaxWeight = 1000;
inline constexpr int kNormalWeight = 400;
inline constexpr double kMaxPointSize = 500;
inline constexpr qsizetype kMaxFamilyLength = 200;
inline constexpr int kMinListStyle = -8; ///< upper-case roman numerals; 0 means no list
inline constexpr int kMaxListStart = 10'000;

/// The document in the form that `webDocument` describes, or an empty object when it is over the limits. With
/// `resolved` every run spells out the font, size and colours that it has in effect, within the bounds above.
/// `listsBefore` lists of the note stand before this part of it. Every text has the properties of `inherited` that it
/// does not set itself.
QJsonObject exportDocument(const QTextDocument &document, bool resolved, int listsBefore = 0,
			   const QTextCharFormat &inherited = {});

/// What `exportDocument` gives for the document that the HTML of this one makes, without making it; an empty object
/// where it takes making it to know: lists, tables, anything but plain paragraphs.
QJsonObject exportWritten(const QTextDocument &document);

/// The font's family as a run names it: the first one, or none.
QString familyOf(const QTextCharFormat &format);

/// Whether a run can name the colour: one without transparency or pattern, or none at all.
bool isPlainColor(const QBrush &brush);

/// Whether a run may hold this text: whole characters only, and none that stands for a paragraph's end or an object.
bool isRunText(QStringView text);

/// The lists of a document by number, from 1 in the order of their first paragraphs: the same before and after the
/// document was saved and loaded, as no index of Qt's is.
class ListNumbers {
public:
	explicit ListNumbers(int listsBefore = 0) : listsBefore_(listsBefore) {}

	/// The list's number; a list that was not asked for before gets the next one.
	int of(const QTextList *list);

private:
	int listsBefore_;
	QHash<const QTextList *, int> numbers_;
};

/// The document that the HTML makes, or null when it would freeze the parser or is far over the limits.
std::unique_ptr<QTextDocument> parsed(const QString &html);
/// The document that harmless HTML makes. Written again, what Qt wrote keeps its font.
std::unique_ptr<QTextDocument> loaded(const QString &html);

} // namespace quillbay
