// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How long the window stands still while a phone saves one changed word, beside what Qt needs to write the same note.

#include "bench.hpp"

#include "host/dock_fixture.hpp"
#include "host/fake_websocket.hpp"

#include "remote/remote.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QUrl>

#include <future>

namespace quillbay::bench {

namespace {

constexpr double kSaveBudget = 2;
constexpr int kFirstSaves = 3;
constexpr int kLaterSaves = 25;
/// More paragraphs of case B are too much for one document to a browser.
constexpr int kSentParagraphs = 15'000;

/// A phone that edits the open note under a lease.
class Phone {
public:
	explicit Phone(const test::DockFixture &opened) : opened_(opened)
	{
		Remote &remote = opened.dock->remoteService();
		remote.initialize();
		if (!remote.listen(QStringLiteral("127.0.0.1"), 0)) {
			qFatal("the service does not listen");
		}
		request_ = {{"access", QUrl(remote.url()).fragment()}, {"scene", test::uuidOf(opened.scene)}};
		request_.insert(QStringLiteral("session"), ask("Open")["session"]);
		request_.insert(QStringLiteral("epoch"), ask("GetState")["epoch"]);
		request_.insert(QStringLiteral("revision"), 0);
	}

	/// For how many milliseconds the window stands still.
	double acquire()
	{
		blocks_ = ask("AcquireEdit")["blocks"].toArray();
		return stall_;
	}

	double save()
	{
		changeWord();
		request_.insert(QStringLiteral("document"), QJsonObject{{"blocks", blocks_}});
		request_.insert(QStringLiteral("revision"), ask("SaveDocument")["revision"]);
		return stall_;
	}

private:
	QJsonObject ask(const char *action)
	{
		request_.insert(QStringLiteral("action"), QLatin1StringView(action));
		// As in the host, the JSON is another thread's work.
		auto answer = std::async(std::launch::async,
					 [request = request_] { return test::websocket().call(request); });
		stall_ = 0;
		while (answer.wait_for(std::chrono::microseconds(100)) != std::future_status::ready) {
			stall_ = std::max(stall_, milliseconds([] { QCoreApplication::processEvents(); }));
		}
		stall_ += milliseconds([this] {
			opened_.editor->viewport()->repaint();
			QCoreApplication::processEvents();
		});
		const QJsonObject reply = answer.get();
		if (!reply["ok"].toBool()) {
			qFatal("%s: %s", action, qPrintable(reply["code"].toString()));
		}
		return reply;
	}

	void changeWord()
	{
		const qsizetype middle = blocks_.size() / 2;
		QJsonObject block = blocks_[middle].toObject();
		QJsonArray runs = block["runs"].toArray();
		QJsonObject run = runs[0].toObject();
		const QString word = saves_++ % 2 == 0 ? QStringLiteral("ab") : QStringLiteral("cd");
		run.insert(QStringLiteral("text"), word + run["text"].toString().mid(word.size()));
		runs[0] = run;
		block.insert(QStringLiteral("runs"), runs);
		blocks_[middle] = block;
	}

	const test::DockFixture &opened_;
	QJsonObject request_;
	QJsonArray blocks_;
	int saves_ = 0;
	double stall_ = 0;
};

bool compareCase(const Case &note)
{
	test::websocket() = {};
	test::DockFixture opened;
	QString error;
	if (!opened.dock->store().write(opened.scene, {note.html}, &error)) {
		qFatal("%s", qPrintable(error));
	}
	opened.dock->bindScene(nullptr);
	opened.dock->bindScene(opened.scene);
	QCoreApplication::processEvents();
	Phone phone(opened);
	std::printf("%-10s %s  ours %8.3f ms\n", "acquire", note.name, phone.acquire());
	const QString path = opened.folder.filePath(QStringLiteral("stock.html"));
	const auto stock = [&] {
		return milliseconds([&] {
			QSaveFile file(path);
			const QByteArray html = opened.editor->document()->toHtml().toUtf8();
			if (!file.open(QIODevice::WriteOnly) || file.write(html) != html.size() || !file.commit()) {
				qFatal("the note is not written");
			}
		});
	};
	bool isWithin = true;
	for (int i = 1; i <= kFirstSaves; ++i) {
		const double ours = phone.save();
		const double qts = stock();
		isWithin = isWithin && ours <= kSaveBudget * qts;
		std::printf("save %d     %s  ours %8.3f ms, Qt %8.3f ms, ratio %.2f\n", i, note.name, ours, qts,
			    ours / qts);
	}
	return compare("save", note.name, kSaveBudget, kLaterSaves, [&] { return phone.save(); }, stock) && isWithin;
}

} // namespace

} // namespace quillbay::bench

int main(int argc, char *argv[])
{
	using namespace quillbay::bench;
	const QApplication application(argc, argv);
	const quillbay::test::Host host;
	quillbay::test::FakeWebsocket::install();
	bool isWithin = true;
	for (quillbay::bench::Case &note : quillbay::bench::wantedCases()) {
		if (*note.name == 'B') {
			note.html = savedHtml(kSentParagraphs, prose(9));
		}
		isWithin = compareCase(note) && isWithin;
	}
	return isWithin ? 0 : 1;
}
