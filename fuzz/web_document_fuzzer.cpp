// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What a browser sends for a note, and the note itself: the input is JSON, then a NUL, then the note's HTML.

#include "fuzz.hpp"

#include "convert/apply_web_document.hpp"
#include "convert/note_session.hpp"
#include "convert/web_document.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"

#include <QJsonDocument>

namespace {

using namespace quillbay;
using namespace quillbay::fuzz;

// Three saves by way of a session, beside the plain way.
void trySession(QString html, const QJsonObject &sent, const QJsonObject &exported)
{
	NoteSession session;
	require(session.webDocument(html) == exported, "a session exports the same");
	for (const QJsonObject &document : {sent, exported, sent}) {
		QString plain;
		QString fast;
		const bool isApplied = applyWebDocument(html, document, plain);
		require(session.applyWebDocument(html, document, fast) == isApplied, "a session refuses the same");
		require(plain == fast, "a session gives the same");
		html = isApplied ? plain : html;
	}
}

// What the editor's own document tells without being parsed, beside what its HTML tells.
void tryWriter(const QString &html)
{
	if (!withinHtmlLimits(html)) {
		return;
	}
	const auto writer = NoteDocument::makeScratch();
	writer->setHtml(html);
	const QString written = writer->toHtml();
	require(webDocument(written, *writer) == webDocument(written), "an open document exports the same");
}

void tryBoth(const QString &html, const QJsonObject &sent)
{
	const QString untouched = QStringLiteral("untouched");
	QString result = untouched;
	bool isOverLimit = false;
	if (!applyWebDocument(html, sent, result, &isOverLimit)) {
		require(result == untouched, "a refusal writes nothing");
	} else {
		require(result == html || withinHtmlLimits(result), "a result can be loaded again");
	}
	const QJsonObject exported = webDocument(html);
	if (exported.value(QLatin1StringView("editable")).toBool()) {
		QString same = untouched;
		require(applyWebDocument(html, exported, same) && same == html, "an export changes nothing");
	}
	(void)plainText(html);
	trySession(html, sent, exported);
	tryWriter(html);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	startGui();
	const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
	const qsizetype end = input.indexOf('\0');
	const QString html = end < 0 ? QString() : QString::fromUtf8(input.sliced(end + 1));
	tryBoth(html, QJsonDocument::fromJson(input.first(end < 0 ? input.size() : end)).object());
	return 0;
}
