// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "plugin/text.hpp"

#include "plugin/hotkeys.hpp"

#include <obs.hpp>

namespace quillbay {

namespace {

constexpr const char *kBindingsKey = "quillbay_hotkeys";

} // namespace

void Hotkeys::add(obs_hotkey_func callback)
{
	for (Hotkey &hotkey : hotkeys_) {
		const QByteArray description = text(hotkey.descriptionKey).toUtf8();
		hotkey.id = obs_hotkey_register_frontend(hotkey.name, description.constData(), callback, &hotkey);
	}
}

void Hotkeys::remove()
{
	for (Hotkey &hotkey : hotkeys_) {
		if (hotkey.id != OBS_INVALID_HOTKEY_ID) {
			obs_hotkey_unregister(hotkey.id);
			hotkey.id = OBS_INVALID_HOTKEY_ID;
		}
	}
}

void Hotkeys::save(obs_data_t *saveData) const
{
	const OBSDataAutoRelease bindings = obs_data_create();
	for (const Hotkey &hotkey : hotkeys_) {
		const OBSDataArrayAutoRelease array = obs_hotkey_save(hotkey.id);
		obs_data_set_array(bindings, hotkey.name, array);
	}
	obs_data_set_obj(saveData, kBindingsKey, bindings);
}

void Hotkeys::load(obs_data_t *saveData) const
{
	const OBSDataAutoRelease bindings = obs_data_get_obj(saveData, kBindingsKey);
	for (const Hotkey &hotkey : hotkeys_) {
		const OBSDataArrayAutoRelease array = obs_data_get_array(bindings, hotkey.name);
		obs_hotkey_load(hotkey.id, array);
	}
}

} // namespace quillbay
