// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "remote/http_transfer.hpp"

#include "convert/word_import.hpp"
#include "plugin/text.hpp"
#include "remote/native_socket.hpp"

#include <QDir>
#include <QHostAddress>
#include <QJsonDocument>

#include <algorithm>
#include <chrono>

namespace quillbay {

namespace {

constexpr auto kHeadTime = std::chrono::seconds(3);
constexpr auto kBodyTime = std::chrono::seconds(30);
constexpr auto kResponseTime = std::chrono::seconds(30);
constexpr qint64 kChunkBytes = 65'536;
constexpr std::int64_t kMaxUploadBytes = 5'242'880; // 5 MiB
// What a sender may go on sending after its response.
constexpr qint64 kMaxDropped = 2 * kMaxUploadBytes;

constexpr const char *kHtmlType = "text/html; charset=utf-8";
constexpr const char *kScriptType = "text/javascript; charset=utf-8";
constexpr const char *kJsonType = "application/json";

struct Route {
	const char *path;
	const char *resource;
	const char *contentType;
};
constexpr Route kRoutes[] = {
	{"/", ":/remote/index.html", kHtmlType},
	{"/style.css", ":/remote/style.css", "text/css; charset=utf-8"},
	{"/app.mjs", ":/remote/app.mjs", kScriptType},
	{"/protocol.mjs", ":/remote/protocol.mjs", kScriptType},
	{"/document.mjs", ":/remote/document.mjs", kScriptType},
	{"/manifest.webmanifest", ":/remote/manifest.webmanifest", "application/manifest+json"},
	{"/icon.svg", ":/remote/icon.svg", "image/svg+xml"},
	{"/icon-192.png", ":/remote/icon-192.png", "image/png"},
	{"/icon-512.png", ":/remote/icon-512.png", "image/png"},
};

QByteArray toJson(const QJsonObject &object)
{
	return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// "address:port" of the page.
QString hostOf(const QTcpServer &server)
{
	return QStringLiteral("%1:%2").arg(server.serverAddress().toString()).arg(server.serverPort());
}

} // namespace

Remote::Transfer::Transfer(Remote &owner, QTcpSocket &peer) : remote(owner), socket(peer), timer(new QTimer(&peer))
{
	socket.setReadBufferSize(kMaxHeadBytes + 1);
	timer->setSingleShot(true);
	connect(timer, &QTimer::timeout, &peer, [&peer] {
		peer.abort();
		peer.deleteLater();
	});
	timer->start(kHeadTime);
}

void Remote::Transfer::read()
{
	if (!done && !file) {
		readHead();
	}
	if (!done && file) {
		readBody();
	}
	if (isLingering) {
		dropRest();
	}
}

void Remote::Transfer::readHead()
{
	const QByteArray bytes = socket.peek(kMaxHeadBytes + 1);
	const HeadScan scan = scanHead(bytes, scanned);
	scanned = bytes.size();
	if (scan.state == HeadState::TooLarge) {
		socket.abort();
	} else if (scan.state == HeadState::Complete) {
		const QByteArray head = socket.read(scan.length);
		if (const auto line = readRequestLine(head)) {
			answer(*line, head);
		} else {
			respond({}, "text/plain", "400 Bad Request");
		}
	}
}

void Remote::Transfer::answer(const RequestLine &line, const QByteArray &head)
{
	if (line.method == "GET") {
		isReadWhole = true;
		sendFile(line.path);
	} else if (line.method == "POST" && line.path == "/import.docx") {
		beginUpload(head);
	} else {
		respond({}, "text/plain", "405 Method Not Allowed");
	}
}

void Remote::Transfer::sendFile(const QByteArray &path)
{
	if (path == "/config.json") {
		respondJson(remote.config());
		return;
	}
	const auto *route = std::find_if(std::begin(kRoutes), std::end(kRoutes),
					 [&path](const Route &known) { return path == known.path; });
	if (route != std::end(kRoutes)) {
		QFile resource(QLatin1StringView(route->resource));
		if (resource.open(QIODevice::ReadOnly)) {
			respond(resource.readAll(), route->contentType);
			return;
		}
	}
	respond({}, "text/plain; charset=utf-8", "404 Not Found");
}

void Remote::Transfer::beginUpload(const QByteArray &head)
{
	const auto headers = readHeaders(head);
	const QByteArray origin = "http://" + hostOf(remote.server).toLatin1();
	const auto announced = headers ? readUploadHead(*headers, origin) : std::nullopt;
	if (!announced) {
		respondJson(error("format"));
		return;
	}
	if (announced->length > kMaxUploadBytes) {
		respondJson(error("size"));
		return;
	}
	request = announced->request;
	const QJsonObject reply = remote.handle(request);
	if (!reply.value(QStringLiteral("ok")).toBool()) {
		respondJson(reply);
	} else if (remote.upload) {
		respondJson(error("busy"));
	} else if (!openFile()) {
		respondJson(error("upload"));
	} else {
		remote.upload = &socket;
		remaining = announced->length;
		socket.setReadBufferSize(kChunkBytes);
		timer->start(kBodyTime);
	}
}

bool Remote::Transfer::openFile()
{
	directory = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/quillbay-upload-XXXXXX"));
	file = std::make_unique<QFile>(directory->filePath(QStringLiteral("document.docx")));
	return directory->isValid() && file->open(QIODevice::WriteOnly);
}

void Remote::Transfer::readBody()
{
	const QByteArray chunk = socket.read(std::min<qint64>(remaining, kChunkBytes));
	if (file->write(chunk) != chunk.size()) {
		respondJson(error("upload"));
		return;
	}
	remaining -= chunk.size();
	if (remaining == 0) {
		isReadWhole = true;
		respondJson(finishUpload());
	}
}

QJsonObject Remote::Transfer::finishUpload()
{
	if (socket.state() != QAbstractSocket::ConnectedState || socket.bytesAvailable() > 0 ||
	    holdsUnreadBytes(socket.socketDescriptor())) {
		return error("format");
	}
	// The lease or the revision may have changed while the body came.
	const QJsonObject reply = remote.handle(request);
	if (done || !reply.value(QStringLiteral("ok")).toBool()) {
		return reply;
	}
	if (!file->flush()) {
		return error("upload");
	}
	file->close();
	const DocxResult word = importDocx(file->fileName());
	if (!word.error.isEmpty()) {
		return error(word.error == text("TextLimit") ? "limit" : "word");
	}
	return remote.replaceDocument(request, word.html, word.simplified);
}

void Remote::Transfer::respondJson(const QJsonObject &object)
{
	respond(toJson(object), kJsonType);
}

void Remote::Transfer::respond(const QByteArray &body, const QByteArray &contentType, const QByteArray &status)
{
	if (done) {
		return;
	}
	done = true;
	discardFile();
	const QByteArray websocket = QStringLiteral("ws://%1:%2")
					     .arg(remote.server.serverAddress().toString())
					     .arg(remote.websocketPort())
					     .toLatin1();
	socket.write("HTTP/1.1 " + status + "\r\nContent-Type: " + contentType +
		     "\r\nContent-Length: " + QByteArray::number(body.size()) +
		     "\r\nConnection: close\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff"
		     "\r\nReferrer-Policy: no-referrer\r\nContent-Security-Policy: default-src 'none'; "
		     "script-src 'self'; style-src 'self' 'unsafe-inline'; connect-src 'self' " +
		     websocket +
		     "; img-src 'self'; manifest-src 'self'; base-uri 'none'; frame-ancestors 'none'; "
		     "form-action 'none'\r\n\r\n" +
		     body);
	timer->start(kResponseTime);
	socket.flush();
	finish();
}

void Remote::Transfer::finish()
{
	if (isReadWhole && socket.bytesAvailable() == 0 && !holdsUnreadBytes(socket.socketDescriptor())) {
		socket.disconnectFromHost();
		return;
	}
	// Closing with bytes unread resets the connection, and the peer loses a response that it has not read yet.
	isLingering = true;
	socket.setReadBufferSize(kChunkBytes);
	written();
}

void Remote::Transfer::written()
{
	if (isLingering && socket.bytesToWrite() == 0) {
		stopSending(socket.socketDescriptor());
	}
}

void Remote::Transfer::dropRest()
{
	dropped += socket.readAll().size();
	if (dropped > kMaxDropped) {
		socket.abort();
	}
}

void Remote::Transfer::disconnect()
{
	done = true;
	isLingering = false;
	discardFile();
	socket.deleteLater();
}

void Remote::Transfer::discardFile()
{
	// The file goes first: a folder with an open file in it cannot be removed everywhere.
	file.reset();
	directory.reset();
	if (remote.upload == &socket) {
		remote.upload.clear();
	}
}

} // namespace quillbay
