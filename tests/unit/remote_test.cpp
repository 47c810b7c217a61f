// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/remote_fixture.hpp"

#include "remote/qr.hpp"

#include <future>

namespace quillbay::test {

namespace {

using namespace Qt::StringLiterals;

const QStringList kWriting{"AcquireEdit", "SaveDocument", "CheckImport", "ReplaceDocument"};

// What a QR reader makes of the picture.
QString readQr(const QPixmap &pixmap)
{
	QProcess reader;
	reader.start("zbarimg", {"-q", "--raw", "png:-"});
	pixmap.save(&reader, "PNG");
	reader.closeWriteChannel();
	return reader.waitForFinished() ? QString::fromUtf8(reader.readAll()).trimmed() : reader.errorString();
}

QJsonObject with(QJsonObject object, const char *key, const QJsonValue &value)
{
	object[QLatin1StringView(key)] = value;
	return object;
}

// The blocks of the document, one of them with another text.
QJsonObject edited(const QJsonValue &document, const QString &text, int at = 0)
{
	QJsonArray blocks = document["blocks"].toArray();
	const QJsonObject run{{"text", text}, {"weight", 400}, {"size", 0}};
	blocks[at] = with(blocks[at].toObject(), "runs", QJsonArray{run});
	return {{"blocks", blocks}};
}

} // namespace

class RemoteTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		fixture = std::make_unique<RemoteFixture>();
		dock = fixture->dock.get();
		editor = fixture->editor;
		first = uuidOf(fixture->scene);
		QCOMPARE(fixture->session.size(), 36);
	}

	void cleanup() { fixture.reset(); }

	void listensOnOneAddressOnly()
	{
		const QString before = fixture->token();
		for (const char *address : {"0.0.0.0", "::1", "::", "224.0.0.1", "localhost", "192.0.2.1", ""}) {
			QVERIFY2(!remote().listen(QLatin1StringView(address), 0) && remote().url().isEmpty(), address);
		}
		QCOMPARE(codeOf("GetState"), "disabled");
		QVERIFY(remote().listen("127.0.0.2", 0));
		QVERIFY(remote().url().startsWith("http://127.0.0.2:"_L1));
		QVERIFY(fixture->token() == before && before.size() == 22);
		QCOMPARE(codeOf("GetState"), "session"); // a new start ends all
	}

	void errors()
	{
		const QJsonArray wrongs{"x", 7, QString(22, u'A'), QString(100'000, u'A'), QJsonArray{1}};
		const QJsonArray noScenes{"nowhere", QJsonObject(), first + QChar::Null};
		const QStringList reading{"GetDocument", "ExportHtml", "ExportText"};
		// What each of the values of a field, in requests that are right otherwise, is answered.
		const std::tuple<QStringList, const char *, QJsonArray, QString> cases[] = {
			{{"Open"}, "access", wrongs, "access"},
			{{"GetState"}, "session", wrongs, "session"},
			{{"", "open", "Nothing"}, "name", {"x"}, "action"},
			{reading + kWriting.first(2), "scene", noScenes, "scene"},
			{kWriting, "revision", {"0", QJsonValue(), 1, 0.5, -1e300}, "conflict"},
			{kWriting, "epoch", {"another"}, "conflict"},
			{kWriting.sliced(1), "name", {"x"}, "lease"},
			{{"Scroll"}, "command", {"jump", QJsonValue()}, "command"},
			{{"Scroll"}, "speed", {0.9, 5.1, 1e308, "2", QJsonValue()}, "range"},
			{{"Scroll"}, "speed", {5.0, 1.0}, "ok"},
			{{"Scroll"}, "target", {"101%", "-1%", "0", "21", "1.5", "9999999999", "", 1}, "range"},
			{{"Scroll"}, "target", {"1"}, "ok"},
		};
		for (const auto &[actions, field, values, code] : cases) {
			for (const QString &action : actions) {
				for (const QJsonValue &value : values) {
					QJsonObject sent = with(fixture->writing(), "command",
								qstrcmp(field, "target") == 0 ? "seek" : "speed");
					sent[QLatin1StringView(field)] = value;
					const QJsonObject reply = fixture->ask(action, sent);
					const QString got = reply["code"].toString("ok");
					const QString what = QDebug::toString(value).left(90) + action + got;
					QVERIFY2(got == code && (got == "ok" || reply.size() == 2), qPrintable(what));
				}
			}
		}
		QCOMPARE(codeOf("Scroll", {{"command", "seek"}, {"scene", "nowhere"}, {"target", "1"}}), "scene");
		QVERIFY(dock->store().write(fixture->second, {QString("<div>").repeated(50'000)}));
		for (const auto &[action, code] : {std::pair{"ExportHtml", "ok"}, {"ExportText", "size"}}) {
			QCOMPARE(codeOf(action, {{"scene", uuidOf(fixture->second)}}), code);
		}
	}

	void payloads()
	{
		const QByteArray deep = QByteArray("{\"a\":").repeated(100'000);
		for (const QByteArray &bad :
		     {QByteArray(), QByteArray("7"), QByteArray("[]"), QByteArray("{"), QByteArray("null"),
		      QByteArray("\xff\xfe{}"), deep, QByteArray("[").repeated(100'000), QByteArray(6'291'456, ' ')}) {
			QCOMPARE(websocket().call(bad), QByteArray("{\"code\":\"format\",\"ok\":false}"));
		}
		QCOMPARE(websocket().call(QByteArray(6'291'457, ' ')), QByteArray("{\"code\":\"size\",\"ok\":false}"));
		QVERIFY(websocket().call(QByteArray("{}")).contains("access"));
	}

	void sessionsAndNames()
	{
		const std::pair<QString, QString> names[] = {{QString(40, u'n'), QString(32, u'n')},
							     {"  my \t phone ", "my phone"},
							     {QString::fromUtf16(u" \0 \0 ", 5), text("RemoteDevice")},
							     {QString(), text("RemoteDevice")},
							     {QString(31, u'n') + u"😀"_s, QString(31, u'n')},
							     {"<b>&\"'", "<b>&\"'"}};
		for (const auto &[given, shown] : names) {
			const QString id = fixture->ask("Open", {{"name", given}})["session"].toString();
			QCOMPARE(codeOf("AcquireEdit", fixture->writing(id)), "ok");
			QCOMPARE(fixture->ask("GetState")["editor"].toString(), shown);
			QCOMPARE(codeOf("ReleaseEdit", {{"session", id}}), "ok");
		}
		openTheRest(1 + static_cast<int>(std::size(names)));
		QCOMPARE(fixture->ask("GetState").size(), 11);
	}

	void oneWriterAtATime()
	{
		const QString other = fixture->ask("Open")["session"].toString();
		QJsonObject mine = fixture->writing();
		const QJsonObject note = fixture->ask("AcquireEdit", mine);
		QVERIFY(note["ok"].toBool() && note["editable"].toBool());
		QVERIFY(isEditing() && !fixture->ask("KeepAlive", {{"session", other}})["editing"].toBool(true));
		for (const QString &action : kWriting) {
			QCOMPARE(codeOf(action, fixture->writing(other)), "busy");
		}
		QCOMPARE(codeOf("AcquireEdit", with(mine, "scene", uuidOf(fixture->second))), "busy");
		QVERIFY(remote().sceneInUse(first) && !remote().sceneInUse(uuidOf(fixture->second)));
		QVERIFY(!remote().sceneInUse({}));

		mine["document"] = edited(note, "from a phone");
		QCOMPARE(fixture->ask("SaveDocument", mine)["revision"].toInt(), 1);
		QCOMPARE(editor->toPlainText(), "from a phone");
		QCOMPARE(codeOf("SaveDocument", mine), "conflict");
		mine["revision"] = 1;
		QCOMPARE(fixture->ask("SaveDocument", mine)["revision"].toInt(), 1);
		QCOMPARE(fixture->ask("ExportText", {{"scene", first}})["text"].toString(), "from a phone");
		QCOMPARE(codeOf("SaveDocument", with(mine, "document", QJsonObject{{"blocks", 1}})), "format");
		const QJsonObject tooLong = edited(note, QString(10'001, u'x'));
		QCOMPARE(codeOf("ReplaceDocument", with(mine, "document", tooLong)), "limit");
		mine["document"] = edited(note, "all new");
		const QJsonObject replaced = fixture->ask("ReplaceDocument", mine);
		QCOMPARE(replaced["revision"].toInt(), 2);
		QVERIFY(replaced["blocks"].isArray() && !replaced["simplified"].toBool(true));
		QVERIFY(dock->store().read(fixture->scene).contains("all new"));
		QCOMPARE(codeOf("ReleaseEdit"), "ok");
		QVERIFY(!editor->isReadOnly());
		QCOMPARE(codeOf("AcquireEdit", fixture->writing(other)), "ok");
	}

	void theDocksUserTakesTheNoteBack()
	{
		const auto acquire = [this] { return codeOf("AcquireEdit", fixture->writing()); };
		QTest::keyClicks(editor, "typed");
		QCOMPARE(acquire(), "busy");
		QCOMPARE(fixture->ask("GetState")["editor"].toString(), "OBS");
		QCOMPARE(codeOf("Scroll", {{"command", "seek"}, {"scene", first}, {"target", "1"}}), "busy");
		QTRY_COMPARE_WITH_TIMEOUT(acquire(), "ok", 3000);
		auto *read = fixture->action("Read");
		QVERIFY(editor->isReadOnly() && read->isChecked());
		QCOMPARE(editor->toolTip(), text("RemoteEditing"));
		read->trigger();
		QVERIFY(!editor->isReadOnly() && editor->toolTip().isEmpty());
		QCOMPARE(codeOf("SaveDocument", fixture->writing()), "busy");
		read->trigger();
		QCOMPARE(acquire(), "locked");
		read->trigger();
		QCOMPARE(acquire(), "ok");
		read->trigger();
		read->trigger();
		QVERIFY2(read->isChecked() && editor->isReadOnly(), "locking ends the lease");
		QVERIFY(!isEditing());
	}

	void savingKeepsTheView()
	{
		fixture->lines(2000);
		QTRY_VERIFY(fixture->bar()->maximum() > 9000);
		fixture->bar()->setValue(9000);
		QTRY_COMPARE_WITH_TIMEOUT(codeOf("AcquireEdit", fixture->writing()), "ok", 4000);
		const int saves = frontend().saves;
		for (int round = 0; round < 3; ++round) {
			const QJsonObject mine = fixture->writing();
			const QJsonObject sent =
				with(mine, "document", edited(mine["document"], QString::number(round)));
			QCOMPARE(fixture->ask("SaveDocument", sent)["revision"].toInt(), mine["revision"].toInt() + 1);
			QCOMPARE(fixture->bar()->value(), 9000);
		}
		QTest::qWait(700);
		QCOMPARE(fixture->bar()->value(), 9000);
		QVERIFY(isEditing());
		QCOMPARE(frontend().saves, saves);
	}

	void savingShowsWhatLoadingDoes()
	{
		const QString list = "<ol><li>one</li><li>two<ul><li>inner</li></ul></li><li>three</li></ol>";
		editor->setHtml(("<p>some <b>bold</b> words</p><p></p>" + list).repeated(5));
		QVERIFY(dock->flush(true, true));
		QTRY_COMPARE_WITH_TIMEOUT(codeOf("AcquireEdit", fixture->writing()), "ok", 4000);
		QRandomGenerator random(7);
		for (int round = 0; round < 60; ++round) {
			const QJsonObject mine = fixture->writing();
			QJsonArray blocks = mine["document"]["blocks"].toArray();
			const int at = random.bounded(static_cast<int>(blocks.size()));
			QJsonObject document = edited(mine["document"], QString::number(round) + "\u2028ü", at);
			const int kind = random.bounded(5);
			if (kind < 2) {
				kind == 0 ? blocks.insert(at, blocks[at].toObject()) : blocks.removeAt(at);
				document["blocks"] = blocks;
			} else if (kind == 2) {
				blocks[at] = with(blocks[at].toObject(), "align", 4);
				document["blocks"] = blocks;
			}
			QCOMPARE(codeOf("SaveDocument", with(mine, "document", document)), "ok");
			const QString shown = editor->toHtml();
			dock->bindScene(fixture->second);
			dock->bindScene(fixture->scene);
			QCOMPARE(shown, editor->toHtml());
		}
	}

	void eventsAreGathered()
	{
		auto &events = websocket().events;
		QTest::qWait(300);
		events.clear();
		QTest::keyClicks(editor, "a few words");
		QVERIFY(events.empty());
		QTRY_COMPARE(events.size(), 1U);
		QCOMPARE(events[0].type, "Changed");
		QCOMPARE(events[0].payload["changed"].toArray(), QJsonArray{first});
		QCOMPARE(events[0].payload.size(), 11);
		QVERIFY(events[0].payload["localEditing"].toBool());
		QTRY_COMPARE_WITH_TIMEOUT(events.size(), 2U, 4000);
		QVERIFY(!events[1].payload["localEditing"].toBool());
		QVERIFY(events[1].payload["changed"].toArray().isEmpty());
	}

	void noNotesWhileCollectionsChange()
	{
		const QJsonObject mine = fixture->writing();
		QCOMPARE(codeOf("AcquireEdit", mine), "ok");
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
		for (const char *action : {"Open", "GetState", "SaveDocument", "Nothing"}) {
			QCOMPARE(codeOf(action, mine), "loading");
		}
		dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
		QVERIFY(!isEditing());
		QCOMPARE(codeOf("AcquireEdit", mine), "conflict");
		QCOMPARE(codeOf("AcquireEdit", fixture->writing()), "ok");
	}

	void otherThreads()
	{
		const auto later = [this](const char *action) {
			return std::async(std::launch::async,
					  [sent = fixture->payload(action)] { return websocket().call(sent); });
		};
		auto answered = later("Open");
		QTRY_VERIFY(answered.wait_for(std::chrono::seconds(0)) == std::future_status::ready);
		QVERIFY(answered.get()["ok"].toBool());

		// This thread is busy: the request is given up, and never carried out.
		QElapsedTimer clock;
		clock.start();
		QCOMPARE(later("Open").get()["code"].toString(), "timeout");
		QVERIFY(clock.elapsed() >= 3000 && clock.elapsed() < 4000);
		QCoreApplication::processEvents();
		openTheRest(2);

		std::vector<std::future<QJsonObject>> waiting(8);
		std::ranges::generate(waiting, [&] { return later("GetState"); });
		QThread::msleep(300);
		QCOMPARE(later("GetState").get()["code"].toString(), "capacity");
		clock.restart();
		remote().shutdown();
		for (auto &request : waiting) {
			QCOMPARE(request.get()["code"].toString(), "disabled");
		}
		QVERIFY(clock.elapsed() < 1000);
		QVERIFY(!websocket().callback && !remote().listen("127.0.0.1", 0));
	}

	void settingsDialog()
	{
		QTcpServer taken;
		QVERIFY(taken.listen(QHostAddress::LocalHost));
		const QString oldLink = remote().url();
		const QString oldToken = fixture->token();
		inNext<QDialog>([&](QDialog &dialog) {
			QCOMPARE(dialog.objectName(), "remoteSettings");
			auto *enabled = dialog.findChild<QCheckBox *>("remoteEnabled");
			auto *status = dialog.findChild<QLabel *>("remoteStatus");
			auto *qr = dialog.findChild<QrLabel *>("remoteQR");
			const auto press = [&](const char *name) { dialog.findChild<QPushButton *>(name)->click(); };
			QVERIFY(enabled->isChecked());
			QCOMPARE(dialog.findChild<QComboBox *>("remoteAddress")->currentData().toString(), "127.0.0.1");
			QCOMPARE(readQr(qr->pixmap()), oldLink);
			press("remoteCopy");
			QCOMPARE(QGuiApplication::clipboard()->text(), oldLink);

			dialog.findChild<QSpinBox *>("remotePort")->setValue(taken.serverPort());
			QCOMPARE(status->text(), text("RemotePending"));
			press("remoteApply");
			QVERIFY(status->text().startsWith(text("RemoteListenFailed")) && !qr->isVisible());
			taken.close();
			press("remoteApply");
			QVERIFY(status->text().isEmpty());
			QCOMPARE(readQr(qr->pixmap()), remote().url());
			fixture->session = fixture->ask("Open")["session"].toString();

			press("remoteReset");
			QCOMPARE(fixture->token(), oldToken);
			press("remoteApply");
			QVERIFY(fixture->token() != oldToken && fixture->token().size() == 22);
			QCOMPARE(codeOf("GetState", {{"access", oldToken}}), "access");
			QCOMPARE(codeOf("GetState"), "session");
			enabled->setChecked(false);
			press("remoteApply");
			QVERIFY(remote().url().isEmpty() &&
				!dialog.findChild<QPushButton *>("remoteCopy")->isEnabled());
			dialog.reject();
		});
		remote().showSettings();
		fixture->dock.reset();
		QVERIFY(!fixture->saved("remote/enabled").toBool());
		QVERIFY(fixture->saved("remote/access").toString() != oldToken);
		QVERIFY(fixture->saved("remote/port").toInt() > 1023);
	}

	void qrCode()
	{
		for (const QString &text : {remote().url(), u"ü 日本 😀"_s, QString(800, u'x')}) {
			QCOMPARE(readQr(qrPixmap(text, 240)), text);
		}
		QVERIFY(qrPixmap(QString(300, u'x'), 64).isNull() && qrPixmap(QString(5000, u'x'), 4000).isNull());

		QTest::mouseClick(fixture->find<QToolButton>("remoteQrButton"), Qt::LeftButton);
		QCOMPARE(QGuiApplication::clipboard()->text(), remote().url());
		auto *overlay = fixture->find<QLabel>("remoteQrOverlay");
		QWidget *viewport = editor->viewport();
		QVERIFY(overlay && overlay->isVisible());
		QCOMPARE(readQr(overlay->grab()), remote().url());
		QCOMPARE(overlay->geometry().topRight(), viewport->mapTo(dock, viewport->rect().topRight()));
		QTest::keyClick(editor, Qt::Key_Escape);
		QVERIFY(!overlay->isVisible());
	}

private:
	Remote &remote() const { return fixture->remote(); }
	QString codeOf(const QString &action, const QJsonObject &fields = {}) const
	{
		return fixture->ask(action, fields)["code"].toString("ok");
	}
	bool isEditing() const { return fixture->ask("KeepAlive")["editing"].toBool(); }
	// Opens what sessions there may be beside so many, and one too many.
	void openTheRest(int open) const
	{
		for (; open <= 16; ++open) {
			QCOMPARE(codeOf("Open"), open < 16 ? "ok" : "capacity");
		}
	}

	std::unique_ptr<RemoteFixture> fixture;
	Dock *dock = nullptr;
	Editor *editor = nullptr;
	QString first;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::RemoteTest)
#include "remote_test.moc"
