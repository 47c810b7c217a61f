// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QJsonObject>

#include <cstdint>
#include <optional>

namespace quillbay {

/// The bytes of a request's head, its blank line included, that are read at most.
inline constexpr qsizetype kMaxHeadBytes = 8192;

/// How much of a request's head has come.
enum class HeadState { Incomplete, Complete, TooLarge };

/// What `scanHead` found.
struct HeadScan {
	HeadState state = HeadState::Incomplete;
	/// With its blank line; 0 unless complete.
	qsizetype length = 0;
};

/// Looks for the blank line after a request's head, of whose first bytes `scanned` were looked at before: a head that
/// comes byte by byte is read once. Never looks beyond the longest head and one byte. Any thread, as all of this file.
HeadScan scanHead(QByteArrayView bytes, qsizetype scanned);

/// What a request asks for; the path as it was sent.
struct RequestLine {
	QByteArray method;
	QByteArray path;
};

/// The first line of a complete head. Nothing unless it has three words, of which the last is "HTTP/1.1" or
/// "HTTP/1.0".
std::optional<RequestLine> readRequestLine(QByteArrayView head);

/// Trimmed values by lower-case name.
using Headers = QHash<QByteArray, QByteArray>;

/// The header lines of a complete head. Nothing if a line has no name or a name comes twice: which of two lengths is
/// meant is for nobody to guess.
std::optional<Headers> readHeaders(QByteArrayView head);

/// What the headers of an upload announce.
struct UploadHead {
	/// Bytes of the body, at least 1.
	std::int64_t length = 0;
	/// The payload of the request that asks whether the sender may replace the note.
	QJsonObject request;
};

/// Reads the headers of an upload. Nothing unless they are those of a Word document of a known length for a revision;
/// `origin` is the only page that browsers may send it from.
std::optional<UploadHead> readUploadHead(const Headers &headers, QByteArrayView origin);

} // namespace quillbay
