// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QtEndian>

/// The parts of the ZIP format that our archives use, as PKWARE's APPNOTE 6.3 lays them out. All numbers are unsigned
/// little-endian.
namespace quillbay::zip {

inline constexpr quint32 kLocalSignature = 0x04034B50;
inline constexpr quint32 kCentralSignature = 0x02014B50;
inline constexpr quint32 kEndSignature = 0x06054B50;

/// Bytes of each header before its variable part.
inline constexpr qint64 kLocalHeaderSize = 30;
inline constexpr qint64 kCentralHeaderSize = 46;
inline constexpr qint64 kEndRecordSize = 22;
/// Bytes of the longest comment after the end record.
inline constexpr qint64 kMaxCommentSize = 65'535;

inline constexpr quint16 kStored = 0;
inline constexpr quint16 kDeflated = 8;

/// Flag: sizes and CRC stand behind the data; the central directory has them all the same.
inline constexpr quint16 kHasDataDescriptor = 1 << 3;
/// Flag: the name is UTF-8.
inline constexpr quint16 kHasUtf8Name = 1 << 11;

/// 2.0: the first version that deflates.
inline constexpr quint16 kVersion = 20;
/// 1 January 1980, the earliest date there is.
inline constexpr quint16 kDate = 0x0021;

/// zlib's window bits for a raw deflate stream: a window of 32 KiB, without zlib's header and trailer.
inline constexpr int kRawWindowBits = -15;

} // namespace quillbay::zip
