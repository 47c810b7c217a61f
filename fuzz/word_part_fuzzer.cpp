// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The parts of a Word package: the input is the main part, the styles and the numbering with a record separator
// between them, which XML cannot hold.

#include "fuzz.hpp"

#include "convert/word_document.hpp"
#include "notes/limits.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	using namespace quillbay;
	using namespace quillbay::fuzz;
	startGui();

	QList<QByteArray> parts =
		QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)).split('\x1e');
	parts.resize(3);
	const DocxResult result = word::parseDocument(parts[0], parts[1], parts[2]);
	require(result.html.isEmpty() != result.error.isEmpty() && !(result.simplified && result.html.isEmpty()),
		"either a note or an error");
	require(result.html.isEmpty() || withinHtmlLimits(result.html), "a note that can be opened");
	return 0;
}
