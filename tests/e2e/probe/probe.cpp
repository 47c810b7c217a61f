// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A test-only module: lets a test reach, through obs-websocket, what obs-websocket itself cannot reach.
//
// It is the vendor "QuillBayProbe" with the one request "run". Its field "json" holds an object with "op" and that
// operation's fields; the answer's "json" holds {"ok": true, "value": ...} or {"ok": false, "error": text}.
// Objects are named by a path of words from the outside in, each an object name, ".Class", or one of @main, @modal,
// @popup and @focus: "noteEditor", "@modal .QLineEdit".

#include "input.hpp"

#include <QAbstractItemView>
#include <QApplication>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMainWindow>
#include <QMetaProperty>
#include <QTextCursor>
#include <QTextEdit>
#include <QWidget>

#include <obs-frontend-api.h>
#include <obs-module.h>
#include <obs.hpp>
#include <obs-websocket-api.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

OBS_DECLARE_MODULE()

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Work = std::function<QJsonValue()>;

constexpr auto kAnswerTimeout = 30s;

std::atomic<bool> isHostReady = false;

[[noreturn]] void fail(const QString &reason)
{
	throw std::runtime_error(reason.toStdString());
}

// Runs the work on the user-interface thread. The wait is bounded: the host may be waiting for this very thread.
QJsonValue onUi(const Work &work)
{
	const auto task = std::make_shared<std::packaged_task<QJsonValue()>>(work);
	std::future<QJsonValue> answer = task->get_future();
	QMetaObject::invokeMethod(qApp, [task] { (*task)(); }, Qt::QueuedConnection);
	if (answer.wait_for(kAnswerTimeout) != std::future_status::ready) {
		fail("the user-interface thread does not answer");
	}
	return answer.get();
}

// --- objects ---------------------------------------------------------------------------------------------------------

QObject *mainWindow()
{
	return static_cast<QWidget *>(obs_frontend_get_main_window());
}

QObject *findBelow(QObject *root, const QString &word)
{
	if (!word.startsWith('.')) {
		return root->objectName() == word ? root : root->findChild<QObject *>(word);
	}
	const QByteArray className = word.mid(1).toUtf8();
	const QList<QObject *> children = root->findChildren<QObject *>();
	const auto isWanted = [&](const QObject *child) { return child->inherits(className.constData()); };
	const auto found = std::find_if(children.begin(), children.end(), isWanted);
	return found == children.end() ? nullptr : *found;
}

QObject *findFirst(const QString &word)
{
	if (word.startsWith('@')) {
		return word == "@main"    ? mainWindow()
		       : word == "@modal" ? QApplication::activeModalWidget()
		       : word == "@popup" ? QApplication::activePopupWidget()
		       : word == "@focus" ? QApplication::focusWidget()
					  : nullptr;
	}
	QObject *found = findBelow(mainWindow(), word);
	for (QWidget *window : QApplication::topLevelWidgets()) {
		found = found ? found : findBelow(window, word);
	}
	return found;
}

QObject *find(const QString &path)
{
	QObject *object = nullptr;
	for (const QString &word : path.split(' ', Qt::SkipEmptyParts)) {
		object = object ? findBelow(object, word) : findFirst(word);
		if (!object) {
			fail("no object " + path);
		}
	}
	return object ? object : throw std::runtime_error("no object was named");
}

template <typename Type>
Type &findAs(const QJsonObject &request)
{
	const QString path = request["object"].toString();
	auto *object = qobject_cast<Type *>(find(path));
	if (!object) {
		fail(path + " is no " + Type::staticMetaObject.className());
	}
	return *object;
}

QJsonValue toJson(const QVariant &value)
{
	switch (value.typeId()) {
	case QMetaType::QRect: {
		const QRect rect = value.toRect();
		return QJsonArray{rect.x(), rect.y(), rect.width(), rect.height()};
	}
	case QMetaType::QSize:
		return QJsonArray{value.toSize().width(), value.toSize().height()};
	case QMetaType::QPoint:
		return QJsonArray{value.toPoint().x(), value.toPoint().y()};
	default:
		return value.metaType().flags().testFlag(QMetaType::IsEnumeration) ? QJsonValue(value.toInt())
										   : QJsonValue::fromVariant(value);
	}
}

QVariant fromJson(const QJsonValue &value, int typeId)
{
	const QJsonArray numbers = value.toArray();
	switch (typeId) {
	case QMetaType::QRect:
		return QRect(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt(), numbers[3].toInt());
	case QMetaType::QSize:
		return QSize(numbers[0].toInt(), numbers[1].toInt());
	default:
		return value.toVariant();
	}
}

QMetaProperty propertyOf(const QObject &object, const QString &name)
{
	const int index = object.metaObject()->indexOfProperty(name.toUtf8().constData());
	if (index < 0) {
		fail("no property " + name);
	}
	return object.metaObject()->property(index);
}

QJsonValue getProperties(const QJsonObject &request)
{
	const QObject *object = find(request["object"].toString());
	QJsonObject values;
	for (const QJsonValue name : request["properties"].toArray()) {
		values[name.toString()] = toJson(propertyOf(*object, name.toString()).read(object));
	}
	return values;
}

QJsonValue setProperty(const QJsonObject &request)
{
	QObject *object = find(request["object"].toString());
	const QMetaProperty property = propertyOf(*object, request["property"].toString());
	if (!property.write(object, fromJson(request["value"], property.typeId()))) {
		fail("the property was not set");
	}
	return {};
}

// Queued, not called: it may open a dialog, which must not hold up the answer. "flag" is the method's argument.
QJsonValue invoke(const QJsonObject &request)
{
	QObject *object = find(request["object"].toString());
	const QByteArray method = request["method"].toString().toUtf8();
	const QJsonValue flag = request["flag"];
	const bool isQueued = flag.isBool()
				      ? QMetaObject::invokeMethod(object, method.constData(), Qt::QueuedConnection,
								  Q_ARG(bool, flag.toBool()))
				      : QMetaObject::invokeMethod(object, method.constData(), Qt::QueuedConnection);
	if (!isQueued) {
		fail("no such method");
	}
	return {};
}

QJsonValue exists(const QJsonObject &request)
{
	try {
		find(request["object"].toString());
		return true;
	} catch (const std::runtime_error &) {
		return false;
	}
}

QJsonValue placeCaret(const QJsonObject &request)
{
	auto &editor = findAs<QTextEdit>(request);
	QTextCursor cursor = editor.textCursor();
	cursor.setPosition(request["anchor"].toInt(request["position"].toInt()));
	cursor.setPosition(request["position"].toInt(), QTextCursor::KeepAnchor);
	editor.setTextCursor(cursor);
	return {};
}

// The middle of a list's row on the screen.
QJsonValue locateItem(const QJsonObject &request)
{
	const auto &view = findAs<QAbstractItemView>(request);
	const QString text = request["text"].toString();
	const QAbstractItemModel &model = *view.model();
	const QModelIndexList found = model.match(model.index(0, 0), Qt::DisplayRole, text, 1, Qt::MatchExactly);
	if (found.isEmpty()) {
		fail("no such row");
	}
	return toJson(view.viewport()->mapToGlobal(view.visualRect(found.first()).center()));
}

QJsonValue grab(const QJsonObject &request)
{
	if (!findAs<QWidget>(request).grab().save(request["file"].toString())) {
		fail("the picture was not written");
	}
	return {};
}

// --- the host --------------------------------------------------------------------------------------------------------

QJsonObject parse(const char *json)
{
	return QJsonDocument::fromJson(QByteArray(json)).object();
}

OBSDataAutoRelease toData(const QJsonObject &object)
{
	return obs_data_create_from_json(QJsonDocument(object).toJson(QJsonDocument::Compact).constData());
}

// The scene's UUID, name and note record. "record" replaces the record.
QJsonValue inspectScene(const QJsonObject &request)
{
	const OBSSourceAutoRelease scene = obs_get_source_by_name(request["scene"].toString().toUtf8().constData());
	if (!scene) {
		fail("no such scene");
	}
	const OBSDataAutoRelease settings = obs_source_get_private_settings(scene);
	if (request.contains("record")) {
		obs_data_set_obj(settings, "quillbay", toData(request["record"].toObject()));
	}
	const OBSDataAutoRelease record = obs_data_get_obj(settings, "quillbay");
	return QJsonObject{{"uuid", obs_source_get_uuid(scene)},
			   {"record", record ? QJsonValue(parse(obs_data_get_json(record))) : QJsonValue()}};
}

obs_hotkey_id findHotkey(const QByteArray &name)
{
	std::pair<QByteArray, obs_hotkey_id> search{name, OBS_INVALID_HOTKEY_ID};
	const auto compare = [](void *data, obs_hotkey_id id, obs_hotkey_t *hotkey) {
		auto &[wanted, found] = *static_cast<decltype(search) *>(data);
		found = wanted == obs_hotkey_get_name(hotkey) ? id : found;
		return found == OBS_INVALID_HOTKEY_ID;
	};
	obs_enum_hotkeys(compare, &search);
	return search.second;
}

// The hotkey's bindings; "bindings" replaces them.
QJsonValue bindHotkey(const QJsonObject &request)
{
	const obs_hotkey_id id = findHotkey(request["name"].toString().toUtf8());
	if (id == OBS_INVALID_HOTKEY_ID) {
		fail("no such hotkey");
	}
	if (request.contains("bindings")) {
		const OBSDataAutoRelease holder = toData(request);
		const OBSDataArrayAutoRelease bindings = obs_data_get_array(holder, "bindings");
		obs_hotkey_load(id, bindings);
	}
	const OBSDataAutoRelease holder = obs_data_create();
	const OBSDataArrayAutoRelease bindings = obs_hotkey_save(id);
	obs_data_set_array(holder, "bindings", bindings);
	return parse(obs_data_get_json(holder))["bindings"];
}

QJsonValue saveCollection(const QJsonObject &)
{
	obs_frontend_save();
	return {};
}

// --- on the request's own thread -------------------------------------------------------------------------------------

// Each character is a turn of its own on the user-interface thread; the pauses between them are not.
QJsonValue type(const QJsonObject &request)
{
	const std::chrono::milliseconds pause{request["pauseMs"].toInt()};
	for (const char32_t character : request["text"].toString().toStdU32String()) {
		onUi([&request, character] {
			probe::typeCharacter(findAs<QWidget>(request), QString::fromUcs4(&character, 1));
			return QJsonValue();
		});
		std::this_thread::sleep_for(pause);
	}
	return {};
}

// Measures how long the user-interface thread leaves others waiting, for as long as it lives.
class StallMeter {
public:
	StallMeter() : thread_([this] { run(); }) {}
	~StallMeter() { stop(); }

	double stop()
	{
		isStopped_ = true;
		if (thread_.joinable()) {
			thread_.join();
		}
		return std::chrono::duration<double, std::milli>(longest_).count();
	}

private:
	void run()
	{
		while (!isStopped_) {
			const auto asked = Clock::now();
			try {
				onUi([] { return QJsonValue(); });
			} catch (const std::runtime_error &) {
				isStopped_ = true; // No answer at all: that wait is the longest.
			}
			longest_ = std::max(longest_, Clock::now() - asked);
			std::this_thread::sleep_for(1ms);
		}
	}

	std::atomic<bool> isStopped_ = false;
	Clock::duration longest_{};
	std::thread thread_;
};

std::unique_ptr<StallMeter> stallMeter;

// "on": start measuring; else stop, with the longest wait in milliseconds.
QJsonValue measureStall(const QJsonObject &request)
{
	if (request["on"].toBool()) {
		stallMeter = std::make_unique<StallMeter>();
		return {};
	}
	const double longestMs = stallMeter ? stallMeter->stop() : throw std::runtime_error("not measuring");
	stallMeter.reset();
	return longestMs;
}

QJsonValue isReady(const QJsonObject &)
{
	return isHostReady.load();
}

// --- requests --------------------------------------------------------------------------------------------------------

using Operation = QJsonValue (*)(const QJsonObject &);

// Operations on a widget that input.hpp implements.
template <QJsonValue (*operation)(QWidget &, const QJsonObject &)>
QJsonValue into(const QJsonObject &request)
{
	return operation(findAs<QWidget>(request), request);
}

const QHash<QString, Operation> &uiOperations()
{
	static const QHash<QString, Operation> operations{
		{"get", getProperties},
		{"set", setProperty},
		{"invoke", invoke},
		{"exists", exists},
		{"caret", placeCaret},
		{"item", locateItem},
		{"grab", grab},
		{"scene", inspectScene},
		{"hotkey", bindHotkey},
		{"save", saveCollection},
		{"clipboard", probe::setClipboard},
		{"key", into<probe::pressKey>},
		{"mouse", into<probe::useMouse>},
		{"drop", into<probe::drop>},
		{"compose", into<probe::compose>},
	};
	return operations;
}

const QHash<QString, Operation> &ownOperations()
{
	static const QHash<QString, Operation> operations{{"ready", isReady}, {"type", type}, {"stall", measureStall}};
	return operations;
}

QJsonValue perform(const QJsonObject &request)
{
	const QString name = request["op"].toString();
	if (const Operation operation = ownOperations().value(name)) {
		return operation(request);
	}
	const Operation operation = uiOperations().value(name);
	if (!operation) {
		fail("no operation " + name);
	}
	return onUi([operation, request] { return operation(request); });
}

void run(obs_data_t *requestData, obs_data_t *responseData, void *)
{
	QJsonObject answer;
	try {
		answer = {{"ok", true}, {"value", perform(parse(obs_data_get_string(requestData, "json")))}};
	} catch (const std::exception &error) {
		answer = {{"ok", false}, {"error", error.what()}};
	}
	obs_data_set_string(responseData, "json", QJsonDocument(answer).toJson(QJsonDocument::Compact).constData());
}

void hostEvent(obs_frontend_event event, void *)
{
	if (event == OBS_FRONTEND_EVENT_FINISHED_LOADING) {
		// The host still has work to do in this turn.
		QMetaObject::invokeMethod(qApp, [] { isHostReady = true; }, Qt::QueuedConnection);
	} else if (event == OBS_FRONTEND_EVENT_EXIT) {
		stallMeter.reset();
	}
}

} // namespace

bool obs_module_load(void)
{
	obs_frontend_add_event_callback(hostEvent, nullptr);
	return true;
}

void obs_module_post_load(void)
{
	obs_websocket_vendor vendor = obs_websocket_register_vendor("QuillBayProbe");
	if (!vendor || !obs_websocket_vendor_register_request(vendor, "run", run, nullptr)) {
		blog(LOG_ERROR, "[QuillBayProbe] obs-websocket refused the vendor");
	}
}
