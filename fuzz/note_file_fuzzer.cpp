// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The bytes of a note file, as they lie in the notes folder or in an archive.

#include "fuzz.hpp"

#include "notes/note_file.hpp"

#include <QJsonDocument>

namespace {

using namespace quillbay;
using namespace quillbay::fuzz;

constexpr int kMaxUnits = 100;
constexpr int kMaxBytes = 180;

void checkName(const QString &name)
{
	const QString stem = noteName(name);
	require(!stem.isEmpty() && stem.size() <= kMaxUnits && stem.toUtf8().size() <= kMaxBytes, "length of a stem");
	require(stem.isValidUtf16(), "half a character in a stem");
	require(stem != QLatin1String(".") && stem != QLatin1String(".."), "a stem that is a folder");
	for (const QChar c : stem) {
		require(c.unicode() >= 0x20 && !QStringLiteral("/\\:*?\"<>|").contains(c), "a character of a stem");
	}
	require(noteName(stem) == stem, "a stem is its own stem");
}

void checkNote(const QByteArray &bytes)
{
	NoteFile note;
	QString error;
	if (!decodeNote(bytes, note, error)) {
		require(note.sceneId.isEmpty() && !error.isEmpty(), "a refusal changes nothing and says why");
		return;
	}
	checkName(note.sceneName);
	// Sorted members are for the parser of all JSON: it must agree with the quick one.
	NoteFile same;
	require(decodeNote(QJsonDocument::fromJson(bytes).toJson(), same, error) && same.sceneId == note.sceneId &&
			same.sceneName == note.sceneName && same.html == note.html,
		"both ways of reading agree");
	// Half of a surrogate pair has no UTF-8.
	require(decodeNote(encodeNote(note), same, error) && same.html.toUtf8() == note.html.toUtf8(),
		"what was read can be written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
	checkNote(bytes);
	checkName(QString::fromUtf8(bytes));
	return 0;
}
