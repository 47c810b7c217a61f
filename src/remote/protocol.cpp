// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How a request of a browser comes from obs-websocket's threads to the user-interface thread, and who may ask for what.

#include "remote/remote.hpp"

#include "dock/dock.hpp"
#include "dock/scenes.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSemaphore>
#include <QThread>

namespace quillbay {

namespace {

constexpr qsizetype kMaxPayloadBytes = 6'291'456; // 6 MiB
constexpr std::int32_t kMaxInFlight = 8;
/// How long a thread of obs-websocket waits for the user-interface thread, in milliseconds.
constexpr int kAnswerMs = 3000;

/// A request on its way to the user-interface thread and back.
struct Work {
	enum State : std::int32_t { Waiting = 0, Taken = 1, Abandoned = 2 };

	/// True for the first one only who takes it, or gives it up.
	bool claim(State wanted)
	{
		std::int32_t expected = Waiting;
		return state.compare_exchange_strong(expected, wanted);
	}

	QSemaphore done;
	std::atomic<std::int32_t> state = Waiting;
	QJsonObject result;
};

// Takes as long for every wrong token, however much of it is right.
bool isSameToken(const QString &given, const QString &token)
{
	auto difference = static_cast<quint64>(given.size() ^ token.size());
	for (qsizetype i = 0; i < token.size(); ++i) {
		const char16_t character = i < given.size() ? given[i].unicode() : u'\0';
		difference |= static_cast<quint64>(character ^ token[i].unicode());
	}
	return difference == 0;
}

QJsonArray sceneList()
{
	QJsonArray list;
	for (const OBSSource &scene : collectionScenes()) {
		list.append(QJsonObject{{QStringLiteral("id"), sceneUuid(scene)},
					{QStringLiteral("name"), sceneName(scene)}});
	}
	return list;
}

} // namespace

QJsonObject Remote::error(const char *code)
{
	return {{QStringLiteral("ok"), false}, {QStringLiteral("code"), QLatin1StringView(code)}};
}

void Remote::request(obs_data_t *request, obs_data_t *response, void *priv)
{
	auto *self = static_cast<Remote *>(priv);
	const std::shared_ptr<std::atomic<std::int32_t>> count = self->inFlight;
	const QByteArrayView payload(obs_data_get_string(request, "payload"));
	QJsonObject reply;
	if (payload.size() > kMaxPayloadBytes || self->stopping) {
		reply = error("size");
	} else if (count->fetch_add(1) >= kMaxInFlight) {
		count->fetch_sub(1);
		reply = error("capacity");
	} else {
		reply = self->serve(QByteArray::fromRawData(payload.data(), payload.size()));
		count->fetch_sub(1);
	}
	obs_data_set_string(response, "payload", QJsonDocument(reply).toJson(QJsonDocument::Compact).constData());
}

// On any thread. `this` lives on while a request is counted as in flight and the queued call has not run.
QJsonObject Remote::serve(const QByteArray &payload)
{
	const QJsonDocument parsed = QJsonDocument::fromJson(payload);
	if (!parsed.isObject()) {
		return error("format");
	}
	const QJsonObject object = parsed.object();
	if (QThread::currentThread() == thread()) {
		return handle(object);
	}
	const auto work = std::make_shared<Work>();
	const auto answer = [this, work, object] {
		if (work->claim(Work::Taken)) {
			work->result = handle(object);
			work->done.release();
		}
	};
	QMetaObject::invokeMethod(this, answer, Qt::QueuedConnection);
	if (work->done.tryAcquire(1, kAnswerMs)) {
		return work->result;
	}
	work->claim(Work::Abandoned);
	return error("timeout");
}

QJsonObject Remote::handle(const QJsonObject &payload)
{
	using Action = QJsonObject (Remote::*)(const QJsonObject &);
	static const QHash<QString, Action> actions{
		{QStringLiteral("KeepAlive"), &Remote::keepAlive},
		{QStringLiteral("GetState"), &Remote::getState},
		{QStringLiteral("GetDocument"), &Remote::getDocument},
		{QStringLiteral("ExportHtml"), &Remote::exportHtml},
		{QStringLiteral("ExportText"), &Remote::exportText},
		{QStringLiteral("ReleaseEdit"), &Remote::releaseEdit},
		{QStringLiteral("AcquireEdit"), &Remote::acquireEdit},
		{QStringLiteral("SaveDocument"), &Remote::saveDocument},
		{QStringLiteral("CheckImport"), &Remote::checkImport},
		{QStringLiteral("ReplaceDocument"), &Remote::replaceEdited},
		{QStringLiteral("Scroll"), &Remote::scroll},
	};
	if (stopping || !server.isListening()) {
		return error("disabled");
	}
	if (!isSameToken(payload[QLatin1StringView("access")].toString(), access)) {
		return error("access");
	}
	expire();
	if (collectionChanging) {
		return error("loading");
	}
	const QString name = payload[QLatin1StringView("action")].toString();
	if (name == QLatin1StringView("Open")) {
		return open(payload);
	}
	const auto session = sessions.find(payload[QLatin1StringView("session")].toString());
	if (session == sessions.end()) {
		return error("session");
	}
	session->seen = now();
	const Action action = actions.value(name);
	return action ? (this->*action)(payload) : error("action");
}

QJsonObject Remote::state() const
{
	const bool isLocalEdit = localEditUntil > now();
	return {
		{QStringLiteral("epoch"), epoch},
		{QStringLiteral("scenes"), collectionChanging ? QJsonArray() : sceneList()},
		{QStringLiteral("activeScene"), dock.boundScene()},
		{QStringLiteral("locked"), dock.isLocked()},
		{QStringLiteral("localEditing"), isLocalEdit},
		{QStringLiteral("editor"), isLocalEdit ? QStringLiteral("OBS") : sessions.value(editorSession).name},
		{QStringLiteral("editorScene"), isLocalEdit ? dock.boundScene() : editorScene},
		{QStringLiteral("scrolling"), dock.isScrollingOrCounting()},
		{QStringLiteral("speed"), dock.speed()},
		{QStringLiteral("position"), dock.scrollProgress()},
	};
}

} // namespace quillbay
