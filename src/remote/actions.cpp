// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What browsers can ask for.

#include "remote/remote.hpp"

#include "convert/note_session.hpp"
#include "convert/web_document.hpp"
#include "dock/command.hpp"
#include "dock/dock.hpp"
#include "dock/speed.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <QJsonDocument>

namespace quillbay {

namespace {

constexpr qsizetype kMaxSessions = 16;
constexpr qsizetype kMaxNameLength = 32;
/// Bytes of a document in compact JSON, and of an exported note in UTF-8: 4 MiB.
constexpr qsizetype kMaxDocumentBytes = 4'194'304;
/// How long a lease lasts after its holder's last sign of life, in milliseconds.
constexpr std::int64_t kLeaseMs = 15'000;

QString textOf(const QJsonObject &payload, const char *key)
{
	return payload[QLatin1StringView(key)].toString();
}

QJsonObject success(QJsonObject reply = {})
{
	reply.insert(QLatin1StringView("ok"), true);
	return reply;
}

// The name of a device for its other users.
QString deviceName(const QString &given)
{
	QString name = given.simplified().left(kMaxNameLength).remove(QChar::Null);
	if (!name.isEmpty() && name.back().isHighSurrogate()) {
		name.chop(1);
	}
	name = name.trimmed();
	return name.isEmpty() ? text("RemoteDevice") : name;
}

// Whether browsers can show the document; an empty one stands for a note over the limits.
bool isSendable(const QJsonObject &document)
{
	return !document.isEmpty() &&
	       QJsonDocument(document).toJson(QJsonDocument::Compact).size() <= kMaxDocumentBytes;
}

} // namespace

OBSSourceAutoRelease Remote::sceneSource(const QString &id)
{
	const QByteArray utf8 = id.toUtf8();
	OBSSourceAutoRelease source = obs_get_source_by_uuid(utf8.constData());
	// What follows a NUL is not looked at there, and would be another key for the same scene here.
	return obs_scene_from_source(source) && !id.contains(QChar::Null) ? std::move(source) : OBSSourceAutoRelease();
}

// --- sessions ----------------------------------------------------------------------------------------------------

QJsonObject Remote::open(const QJsonObject &payload)
{
	if (sessions.size() >= kMaxSessions) {
		return error("capacity");
	}
	const QString id = identifier();
	sessions.insert(id, {deviceName(textOf(payload, "name")), now(), {}});
	QJsonObject reply = state();
	reply.insert(QLatin1StringView("session"), id);
	return success(reply);
}

QJsonObject Remote::keepAlive(const QJsonObject &payload)
{
	const bool isEditing = editorSession == textOf(payload, "session");
	if (isEditing) {
		extendLease();
	}
	return success({{QStringLiteral("editing"), isEditing},
			{QStringLiteral("locked"), dock.isLocked()},
			{QStringLiteral("epoch"), epoch}});
}

QJsonObject Remote::getState(const QJsonObject &)
{
	return success(state());
}

// --- reading -----------------------------------------------------------------------------------------------------

QJsonObject Remote::document(const QString &sceneId, NoteSession *note) const
{
	const OBSSourceAutoRelease scene = sceneSource(sceneId);
	if (!scene) {
		return error("scene");
	}
	if (sceneId == dock.boundScene()) {
		if (dock.isUnavailable()) {
			return error("read");
		}
		if (dock.textLength() > kMaxTextLength) {
			return error("size");
		}
	}
	QString failure;
	const QTextDocument *writer = nullptr;
	// What will be edited is parsed anyway, to prove how its saves can be quick.
	const QString html = dock.readHtml(scene, &failure, note ? nullptr : &writer);
	if (!failure.isEmpty()) {
		return error("read");
	}
	QJsonObject reply = note ? note->webDocument(html) : writer ? webDocument(html, *writer) : webDocument(html);
	if (!isSendable(reply)) {
		return error("size");
	}
	reply.insert(QLatin1StringView("revision"), revisions.value(sceneId));
	reply.insert(QLatin1StringView("epoch"), epoch);
	reply.insert(QLatin1StringView("scene"), sceneId);
	return success(reply);
}

QJsonObject Remote::getDocument(const QJsonObject &payload)
{
	const QString sceneId = textOf(payload, "scene");
	QJsonObject reply = document(sceneId);
	if (reply[QLatin1StringView("ok")].toBool()) {
		sessions[textOf(payload, "session")].scene = sceneId;
	}
	return reply;
}

QJsonObject Remote::exportNote(const QJsonObject &payload, const char *key, QString (*convert)(const QString &html))
{
	const OBSSourceAutoRelease scene = sceneSource(textOf(payload, "scene"));
	if (!scene) {
		return error("scene");
	}
	QString failure;
	const QString html = dock.readHtml(scene, &failure);
	if (!failure.isEmpty()) {
		return error("read");
	}
	if (html.toUtf8().size() > kMaxDocumentBytes) {
		return error("size");
	}
	const QString converted = convert(html);
	// An empty file must not pass for a note that cannot be read.
	if (converted.isNull() && !html.isEmpty()) {
		return error("size");
	}
	return success({{QLatin1StringView(key), converted}});
}

QJsonObject Remote::exportHtml(const QJsonObject &payload)
{
	return exportNote(payload, "html", [](const QString &html) { return html; });
}

QJsonObject Remote::exportText(const QJsonObject &payload)
{
	return exportNote(payload, "text", &plainText);
}

// --- writing -----------------------------------------------------------------------------------------------------

// Why the payload's sender may not write, or null.
const char *Remote::writeError(const QJsonObject &payload) const
{
	if (dock.isLocked()) {
		return "locked";
	}
	const QString sceneId = textOf(payload, "scene");
	const QJsonValue revision = payload[QLatin1StringView("revision")];
	if (textOf(payload, "epoch") != epoch || !revision.isDouble() ||
	    revision.toDouble() != revisions.value(sceneId)) {
		return "conflict";
	}
	if (!sceneSource(sceneId)) {
		return "scene";
	}
	if (localEditUntil > now() || (!editorSession.isEmpty() && !holdsLease(payload))) {
		return "busy";
	}
	return nullptr;
}

bool Remote::holdsLease(const QJsonObject &payload) const
{
	return !editorSession.isEmpty() && editorSession == textOf(payload, "session") &&
	       editorScene == textOf(payload, "scene");
}

void Remote::extendLease()
{
	leaseUntil = now() + kLeaseMs;
}

QJsonObject Remote::acquireEdit(const QJsonObject &payload)
{
	if (const char *code = writeError(payload)) {
		return error(code);
	}
	if (!dock.flush(false, true)) {
		return error("save");
	}
	const QString sceneId = textOf(payload, "scene");
	const bool isReplacing = payload[QLatin1StringView("replace")].toBool();
	auto note = std::make_unique<NoteSession>();
	QJsonObject reply = isReplacing ? success() : document(sceneId, note.get());
	if (!reply[QLatin1StringView("ok")].toBool()) {
		return reply;
	}
	if (!isReplacing && !reply[QLatin1StringView("editable")].toBool()) {
		return error("format");
	}
	editorSession = textOf(payload, "session");
	editorScene = sceneId;
	editedNote = std::move(note);
	editedNote->prepareSaves();
	extendLease();
	dock.setRemoteEditing(true);
	stateChanged();
	return reply;
}

QJsonObject Remote::releaseEdit(const QJsonObject &payload)
{
	if (editorSession == textOf(payload, "session")) {
		releaseEditor();
	}
	return success(state());
}

QJsonObject Remote::checkImport(const QJsonObject &payload)
{
	if (const char *code = writeError(payload)) {
		return error(code);
	}
	return holdsLease(payload) ? success() : error("lease");
}

// Applies the payload's document to the stored note: `html` is the note as it will be, `stored` as it is.
QJsonObject Remote::editNote(const QJsonObject &payload, obs_source_t *scene, QString &stored, QString &html)
{
	QString failure;
	stored = dock.store().read(scene, &failure);
	if (!failure.isEmpty()) {
		return error("read");
	}
	bool isOverLimit = false;
	const QJsonObject edited = payload[QLatin1StringView("document")].toObject();
	if (!editedNote->applyWebDocument(stored, edited, html, &isOverLimit)) {
		return error(isOverLimit ? "limit" : "format");
	}
	return success();
}

QJsonObject Remote::saveDocument(const QJsonObject &payload)
{
	QJsonObject reply = checkImport(payload);
	if (!reply[QLatin1StringView("ok")].toBool()) {
		return reply;
	}
	const QString sceneId = textOf(payload, "scene");
	const OBSSourceAutoRelease scene = sceneSource(sceneId);
	QString stored;
	QString html;
	reply = editNote(payload, scene, stored, html);
	if (!reply[QLatin1StringView("ok")].toBool()) {
		return reply;
	}
	if (html != stored) {
		if (!dock.applyRemoteHtml(scene, html)) {
			return error("save");
		}
		noteChanged(sceneId);
	}
	extendLease();
	return success({{QStringLiteral("revision"), revisions.value(sceneId)}, {QStringLiteral("epoch"), epoch}});
}

QJsonObject Remote::replaceEdited(const QJsonObject &payload)
{
	QJsonObject reply = checkImport(payload);
	if (!reply[QLatin1StringView("ok")].toBool()) {
		return reply;
	}
	const OBSSourceAutoRelease scene = sceneSource(textOf(payload, "scene"));
	QString stored;
	QString html;
	reply = editNote(payload, scene, stored, html);
	return reply[QLatin1StringView("ok")].toBool() ? replaceDocument(payload, html, false) : reply;
}

QJsonObject Remote::replaceDocument(const QJsonObject &payload, const QString &html, bool simplified)
{
	QJsonObject reply = webDocument(html);
	if (!isSendable(reply)) {
		return error("size");
	}
	QJsonObject check = payload;
	check.insert(QLatin1StringView("action"), QStringLiteral("CheckImport"));
	const QJsonObject allowed = handle(check);
	if (!allowed[QLatin1StringView("ok")].toBool()) {
		return allowed;
	}
	const QString sceneId = textOf(payload, "scene");
	const OBSSourceAutoRelease scene = sceneSource(sceneId);
	if (!dock.applyRemoteHtml(scene, html)) {
		return error("save");
	}
	noteChanged(sceneId);
	extendLease();
	reply.insert(QLatin1StringView("epoch"), epoch);
	reply.insert(QLatin1StringView("revision"), revisions.value(sceneId));
	reply.insert(QLatin1StringView("scene"), sceneId);
	reply.insert(QLatin1StringView("simplified"), simplified);
	return success(reply);
}

// --- the teleprompter --------------------------------------------------------------------------------------------

QJsonObject Remote::scroll(const QJsonObject &payload)
{
	const QString command = textOf(payload, "command");
	if (command == QLatin1StringView("speed")) {
		const double speed = payload[QLatin1StringView("speed")].toDouble();
		// What is no number is below the range too.
		if (!(speed >= kMinSpeed && speed <= kMaxSpeed)) {
			return error("range");
		}
		dock.setSpeed(speed);
	} else if (command == QLatin1StringView("start")) {
		dock.startScroll();
	} else if (command == QLatin1StringView("pause")) {
		dock.pauseScroll();
	} else if (command == QLatin1StringView("top")) {
		dock.command(Command::Top);
	} else if (command == QLatin1StringView("seek")) {
		const QString sceneId = textOf(payload, "scene");
		if (sceneId.isEmpty() || sceneId != dock.boundScene()) {
			return error("scene");
		}
		if (localEditUntil > now() || !editorSession.isEmpty()) {
			return error("busy");
		}
		if (!dock.goToPosition(textOf(payload, "target"))) {
			return error("range");
		}
	} else {
		return error("command");
	}
	return success(state());
}

} // namespace quillbay
