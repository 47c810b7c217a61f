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

using namespace Qt::StringLiterals;
using Fields = QJsonObject;

// What a QR reader makes of the picture.
QString readQr(const QPixmap &pixmap)
{
	const QTemporaryDir folder;
	const QString file = folder.filePath(u"qr.png"_s);
	QProcess reader;
	reader.start(u"zbarimg"_s, {u"-q"_s, u"--raw"_s, file});
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
	void errors();
	void payloads();
	void sessionsAndNames();
	void oneWriterAtATime();
	void theDocksUserTakesTheNoteBack();
	void savingKeepsTheView();
	void savingShowsWhatLoadingDoes();
	void eventsAreGathered();
	void noNotesWhileCollectionsChange();
	void scrolling();
	void otherThreads();
	void settingsDialog();
	void qrCode();

private:
	QString settingsPath() const { return folder->filePath(u"settings.ini"_s); }
	Remote &remote() const { return dock->remoteService(); }
	QString token() const { return remote().url().section(QLatin1Char('#'), 1); }
	QJsonObject payload(const char *action, const Fields &fields = {}) const;
	QJsonObject ask(const char *action, const Fields &fields = {}) const
	{
		return websocket().call(payload(action, fields));
	}
	QByteArray codeOf(const char *action, const Fields &fields = {}) const
	{
		return ask(action, fields)["code"].toString("ok").toLatin1();
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
	first = makeScene(u"First"_s).Get();
	second = makeScene(u"Second"_s).Get();
	frontend().currentScene = first;
	frontend().scenes = {first, second};
	dock = std::make_unique<Dock>(settingsPath());
	editor = dock->findChild<Editor *>();
	dock->resize(1000, 500);
	dock->show();
	remote().initialize();
	dock->frontendEvent(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	session = ask("Open")["session"].toString();
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

QJsonObject RemoteTest::payload(const char *action, const Fields &fields) const
{
	QVariantMap all{{"access", token()}, {"session", session}, {"action", action}};
	all.insert(fields.toVariantMap());
	return QJsonObject::fromVariantMap(all);
}

Fields RemoteTest::writing(const QString &by) const
{
	const QJsonObject now = ask("GetDocument", {{"scene", uuidOf(first)}});
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
	QCOMPARE(codeOf("GetState"), "disabled");
	QVERIFY(remote().listen(u"127.0.0.2"_s, 0));
	QVERIFY(remote().url().startsWith("http://127.0.0.2:"_L1));
	QCOMPARE(token(), before);
	QCOMPARE(token().size(), 22);
	QCOMPARE(codeOf("GetState"), "session"); // a new start ends all
}

void RemoteTest::errors()
{
	const auto row = [this](const char *action, const Fields &fields, const char *code) {
		QVariantMap all = writing().toVariantMap();
		all.insert(fields.toVariantMap());
		const QJsonObject reply = ask(action, QJsonObject::fromVariantMap(all));
		const QByteArray got = reply["code"].toString("ok").toLatin1();
		const QByteArray sent = QJsonDocument(fields).toJson(QJsonDocument::Compact).left(90);
		const QByteArray what = action + (' ' + sent + ": " + got);
		QVERIFY2(got == code && (got == "ok" || reply.size() == 2), what.constData());
	};
	for (const QJsonValue &wrong : {QJsonValue("x"), QJsonValue(7), QJsonValue(QString(22, 'A')),
					QJsonValue(QString(100'000, 'A')), QJsonValue(QJsonArray{1})}) {
		row("Open", {{"access", wrong}}, "access");
		row("GetState", {{"session", wrong}}, "session");
	}
	for (const char *action : {"", "open", "Nothing"}) {
		row(action, {}, "action");
	}
	for (const char *action : {"GetDocument", "ExportHtml", "ExportText", "AcquireEdit", "SaveDocument"}) {
		for (const QJsonValue &wrong :
		     {QJsonValue("nowhere"), QJsonValue(QJsonObject()), QJsonValue(uuidOf(first) + QChar::Null)}) {
			row(action, {{"scene", wrong}, {"revision", 0}}, "scene");
		}
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
	const std::tuple<QJsonValue, QJsonValue, const char *> speeds[] = {
		{"speed", 0.9, "range"}, {"speed", 5.1, "range"}, {"speed", 1e308, "range"},
		{"speed", "2", "range"}, {"speed", {}, "range"},  {"speed", 5.0, "ok"},
		{"speed", 1.0, "ok"},    {"jump", 1, "command"},  {{}, 1, "command"}};
	for (const auto &[command, speed, code] : speeds) {
		row("Scroll", {{"command", command}, {"speed", speed}}, code);
	}
	row("Scroll", {{"command", "seek"}, {"scene", "nowhere"}, {"target", "1"}}, "scene");
	row("Scroll", {{"command", "seek"}, {"target", "101%"}}, "range");
	row("Scroll", {{"command", "seek"}, {"target", 1}}, "range");
	row("Scroll", {{"command", "seek"}, {"target", "1"}}, "ok");
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
		{u"  my \t phone "_s, u"my phone"_s},
		{QString::fromUtf16(u" \0 \0 ", 5), text("RemoteDevice")},
		{QString(), text("RemoteDevice")},
		{QString(31, 'n') + u"😀"_s, QString(31, 'n')},
		{QStringLiteral("<b>&\"'"), QStringLiteral("<b>&\"'")},
	};
	for (const auto &[given, shown] : names) {
		const QString id = ask("Open", {{"name", given}})["session"].toString();
		const QJsonObject reply = ask("AcquireEdit", writing(id));
		QVERIFY2(reply["ok"].toBool(), qPrintable(reply["code"].toString()));
		QCOMPARE(ask("GetState")["editor"].toString(), shown);
		ask("ReleaseEdit", {{"session", id}});
	}
	for (int open = 1 + static_cast<int>(std::size(names)); open < 16; ++open) {
		QCOMPARE(codeOf("Open"), "ok");
	}
	QCOMPARE(codeOf("Open"), "capacity");
	QCOMPARE(ask("GetState").size(), 11);
}

void RemoteTest::oneWriterAtATime()
{
	const QString other = ask("Open")["session"].toString();
	Fields mine = writing();
	const QJsonObject note = ask("AcquireEdit", mine);
	QVERIFY(note["ok"].toBool() && note["editable"].toBool());
	QVERIFY(ask("KeepAlive")["editing"].toBool());
	QVERIFY(!ask("KeepAlive", {{"session", other}})["editing"].toBool());
	for (const char *action : {"AcquireEdit", "SaveDocument", "CheckImport", "ReplaceDocument"}) {
		QCOMPARE(codeOf(action, writing(other)), "busy");
	}
	Fields elsewhere = mine;
	elsewhere.insert("scene", uuidOf(second));
	QCOMPARE(codeOf("AcquireEdit", elsewhere), "busy");
	QVERIFY(remote().sceneInUse(uuidOf(first)) && !remote().sceneInUse(uuidOf(second)) && !remote().sceneInUse({}));

	mine.insert("document", edited(note, u"from a phone"_s));
	const QJsonObject saved = ask("SaveDocument", mine);
	QCOMPARE(saved["revision"].toInt(), 1);
	QCOMPARE(editor->toPlainText(), u"from a phone"_s);
	QCOMPARE(codeOf("SaveDocument", mine), "conflict");
	mine.insert("revision", 1);
	QCOMPARE(ask("SaveDocument", mine)["revision"].toInt(), 1);
	QCOMPARE(ask("ExportText", {{"scene", uuidOf(first)}})["text"].toString(), u"from a phone"_s);

	mine.insert("document", QJsonObject{{"blocks", 1}});
	QCOMPARE(codeOf("SaveDocument", mine), "format");
	mine.insert("document", edited(note, QString(10'001, 'x')));
	QCOMPARE(codeOf("ReplaceDocument", mine), "limit");
	mine.insert("document", edited(note, u"all new"_s));
	const QJsonObject replaced = ask("ReplaceDocument", mine);
	QCOMPARE(replaced["revision"].toInt(), 2);
	QVERIFY(replaced["blocks"].isArray() && !replaced["simplified"].toBool(true));
	QVERIFY(dock->store().read(first).contains("all new"_L1));
	ask("ReleaseEdit");
	QVERIFY(!editor->isReadOnly());
	QCOMPARE(codeOf("AcquireEdit", writing(other)), "ok");
}

void RemoteTest::theDocksUserTakesTheNoteBack()
{
	QTest::keyClicks(editor, u"typed"_s);
	QCOMPARE(codeOf("AcquireEdit", writing()), "busy");
	QCOMPARE(ask("GetState")["editor"].toString(), u"OBS"_s);
	QCOMPARE(codeOf("Scroll", {{"command", "seek"}, {"scene", uuidOf(first)}, {"target", "1"}}), "busy");
	QTRY_COMPARE_WITH_TIMEOUT(codeOf("AcquireEdit", writing()), "ok", 3000);
	QVERIFY(editor->isReadOnly());
	QCOMPARE(editor->toolTip(), text("RemoteEditing"));
	auto *read = dock->findChild<QAction *>("Read");
	QVERIFY(read->isChecked());
	read->trigger();
	QVERIFY(!editor->isReadOnly() && editor->toolTip().isEmpty());
	QCOMPARE(codeOf("SaveDocument", writing()), "busy");
	read->trigger();
	QCOMPARE(codeOf("AcquireEdit", writing()), "locked");
	read->trigger();
	QCOMPARE(codeOf("AcquireEdit", writing()), "ok");
	read->trigger();
	read->trigger();
	QVERIFY2(read->isChecked() && editor->isReadOnly(), "locking ends the lease");
	QVERIFY(!ask("KeepAlive")["editing"].toBool());
}

void RemoteTest::savingKeepsTheView()
{
	editor->setPlainText(u"a line\n"_s.repeated(2000));
	QVERIFY(dock->flush(true, true));
	remote().stop();
	QVERIFY(remote().listen(u"127.0.0.1"_s, 0));
	session = ask("Open")["session"].toString();
	QScrollBar *bar = editor->verticalScrollBar();
	QTRY_VERIFY(bar->maximum() > 9000);
	bar->setValue(9000);
	Fields mine = writing();
	const QJsonObject note = ask("AcquireEdit", mine);
	QVERIFY(note["ok"].toBool());
	const int saves = frontend().saves;
	for (int revision = 0; revision < 3; ++revision) {
		mine.insert("revision", revision);
		mine.insert("document", edited(note, QString::number(revision)));
		QCOMPARE(ask("SaveDocument", mine)["revision"].toInt(), revision + 1);
		QCOMPARE(bar->value(), 9000);
	}
	QTest::qWait(700);
	QCOMPARE(bar->value(), 9000);
	QCOMPARE(ask("KeepAlive")["editing"].toBool(), true);
	QCOMPARE(codeOf("CheckImport", writing()), "ok");
	QCOMPARE(writing()["revision"].toInt(), 3);
	QCOMPARE(frontend().saves, saves);
}

void RemoteTest::savingShowsWhatLoadingDoes()
{
	const QString list = u"<ol><li>one</li><li>two<ul><li>inner</li></ul></li><li>three</li></ol>"_s;
	editor->setHtml((u"<p>some <b>bold</b> words</p><p></p>"_s + list).repeated(5));
	QVERIFY(dock->flush(true, true));
	QTRY_VERIFY_WITH_TIMEOUT(ask("AcquireEdit", writing())["ok"].toBool(), 4000);
	QRandomGenerator random(7);
	for (int round = 0; round < 60; ++round) {
		Fields mine = writing();
		QJsonArray blocks = mine["document"].toObject()["blocks"].toArray();
		const int at = random.bounded(static_cast<int>(blocks.size()));
		QJsonObject block = blocks[at].toObject();
		switch (random.bounded(5)) {
		case 0:
			blocks.insert(at, block);
			break;
		case 1:
			blocks.removeAt(blocks.size() > 5 ? at : -1);
			break;
		case 2:
			block["align"] = 4;
			blocks[at] = block;
			break;
		default:
			block = edited({{"blocks", QJsonArray{block}}},
				       QString::number(round) + QChar::LineSeparator + u'ü')["blocks"][0]
					.toObject();
			blocks[at] = block;
		}
		mine.insert("document", QJsonObject{{"blocks", blocks}});
		const QJsonObject saved = ask("SaveDocument", mine);
		QVERIFY2(saved["ok"].toBool(), qPrintable(saved["code"].toString()));
		const QString shown = editor->toHtml();
		dock->bindScene(second);
		dock->bindScene(first);
		QCOMPARE(shown, editor->toHtml());
	}
}

void RemoteTest::eventsAreGathered()
{
	QTRY_VERIFY(!websocket().events.empty());
	QTest::qWait(300);
	auto &events = websocket().events;
	events.clear();
	QTest::keyClicks(editor, u"a few words"_s);
	QVERIFY(events.empty());
	QTRY_COMPARE(events.size(), 1U);
	QCOMPARE(events[0].type, u"Changed"_s);
	QCOMPARE(events[0].payload["changed"].toArray(), QJsonArray{uuidOf(first)});
	QCOMPARE(events[0].payload.size(), 11);
	QVERIFY(events[0].payload["localEditing"].toBool());
	QTRY_COMPARE_WITH_TIMEOUT(events.size(), 2U, 4000);
	QVERIFY(!events[1].payload["localEditing"].toBool() && events[1].payload["changed"].toArray().isEmpty());

	editor->setPlainText(u"a line\n"_s.repeated(500));
	QTRY_COMPARE(events.size(), 3U);
	editor->verticalScrollBar()->setValue(100);
	QTRY_COMPARE(events.size(), 4U);
	QCOMPARE(events[3].type, u"Scroll"_s);
	QCOMPARE(events[3].payload, (QJsonObject{{"epoch", events[0].payload["epoch"]},
						 {"scene", uuidOf(first)},
						 {"position", dock->scrollProgress()}}));
	obs_source_set_name(second, "Renamed");
	dock->sceneRenamed(second);
	QTRY_COMPARE_WITH_TIMEOUT(events.size(), 5U, 1000);
	QCOMPARE(events[4].payload["scenes"].toArray()[1].toObject()["name"].toString(), u"Renamed"_s);
}

void RemoteTest::noNotesWhileCollectionsChange()
{
	Fields mine = writing();
	QCOMPARE(codeOf("AcquireEdit", mine), "ok");
	QTest::qWait(300);
	websocket().events.clear();
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	for (const char *action : {"Open", "GetState", "SaveDocument", "Nothing"}) {
		QCOMPARE(codeOf(action, mine), "loading");
	}
	QTRY_COMPARE(websocket().events.size(), 1U);
	QVERIFY(websocket().events[0].payload["scenes"].toArray().isEmpty());
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
	QVERIFY(!ask("KeepAlive")["editing"].toBool());
	QCOMPARE(codeOf("AcquireEdit", mine), "conflict");
	QCOMPARE(codeOf("AcquireEdit", writing()), "ok");
	obs_source_remove(first);
	frontend().currentScene = second;
	frontend().scenes = {second};
	dock->frontendEvent(OBS_FRONTEND_EVENT_SCENE_LIST_CHANGED);
	first = nullptr;
	obs_wait_for_destroy_queue();
	QVERIFY2(!ask("KeepAlive")["editing"].toBool(), "the lease ends with its scene");
}

void RemoteTest::scrolling()
{
	editor->setPlainText(u"a line\n"_s.repeated(500));
	const auto scroll = [this](Fields fields) { return ask("Scroll", fields); };
	const QJsonObject started = scroll({{"command", "start"}});
	QVERIFY(started["scrolling"].toBool() && started["locked"].toBool());
	QVERIFY(!scroll({{"command", "pause"}})["scrolling"].toBool());
	const Fields seek{{"command", "seek"}, {"scene", uuidOf(first)}, {"target", "50%"}};
	QVERIFY(std::abs(scroll(seek)["position"].toDouble() - 0.5) < 0.01);
	QCOMPARE(scroll({{"command", "top"}})["position"].toDouble(), 0.0);
	QCOMPARE(scroll({{"command", "speed"}, {"speed", 2.5}})["speed"].toDouble(), 2.5);
}

void RemoteTest::otherThreads()
{
	const auto later = [this](const char *action) {
		return std::async(std::launch::async,
				  [request = payload(action)] { return websocket().call(request); });
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
	QCOMPARE(later("Open").get()["code"].toString(), u"timeout"_s);
	QVERIFY(clock.elapsed() >= 3000 && clock.elapsed() < 4000);
	QCoreApplication::processEvents();
	for (int open = 2; open < 16; ++open) {
		QCOMPARE(codeOf("Open"), "ok");
	}
	QCOMPARE(codeOf("Open"), "capacity");

	std::vector<std::future<QJsonObject>> waiting;
	for (int i = 0; i < 8; ++i) {
		waiting.push_back(later("GetState"));
	}
	QThread::msleep(300);
	QCOMPARE(later("GetState").get()["code"].toString(), u"capacity"_s);
	clock.restart();
	remote().shutdown();
	for (auto &request : waiting) {
		QCOMPARE(request.get()["code"].toString(), u"disabled"_s);
	}
	QVERIFY(clock.elapsed() < 1000);
	QVERIFY(!websocket().callback);
	QVERIFY(!remote().listen(u"127.0.0.1"_s, 0));
}

void RemoteTest::settingsDialog()
{
	QTcpServer taken;
	QVERIFY(taken.listen(QHostAddress::LocalHost));
	const QString oldLink = remote().url();
	const QString oldToken = token();
	QTimer::singleShot(0, this, [&] {
		auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
		QVERIFY(dialog && dialog->objectName() == "remoteSettings"_L1);
		auto *enabled = dialog->findChild<QCheckBox *>("remoteEnabled");
		auto *address = dialog->findChild<QComboBox *>("remoteAddress");
		auto *port = dialog->findChild<QSpinBox *>("remotePort");
		auto *status = dialog->findChild<QLabel *>("remoteStatus");
		auto *qr = dialog->findChild<QrLabel *>("remoteQR");
		const auto press = [dialog](const char *name) { dialog->findChild<QPushButton *>(name)->click(); };
		QVERIFY(enabled->isChecked());
		QCOMPARE(address->currentData().toString(), u"127.0.0.1"_s);
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
		session = ask("Open")["session"].toString();

		press("remoteReset");
		QCOMPARE(status->text(), text("RemotePending"));
		QCOMPARE(token(), oldToken);
		press("remoteApply");
		QVERIFY(token() != oldToken && token().size() == 22);
		QCOMPARE(codeOf("GetState", {{"access", oldToken}}), "access");
		QCOMPARE(codeOf("GetState"), "session");
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
	for (const QString &text : {remote().url(), u"ü 日本 😀"_s, QString(800, 'x')}) {
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
