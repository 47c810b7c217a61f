// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How the service starts and stops, what the dock tells it, and what it tells the browsers.

#include "remote/remote.hpp"

#include "convert/note_session.hpp"
#include "dock/dock.hpp"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QSettings>
#include <QThread>
#include <QUuid>

#include <algorithm>
#include <array>
#include <cassert>
#include <chrono>
#include <cstring>
#include <utility>

#include <obs-websocket-api.h>

namespace quillbay {

namespace {

using namespace std::chrono_literals;

constexpr const char *kVendor = "QuillBay";
constexpr const char *kRequestType = "Request";
constexpr auto kExpiryInterval = 1000ms;
/// What changes within this time makes one event.
constexpr auto kPublishDelay = 200ms;
constexpr auto kAcceptRetryDelay = 1000ms;
/// Browsers may not write for so long after the dock's user has typed, in milliseconds.
constexpr std::int64_t kLocalEditMs = 2000;
constexpr int kTokenBytes = 16;
constexpr int kTokenLength = 22;
/// At the end, requests that wait for this thread get their answers within this time, in milliseconds.
constexpr qint64 kDrainMs = 250;

bool mayListenOn(const QHostAddress &address)
{
	return address.protocol() == QAbstractSocket::IPv4Protocol && address != QHostAddress::AnyIPv4 &&
	       !address.isMulticast();
}

} // namespace

Remote::Remote(Dock &owner, QSettings &file)
    : dock(owner), settings(file), access(file.value(kAccessKey).toString()), epoch(identifier()),
      inFlight(std::make_shared<std::atomic<std::int32_t>>(0))
{
	initResources();
	if (access.size() != kTokenLength) {
		access = capability();
		settings.setValue(kAccessKey, access);
	}
	expiryTimer.setInterval(kExpiryInterval);
	publishTimer.setInterval(kPublishDelay);
	publishTimer.setSingleShot(true);
	connect(&expiryTimer, &QTimer::timeout, this, &Remote::expire);
	connect(&publishTimer, &QTimer::timeout, this, &Remote::publish);
	// Queued: a flood of connections must not keep the window waiting.
	connect(&server, &QTcpServer::newConnection, this, &Remote::acceptConnections, Qt::QueuedConnection);
	// Qt stops accepting for good when the host is short of file descriptors for a moment.
	connect(&server, &QTcpServer::acceptError, this, [this] {
		QTimer::singleShot(kAcceptRetryDelay, this, [this] {
			if (server.isListening()) {
				server.resumeAccepting();
			}
		});
	});
}

Remote::~Remote()
{
	shutdown();
}

QString Remote::capability()
{
	std::array<quint32, kTokenBytes / sizeof(quint32)> words{};
	QRandomGenerator::system()->fillRange(words.data(), words.size());
	QByteArray bytes;
	for (const quint32 word : words) {
		for (unsigned shift = 0; shift < 32; shift += 8) {
			bytes.append(static_cast<char>(word >> shift));
		}
	}
	return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString Remote::identifier()
{
	return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

std::int64_t Remote::now()
{
	static const std::int64_t start = QDateTime::currentMSecsSinceEpoch();
	static const QElapsedTimer clock = [] {
		QElapsedTimer started;
		started.start();
		return started;
	}();
	return start + clock.elapsed();
}

void Remote::initialize()
{
	if (registered || stopping) {
		return;
	}
	vendor = obs_websocket_register_vendor(kVendor);
	if (!vendor) {
		return;
	}
	registered = obs_websocket_vendor_register_request(vendor, kRequestType, &Remote::request, this);
	if (registered && settings.value(kEnabledKey, false).toBool()) {
		const auto port = static_cast<std::uint16_t>(settings.value(kPortKey, kDefaultPort).toUInt());
		listen(settings.value(kAddressKey).toString(), port);
	}
}

void Remote::shutdown()
{
	if (stopping.exchange(true)) {
		return;
	}
	stop();
	unregister();
	// The host waits on this thread for the requests that are still under way: each has its answer before that.
	QElapsedTimer clock;
	clock.start();
	while (*inFlight > 0 && clock.elapsed() < kDrainMs) {
		QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
		QThread::msleep(1);
	}
}

void Remote::unregister()
{
	if (registered) {
		obs_websocket_vendor_unregister_request(vendor, kRequestType);
		registered = false;
	}
}

bool Remote::listen(const QString &address, std::uint16_t port)
{
	stop();
	const QHostAddress host(address);
	if (stopping || !mayListenOn(host) || !server.listen(host, port)) {
		return false;
	}
	expiryTimer.start();
	dock.setRemoteAvailable(true);
	return true;
}

void Remote::stop()
{
	hideQr();
	releaseEditor();
	server.close();
	dock.setRemoteAvailable(false);
	const auto sockets = server.findChildren<QTcpSocket *>();
	for (QTcpSocket *socket : sockets) {
		socket->abort();
		socket->deleteLater();
	}
	upload = nullptr;
	localEditUntil = 0;
	expiryTimer.stop();
	publishTimer.stop();
	dirty = false;
	sessions.clear();
	changedScenes.clear();
	epoch = identifier();
	revisions.clear();
}

void Remote::noteChanged(const QString &sceneId)
{
	if (!server.isListening() || sceneId.isEmpty()) {
		return;
	}
	if (editorSession.isEmpty() && sceneId == dock.boundScene() && !dock.isLocked()) {
		localEditUntil = now() + kLocalEditMs;
	}
	++revisions[sceneId];
	changedScenes.insert(sceneId);
	publishSoon();
}

void Remote::scrollChanged()
{
	if (server.isListening() && !sessions.isEmpty() && !publishTimer.isActive()) {
		publishTimer.start();
	}
}

void Remote::lockChanged()
{
	const bool isLocked = dock.isLocked();
	if (isLocked || !editorSession.isEmpty()) {
		// Who unlocks a note that a device has takes it back.
		localEditUntil = isLocked ? 0 : now() + kLocalEditMs;
		releaseEditor();
		if (upload) {
			upload->abort();
		}
	}
	publishSoon();
}

void Remote::stateChanged()
{
	publishSoon();
}

void Remote::setCollectionChanging(bool isChanging)
{
	collectionChanging = isChanging;
	if (isChanging) {
		resetCollection();
	}
	publishSoon();
}

void Remote::resetCollection()
{
	releaseEditor();
	localEditUntil = 0;
	epoch = identifier();
	revisions.clear();
	changedScenes.clear();
	publishSoon();
}

bool Remote::sceneInUse(const QString &sceneId) const
{
	if (sceneId.isEmpty()) {
		return false;
	}
	const auto shows = [&sceneId, time = now()](const Session &session) {
		return session.scene == sceneId && time - session.seen <= kSessionMs;
	};
	return sceneId == editorScene || std::any_of(sessions.cbegin(), sessions.cend(), shows);
}

void Remote::releaseEditor()
{
	if (editorSession.isEmpty()) {
		return;
	}
	editorSession.clear();
	editorScene.clear();
	leaseUntil = 0;
	editedNote.reset();
	dock.setRemoteEditing(false);
	publishSoon();
}

void Remote::expire()
{
	const std::int64_t time = now();
	if (localEditUntil != 0 && localEditUntil <= time) {
		localEditUntil = 0;
		publishSoon();
	}
	if (!editorSession.isEmpty() && (leaseUntil < time || !sceneSource(editorScene))) {
		releaseEditor();
	}
	sessions.removeIf([time](const auto &session) { return time - session.value().seen > kSessionMs; });
}

void Remote::publishSoon()
{
	if (!server.isListening()) {
		return;
	}
	dirty = true;
	if (!publishTimer.isActive()) {
		publishTimer.start();
	}
}

void Remote::publish()
{
	if (!registered || !server.isListening()) {
		return;
	}
	const bool isChange = std::exchange(dirty, false);
	const QSet<QString> changed = std::exchange(changedScenes, {});
	if (sessions.isEmpty()) {
		return;
	}
	QJsonObject data;
	if (isChange) {
		data = state();
		data.insert(QLatin1StringView("changed"),
			    QJsonArray::fromStringList(QStringList(changed.cbegin(), changed.cend())));
	} else {
		data = {{QStringLiteral("epoch"), epoch},
			{QStringLiteral("scene"), dock.boundScene()},
			{QStringLiteral("position"), dock.scrollProgress()}};
	}
	const OBSDataAutoRelease event = obs_data_create();
	obs_data_set_string(event, "payload", QJsonDocument(data).toJson(QJsonDocument::Compact).constData());
	obs_websocket_vendor_emit_event(vendor, isChange ? "Changed" : "Scroll", event);
}

} // namespace quillbay
