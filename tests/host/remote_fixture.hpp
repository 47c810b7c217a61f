// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "host/dock_fixture.hpp"
#include "host/fake_websocket.hpp"

#include "remote/remote.hpp"

namespace quillbay::test {

/// A dock with a second scene, which serves phones on a port of its own, and the session of one of them.
class RemoteFixture : public DockFixture {
public:
	RemoteFixture() : second(makeScene(QStringLiteral("Second")).Get())
	{
		FakeWebsocket::install();
		websocket() = {};
		frontend().scenes = {scene, second};
		reopen({{"remote/enabled", true}, {"remote/address", "127.0.0.1"}, {"remote/port", 0}});
		remote().initialize();
		session = ask("Open")["session"].toString();
	}
	[[nodiscard]] Remote &remote() const { return dock->remoteService(); }
	[[nodiscard]] QString token() const { return remote().url().section(u'#', 1); }
	[[nodiscard]] QJsonObject payload(const QString &action, const QJsonObject &fields = {}) const
	{
		QVariantMap all{{"access", token()}, {"session", session}, {"action", action}};
		all.insert(fields.toVariantMap());
		return QJsonObject::fromVariantMap(all);
	}
	[[nodiscard]] QJsonObject ask(const QString &action, const QJsonObject &fields = {}) const
	{
		return websocket().call(payload(action, fields));
	}
	/// What a write of the first scene's note must name, with the current epoch and revision, and the note itself.
	[[nodiscard]] QJsonObject writing(const QString &by = {}) const
	{
		const QJsonObject now = ask("GetDocument", {{"scene", uuidOf(scene)}});
		return {{"session", by.isEmpty() ? session : by},
			{"scene", uuidOf(scene)},
			{"epoch", now["epoch"]},
			{"revision", now["revision"]},
			{"document", now}};
	}

	OBSSource second;
	QString session;
};

} // namespace quillbay::test
