// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "dock/dock.hpp"
#include "plugin/hotkeys.hpp"

#include <QPointer>
#include <QString>

namespace quillbay {

/// The module's life inside the host: the one dock, the hotkeys and the host's callbacks.
///
/// The host's hotkey and signal threads reach it too, and calls that they have posted may run after unload, so
/// it must never be destroyed: keep it in static storage.
class Shell {
public:
	/// Builds the dock on the settings file and hooks everything into the host. False when the host cannot
	/// take it; nothing is left behind then.
	bool load(const QString &settingsPath);
	/// The host has loaded all modules: the remote service starts.
	void postLoad();
	/// Shuts the dock down and takes everything out of the host that the host still has.
	void unload();

private:
	static void hotkeyPressed(void *data, obs_hotkey_id id, obs_hotkey_t *hotkey, bool isPressed);
	static void frontendEvent(obs_frontend_event event, void *data);
	static void sourceRenamed(void *data, calldata_t *call);
	static void saveOrLoad(obs_data_t *saveData, bool isSaving, void *data);
	void post(Command command);

	QPointer<Dock> dock_;
	bool isExiting_ = false;
	Hotkeys hotkeys_;
};

/// The module's one shell.
Shell &shell();

} // namespace quillbay
