// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "convert/apply_web_document.hpp"
#include "convert/export_document.hpp"
#include "convert/note_session.hpp"
#include "convert/web_document.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"

namespace quillbay::test {

namespace {

// As the editor saves it in the host, whose own font is a list of families.
QString saved(const QString &html)
{
	const auto document = NoteDocument::makeScratch();
	QFont font;
	font.setFamilies({"Open Sans", "Arial", "sans-serif"});
	document->setDefaultFont(font);
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
	return QJsonArray::fromVariantList(QVariantList(count, value.toVariant()));
}

// Notes and edits of all kinds that stay within the form.
class Generator {
public:
	explicit Generator(quint32 seed) : random_(seed) {}

	int below(int end) { return random_.bounded(end); }

	QString oneOf(const char *choices)
	{
		const QStringList all = QString(choices).split(u'¦');
		return all[below(all.size())];
	}

	QString word()
	{
		return oneOf("one¦two ¦ ¦&amp;<br>¦x&nbsp;y¦&#x1f600;¦a<br>¦\t¦Wort¦<br>b¦&nbsp;¦  z¦&lt;p&gt;");
	}

	QString note()
	{
		static constexpr const char *kRuns = "%1¦%1¦%1¦<b>%1</b>¦<i>%1</i><u>%1</u>¦"
						     "<span style=\"color:#%2%2ff00;font-family:'A','B'\">%1</span>¦"
						     "<span style=\"font-size:%2pt\">%1</span>¦"
						     "<s style=\"background:#00ff%2%2;letter-spacing:2px\">%1</s>";
		static constexpr const char *kBlocks =
			"<p>%1</p>¦<p>%1</p>¦<p>%1</p>¦<p></p>¦"
			"<p style=\"line-height:140%;margin-left:%2px\">%1</p>¦<p align=right dir=rtl>%1</p>¦"
			"<h2>%1</h2>¦<ul><li>%1</li><li>%1</li></ul>¦<ol type=a start=3><li>%1</ol>¦"
			"<ol><li>%1<ul><li>%1</li></ul></li><li>%1</ol>¦<div>%1</div>¦"
			"<ul><li>%1</li><p>%1</p><li>%1</li></ul>";
		QString html;
		for (int block = below(16); block >= 0; --block) {
			QString runs;
			for (int run = below(4); run > 0; --run) {
				runs += oneOf(kRuns)
						.replace("%1", word() + word())
						.replace("%2", QString::number(1 + below(9)));
			}
			html += oneOf(kBlocks).replace("%1", runs).replace("%2", QString::number(below(9)));
		}
		return below(4) == 0 ? html : saved(saved(html));
	}

	// Most of it stays as plain as what people type.
	void edit(QTextDocument &document)
	{
		QTextCursor cursor(&document);
		cursor.setPosition(below(document.characterCount()));
		cursor.setPosition(below(document.characterCount()), QTextCursor::KeepAnchor);
		QTextBlockFormat block;
		block.setIndent(below(14));
		block.setAlignment(Qt::Alignment(1 << below(4)));
		const std::pair<QTextFormat::Property, QVariant> changes[] = {
			{QTextFormat::FontWeight, below(4) ? 700 : 350},
			{QTextFormat::FontItalic, below(2) > 0},
			{QTextFormat::FontStrikeOut, below(2) > 0},
			{QTextFormat::FontPointSize, 9 + below(3) * 0.55},
			{QTextFormat::ForegroundBrush, QBrush(QColor(below(2), 9, 9, below(4) ? 255 : 100))},
			{QTextFormat::FontFamilies, QStringList{below(4) ? "Open Sans" : "It's", "Arial"}},
		};
		const size_t change = below(12);
		if (change < std::size(changes)) {
			QTextCharFormat format;
			format.setProperty(changes[change].first, changes[change].second);
			cursor.mergeCharFormat(format);
		} else if (change < 8) {
			cursor.mergeBlockFormat(block);
		} else {
			cursor.setPosition(cursor.position());
			cursor.insertText(
				oneOf("x¦  ¦ y ¦\u00a0¦<&\">'¦\U0001F601¦\u2003\u200b\u00ad¦\ttab¦\n¦\u2028¦\u05d0¦"
				      "\u3000\ufeff¦&amp;"));
		}
	}

	QJsonObject edited(const QJsonObject &document)
	{
		QJsonArray blocks = blocksOf(document);
		const int at = below(blocks.size());
		const QJsonObject block = blocks[at].toObject();
		const int kind = below(9);
		if (kind == 0) {
			blocks.insert(at, below(2) ? block : blockOf({}));
		} else if (kind == 1) {
			blocks.size() > 1 ? blocks.removeAt(at) : (void)0;
		} else {
			blocks[at] = kind == 2   ? with(block, "align", 1 << below(4))
				     : kind == 3 ? listed(block)
						 : with(block, "runs", editedRuns(block.value("runs").toArray()));
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
		const QString text = oneOf("new¦¦x ¦ ¦\u2028¦\u00a0¦\U0001F601¦long text");
		const int at = below(runs.size() + 1);
		if (at == runs.size()) {
			runs.append(runOf(text));
			return runs;
		}
		const QJsonObject run = runs[at].toObject();
		const std::pair<const char *, QJsonValue> changes[] = {
			{"weight", below(2) ? 700 : 400},
			{"color", below(2) ? "red" : "#80123456"},
			{"size", below(3) * 4.5},
			{"family", below(2) ? "Arial" : ""},
			{"text", run.value("text").toString().left(below(8)) + text},
		};
		const auto &[key, value] = changes[below(5)];
		runs[at] = with(run, key, value);
		return runs;
	}

	QRandomGenerator random_;
};

} // namespace

class ConvertTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void notesAreExported()
	{
		const auto check = [](const char *html, int block, QByteArray values, bool editable = true) {
			const QJsonObject document = webDocument(html);
			QVERIFY2(document.value("editable").toBool() == editable, html);
			QVariantMap found = blocksOf(document).at(block).toObject().toVariantMap();
			found.insert(found["runs"].toList().value(0).toMap());
			QVariantMap wanted = found;
			wanted.insert(QJsonDocument::fromJson(values.replace('\'', '"')).object().toVariantMap());
			QVERIFY2(found == wanted, html);
		};
		check("", 0, "{'runs':[],'align':1,'indent':0,'list':0,'listIndent':1,'listGroup':0,'listStart':1}");
		check("<b>x</b>", 0, "{'weight':700,'size':0,'family':'','color':'','background':'','text':'x'}");
		check("<span style='color:red;background:#0F0'>x", 0, "{'color':'#ff0000','background':'#00ff00'}");
		check("<p align=right>x", 0, "{'align':2}");
		check("a<br>b&nbsp;", 0, "{'text':'a\\u2028b\\u00a0'}");
		check("<ol type=I start=7><li>x</ol>", 0, "{'list':-8,'listIndent':1,'listStart':7,'listGroup':1}");
		check("<ul><li>a</ul><p>b</p><ul><li>c</ul>", 2, "{'list':-1,'listGroup':2}");
		check("<ul><li>a</li><p>b</p><li>c</li></ul>", 2, "{'list':-1,'listGroup':1}");
		check("<table><tr><td>cell</table>", 1, "{'text':'cell'}", false);
		for (const char *html : {"<img src=x>", "<a href=x>x</a>", "<span style='font-size:16px'>x", "<sup>x",
					 "<span style='color:#80ff0000'>x", "<ol start=0><li>x</ol>",
					 "<span style='font-size:501pt'>x", "<p style='-qt-block-indent:13'>x"}) {
			check(html, 0, "{}", false);
		}
	}

	void faultsAreRefused()
	{
		const QJsonValue none(QJsonValue::Undefined);
		const QJsonArray sound{blockOf({runOf("x")})};
		const auto addBlock = [](const char *key, const QJsonValue &value) {
			return QJsonArray{with(blockOf({runOf("x")}), key, value)};
		};
		const auto addRun = [](const char *key, const QJsonValue &value) {
			return QJsonArray{blockOf({with(runOf("x"), key, value)})};
		};
		QList<QJsonArray> faults{{},
					 {1},
					 addBlock("align", 3),
					 addBlock("indent", 13),
					 addBlock("listStart", 10'001),
					 addBlock("runs", 1),
					 addRun("weight", 1001),
					 addRun("size", 500.5),
					 addRun("family", QString(201, u'x')),
					 addRun("color", "#ff00"),
					 addRun("background", "#ff00ff00ff"),
					 repeated(blockOf(repeated(runOf(""), 1001)), 100)};
		for (const char *key : {"align", "indent", "list", "listIndent", "listStart", "runs"}) {
			faults << addBlock(key, none) << addBlock(key, -9);
		}
		for (const char *key : {"text", "weight", "size"}) {
			faults << addRun(key, none) << addRun(key, QJsonArray());
		}
		for (const char16_t character : {u'\n', u'\r', u'\0', u'\u2029', u'\ufffc', u'\ufdd0', u'\xd83d'}) {
			faults << addRun("text", QString(QChar(character)));
		}
		for (const QJsonArray &blocks : faults) {
			isRefused("base", documentOf(blocks), false);
		}
		isRefused("base", {}, false);
		isRefused("<table><tr><td>x</table>", documentOf(sound), false);
		isRefused(QString("<div>").repeated(50'000), documentOf(sound), false);
		isRefused("base", documentOf({blockOf({runOf(QString(10'001, u'x'))})}), true);
		isRefused("base", documentOf(repeated(blockOf({}), 20'001)), true);
		const QJsonArray full = repeated(blockOf({runOf(QString(9'999, u'x'))}), 20);
		isRefused("base", documentOf(full + sound.first()), true);
	}

	// The result, loaded again, says what was sent.
	void editsChangeWhatTheyMust()
	{
		const auto check = [](const char *html, const QJsonArray &blocks, const char *text) {
			QString result;
			QVERIFY2(applyWebDocument(html, documentOf(blocks), result), html);
			NoteDocument document;
			document.setHtml(result);
			QCOMPARE(document.toRawText(), text);
			const QJsonArray found = blocksOf(webDocument(result));
			QCOMPARE(found.size(), blocks.size());
			for (int i = 0; i < found.size(); ++i) {
				for (const char *key : {"align", "indent", "list", "listIndent", "listStart"}) {
					QVERIFY2(found[i][QLatin1StringView(key)] == blocks[i][QLatin1StringView(key)],
						 html);
				}
			}
		};
		const QJsonObject item = with(with(blockOf({runOf("x")}), "list", -4), "listGroup", 9);
		check("", {blockOf({runOf("new")})}, "new");
		check("a&#x1f600;b", {blockOf({runOf("a\U0001F601b")})}, "a\U0001F601b"); // half a pair changes
		check("ab", {blockOf({runOf("a\u2028b")})}, "a\u2028b");
		check("a<br>b", {blockOf({runOf("a\u2028")}), blockOf({runOf("b")})}, "a\u2028\u2029b");
		check("a<br>b", {blockOf({runOf("a")}), blockOf({runOf("b")})}, "a\u2029b");
		check("a&nbsp;b", {blockOf({runOf("a bc")})}, "a\u00a0bc");
		check("<ul><li>x</ul>", {blockOf({runOf("x")})}, "x");
		check("<p>x</p><p>x</p>", {item, item}, "x\u2029x");
		check("<p>x</p><ul><li>y</ul>", {item, with(item, "runs", QJsonArray())}, "x\u2029");
		check("<p>a</p><h1>b</h1>", {blockOf({})}, "");
		check("<p>x</p>", {with(blockOf({runOf("x")}), "indent", 2)}, "x");
	}

	void whatPhonesDoNotShowStays()
	{
		const QString html =
			saved("<p style='line-height:140%'><span style='text-decoration:overline'>ab</span>c</p>");
		const QJsonObject block = blocksOf(webDocument(html)).first().toObject();
		QJsonArray runs = block.value("runs").toArray();
		runs[0] = with(runs[0].toObject(), "weight", 700);
		QString result;
		QVERIFY(applyWebDocument(html, documentOf({with(block, "runs", runs)}), result));
		QVERIFY(result.contains("font-weight:700"));
		QVERIFY2(result.contains("line-height:140%") && result.contains(" overline"), qPrintable(result));
	}

	void anExportChangesNothing()
	{
		for (quint32 seed = 1000; seed < 1200; ++seed) {
			const QString html = Generator(seed).note();
			QString result;
			QVERIFY2(applyWebDocument(html, webDocument(html), result), qPrintable(html));
			QCOMPARE(result, html);
		}
	}

	void basicHtmlSpellsEverythingOut()
	{
		QTextDocument document;
		QFont font("Arial");
		font.setPointSizeF(11.5);
		document.setDefaultFont(font);
		document.setHtml("<b>bold</b><span style='font-size:16px;color:#80ff0000'>px</span><img src=x>"
				 "<table><tr><td><a href=y>cell</a></table><p style='-qt-block-indent:40'>in");
		QString html;
		QVERIFY(basicHtml(document, html));
		const QJsonObject found = webDocument(html);
		QVERIFY(found.value("editable").toBool());
		const QJsonArray runs = blocksOf(found).first().toObject().value("runs").toArray();
		QCOMPARE(runs[0].toObject().value("family"), "Arial");
		QCOMPARE(runs[1].toObject().value("size"), 12);
		QCOMPARE(runs[1].toObject().value("color"), "");
		QCOMPARE(plainText(html), plainText(document.toHtml()));
		QCOMPARE(plainText("a<img src=x>&nbsp;b<br>c<ul><li>d"), "a b\nc\nd");
		document.setPlainText(QString(10'001, u'x'));
		html = "untouched";
		QVERIFY(!basicHtml(document, html));
		QCOMPARE(html, "untouched");
	}

	void hostileDocumentsAreAnsweredInTime()
	{
		QJsonArray colors;
		QJsonArray lists;
		for (int i = 0; i < 1000; ++i) {
			QJsonArray runs;
			for (int j = 0; j < 100; ++j) {
				runs.append(with(runOf("x"), "color", QColor(QRgb(i * 100 + j)).name()));
			}
			colors.append(blockOf(runs));
			const QJsonObject item = with(blockOf({runOf("x")}), "list", -1 - i % 2);
			lists.append(with(with(item, "listGroup", i + 1), "listIndent", 1 + i % 12));
		}
		const QJsonArray words = repeated(blockOf({runOf(QString(9'999, u'x'))}), 20);
		const QJsonArray hebrew = repeated(blockOf({runOf(QString(9'999, QChar(0x5d0)))}), 20);
		for (const QJsonArray &blocks : {colors, lists, words, hebrew}) {
			const QDeadlineTimer deadline(3'000 * kSlowness);
			QString html;
			const bool isApplied = applyWebDocument({}, documentOf(blocks), html);
			QVERIFY(!deadline.hasExpired());
			QVERIFY(!isApplied || withinHtmlLimits(html));
		}
	}

	// What the open editor's document gives is what its HTML gives, whatever was typed, coloured or indented in it.
	void anOpenDocumentGivesWhatItsHtmlGives()
	{
		int known = 0;
		for (quint32 seed = 3000; seed < 3600; ++seed) {
			Generator generator(seed);
			NoteDocument editor;
			editor.setDefaultFont(QFont(QStringList{"Open Sans", "sans-serif"}, 9 + generator.below(4)));
			editor.setDefaultStyleSheet("p, li { line-height: 140%; }");
			const QString plain = "<p>one</p><p align=right>two <b>three</b> </p><p></p>";
			editor.setHtml(generator.below(4) ? generator.below(2) ? plain : saved(plain)
							  : generator.note());
			for (int edit = generator.below(6); edit > 0; --edit) {
				generator.edit(editor);
			}
			const QString html = editor.toHtml();
			const QJsonObject sent = webDocument(html);
			QVERIFY2(webDocument(html, editor) == sent, qPrintable(QString::number(seed) + html));
			known += exportWritten(editor).isEmpty() ? 0 : 1;
		}
		qInfo("%d known without parsing", known);
		QVERIFY(known > 200);
	}

	void sessionsGiveWhatThePlainWayGives()
	{
		int inPart = 0;
		int saves = 0;
		for (quint32 seed = 0; seed < 150; ++seed) {
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
				const QStringList shown{QString::number(seed), html, plain, fast};
				QVERIFY2(isPlain == isFast && plain == fast, qPrintable(shown.join(u'\n')));
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

private:
	static void isRefused(const QString &html, const QJsonObject &document, bool isOverLimit)
	{
		NoteSession session;
		(void)session.webDocument(html);
		for (const bool isFast : {false, true}) {
			bool limit = !isOverLimit;
			QString result = "untouched";
			QVERIFY2(!(isFast ? session.applyWebDocument(html, document, result, &limit)
					  : applyWebDocument(html, document, result, &limit)),
				 QJsonDocument(document).toJson().left(300).constData());
			QVERIFY(limit == isOverLimit && result == "untouched");
		}
	}
};

} // namespace quillbay::test

QTEST_MAIN(quillbay::test::ConvertTest)
#include "convert_test.moc"
