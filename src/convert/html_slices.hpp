// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The paragraphs in HTML that QTextDocument::toHtml wrote. For this folder only.

#pragma once

#include <QString>

#include <vector>

namespace quillbay {

/// Where each paragraph of a document stands in its HTML, found without parsing it.
class HtmlSlices {
public:
	HtmlSlices() = default;
	/// Finds none in HTML that holds more than paragraphs, headings and list items.
	explicit HtmlSlices(QStringView html);

	[[nodiscard]] qsizetype count() const { return marks_.empty() ? 0 : qsizetype(marks_.size()) - 1; }
	/// Where a paragraph begins, with the tag that opens its list. That of `count()` is where the last one ends.
	[[nodiscard]] qsizetype begin(qsizetype slice) const { return at(slice).begin; }
	/// How many lists are opened before it.
	[[nodiscard]] int listsBefore(qsizetype slice) const { return at(slice).lists; }
	/// Whether every list and item before it is closed there.
	[[nodiscard]] bool standsAlone(qsizetype slice) const { return at(slice).depth == 0; }

private:
	struct Mark {
		qsizetype begin = 0;
		int lists = 0;
		int depth = 0;
	};
	[[nodiscard]] const Mark &at(qsizetype slice) const { return marks_[static_cast<size_t>(slice)]; }

	std::vector<Mark> marks_;
};

/// How every document's HTML ends.
inline constexpr QLatin1StringView kHtmlTail("</body></html>");

} // namespace quillbay
