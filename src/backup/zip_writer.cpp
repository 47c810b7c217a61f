// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "backup/zip_writer.hpp"

#include "backup/zip_format.hpp"
#include "notes/note_file.hpp"

#include <QIODevice>

#include <algorithm>

#define ZLIB_CONST
#include <zlib.h>

namespace quillbay {

namespace {

using namespace zip;

/// Archives are made while someone waits: the quickest level.
constexpr int kCompressionLevel = 1;
/// zlib's own default.
constexpr int kMemoryLevel = 8;

template <typename Number>
void append(QByteArray &bytes, Number number)
{
	const Number little = qToLittleEndian(number);
	bytes.append(reinterpret_cast<const char *>(&little), sizeof(little));
}

// What both headers of a file hold, from "version needed to extract" to "extra field length".
QByteArray sharedHeader(quint32 crc, qsizetype packedSize, qsizetype size, qsizetype nameSize)
{
	QByteArray header;
	append(header, kVersion);
	append(header, kHasUtf8Name);
	append(header, kDeflated);
	append(header, quint16(0)); // Time.
	append(header, kDate);
	append(header, crc);
	append(header, static_cast<quint32>(packedSize));
	append(header, static_cast<quint32>(size));
	append(header, static_cast<quint16>(nameSize));
	append(header, quint16(0)); // Extra field.
	return header;
}

} // namespace

ZipWriter::ZipWriter(QIODevice &device) : device_(device), stream_(std::make_unique<z_stream>())
{
	canCompress_ = deflateInit2(stream_.get(), kCompressionLevel, Z_DEFLATED, kRawWindowBits, kMemoryLevel,
				    Z_DEFAULT_STRATEGY) == Z_OK;
}

ZipWriter::~ZipWriter()
{
	if (canCompress_) {
		deflateEnd(stream_.get());
	}
}

bool ZipWriter::compress(const QByteArray &data)
{
	if (!canCompress_ || deflateReset(stream_.get()) != Z_OK) {
		return false;
	}
	const auto size = static_cast<uInt>(data.size());
	packed_.resize(static_cast<qsizetype>(deflateBound(stream_.get(), size)));
	stream_->next_in = reinterpret_cast<const Bytef *>(data.constData());
	stream_->avail_in = size;
	stream_->next_out = reinterpret_cast<Bytef *>(packed_.data());
	stream_->avail_out = static_cast<uInt>(packed_.size());
	if (deflate(stream_.get(), Z_FINISH) != Z_STREAM_END) {
		return false;
	}
	packed_.truncate(static_cast<qsizetype>(stream_->total_out));
	return true;
}

ZipWriter::Result ZipWriter::add(const QString &name, const QByteArray &data)
{
	if (!compress(data)) {
		return Result::NotCompressed;
	}
	const QByteArray utf8 = name.toUtf8();
	const auto crc = static_cast<quint32>(
		crc32(0, reinterpret_cast<const Bytef *>(data.constData()), static_cast<uInt>(data.size())));
	const QByteArray shared = sharedHeader(crc, packed_.size(), data.size(), utf8.size());
	const auto offset = static_cast<quint32>(device_.pos());

	QByteArray local;
	append(local, kLocalSignature);
	if (!writeAll(device_, local + shared + utf8) || !writeAll(device_, packed_)) {
		return Result::NotWritten;
	}
	append(directory_, kCentralSignature);
	append(directory_, kVersion);
	directory_ += shared;
	append(directory_, quint16(0)); // Comment.
	append(directory_, quint16(0)); // Disk.
	append(directory_, quint16(0)); // Internal attributes.
	append(directory_, quint32(0)); // External attributes.
	append(directory_, offset);
	directory_ += utf8;
	++count_;
	return Result::Written;
}

bool ZipWriter::finish()
{
	const auto offset = static_cast<quint32>(device_.pos());
	QByteArray end;
	append(end, kEndSignature);
	append(end, quint16(0)); // This disk.
	append(end, quint16(0)); // The directory's disk.
	append(end, count_);
	append(end, count_);
	append(end, static_cast<quint32>(directory_.size()));
	append(end, offset);
	append(end, quint16(0)); // Comment.
	return writeAll(device_, directory_) && writeAll(device_, end);
}

} // namespace quillbay
