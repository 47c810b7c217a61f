// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QDialog>
#include <QString>

#include <functional>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QPushButton;
class QSpinBox;

namespace quillbay {

class QrLabel;

/// Where the user turns remote access on, chooses its address and port, takes its link and renews its token.
/// Nothing changes before "Apply". User-interface thread only.
class SettingsDialog : public QDialog {
	Q_OBJECT

public:
	/// What the user can set here.
	struct Choice {
		bool isEnabled = false;
		/// An IPv4 address of this machine.
		QString address;
		/// 1024 to 65535.
		int port = 0;
	};

	SettingsDialog(const Choice &saved, QWidget *parent);

	/// Shows the link as it is now, or that there is none.
	void refresh();

	/// Answers the link, empty while there is none.
	std::function<QString()> link;
	/// Puts the choice into effect, with a new token if that is wanted. Answers what went wrong, or nothing.
	std::function<QString(const Choice &choice, bool isNewToken)> apply;

private:
	void buildForm(const Choice &saved);
	void buildStatus();
	void buildButtons();
	void fillAddresses(const QString &saved);
	void showStatus(const QString &message);
	void showPending();
	void applyChoice();

	QFormLayout *form_ = nullptr;
	QCheckBox *enabled_ = nullptr;
	QComboBox *address_ = nullptr;
	QSpinBox *port_ = nullptr;
	QWidget *qrRow_ = nullptr;
	QrLabel *qr_ = nullptr;
	QLabel *status_ = nullptr;
	QPushButton *copy_ = nullptr;
	bool isNewToken_ = false;
};

} // namespace quillbay
