// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "dock/command.hpp"

#include <array>

#include <obs.h>

namespace quillbay {

/// One of the module's hotkeys.
struct Hotkey {
	/// The host's permanent name for it.
	const char *name;
	/// Text key of what the host's settings call it.
	const char *descriptionKey;
	/// What a press sends to the dock.
	Command command;
	obs_hotkey_id id = OBS_INVALID_HOTKEY_ID;
};

/// The module's ten hotkeys. Must stay in place while registered: the host hands each entry's address to the
/// callback. User-interface thread only.
class Hotkeys {
public:
	/// Registers all of them with the host; `callback` gets the pressed one's `Hotkey *` as its data.
	void add(obs_hotkey_func callback);
	/// Unregisters those that are registered.
	void remove();
	/// Puts the bindings into the host's save data, one array a hotkey, under "quillbay_hotkeys".
	void save(obs_data_t *saveData) const;
	/// Takes the bindings out of the host's save data; what is not there unbinds.
	void load(obs_data_t *saveData) const;

private:
	std::array<Hotkey, 10> hotkeys_{{
		{"QuillBay.StartScroll", "HotkeyStart", Command::StartScroll},
		{"QuillBay.PauseScroll", "HotkeyPause", Command::PauseScroll},
		{"QuillBay.ToggleScroll", "HotkeyToggle", Command::ToggleScroll},
		{"QuillBay.Faster", "HotkeyFaster", Command::Faster},
		{"QuillBay.Slower", "HotkeySlower", Command::Slower},
		{"QuillBay.Top", "HotkeyTop", Command::Top},
		{"QuillBay.InsertTime", "HotkeyTime", Command::InsertTime},
		{"QuillBay.ToggleLock", "HotkeyToggleLock", Command::ToggleLock},
		{"QuillBay.InsertMark", "HotkeyMark", Command::InsertMark},
		{"QuillBay.NextMark", "HotkeyNextMark", Command::NextMark},
	}};
};

} // namespace quillbay
