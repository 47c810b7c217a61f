// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/word_package.hpp"

#include <QFile>

#include <archive.h>
#include <archive_entry.h>

#include <cstring>
#include <memory>

namespace quillbay::word {

namespace {

constexpr size_t kReadBlockBytes = 65'536;
// A package has three parts that are read. One made to keep us busy has thousands, each a bomb of 24 MiB.
constexpr int kMaxPartReads = 16;
// A picture or so a page; a directory of millions of names takes seconds and hundreds of megabytes.
constexpr int kMaxEntries = 100'000;

using Archive = std::unique_ptr<archive, decltype(&archive_read_free)>;

// Null when the file cannot be opened as a ZIP archive. The archive's own directory is the only list of its entries:
// without one their sizes can only be found by decompressing everything.
Archive open(const QString &path)
{
	Archive package(archive_read_new(), &archive_read_free);
	if (!package || archive_read_support_format_zip_seekable(package.get()) != ARCHIVE_OK) {
		return {nullptr, &archive_read_free};
	}
#ifdef Q_OS_WIN
	const int opened = archive_read_open_filename_w(package.get(), path.toStdWString().c_str(), kReadBlockBytes);
#else
	const int opened =
		archive_read_open_filename(package.get(), QFile::encodeName(path).constData(), kReadBlockBytes);
#endif
	return opened == ARCHIVE_OK ? std::move(package) : Archive(nullptr, &archive_read_free);
}

// Where the entry goes; null for one that is not read.
QByteArray *placeOf(archive_entry *entry, Package &package)
{
	const char *name = archive_entry_pathname(entry);
	if (!name) {
		return nullptr;
	}
	if (std::strcmp(name, "word/document.xml") == 0) {
		return &package.document;
	}
	if (std::strcmp(name, "word/styles.xml") == 0) {
		return &package.styles;
	}
	return std::strcmp(name, "word/numbering.xml") == 0 ? &package.numbering : nullptr;
}

bool readPart(archive *package, archive_entry *entry, QByteArray &part)
{
	const la_int64_t size = archive_entry_size(entry);
	if (size < 0 || size > kMaxPartBytes) {
		return false;
	}
	part = QByteArray(static_cast<qsizetype>(size), Qt::Uninitialized);
	for (qsizetype filled = 0; filled < part.size();) {
		const la_ssize_t count =
			archive_read_data(package, part.data() + filled, static_cast<size_t>(part.size() - filled));
		if (count <= 0) {
			return false;
		}
		filled += static_cast<qsizetype>(count);
	}
	return true;
}

} // namespace

std::optional<Package> readPackage(const QString &path)
{
	const Archive archive = open(path);
	if (!archive) {
		return std::nullopt;
	}
	Package package;
	int reads = 0;
	for (int entries = 0; entries < kMaxEntries; ++entries) {
		archive_entry *entry = nullptr;
		const int status = archive_read_next_header(archive.get(), &entry);
		if (status == ARCHIVE_EOF) {
			return package;
		}
		// A warning is about a name in a script that the system's locale lacks: none of those that are read.
		if (status != ARCHIVE_OK && status != ARCHIVE_WARN) {
			return std::nullopt;
		}
		QByteArray *part = placeOf(entry, package);
		if (part && (++reads > kMaxPartReads || !readPart(archive.get(), entry, *part))) {
			return std::nullopt;
		}
	}
	return std::nullopt;
}

} // namespace quillbay::word
