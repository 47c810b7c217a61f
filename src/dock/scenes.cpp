// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/scenes.hpp"

#include <obs-frontend-api.h>

namespace quillbay {

std::vector<OBSSource> collectionScenes()
{
	std::vector<OBSSource> scenes;
	obs_frontend_source_list list = {};
	obs_frontend_get_scenes(&list);
	for (std::size_t i = 0; i < list.sources.num; ++i) {
		scenes.emplace_back(list.sources.array[i]);
	}
	obs_frontend_source_list_free(&list);
	return scenes;
}

OBSSourceAutoRelease shownScene()
{
	return obs_frontend_preview_program_mode_active() ? obs_frontend_get_current_preview_scene()
							  : obs_frontend_get_current_scene();
}

bool isOnAir(const obs_source_t *scene)
{
	const OBSSourceAutoRelease program = obs_frontend_get_current_scene();
	return scene == program || scene == shownScene();
}

} // namespace quillbay
