// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A backup that someone was given: the input is a ZIP archive, or else a note file.

#include "backup/zip_reader.hpp"
#include "backup/zip_writer.hpp"
#include "notes/note_file.hpp"

#include <QBuffer>
#include <QJsonDocument>

#include <cstdint>

namespace {

using namespace quillbay;

/// Small enough to find what goes over a limit.
constexpr ZipLimits kLimits{1 << 20, 100, 1 << 16, 1 << 18, 1 << 18};

void require(bool isTrue, const char *what)
{
	if (!isTrue) {
		qFatal("%s", what);
	}
}

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

void tryNote(const QByteArray &bytes)
{
	NoteFile note;
	QString error;
	if (!decodeNote(bytes, note, error)) {
		require(note.sceneId.isEmpty() && !error.isEmpty(), "a refusal changes nothing and says why");
		return;
	}
	// Sorted members are for the parser of all JSON: it must agree with the quick one.
	NoteFile same;
	require(decodeNote(QJsonDocument::fromJson(bytes).toJson(), same, error) && same.sceneId == note.sceneId &&
			same.sceneName == note.sceneName && same.html == note.html,
		"both ways of reading agree");
	// Half of a surrogate pair has no UTF-8.
	require(decodeNote(encodeNote(note), same, error) && same.html.toUtf8() == note.html.toUtf8(),
		"what was read can be written");
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
		tryNote(file);
		require(zip.add(QStringLiteral("a.json"), file) == ZipWriter::Result::Written, "a file is written");
	}
	require(zip.finish(), "an archive is ended");
	require(files.isEmpty() || (readAll(copy, isWhole) == files && isWhole), "what was read can be written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
	if (input.startsWith('{')) {
		tryNote(input);
	} else {
		tryArchive(input);
	}
	return 0;
}
