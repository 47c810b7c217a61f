// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A test-only module: lets a test reach, through obs-websocket, what obs-websocket itself cannot reach.
//
// It is the vendor "QuillBayProbe" with the one request "run". Its field "json" holds an object with "op" and that
// operation's fields; the answer's "json" holds {"ok": true, "value": ...} or {"ok": false, "error": text}.
// Objects are named by a path of words from the outside in, each an object name, ".Class", @main or @modal:
// "noteEditor", "@modal .QLineEdit".

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeySequence>
#include <QMimeData>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <obs-frontend-api.h>
#include <obs-module.h>
#include <obs.hpp>
#include <obs-websocket-api.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>

OBS_DECLARE_MODULE()

namespace {

using namespace std::chrono_literals;
using Operation = QJsonValue (*)(const QJsonObject &);

constexpr auto kAnswerTimeout = 30s;

// --- objects ---------------------------------------------------------------------------------------------------------

QObject *findBelow(QObject *root, const QString &word)
{
	if (!word.startsWith('.')) {
		return root->objectName() == word ? root : root->findChild<QObject *>(word);
	}
	for (QObject *object : root->findChildren<QObject *>()) {
		if (object->inherits(qUtf8Printable(word.mid(1)))) {
			return object;
		}
	}
	return nullptr;
}

QObject *find(const QJsonObject &request)
{
	auto *main = static_cast<QWidget *>(obs_frontend_get_main_window());
	const QHash<QString, QObject *> places{{"@main", main}, {"@modal", QApplication::activeModalWidget()}};
	const QWidgetList windows = QApplication::topLevelWidgets();
	QObjectList roots(windows.begin(), windows.end());
	roots.prepend(main);
	for (const QString &word : request["object"].toString().split(' ')) {
		QObject *found = places.value(word);
		for (QObject *root : roots) {
			found = found ? found : findBelow(root, word);
		}
		roots = {found ? found : throw std::runtime_error("no such object")};
	}
	return roots.first();
}

QWidget *findWidget(const QJsonObject &request)
{
	auto *widget = qobject_cast<QWidget *>(find(request));
	return widget ? widget : throw std::runtime_error("no widget");
}

QJsonValue getProperties(const QJsonObject &request)
{
	const QObject *object = find(request);
	QJsonObject values;
	for (const QJsonValue name : request["properties"].toArray()) {
		const QVariant value = object->property(name.toString().toUtf8().constData());
		values[name.toString()] =
			value.isValid() ? QJsonValue::fromVariant(value) : throw std::runtime_error("no such property");
	}
	return values;
}

// Four numbers are a rectangle.
QJsonValue setProperty(const QJsonObject &request)
{
	QVariant value = request["value"].toVariant();
	if (const QJsonArray at = request["value"].toArray(); at.size() == 4) {
		value = QRect(at[0].toInt(), at[1].toInt(), at[2].toInt(), at[3].toInt());
	}
	if (!find(request)->setProperty(request["property"].toString().toUtf8().constData(), value)) {
		throw std::runtime_error("the property was not set");
	}
	return {};
}

// Queued, not called: it may open a dialog, which must not hold up the answer. "flag" is the method's argument.
QJsonValue invoke(const QJsonObject &request)
{
	const QByteArray method = request["method"].toString().toUtf8();
	const bool flag = request["flag"].toBool();
	const QGenericArgument argument(request.contains("flag") ? "bool" : nullptr, &flag);
	if (!QMetaObject::invokeMethod(find(request), method.constData(), Qt::QueuedConnection, argument)) {
		throw std::runtime_error("no such method");
	}
	return {};
}

// --- input -----------------------------------------------------------------------------------------------------------

// Types the character "text" (a line feed is the Return key) with all that a key press brings: shortcuts, press,
// release.
QJsonValue type(const QJsonObject &request)
{
	QWidget *widget = findWidget(request);
	const QString character = request["text"].toString();
	const char ascii = character.size() == 1 ? character[0].toLatin1() : '\0';
	if (ascii == '\n') {
		QTest::keyClick(widget, Qt::Key_Return);
	} else if (ascii >= ' ' && ascii <= '~') {
		QTest::keyClick(widget, ascii, QChar(ascii).isUpper() ? Qt::ShiftModifier : Qt::NoModifier);
	} else {
		QTest::sendKeyEvent(QTest::Click, widget, Qt::Key_unknown, character, Qt::NoModifier);
	}
	return {};
}

// Presses the key sequence in "key", such as "Ctrl+V" or "Return".
QJsonValue pressKey(const QJsonObject &request)
{
	const auto sequence = QKeySequence::fromString(request["key"].toString(), QKeySequence::PortableText);
	QTest::keyClick(findWidget(request), sequence[0].key(), sequence[0].keyboardModifiers());
	return {};
}

QJsonValue fillClipboard(const QJsonObject &request)
{
	auto data = std::make_unique<QMimeData>();
	if (request.contains("text")) {
		data->setText(request["text"].toString());
	}
	if (request.contains("html")) {
		data->setHtml(request["html"].toString());
	}
	QApplication::clipboard()->setMimeData(data.release());
	return {};
}

// --- the host --------------------------------------------------------------------------------------------------------

QJsonObject parse(const char *json)
{
	return QJsonDocument::fromJson(QByteArray(json)).object();
}

QByteArray toJson(const QJsonObject &object)
{
	return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// The scene's UUID and note record. "record" replaces the record, and has the host save it.
QJsonValue inspectScene(const QJsonObject &request)
{
	const OBSSourceAutoRelease scene = obs_get_source_by_name(request["scene"].toString().toUtf8().constData());
	if (!scene) {
		throw std::runtime_error("no such scene");
	}
	const OBSDataAutoRelease settings = obs_source_get_private_settings(scene);
	if (request.contains("record")) {
		const QByteArray json = toJson(request["record"].toObject());
		obs_data_set_obj(settings, "quillbay", OBSDataAutoRelease(obs_data_create_from_json(json.constData())));
		obs_frontend_save();
	}
	const OBSDataAutoRelease record = obs_data_get_obj(settings, "quillbay");
	return QJsonObject{{"uuid", obs_source_get_uuid(scene)},
			   {"record", record ? QJsonValue(parse(obs_data_get_json(record))) : QJsonValue()}};
}

// "on": begins to measure how long the user-interface thread leaves others waiting; else the longest wait since then,
// in milliseconds.
QJsonValue measureStall(const QJsonObject &request)
{
	static auto *const turns = new QTimer(qApp);
	static QElapsedTimer lastTurn;
	static double longest = 0;
	const auto endTurn = [] {
		longest = std::max(longest, double(lastTurn.nsecsElapsed()) / 1e6);
		lastTurn.start();
	};
	if (!request["on"].toBool()) {
		turns->disconnect();
		endTurn();
		return longest;
	}
	longest = 0;
	lastTurn.start();
	turns->callOnTimeout(endTurn);
	turns->start(1);
	return {};
}

// --- requests --------------------------------------------------------------------------------------------------------

const QHash<QString, Operation> operations{{"get", getProperties},  {"set", setProperty},         {"invoke", invoke},
					   {"scene", inspectScene}, {"clipboard", fillClipboard}, {"type", type},
					   {"key", pressKey},       {"stall", measureStall}};

// On the user-interface thread. The wait is bounded: the host may be waiting for this very thread.
QJsonValue perform(const QJsonObject &request)
{
	const Operation operation = operations.value(request["op"].toString());
	if (!operation) {
		throw std::runtime_error("no such operation");
	}
	const auto task = std::make_shared<std::packaged_task<QJsonValue()>>([=] { return operation(request); });
	std::future<QJsonValue> answer = task->get_future();
	QMetaObject::invokeMethod(qApp, [task] { (*task)(); }, Qt::QueuedConnection);
	if (answer.wait_for(kAnswerTimeout) != std::future_status::ready) {
		throw std::runtime_error("the user-interface thread does not answer");
	}
	return answer.get();
}

void run(obs_data_t *requestData, obs_data_t *responseData, void *)
{
	QJsonObject answer;
	try {
		answer = {{"ok", true}, {"value", perform(parse(obs_data_get_string(requestData, "json")))}};
	} catch (const std::exception &error) {
		answer = {{"ok", false}, {"error", error.what()}};
	}
	obs_data_set_string(responseData, "json", toJson(answer).constData());
}

} // namespace

bool obs_module_load(void)
{
	return true;
}

void obs_module_post_load(void)
{
	obs_websocket_vendor vendor = obs_websocket_register_vendor("QuillBayProbe");
	if (!vendor || !obs_websocket_vendor_register_request(vendor, "run", run, nullptr)) {
		blog(LOG_ERROR, "[QuillBayProbe] obs-websocket refused the vendor");
	}
}
