// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "convert/word_import.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <QTextBlock>
#include <QTextList>

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

namespace quillbay::test {

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr int kMaxMilliseconds = 30'000;
#else
constexpr int kMaxMilliseconds = 3'000;
#endif
constexpr qsizetype kPartBytes = 24 * 1024 * 1024;

struct Entry {
	QByteArray name;
	QByteArray bytes;
};

void writePackage(const QString &path, const QList<Entry> &entries, bool isEncrypted = false)
{
	archive *package = archive_write_new();
	archive_write_set_format_zip(package);
	if (isEncrypted) {
		QCOMPARE(archive_write_set_options(package, "zip:encryption=traditional"), ARCHIVE_OK);
		archive_write_set_passphrase(package, "secret");
	}
	QCOMPARE(archive_write_open_filename(package, QFile::encodeName(path).constData()), ARCHIVE_OK);
	for (const Entry &entry : entries) {
		archive_entry *head = archive_entry_new();
		archive_entry_set_pathname(head, entry.name.constData());
		archive_entry_set_filetype(head, AE_IFREG);
		archive_entry_set_perm(head, 0644);
		archive_entry_set_size(head, entry.bytes.size());
		QCOMPARE(archive_write_header(package, head), ARCHIVE_OK);
		archive_write_data(package, entry.bytes.constData(), static_cast<size_t>(entry.bytes.size()));
		archive_entry_free(head);
	}
	QCOMPARE(archive_write_close(package), ARCHIVE_OK);
	archive_write_free(package);
}

QByteArray part(const QByteArray &root, const QByteArray &content)
{
	return R"(<?xml version="1.0" encoding="UTF-8"?><w:)" + root +
	       R"( xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main">)" + content + "</w:" + root +
	       ">";
}

QByteArray body(const QByteArray &content)
{
	return part("document", "<w:body>" + content + "</w:body>");
}

QByteArray paragraph(const QByteArray &words, const QByteArray &properties = {})
{
	return "<w:p><w:pPr>" + properties + "</w:pPr><w:r><w:t xml:space='preserve'>" + words + "</w:t></w:r></w:p>";
}

QByteArray run(const QByteArray &properties)
{
	return "<w:r><w:rPr>" + properties + "</w:rPr><w:t>x</w:t></w:r>";
}

// Each paragraph with its alignment and list, each run with its formatting.
QString describe(const QTextCharFormat &format)
{
	const QFont plain = QTextDocument().defaultFont();
	QStringList all;
	const auto add = [&all](bool isSet, const QString &word) { isSet ? all.append(word) : void(); };
	add(format.fontWeight() == QFont::Bold, "b");
	add(format.fontItalic(), "i");
	add(format.fontUnderline(), "u");
	add(format.fontStrikeOut(), "s");
	add(format.fontPointSize() != plain.pointSizeF(), QString::number(format.fontPointSize()));
	add(format.hasProperty(QTextFormat::ForegroundBrush), format.foreground().color().name());
	add(format.hasProperty(QTextFormat::BackgroundBrush), "on " + format.background().color().name());
	add(format.verticalAlignment() == QTextCharFormat::AlignSuperScript, "super");
	add(format.verticalAlignment() == QTextCharFormat::AlignSubScript, "sub");
	add(format.fontFamilies().toStringList() != plain.families(), format.fontFamilies().toStringList().join(u','));
	all.removeAll(QString());
	return all.isEmpty() ? QString() : u'{' + all.join(u' ') + u'}';
}

QString describe(const QString &html)
{
	static const QHash<int, QString> kAlignments = {
		{Qt::AlignHCenter, "center "}, {Qt::AlignRight, "right "}, {Qt::AlignJustify, "justify "}};
	QTextDocument document;
	document.setHtml(html);
	QStringList blocks;
	for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
		QString all = kAlignments.value(int(block.blockFormat().alignment() & ~Qt::AlignAbsolute));
		if (const QTextList *list = block.textList()) {
			all += QStringLiteral("<%1 %2 %3>")
				       .arg(list->format().style())
				       .arg(list->format().indent())
				       .arg(list->itemNumber(block) + list->format().start());
		}
		for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
			all += fragment.fragment().text() + describe(fragment.fragment().charFormat());
		}
		blocks += all.replace(QChar::LineSeparator, u'/');
	}
	return blocks.join(u'|');
}

} // namespace

class WordTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void formatting_data();
	void formatting();
	void limits_data();
	void limits();
	void brokenParts_data();
	void brokenParts();
	void packages();
	void filesOfOtherPrograms_data();
	void filesOfOtherPrograms();

private:
	DocxResult import(const QList<Entry> &entries)
	{
		const QString path = folder_.filePath(QStringLiteral("a.docx"));
		writePackage(path, entries);
		return importDocx(path);
	}

	QTemporaryDir folder_;
};

void WordTest::formatting_data()
{
	QTest::addColumn<QByteArray>("content");
	QTest::addColumn<QByteArray>("styles");
	QTest::addColumn<QByteArray>("numbering");
	QTest::addColumn<QString>("expected");
	QTest::addColumn<bool>("simplified");
	const auto row = [](const char *name, const QByteArray &content, const QString &expected,
			    const QByteArray &styles = {}, const QByteArray &numbering = {}, bool simplified = false) {
		QTest::newRow(name) << content << styles << numbering << expected << simplified;
	};
	row("text",
	    "<w:t>no</w:t><w:p><w:r><w:t>a</w:t><w:tab/><w:t>&lt;b</w:t><w:br/><w:t>c</w:t><w:cr/></w:r></w:p><w:p/>",
	    "a\t<b/c/|");
	row("switches",
	    "<w:p>" + run("<w:b/>") + run("<w:b w:val='0'/><w:i w:val='on'/>") + run("<w:u w:val='none'/>") +
		    run("<w:u w:val='double'/><w:strike/>") + run("<w:i w:val='off'/>") + "</w:p>",
	    "x{b}x{i}xx{u s}x");
	row("sizes",
	    "<w:p>" + run("<w:sz w:val='2'/>") + run("<w:sz w:val='1000'/>") + run("<w:sz w:val='1001'/>") +
		    run("<w:sz w:val='1'/>") + run("<w:sz w:val='nan'/>") + run("<w:sz w:val='25'/>") + "</w:p>",
	    "x{1}x{500}xxxx{12.5}");
	row("families",
	    "<w:p>" + run("<w:rFonts w:ascii='A' w:hAnsi='B' w:eastAsia='C'/>") +
		    run("<w:rFonts w:hAnsi='B' w:ascii='A'/>") + run("<w:rFonts w:hAnsi='B'/>") +
		    run("<w:rFonts w:asciiTheme='minor'/>") + run("<w:rFonts w:ascii='" + QByteArray(65, 'F') + "'/>") +
		    "</w:p>",
	    "x{C}x{A}x{B}xx");
	row("colors",
	    "<w:p>" + run("<w:color w:val='FF0000'/>") + run("<w:color w:val='auto'/>") +
		    run("<w:highlight w:val='darkYellow'/>") + run("<w:highlight w:val='yellow'/>") +
		    run("<w:highlight w:val='none'/>") + run("<w:shd w:fill='00ff00'/>") +
		    run("<w:shd w:fill='auto'/>") + "</w:p>",
	    "x{#ff0000}xx{on #808000}x{on #ffff00}xx{on #00ff00}x");
	row("vertical",
	    "<w:p>" + run("<w:vertAlign w:val='superscript'/>") + run("<w:vertAlign w:val='subscript'/>") +
		    run("<w:vertAlign w:val='baseline'/>") + "</w:p>",
	    "x{super}x{sub}x");
	row("alignment",
	    paragraph("a", "<w:jc w:val='center'/>") + paragraph("b", "<w:jc w:val='end'/>") +
		    paragraph("c", "<w:jc w:val='both'/>") + paragraph("d", "<w:jc w:val='left'/>"),
	    "center a|right b|justify c|d");
	row("tracked changes",
	    "<w:p><w:del><w:r><w:t>no</w:t></w:r></w:del><w:ins><w:r><w:t>in</w:t></w:r></w:ins><w:moveFrom>"
	    "<w:r><w:t>no</w:t></w:r></w:moveFrom><w:moveTo><w:r><w:t>to</w:t></w:r></w:moveTo></w:p>" +
		    paragraph("x",
			      "<w:rPr><w:ins/></w:rPr><w:pPrChange><w:pPr><w:jc w:val='right'/></w:pPr></w:pPrChange>"),
	    "into|x");
	row("picture", "<w:p><w:r><w:t>a</w:t><w:drawing><w:p><w:t>no</w:t></w:p></w:drawing><w:t>b</w:t></w:r></w:p>",
	    "ab", {}, {}, true);
	row("table",
	    paragraph("a") + "<w:tbl><w:tr><w:tc>" + paragraph("b") + "</w:tc><w:tc>" + paragraph("c") +
		    "</w:tc></w:tr></w:tbl>",
	    "a|b|c", {}, {}, true);
	row("fields and links",
	    "<w:p><w:r><w:instrText>PAGE</w:instrText></w:r><w:hyperlink><w:r><w:t>link</w:t></w:r></w:hyperlink></"
	    "w:p>",
	    "link");
	row("any prefix",
	    "<v:p xmlns:v='u'><r xmlns='n'><rPr><b val='false' v:val='1'/><i v:val='1'/></rPr><v:t>x</v:t></r></v:p>",
	    "x{i}");
	row("default and paragraph styles",
	    "<w:p>" + run("") + "</w:p>" + paragraph("h", "<w:pStyle w:val='H'/>") +
		    paragraph("own", "<w:pStyle w:val='H'/><w:jc w:val='right'/><w:rPr><w:b w:val='false'/></w:rPr>") +
		    "<w:p><w:pPr><w:pStyle w:val='H'/></w:pPr>" + run("<w:rStyle w:val='R'/><w:i w:val='0'/>") +
		    "</w:p>" + paragraph("?", "<w:pStyle w:val='none'/>"),
	    "x{u 10}|center h{b i 10}|right own{i 10}|center x{b 10 #0000ff}|?{10}",
	    "<w:docDefaults><w:rPrDefault><w:rPr><w:sz w:val='20'/></w:rPr></w:rPrDefault></w:docDefaults>"
	    "<w:style w:styleId='Normal'><w:rPr><w:u/></w:rPr></w:style>"
	    "<w:style w:styleId='H'><w:basedOn w:val='P'/><w:rPr><w:i/></w:rPr></w:style><w:style "
	    "w:styleId='H'><w:basedOn "
	    "w:val='P'/><w:pPr><w:rPr><w:i w:val='0'/><w:b/></w:rPr></w:pPr><w:rPr><w:b/><w:i/></w:rPr></w:style>"
	    "<w:style w:styleId='P'><w:rPr><w:b w:val='0'/></w:rPr><w:pPr><w:jc w:val='center'/></w:pPr></w:style>"
	    "<w:style w:styleId='R'><w:rPr><w:color w:val='0000FF'/></w:rPr></w:style>");
	row("character properties before those of the paragraph", paragraph("x", "<w:pStyle w:val='S'/>"), "x{b i}",
	    "<w:style w:styleId='S'><w:rPr><w:b/></w:rPr><w:pPr><w:rPr><w:b "
	    "w:val='0'/><w:i/></w:rPr></w:pPr></w:style>");
	QByteArray chain;
	for (int i = 1; i <= 20; ++i) {
		const QByteArray number = QByteArray::number(i);
		chain += "<w:style w:styleId='" + number + "'><w:basedOn w:val='" + QByteArray::number(i + 1) +
			 "'/><w:rPr>" +
			 (i == 18   ? "<w:i/>"
			  : i == 17 ? "<w:b/>"
				    : "") +
			 "</w:rPr></w:style>";
	}
	row("chain of styles", paragraph("x", "<w:pStyle w:val='1'/>"), "x{b}", chain);
	row("ring of styles", paragraph("x", "<w:pStyle w:val='A'/>"), "x{b i}",
	    "<w:style w:styleId='A'><w:basedOn w:val='B'/><w:rPr><w:b/></w:rPr></w:style>"
	    "<w:style w:styleId='B'><w:basedOn w:val='A'/><w:rPr><w:i/></w:rPr></w:style>");
	row("faults in the styles", paragraph("x", "<w:pStyle w:val='A'/>"), "x{b}",
	    "<w:style w:styleId='A'><w:rPr><w:b/></w:rPr></w:style></oops>");
	const auto item = [](const char *words, const char *numId, const char *level) {
		return paragraph(words, QByteArray("<w:numPr><w:ilvl w:val='") + level + "'/><w:numId w:val='" + numId +
						"'/></w:numPr>");
	};
	row("lists",
	    item("a", "7", "0") + item("b", "7", "1") + paragraph("-") + item("c", "7", "0") + item("d", "8", "99") +
		    item("e", "0", "0") + item("f", "x", "0") + paragraph("g", "<w:pStyle w:val='L'/>") +
		    paragraph("h", "<w:pStyle w:val='L'/><w:numPr><w:numId w:val='0'/></w:numPr>"),
	    "<-4 1 1>a|<-1 2 1>b|-|<-4 1 2>c|<-4 9 1>d|e|f|<-1 2 1>g|h",
	    "<w:style w:styleId='L'><w:pPr><w:numPr><w:numId w:val='7'/><w:ilvl "
	    "w:val='1'/></w:numPr></w:pPr></w:style>",
	    "<w:abstractNum w:abstractNumId='3'><w:lvl w:ilvl='0'><w:numFmt w:val='decimal'/></w:lvl><w:lvl "
	    "w:ilvl='1'><w:numFmt "
	    "w:val='bullet'/></w:lvl></w:abstractNum><w:num w:numId='7'><w:abstractNumId w:val='3'/></w:num><oops>");
}

void WordTest::formatting()
{
	QFETCH(const QByteArray, content);
	QFETCH(const QByteArray, styles);
	QFETCH(const QByteArray, numbering);
	const DocxResult result = import({{"word/numbering.xml", part("numbering", numbering)},
					  {"word/document.xml", body(content)},
					  {"word/styles.xml", part("styles", styles)}});
	QCOMPARE(result.error, QString());
	QTEST(describe(result.html), "expected");
	QTEST(result.simplified, "simplified");
	QVERIFY(withinHtmlLimits(result.html));
}

void WordTest::limits_data()
{
	QTest::addColumn<QByteArray>("content");
	QTest::addColumn<bool>("isWithin");
	const QByteArray full = paragraph(QByteArray(kMaxParagraphLength, 'x'));
	QTest::newRow("characters") << full.repeated(19) + paragraph(QByteArray(kMaxParagraphLength - 19, 'x')) << true;
	QTest::newRow("a character more")
		<< full.repeated(19) + paragraph(QByteArray(kMaxParagraphLength - 18, 'x')) << false;
	QTest::newRow("paragraph") << full << true;
	QTest::newRow("paragraph with a break more")
		<< "<w:p><w:r><w:t>" + QByteArray(kMaxParagraphLength, 'x') + "</w:t><w:br/></w:r></w:p>" << false;
	QTest::newRow("paragraphs") << QByteArray("<w:p/>").repeated(kMaxParagraphs) << true;
	QTest::newRow("a paragraph more") << QByteArray("<w:p/>").repeated(kMaxParagraphs + 1) << false;
	const QByteArray item = paragraph("x", "<w:numPr><w:numId w:val='1'/></w:numPr>");
	QTest::newRow("items of one list") << item.repeated(kMaxParagraphs) << true;
	QTest::newRow("far too many") << QByteArray("<w:p/>").repeated(3'000'000) << false;
}

void WordTest::limits()
{
	QFETCH(const QByteArray, content);
	QFETCH(const bool, isWithin);
	const DocxResult result = import({{"word/document.xml", body(content)}});
	QCOMPARE(result.error, isWithin ? QString() : text("TextLimit"));
	QCOMPARE(!result.html.isEmpty(), isWithin);
	QVERIFY(!isWithin || withinHtmlLimits(result.html));
}

void WordTest::brokenParts_data()
{
	QTest::addColumn<QByteArray>("document");
	QTest::addColumn<QByteArray>("key");
	const auto row = [](const char *name, const QByteArray &document, const QByteArray &key = "WordXmlError") {
		QTest::newRow(name) << document << key;
	};
	const QByteArray sound = body(paragraph("text"));
	QByteArray many;
	for (int i = 0; many.size() < kPartBytes - 1000; ++i) {
		many += " a" + QByteArray::number(i) + "=''";
	}
	row("empty", "", "WordBodyError");
	row("not XML", "hello");
	row("cut off", sound.chopped(3));
	row("wrong nesting", body("<w:p></w:r></w:p>"));
	row("unknown prefix", body("<x:p/>"));
	row("wrong encoding", body(paragraph("\xff")));
	row("document type", "<!DOCTYPE w>" + sound);
	row("entity bomb",
	    "<?xml version='1.0'?><!-- --><!DOCTYPE w [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;'>]>" +
		    body(paragraph("&b;")));
	row("unknown entity", body(paragraph("&b;")));
	row("nested", body(QByteArray("<w:a>").repeated(kPartBytes / 6)));
	row("attributes", body("<w:p" + many + "/>"));
	row("namespaces", body("<w:p" + many.left(kPartBytes / 2).replace(" a", " xmlns:a") + ">" +
			       QByteArray("<w:r/>").repeated(900'000) + "</w:p>"));
	row("comment and marks",
	    body("<!-- <!DOCTYPE> --><?x <?>" + paragraph("<![CDATA[<!DOCTYPE <a><a>]]>", "<w:a x='>' y=\"/>\"/>")),
	    "");
	row("nested a little",
	    body(QByteArray("<w:a>").repeated(900) + paragraph("x") + QByteArray("</w:a>").repeated(900)), "");
	const QString wide = QString::fromUtf8(sound).replace(QStringLiteral("UTF-8"), QStringLiteral("UTF-16"));
	row("UTF-16",
	    QByteArray("\xff\xfe") + QByteArray(reinterpret_cast<const char *>(wide.utf16()), wide.size() * 2), "");
	row("byte-order mark", "\xef\xbb\xbf" + sound, "");
}

void WordTest::brokenParts()
{
	QFETCH(const QByteArray, document);
	QFETCH(const QByteArray, key);
	QElapsedTimer clock;
	clock.start();
	const DocxResult result = import({{"word/document.xml", document}});
	QVERIFY2(clock.elapsed() < kMaxMilliseconds, qPrintable(QString::number(clock.elapsed())));
	QVERIFY2(result.error.startsWith(text(key.constData())) == !key.isEmpty(), qPrintable(result.error));
	QCOMPARE(result.html.isEmpty(), !key.isEmpty());
	// The same fault beside the text never fails an import.
	if (!document.isEmpty()) {
		const QByteArray sound = body(paragraph("x"));
		QCOMPARE(import({{"word/document.xml", sound},
				 {"word/styles.xml", document},
				 {"word/numbering.xml", document}})
				 .error,
			 QString());
	}
}

void WordTest::packages()
{
	const QByteArray sound = body(paragraph("x"));
	const auto errorOf = [this](const QList<Entry> &entries) { return import(entries).error; };
	QCOMPARE(errorOf({{"word/styles.xml", part("styles", {})}}), text("WordBodyError"));
	QCOMPARE(
		errorOf({{"../word/document.xml", sound}, {"/word/document.xml", sound}, {"Word/document.xml", sound}}),
		text("WordBodyError"));
	QCOMPARE(errorOf({{"word/document.xml", sound}, {"word/numbering.xml", QByteArray(kPartBytes, ' ')}}),
		 QString());
	QCOMPARE(errorOf({{"word/document.xml", sound}, {"word/numbering.xml", QByteArray(kPartBytes + 1, ' ')}}),
		 text("WordBodyError"));
	QCOMPARE(errorOf({{"word/media/\xe5\x9b\xbe.png", QByteArray(2 * kPartBytes, 'x')},
			  {"word/document.xml", sound}}),
		 QString());
	QCOMPARE(describe(import({{"word/document.xml", body(paragraph("old"))}, {"word/document.xml", sound}}).html),
		 QStringLiteral("x"));
	QCOMPARE(errorOf(QList<Entry>(1000, {"word/document.xml", sound})), text("WordBodyError"));

	const QString path = folder_.filePath(QStringLiteral("b.docx"));
	writePackage(path, {{"word/document.xml", sound}}, true);
	QCOMPARE(importDocx(path).error, text("WordBodyError"));
	writePackage(path, {{"word/document.xml", sound}, {"word/styles.xml", part("styles", {})}});
	const QByteArray whole = readFile(path);
	for (qsizetype size = 0; size < whole.size(); size += 7) {
		writeFile(path, whole.first(size));
		QCOMPARE(importDocx(path).error, text("WordBodyError"));
	}
	for (const QString &name : {QStringLiteral("nothing.docx"), QStringLiteral("."), QStringLiteral("pipe.docx"),
				    QStringLiteral("big.docx")}) {
		mkfifo(QFile::encodeName(folder_.filePath(QStringLiteral("pipe.docx"))).constData(), 0600);
		QFile big(folder_.filePath(QStringLiteral("big.docx")));
		QVERIFY(big.open(QIODevice::WriteOnly) && big.resize(100 * 1024 * 1024 + 1));
		QCOMPARE(importDocx(folder_.filePath(name)).error, text("WordSizeError"));
	}
}

void WordTest::filesOfOtherPrograms_data()
{
	QTest::addColumn<QString>("usual");
	QTest::addColumn<QString>("expected");
	QTest::newRow("libreoffice")
		<< "{12 DejaVu Sans}"
		<< "Grand{b 18 DejaVu Sans}|center Child of grand{i 12 DejaVu Sans}|<-4 1 1>level 1|<-5 2 1>level "
		   "2|<-7 3 1>level 3|<-6 4 1>level 4|<-8 5 1>level 5|<-4 6 1>level 6|<-5 7 1>level 7|<-7 8 1>level "
		   "8|<-4 9 1>level 9|<-5 2 2>level 2|<-5 2 3>level 2|<-4 1 2>level 1|<-5 2 1>level 2|<-7 3 1>level "
		   "3|<-4 1 3>level 1|Foot after. Comment end.|Deleted and inserted.|Page 1 link{u 12 #000080 DejaVu "
		   "Sans} tab\tx/next 文字 latin{12 #336699 SimSun}|שלום עולם|A1|B1|inner||The end";
	QTest::newRow("pandoc")
		<< "{12}"
		<< "center A title{b 18 #345a8a}|Heading one{b 16 #4f81bd}|Text with a footnote, emph{i 12}, strong{b "
		   "12}, strike{s 12}, H2{12 sub}O, x2{12 super}, code{11 Consolas}, link{12 #4f81bd}.|<-4 1 1>a|<-5 2 "
		   "1>b|<-7 3 1>c|<-4 4 1>d|<-5 5 1>e|<-4 1 2>f|<-4 1 3>restart at five|<-4 1 4>six|<-1 1 1>x|<-1 2 "
		   "1>y|<-1 3 1>z|quote|A|B|1|2||pic{i 12}|Line one/line two|Text inserted and  end. commented|Math "
		   "x2+y here.|def{b 11 #007020 Consolas} f():{11 Consolas}/    {11 Consolas}return{b 11 #007020 "
		   "Consolas} {11 Consolas}1{11 #40a070 Consolas}|Term{b 12}|Definition";
}

// Styles with parents, nine list levels with restarts, tables, a picture, tracked changes, notes, comments, fields,
// links, scripts from right to left and of East Asia, theme colors.
void WordTest::filesOfOtherPrograms()
{
	const QString path = QStringLiteral(QUILLBAY_SOURCE_DIR "/tests/unit/data/%1.docx");
	const DocxResult result = importDocx(path.arg(QString::fromUtf8(QTest::currentDataTag())));
	QCOMPARE(result.error, QString());
	QVERIFY(result.simplified);
	QFETCH(const QString, usual);
	QTEST(describe(result.html).remove(usual), "expected");
}

} // namespace quillbay::test

int main(int argc, char *argv[])
{
	return quillbay::test::run<quillbay::test::WordTest>(argc, argv);
}

#include "word_test.moc"
