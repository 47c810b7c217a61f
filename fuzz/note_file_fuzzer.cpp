// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The bytes of a note file, as they lie in the notes folder or in an archive.

#include "notes/note_file.hpp"

#include <cstdint>

namespace {

using namespace quillbay;

constexpr int kMaxUnits = 100;
constexpr int kMaxBytes = 180;

void require(bool isTrue, const char *what)
{
	if (!isTrue) {
		qFatal("%s", what);
	}
}

bool isSame(const NoteFile &a, const NoteFile &b)
{
	return a.sceneId == b.sceneId && a.sceneName == b.sceneName && a.html == b.html;
}

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
	const NoteFile untouched{QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("html")};
	NoteFile file = untouched;
	QString error;
	if (!decodeNote(bytes, file, error)) {
		require(isSame(file, untouched) && !error.isEmpty(), "a refusal changes nothing and says why");
	} else {
		NoteFile again;
		require(decodeNote(encodeNote(file), again, error) && isSame(file, again), "a note that changes");
		checkName(file.sceneName);
	}
	checkName(QString::fromUtf8(bytes));
	return 0;
}
