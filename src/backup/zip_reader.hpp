// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

class QIODevice;
struct z_stream_s;

namespace quillbay {

/// The largest archive that a reader accepts.
struct ZipLimits {
	/// Bytes of the archive.
	qint64 archiveSize;
	/// Files and folders in its central directory.
	int entries;
	/// Bytes of its central directory.
	qint64 directorySize;
	/// Bytes of one file inside the archive, and extracted.
	qint64 packedSize;
	qint64 size;
};

/// Reads a ZIP archive of stored or deflated files, and refuses whatever is not plainly safe: encryption, ZIP64,
/// several disks, headers that contradict each other or overlap the directory, wrong lengths and CRCs, names that lead
/// out of a folder. Takes memory for one file, never more than the limits allow. Any thread.
class ZipReader {
public:
	/// What `next` has come to.
	enum class Step { File, End, Invalid };

	/// `device` is open for reading at random; it stays the caller's and must outlive the reader. The name of each
	/// file must end in `suffix`, in any letter case.
	ZipReader(QIODevice &device, const ZipLimits &limits, const QString &suffix);
	~ZipReader();
	Q_DISABLE_COPY_MOVE(ZipReader)

	/// Reads the central directory. False: no archive that this reader accepts.
	bool open();

	/// Extracts the next file into `data()`; folders are passed over. `End` is reached only when the directory
	/// holds nothing but its entries. `Invalid`: the archive is damaged or unsafe; what came before was not.
	Step next();

	/// The file that `next` has extracted.
	[[nodiscard]] const QByteArray &data() const { return data_; }

private:
	struct Entry;

	[[nodiscard]] bool read(qint64 offset, qint64 size, QByteArray &bytes);
	[[nodiscard]] bool readEntry(Entry &entry);
	[[nodiscard]] bool isSafe(const Entry &entry) const;
	[[nodiscard]] bool readPacked(const Entry &entry);
	[[nodiscard]] bool extract(const Entry &entry);
	[[nodiscard]] bool inflate(qint64 size);

	QIODevice &device_;
	ZipLimits limits_;
	QString suffix_;
	std::unique_ptr<z_stream_s> stream_;
	bool canInflate_ = false;
	QByteArray directory_;
	qint64 directoryOffset_ = 0;
	qint64 position_ = 0;
	int entriesLeft_ = 0;
	QByteArray header_;
	QByteArray packed_;
	QByteArray data_;
};

} // namespace quillbay
