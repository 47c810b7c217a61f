// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/fake_frontend.hpp"

namespace quillbay::test {

FakeFrontend &frontend()
{
	static FakeFrontend fake;
	return fake;
}

void FakeFrontend::sendEvent(obs_frontend_event event) const
{
	for (const auto &[callback, data] : std::vector(eventCallbacks)) {
		callback(event, data);
	}
}

void FakeFrontend::save(obs_data_t *data, bool isSaving) const
{
	for (const auto &[callback, context] : std::vector(saveCallbacks)) {
		callback(data, isSaving, context);
	}
}

} // namespace quillbay::test

using quillbay::test::frontend;

extern "C" {

void *obs_frontend_get_main_window(void)
{
	return frontend().mainWindow;
}

bool obs_frontend_add_dock_by_id(const char *, const char *, void *widget)
{
	frontend().dock = static_cast<QWidget *>(widget);
	return true;
}

void obs_frontend_remove_dock(const char *)
{
	delete std::exchange(frontend().dock, nullptr);
}

void obs_frontend_add_event_callback(obs_frontend_event_cb callback, void *data)
{
	frontend().eventCallbacks.emplace_back(callback, data);
}

void obs_frontend_remove_event_callback(obs_frontend_event_cb callback, void *data)
{
	std::erase(frontend().eventCallbacks, std::pair(callback, data));
}

void obs_frontend_add_save_callback(obs_frontend_save_cb callback, void *data)
{
	frontend().saveCallbacks.emplace_back(callback, data);
}

void obs_frontend_remove_save_callback(obs_frontend_save_cb callback, void *data)
{
	std::erase(frontend().saveCallbacks, std::pair(callback, data));
}

bool obs_frontend_preview_program_mode_active(void)
{
	return frontend().isStudioMode;
}

obs_source_t *obs_frontend_get_current_scene(void)
{
	return obs_source_get_ref(frontend().currentScene);
}

obs_source_t *obs_frontend_get_current_preview_scene(void)
{
	return obs_source_get_ref(frontend().previewScene);
}

void obs_frontend_get_scenes(struct obs_frontend_source_list *sources)
{
	for (obs_source_t *scene : frontend().scenes) {
		obs_source_t *reference = obs_source_get_ref(scene);
		da_push_back(sources->sources, &reference);
	}
}

void obs_frontend_save(void)
{
	++frontend().saves;
}
}
