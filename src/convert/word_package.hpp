// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillbay::word {

/// Bytes of the largest file that is opened at all: 100 MiB.
inline constexpr qint64 kMaxPackageBytes = 104'857'600;
/// Bytes of the largest part that is read: 24 MiB.
inline constexpr qint64 kMaxPartBytes = 25'165'824;

/// The parts of a Word package that carry text and formatting, as they stand in it; empty where missing.
struct Package {
	QByteArray document;
	QByteArray styles;
	QByteArray numbering;
};

/// Reads the parts and skips every other entry without decompressing it. Of two entries of one name the later one
/// counts. Nothing when the file is no ZIP archive, is damaged or encrypted, or holds a part that is too large.
std::optional<Package> readPackage(const QString &path);

} // namespace quillbay::word
