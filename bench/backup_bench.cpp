// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Writing and inspecting archives beside zip and unzip (which must be installed), the longest stall of the window
// meanwhile, and the memory that it takes. Files go where TMPDIR points: a disk and a memory file system differ.

#include "bench.hpp"

#include "backup/backup.hpp"
#include "backup/file_job.hpp"
#include "backup/inspection.hpp"
#include "host/test_host.hpp"
#include "notes/limits.hpp"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTimer>
#include <QUuid>

#include <utility>

namespace quillbay::bench {

namespace {

constexpr double kWriteBudget = 1.0;
/// Times `unzip -tqq`; checking the notes' limits and saving a copy of each come on top.
constexpr double kInspectBudget = 2.0;
/// A window that stands still for longer than a few frames is noticed.
constexpr double kStallBudgetMs = 50;

/// Note files in a folder of their own.
struct Notes {
	const char *name;
	int rounds;
	QStringList files;
	QStringList htmls;
};

Notes makeNotes(const char *name, int rounds, const QString &folder, int count, const QString &html)
{
	Notes notes{name, rounds, {}, {}};
	for (int i = 0; i < count; ++i) {
		const QString path = QStringLiteral("%1/%2_%3.json").arg(folder, QLatin1StringView(name)).arg(i);
		const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces);
		notes.htmls.append(QString(html).replace(QStringLiteral("news"), QString::number(i)));
		test::writeFile(path, encodeNote({id, QString::number(i), notes.htmls.back()}));
		notes.files.append(path);
	}
	return notes;
}

// As large as notes get without going over the limits: a little text, and a picture that hardly compresses.
QString largeHtml(qsizetype bytes)
{
	QByteArray picture(bytes / 4 * 3, Qt::Uninitialized);
	QRandomGenerator(1).generate(reinterpret_cast<quint32 *>(picture.data()),
				     reinterpret_cast<quint32 *>(picture.data() + picture.size() / 4 * 4));
	return savedHtml(20, prose(99))
		.replace(QStringLiteral("</body>"),
			 QStringLiteral("<p><img src=\"data:image/png;base64,%1\" /></p></body>")
				 .arg(QString::fromLatin1(picture.toBase64())));
}

double run(const QString &program, const QStringList &arguments)
{
	return milliseconds([&] {
		if (QProcess::execute(program, arguments) != 0) {
			qFatal("%s is not installed, or has failed", qPrintable(program));
		}
	});
}

void back(const Notes &notes, const QString &archive)
{
	QString error;
	if (!backupNotes(archive, notes.files, error)) {
		qFatal("%s", qPrintable(error));
	}
}

void inspect(const Notes &notes, const QString &archive, const QString &folder)
{
	QString error;
	if (inspectBackup(archive, folder, error).size() != notes.files.size()) {
		qFatal("%s", qPrintable(error));
	}
}

bool benchWrite(const Notes &notes, const QDir &folder)
{
	const QString peer = folder.filePath(QStringLiteral("peer.zip"));
	const QString sources = QFileInfo(notes.files.first()).path();
	return compare(
		"write", notes.name, kWriteBudget, notes.rounds,
		[&] { return milliseconds([&] { back(notes, folder.filePath(QStringLiteral("ours.zip"))); }); },
		[&] {
			QFile::remove(peer);
			return run(QStringLiteral("zip"), {"-q", "-1", "-j", "-r", peer, sources});
		},
		"zip -1");
}

bool benchInspect(const Notes &notes, const QDir &folder)
{
	const QString archive = folder.filePath(QStringLiteral("ours.zip"));
	// In every round anew: a disk is slower the more it was just given.
	const auto onTop = [&notes] {
		const QTemporaryDir floor;
		return milliseconds([&] {
			for (const QString &html : notes.htmls) {
				if (!withinHtmlLimits(html)) {
					qFatal("a note is over the limits");
				}
			}
			for (const QString &path : notes.files) {
				test::writeFile(floor.filePath(QFileInfo(path).fileName()), test::readFile(path));
			}
		});
	};
	return compare(
		"inspect", notes.name, kInspectBudget, notes.rounds,
		[&] {
			const QTemporaryDir copies;
			return milliseconds([&] { inspect(notes, archive, copies.path()); });
		},
		// Checking the limits and saving copies count once.
		[&] { return run(QStringLiteral("unzip"), {"-tqq", archive}) + onTop() / kInspectBudget; },
		"unzip -t +");
}

// The longest time that the event loop does not turn while `work` runs on its thread.
template <typename Work>
double longestStall(QWidget &window, const Work &work)
{
	double longest = 0;
	QElapsedTimer sinceTurn;
	QTimer turns;
	QObject::connect(&turns, &QTimer::timeout, &turns, [&] {
		longest = std::max(longest, static_cast<double>(sinceTurn.nsecsElapsed()) / 1e6);
		sinceTurn.start();
	});
	sinceTurn.start();
	turns.start(0);
	fileJob(&window, QStringLiteral("Working"), work);
	return longest;
}

bool benchStall(const Notes &notes, const QDir &folder, QWidget &window)
{
	const QString archive = folder.filePath(QStringLiteral("ours.zip"));
	const QTemporaryDir copies;
	const double write = longestStall(window, [&] { back(notes, archive); });
	const double check = longestStall(window, [&] { inspect(notes, archive, copies.path()); });
	const bool isWithin = std::max(write, check) <= kStallBudgetMs;
	std::printf("%-10s %s  writing %.1f ms, inspecting %.1f ms, budget %.0f ms%s\n", "stall", notes.name, write,
		    check, kStallBudgetMs, isWithin ? "" : "  OVER");
	return isWithin;
}

// Megabytes of the status line of this process that begins with `key`.
double statusMegabytes(const QByteArray &key)
{
	QFile status(QStringLiteral("/proc/self/status"));
	(void)status.open(QIODevice::ReadOnly);
	const QList<QByteArray> lines = status.readAll().split('\n');
	for (const QByteArray &line : lines) {
		if (line.startsWith(key)) {
			return line.simplified().split(' ').value(1).toDouble() / 1024;
		}
	}
	return 0;
}

template <typename Work>
double peakMegabytes(const Work &work)
{
	test::writeFile(QStringLiteral("/proc/self/clear_refs"), "5");
	const double before = statusMegabytes("VmRSS:");
	work();
	return statusMegabytes("VmHWM:") - before;
}

void benchMemory(const Notes &notes, const QDir &folder)
{
	const QString archive = folder.filePath(QStringLiteral("ours.zip"));
	const QTemporaryDir copies;
	const double write = peakMegabytes([&] { back(notes, archive); });
	const double check = peakMegabytes([&] { inspect(notes, archive, copies.path()); });
	std::printf("%-10s %s  peak: writing %.0f MiB, inspecting %.0f MiB\n", "memory", notes.name, write, check);
}

bool benchAll(Notes notes, const QDir &folder, QWidget &window)
{
	bool isWithin = benchWrite(notes, folder);
	isWithin = benchInspect(notes, folder) && isWithin;
	isWithin = benchStall(notes, folder, window) && isWithin;
	notes.htmls.clear();
	benchMemory(notes, folder);
	return isWithin;
}

} // namespace

} // namespace quillbay::bench

int main(int argc, char *argv[])
{
	using namespace quillbay;
	using namespace quillbay::bench;
	QApplication application(argc, argv);
	const test::Host host;
	const auto isWanted = [](const char *name) {
		const QStringList names = QCoreApplication::arguments().mid(1);
		return names.isEmpty() || names.contains(QLatin1StringView(name));
	};
	QWidget window;
	window.resize(800, 600);
	showExposed(window);
	const QTemporaryDir archives;
	bool isWithin = true;
	if (isWanted("small")) {
		const QTemporaryDir folder;
		isWithin = benchAll(makeNotes("small", 5, folder.path(), kMaxBackupNotes, savedHtml(30, prose(99))),
				    QDir(archives.path()), window);
	}
	if (isWanted("large")) {
		const QTemporaryDir folder;
		const QString html = largeHtml(kMaxBackupBytes / 8 - 1024 * 1024);
		isWithin = benchAll(makeNotes("large", 3, folder.path(), 8, html), QDir(archives.path()), window) &&
			   isWithin;
	}
	return isWithin ? 0 : 1;
}
