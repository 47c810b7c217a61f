// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A note on its way to a browser and back, beside what Qt needs to load and write the same note.

#include "bench.hpp"

#include "convert/apply_web_document.hpp"
#include "convert/note_session.hpp"
#include "convert/web_document.hpp"
#include "notes/note_document.hpp"

#include <QApplication>
#include <QJsonArray>
#include <QSaveFile>
#include <QTemporaryDir>

namespace quillbay::bench {

namespace {

constexpr double kExportBudget = 1.3;
constexpr double kOpenBudget = 0.5; // nothing is parsed
constexpr double kSaveBudget = 2;
// Beside loading and writing, the plain way reads what was sent and exports what is there.
constexpr double kNothingBudget = 1.5;
constexpr double kApplyBudget = 2.5;

QJsonValue withText(QJsonObject run, const QString &text)
{
	run.insert(QStringLiteral("text"), text);
	return run;
}

// The document with one word more in a paragraph, or in every one.
QJsonObject edited(const QJsonObject &document, bool isWhole, const QString &word)
{
	QJsonArray blocks = document.value(QStringLiteral("blocks")).toArray();
	const qsizetype middle = blocks.size() / 2;
	for (qsizetype i = isWhole ? 0 : middle; i < (isWhole ? blocks.size() : middle + 1); ++i) {
		QJsonObject block = blocks.at(i).toObject();
		QJsonArray runs = block.value(QStringLiteral("runs")).toArray();
		const QJsonObject run = runs.at(0).toObject();
		runs[0] = withText(run, word + run.value(QStringLiteral("text")).toString().mid(word.size()));
		block.insert(QStringLiteral("runs"), runs);
		blocks[i] = block;
	}
	return {{QStringLiteral("blocks"), blocks}};
}

void save(const QString &path, const QString &html)
{
	QSaveFile file(path);
	if (!file.open(QIODevice::WriteOnly) || file.write(html.toUtf8()) < 0 || !file.commit()) {
		qFatal("the note is not written");
	}
}

bool compareSave(const Case &note, const QTextDocument &loaded)
{
	const QTemporaryDir folder;
	const QString path = folder.filePath(QStringLiteral("note.html"));
	NoteSession session;
	const QJsonObject exported = session.webDocument(note.html);
	const QJsonObject sent[] = {edited(exported, false, QStringLiteral("ab")),
				    edited(exported, false, QStringLiteral("cd"))};
	QString html = note.html;
	int saves = 0;
	const auto ours = [&] {
		return milliseconds([&] {
			if (!session.applyWebDocument(html, sent[saves++ % 2], html)) {
				qFatal("the save is refused");
			}
			save(path, html);
		});
	};
	const auto qts = [&] { return milliseconds([&] { save(path, loaded.toHtml()); }); };
	std::printf("%-10s %s  ours %8.3f ms\n", "first", note.name, ours());
	const bool isWithin = compare("save", note.name, kSaveBudget, 15, ours, qts);
	return isWithin && session.savesInPart() >= saves - 1;
}

bool compareCase(const Case &note)
{
	const auto load = [&note] {
		return milliseconds([&note] { NoteDocument::makeScratch()->setHtml(note.html); });
	};
	const auto loadAndWrite = [&note] {
		return milliseconds([&note] {
			const auto scratch = NoteDocument::makeScratch();
			scratch->setHtml(note.html);
			(void)scratch->toHtml();
		});
	};
	const auto webForm = [&note] { return milliseconds([&note] { (void)webDocument(note.html); }); };
	bool isWithin = compare("export", note.name, kExportBudget, 9, webForm, load);

	const auto writer = NoteDocument::makeScratch();
	writer->setHtml(note.html);
	const QString written = writer->toHtml();
	const auto openForm = [&] { return milliseconds([&] { (void)webDocument(written, *writer); }); };
	isWithin = compare("open", note.name, kOpenBudget, 9, openForm, load) && isWithin;

	const QJsonObject exported = webDocument(note.html);
	const auto apply = [&](const char *name, double budget, const QJsonObject &sent) {
		const auto ours = [&] {
			return milliseconds([&] {
				QString html;
				if (!applyWebDocument(note.html, sent, html)) {
					qFatal("the document is refused");
				}
			});
		};
		isWithin = compare(name, note.name, budget, 5, ours, loadAndWrite) && isWithin;
	};
	apply("nothing", kNothingBudget, exported);
	apply("one word", kApplyBudget, edited(exported, false, QStringLiteral("ab")));
	apply("all", kApplyBudget, edited(exported, true, QStringLiteral("ab")));

	const auto loaded = NoteDocument::makeScratch();
	loaded->setHtml(note.html);
	return compareSave(note, *loaded) && isWithin;
}

} // namespace

} // namespace quillbay::bench

int main(int argc, char *argv[])
{
	return quillbay::bench::runWantedCases(argc, argv, quillbay::bench::compareCase);
}
