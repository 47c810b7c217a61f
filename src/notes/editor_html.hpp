// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "notes/html_names.hpp"

namespace quillbay {

/// What `QTextDocument::toHtml` of Qt 6 starts with.
inline constexpr QLatin1StringView kEditorHead(
	"<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.0//EN\" \"http://www.w3.org/TR/REC-html40/strict.dtd\">\n"
	"<html><head><meta name=\"qrichtext\" content=\"1\" />");

/// Whether what follows a "<" is one of Qt's own tags, written letter by letter as Qt writes it.
bool isEditorTag(QStringView tag, const Name &name);
/// Whether the value of a "style" attribute holds nothing that Qt would not write.
bool isEditorStyle(QStringView css);
/// Whether the text of a <style> element is the sheet that Qt writes.
bool isEditorSheet(QStringView sheet);
/// Whether the character starts a new block of its own, in inserted text as in HTML: a line feed, a carriage return, a
/// paragraph separator, or one of the two code points that no text should hold and that Qt takes for edges of frames.
bool isBlockBreak(QChar c);

} // namespace quillbay
