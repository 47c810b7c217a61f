// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "plugin/shell.hpp"

#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QMainWindow>

namespace quillbay {

namespace {

constexpr const char *kDockId = "QuillBay";
constexpr const char *kRenameSignal = "source_rename";

// The host serializes the scenes before it calls its save callbacks, so a record that is written in the last of
// them, at exit, would not be in the file. This writes a pending edit just before.
class CloseWatcher : public QObject {
public:
	CloseWatcher(Dock *dock, QWidget *window) : QObject(dock), dock_(dock) { window->installEventFilter(this); }

	bool eventFilter(QObject *watched, QEvent *event) override
	{
		if (event->type() == QEvent::Close) {
			dock_->flush(false, true);
		}
		return QObject::eventFilter(watched, event);
	}

private:
	Dock *dock_;
};

} // namespace

Shell &shell()
{
	// Never destroyed: the host does not unload libraries, and its threads may still hold a hotkey's address.
	static Shell *const instance = new Shell;
	return *instance;
}

bool Shell::load(const QString &settingsPath)
{
	auto *window = static_cast<QWidget *>(obs_frontend_get_main_window());
	if (!window) {
		return false;
	}
	// A host that finds this very file in two of its folders loads it twice. It must not hear of a failure then: it
	// would take the texts away from the dock that is there.
	if (dock_) {
		return true;
	}
	if (!QDir().mkpath(QFileInfo(settingsPath).absolutePath())) {
		blog(LOG_ERROR, "[QuillBay] Could not create settings directory");
		return false;
	}
	isExiting_ = false;
	dock_ = new Dock(settingsPath, window);
	const QByteArray title = text("QuillBay").toUtf8();
	if (!obs_frontend_add_dock_by_id(kDockId, title.constData(), dock_.data())) {
		delete dock_.data();
		return false;
	}
	new CloseWatcher(dock_, window);
	hotkeys_.add(&Shell::hotkeyPressed);
	obs_frontend_add_event_callback(&Shell::frontendEvent, this);
	signal_handler_connect(obs_get_signal_handler(), kRenameSignal, &Shell::sourceRenamed, this);
	obs_frontend_add_save_callback(&Shell::saveOrLoad, this);
	blog(LOG_INFO, "[QuillBay] Loaded %s", QUILLBAY_VERSION);
	return true;
}

void Shell::postLoad()
{
	if (dock_) {
		dock_->remoteService().initialize();
	}
}

void Shell::unload()
{
	signal_handler_disconnect(obs_get_signal_handler(), kRenameSignal, &Shell::sourceRenamed, this);
	if (dock_) {
		dock_->shutdown();
	}
	if (!isExiting_) {
		obs_frontend_remove_event_callback(&Shell::frontendEvent, this);
		obs_frontend_remove_save_callback(&Shell::saveOrLoad, this);
		obs_frontend_remove_dock(kDockId);
	}
	hotkeys_.remove();
}

// On the host's hotkey thread.
void Shell::hotkeyPressed(void *data, obs_hotkey_id, obs_hotkey_t *, bool isPressed)
{
	if (isPressed) {
		shell().post(static_cast<const Hotkey *>(data)->command);
	}
}

void Shell::post(Command command)
{
	const QPointer<Dock> dock = dock_;
	if (!dock) {
		return;
	}
	const auto deliver = [this, dock, command] {
		if (dock && !isExiting_) {
			dock->command(command);
		}
	};
	QMetaObject::invokeMethod(dock.data(), deliver, Qt::QueuedConnection);
}

void Shell::frontendEvent(obs_frontend_event event, void *data)
{
	auto *self = static_cast<Shell *>(data);
	if (!self->dock_ || self->isExiting_) {
		return;
	}
	if (event == OBS_FRONTEND_EVENT_EXIT) {
		self->dock_->shutdown();
		self->isExiting_ = true;
		return;
	}
	self->dock_->frontendEvent(event);
}

// On any of the host's threads.
void Shell::sourceRenamed(void *data, calldata_t *call)
{
	auto *self = static_cast<Shell *>(data);
	auto *source = static_cast<obs_source_t *>(calldata_ptr(call, "source"));
	const QPointer<Dock> dock = self->dock_;
	if (!dock || !obs_scene_from_source(source)) {
		return;
	}
	const OBSWeakSource weak = OBSGetWeakRef(source);
	const auto deliver = [self, dock, weak] {
		const OBSSourceAutoRelease scene = OBSGetStrongRef(weak);
		if (scene && dock && !self->isExiting_) {
			dock->sceneRenamed(scene);
		}
	};
	QMetaObject::invokeMethod(dock.data(), deliver, Qt::QueuedConnection);
}

void Shell::saveOrLoad(obs_data_t *saveData, bool isSaving, void *data)
{
	auto *self = static_cast<Shell *>(data);
	const QPointer<Dock> dock = self->dock_;
	if (!dock || self->isExiting_) {
		return;
	}
	if (!isSaving) {
		self->hotkeys_.load(saveData);
		return;
	}
	dock->flush(false, true);
	self->hotkeys_.save(saveData);
	// A scene record written by this flush comes too late for this save: ask for another one afterwards.
	const auto saveRecords = [self, dock] {
		if (dock && !self->isExiting_) {
			dock->flush(true, true);
		}
	};
	QMetaObject::invokeMethod(dock.data(), saveRecords, Qt::QueuedConnection);
}

} // namespace quillbay
