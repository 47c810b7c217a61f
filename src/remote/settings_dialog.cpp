// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "remote/settings_dialog.hpp"

#include "plugin/text.hpp"
#include "remote/qr.hpp"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFormLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QNetworkInterface>
#include <QPushButton>
#include <QSpinBox>

#include <algorithm>

namespace quillbay {

namespace {

constexpr int kMinPort = 1024;
constexpr int kMaxPort = 65535;
constexpr const char *kLoopback = "127.0.0.1";

template <typename Widget>
Widget *named(Widget *widget, const char *name)
{
	widget->setObjectName(QLatin1StringView(name));
	return widget;
}

} // namespace

SettingsDialog::SettingsDialog(const Choice &saved, QWidget *parent) : QDialog(parent)
{
	setObjectName(QStringLiteral("remoteSettings"));
	setWindowTitle(text("RemoteAccess"));
	setModal(true);
	auto *column = new QVBoxLayout(this);
	enabled_ = named(new QCheckBox(text("RemoteEnable"), this), "remoteEnabled");
	enabled_->setChecked(saved.isEnabled);
	column->addWidget(enabled_);
	buildForm(saved);
	buildStatus();
	buildButtons();
	connect(enabled_, &QCheckBox::toggled, this, &SettingsDialog::showPending);
	connect(address_, &QComboBox::currentIndexChanged, this, &SettingsDialog::showPending);
	connect(port_, &QSpinBox::valueChanged, this, &SettingsDialog::showPending);
}

void SettingsDialog::buildForm(const Choice &saved)
{
	form_ = new QFormLayout;
	form_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
	address_ = named(new QComboBox(this), "remoteAddress");
	fillAddresses(saved.address);
	form_->addRow(text("RemoteAddress"), address_);
	port_ = named(new QSpinBox(this), "remotePort");
	port_->setRange(kMinPort, kMaxPort);
	port_->setKeyboardTracking(false);
	port_->setValue(saved.port);
	form_->addRow(text("RemotePort"), port_);
	qrRow_ = new QWidget(this);
	auto *row = new QHBoxLayout(qrRow_);
	row->setContentsMargins({});
	qr_ = named(new QrLabel(qrRow_), "remoteQR");
	qr_->setFixedSize(qr_->sizeHint());
	qr_->setAccessibleName(text("RemoteQR"));
	row->addWidget(qr_, 0, Qt::AlignCenter);
	form_->addRow(QString(), qrRow_);
	static_cast<QVBoxLayout *>(layout())->addLayout(form_);
}

void SettingsDialog::fillAddresses(const QString &saved)
{
	const auto interfaces = QNetworkInterface::allInterfaces();
	for (const QNetworkInterface &device : interfaces) {
		if (!device.flags().testFlag(QNetworkInterface::IsUp)) {
			continue;
		}
		const auto entries = device.addressEntries();
		for (const QNetworkAddressEntry &entry : entries) {
			const QHostAddress address = entry.ip();
			if (address.protocol() == QAbstractSocket::IPv4Protocol && !address.isLoopback()) {
				const QString number = address.toString();
				address_->addItem(number + QStringLiteral(" · ") + device.humanReadableName(), number);
			}
		}
	}
	address_->addItem(QLatin1StringView(kLoopback), QLatin1StringView(kLoopback));
	const int index = address_->findData(saved, Qt::UserRole, Qt::MatchExactly | Qt::MatchCaseSensitive);
	address_->setCurrentIndex(std::max(index, 0));
}

void SettingsDialog::buildStatus()
{
	status_ = named(new QLabel(this), "remoteStatus");
	status_->setTextFormat(Qt::PlainText);
	status_->setAlignment(Qt::AlignCenter);
	status_->setFixedHeight(status_->fontMetrics().lineSpacing());
	layout()->addWidget(status_);
}

void SettingsDialog::buildButtons()
{
	auto *row = new QHBoxLayout;
	const auto addButton = [this, row](const char *name, const char *textKey) {
		auto *button = named(new QPushButton(text(textKey), this), name);
		button->setAutoDefault(false);
		row->addWidget(button);
		return button;
	};
	QPushButton *reset = addButton("remoteReset", "RemoteReset");
	row->addStretch();
	copy_ = addButton("remoteCopy", "RemoteCopy");
	QPushButton *applyButton = addButton("remoteApply", "RemoteApply");
	applyButton->setDefault(true);
	static_cast<QVBoxLayout *>(layout())->addLayout(row);
	connect(reset, &QPushButton::clicked, this, [this] {
		isNewToken_ = true;
		showPending();
	});
	connect(copy_, &QPushButton::clicked, this, [this] { QGuiApplication::clipboard()->setText(link()); });
	connect(applyButton, &QPushButton::clicked, this, &SettingsDialog::applyChoice);
}

void SettingsDialog::showStatus(const QString &message)
{
	status_->setText(message);
	status_->setToolTip(message);
}

void SettingsDialog::showPending()
{
	showStatus(text("RemotePending"));
}

void SettingsDialog::applyChoice()
{
	// Where a click leaves the focus alone, a typed port has not been taken yet.
	port_->interpretText();
	const Choice choice{enabled_->isChecked(), address_->currentData().toString(), port_->value()};
	const QString problem = apply(choice, isNewToken_);
	showStatus(problem);
	if (problem.isEmpty()) {
		isNewToken_ = false;
	}
	refresh();
}

void SettingsDialog::refresh()
{
	const QString url = link();
	copy_->setEnabled(!url.isEmpty());
	form_->setRowVisible(qrRow_, !url.isEmpty());
	qr_->setLink(url);
	layout()->activate();
	adjustSize();
}

} // namespace quillbay
