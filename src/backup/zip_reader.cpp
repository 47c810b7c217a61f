// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "backup/zip_reader.hpp"

#include "backup/zip_format.hpp"

#include <QIODevice>
#include <QStringList>

#include <algorithm>

#define ZLIB_CONST
#include <zlib.h>

namespace quillbay {

using namespace zip;

namespace {

// Not inlined: GCC's sanitizer build takes every array for the empty one, and warns of reading past it.
template <typename Number>
Q_NEVER_INLINE Number number(const QByteArray &bytes, qint64 offset)
{
	return qFromLittleEndian<Number>(bytes.constData() + offset);
}

quint16 half(const QByteArray &bytes, qint64 offset)
{
	return number<quint16>(bytes, offset);
}

quint32 word(const QByteArray &bytes, qint64 offset)
{
	return number<quint32>(bytes, offset);
}

// Where in the archive's tail its end record starts, or -1: the last one whose comment reaches exactly to the end.
qint64 findEndRecord(const QByteArray &tail)
{
	for (qint64 at = tail.size() - kEndRecordSize; at >= 0; --at) {
		if (word(tail, at) == kEndSignature && half(tail, at + 20) == tail.size() - at - kEndRecordSize) {
			return at;
		}
	}
	return -1;
}

} // namespace

/// What the central directory says of a file or folder.
struct ZipReader::Entry {
	quint16 flags;
	quint16 method;
	quint32 crc;
	qint64 packedSize;
	qint64 size;
	quint16 disk;
	qint64 offset;
	QByteArray name;

	[[nodiscard]] bool isFolder() const { return name.endsWith('/'); }
};

ZipReader::ZipReader(QIODevice &device, const ZipLimits &limits, const QString &suffix)
    : device_(device), limits_(limits), suffix_(suffix), stream_(std::make_unique<z_stream>()),
      canInflate_(inflateInit2(stream_.get(), kRawWindowBits) == Z_OK)
{
}

ZipReader::~ZipReader()
{
	if (canInflate_) {
		inflateEnd(stream_.get());
	}
}

bool ZipReader::read(qint64 offset, qint64 size, QByteArray &bytes)
{
	bytes.resize(size);
	return device_.seek(offset) && device_.read(bytes.data(), size) == size;
}

bool ZipReader::open()
{
	const qint64 archiveSize = device_.size();
	const qint64 tailSize = std::min(archiveSize, kEndRecordSize + kMaxCommentSize);
	QByteArray tail;
	if (archiveSize < kEndRecordSize || archiveSize > limits_.archiveSize ||
	    !read(archiveSize - tailSize, tailSize, tail)) {
		return false;
	}
	const qint64 end = findEndRecord(tail);
	if (end < 0 || half(tail, end + 4) != 0 || half(tail, end + 6) != 0 ||
	    half(tail, end + 8) != half(tail, end + 10)) {
		return false;
	}
	entriesLeft_ = half(tail, end + 10);
	const qint64 directorySize = word(tail, end + 12);
	directoryOffset_ = word(tail, end + 16);
	const bool endsAtRecord = directoryOffset_ + directorySize == archiveSize - tailSize + end;
	return entriesLeft_ > 0 && entriesLeft_ <= limits_.entries && directorySize <= limits_.directorySize &&
	       endsAtRecord && read(directoryOffset_, directorySize, directory_);
}

ZipReader::Step ZipReader::next()
{
	while (entriesLeft_ > 0) {
		--entriesLeft_;
		Entry entry;
		if (!readEntry(entry)) {
			return Step::Invalid;
		}
		if (!entry.isFolder()) {
			return isSafe(entry) && readPacked(entry) && extract(entry) ? Step::File : Step::Invalid;
		}
	}
	return position_ == directory_.size() ? Step::End : Step::Invalid;
}

bool ZipReader::readEntry(Entry &entry)
{
	const qint64 left = directory_.size() - position_;
	if (left < kCentralHeaderSize || word(directory_, position_) != kCentralSignature) {
		return false;
	}
	const qint64 nameSize = half(directory_, position_ + 28);
	const qint64 entrySize =
		kCentralHeaderSize + nameSize + half(directory_, position_ + 30) + half(directory_, position_ + 32);
	if (left < entrySize) {
		return false;
	}
	entry = {half(directory_, position_ + 8),  half(directory_, position_ + 10),
		 word(directory_, position_ + 16), word(directory_, position_ + 20),
		 word(directory_, position_ + 24), half(directory_, position_ + 34),
		 word(directory_, position_ + 42), directory_.sliced(position_ + kCentralHeaderSize, nameSize)};
	position_ += entrySize;
	const bool isKnown = (entry.flags & ~(kHasDataDescriptor | kHasUtf8Name)) == 0 &&
			     (entry.method == kStored || entry.method == kDeflated);
	return isKnown && entry.disk == 0 && entry.packedSize <= limits_.packedSize && entry.size <= limits_.size;
}

// Nothing is ever extracted under its own name, but who packs such names means harm.
bool ZipReader::isSafe(const Entry &entry) const
{
	const QString name = QString::fromUtf8(entry.name);
	return name.endsWith(suffix_, Qt::CaseInsensitive) && !name.contains(u'\\') && !name.startsWith(u'/') &&
	       !name.contains(u':') && !name.split(u'/').contains(QLatin1StringView(".."));
}

bool ZipReader::readPacked(const Entry &entry)
{
	const qint64 nameSize = entry.name.size();
	const qint64 nameOffset = entry.offset + kLocalHeaderSize;
	if (nameOffset > directoryOffset_ || !read(entry.offset, kLocalHeaderSize, header_)) {
		return false;
	}
	const qint64 dataOffset = nameOffset + nameSize + half(header_, 28);
	const bool isSame = word(header_, 0) == kLocalSignature && half(header_, 6) == entry.flags &&
			    half(header_, 8) == entry.method && half(header_, 26) == nameSize;
	return isSame && dataOffset + entry.packedSize <= directoryOffset_ && read(nameOffset, nameSize, header_) &&
	       header_ == entry.name && read(dataOffset, entry.packedSize, packed_);
}

bool ZipReader::extract(const Entry &entry)
{
	if (entry.method == kDeflated) {
		if (!inflate(entry.size)) {
			return false;
		}
	} else if (entry.packedSize == entry.size) {
		data_.swap(packed_);
	} else {
		return false;
	}
	const auto *bytes = reinterpret_cast<const Bytef *>(data_.constData());
	return crc32(0, bytes, static_cast<uInt>(data_.size())) == entry.crc;
}

bool ZipReader::inflate(qint64 size)
{
	if (!canInflate_ || inflateReset(stream_.get()) != Z_OK) {
		return false;
	}
	data_.resize(size);
	stream_->next_in = reinterpret_cast<const Bytef *>(packed_.constData());
	stream_->avail_in = static_cast<uInt>(packed_.size());
	stream_->next_out = reinterpret_cast<Bytef *>(data_.data());
	stream_->avail_out = static_cast<uInt>(size);
	return ::inflate(stream_.get(), Z_FINISH) == Z_STREAM_END && stream_->avail_out == 0 && stream_->avail_in == 0;
}

} // namespace quillbay
