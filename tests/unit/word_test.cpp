// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_archive.hpp"
#include "host/test_host.hpp"

#include "convert/word_import.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"

#include <sys/stat.h>

namespace quillbay::test {

namespace {

constexpr qsizetype kPartBytes = 24 * 1024 * 1024;
const QByteArray kText = "word/document.xml";

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

// A paragraph of a style.
QByteArray styled(const QByteArray &style, const QByteArray &properties = {})
{
	return paragraph("x", "<pStyle val='" + style + "'/>" + properties);
}

// A paragraph of runs of "x", each with the properties between the bars.
QByteArray runs(const QByteArray &properties, const QByteArray &style = {})
{
	return "<p><pPr><pStyle val='" + style + "'/></pPr><r><rPr><" +
	       QByteArray(properties).replace("|", "/></rPr><t>x</t></r><r><rPr><") + "/></rPr><t>x</t></r></p>";
}

// List items: each a word, its list and its level.
QByteArray items(const char *all)
{
	QByteArray paragraphs;
	for (const QByteArray &item : QByteArray(all).split(' ')) {
		const QByteArrayList parts = item.split('-');
		paragraphs += paragraph(parts[0],
					"<numPr><ilvl val='" + parts[2] + "'/><numId val='" + parts[1] + "'/></numPr>");
	}
	return paragraphs;
}

// Each paragraph with its alignment and list, each run with its formatting.
QString describe(const QTextCharFormat &format)
{
	const QFont plain = QTextDocument().defaultFont();
	const QString families = format.fontFamilies().toStringList().join(u',');
	const QString background = format.background().color().name();
	const int vertical = format.verticalAlignment();
	QStringList all{format.fontWeight() == QFont::Bold ? "b" : "",
			format.fontItalic() ? "i" : "",
			format.fontUnderline() ? "u" : "",
			format.fontStrikeOut() ? "s" : "",
			format.fontPointSize() != plain.pointSizeF() ? QString::number(format.fontPointSize()) : "",
			format.hasProperty(QTextFormat::ForegroundBrush) ? format.foreground().color().name() : "",
			format.hasProperty(QTextFormat::BackgroundBrush) ? "on " + background : "",
			vertical == QTextCharFormat::AlignSuperScript ? "super" : "",
			vertical == QTextCharFormat::AlignSubScript ? "sub" : "",
			families == plain.families().join(u',') ? "" : families};
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
			const QTextListFormat format = list->format();
			const int number = list->itemNumber(block) + format.start();
			all += QString("<%1 %2 %3>").arg(format.style()).arg(format.indent()).arg(number);
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
		check(runs("b|b val='0'/><i val='on'|u val='none'|u val='double'/><strike|i val='off'"),
		      "x{b}x{i}xx{u s}x");
		check(runs("sz val='2'|sz val='1000'|sz val='1001'|sz val='1'|sz val='nan'|sz val='25'"),
		      "x{1}x{500}xxxx{12.5}");
		check(runs("rFonts ascii='A' hAnsi='B' eastAsia='C'|rFonts hAnsi='B' ascii='A'|rFonts hAnsi='B'|"
			   "rFonts asciiTheme='minor'|rFonts ascii='" +
			   QByteArray(65, 'F') + "'"),
		      "x{C}x{A}x{B}xx");
		check(runs("color val='FF0000'|color val='auto'|highlight val='darkYellow'|highlight val='yellow'|"
			   "highlight val='none'|shd fill='00ff00'|shd fill='auto'"),
		      "x{#ff0000}xx{on #808000}x{on #ffff00}xx{on #00ff00}x");
		check(paragraph("a", "<jc val='center'/>") + paragraph("b", "<jc val='end'/>") +
			      paragraph("c", "<jc val='both'/>") + paragraph("d", "<jc val='left'/>"),
		      "center a|right b|justify c|d");
		// Tracked changes
		check("<p><del><r><t>no</t></r></del><ins><r><t>in</t></r></ins><moveFrom><r><t>no</t></r></moveFrom>"
		      "<moveTo><r><t>to</t></r></moveTo></p>" +
			      paragraph("x", "<rPr><ins/></rPr><pPrChange><pPr><jc val='right'/></pPr></pPrChange>"),
		      "into|x");
		check("<v:p xmlns:v='u'><r><rPr><b val='false' v:val='1'/><i v:val='1'/></rPr><v:t>x</v:t></r></v:p>",
		      "x{i}");
	}

	void styles()
	{
		check("<p><r><t>x</t></r></p>" + styled("H") +
			      styled("H", "<jc val='right'/><rPr><b val='false'/></rPr>") +
			      styled("H", "<jc val='left'/>") + runs("rStyle val='R'/><i val='0'", "H") +
			      styled("none"),
		      "x{u 10}|center x{b i 10}|right x{i 10}|x{b i 10}|center x{b 10 #0000ff}|x{10}",
		      R"(<docDefaults><rPrDefault><rPr><sz val='20'/></rPr></rPrDefault></docDefaults>
		       <style styleId='Normal'><rPr><u/></rPr></style>
		       <style styleId='H'><basedOn val='P'/><rPr><strike/></rPr></style>
		       <style styleId='H'><basedOn val='P'/><pPr><rPr><i val='0'/><b/></rPr></pPr><rPr><b/><i/></rPr></style>
		       <style styleId='P'><rPr><b val='0'/></rPr><pPr><jc val='center'/></pPr></style>
		       <style styleId='R'><rPr><color val='0000FF'/></rPr></style>)");
		QByteArray chain;
		for (int i = 1; i <= 20; ++i) {
			const QString style = "<style styleId='%1'><basedOn val='%2'/><rPr>%3</rPr></style>";
			const QString bold = i == 17 ? "<b/>" : i == 18 ? "<i/>" : "";
			chain += style.arg(i).arg(i + 1).arg(bold).toUtf8();
		}
		check(styled("1"), "x{b}", chain);
		check(styled("A"), "x{b i}",
		      "<style styleId='A'><basedOn val='B'/><rPr><b/></rPr></style>"
		      "<style styleId='B'><basedOn val='A'/><rPr><i/></rPr></style>");
		check(styled("A"), "x{b}", "<style styleId='A'><rPr><b/></rPr></style></oops>");
	}

	void lists()
	{
		check(items("a-1-0 b-2-0 c-1-0 d-2-0"), "<-4 1 1>a|<-4 1 1>b|<-4 1 2>c|<-4 1 2>d");
		check("<p><pPr><numPr><numId val='1'/></numPr></pPr><r><t>a\nb&#13;&#x2029;c</t></r><pPr/></p>" +
			      items("d-1-0"),
		      "a b  c|<-4 1 1>d");
		check(items("a-7-0 b-7-1") + paragraph("-") + items("c-7-0 d-8-99 e-0-0 f-x-0") + styled("L") +
			      styled("L", "<numPr><numId val='0'/></numPr>"),
		      "<-4 1 1>a|<-1 2 1>b|-|<-4 1 2>c|<-4 9 1>d|e|f|<-1 2 1>x|x",
		      "<style styleId='L'><pPr><numPr><numId val='7'/><ilvl val='1'/></numPr></pPr></style>",
		      "<abstractNum abstractNumId='3'><lvl ilvl='0'><numFmt val='decimal'/></lvl><lvl ilvl='1'><numFmt "
		      "val='bullet'/></lvl></abstractNum><num numId='7'><abstractNumId val='3'/></num><oops>");
	}

	void limits()
	{
		const QByteArray full = paragraph(QByteArray(kMaxParagraphLength, 'x'));
		const QByteArray longer = "<p><r><t>" + QByteArray(kMaxParagraphLength, 'x') + "</t><br/></r></p>";
		const std::pair<QByteArray, bool> cases[] = {
			{full.repeated(19) + paragraph(QByteArray(kMaxParagraphLength - 19, 'x')), true},
			{full.repeated(19) + paragraph(QByteArray(kMaxParagraphLength - 18, 'x')), false},
			{longer, false},
			{QByteArray("<p/>").repeated(kMaxParagraphs), true},
			{QByteArray("<p/>").repeated(kMaxParagraphs + 1), false},
			{paragraph("x", "<numPr><numId val='1'/></numPr>").repeated(kMaxParagraphs), true},
			{QByteArray("<p/>").repeated(3'000'000), false},
		};
		for (const auto &[content, isWithin] : cases) {
			const DocxResult result = import({{kText, body(content)}});
			QCOMPARE(result.error, isWithin ? QString() : text("TextLimit"));
			QVERIFY(isWithin ? withinHtmlLimits(result.html) : result.html.isEmpty());
		}
	}

	void brokenParts()
	{
		const QByteArray sound = body(paragraph("text"));
		const QByteArray bare = sound.sliced(sound.indexOf("<document"));
		const QString wide = QString::fromUtf8(sound).replace("UTF-8", "UTF-16");
		const QByteArray wideBytes(reinterpret_cast<const char *>(wide.utf16()), wide.size() * 2);
		QByteArray many;
		for (int i = 0; many.size() < kPartBytes - 1000; ++i) {
			many += " a" + QByteArray::number(i) + "=''";
		}
		// Each element has few enough of its own.
		const QByteArray namespaces =
			many.left(many.indexOf(" a200=")).replace(" a", " xmlns:a").replace("''", "'u'");
		const QByteArrayList broken{"hello",
					    sound.chopped(3),
					    body("<p></r></p>"),
					    body("<x:p/>"),
					    body(paragraph("\xff")),
					    body(paragraph("&b;")),
					    "<!DOCTYPE w>" + bare,
					    "<!DOCTYPE w [<!ENTITY text 'text'>]>" +
						    QByteArray(bare).replace("text", "&text;"),
					    body(QByteArray("<a>").repeated(kPartBytes / 6)),
					    body("<p" + many + "/>"),
					    body("<p" + namespaces + "><r" + namespaces + "/></p>")};
		const QByteArrayList odd{
			body("<!-- <!DOCTYPE> --><?x <?>" +
			     paragraph("<![CDATA[<!DOCTYPE <a><a>]]>", "<a x='>' y=\"/>\"/>")),
			body(QByteArray("<a>").repeated(900) + paragraph("x") + QByteArray("</a>").repeated(900)),
			"\xff\xfe" + wideBytes, "\xef\xbb\xbf" + sound};
		QCOMPARE(import({{kText, ""}}).error, text("WordBodyError"));
		for (const QByteArray &document : broken + odd) {
			const QDeadlineTimer deadline(3'000 * kSlowness);
			const DocxResult result = import({{kText, document}});
			const bool isSound = result.error.isEmpty() && !result.html.isEmpty();
			const bool isBroken = result.error.startsWith(text("WordXmlError")) && result.html.isEmpty();
			QVERIFY2(odd.contains(document) ? isSound : isBroken, document.left(99).constData());
			QVERIFY2(!deadline.hasExpired(), document.left(99).constData());
			// The same fault beside the text never fails an import.
			const Part styles{"word/styles.xml", document};
			QCOMPARE(import({{kText, sound}, styles, {"word/numbering.xml", document}}).error, QString());
		}
	}

	void packages()
	{
		const Part sound{kText, body(paragraph("x"))};
		const QString broken = text("WordBodyError");
		const std::pair<QList<Part>, QString> cases[] = {
			{{{"word/styles.xml", part("styles", {})}}, broken},
			{{{"../" + kText, sound.data}, {"/" + kText, sound.data}, {"Word/document.xml", sound.data}},
			 broken},
			{{sound, {"word/numbering.xml", QByteArray(kPartBytes, ' ')}}, {}},
			{{sound, {"word/numbering.xml", QByteArray(kPartBytes + 1, ' ')}}, broken},
			{{{"word/\xe5\x9b\xbe.png", QByteArray(2 * kPartBytes, 'x')}, sound}, {}},
			{QList<Part>(1000, sound), broken},
			{{{kText, sound.data, 8, 0x0801}}, broken}, // encrypted
		};
		for (const auto &[parts, error] : cases) {
			QCOMPARE(import(parts).error, error);
		}
		QCOMPARE(describe(import({{kText, body(paragraph("old"))}, sound}).html), "x");

		const QByteArray whole = makeArchive({sound, {"word/styles.xml", part("styles", {})}}).bytes;
		for (qsizetype size = 0; size < whole.size(); size += 7) {
			writeFile(folder_.filePath("a.docx"), whole.first(size));
			QCOMPARE(importDocx(folder_.filePath("a.docx")).error, broken);
		}
		QCOMPARE(mkfifo(QFile::encodeName(folder_.filePath("pipe")).constData(), 0600), 0);
		writeFile(folder_.filePath("big"), {});
		QVERIFY(QFile::resize(folder_.filePath("big"), 100 * 1024 * 1024 + 1));
		for (const char *other : {"nothing", ".", "pipe", "big"}) {
			QCOMPARE(importDocx(folder_.filePath(other)).error, text("WordSizeError"));
		}
	}

	// Styles with parents, nine list levels with restarts, tables, a picture, tracked changes, notes, comments,
	// fields, links, scripts from right to left and of East Asia.
	void filesOfOtherPrograms()
	{
		for (const auto &[name, usual] : {std::pair{"libreoffice", "{12 DejaVu Sans}"}, {"pandoc", "{12}"}}) {
			const QString path = QUILLBAY_SOURCE_DIR "/tests/unit/data/" + QString(name);
			const DocxResult result = importDocx(path + ".docx");
			QVERIFY(result.error.isEmpty() && result.simplified);
			const QString expected = QString::fromUtf8(readFile(path + ".txt")).trimmed();
			QCOMPARE(describe(result.html).remove(usual).replace(u'|', u'\n'), expected);
		}
	}

private:
	DocxResult import(const QList<Part> &parts)
	{
		writeFile(folder_.filePath("a.docx"), makeArchive(parts).bytes);
		return importDocx(folder_.filePath("a.docx"));
	}
	void check(const QByteArray &content, const QString &expected, const QByteArray &styles = {},
		   const QByteArray &numbering = {})
	{
		const DocxResult result = import({{"word/numbering.xml", part("numbering", numbering)},
						  {kText, body(content)},
						  {"word/styles.xml", part("styles", styles)}});
		QCOMPARE(result.error, QString());
		QCOMPARE(describe(result.html), expected);
		QVERIFY(!result.simplified);
		QVERIFY(withinHtmlLimits(result.html));
	}

	QTemporaryDir folder_;
};

} // namespace quillbay::test

QUILLBAY_TEST_MAIN(quillbay::test::WordTest)
#include "word_test.moc"
