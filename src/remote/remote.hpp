// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <atomic>
#include <cstdint>
#include <memory>

#include <obs.hpp>

class QLabel;
class QSettings;
class QWidget;

namespace quillbay {

class Dock;
class NoteSession;

/// Lets browsers on other devices read, edit and scroll the notes: through vendor requests of the host's
/// obs-websocket, and through a small HTTP server for the page itself and for Word documents sent from it.
///
/// One writer at a time: a browser edits under a lease, with the revision that it last saw.
/// User-interface thread only, but for `request`.
class Remote : public QObject {
	Q_OBJECT

public:
	/// Makes the access token if the settings hold none. Serves nobody yet. Both references must outlive this.
	Remote(Dock &dock, QSettings &settings);
	~Remote() override;

	// Life (remote.cpp)

	/// Registers with obs-websocket and, if the user wants that, starts listening. Called once the host has
	/// loaded all of its modules.
	void initialize();
	/// Stops serving for good. Later calls do nothing.
	void shutdown();
	/// Starts the HTTP server on one concrete IPv4 address. False where that is not possible; `serverError`
	/// tells why.
	bool listen(const QString &address, std::uint16_t port);
	/// Closes every connection and forgets sessions, lease and revisions.
	void stop();

	// What the dock tells (remote.cpp)

	/// The text of a scene's note has changed.
	void noteChanged(const QString &sceneId);
	/// The text of the open note has moved.
	void scrollChanged();
	/// The dock's user has locked or unlocked editing.
	void lockChanged();
	/// The bound scene, the speed or another part of `state` has changed.
	void stateChanged();
	/// While the host switches scene collections, or a backup is restored, no note can be reached.
	void setCollectionChanging(bool isChanging);
	/// Whether a browser edits or shows the scene's note.
	[[nodiscard]] bool sceneInUse(const QString &sceneId) const;
	/// Ends the lease, if there is one.
	void releaseEditor();

	// Link, settings and QR code (settings.cpp)

	/// The link for other devices with the access token, or empty while the server does not listen.
	[[nodiscard]] QString url() const;
	/// Runs the settings dialog.
	void showSettings();
	/// Shows the link's QR code over the top right corner of `host`, or hides it.
	void toggleQr(QWidget *host);
	/// Hides the QR code. True when it was visible.
	bool hideQr();

private:
	// Keys of the settings file
	static constexpr const char *kEnabledKey = "remote/enabled";
	static constexpr const char *kAddressKey = "remote/address";
	static constexpr const char *kPortKey = "remote/port";
	static constexpr const char *kAccessKey = "remote/access";
	static constexpr std::uint16_t kDefaultPort = 8800;
	/// A session ends when it has been silent for longer, in milliseconds.
	static constexpr std::int64_t kSessionMs = 60'000;

	/// One open browser tab.
	struct Session {
		QString name;
		/// Time of the last request, in milliseconds since the epoch.
		std::int64_t seen = 0;
		/// The scene of the last document that it fetched.
		QString scene;
	};
	struct Transfer;

	// Life (remote.cpp)

	/// A new access token of 22 characters: 128 random bits in base64url (RFC 4648) without padding.
	[[nodiscard]] static QString capability();
	/// A new random UUID of 36 characters.
	[[nodiscard]] static QString identifier();
	/// Milliseconds since the epoch. They run on evenly when the machine's clock is set.
	[[nodiscard]] static std::int64_t now();
	void unregister();
	void publishSoon();
	void publish();
	void resetCollection();
	void expire();

	// Vendor requests (protocol.cpp)

	/// Serves one request of obs-websocket: on any thread, and `priv` is the service.
	static void request(obs_data_t *request, obs_data_t *response, void *priv);
	[[nodiscard]] static QJsonObject error(const char *code);
	[[nodiscard]] QJsonObject serve(const QByteArray &payload);
	[[nodiscard]] QJsonObject handle(const QJsonObject &payload);
	[[nodiscard]] QJsonObject state() const;

	// Actions (actions.cpp)

	/// The scene with this id; null when there is none.
	[[nodiscard]] static OBSSourceAutoRelease sceneSource(const QString &id);
	[[nodiscard]] QJsonObject open(const QJsonObject &payload);
	[[nodiscard]] QJsonObject keepAlive(const QJsonObject &payload);
	[[nodiscard]] QJsonObject getState(const QJsonObject &payload);
	/// The reply with the scene's note; with `note`, for one who is going to save it again and again.
	[[nodiscard]] QJsonObject document(const QString &sceneId, NoteSession *note = nullptr) const;
	[[nodiscard]] QJsonObject getDocument(const QJsonObject &payload);
	[[nodiscard]] QJsonObject exportNote(const QJsonObject &payload, const char *key,
					     QString (*convert)(const QString &html));
	[[nodiscard]] QJsonObject exportHtml(const QJsonObject &payload);
	[[nodiscard]] QJsonObject exportText(const QJsonObject &payload);
	[[nodiscard]] QJsonObject acquireEdit(const QJsonObject &payload);
	[[nodiscard]] QJsonObject releaseEdit(const QJsonObject &payload);
	[[nodiscard]] QJsonObject editNote(const QJsonObject &payload, obs_source_t *scene, QString &stored,
					   QString &html);
	[[nodiscard]] QJsonObject saveDocument(const QJsonObject &payload);
	[[nodiscard]] QJsonObject checkImport(const QJsonObject &payload);
	[[nodiscard]] QJsonObject replaceEdited(const QJsonObject &payload);
	[[nodiscard]] QJsonObject replaceDocument(const QJsonObject &payload, const QString &html, bool simplified);
	[[nodiscard]] QJsonObject scroll(const QJsonObject &payload);
	[[nodiscard]] const char *writeError(const QJsonObject &payload) const;
	[[nodiscard]] bool holdsLease(const QJsonObject &payload) const;
	void extendLease();

	// Settings (settings.cpp)
	[[nodiscard]] QString applySettings(bool isEnabled, const QString &address, int port, bool isNewToken);

	// HTTP (http.cpp)

	/// Makes the web client's files available; once per process.
	static void initResources();
	void acceptConnections();
	[[nodiscard]] QJsonObject config() const;
	[[nodiscard]] std::uint16_t websocketPort() const;

	Dock &dock;
	QSettings &settings;
	QTcpServer server;
	/// The connection of the upload in progress.
	QPointer<QTcpSocket> upload;
	QPointer<QLabel> qrOverlay;
	QString qrLink;
	QTimer expiryTimer;
	QTimer publishTimer;
	QHash<QString, Session> sessions;
	QHash<QString, int> revisions;
	QSet<QString> changedScenes;
	/// The secret in the link that every request must bear.
	QString access;
	/// Names the current generation of revisions.
	QString epoch;
	/// The lease: who edits which scene until when. No lease while the session is empty.
	QString editorSession;
	QString editorScene;
	std::int64_t leaseUntil = 0;
	/// The note as the lease's holder has it; there as long as the lease.
	std::unique_ptr<NoteSession> editedNote;
	/// Until when typing in the dock keeps browsers from writing; 0: no longer.
	std::int64_t localEditUntil = 0;
	/// obs-websocket's handle of us.
	void *vendor = nullptr;
	bool registered = false;
	bool collectionChanging = false;
	/// The next event tells of more than a scroll position.
	bool dirty = false;
	std::atomic<bool> stopping = false;
	/// Requests being served; shared with them, since one may end after this is gone.
	std::shared_ptr<std::atomic<std::int32_t>> inFlight;
};

} // namespace quillbay
