// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The entry points that the host calls.

#include "plugin/shell.hpp"

#include <obs-module.h>
#include <util/bmem.h>

OBS_DECLARE_MODULE()
OBS_MODULE_USE_DEFAULT_LOCALE("quillbay", "en-US")
OBS_MODULE_AUTHOR("The QuillBay developers")

MODULE_EXPORT const char *obs_module_name(void)
{
	return obs_module_text("QuillBay");
}

MODULE_EXPORT const char *obs_module_description(void)
{
	return obs_module_text("Description");
}

bool obs_module_load(void)
{
	char *path = obs_module_config_path("settings.ini");
	if (!path) {
		return false;
	}
	const QString settingsPath = QString::fromUtf8(path);
	bfree(path);
	return quillbay::shell().load(settingsPath);
}

void obs_module_post_load(void)
{
	quillbay::shell().postLoad();
}

void obs_module_unload(void)
{
	quillbay::shell().unload();
}
