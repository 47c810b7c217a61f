// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/note_file.hpp"

#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStringDecoder>
#include <QUuid>

#include <optional>

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

// The bytes of a JSON string behind its opening quote, and where they end.
struct Literal {
	qsizetype start = 0;
	qsizetype end = 0;
};

// The value of the last member of a note file as encodeNote lays it out, which is nearly all of the file.
Literal findHtml(const QByteArray &json)
{
	QByteArray key;
	appendKey(key, kHtmlKey);
	key = ',' + key.sliced(1) + '"';
	const qsizetype at = json.indexOf(key);
	const qsizetype start = at + key.size();
	// The key may only stand where a string ends: in a string its quotes would be escaped.
	const bool isLast = at > 0 && json.endsWith("\"}") && json[at - 1] == '"' && start <= json.size() - 2;
	return isLast ? Literal{start, json.size() - 2} : Literal();
}

// Reads a JSON string written with the escapes of appendString or fewer; nothing where it holds anything else.
// Qt's reader goes through it twice and letter by letter, which takes as long as half of showing the note.
std::optional<QString> readLiteral(QByteArrayView literal)
{
	QByteArray utf8;
	utf8.reserve(literal.size());
	const char *run = literal.begin();
	for (const char *at = run; at != literal.end(); ++at) {
		const auto byte = static_cast<unsigned char>(*at);
		if (byte == '"' || byte < 0x20) {
			return std::nullopt;
		}
		if (byte != '\\') {
			continue;
		}
		utf8.append(run, at - run);
		if (++at == literal.end()) {
			return std::nullopt;
		}
		if (*at == 'n') {
			utf8 += '\n';
		} else if (*at == '"' || *at == '\\' || *at == '/') {
			utf8 += *at;
		} else {
			return std::nullopt;
		}
		run = at + 1;
	}
	utf8.append(run, literal.end() - run);
	QStringDecoder decode(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
	const QString text = decode(utf8);
	return decode.hasError() ? std::nullopt : std::optional(text);
}

// The object in a note file, its HTML read apart where it is written as encodeNote writes it.
QJsonObject readObject(const QByteArray &bytes, std::optional<QString> &html)
{
	const Literal literal = findHtml(bytes);
	if (literal.start > 0) {
		html = readLiteral(QByteArrayView(bytes).sliced(literal.start, literal.end - literal.start));
	}
	const QByteArray rest = html ? bytes.first(literal.start) + "\"}" : bytes;
	return QJsonDocument::fromJson(rest).object();
}

// QUuid reads past what follows a UUID; a scene's id has nothing there.
bool isSceneId(const QString &id)
{
	const bool hasBraces = id.startsWith(QLatin1Char('{'));
	const QUuid::StringFormat format = hasBraces ? QUuid::WithBraces : QUuid::WithoutBraces;
	const QUuid uuid = QUuid::fromString(id);
	return !uuid.isNull() && id.compare(uuid.toString(format), Qt::CaseInsensitive) == 0;
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
	QByteArray json;
	const auto appendMember = [&json](QLatin1StringView key, const QString &value) {
		appendKey(json, key);
		appendString(json, value);
	};
	appendMember(kFormatKey, kFormat);
	appendKey(json, kVersionKey);
	json += QByteArray::number(kVersion);
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
	std::optional<QString> apart;
	const QJsonObject object = readObject(bytes, apart);
	const QJsonValue sceneId = object[kSceneIdKey];
	const QJsonValue sceneName = object[kSceneNameKey];
	const QJsonValue html = object[kHtmlKey];
	if (object[kFormatKey] != QJsonValue(kFormat) || object[kVersionKey] != QJsonValue(kVersion) ||
	    !isSceneId(sceneId.toString()) || !sceneName.isString() || !html.isString()) {
		error = text("BackupInvalid");
		return false;
	}
	file = {sceneId.toString(), sceneName.toString(), apart ? *apart : html.toString()};
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
	const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() &&
			       (!modified.isValid() ||
				(file.flush() && file.setFileTime(modified, QFileDevice::FileModificationTime))) &&
			       file.commit();
	if (!isWritten) {
		error = file.errorString();
	}
	return isWritten;
}

} // namespace quillbay
