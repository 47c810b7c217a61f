// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/html_slices.hpp"

namespace quillbay {

namespace {

bool opensList(QStringView line)
{
	return line.startsWith(u"<ul") || line.startsWith(u"<ol");
}

bool isItem(QStringView line)
{
	return line.startsWith(u"<li");
}

// Rulers and preformatted text are written in ways that depend on what is around them.
bool isParagraph(QStringView line)
{
	const bool isHeading = line.size() > 2 && line.startsWith(u"<h") && line[2].isDigit();
	return isHeading || line.startsWith(u"<p ") ||
	       (isItem(line) && !line.contains(u"<pre") && !line.contains(u"<hr"));
}

int closedTags(QStringView line)
{
	return static_cast<int>(line.count(u"</li>") + line.count(u"</ul>") + line.count(u"</ol>"));
}

} // namespace

// Qt begins a line for every paragraph and for every list; text and attributes hold no line feed.
HtmlSlices::HtmlSlices(QStringView html)
{
	const qsizetype body = html.indexOf(u"<body");
	qsizetype feed = body < 0 ? -1 : html.indexOf(u'\n', body);
	Mark mark;
	bool isListOpened = false;
	while (feed >= 0) {
		const qsizetype next = html.indexOf(u'\n', feed + 1);
		const QStringView line = html.first(next < 0 ? html.size() : next).sliced(feed + 1);
		if (!isListOpened) {
			mark.begin = feed;
			marks_.push_back(mark);
		}
		isListOpened = opensList(line);
		if (isListOpened) {
			++mark.lists;
			++mark.depth;
		} else if (!isParagraph(line)) {
			break;
		} else if (isItem(line)) {
			mark.depth += 1 - closedTags(line);
		}
		feed = next;
	}
	if (feed >= 0 || isListOpened || marks_.empty() || !html.endsWith(kHtmlTail)) {
		marks_.clear();
		return;
	}
	mark.begin = html.size() - kHtmlTail.size();
	marks_.push_back(mark);
}

} // namespace quillbay
