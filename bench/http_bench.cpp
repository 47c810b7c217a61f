// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The HTTP server beside nginx, which serves the same files and closes every connection too. Where wrk or nginx is
// missing, only our own latency is measured.

#include "bench.hpp"
#include "host/test_host.hpp"

#include "dock/dock.hpp"
#include "remote/remote.hpp"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>
#include <QThread>
#include <QUrl>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace quillbay;

constexpr double kMaxMedianMs = 1.0;
constexpr int kRequests = 2000;
const char *const kPaths[] = {"/", "/app.mjs", "/icon-512.png", "/config.json"};

// One request from connecting to the end of the response, with plain blocking calls.
double timeOfGet(quint16 port, const QByteArray &path)
{
	return bench::milliseconds([&] {
		const QByteArray request = "GET " + path + " HTTP/1.1\r\nHost: bench\r\nConnection: close\r\n\r\n";
		sockaddr_in address{};
		address.sin_family = AF_INET;
		address.sin_port = htons(port);
		address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
		const int descriptor = ::socket(AF_INET, SOCK_STREAM, 0);
		char bytes[65'536];
		if (::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0 ||
		    ::write(descriptor, request.constData(), request.size()) != request.size() ||
		    ::read(descriptor, bytes, sizeof(bytes)) <= 0) {
			qFatal("no answer");
		}
		while (::read(descriptor, bytes, sizeof(bytes)) > 0) {
		}
		::close(descriptor);
	});
}

std::vector<double> timesOfGets(quint16 port, const QByteArray &path)
{
	std::vector<double> times;
	QThread *client = QThread::create([&] {
		for (int i = 0; i < kRequests; ++i) {
			times.push_back(timeOfGet(port, path));
		}
	});
	QEventLoop loop;
	QObject::connect(client, &QThread::finished, &loop, &QEventLoop::quit);
	client->start();
	loop.exec();
	delete client;
	std::sort(times.begin(), times.end());
	return times;
}

// Requests a second with eight connections at once, while this thread goes on serving.
double throughput(quint16 port, const QByteArray &path)
{
	QProcess wrk;
	QEventLoop loop;
	QObject::connect(&wrk, &QProcess::finished, &loop, &QEventLoop::quit);
	const QString url = QStringLiteral("http://127.0.0.1:%1%2").arg(port).arg(QString::fromLatin1(path));
	wrk.start(QStringLiteral("wrk"), {"-t1", "-c8", "-d5s", "-H", "Connection: close", url});
	loop.exec();
	const QRegularExpression rate(QStringLiteral("Requests/sec:\\s*([0-9.]+)"));
	return rate.match(QString::fromUtf8(wrk.readAllStandardOutput())).captured(1).toDouble();
}

quint16 freePort()
{
	QTcpServer server;
	server.listen(QHostAddress::LocalHost);
	return server.serverPort();
}

// An nginx over a copy of the files in `folder`.
quint16 startNginx(QProcess &nginx, const QTemporaryDir &folder, const QString &program)
{
	const quint16 port = freePort();
	const QString config =
		QStringLiteral("daemon off; master_process off; pid %1/pid; error_log /dev/null;\n"
			       "events {} http { access_log off; keepalive_timeout 0; sendfile on;\n"
			       "client_body_temp_path %1/b; proxy_temp_path %1/p; fastcgi_temp_path %1/f;\n"
			       "uwsgi_temp_path %1/u; scgi_temp_path %1/s;\n"
			       "server { listen 127.0.0.1:%2; root %1/files; } }\n")
			.arg(folder.path())
			.arg(port);
	test::writeFile(folder.filePath(QStringLiteral("nginx.conf")), config.toUtf8());
	nginx.start(program,
		    {"-p", folder.path(), "-e", "/dev/null", "-c", folder.filePath(QStringLiteral("nginx.conf"))});
	nginx.waitForStarted();
	QTcpSocket probe;
	do {
		QThread::msleep(50);
		probe.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
	} while (!probe.waitForConnected() && nginx.state() != QProcess::NotRunning);
	return nginx.state() == QProcess::Running ? port : 0;
}

void copyClient(const QTemporaryDir &folder)
{
	QDir().mkpath(folder.filePath(QStringLiteral("files")));
	const auto names = QDir(QStringLiteral(":/remote")).entryList();
	for (const QString &name : names) {
		QFile::copy(QStringLiteral(":/remote/") + name, folder.filePath(QStringLiteral("files/") + name));
	}
}

void print(const char *server, const char *path, const std::vector<double> &times, double rate)
{
	const double last = times[times.size() * 99 / 100];
	std::printf("%-6s %-16s median %.3f ms, 99th percentile %.3f ms, %6.0f requests/s\n", server, path,
		    bench::median(times), last, rate);
	std::fflush(stdout);
}

bool measure(quint16 ours, quint16 theirs)
{
	const bool hasWrk = !QStandardPaths::findExecutable(QStringLiteral("wrk")).isEmpty();
	bool isWithin = true;
	for (const char *path : kPaths) {
		const auto times = timesOfGets(ours, path);
		isWithin = isWithin && bench::median(times) <= kMaxMedianMs;
		print("ours", path, times, hasWrk ? throughput(ours, path) : 0);
		// nginx has no page that is made when it is asked for.
		if (theirs != 0 && QLatin1StringView(path) != QLatin1StringView("/config.json")) {
			print("nginx", path, timesOfGets(theirs, path), hasWrk ? throughput(theirs, path) : 0);
		}
	}
	return isWithin;
}

} // namespace

int main(int argc, char *argv[])
{
	QApplication application(argc, argv);
	const test::Host host;
	const QTemporaryDir folder;
	Dock dock(folder.filePath(QStringLiteral("settings.ini")));
	Remote &remote = dock.remoteService();
	if (!remote.listen(QStringLiteral("127.0.0.1"), 0)) {
		qFatal("the server does not listen");
	}
	copyClient(folder);
	QProcess nginx;
	const QString program = QStandardPaths::findExecutable(QStringLiteral("nginx"));
	const quint16 theirs = program.isEmpty() ? quint16{0} : startNginx(nginx, folder, program);
	const bool isWithin = measure(static_cast<quint16>(QUrl(remote.url()).port()), theirs);
	nginx.kill();
	nginx.waitForFinished();
	dock.shutdown();
	std::puts(isWithin ? "within budget" : "a median is over 1 ms");
	return isWithin ? 0 : 1;
}
