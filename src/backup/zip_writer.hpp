// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

class QIODevice;
struct z_stream_s;

namespace quillbay {

/// Writes a ZIP archive of deflated files: no folders, no times, no encryption, no ZIP64. The same files always make
/// the same bytes. Any thread.
class ZipWriter {
public:
	/// What became of a file.
	enum class Result { Written, NotCompressed, NotWritten };

	/// Writes from the device's start; the device stays the caller's and must outlive the writer.
	explicit ZipWriter(QIODevice &device);
	~ZipWriter();
	Q_DISABLE_COPY_MOVE(ZipWriter)

	/// Appends a file. `NotWritten`: the device's error says why. After a failure the archive is no use any more.
	/// At most 65,535 files, of less than 4 GiB in all, with names of at most 65,535 bytes of UTF-8.
	Result add(const QString &name, const QByteArray &data);

	/// Writes what ends an archive. False: the device's error says why.
	bool finish();

private:
	[[nodiscard]] bool compress(const QByteArray &data);

	QIODevice &device_;
	std::unique_ptr<z_stream_s> stream_;
	bool canCompress_ = false;
	/// The file that is being added, deflated.
	QByteArray packed_;
	QByteArray directory_;
	quint16 count_ = 0;
};

} // namespace quillbay
