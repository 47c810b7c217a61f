// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "convert/document_edit.hpp"
#include "convert/html_slices.hpp"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QTextDocument>

#include <memory>
#include <optional>

namespace quillbay {

/// `webDocument` and `applyWebDocument` for one browser that edits one note and saves it again and again: the same
/// results, byte for byte, but a save costs what has changed, not the parsing of the whole note.
///
/// It remembers the HTML it last gave or took and what was sent for it. Where sending that again is proven to leave
/// that HTML as it is, a save parses only the paragraphs around those that were sent otherwise, and puts theirs in the
/// place of the old ones. Where it is not proven (Qt's HTML does not give back every document that it was made of),
/// and for any other HTML than the one remembered, the whole note is parsed. GUI thread.
class NoteSession {
public:
	/// As `quillbay::webDocument`; the saves that follow are expected to build on this note.
	[[nodiscard]] QJsonObject webDocument(const QString &html);

	/// Proves now what the first save would have to prove before it can be done in part.
	void prepareSaves();

	/// As `quillbay::applyWebDocument`.
	bool applyWebDocument(const QString &baseHtml, const QJsonObject &document, QString &html,
			      bool *limitExceeded = nullptr);

	/// How many saves were done without parsing the whole note.
	[[nodiscard]] int savesInPart() const { return savesInPart_; }

private:
	/// What a browser sends, beside what was sent before.
	struct Sent {
		qsizetype head = 0; ///< paragraphs at the start that are the same
		qsizetype tail = 0; ///< paragraphs at the end that are the same
		QString text;       ///< of all, as in IncomingDocument
		qsizetype runs = 0; ///< in all
	};
	/// Paragraphs that are parsed anew: from `first` up to `oldEnd` of those remembered, `newEnd` of those sent.
	struct Extent {
		qsizetype first = 0;
		qsizetype oldEnd = 0;
		qsizetype newEnd = 0;
		qsizetype leading = 0;  ///< of them, that were sent as before
		qsizetype trailing = 0; ///< of them, that were sent as before
		Difference text;        ///< of the whole note
	};
	/// What they become.
	struct Part {
		QString html; ///< a whole document
		HtmlSlices slices;
		IncomingDocument sent;
	};

	void remember(const QString &html, const QJsonArray &blocks);
	bool settle();
	bool applyWhole(const QJsonObject &document, QString &html, bool *limitExceeded);
	[[nodiscard]] Sent compareSent(const QJsonArray &blocks) const;
	[[nodiscard]] Verdict readSent(const QJsonArray &blocks, Sent &sent) const;
	[[nodiscard]] bool readChanged(const QJsonArray &blocks, Sent &sent) const;
	bool applyInPart(const QJsonArray &blocks, const Sent &sent, QString &html);
	void rememberPart(const Extent &extent, const QJsonArray &blocks, const Part &part, const QString &html);
	[[nodiscard]] Extent extentOf(const QJsonArray &blocks, const Sent &sent) const;
	[[nodiscard]] std::optional<Part> partOf(const Extent &extent, const QJsonArray &blocks) const;
	[[nodiscard]] bool isNeighbourhoodKept(const Extent &extent, const QString &before, const Part &part) const;

	QString html_;
	QJsonArray blocks_;                      // what was sent, or exported, for it
	std::unique_ptr<QTextDocument> scratch_; // it, parsed and not changed, or null
	bool canSettle_ = false;
	int failures_ = 0;       // to settle
	bool isSettled_ = false; // sending blocks_ again gives html_
	QString text_;           // its raw text; this and what follows only when settled
	QString sentText_;       // that of blocks_
	qsizetype sentRuns_ = 0; // in blocks_
	HtmlSlices slices_;
	int savesInPart_ = 0;
};

} // namespace quillbay
