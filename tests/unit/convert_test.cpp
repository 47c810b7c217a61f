// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/apply_web_document.hpp"
#include "convert/note_session.hpp"
#include "convert/web_document.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QTextBlock>
#include <QTextList>
#include <QtTest>

namespace quillbay::test {

namespace {

QJsonObject json(const char *text)
{
	return QJsonDocument::fromJson(text).object();
}

QString saved(const QString &html)
{
	const auto document = NoteDocument::makeScratch();
	document->setHtml(html);
	return document->toHtml();
}

QJsonArray blocksOf(const QJsonObject &document)
{
	return document.value("blocks").toArray();
}

QJsonObject with(QJsonObject object, const QString &key, const QJsonValue &value)
{
	value.isUndefined() ? object.remove(key) : (void)object.insert(key, value);
	return object;
}

QJsonObject documentOf(const QJsonArray &blocks)
{
	return {{"blocks", blocks}};
}

QJsonObject blockOf(const QJsonArray &runs)
{
	return with(blocksOf(webDocument({})).first().toObject(), "runs", runs);
}

QJsonObject runOf(const QString &text)
{
	return {{"text", text}, {"weight", 400}, {"size", 0}};
}

QJsonArray repeated(const QJsonValue &value, int count)
{
	QJsonArray all;
	for (int i = 0; i < count; ++i) {
		all.append(value);
	}
	return all;
}

// Notes and edits of all kinds that stay within the form.
class Generator {
public:
	explicit Generator(quint32 seed) : random_(seed) {}

	int below(int end) { return random_.bounded(end); }

	QString word()
	{
		static const QStringList kWords = {"one", "two ", " ", "&amp;<br>", "x&nbsp;y", "&#x1f600;", "a<br>",
						   "\t", "Wort", "<br>b", "&nbsp;", "  z", "&lt;p&gt;"};
		return kWords[below(kWords.size())];
	}

	QString note()
	{
		static const QStringList kRuns = {"%1", "%1", "%1", "<b>%1</b>", "<i>%1</i><u>%1</u>",
						  "<span style=\"color:#%2ff00;font-family:'A','B'\">%1</span>",
						  "<span style=\"font-size:%2pt\">%1</span>",
						  "<s style=\"background:#00ff0%2;letter-spacing:2px\">%1</s>"};
		static const QStringList kBlocks = {"<p>%1</p>", "<p>%1</p>", "<p>%1</p>", "<p></p>",
						    "<p style=\"line-height:140%;margin-left:%2px\">%1</p>",
						    "<p align=right dir=rtl>%1</p>", "<h2>%1</h2>",
						    "<ul><li>%1</li><li>%1</li></ul>", "<ol type=a start=3><li>%1</ol>",
						    "<ol><li>%1<ul><li>%1</li></ul></li><li>%1</ol>", "<div>%1</div>",
						    "<ul><li>%1</li><p>%1</p><li>%1</li></ul>"};
		QString html;
		for (int block = below(16); block >= 0; --block) {
			QString runs;
			for (int run = below(4); run > 0; --run) {
				runs += QString(kRuns[below(kRuns.size())])
						.replace("%1", word() + word())
						.replace("%2", QString::number(1 + below(9)));
			}
			html += QString(kBlocks[below(kBlocks.size())])
					.replace("%1", runs)
					.replace("%2", QString::number(below(9)));
		}
		return below(4) == 0 ? html : saved(saved(html));
	}

	QJsonObject edited(const QJsonObject &document)
	{
		QJsonArray blocks = blocksOf(document);
		const int at = below(blocks.size());
		const QJsonObject block = blocks[at].toObject();
		switch (below(9)) {
		case 0: blocks.insert(at, below(2) ? block : blockOf({})); break;
		case 1: blocks.size() > 1 ? blocks.removeAt(at) : (void)0; break;
		case 2: blocks[at] = with(block, "align", 1 << below(4)); break;
		case 3: blocks[at] = listed(block); break;
		default: blocks[at] = with(block, "runs", editedRuns(block.value("runs").toArray())); break;
		}
		return documentOf(blocks);
	}

private:
	QJsonObject listed(QJsonObject block)
	{
		const bool isList = below(3) > 0;
		block["list"] = isList ? -1 - below(8) : 0;
		block["listGroup"] = isList ? 1 + below(4) : 0;
		block["listIndent"] = isList ? 1 + below(2) : 1;
		block["listStart"] = isList ? 1 + below(3) : 1;
		block["indent"] = below(3);
		return block;
	}

	QJsonArray editedRuns(QJsonArray runs)
	{
		static const QStringList kTexts = {"new", "", "x ", " ", "\u2028", "\u00a0", "\U0001F601", "long text"};
		const QString text = kTexts[below(kTexts.size())];
		const int at = below(runs.size() + 1);
		if (at == runs.size()) {
			runs.append(runOf(text));
			return runs;
		}
		const QJsonObject run = runs[at].toObject();
		switch (below(5)) {
		case 0: runs[at] = with(run, "weight", below(2) ? 700 : 400); break;
		case 1: runs[at] = with(run, "color", below(2) ? "red" : "#80123456"); break;
		case 2: runs[at] = with(run, "size", below(3) * 4.5); break;
		case 3: runs[at] = with(run, "family", below(2) ? "Arial" : ""); break;
		default: runs[at] = with(run, "text", run.value("text").toString().left(below(8)) + text); break;
		}
		return runs;
	}

	QRandomGenerator random_;
};

} // namespace

class ConvertTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void sessionsGiveWhatThePlainWayGives();
};

void ConvertTest::sessionsGiveWhatThePlainWayGives()
{
	int inPart = 0;
	int saves = 0;
	for (quint32 seed = 0; seed < 400; ++seed) {
		Generator generator(seed);
		QString html = generator.note();
		NoteSession session;
		QJsonObject document = session.webDocument(html);
		QCOMPARE(document, webDocument(html));
		for (int save = 0; save < 8; ++save) {
			const QJsonObject sent = generator.edited(document);
			QString plain = "untouched";
			QString fast = plain;
			const bool isPlain = applyWebDocument(html, sent, plain);
			const bool isFast = session.applyWebDocument(html, sent, fast);
			const QByteArray shown = "seed " + QByteArray::number(seed) + " save " + QByteArray::number(save) +
						 "\n" + html.toUtf8() + "\n" + QJsonDocument(sent).toJson() + "\n" +
						 plain.toUtf8() + "\n" + fast.toUtf8();
			QVERIFY2(isPlain == isFast && plain == fast, shown.constData());
			if (!isPlain) {
				break;
			}
			++saves;
			html = plain;
			document = sent;
		}
		inPart += session.savesInPart();
	}
	qInfo("%d of %d saves in part", inPart, saves);
	QVERIFY(inPart > saves / 2);
}

} // namespace quillbay::test

QTEST_MAIN(quillbay::test::ConvertTest)
#include "convert_test.moc"
