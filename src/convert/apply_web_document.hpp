// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QJsonObject>
#include <QString>

namespace quillbay {

/// Applies what a browser sends back (see `webDocument`) to the note `baseHtml`: replaces the text that differs, then
/// sets the formatting that the form can say; all else of the note stays as it is. A document that changes nothing
/// gives `baseHtml` itself. On a refusal `html` is untouched and false returned: the document breaks the form or its
/// bounds, the note is not editable, or the result would freeze the editor. `limitExceeded` (optional) tells
/// whether it was refused for the text limits: too many blocks, a block too long, or too much text. GUI thread.
bool applyWebDocument(const QString &baseHtml, const QJsonObject &document, QString &html,
		      bool *limitExceeded = nullptr);

} // namespace quillbay
