// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QtCore>

#include <zlib.h>

namespace quillbay::test {

/// One entry as an archive is to hold it.
struct Part {
	QByteArray name;
	QByteArray data;
	quint16 method = 8;
	quint16 flags = 0x0800;
	qint64 size = -1;
	QByteArray tail{};
};

/// An archive, and where its headers begin.
struct Archive {
	QByteArray bytes;
	qsizetype central = 0;
	qsizetype end = 0;
};

template <typename... Numbers>
QByteArray little(Numbers... numbers)
{
	QByteArray bytes;
	QDataStream stream(&bytes, QIODevice::WriteOnly);
	stream.setByteOrder(QDataStream::LittleEndian);
	(stream << ... << numbers);
	return bytes;
}

/// A ZIP archive of the entries, with `gap` before its last header.
inline Archive makeArchive(const QList<Part> &parts, const QByteArray &gap = {}, const QByteArray &comment = {})
{
	Archive archive;
	QByteArray directory;
	const quint16 none = 0;
	for (const Part &part : parts) {
		const QByteArray packed =
			(part.method == 8 ? qCompress(part.data, 1).sliced(6).chopped(4) : part.data) + part.tail;
		const auto *bytes = reinterpret_cast<const Bytef *>(part.data.constData());
		const auto crc = static_cast<quint32>(crc32(0, bytes, static_cast<uInt>(part.data.size())));
		const qint64 size = part.size < 0 ? part.data.size() : part.size;
		const QByteArray shared =
			little(quint16(20), part.flags, part.method, none, quint16(0x0021), crc, quint32(packed.size()),
			       quint32(size), quint16(part.name.size()), none);
		directory += little(quint32(0x02014B50), quint16(20)) + shared +
			     little(none, none, none, quint32(0), quint32(archive.bytes.size())) + part.name;
		archive.bytes += little(quint32(0x04034B50)) + shared + part.name + packed;
	}
	archive.central = archive.bytes.size();
	archive.end = archive.central + directory.size() + gap.size();
	archive.bytes += directory + gap +
			 little(quint32(0x06054B50), none, none, quint16(parts.size()), quint16(parts.size()),
				quint32(directory.size()), quint32(archive.central), quint16(comment.size())) +
			 comment;
	return archive;
}

} // namespace quillbay::test
