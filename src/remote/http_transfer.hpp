// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "remote/remote.hpp"
#include "remote/request_head.hpp"

#include <QFile>
#include <QTemporaryDir>

namespace quillbay {

/// One connection of the HTTP server: one request, one response. User-interface thread only.
struct Remote::Transfer {
	/// Both must outlive this. Gives the sender of `peer` three seconds for the head.
	Transfer(Remote &owner, QTcpSocket &peer);
	Q_DISABLE_COPY_MOVE(Transfer)

	/// Takes what has arrived.
	void read();
	/// The connection has ended.
	void disconnect();
	/// Part of the response has been sent.
	void written();

private:
	void readHead();
	void answer(const RequestLine &line, const QByteArray &head);
	void sendFile(const QByteArray &path);
	void beginUpload(const QByteArray &head);
	[[nodiscard]] bool openFile();
	void readBody();
	[[nodiscard]] QJsonObject finishUpload();
	void respondJson(const QJsonObject &object);
	void respond(const QByteArray &body, const QByteArray &contentType, const QByteArray &status = "200 OK");
	void finish();
	void dropRest();
	void discardFile();

	Remote &remote;
	QTcpSocket &socket;
	QTimer *timer;
	/// How many bytes of the head hold no blank line.
	qsizetype scanned = 0;
	/// A response was sent or the peer is gone: what comes now is dropped.
	bool done = false;
	/// The sender has nothing more to send.
	bool isReadWhole = false;
	/// The response was sent, and the rest of the request is awaited and dropped.
	bool isLingering = false;
	qint64 dropped = 0;
	/// Bytes of the body that are still to come.
	std::int64_t remaining = 0;
	/// What `handle` is asked before and after the body.
	QJsonObject request;
	std::unique_ptr<QTemporaryDir> directory;
	/// Open while a body is read.
	std::unique_ptr<QFile> file;
};

} // namespace quillbay
