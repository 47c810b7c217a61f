// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QWidget>

#include <utility>
#include <vector>

#include <obs.hpp>
#include <obs-frontend-api.h>

namespace quillbay::test {

/// What the fake front end shows and has been told. Reset it between tests.
struct FakeFrontend {
	QWidget *mainWindow = nullptr;
	bool isStudioMode = false;
	OBSSource currentScene;
	OBSSource previewScene;
	/// In the order of the host's list.
	std::vector<OBSSource> scenes;
	QWidget *dock = nullptr;
	int saves = 0;
	std::vector<std::pair<obs_frontend_event_cb, void *>> eventCallbacks;
	std::vector<std::pair<obs_frontend_save_cb, void *>> saveCallbacks;

	void sendEvent(obs_frontend_event event) const;
	void save(obs_data_t *data, bool isSaving) const;
};

FakeFrontend &frontend();

} // namespace quillbay::test
