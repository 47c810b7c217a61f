// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The parts of a Word package: the input is the main part, the styles and the numbering with a record separator
// between them, which XML cannot hold.

#include "convert/word_document.hpp"
#include "notes/limits.hpp"

#include <QGuiApplication>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	static int argc = 1;
	static char name[] = "fuzz";
	static char *argv[] = {name, nullptr};
	static const QGuiApplication application(argc, argv);

	QList<QByteArray> parts =
		QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)).split('\x1e');
	parts.resize(3);
	const quillbay::DocxResult result = quillbay::word::parseDocument(parts[0], parts[1], parts[2]);
	if (result.html.isEmpty() == result.error.isEmpty() || (result.simplified && result.html.isEmpty())) {
		qFatal("neither a note nor an error");
	}
	if (!result.html.isEmpty() && !quillbay::withinHtmlLimits(result.html)) {
		qFatal("a note that cannot be opened");
	}
	return 0;
}
