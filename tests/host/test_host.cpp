// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include <obs-module.h>
#include <util/text-lookup.h>

// The texts that the host would look up for the module.
const char *obs_module_text(const char *key)
{
	static lookup_t *const texts = text_lookup_create(QUILLBAY_LOCALE_FILE);
	const char *found = key;
	text_lookup_getstr(texts, key, &found);
	return found;
}

namespace quillbay::test {

Host::Host()
{
	const QByteArray path = config_.path().toUtf8();
	if (!obs_startup("en-US", path.constData(), nullptr)) {
		qFatal("libobs did not start: is there an X display?");
	}
}

Host::~Host()
{
	frontend() = {};
	obs_shutdown();
}

OBSSourceAutoRelease makeScene(const QString &name)
{
	// A name is taken until the host has done away with its scene, on a thread of its own.
	obs_wait_for_destroy_queue();
	return obs_scene_get_source(obs_scene_create(name.toUtf8().constData()));
}

void removeScenes()
{
	std::vector<OBSSource> scenes;
	const auto collect = [](void *list, obs_source_t *scene) {
		static_cast<std::vector<OBSSource> *>(list)->emplace_back(scene);
		return true;
	};
	obs_enum_scenes(collect, &scenes);
	for (const OBSSource &scene : scenes) {
		obs_source_remove(scene);
	}
}

QString uuidOf(obs_source_t *scene)
{
	return QString::fromUtf8(obs_source_get_uuid(scene));
}

QString recordOf(obs_source_t *scene, const char *key)
{
	const OBSDataAutoRelease settings = obs_source_get_private_settings(scene);
	const OBSDataAutoRelease record = obs_data_get_obj(settings, "quillbay");
	return QString::fromUtf8(obs_data_get_string(record, key));
}

void setRecord(obs_source_t *scene, const QString &id, const QString &file, const QString &name)
{
	const OBSDataAutoRelease record = obs_data_create();
	for (const auto &[key, value] : {std::pair{"id", id}, {"file", file}, {"name", name}}) {
		obs_data_set_string(record, key, value.toUtf8().constData());
	}
	const OBSDataAutoRelease settings = obs_source_get_private_settings(scene);
	obs_data_set_obj(settings, "quillbay", record);
}

QByteArray readFile(const QString &path)
{
	QFile file(path);
	return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
	QFile file(path);
	if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
		qFatal("cannot write %s", qPrintable(path));
	}
}

} // namespace quillbay::test
