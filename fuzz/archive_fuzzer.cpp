// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A backup that someone was given: the input is a ZIP archive.

#include "fuzz.hpp"

#include "backup/zip_reader.hpp"
#include "backup/zip_writer.hpp"

#include <QBuffer>

namespace {

using namespace quillbay;
using namespace quillbay::fuzz;

/// Small enough to find what goes over a limit.
constexpr ZipLimits kLimits{1 << 20, 100, 1 << 16, 1 << 18, 1 << 18};

// The archive's files. `isWhole`: the last one has been reached.
QList<QByteArray> readAll(QByteArray bytes, bool &isWhole)
{
	QBuffer device(&bytes);
	device.open(QIODevice::ReadOnly);
	ZipReader zip(device, kLimits, QStringLiteral(".json"));
	QList<QByteArray> files;
	ZipReader::Step step = zip.open() ? zip.next() : ZipReader::Step::Invalid;
	for (; step == ZipReader::Step::File; step = zip.next()) {
		require(zip.data().size() <= kLimits.size && files.size() < kLimits.entries, "a limit was passed");
		files.append(zip.data());
	}
	isWhole = step == ZipReader::Step::End;
	return files;
}

void tryArchive(const QByteArray &bytes)
{
	bool isWhole = false;
	const QList<QByteArray> files = readAll(bytes, isWhole);
	QByteArray copy;
	QBuffer device(&copy);
	device.open(QIODevice::WriteOnly);
	ZipWriter zip(device);
	for (const QByteArray &file : files) {
		require(zip.add(QStringLiteral("a.json"), file) == ZipWriter::Result::Written, "a file is written");
	}
	require(zip.finish(), "an archive is ended");
	require(files.isEmpty() || (readAll(copy, isWhole) == files && isWhole), "what was read can be written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
	tryArchive(input);
	return 0;
}
