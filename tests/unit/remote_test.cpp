// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/fake_websocket.hpp"

#include "dock/dock.hpp"
#include "editor/editor.hpp"
#include "plugin/text.hpp"
#include "remote/qr.hpp"
#include "remote/remote.hpp"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QToolButton>

#include <future>

namespace quillbay::test {

namespace {

using Fields = QJsonObject;

// What a QR reader makes of the picture.
QString readQr(const QPixmap &pixmap)
{
	const QTemporaryDir folder;
	const QString file = folder.filePath(QStringLiteral("qr.png"));
	QProcess reader;
	reader.start(QStringLiteral("zbarimg"), {QStringLiteral("-q"), QStringLiteral("--raw"), file});
	return pixmap.save(file) && reader.waitForFinished() ? QString::fromUtf8(reader.readAll()).trimmed()
							     : reader.errorString();
}

} // namespace

class RemoteTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init();
	void cleanup();
	void withoutObsWebsocket();
	void listensOnOneAddressOnly();
	void errors_data();
	void errors();
	void payloads();
	void sessionsAndNames();
	void oneWriterAtATime();
	void theDocksUserTakesTheNoteBack();
	void savingKeepsTheView();
	void eventsAreGathered();
	void noNotesWhileCollectionsChange();
	void scrolling();
	void otherThreads();
	void settingsDialog();
	void qrCode();

private:
	QString settingsPath() const { return folder->filePath(QStringLiteral("settings.ini")); }
	Remote &remote() const { return dock->remoteService(); }
	QString token() const { return remote().url().section(QLatin1Char('#'), 1); }
	QJsonObject payload(const QString &action, const Fields &fields = {}) const;
	QJsonObject ask(const QString &action, const Fields &fields = {}) const
	{
		return websocket().call(payload(action, fields));
	}
	QString codeOf(const QString &action, const Fields &fields = {}) const
	{
		return ask(action, fields)["code"].toString(QStringLiteral("ok"));
	}
	/// What a write of the first scene's note must name; the epoch and revision are the current ones.
	Fields writing(const QString &by = {}) const;
	static QJsonObject edited(const QJsonObject &document, const QString &text);

	std::unique_ptr<QTemporaryDir> folder;
	std::unique_ptr<Dock> dock;
	Editor *editor = nullptr;
	OBSSource first;
	OBSSource second;
	QString session;
};

void RemoteTest::init()
{
	frontend() = {};
	websocket() = {};
	const bool hasWebsocket = qstrcmp(QTest::currentTestFunction(), "withoutObsWebsocket") != 0;
	if (hasWebsocket) {
		FakeWebsocket::install();
	}
	folder = std::make_unique<QTemporaryDir>();
	QSettings file(settingsPath(), QSettings::IniFormat);
	file.setValue("remote/enabled", true);
	file.setValue("remote/address", "127.0.0.1");
	file.setValue("remote/port", 0); // any
	file.sync();
	first = makeScene(QStringLiteral("First")).Get();
	second = makeScene(QStringLiteral("Second")).Get();
	frontend().currentScene = first;
	frontend().scenes = {first, second};
	dock = std::make_unique<Dock>(settingsPath());
	editor = dock->findChild<Editor *>();
	dock->resize(1000, 500);
	dock->show();
	remote().initialize();
	dock->frontendEvent(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	session = ask(QStringLiteral("Open"))["session"].toString();
	QCOMPARE(session.size(), hasWebsocket ? 36 : 0);
}

void RemoteTest::cleanup()
{
	dock.reset();
	frontend() = {};
	removeScenes();
	first = nullptr;
	second = nullptr;
}

QJsonObject RemoteTest::payload(const QString &action, const Fields &fields) const
{
	QJsonObject object{{"access", token()}, {"session", session}, {"action", action}};
	for (auto field = fields.begin(); field != fields.end(); ++field) {
		object.insert(field.key(), field.value());
	}
	return object;
}

Fields RemoteTest::writing(const QString &by) const
{
	const QJsonObject now = ask(QStringLiteral("GetDocument"), {{"scene", uuidOf(first)}});
	return {{"session", by.isEmpty() ? session : by},
		{"scene", uuidOf(first)},
		{"epoch", now["epoch"]},
		{"revision", now["revision"]},
		{"document", now}};
}

// The document with its first paragraph's text replaced.
QJsonObject RemoteTest::edited(const QJsonObject &document, const QString &text)
{
	QJsonArray blocks = document["blocks"].toArray();
	QJsonObject block = blocks[0].toObject();
	QJsonObject run = block["runs"].toArray().first().toObject();
	run.insert("text", text);
	run.insert("weight", run["weight"].toInt(400));
	run.insert("size", run["size"].toDouble());
	block.insert("runs", QJsonArray{run});
	blocks[0] = block;
	return {{"blocks", blocks}};
}

void RemoteTest::withoutObsWebsocket()
{
	QVERIFY(remote().url().isEmpty());
	QTimer::singleShot(0, this, [] {
		auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
		dialog->findChild<QCheckBox *>("remoteEnabled")->setChecked(true);
		dialog->findChild<QSpinBox *>("remotePort")->setValue(12345);
		dialog->findChild<QPushButton *>("remoteApply")->click();
		QCOMPARE(dialog->findChild<QLabel *>("remoteStatus")->text(), text("RemoteUnavailable"));
		dialog->reject();
	});
	remote().showSettings();
	dock.reset();
	QCOMPARE(QSettings(settingsPath(), QSettings::IniFormat).value("remote/port").toInt(), 0);
}

void RemoteTest::listensOnOneAddressOnly()
{
	const QString before = token();
	for (const char *address : {"0.0.0.0", "::1", "::", "224.0.0.1", "localhost", "192.0.2.1", ""}) {
		QVERIFY2(!remote().listen(QLatin1StringView(address), 0) && remote().url().isEmpty(), address);
	}
	QCOMPARE(codeOf(QStringLiteral("GetState")), QStringLiteral("disabled"));
	QVERIFY(remote().listen(QStringLiteral("127.0.0.2"), 0));
	QVERIFY(remote().url().startsWith(QLatin1StringView("http://127.0.0.2:")));
	QCOMPARE(token(), before);
	QCOMPARE(token().size(), 22);
	QVERIFY2(codeOf(QStringLiteral("GetState")) == QLatin1StringView("session"), "a new start ends all sessions");
}

void RemoteTest::errors_data()
{
	QTest::addColumn<QJsonObject>("fields");
	QTest::addColumn<QString>("code");
	const auto row = [](const char *action, const Fields &fields, const char *code) {
		QJsonObject all = fields;
		all.insert("action", action);
		const QByteArray name = QJsonDocument(all).toJson(QJsonDocument::Compact).left(90);
		QTest::newRow((QByteArray(code) + ' ' + name).constData()) << all << QString::fromLatin1(code);
	};
	for (const QJsonValue &wrong : {QJsonValue("x"), QJsonValue(""), QJsonValue(7), QJsonValue(QString(22, 'A')),
					QJsonValue(QString(100'000, 'A')), QJsonValue(QJsonArray{1})}) {
		row("Open", {{"access", wrong}}, "access");
	}
	for (const QJsonValue &wrong : {QJsonValue("nobody"), QJsonValue(""), QJsonValue(true), QJsonValue()}) {
		row("GetState", {{"session", wrong}}, "session");
	}
	for (const char *action : {"", "open", "Nothing"}) {
		row(action, {}, "action");
	}
	for (const char *action : {"GetDocument", "ExportHtml", "ExportText", "AcquireEdit", "SaveDocument"}) {
		row(action, {{"scene", "nowhere"}, {"revision", 0}}, "scene");
		row(action, {{"scene", QJsonObject()}, {"revision", 0}}, "scene");
	}
	for (const char *action : {"AcquireEdit", "SaveDocument", "CheckImport", "ReplaceDocument"}) {
		for (const QJsonValue &wrong :
		     {QJsonValue("0"), QJsonValue(), QJsonValue(1), QJsonValue(0.5), QJsonValue(-1e300)}) {
			row(action, {{"revision", wrong}}, "conflict");
		}
		row(action, {{"epoch", "another"}}, "conflict");
	}
	for (const char *action : {"SaveDocument", "CheckImport", "ReplaceDocument"}) {
		row(action, {}, "lease");
	}
	for (const QJsonValue &wrong :
	     {QJsonValue(0.9), QJsonValue(5.1), QJsonValue(1e308), QJsonValue("2"), QJsonValue()}) {
		row("Scroll", {{"command", "speed"}, {"speed", wrong}}, "range");
	}
	row("Scroll", {{"command", "speed"}, {"speed", 5.0}}, "ok");
	row("Scroll", {{"command", "speed"}, {"speed", 1.0}}, "ok");
	row("Scroll", {{"command", "jump"}}, "command");
	row("Scroll", {}, "command");
	row("Scroll", {{"command", "seek"}, {"scene", "nowhere"}, {"target", "1"}}, "scene");
	row("Scroll", {{"command", "seek"}, {"target", "101%"}}, "range");
	row("Scroll", {{"command", "seek"}, {"target", 1}}, "range");
	row("Scroll", {{"command", "seek"}, {"target", "1"}}, "ok");
}

void RemoteTest::errors()
{
	QFETCH(QJsonObject, fields);
	QFETCH(QString, code);
	QJsonObject all = writing();
	for (auto field = fields.begin(); field != fields.end(); ++field) {
		all.insert(field.key(), field.value());
	}
	const QJsonObject reply = ask(fields["action"].toString(), all);
	QCOMPARE(reply["code"].toString(QStringLiteral("ok")), code);
	QCOMPARE(reply["ok"].toBool(), code == QLatin1StringView("ok"));
	QVERIFY(reply["ok"].toBool() || reply.size() == 2);
}

void RemoteTest::payloads()
{
	const QByteArray format = "{\"code\":\"format\",\"ok\":false}";
	for (const QByteArray &bad : {QByteArray(), QByteArray("7"), QByteArray("[]"), QByteArray("{"),
				      QByteArray("null"), QByteArray("\xff\xfe{}"), QByteArray("[").repeated(100'000),
				      QByteArray("{\"a\":").repeated(100'000), QByteArray(6'291'456, ' ')}) {
		QCOMPARE(websocket().call(bad), format);
	}
	QCOMPARE(websocket().call(QByteArray(6'291'457, ' ')), QByteArray("{\"code\":\"size\",\"ok\":false}"));
	QVERIFY(websocket().call(QByteArray("{}")).contains("access"));
}

void RemoteTest::sessionsAndNames()
{
	const std::pair<QString, QString> names[] = {
		{QString(40, 'n'), QString(32, 'n')},
		{QStringLiteral("  my \t phone "), QStringLiteral("my phone")},
		{QString::fromUtf16(u" \0 \0 ", 5), text("RemoteDevice")},
		{QString(), text("RemoteDevice")},
		{QString(31, 'n') + QStringLiteral("😀"), QString(31, 'n')},
		{QStringLiteral("<b>&\"'"), QStringLiteral("<b>&\"'")},
	};
	for (const auto &[given, shown] : names) {
		const QString id = ask(QStringLiteral("Open"), {{"name", given}})["session"].toString();
		const QJsonObject reply = ask(QStringLiteral("AcquireEdit"), writing(id));
		QVERIFY2(reply["ok"].toBool(), qPrintable(reply["code"].toString()));
		QCOMPARE(ask(QStringLiteral("GetState"))["editor"].toString(), shown);
		ask(QStringLiteral("ReleaseEdit"), {{"session", id}});
	}
	for (int open = 1 + static_cast<int>(std::size(names)); open < 16; ++open) {
		QCOMPARE(codeOf(QStringLiteral("Open")), QStringLiteral("ok"));
	}
	QCOMPARE(codeOf(QStringLiteral("Open")), QStringLiteral("capacity"));
	QCOMPARE(ask(QStringLiteral("GetState")).size(), 11);
}

void RemoteTest::oneWriterAtATime()
{
	const QString other = ask(QStringLiteral("Open"))["session"].toString();
	Fields mine = writing();
	const QJsonObject note = ask(QStringLiteral("AcquireEdit"), mine);
	QVERIFY(note["ok"].toBool() && note["editable"].toBool());
	QVERIFY(ask(QStringLiteral("KeepAlive"))["editing"].toBool());
	QVERIFY(!ask(QStringLiteral("KeepAlive"), {{"session", other}})["editing"].toBool());
	for (const char *action : {"AcquireEdit", "SaveDocument", "CheckImport", "ReplaceDocument"}) {
		QCOMPARE(codeOf(QLatin1StringView(action), writing(other)), QStringLiteral("busy"));
	}
	Fields elsewhere = mine;
	elsewhere.insert("scene", uuidOf(second));
	QCOMPARE(codeOf(QStringLiteral("AcquireEdit"), elsewhere), QStringLiteral("busy"));
	QVERIFY(remote().sceneInUse(uuidOf(first)) && !remote().sceneInUse(uuidOf(second)) && !remote().sceneInUse({}));

	mine.insert("document", edited(note, QStringLiteral("from a phone")));
	const QJsonObject saved = ask(QStringLiteral("SaveDocument"), mine);
	QCOMPARE(saved["revision"].toInt(), 1);
	QCOMPARE(editor->toPlainText(), QStringLiteral("from a phone"));
	QCOMPARE(codeOf(QStringLiteral("SaveDocument"), mine), QStringLiteral("conflict"));
	mine.insert("revision", 1);
	QCOMPARE(ask(QStringLiteral("SaveDocument"), mine)["revision"].toInt(), 1);
	QCOMPARE(ask(QStringLiteral("ExportText"), {{"scene", uuidOf(first)}})["text"].toString(),
		 QStringLiteral("from a phone"));

	mine.insert("document", QJsonObject{{"blocks", 1}});
	QCOMPARE(codeOf(QStringLiteral("SaveDocument"), mine), QStringLiteral("format"));
	mine.insert("document", edited(note, QString(10'001, 'x')));
	QCOMPARE(codeOf(QStringLiteral("ReplaceDocument"), mine), QStringLiteral("limit"));
	mine.insert("document", edited(note, QStringLiteral("all new")));
	const QJsonObject replaced = ask(QStringLiteral("ReplaceDocument"), mine);
	QCOMPARE(replaced["revision"].toInt(), 2);
	QVERIFY(replaced["blocks"].isArray() && !replaced["simplified"].toBool(true));
	QVERIFY(dock->store().read(first).contains(QLatin1StringView("all new")));
	ask(QStringLiteral("ReleaseEdit"));
	QVERIFY(!editor->isReadOnly());
	QCOMPARE(codeOf(QStringLiteral("AcquireEdit"), writing(other)), QStringLiteral("ok"));
}

void RemoteTest::theDocksUserTakesTheNoteBack()
{
	QTest::keyClicks(editor, QStringLiteral("typed"));
	QCOMPARE(codeOf(QStringLiteral("AcquireEdit"), writing()), QStringLiteral("busy"));
	QCOMPARE(ask(QStringLiteral("GetState"))["editor"].toString(), QStringLiteral("OBS"));
	QCOMPARE(codeOf(QStringLiteral("Scroll"), {{"command", "seek"}, {"scene", uuidOf(first)}, {"target", "1"}}),
		 QStringLiteral("busy"));
	QTRY_COMPARE_WITH_TIMEOUT(codeOf(QStringLiteral("AcquireEdit"), writing()), QStringLiteral("ok"), 3000);
	QVERIFY(editor->isReadOnly());
	QCOMPARE(editor->toolTip(), text("RemoteEditing"));
	auto *read = dock->findChild<QAction *>("Read");
	QVERIFY(read->isChecked());
	read->trigger();
	QVERIFY(!editor->isReadOnly() && editor->toolTip().isEmpty());
	QCOMPARE(codeOf(QStringLiteral("SaveDocument"), writing()), QStringLiteral("busy"));
	read->trigger();
	QCOMPARE(codeOf(QStringLiteral("AcquireEdit"), writing()), QStringLiteral("locked"));
	read->trigger();
	QCOMPARE(codeOf(QStringLiteral("AcquireEdit"), writing()), QStringLiteral("ok"));
	read->trigger();
	read->trigger();
	QVERIFY2(read->isChecked() && editor->isReadOnly(), "locking ends the lease");
	QVERIFY(!ask(QStringLiteral("KeepAlive"))["editing"].toBool());
}

void RemoteTest::savingKeepsTheView()
{
	editor->setPlainText(QStringLiteral("a line\n").repeated(2000));
	QVERIFY(dock->flush(true, true));
	remote().stop();
	QVERIFY(remote().listen(QStringLiteral("127.0.0.1"), 0));
	session = ask(QStringLiteral("Open"))["session"].toString();
	QScrollBar *bar = editor->verticalScrollBar();
	QTRY_VERIFY(bar->maximum() > 9000);
	bar->setValue(9000);
	Fields mine = writing();
	const QJsonObject note = ask(QStringLiteral("AcquireEdit"), mine);
	QVERIFY(note["ok"].toBool());
	const int saves = frontend().saves;
	for (int revision = 0; revision < 3; ++revision) {
		mine.insert("revision", revision);
		mine.insert("document", edited(note, QString::number(revision)));
		QCOMPARE(ask(QStringLiteral("SaveDocument"), mine)["revision"].toInt(), revision + 1);
		QCOMPARE(bar->value(), 9000);
	}
	QTest::qWait(700);
	QCOMPARE(ask(QStringLiteral("KeepAlive"))["editing"].toBool(), true);
	QCOMPARE(codeOf(QStringLiteral("CheckImport"), writing()), QStringLiteral("ok"));
	QCOMPARE(writing()["revision"].toInt(), 3);
	QCOMPARE(frontend().saves, saves);
}

void RemoteTest::eventsAreGathered()
{
	QTRY_VERIFY(!websocket().events.empty());
	QTest::qWait(300);
	auto &events = websocket().events;
	events.clear();
	QTest::keyClicks(editor, QStringLiteral("a few words"));
	QVERIFY(events.empty());
	QTRY_COMPARE(events.size(), 1U);
	QCOMPARE(events[0].type, QStringLiteral("Changed"));
	QCOMPARE(events[0].payload["changed"].toArray(), QJsonArray{uuidOf(first)});
	QCOMPARE(events[0].payload.size(), 11);
	QVERIFY(events[0].payload["localEditing"].toBool());
	QTRY_COMPARE_WITH_TIMEOUT(events.size(), 2U, 4000);
	QVERIFY(!events[1].payload["localEditing"].toBool() && events[1].payload["changed"].toArray().isEmpty());

	editor->setPlainText(QStringLiteral("a line\n").repeated(500));
	QTRY_COMPARE(events.size(), 3U);
	editor->verticalScrollBar()->setValue(100);
	QTRY_COMPARE(events.size(), 4U);
	QCOMPARE(events[3].type, QStringLiteral("Scroll"));
	QCOMPARE(events[3].payload, (QJsonObject{{"epoch", events[0].payload["epoch"]},
						 {"scene", uuidOf(first)},
						 {"position", dock->scrollProgress()}}));
	obs_source_set_name(second, "Renamed");
	dock->sceneRenamed(second);
	QTRY_COMPARE_WITH_TIMEOUT(events.size(), 5U, 1000);
	QCOMPARE(events[4].payload["scenes"].toArray()[1].toObject()["name"].toString(), QStringLiteral("Renamed"));
}

void RemoteTest::noNotesWhileCollectionsChange()
{
	Fields mine = writing();
	QCOMPARE(codeOf(QStringLiteral("AcquireEdit"), mine), QStringLiteral("ok"));
	QTest::qWait(300);
	websocket().events.clear();
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	for (const char *action : {"Open", "GetState", "SaveDocument", "Nothing"}) {
		QCOMPARE(codeOf(QLatin1StringView(action), mine), QStringLiteral("loading"));
	}
	QTRY_COMPARE(websocket().events.size(), 1U);
	QVERIFY(websocket().events[0].payload["scenes"].toArray().isEmpty());
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	QVERIFY(!ask(QStringLiteral("KeepAlive"))["editing"].toBool());
	QCOMPARE(codeOf(QStringLiteral("AcquireEdit"), mine), QStringLiteral("conflict"));
	QCOMPARE(codeOf(QStringLiteral("AcquireEdit"), writing()), QStringLiteral("ok"));
	obs_source_remove(first);
	frontend().currentScene = second;
	frontend().scenes = {second};
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_LIST_CHANGED);
	first = nullptr;
	obs_wait_for_destroy_queue();
	QVERIFY2(!ask(QStringLiteral("KeepAlive"))["editing"].toBool(), "the lease ends with its scene");
}

void RemoteTest::scrolling()
{
	editor->setPlainText(QStringLiteral("a line\n").repeated(500));
	const auto scroll = [this](const char *command) {
		return ask(QStringLiteral("Scroll"), {{"command", command}});
	};
	QVERIFY(scroll("start")["scrolling"].toBool());
	QVERIFY(scroll("start")["locked"].toBool());
	QVERIFY(!scroll("pause")["scrolling"].toBool());
	const Fields seek{{"command", "seek"}, {"scene", uuidOf(first)}, {"target", "50%"}};
	QVERIFY(std::abs(ask(QStringLiteral("Scroll"), seek)["position"].toDouble() - 0.5) < 0.01);
	QCOMPARE(scroll("top")["position"].toDouble(), 0.0);
	QCOMPARE(ask(QStringLiteral("Scroll"), {{"command", "speed"}, {"speed", 2.5}})["speed"].toDouble(), 2.5);
}

void RemoteTest::otherThreads()
{
	const auto later = [this](const char *action) {
		return std::async(std::launch::async,
				  [request = payload(QLatin1StringView(action))] { return websocket().call(request); });
	};
	const auto isReady = [](const auto &future) {
		return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
	};
	auto answered = later("Open");
	QTRY_VERIFY(isReady(answered));
	QVERIFY(answered.get()["ok"].toBool());

	// This thread is busy: the request is given up, and never carried out.
	QElapsedTimer clock;
	clock.start();
	QCOMPARE(later("Open").get()["code"].toString(), QStringLiteral("timeout"));
	QVERIFY(clock.elapsed() >= 3000 && clock.elapsed() < 4000);
	QCoreApplication::processEvents();
	for (int open = 2; open < 16; ++open) {
		QCOMPARE(codeOf(QStringLiteral("Open")), QStringLiteral("ok"));
	}
	QCOMPARE(codeOf(QStringLiteral("Open")), QStringLiteral("capacity"));

	std::vector<std::future<QJsonObject>> waiting;
	for (int i = 0; i < 8; ++i) {
		waiting.push_back(later("GetState"));
	}
	QThread::msleep(300);
	QCOMPARE(later("GetState").get()["code"].toString(), QStringLiteral("capacity"));
	clock.restart();
	remote().shutdown();
	for (auto &request : waiting) {
		QCOMPARE(request.get()["code"].toString(), QStringLiteral("disabled"));
	}
	QVERIFY(clock.elapsed() < 1000);
	QVERIFY(!websocket().callback);
	QVERIFY(!remote().listen(QStringLiteral("127.0.0.1"), 0));
}

void RemoteTest::settingsDialog()
{
	QTcpServer taken;
	QVERIFY(taken.listen(QHostAddress::LocalHost));
	const QString oldLink = remote().url();
	const QString oldToken = token();
	QTimer::singleShot(0, this, [&] {
		auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
		QVERIFY(dialog && dialog->objectName() == QLatin1StringView("remoteSettings"));
		auto *enabled = dialog->findChild<QCheckBox *>("remoteEnabled");
		auto *address = dialog->findChild<QComboBox *>("remoteAddress");
		auto *port = dialog->findChild<QSpinBox *>("remotePort");
		auto *status = dialog->findChild<QLabel *>("remoteStatus");
		auto *qr = dialog->findChild<QrLabel *>("remoteQR");
		const auto press = [dialog](const char *name) { dialog->findChild<QPushButton *>(name)->click(); };
		QVERIFY(enabled->isChecked());
		QCOMPARE(address->currentData().toString(), QStringLiteral("127.0.0.1"));
		QCOMPARE(address->currentIndex(), address->count() - 1);
		QCOMPARE(readQr(qr->pixmap()), oldLink);
		QVERIFY(qr->isVisible() && qr->width() == qr->height());
		press("remoteCopy");
		QCOMPARE(QGuiApplication::clipboard()->text(), oldLink);

		port->setValue(taken.serverPort());
		QCOMPARE(status->text(), text("RemotePending"));
		press("remoteApply");
		QVERIFY(status->text().startsWith(text("RemoteListenFailed")) && status->toolTip() == status->text());
		QVERIFY(!qr->isVisible());
		taken.close();
		press("remoteApply");
		QVERIFY(status->text().isEmpty());
		QCOMPARE(readQr(qr->pixmap()), remote().url());
		session = ask(QStringLiteral("Open"))["session"].toString();

		press("remoteReset");
		QCOMPARE(status->text(), text("RemotePending"));
		QCOMPARE(token(), oldToken);
		press("remoteApply");
		QVERIFY(token() != oldToken && token().size() == 22);
		QCOMPARE(codeOf(QStringLiteral("GetState"), {{"access", oldToken}}), QStringLiteral("access"));
		QCOMPARE(codeOf(QStringLiteral("GetState")), QStringLiteral("session"));
		enabled->setChecked(false);
		press("remoteApply");
		QVERIFY(remote().url().isEmpty() && !dialog->findChild<QPushButton *>("remoteCopy")->isEnabled());
		dialog->reject();
	});
	remote().showSettings();
	dock.reset();
	QSettings saved(settingsPath(), QSettings::IniFormat);
	QVERIFY(!saved.value("remote/enabled").toBool() && saved.value("remote/port").toInt() > 1023);
	QVERIFY(saved.value("remote/access").toString() != oldToken);
}

void RemoteTest::qrCode()
{
	for (const QString &text : {remote().url(), QStringLiteral("ü 日本 😀"), QString(800, 'x')}) {
		QCOMPARE(readQr(qrPixmap(text, 240)), text);
	}
	QVERIFY(qrPixmap(QString(300, 'x'), 64).isNull());
	QVERIFY(qrPixmap(QString(5000, 'x'), 4000).isNull());

	QTest::mouseClick(dock->findChild<QToolButton *>("remoteQrButton"), Qt::LeftButton);
	QCOMPARE(QGuiApplication::clipboard()->text(), remote().url());
	auto *overlay = dock->findChild<QLabel *>("remoteQrOverlay");
	const QWidget *viewport = editor->viewport();
	QVERIFY(overlay && overlay->isVisible());
	QCOMPARE(readQr(overlay->grab()), remote().url());
	QCOMPARE(overlay->geometry().topRight(), viewport->mapTo(dock.get(), viewport->rect().topRight()));
	QTest::keyClick(editor, Qt::Key_Escape);
	QVERIFY(!overlay->isVisible());
	remote().toggleQr(editor->viewport());
	QVERIFY(overlay->isVisible());
	remote().stop();
	QVERIFY(!overlay->isVisible());
	remote().toggleQr(editor->viewport());
	QVERIFY(!overlay->isVisible());
}

} // namespace quillbay::test

int main(int argc, char *argv[])
{
	return quillbay::test::run<quillbay::test::RemoteTest>(argc, argv);
}

#include "remote_test.moc"
