// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "host/test_host.hpp"

namespace quillbay::test {

/// The procedures of obs-websocket that vendors call, found where theirs are.
struct FakeWebsocket {
	struct Event {
		QString type;
		QJsonObject payload;
	};

	/// Whether the host has obs-websocket. Vendors look once only, so it cannot go again.
	static void install();

	/// Sends a request as obs-websocket does, on the calling thread. Empty when no vendor serves it.
	QByteArray call(const QByteArray &payload);
	QJsonObject call(const QJsonObject &payload);

	void (*callback)(obs_data_t *, obs_data_t *, void *) = nullptr;
	void *callbackData = nullptr;
	std::vector<Event> events;
};

FakeWebsocket &websocket();

} // namespace quillbay::test
