// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A test-only module: lets a test reach, through obs-websocket, what obs-websocket itself cannot reach.
//
// It is the vendor "QuillBayProbe" with the one request "run". Its field "json" holds an object with "op" and that
// operation's fields; the answer's "json" holds {"ok": true, "value": ...} or {"ok": false, "error": text}.
// Objects are named by a path of words from the outside in, each an object name, ".Class", or one of @main, @modal,
// @popup and @focus: "noteEditor", "@modal .QLineEdit".

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeySequence>
#include <QMimeData>
#include <QTest>
#include <QTextCursor>
#include <QTextEdit>
#include <QWheelEvent>
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
	for (QObject *child : root->findChildren<QObject *>()) {
		if (child->inherits(className.constData())) {
			return child;
		}
	}
	return nullptr;
}

QObject *findFirst(const QString &word)
{
	const QHash<QString, QObject *> places{{"@main", mainWindow()},
					       {"@modal", QApplication::activeModalWidget()},
					       {"@popup", QApplication::activePopupWidget()},
					       {"@focus", QApplication::focusWidget()}};
	if (word.startsWith('@')) {
		return places.value(word);
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
	if (value.typeId() == QMetaType::QRect) {
		const QRect rect = value.toRect();
		return QJsonArray{rect.x(), rect.y(), rect.width(), rect.height()};
	}
	return value.metaType().flags().testFlag(QMetaType::IsEnumeration) ? QJsonValue(value.toInt())
									   : QJsonValue::fromVariant(value);
}

QVariant fromJson(const QJsonValue &value)
{
	const QJsonArray numbers = value.toArray();
	return numbers.size() != 4
		       ? value.toVariant()
		       : QRect(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt(), numbers[3].toInt());
}

QJsonValue getProperties(const QJsonObject &request)
{
	const QObject *object = find(request["object"].toString());
	QJsonObject values;
	for (const QJsonValue name : request["properties"].toArray()) {
		const QVariant value = object->property(name.toString().toUtf8().constData());
		values[name.toString()] =
			value.isValid() ? toJson(value) : throw std::runtime_error("no such property");
	}
	return values;
}

QJsonValue setProperty(const QJsonObject &request)
{
	QObject *object = find(request["object"].toString());
	const QByteArray name = request["property"].toString().toUtf8();
	if (!object->setProperty(name.constData(), fromJson(request["value"]))) {
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

// --- input -----------------------------------------------------------------------------------------------------------

QPoint pointIn(const QWidget &widget, const QJsonObject &request)
{
	const QJsonArray at = request["at"].toArray();
	return at.isEmpty() ? widget.rect().center() : QPoint(at[0].toInt(), at[1].toInt());
}

// "text" ("repeat" times) and "html".
std::unique_ptr<QMimeData> mimeData(const QJsonObject &request)
{
	auto data = std::make_unique<QMimeData>();
	if (request.contains("text")) {
		data->setText(request["text"].toString().repeated(request["repeat"].toInt(1)));
	}
	if (request.contains("html")) {
		data->setHtml(request["html"].toString());
	}
	return data;
}

// Types one character (a line feed is the Return key) with all that a key press brings: shortcuts, press, release.
void typeCharacter(QWidget &widget, const QString &character)
{
	const char ascii = character.size() == 1 ? character[0].toLatin1() : '\0';
	if (ascii == '\n') {
		QTest::keyClick(&widget, Qt::Key_Return);
	} else if (ascii >= ' ' && ascii <= '~') {
		QTest::keyClick(&widget, ascii, QChar(ascii).isUpper() ? Qt::ShiftModifier : Qt::NoModifier);
	} else {
		QTest::sendKeyEvent(QTest::Click, &widget, Qt::Key_unknown, character, Qt::NoModifier);
	}
}

// Presses the key sequence in "key", such as "Ctrl+V" or "Return".
QJsonValue pressKey(const QJsonObject &request)
{
	const auto sequence = QKeySequence::fromString(request["key"].toString(), QKeySequence::PortableText);
	if (sequence.count() != 1) {
		fail("no such key");
	}
	QTest::keyClick(&findAs<QWidget>(request), sequence[0].key(), sequence[0].keyboardModifiers());
	return {};
}

// "action" is a click, "menu" (a right click) or "wheel" by "delta"; "at" [x, y], else the middle.
QJsonValue useMouse(const QJsonObject &request)
{
	auto &widget = findAs<QWidget>(request);
	const QPoint at = pointIn(widget, request);
	if (request["action"].toString() == "wheel") {
		QWheelEvent event(at, widget.mapToGlobal(QPointF(at)), {}, {0, request["delta"].toInt()}, Qt::NoButton,
				  Qt::NoModifier, Qt::NoScrollPhase, false);
		QCoreApplication::sendEvent(&widget, &event);
	} else if (request["action"].toString() == "menu") {
		// Queued: an open menu must not hold up the answer.
		auto *event = new QContextMenuEvent(QContextMenuEvent::Mouse, at, widget.mapToGlobal(at));
		QCoreApplication::postEvent(&widget, event);
	} else {
		QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, at);
	}
	return {};
}

// Drops "text" and "html" at "at"; answers whether the widget took it.
QJsonValue drop(const QJsonObject &request)
{
	auto &widget = findAs<QWidget>(request);
	const std::unique_ptr<QMimeData> data = mimeData(request);
	const QPoint at = pointIn(widget, request);
	QDragEnterEvent enter(at, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
	QCoreApplication::sendEvent(&widget, &enter);
	QDragMoveEvent move(at, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
	QCoreApplication::sendEvent(&widget, &move);
	QDropEvent event(at, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
	QCoreApplication::sendEvent(&widget, &event);
	return event.isAccepted();
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

// --- on the request's own thread -------------------------------------------------------------------------------------

// Each character is a turn of its own on the user-interface thread; the pauses between them are not.
QJsonValue type(const QJsonObject &request)
{
	const std::chrono::milliseconds pause{request["pauseMs"].toInt()};
	for (const char32_t character : request["text"].toString().toStdU32String()) {
		onUi([&request, character] {
			typeCharacter(findAs<QWidget>(request), QString::fromUcs4(&character, 1));
			return QJsonValue();
		});
		std::this_thread::sleep_for(pause);
	}
	return {};
}

// Measures how long the user-interface thread leaves others waiting, for as long as it lives.
class StallMeter {
public:
	~StallMeter() { stop(); }

	double stop()
	{
		isStopped_ = true;
		thread_.joinable() ? thread_.join() : void();
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
	std::thread thread_{[this] { run(); }};
};

std::unique_ptr<StallMeter> stallMeter;

// "on": start measuring; else stop, with the longest wait in milliseconds.
QJsonValue measureStall(const QJsonObject &request)
{
	const auto meter = std::move(stallMeter);
	stallMeter = request["on"].toBool() ? std::make_unique<StallMeter>() : nullptr;
	return meter ? QJsonValue(meter->stop()) : QJsonValue();
}

// --- requests --------------------------------------------------------------------------------------------------------

using Operation = QJsonValue (*)(const QJsonObject &);

const QHash<QString, Operation> uiOperations{
	{"get", getProperties},
	{"set", setProperty},
	{"invoke", invoke},
	{"exists", exists},
	{"caret", placeCaret},
	{"scene", inspectScene},
	{"save", [](const QJsonObject &) { return obs_frontend_save(), QJsonValue(); }},
	{"clipboard",
	 [](const QJsonObject &request) {
		 return QApplication::clipboard()->setMimeData(mimeData(request).release()), QJsonValue();
	 }},
	{"key", pressKey},
	{"mouse", useMouse},
	{"drop", drop},
};

const QHash<QString, Operation> ownOperations{{"ready", [](const QJsonObject &) { return QJsonValue(isHostReady); }},
					      {"type", type},
					      {"stall", measureStall}};

QJsonValue perform(const QJsonObject &request)
{
	const QString name = request["op"].toString();
	if (const Operation operation = ownOperations.value(name)) {
		return operation(request);
	}
	const Operation operation = uiOperations.value(name);
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
