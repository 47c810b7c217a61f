// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/apply_web_document.hpp"

#include "convert/document_edit.hpp"
#include "convert/export_document.hpp"
#include "notes/limits.hpp"

namespace quillbay {

bool applyWebDocument(const QString &baseHtml, const QJsonObject &document, QString &html, bool *limitExceeded)
{
	return applyTo(parsed(baseHtml).get(), baseHtml, document, html, limitExceeded);
}

bool applyTo(QTextDocument *base, const QString &baseHtml, const QJsonObject &document, QString &html,
	     bool *limitExceeded)
{
	if (limitExceeded) {
		*limitExceeded = false;
	}
	const QJsonObject exported = base ? exportDocument(*base, false) : QJsonObject();
	if (!exported.value(QLatin1StringView("editable")).toBool()) {
		return false;
	}
	IncomingDocument incoming;
	if (const Verdict verdict = incoming.read(document); verdict != Verdict::Good) {
		if (limitExceeded) {
			*limitExceeded = verdict == Verdict::OverLimit;
		}
		return false;
	}
	if (document.value(QLatin1StringView("blocks")) == exported.value(QLatin1StringView("blocks"))) {
		html = baseHtml;
		return true;
	}
	if (!edit(*base, incoming)) {
		return false;
	}
	const QString result = base->toHtml();
	if (!withinHtmlLimits(result)) {
		return false;
	}
	html = result;
	return true;
}

} // namespace quillbay
