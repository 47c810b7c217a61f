// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The link for other devices, its QR code over the note, and the dialog in which the user turns the service on.

#include "remote/remote.hpp"

#include "dock/dock.hpp"
#include "plugin/text.hpp"
#include "remote/qr.hpp"
#include "remote/settings_dialog.hpp"

#include <QHostAddress>
#include <QSettings>

#include <algorithm>

namespace quillbay {

namespace {

constexpr int kMaxOverlaySide = 240;

QLabel *makeOverlay(QWidget *parent)
{
	auto *overlay = new QLabel(parent);
	overlay->setObjectName(QStringLiteral("remoteQrOverlay"));
	overlay->setFocusPolicy(Qt::NoFocus);
	overlay->setStyleSheet(QStringLiteral("QLabel { background: white; border: 0px; padding: 0px; margin: 0px; }"));
	overlay->hide();
	return overlay;
}

} // namespace

QString Remote::url() const
{
	if (!server.isListening()) {
		return {};
	}
	return QStringLiteral("http://%1:%2/#%3")
		.arg(server.serverAddress().toString(), QString::number(server.serverPort()), access);
}

void Remote::toggleQr(QWidget *host)
{
	if (hideQr()) {
		return;
	}
	const QString link = url();
	const int side = std::min({host->width(), host->height(), kMaxOverlaySide});
	if (link.isEmpty() || side < 1) {
		return;
	}
	if (!qrOverlay) {
		qrOverlay = makeOverlay(&dock);
		qrLink.clear();
	}
	const QSize size(side, side);
	if (link != qrLink || qrOverlay->size() != size) {
		const QPixmap pixmap = qrPixmap(link, side);
		if (pixmap.isNull()) {
			return;
		}
		qrOverlay->setFixedSize(size);
		qrOverlay->setPixmap(pixmap);
		qrLink = link;
	}
	qrOverlay->move(host->mapTo(qrOverlay->parentWidget(), QPoint(host->width() - side, 0)));
	qrOverlay->raise();
	qrOverlay->show();
}

bool Remote::hideQr()
{
	if (!qrOverlay) {
		return false;
	}
	const bool wasVisible = qrOverlay->isVisible();
	// One that has just gone with the dock's window would come back with it.
	qrOverlay->hide();
	return wasVisible;
}

void Remote::showSettings()
{
	const SettingsDialog::Choice saved{server.isListening(), settings.value(kAddressKey).toString(),
					   settings.value(kPortKey, kDefaultPort).toInt()};
	// The host may end, and take the dock along, while the dialog is open.
	const QPointer<SettingsDialog> dialog = new SettingsDialog(saved, &dock);
	dialog->link = [this] { return url(); };
	dialog->apply = [this](const SettingsDialog::Choice &choice, bool isNewToken) {
		return applySettings(choice.isEnabled, choice.address, choice.port, isNewToken);
	};
	dialog->refresh();
	dialog->exec();
	delete dialog.data();
}

// Empty when the choice holds, else what is wrong with it.
QString Remote::applySettings(bool isEnabled, const QString &address, int port, bool isNewToken)
{
	const auto portNumber = static_cast<std::uint16_t>(port);
	if (isEnabled) {
		if (!registered) {
			return text("RemoteUnavailable");
		}
		const bool isThere = server.isListening() && server.serverAddress() == QHostAddress(address) &&
				     server.serverPort() == portNumber;
		if (!isThere && !listen(address, portNumber)) {
			return text("RemoteListenFailed") + QLatin1Char(' ') + server.errorString();
		}
	} else if (server.isListening()) {
		stop();
	}
	settings.setValue(kEnabledKey, isEnabled);
	settings.setValue(kAddressKey, address);
	settings.setValue(kPortKey, port);
	if (isNewToken) {
		access = capability();
		settings.setValue(kAccessKey, access);
		sessions.clear();
		resetCollection();
	}
	return {};
}

} // namespace quillbay
