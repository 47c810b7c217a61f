// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "dock/auto_clear.hpp"

#include <QDialog>

#include <functional>

class QBoxLayout;
class QComboBox;
class QPushButton;
class QSpinBox;

namespace quillbay {

/// What the module is, which keys it knows, and which notes empty themselves. Nothing changes before OK.
/// User-interface thread only.
class AboutDialog : public QDialog {
	Q_OBJECT

public:
	AboutDialog(const AutoClear &saved, QWidget *parent);

	/// Puts the choice into effect; false when it could not be saved.
	std::function<bool(const AutoClear &choice)> apply;

	/// Applies the choice and closes, unless the choice makes no sense or could not be saved.
	void accept() override;

private:
	void addText(const char *name, const QString &richText);
	void addLine();
	void addForm();
	void showScope();
	void chooseScenes();
	[[nodiscard]] AutoClear choice() const;

	QSet<QString> scenes_;
	QBoxLayout *column_ = nullptr;
	QSpinBox *days_ = nullptr;
	QComboBox *scope_ = nullptr;
	QPushButton *choose_ = nullptr;
};

} // namespace quillbay
