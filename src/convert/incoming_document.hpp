// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A web document as it comes from a browser, checked. For this folder only.

#pragma once

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QTextCharFormat>

#include <vector>

namespace quillbay {

/// A run in the text of the whole document.
struct Run {
	qint32 position = 0;
	qint32 length = 0;
	QTextCharFormat format;
	QTextCharFormat besidesFamily; ///< `format` without the font's family
};

/// How a paragraph is to stand; see `webDocument` for the values.
struct BlockForm {
	int align = 0;
	int indent = 0;
	int list = 0;
	int listIndent = 0;
	int listGroup = 0;
	int listStart = 0;
};

/// `OverLimit` for a document that is sound but larger than a note may be.
enum class Verdict { Good, Broken, OverLimit };

/// Checks a web document and keeps what it says in the terms of Qt's rich text.
class IncomingDocument {
public:
	/// Reads and checks everything; stops at the first fault.
	Verdict read(const QJsonObject &document);

	/// The paragraphs' texts with a line feed between them.
	[[nodiscard]] const QString &text() const { return text_; }
	[[nodiscard]] const std::vector<Run> &runs() const { return runs_; }
	[[nodiscard]] const std::vector<BlockForm> &blocks() const { return blocks_; }

private:
	/// What a run says about its look.
	struct Look {
		int weight = 0;
		bool italic = false;
		bool underline = false;
		bool strike = false;
		double size = 0;
		QString family;
		QString color;
		QString background;
		bool operator==(const Look &) const = default;
	};
	struct Formats {
		QTextCharFormat whole;
		QTextCharFormat besidesFamily;
	};
	friend size_t qHash(const Look &look, size_t seed);

	Verdict readBlock(const QJsonValue &value);
	Verdict readRun(const QJsonValue &value, qsizetype blockStart);
	bool readFormat(const Look &look, Run &run);

	QString text_;
	std::vector<Run> runs_;
	std::vector<BlockForm> blocks_;
	QHash<Look, Formats> formats_;
};

} // namespace quillbay
