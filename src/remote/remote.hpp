// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QObject>
#include <QString>

class QWidget;

namespace quillbay {

/// What the dock tells the remote editing service. The dock works the same without one.
/// User-interface thread only.
class Remote : public QObject {
	Q_OBJECT

public:
	using QObject::QObject;

	/// Starts serving; called once the host has loaded all of its modules.
	virtual void initialize() = 0;
	/// Stops serving for good.
	virtual void shutdown() = 0;
	/// The bound scene, the speed or another part of the dock's state has changed.
	virtual void stateChanged() = 0;
	/// The text of a scene's note has changed.
	virtual void noteChanged(const QString &sceneKey) = 0;
	/// The text of the open note has moved.
	virtual void scrollChanged() = 0;
	/// The dock's user has locked or unlocked editing.
	virtual void lockChanged() = 0;
	/// While the host switches scene collections no note can be reached.
	virtual void setCollectionChanging(bool isChanging) = 0;
	/// The link for other devices, or empty while there is none.
	[[nodiscard]] virtual QString url() const = 0;
	/// Shows the link's QR code over `area`, or hides it.
	virtual void toggleQr(QWidget *area) = 0;
	/// Hides the QR code. True when it was visible.
	virtual bool hideQr() = 0;
};

} // namespace quillbay
