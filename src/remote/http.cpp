// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "remote/http_transfer.hpp"

#include "plugin/text.hpp"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSettings>

#include <algorithm>
#include <limits>
#include <optional>

#include <obs.hpp>

// Not in the namespace: the name that the resource compiler gives is global.
static void initClient()
{
	Q_INIT_RESOURCE(client);
}

namespace quillbay {

namespace {

constexpr qsizetype kMaxConnections = 16;
constexpr std::uint16_t kDefaultWebsocketPort = 4455;

// The texts that the web client shows.
constexpr const char *kLabels[] = {
	"QuillBay",
	"FindPlaceholder",
	"FindPrevious",
	"FindNext",
	"CloseSearch",
	"NoMatch",
	"Pause",
	"RemoteDevice",
	"RemotePassword",
	"RemoteRememberSession",
	"RemoteConnect",
	"RemoteDisconnect",
	"RemoteConnected",
	"RemoteDisconnected",
	"RemoteConnecting",
	"RemotePasswordRequired",
	"RemoteFollow",
	"RemoteLocked",
	"RemoteClickEdit",
	"RemoteReadOnly",
	"RemoteEditing",
	"RemoteSaved",
	"RemoteSaving",
	"RemoteConflict",
	"RemoteReload",
	"RemoteDownload",
	"RemoteLocal",
	"RemoteOBS",
	"RemoteTarget",
	"RemotePlay",
	"RemoteTop",
	"RemoteGuide",
	"RemoteBusy",
	"RemoteFormat",
	"RemoteDraft",
	"RemoteFailure",
	"RemoteStorageFailed",
	"RemoteNoDraft",
	"RemoteRetry",
	"RemoteScene",
	"RemoteLines",
	"Bold",
	"Italic",
	"Underline",
	"Strikethrough",
	"FormatPainter",
	"FormatPainterContinuous",
	"SelectedCharacters",
	"TextColor",
	"AlignLeft",
	"AlignCenter",
	"AlignRight",
	"Speed",
	"Font",
	"Highlight",
	"ClearFormat",
	"AlignJustify",
	"ListStyle",
	"RemoveList",
	"ListDisc",
	"ListCircle",
	"ListSquare",
	"ListDecimal",
	"ListLowerAlpha",
	"ListUpperAlpha",
	"ListLowerRoman",
	"ListUpperRoman",
	"IncreaseIndent",
	"DecreaseIndent",
	"InsertTime",
	"InsertMark",
	"NextMark",
	"ReplacePrompt",
	"RemoteImport",
	"RemoteExport",
	"RemoteFileSize",
	"RemoteHtmlNotice",
	"RemoteSelectText",
	"RemoteCountdown",
	"RemoteTooLarge",
	"RemoteFontSize",
	"RemoteWordSize",
	"RemoteImporting",
	"RemoteImportFailed",
	"RemoteFileType",
	"RemoteWordNotice",
	"WordOpenError",
	"WordSimplified",
	"TextLimit",
	"CharacterCount",
	"CharacterRemaining",
	"ExportHTML",
	"ExportTXT",
	"GoTo",
	"GoToPrompt",
	"GoToInvalid",
	"DeleteMark",
};

std::optional<std::uint16_t> checkedPort(int port)
{
	if (port < 1 || port > std::numeric_limits<std::uint16_t>::max()) {
		return std::nullopt;
	}
	return static_cast<std::uint16_t>(port);
}

// The host's own options are read as obs-websocket reads them, so that both agree on what they say.
std::optional<std::uint16_t> commandLinePort()
{
	const obs_cmdline_args given = obs_get_cmdline_args();
	QStringList arguments{QString()}; // The parser skips the program.
	for (int i = 1; i < given.argc; ++i) {
		arguments << QString::fromLocal8Bit(given.argv[i]);
	}
	QCommandLineParser parser;
	const QCommandLineOption option(QStringLiteral("websocket_port"), {}, QStringLiteral("port"));
	parser.addOption(option);
	parser.parse(arguments);
	return checkedPort(parser.value(option).toInt());
}

std::optional<std::uint16_t> configuredPort(const QString &settingsPath)
{
	QFile file(QFileInfo(settingsPath).dir().filePath(QStringLiteral("../obs-websocket/config.json")));
	if (!file.open(QIODevice::ReadOnly)) {
		return std::nullopt;
	}
	const QJsonObject values = QJsonDocument::fromJson(file.readAll()).object();
	return checkedPort(values.value(QStringLiteral("server_port")).toInt());
}

// The server's sockets, without those that have ended and wait for their deletion or for their turn.
qsizetype countConnections(const QTcpServer &server, const QString &name)
{
	const auto sockets = server.findChildren<QTcpSocket *>(name, Qt::FindDirectChildrenOnly);
	return std::count_if(sockets.begin(), sockets.end(), [](const QTcpSocket *socket) {
		return socket->state() != QAbstractSocket::UnconnectedState;
	});
}

} // namespace

void Remote::initResources()
{
	initClient();
}

void Remote::acceptConnections()
{
	const QString name = QStringLiteral("connection");
	while (QTcpSocket *socket = server.nextPendingConnection()) {
		socket->setObjectName(name);
		if (countConnections(server, name) > kMaxConnections) {
			socket->abort();
			socket->deleteLater();
			continue;
		}
		const auto transfer = std::make_shared<Transfer>(*this, *socket);
		connect(socket, &QTcpSocket::readyRead, socket, [transfer] { transfer->read(); });
		connect(socket, &QTcpSocket::bytesWritten, socket, [transfer] { transfer->written(); });
		connect(socket, &QTcpSocket::disconnected, socket, [transfer] { transfer->disconnect(); });
		if (socket->state() == QAbstractSocket::UnconnectedState) {
			transfer->disconnect();
		} else if (socket->bytesAvailable() > 0) {
			transfer->read();
		}
	}
}

QJsonObject Remote::config() const
{
	QJsonObject labels;
	for (const char *key : kLabels) {
		labels.insert(QLatin1StringView(key), text(key));
	}
	return {{QStringLiteral("port"), websocketPort()},
		{QStringLiteral("labels"), labels},
		{QStringLiteral("version"), QStringLiteral(QUILLBAY_VERSION)}};
}

std::uint16_t Remote::websocketPort() const
{
	if (const auto port = commandLinePort()) {
		return *port;
	}
	return configuredPort(settings.fileName()).value_or(kDefaultWebsocketPort);
}

} // namespace quillbay
