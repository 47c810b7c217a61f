// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/fake_websocket.hpp"

#include <obs-websocket-api.h>

namespace quillbay::test {

namespace {

proc_handler_t *vendorProcedures = nullptr;

void getHandler(void *, calldata_t *call)
{
	calldata_set_ptr(call, "ph", vendorProcedures);
}

void registerVendor(void *, calldata_t *call)
{
	calldata_set_ptr(call, "vendor", &websocket());
}

bool isRequest(calldata_t *call)
{
	return calldata_ptr(call, "vendor") == &websocket() && qstrcmp(calldata_string(call, "type"), "Request") == 0;
}

void registerRequest(void *, calldata_t *call)
{
	const auto *callback = static_cast<obs_websocket_request_callback *>(calldata_ptr(call, "callback"));
	websocket().callback = callback->callback;
	websocket().callbackData = callback->priv_data;
	calldata_set_bool(call, "success", isRequest(call));
}

void unregisterRequest(void *, calldata_t *call)
{
	websocket().callback = nullptr;
	calldata_set_bool(call, "success", isRequest(call));
}

void emitEvent(void *, calldata_t *call)
{
	auto *data = static_cast<obs_data_t *>(calldata_ptr(call, "data"));
	const QByteArray payload(obs_data_get_string(data, "payload"));
	websocket().events.push_back(
		{QString::fromUtf8(calldata_string(call, "type")), QJsonDocument::fromJson(payload).object()});
	calldata_set_bool(call, "success", true);
}

} // namespace

FakeWebsocket &websocket()
{
	static FakeWebsocket fake;
	return fake;
}

void FakeWebsocket::install()
{
	if (vendorProcedures) {
		return;
	}
	vendorProcedures = proc_handler_create();
	for (const auto &[declaration, procedure] : {
		     std::pair{"bool vendor_register(in string name, out ptr vendor)", &registerVendor},
		     {"bool vendor_request_register(in ptr vendor, in string type, in ptr callback)", &registerRequest},
		     {"bool vendor_request_unregister(in ptr vendor, in string type)", &unregisterRequest},
		     {"bool vendor_event_emit(in ptr vendor, in string type, in ptr data)", &emitEvent},
	     }) {
		proc_handler_add(vendorProcedures, declaration, procedure, nullptr);
	}
	proc_handler_add(obs_get_proc_handler(), "bool obs_websocket_api_get_ph(out ptr ph)", getHandler, nullptr);
}

QByteArray FakeWebsocket::call(const QByteArray &payload)
{
	if (!callback) {
		return {};
	}
	const OBSDataAutoRelease request = obs_data_create();
	const OBSDataAutoRelease response = obs_data_create();
	obs_data_set_string(request, "payload", payload.constData());
	callback(request, response, callbackData);
	return obs_data_get_string(response, "payload");
}

QJsonObject FakeWebsocket::call(const QJsonObject &payload)
{
	return QJsonDocument::fromJson(call(QJsonDocument(payload).toJson(QJsonDocument::Compact))).object();
}

} // namespace quillbay::test
