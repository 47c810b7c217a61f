// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/note_file.hpp"

#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>
#include <QUuid>

#include <algorithm>
#include <utility>

namespace quillbay {

namespace {

constexpr qsizetype kMaxNameLength = 100;
constexpr qsizetype kMaxNameBytes = 180;

constexpr QLatin1StringView kFormatKey("format");
constexpr QLatin1StringView kVersionKey("version");
constexpr QLatin1StringView kSceneIdKey("sceneId");
constexpr QLatin1StringView kSceneNameKey("sceneName");
constexpr QLatin1StringView kHtmlKey("html");
constexpr QLatin1StringView kFormat("OBS-QuillBay");
constexpr int kVersion = 1;

// Never leaves half of a surrogate pair behind.
void dropLastCharacter(QString &name)
{
	name.chop(name.back().isLowSurrogate() ? 2 : 1);
}

// QJsonObject sorts its members, and a note of megabytes is written while someone types: so the object is put
// together here, its strings escaped as RFC 8259 wants them.
void appendString(QByteArray &json, const QString &value)
{
	const QByteArray utf8 = value.toUtf8();
	json.reserve(json.size() + utf8.size() + utf8.size() / 8);
	json += '"';
	const char *run = utf8.cbegin();
	for (const char *at = run; at != utf8.cend(); ++at) {
		const auto byte = static_cast<unsigned char>(*at);
		if (byte >= 0x20 && byte != '"' && byte != '\\') {
			continue;
		}
		json.append(run, at - run);
		run = at + 1;
		if (byte >= 0x20) {
			json += '\\';
			json += *at;
		} else if (byte == '\n') {
			json += "\\n";
		} else {
			json += "\\u00" + QByteArray::number(byte, 16).rightJustified(2, '0');
		}
	}
	json.append(run, utf8.cend() - run);
	json += '"';
}

void appendKey(QByteArray &json, QLatin1StringView key)
{
	json += json.isEmpty() ? "{\"" : ",\"";
	json.append(key.data(), key.size());
	json += "\":";
}

// What every note file begins with.
QByteArray noteHead()
{
	QByteArray json;
	appendKey(json, kFormatKey);
	appendString(json, kFormat);
	appendKey(json, kVersionKey);
	return json += QByteArray::number(kVersion);
}

bool take(QByteArrayView &json, QByteArrayView expected)
{
	if (!json.startsWith(expected)) {
		return false;
	}
	json = json.sliced(expected.size());
	return true;
}

// Reads back what appendString writes, but for the rare escapes.
bool takeString(QByteArrayView &json, QString &value)
{
	if (!take(json, "\"")) {
		return false;
	}
	QByteArray utf8;
	utf8.reserve(json.size());
	const char *run = json.cbegin();
	for (const char *at = run; at != json.cend(); ++at) {
		const auto byte = static_cast<unsigned char>(*at);
		if (byte >= 0x20 && byte != '"' && byte != '\\') {
			continue;
		}
		utf8.append(run, at - run);
		if (byte == '"') {
			value = QString::fromUtf8(utf8);
			json = json.sliced(at + 1 - json.cbegin());
			return true;
		}
		if (byte < 0x20 || ++at == json.cend() || (*at != '"' && *at != '\\' && *at != 'n')) {
			return false;
		}
		utf8 += *at == 'n' ? '\n' : *at;
		run = at + 1;
	}
	return false;
}

// Reads what encodeNote writes several times faster than a parser of all JSON: notes are read when a scene goes on
// air, and by the thousand for backups. False says nothing about the bytes but that they are for that parser.
bool scanNote(QByteArrayView json, NoteFile &file)
{
	const auto takeMember = [&json](QLatin1StringView key, QString &value) {
		return take(json, ",\"") && take(json, {key.data(), key.size()}) && take(json, "\":") &&
		       takeString(json, value);
	};
	return QUtf8StringView(json).isValidUtf8() && take(json, noteHead()) && takeMember(kSceneIdKey, file.sceneId) &&
	       takeMember(kSceneNameKey, file.sceneName) && takeMember(kHtmlKey, file.html) && json == "}";
}

bool parseNote(const QByteArray &json, NoteFile &file)
{
	const QJsonDocument document = QJsonDocument::fromJson(json);
	const QJsonObject object = document.object();
	const QJsonValue sceneId = object[kSceneIdKey];
	const QJsonValue sceneName = object[kSceneNameKey];
	const QJsonValue html = object[kHtmlKey];
	file = {sceneId.toString(), sceneName.toString(), html.toString()};
	return document.isObject() && object[kFormatKey] == QJsonValue(kFormat) &&
	       object[kVersionKey] == QJsonValue(kVersion) && sceneId.isString() && sceneName.isString() &&
	       html.isString();
}

// QUuid reads past what follows a UUID; a scene's id has nothing there.
bool isSceneId(const QString &id)
{
	const bool hasBraces = id.startsWith(QLatin1Char('{'));
	const QUuid::StringFormat format = hasBraces ? QUuid::WithBraces : QUuid::WithoutBraces;
	const QUuid uuid = QUuid::fromString(id);
	return !uuid.isNull() && id.compare(uuid.toString(format), Qt::CaseInsensitive) == 0;
}

// A pipe or a device would keep its reader waiting for as long as it pleases.
bool openNoteFile(QFile &file)
{
	const QFileInfo info(file.fileName());
	return !info.isSymLink() && info.isFile() && file.open(QIODevice::ReadOnly);
}

} // namespace

QString noteName(const QString &name)
{
	static const QRegularExpression forbidden(QStringLiteral(R"([<>:"/\\|?*\x00-\x1f])"));
	static const QRegularExpression reserved(QStringLiteral(R"(^(CON|PRN|AUX|NUL|COM[1-9]|LPT[1-9])(?:\.|$))"),
						 QRegularExpression::CaseInsensitiveOption);

	QString stem = name.normalized(QString::NormalizationForm_C);
	stem = stem.replace(forbidden, QStringLiteral("_")).trimmed();
	if (stem.size() > kMaxNameLength) {
		stem.truncate(kMaxNameLength);
		if (stem.back().isHighSurrogate()) {
			stem.chop(1);
		}
	}
	while (stem.toUtf8().size() > kMaxNameBytes) {
		dropLastCharacter(stem);
	}
	while (stem.endsWith(QLatin1Char('.')) || stem.endsWith(QLatin1Char(' '))) {
		stem.chop(1);
	}
	if (stem.isEmpty()) {
		stem = QStringLiteral("Scene");
	}
	return reserved.match(stem).hasMatch() ? QLatin1Char('_') + stem : stem;
}

QByteArray encodeNote(const NoteFile &file)
{
	QByteArray json = noteHead();
	const auto appendMember = [&json](QLatin1StringView key, const QString &value) {
		appendKey(json, key);
		appendString(json, value);
	};
	appendMember(kSceneIdKey, file.sceneId);
	appendMember(kSceneNameKey, file.sceneName);
	appendMember(kHtmlKey, file.html);
	return json += '}';
}

bool decodeNote(const QByteArray &bytes, NoteFile &file, QString &error)
{
	if (bytes.size() > kMaxNoteBytes) {
		error = text("BackupTooLarge");
		return false;
	}
	NoteFile found;
	if ((!scanNote(bytes, found) && !parseNote(bytes, found)) || !isSceneId(found.sceneId)) {
		error = text("BackupInvalid");
		return false;
	}
	file = std::move(found);
	return true;
}

QString ownerOf(const QString &path)
{
	constexpr qint64 kHeadBytes = 256;
	static const QRegularExpression owner(QStringLiteral(R"re("sceneId"\s*:\s*"([^"\\]+)")re"));
	QFile file(path);
	const QByteArray head = openNoteFile(file) ? file.read(kHeadBytes) : QByteArray();
	return owner.match(QString::fromUtf8(head)).captured(1);
}

bool readNoteFile(const QString &path, QByteArray &bytes, QString &error)
{
	QFile file(path);
	if (!openNoteFile(file)) {
		error = text("FileReadFailed") + path;
		return false;
	}
	if (file.size() > kMaxNoteBytes) {
		error = text("BackupTooLarge");
		return false;
	}
	// One byte more than there should be tells a file that grows under our eyes from one that fits.
	bytes = file.read(std::min(file.size(), kMaxNoteBytes) + 1);
	if (file.error() != QFileDevice::NoError) {
		error = text("FileReadFailed") + path;
		return false;
	}
	return true;
}

bool writeAll(QIODevice &device, const QByteArray &bytes)
{
	qint64 written = 0;
	while (written < bytes.size()) {
		const qint64 count = device.write(bytes.constData() + written, bytes.size() - written);
		if (count <= 0) {
			return false;
		}
		written += count;
	}
	return true;
}

bool saveNoteFile(const QString &path, const QByteArray &bytes, QString &error, const QDateTime &modified)
{
	if (bytes.size() > kMaxNoteBytes) {
		error = text("BackupTooLarge");
		return false;
	}
	if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
		error = text("NoteSaveFailed");
		return false;
	}
	QSaveFile file(path);
	const bool isWritten = file.open(QIODevice::WriteOnly) && writeAll(file, bytes) &&
			       (!modified.isValid() ||
				(file.flush() && file.setFileTime(modified, QFileDevice::FileModificationTime))) &&
			       file.commit();
	if (!isWritten) {
		error = file.errorString();
	}
	return isWritten;
}

} // namespace quillbay
