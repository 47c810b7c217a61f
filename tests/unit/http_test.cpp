// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/remote_fixture.hpp"
#include "host/test_archive.hpp"

namespace quillbay::test {

namespace {

const QByteArray kWordType = "application/vnd.openxmlformats-officedocument.wordprocessingml.document";
const QByteArray kWordFile =
	makeArchive({{"word/document.xml", "<document><body><p><r><t>From Word</t></r></p></body></document>"}}).bytes;

const QString kServed =
	"HTTP/1.1 200 OK\r\nContent-Type: %1\r\nContent-Length: %2\r\nConnection: close\r\nCache-Control: no-store\r\n"
	"X-Content-Type-Options: nosniff\r\nReferrer-Policy: no-referrer\r\nContent-Security-Policy: "
	"default-src 'none'; script-src 'self'; style-src 'self' 'unsafe-inline'; connect-src 'self' "
	"ws://127.0.0.1:4455; img-src 'self'; manifest-src 'self'; base-uri 'none'; frame-ancestors 'none'; "
	"form-action 'none'\r\n\r\n";

QByteArray get(const QByteArray &path)
{
	return "GET " + path + " HTTP/1.1\r\nHost: test\r\n\r\n";
}

// A connection to the server, which runs in this thread too.
struct Client {
	explicit Client(quint16 port, const QByteArray &bytes = {})
	{
		socket.connectToHost(QStringLiteral("127.0.0.1"), port);
		socket.write(bytes);
	}
	bool isOpen(int milliseconds = 0)
	{
		const auto isClosed = [this] { return socket.state() == QAbstractSocket::UnconnectedState; };
		return !QTest::qWaitFor(isClosed, milliseconds);
	}
	QByteArray response()
	{
		return isOpen(10'000) ? "still open" : socket.isOpen() ? socket.readAll() : QByteArray();
	}
	QJsonObject json()
	{
		const QByteArray bytes = response();
		return QJsonDocument::fromJson(bytes.mid(bytes.indexOf("\r\n\r\n") + 4)).object();
	}
	QTcpSocket socket;
};

} // namespace

class HttpTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void init()
	{
		folder = std::make_unique<QTemporaryDir>("/tmp/http-XXXXXX");
		qputenv("TMPDIR", folder->path().toLocal8Bit());
		QVERIFY(QDir(folder->path()).mkpath("obs-websocket"));
		fixture = std::make_unique<RemoteFixture>();
		port = static_cast<quint16>(QUrl(fixture->remote().url()).port());
		QVERIFY(fixture->ask("AcquireEdit", fixture->writing())["ok"].toBool());
	}

	void cleanup()
	{
		QTRY_COMPARE(uploadFolders(), 0);
		fixture.reset();
	}

	void servesTheClient()
	{
		const QByteArray page = readFile(QUILLBAY_SOURCE_DIR "/data/remote/index.html");
		QCOMPARE(ask(get("/")), kServed.arg("text/html; charset=utf-8").arg(page.size()).toLatin1() + page);
	}

	void answersRequests()
	{
		const QByteArray longest = "GET / HTTP/1.0\r\nA: " + QByteArray(8192 - 23, 'a');
		// "|" stands between heads without their blank lines.
		const std::pair<QByteArray, QByteArray> cases[] = {
			{"", 'a' + longest + '|' + QByteArray(100'000, 'a')},
			{"HTTP/1.1 200 OK",
			 longest + "|GET / HTTP/1.1\nA: b\r\n c|GET / HTTP/1.1\r\n\r\nGET / HTTP/1.1"},
			{"HTTP/1.1 404 Not Found",
			 "GET /index.html HTTP/1.1|GET http://test/ HTTP/1.1|GET /%2f HTTP/1.1|GET // HTTP/1.1|"
			 "GET /? HTTP/1.1|GET /../ HTTP/1.1|GET /import.docx HTTP/1.1|GET * HTTP/1.1|" +
				 QByteArray("GET /\0 HTTP/1.1", 15)},
			{"HTTP/1.1 400 Bad Request",
			 "GET /|PRI * HTTP/2.0\r\n\r\nSM|GET / http/1.1|GET  / HTTP/1.1|GET\t/ HTTP/1.1||"
			 "\r\nGET / HTTP/1.1|\nGET / HTTP/1.1"},
			// Whoever still sends gets the answer all the same.
			{"HTTP/1.1 405 Method Not Allowed",
			 "PUT / HTTP/1.1|HEAD / HTTP/1.1|POST / HTTP/1.1|get / HTTP/1.1|\x16\x03 / HTTP/1.1|"
			 "POST / HTTP/1.1\r\n\r\n" +
				 QByteArray(3'000'000, 'x')},
		};
		for (const auto &[status, heads] : cases) {
			for (const QByteArray &head : heads.split('|')) {
				const QByteArray response = ask(head + "\r\n\r\n");
				QVERIFY2(response.left(response.indexOf('\r')) == status,
					 (head.left(99) + response).constData());
				QCOMPARE(response.count("HTTP/1.1"), status.isEmpty() ? 0 : 1);
				QVERIFY(status.isEmpty() || status.contains("200") ||
					response.contains("\r\nContent-Length: 0\r\n"));
			}
		}
	}

	void checksUploads()
	{
		// The code for a good head without one header, and instead of it in turn each of the lines between "|".
		const std::array<QByteArray, 3> cases[] = {
			{"format", "-",
			 "no colon|: no name| folded|Content-Length: 5|A: 1\r\na: 1|Transfer-Encoding:|A: 1\nb"},
			{"format", "Content-Length",
			 "|Content-Length: 0|Content-Length: -1|Content-Length: +5|Content-Length: 0x5|"
			 "Content-Length: 5,5|Content-Length: 9223372036854775808"},
			{"format", "X-QuillBay-Revision",
			 "|X-QuillBay-Revision: -1|X-QuillBay-Revision: 0.5|X-QuillBay-Revision: 2147483648"},
			{"format", "Content-Type", "|Content-Type: " + kWordType + ";a=b"},
			{"format", "Origin", "Origin: http://127.0.0.1|Origin: null|Origin:"},
			{"size", "Content-Length", "Content-Length: 5242881|Content-Length: 9223372036854775807"},
			{"access", "X-QuillBay-Access",
			 "|X-QuillBay-Access: " + fixture->token().toLatin1().chopped(1)},
			{"session", "X-QuillBay-Session", "|X-QuillBay-Session: other"},
			{"conflict", "x-quillbay-EPOCH", ""},
			{"conflict", "X-QuillBay-Revision", "X-QuillBay-Revision : 1"},
			{"scene", "X-QuillBay-Scene", "|X-QuillBay-Scene: other"},
			{"word", "Origin", ""},
		};
		for (const auto &[expected, left, lines] : cases) {
			for (const QByteArray &added : lines.split('|')) {
				const QByteArray got = code(uploadHead(5, left, added) + "12345").toLatin1();
				QVERIFY2(got == expected, (left + ' ' + added + ' ' + got).constData());
			}
		}
		qputenv("TMPDIR", "/dev/null");
		QCOMPARE(code(uploadHead(5) + "12345"), "upload");
	}

	void takesOrEndsUploads()
	{
		const QByteArray rest = kWordFile.sliced(1);
		const std::tuple<const char *, std::function<void(QTcpSocket &)>, const char *> cases[] = {
			{"",
			 [&](QTcpSocket &socket) {
				 for (const char byte : rest) {
					 socket.write(&byte, 1);
					 socket.flush();
					 QCoreApplication::processEvents();
				 }
			 },
			 "From Word"},
			{"format", [&](QTcpSocket &socket) { socket.write(rest + "x"); }, ""},
			{"word", [&](QTcpSocket &socket) { socket.write(QByteArray(rest.size(), 'x')); }, ""},
			{"lease",
			 [&](QTcpSocket &socket) {
				 QVERIFY(fixture->ask("ReleaseEdit")["ok"].toBool());
				 socket.write(rest);
			 },
			 ""},
			{"", [this](QTcpSocket &) { fixture->action("Read")->trigger(); }, ""},
			{"", [this](QTcpSocket &) { fixture->remote().stop(); }, ""},
			{"", [](QTcpSocket &socket) { socket.disconnectFromHost(); }, ""},
			{"", [](QTcpSocket &socket) { socket.abort(); }, ""},
		};
		for (const auto &[expected, finish, note] : cases) {
			cleanup();
			init();
			const QByteArray head = uploadHead(kWordFile.size());
			Client client(port, head.chopped(2));
			QTest::qWait(20);
			client.socket.write("\r\nP", 3);
			QTRY_COMPARE(uploadFolders(), 1);
			QCOMPARE(code(uploadHead(5)), "busy");
			finish(client.socket);
			const QJsonObject reply = client.json();
			QVERIFY(reply["code"].toString() == expected && reply["revision"].toInt() == (*note ? 1 : 0));
			QTRY_COMPARE(uploadFolders(), 0);
			QCOMPARE(fixture->editor->toPlainText(), note);
			QVERIFY(!*note || code(head + kWordFile) == "conflict");
		}
	}

	void limitsConnections()
	{
		std::array<std::unique_ptr<Client>, 16> clients;
		std::ranges::generate(clients, [this] { return std::make_unique<Client>(port, "G"); });
		QElapsedTimer clock;
		clock.start();
		QCOMPARE(ask(get("/")), QByteArray());
		// Time runs from the start: later bytes do not help.
		QTest::qWait(2000);
		for (const auto &client : clients) {
			QVERIFY(client->isOpen());
			client->socket.write("E");
		}
		for (const auto &client : clients) {
			QCOMPARE(client->response(), QByteArray());
		}
		QVERIFY(clock.elapsed() < 4500);
		for (int i = 0; i < 50; ++i) {
			QVERIFY(ask(get("/")).startsWith("HTTP/1.1 200 OK"));
		}
	}

	void tellsTheWebsocketPort()
	{
		const auto config = [this] { return Client(port, get("/config.json")).json(); };
		for (const auto &[content, expected] : {std::pair{"{\"server_port\":4466}", 4466},
							{"{\"server_port\":65536}", 4455},
							{"{\"server_port\":\"1\"}", 4455},
							{"{\"server_port\":0}", 4455},
							{"[", 4455}}) {
			writeFile(folder->filePath("obs-websocket/config.json"), content);
			QCOMPARE(config()["port"].toInt(), expected);
		}
		const QByteArray texts = '\n' + readFile(QUILLBAY_SOURCE_DIR "/data/locale/en-US.ini");
		for (const QString &key : config()["labels"].toObject().keys()) {
			QVERIFY2(texts.contains('\n' + key.toLatin1() + "=\""), qPrintable(key));
		}
		// For the rest of the program: the host's command line is set once.
		static const char *const arguments[] = {"obs", "--multi", "--websocket_port", "4477"};
		obs_set_cmdline_args(4, arguments);
		QVERIFY(ask(get("/")).contains("connect-src 'self' ws://127.0.0.1:4477;"));
	}

private:
	QByteArray ask(const QByteArray &bytes) const { return Client(port, bytes).response(); }
	QString code(const QByteArray &bytes) const { return Client(port, bytes).json()["code"].toString(); }
	// The head of a good upload, without the header lines that start with `left` and with another one.
	QByteArray uploadHead(qsizetype length, const QByteArray &left = {}, const QByteArray &added = {}) const
	{
		QByteArrayList lines{"POST /import.docx HTTP/1.1",
				     "Content-Length: " + QByteArray::number(length),
				     "Content-Type: " + kWordType,
				     "Origin: http://127.0.0.1:" + QByteArray::number(port),
				     "X-QuillBay-Access: " + fixture->token().toLatin1(),
				     "X-QuillBay-Session: " + fixture->session.toLatin1(),
				     "X-QuillBay-Scene:" + uuidOf(fixture->scene).toLatin1(),
				     "x-quillbay-EPOCH:\t" + fixture->ask("GetState")["epoch"].toString().toLatin1() +
					     "  ",
				     "X-QuillBay-Revision: 0"};
		lines.removeIf([&](const QByteArray &line) { return !left.isEmpty() && line.startsWith(left); });
		return lines.join("\r\n") + "\r\n" + (added.isEmpty() ? added : added + "\r\n") + "\r\n";
	}
	qsizetype uploadFolders() const { return QDir(folder->path()).entryList({"quillbay-*"}).size(); }

	std::unique_ptr<QTemporaryDir> folder;
	std::unique_ptr<RemoteFixture> fixture;
	quint16 port = 0;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::HttpTest)
#include "http_test.moc"
