// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The Word import beside pandoc, each as a process of its own, and beside mammoth, each inside its process, on a
// document of 300 pages that pandoc wrote and on the files that the command line names.
// `npm install mammoth` into some folder and name that with --mammoth. `--import FILE` prints what a file becomes.

#include "bench.hpp"

#include "convert/word_import.hpp"

#include <QApplication>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

namespace quillbay::bench {

namespace {

constexpr double kPandocBudget = 0.2;
constexpr double kMammothBudget = 0.5;
constexpr int kPages = 300;

// Prints the milliseconds of one conversion, the median of five after two.
const QString kMammothScript = QStringLiteral(R"js(
const mammoth = require(process.argv[1]);
(async () => {
	const times = [];
	for (let i = 0; i < 7; ++i) {
		const start = process.hrtime.bigint();
		await mammoth.convertToHtml({path: process.argv[2]});
		times.push(Number(process.hrtime.bigint() - start) / 1e6);
	}
	console.log(times.slice(2).sort((a, b) => a - b)[2]);
})();
)js");

QByteArray output(const QString &program, const QStringList &arguments)
{
	QProcess process;
	process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
	process.start(program, arguments);
	if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
		qFatal("%s failed", qPrintable(program));
	}
	return process.readAllStandardOutput();
}

// A script as it is read from a screen: a heading, a list and four short paragraphs of mixed formatting a page.
QString writeScript(const QString &folder)
{
	const QString path = folder + QStringLiteral("/script.md");
	QFile file(path);
	if (!file.open(QIODevice::WriteOnly)) {
		qFatal("no script can be written");
	}
	const QString paragraph = QStringLiteral("Good **evening** and *welcome* to [the show](https://example.org), "
						 "here are ~~all~~ the news of the day, ***live***.\n\n");
	for (int page = 1; page <= kPages; ++page) {
		file.write((QStringLiteral("# Story %1\n\n").arg(page) + paragraph.repeated(4) +
			    QStringLiteral("1. First item\n    a. Nested item\n2. Second item\n\n- A bullet\n\n"))
				   .toUtf8());
	}
	file.close();
	const QString docx = folder + QStringLiteral("/script.docx");
	output(QStringLiteral("pandoc"), {path, QStringLiteral("-o"), docx});
	return docx;
}

bool compareFile(const QString &path, const QString &mammoth)
{
	const DocxResult result = importDocx(path);
	const QByteArray name = QFileInfo(path).fileName().toUtf8();
	std::printf("%s: %lld bytes, %lld characters of HTML %s\n", name.constData(),
		    static_cast<long long>(QFileInfo(path).size()), static_cast<long long>(result.html.size()),
		    qPrintable(result.error));
	const auto ours = [&path] {
		return milliseconds([&path] {
			output(QCoreApplication::applicationFilePath(), {QStringLiteral("--import"), path});
		});
	};
	const auto pandoc = [&path] {
		return milliseconds([&path] {
			output(QStringLiteral("pandoc"),
			       {QStringLiteral("--from=docx"), QStringLiteral("--to=html"), path});
		});
	};
	bool isWithin = compare("process", name.constData(), kPandocBudget, 5, ours, pandoc, "pandoc");
	if (!mammoth.isEmpty()) {
		const auto inProcess = [&path] { return milliseconds([&path] { importDocx(path); }); };
		const auto peer = [&path, &mammoth] {
			return output(QStringLiteral("node"), {QStringLiteral("-e"), kMammothScript, mammoth, path})
				.toDouble();
		};
		isWithin =
			compare("import", name.constData(), kMammothBudget, 5, inProcess, peer, "mammoth") && isWithin;
	}
	return isWithin;
}

int printImported(const QString &path)
{
	const DocxResult result = importDocx(path);
	std::fprintf(stderr, "%s%s", qPrintable(result.error), result.simplified ? "simplified\n" : "");
	std::fputs(result.html.toUtf8().constData(), stdout);
	return result.error.isEmpty() ? 0 : 1;
}

} // namespace

} // namespace quillbay::bench

int main(int argc, char *argv[])
{
	using namespace quillbay::bench;

	const QApplication application(argc, argv);
	QStringList files = QCoreApplication::arguments().mid(1);
	if (files.size() == 2 && files[0] == QStringLiteral("--import")) {
		return printImported(files[1]);
	}
	QString mammoth;
	if (files.size() >= 2 && files[0] == QStringLiteral("--mammoth")) {
		mammoth = QFileInfo(files[1] + QStringLiteral("/node_modules/mammoth")).absoluteFilePath();
		files = files.mid(2);
	}
	const QTemporaryDir folder;
	files.prepend(writeScript(folder.path()));
	bool isWithin = true;
	for (const QString &file : std::as_const(files)) {
		isWithin = compareFile(file, mammoth) && isWithin;
	}
	return isWithin ? 0 : 1;
}
