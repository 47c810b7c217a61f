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
	return "<?xml version='1.0' encoding='UTF-8'?><" + root + ">" + content + "</" + root + ">";
}

QByteArray body(const QByteArray &content)
{
	return part("document", "<body>" + content + "</body>");
}

QByteArray paragraph(const QByteArray &words, const QByteArray &properties = {})
{
	return "<p><pPr>" + properties + "</pPr><r><t xml:space='preserve'>" + words + "</t></r></p>";
}

// A paragraph of runs of "x" with the properties between the bars.
QByteArray runs(const QByteArray &properties, const QByteArray &style = {})
{
	return "<p><pPr><pStyle val='" + style + "'/></pPr><r><rPr>" +
	       QByteArray(properties).replace("|", "</rPr><t>x</t></r><r><rPr>") + "</rPr><t>x</t></r></p>";
}

QByteArray item(const char *words, const char *numId, const char *level)
{
	return paragraph(words, QByteArray("<numPr><ilvl val='") + level + "'/><numId val='" + numId + "'/></numPr>");
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
			all += QString("<%1 %2 %3>")
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
	void formatting()
	{
		const auto check = [this](const char *name, const QByteArray &content, const QString &expected,
					  const QByteArray &styles = {}, const QByteArray &numbering = {},
					  bool simplified = false) {
			const DocxResult result = import({{"word/numbering.xml", part("numbering", numbering)},
							  {"word/document.xml", body(content)},
							  {"word/styles.xml", part("styles", styles)}});
			QVERIFY2(result.error.isEmpty(), name);
			QVERIFY2(describe(result.html) == expected, qPrintable(name + describe(result.html)));
			QVERIFY2(result.simplified == simplified, name);
			QVERIFY(withinHtmlLimits(result.html));
		};
		check("text", "<t>no</t><p><r><t>a</t><tab/><t>&lt;b</t><br/><t>c</t><cr/></r></p><p/>", "a\t<b/c/|");
		check("switches",
		      runs("<b/>|<b val='0'/><i val='on'/>|<u val='none'/>|<u val='double'/><strike/>|<i val='off'/>"),
		      "x{b}x{i}xx{u s}x");
		check("sizes",
		      runs("<sz val='2'/>|<sz val='1000'/>|<sz val='1001'/>|<sz val='1'/>|<sz val='nan'/>|<sz "
			   "val='25'/>"),
		      "x{1}x{500}xxxx{12.5}");
		check("families",
		      runs("<rFonts ascii='A' hAnsi='B' eastAsia='C'/>|<rFonts hAnsi='B' ascii='A'/>|<rFonts "
			   "hAnsi='B'/>|<rFonts "
			   "asciiTheme='minor'/>|<rFonts ascii='" +
			   QByteArray(65, 'F') + "'/>"),
		      "x{C}x{A}x{B}xx");
		check("colors",
		      runs("<color val='FF0000'/>|<color val='auto'/>|<highlight val='darkYellow'/>|<highlight "
			   "val='yellow'/>|<highlight val='none'/>|<shd fill='00ff00'/>|<shd fill='auto'/>"),
		      "x{#ff0000}xx{on #808000}x{on #ffff00}xx{on #00ff00}x");
		check("vertical",
		      runs("<vertAlign val='superscript'/>|<vertAlign val='subscript'/>|<vertAlign val='baseline'/>"),
		      "x{super}x{sub}x");
		check("alignment",
		      paragraph("a", "<jc val='center'/>") + paragraph("b", "<jc val='end'/>") +
			      paragraph("c", "<jc val='both'/>") + paragraph("d", "<jc val='left'/>"),
		      "center a|right b|justify c|d");
		check("tracked changes",
		      "<p><del><r><t>no</t></r></del><ins><r><t>in</t></r></ins><moveFrom><r><t>no</t></r></"
		      "moveFrom><moveTo><r><t>to</t></r></moveTo></p>" +
			      paragraph("x", "<rPr><ins/></rPr><pPrChange><pPr><jc val='right'/></pPr></pPrChange>"),
		      "into|x");
		check("picture", "<p><r><t>a</t><drawing><p><t>no</t></p></drawing><t>b</t></r></p>", "ab", {}, {},
		      true);
		check("table",
		      paragraph("a") + "<tbl><tr><tc>" + paragraph("b") + "</tc><tc>" + paragraph("c") +
			      "</tc></tr></tbl>",
		      "a|b|c", {}, {}, true);
		check("fields and links",
		      "<p><r><instrText>PAGE</instrText></r><hyperlink><r><t>link</t></r></hyperlink></p>", "link");
		check("any prefix",
		      "<v:p xmlns:v='u'><r xmlns='n'><rPr><b val='false' v:val='1'/><i "
		      "v:val='1'/></rPr><v:t>x</v:t></r></v:p>",
		      "x{i}");
		check("default and paragraph styles",
		      "<p><r><t>x</t></r></p>" + paragraph("h", "<pStyle val='H'/>") +
			      paragraph("own", "<pStyle val='H'/><jc val='right'/><rPr><b val='false'/></rPr>") +
			      paragraph("left", "<pStyle val='H'/><jc val='left'/>") +
			      runs("<rStyle val='R'/><i val='0'/>", "H") + runs("", "none"),
		      "x{u 10}|center h{b i 10}|right own{i 10}|left{b i 10}|center x{b 10 #0000ff}|x{10}",
		      R"(<docDefaults><rPrDefault><rPr><sz val='20'/></rPr></rPrDefault></docDefaults>
		       <style styleId='Normal'><rPr><u/></rPr></style>
		       <style styleId='H'><basedOn val='P'/><rPr><strike/></rPr></style>
		       <style styleId='H'><basedOn val='P'/><pPr><rPr><i val='0'/><b/></rPr></pPr><rPr><b/><i/></rPr></style>
		       <style styleId='P'><rPr><b val='0'/></rPr><pPr><jc val='center'/></pPr></style>
		       <style styleId='R'><rPr><color val='0000FF'/></rPr></style>)");
		check("character properties before those of the paragraph", paragraph("x", "<pStyle val='S'/>"),
		      "x{b i}", "<style styleId='S'><rPr><b/></rPr><pPr><rPr><b val='0'/><i/></rPr></pPr></style>");
		QByteArray chain;
		for (int i = 1; i <= 20; ++i) {
			const QByteArray number = QByteArray::number(i);
			chain += "<style styleId='" + number + "'><basedOn val='" + QByteArray::number(i + 1) +
				 "'/><rPr>" + QByteArray(i == 18 ? "<i/>" : "") + (i == 17 ? "<b/>" : "") +
				 "</rPr></style>";
		}
		check("chain of styles", paragraph("x", "<pStyle val='1'/>"), "x{b}", chain);
		check("ring of styles", paragraph("x", "<pStyle val='A'/>"), "x{b i}",
		      "<style styleId='A'><basedOn val='B'/><rPr><b/></rPr></style><style styleId='B'><basedOn "
		      "val='A'/><rPr><i/></rPr></style>");
		check("faults in the styles", paragraph("x", "<pStyle val='A'/>"), "x{b}",
		      "<style styleId='A'><rPr><b/></rPr></style></oops>");
		check("nested lists",
		      item("a", "1", "0") + item("b", "1", "1") + item("c", "1", "0") + item("d", "1", "1") +
			      item("e", "1", "0"),
		      "<-4 1 1>a|<-4 2 1>b|<-4 1 2>c|<-4 2 1>d|<-4 1 3>e");
		check("lists in turns",
		      item("a", "1", "0") + item("b", "2", "0") + item("c", "1", "0") + item("d", "2", "0"),
		      "<-4 1 1>a|<-4 1 1>b|<-4 1 2>c|<-4 1 2>d");
		check("list left, and line ends in the text",
		      "<p><pPr><numPr><numId val='1'/></numPr></pPr><r><t>a\nb&#13;&#x2029;c</t></r><pPr/></p>" +
			      item("d", "1", "0"),
		      "a b  c|<-4 1 1>d");
		check("lists",
		      item("a", "7", "0") + item("b", "7", "1") + paragraph("-") + item("c", "7", "0") +
			      item("d", "8", "99") + item("e", "0", "0") + item("f", "x", "0") +
			      paragraph("g", "<pStyle val='L'/>") +
			      paragraph("h", "<pStyle val='L'/><numPr><numId val='0'/></numPr>"),
		      "<-4 1 1>a|<-1 2 1>b|-|<-4 1 2>c|<-4 9 1>d|e|f|<-1 2 1>g|h",
		      "<style styleId='L'><pPr><numPr><numId val='7'/><ilvl val='1'/></numPr></pPr></style>",
		      "<abstractNum abstractNumId='3'><lvl ilvl='0'><numFmt val='decimal'/></lvl><lvl ilvl='1'><numFmt "
		      "val='bullet'/>"
		      "</lvl></abstractNum><num numId='7'><abstractNumId val='3'/></num><oops>");
	}

	void limits()
	{
		const auto check = [this](const char *name, const QByteArray &content, bool isWithin) {
			const DocxResult result = import({{"word/document.xml", body(content)}});
			QVERIFY2(result.error == (isWithin ? QString() : text("TextLimit")), name);
			QVERIFY2(!result.html.isEmpty() == isWithin, name);
			QVERIFY(!isWithin || withinHtmlLimits(result.html));
		};
		const QByteArray full = paragraph(QByteArray(kMaxParagraphLength, 'x'));
		check("characters", full.repeated(19) + paragraph(QByteArray(kMaxParagraphLength - 19, 'x')), true);
		check("a character more", full.repeated(19) + paragraph(QByteArray(kMaxParagraphLength - 18, 'x')),
		      false);
		check("paragraph", full, true);
		check("paragraph with a break more",
		      "<p><r><t>" + QByteArray(kMaxParagraphLength, 'x') + "</t><br/></r></p>", false);
		check("paragraphs", QByteArray("<p/>").repeated(kMaxParagraphs), true);
		check("a paragraph more", QByteArray("<p/>").repeated(kMaxParagraphs + 1), false);
		const QByteArray item = paragraph("x", "<numPr><numId val='1'/></numPr>");
		check("items of one list", item.repeated(kMaxParagraphs), true);
		check("far too many", QByteArray("<p/>").repeated(3'000'000), false);
	}

	void brokenParts()
	{
		const auto check = [this](const char *name, const QByteArray &document,
					  const QByteArray &key = "WordXmlError") {
			QElapsedTimer clock;
			clock.start();
			const DocxResult result = import({{"word/document.xml", document}});
			QVERIFY2(clock.elapsed() < kMaxMilliseconds, name);
			QVERIFY2(result.error.startsWith(text(key.constData())) == !key.isEmpty(), name);
			QVERIFY2(result.html.isEmpty() == !key.isEmpty(), name);
			// The same fault beside the text never fails an import.
			if (!document.isEmpty()) {
				const QByteArray sound = body(paragraph("x"));
				QCOMPARE(import({{"word/document.xml", sound},
						 {"word/styles.xml", document},
						 {"word/numbering.xml", document}})
						 .error,
					 QString());
			}
		};
		const QByteArray sound = body(paragraph("text"));
		QByteArray many;
		for (int i = 0; many.size() < kPartBytes - 1000; ++i) {
			many += " a" + QByteArray::number(i) + "=''";
		}
		check("empty", "", "WordBodyError");
		check("not XML", "hello");
		check("cut off", sound.chopped(3));
		check("wrong nesting", body("<p></r></p>"));
		check("unknown prefix", body("<x:p/>"));
		check("wrong encoding", body(paragraph("\xff")));
		check("document type", "<!DOCTYPE w>" + sound);
		check("entity bomb",
		      "<?xml version='1.0'?><!-- --><!DOCTYPE w [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;'>]>" +
			      body(paragraph("&b;")));
		check("unknown entity", body(paragraph("&b;")));
		check("nested", body(QByteArray("<a>").repeated(kPartBytes / 6)));
		check("attributes", body("<p" + many + "/>"));
		check("namespaces", body("<p" + many.left(kPartBytes / 2).replace(" a", " xmlns:a") + ">" +
					 QByteArray("<r/>").repeated(900'000) + "</p>"));
		check("comment and marks",
		      body("<!-- <!DOCTYPE> --><?x <?>" +
			   paragraph("<![CDATA[<!DOCTYPE <a><a>]]>", "<a x='>' y=\"/>\"/>")),
		      "");
		check("nested a little",
		      body(QByteArray("<a>").repeated(900) + paragraph("x") + QByteArray("</a>").repeated(900)), "");
		const QString wide = QString::fromUtf8(sound).replace("UTF-8", "UTF-16");
		check("UTF-16",
		      QByteArray("\xff\xfe") +
			      QByteArray(reinterpret_cast<const char *>(wide.utf16()), wide.size() * 2),
		      "");
		check("byte-order mark", "\xef\xbb\xbf" + sound, "");
	}

	void packages()
	{
		const QByteArray sound = body(paragraph("x"));
		const QByteArray name = "word/document.xml";
		const QString broken = text("WordBodyError");
		const auto errorOf = [this](const QList<Entry> &entries) { return import(entries).error; };
		QCOMPARE(errorOf({{"word/styles.xml", part("styles", {})}}), broken);
		QCOMPARE(errorOf({{"../" + name, sound}, {"/" + name, sound}, {"Word/document.xml", sound}}), broken);
		QCOMPARE(errorOf({{name, sound}, {"word/numbering.xml", QByteArray(kPartBytes, ' ')}}), QString());
		QCOMPARE(errorOf({{name, sound}, {"word/numbering.xml", QByteArray(kPartBytes + 1, ' ')}}), broken);
		QCOMPARE(errorOf({{"word/\xe5\x9b\xbe.png", QByteArray(2 * kPartBytes, 'x')}, {name, sound}}),
			 QString());
		QCOMPARE(describe(import({{name, body(paragraph("old"))}, {name, sound}}).html), "x");
		QCOMPARE(errorOf(QList<Entry>(1000, {name, sound})), broken);

		const QString path = folder_.filePath("b.docx");
		writePackage(path, {{name, sound}}, true);
		QCOMPARE(importDocx(path).error, broken);
		writePackage(path, {{name, sound}, {"word/styles.xml", part("styles", {})}});
		const QByteArray whole = readFile(path);
		for (qsizetype size = 0; size < whole.size(); size += 7) {
			writeFile(path, whole.first(size));
			QCOMPARE(importDocx(path).error, broken);
		}
		QCOMPARE(mkfifo(QFile::encodeName(folder_.filePath("pipe")).constData(), 0600), 0);
		QFile big(folder_.filePath("big"));
		QVERIFY(big.open(QIODevice::WriteOnly) && big.resize(100 * 1024 * 1024 + 1));
		for (const char *other : {"nothing", ".", "pipe", "big"}) {
			QCOMPARE(importDocx(folder_.filePath(QLatin1StringView(other))).error, text("WordSizeError"));
		}
	}

	void filesOfOtherPrograms_data()
	{
		QTest::addColumn<QString>("usual");
		QTest::newRow("libreoffice") << "{12 DejaVu Sans}";
		QTest::newRow("pandoc") << "{12}";
	}

	// Styles with parents, nine list levels with restarts, tables, a picture, tracked changes, notes, comments,
	// fields, links, scripts from right to left and of East Asia.
	void filesOfOtherPrograms()
	{
		QFETCH(const QString, usual);
		const QString path = QStringLiteral(QUILLBAY_SOURCE_DIR "/tests/unit/data/") + QTest::currentDataTag();
		const DocxResult result = importDocx(path + ".docx");
		QCOMPARE(result.error, QString());
		QVERIFY(result.simplified);
		const QString expected = QString::fromUtf8(readFile(path + ".txt")).trimmed().replace(u'\n', u'|');
		QCOMPARE(describe(result.html).remove(usual), expected);
	}

private:
	DocxResult import(const QList<Entry> &entries)
	{
		const QString path = folder_.filePath("a.docx");
		writePackage(path, entries);
		return importDocx(path);
	}

	QTemporaryDir folder_;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::WordTest)
#include "word_test.moc"
