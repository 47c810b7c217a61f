// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The input is the file that a user picks as a Word document.

#include "convert/word_package.hpp"

#include <QTemporaryFile>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	QTemporaryFile file;
	if (!file.open() || file.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size)) < 0 ||
	    !file.flush()) {
		qFatal("no file can be written");
	}
	const auto package = quillbay::word::readPackage(file.fileName());
	if (package) {
		for (const QByteArray &part : {package->document, package->styles, package->numbering}) {
			if (part.size() > quillbay::word::kMaxPartBytes) {
				qFatal("a part over its limit");
			}
		}
	}
	return 0;
}
