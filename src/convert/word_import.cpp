// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/word_import.hpp"

#include "convert/word_document.hpp"
#include "convert/word_package.hpp"
#include "plugin/text.hpp"

#include <QFileInfo>

namespace quillbay {

DocxResult importDocx(const QString &path)
{
	const QFileInfo file(path);
	if (!file.isFile() || file.size() > word::kMaxPackageBytes) {
		return {.html = {}, .error = text("WordSizeError")};
	}
	const std::optional<word::Package> package = word::readPackage(path);
	if (!package || package->document.isEmpty()) {
		return {.html = {}, .error = text("WordBodyError")};
	}
	return word::parseDocument(package->document, package->styles, package->numbering);
}

} // namespace quillbay
