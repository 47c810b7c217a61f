// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "host/test_host.hpp"

#include "notes/html_shape.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"

namespace quillbay::test {

namespace {

// `part` so many times, with "%1" replaced by the running number.
QString times(int count, const QString &part)
{
	QString all;
	for (int i = 0; i < count; ++i) {
		all += part.contains("%1") ? part.arg(i) : part;
	}
	return all;
}

QString savedText(const QString &text)
{
	QTextDocument document;
	document.setPlainText(text);
	return document.toHtml();
}

QString pictureUrl(QSize size)
{
	QImage image(size, QImage::Format_RGB32);
	image.fill(Qt::red);
	QByteArray bytes;
	QBuffer buffer(&bytes);
	image.save(&buffer, "PNG");
	return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(bytes.toBase64());
}

} // namespace

class HtmlTest : public QObject {
	Q_OBJECT

private Q_SLOTS:
	void ruinousHtmlIsRefusedAtOnce()
	{
		const auto check = [](const char *name, const QString &html) {
			const QDeadlineTimer deadline(250 * kSlowness);
			QVERIFY2(!withinHtmlLimits(html), name);
			QVERIFY2(!deadline.hasExpired(), name);
		};
		const QString paragraphs = times(20'000, "<p>line</p>");
		check("nested tables", times(14, "<table><tr><td>"));
		check("many cells", "<table>" + times(20'000, "<tr><td>a<td>b") + "</table>");
		check("wide cells", "<table>" + times(20, "<tr><td colspan=5000>x"));
		check("spans of spans", "<table>" + times(300, "<tr><td rowspan=100000>x"));
		check("nested blocks", times(10'000, "<div>"));
		check("names in disguise", times(10'000, "<span></\u017fpan><i></\u0130>"));
		check("unclosed formatting", times(10'000, "<b><i><u>x"));
		check("a long word", QString(200'001, u'x'));
		check("runs", times(200'000, "<span style='color:#%1'>x</span>"));
		check("rules in rules", "<style>" + times(60, ".b .a{color:red}") + "</style>" +
						times(50, "<div class=a>") + times(1500, "<p class=a>x</p>"));
		const QString everything = times(500, "*,") + "*{color:red}</style>";
		check("rules behind a comment", "<style>/*{*/" + everything + paragraphs);
		check("a long style", "<p style=\"" + times(20'000, "border:1px;") + "\">");
		check("a long list", "<ul>" + times(20'000, "<li>x") + "</ul>");
		check("floats by rule", "<style>img{f\\6coat:left}</style>" + times(1000, "<img src=x>"));
		check("sibling rules", "<style>p ~ b {color:red}</style>" + paragraphs);
		check("rules read again", "<style>" + times(3000, "a{color:red}") + times(2000, "</x>"));
		check("a stroke of dashes", "<p style=\"-qt-stroke-dasharray:0.0001,0.0001\">x");
		check("bidirectional text in tables", times(3, "<table><tr><td>") + QString(190'000, QChar(0x5d0)));
		check("fonts", times(5000, "<p style=\"font-family:'f%1'\">x"));
		check("empty elements", times(1'000'000, "<b>") + times(1'000'000, "</b>"));
		check("attributes", "<p " + times(2'000'000, "a=b ") + ">");
		check("white space", QString(70'000'000, u' '));
		check("a fragment in a comment", "<x a=\"<!--StartFragment-->" + times(14, "<table><tr><td>"));
	}

	void realDocumentsPass()
	{
		const auto check = [](const char *name, const QString &html) {
			QVERIFY2(withinHtmlLimits(html), name);
		};
		const QString style = "p.S%1, li.S%1, div.S%1{margin:0cm;font-family:\"Calibri\",sans-serif}";
		const QString run = "<p class=MsoNormal><b><span lang=EN-US style='font-size:12.0pt;line-height:107%;"
				    "mso-ansi-language:EN-US'>Text<o:p></o:p></span></b> and more &nbsp;</p>\n";
		check("Word", "<html><head><!--[if gte mso 9]><xml><w:LatentStyles>" +
				      times(376, "<w:LsdException Name=\"%1\"/>") + "</xml><![endif]--><style><!--" +
				      times(120, style) + "--></style></head><body>" + QString(run).repeated(1500));
		check("a styled page of the web", "<style>" + times(500, ".nav%1 .x > li a:hover, .b%1{color:red}") +
							  "</style>" + times(8, "<div class=\"a b\">") +
							  times(1500, "<p class=q>lorem <b>ips</b></p>"));
		check("a mail", times(6, "<table width=600><tr><td align=center>") + times(40, "<p>A line."));
		check("a page with optional tags left out", times(3000, "<p>one<br>two") + "<ul>" +
								    times(500, "<li>x") + "<table>" +
								    times(60, "<tr><td>a<td>b"));
		check("a large picture", "<img src=\"data:image/png;base64," + QString(40'000'000, u'A') + "\">");
		QTextDocument note;
		QTextCursor cursor(&note);
		cursor.insertHtml(times(
			200, "<h2>Title</h2><p align=right><b>bold</b><i>it</i><s>x</s> &amp; <a href=x>y</a></p>"));
		cursor.createList(QTextListFormat::ListDecimal);
		cursor.insertTable(20, 5);
		check("a formatted note", note.toHtml());
	}

	void savedNotesPassUnparsedUpToTheLimits()
	{
		const auto check = [](const char *name, const QString &html, bool fits) {
			QVERIFY2(withinHtmlLimits(html) == fits, name);
			const auto scratch = NoteDocument::makeScratch();
			scratch->setHtml(html);
			const HtmlShape shape = shapeOf(html);
			QVERIFY(shape.isHarmless && shape.isBounded);
			QCOMPARE(shape.characters, qint64(scratch->characterCount()));
			QCOMPARE(shape.blocks, qint64(scratch->blockCount()));
		};
		const QString line = QString(9, u'&') + u'\n';
		check("all characters in all paragraphs", savedText(line.repeated(20'000).chopped(1)), true);
		check("a character too many", savedText(line.repeated(20'000)), false);
		check("a paragraph too many", savedText(QString(20'000, u'\n')), false);
		check("the longest paragraph", savedText(QString(10'000, u'<')), true);
		check("a longer paragraph", savedText(QString(10'001, u'<')), false);
		check("lines in a paragraph", savedText(QString(10'000, QChar::LineSeparator)), true);
	}

	// Words so long that a few of them make a block too long, in tags as Qt and as nobody else writes them.
	void conclusionsHoldForAnyHtml()
	{
		static const QString kWord(5'000, u'x');
		static const QStringList kOddParts =
			(QString("<p>¦</p>¦<div>¦</div>¦<b>¦</b>¦<ul>¦</ul>¦<li>¦</li>¦<br>¦<hr>¦<br/>¦text ¦ ¦\n¦"
				 "&amp;¦&#10;¦&#x2029;¦&¦\u2029¦\u2028¦<pre>¦</pre>¦<body>¦<html>¦<head>¦</head>¦"
				 "<style>p{white-space:pre}</style>¦<img src='>'>¦<!-- <p> -->¦"
				 "<p style=\"-qt-paragraph-type:empty\">¦<span title=\"a>b\">¦</span>¦<dl>¦<dd>¦"
				 "<a name=x>¦<meta name=\"qrichtext\" content=\"1\" />¦<¦<>¦</>¦<p/>¦<'q'>¦\r¦<h1>¦"
				 "</h1>¦\t¦<div style='white-space:pre-wrap'>¦<title>¦</title>¦<blockquote>¦"
				 "\U0001F600¦<x y='\\'>'>¦<center>¦</body>¦<ol start=3>¦</ol>¦<!--StartFragment-->¦"
				 "<!--EndFragment-->¦" +
				 kWord)
				 .split(u'¦'));
		static const QStringList kBlocks =
			(QString("<p>%1</p>¦<h2 align=\"right\">%1</h2>¦<ul><li>%1</li>\n<li>%1</li></ul>¦"
				 "<p style=\"-qt-paragraph-type:empty;\"><br /></p>¦<hr />¦<pre>%1</pre>¦"
				 "<ol>\n<li>%1\n<ul><li>%1</li></ul></li></ol>")
				 .split(u'¦'));
		static const QStringList kRuns =
			(QString("¦text ¦&amp;&lt;¦<br />¦<span style=\" color:#ff0000;\">text</span>¦"
				 "<a href=\"x\">text</a>¦<img src=\"x\" />¦ \t¦" +
				 kWord)
				 .split(u'¦'));
		QRandomGenerator random(20260101U);
		const auto oneOf = [&random](const QStringList &parts) { return parts[random.bounded(parts.size())]; };
		QString head = QTextDocument().toHtml();
		head.truncate(head.indexOf(u'>', head.indexOf("<body")) + 1);
		int bounded = 0;
		for (int round = 0; round < 3000; ++round) {
			const int oddness = random.bounded(3); // none, some, nothing else
			QString html = oddness < 2 ? head : QString();
			for (int part = random.bounded(1, 25); part > 0; --part) {
				const bool isOdd = oddness == 2 || (oddness == 1 && random.bounded(30) == 0);
				const QString runs = oneOf(kRuns) + oneOf(kRuns);
				html += isOdd ? oneOf(kOddParts) : oneOf(kBlocks).replace("%1", runs);
			}
			html += oddness < 2 ? "</body></html>" : "";
			const HtmlShape shape = shapeOf(html);
			const auto scratch = NoteDocument::makeScratch();
			scratch->setHtml(html);
			const QByteArray shown = QString(html).replace(kWord, "WORD").toUtf8();
			const bool isRight = withinHtmlLimits(html) == withinTextLimits(*scratch);
			QVERIFY2(isRight || !shape.isHarmless, shown.constData());
			int longest = 0;
			for (QTextBlock block = scratch->begin(); block.isValid(); block = block.next()) {
				longest = std::max(longest, block.length());
			}
			const bool holds = shape.characters >= scratch->characterCount() &&
					   shape.blocks >= scratch->blockCount() && shape.longestBlock >= longest;
			QVERIFY2(!shape.isBounded || holds, shown.constData());
			bounded += shape.isBounded ? 1 : 0;
		}
		QVERIFY2(bounded >= 800, qPrintable(QString::number(bounded)));
	}

	void onlyModestPicturesOfItsOwnAreShown()
	{
		NoteDocument document;
		QVERIFY(!document.picture(pictureUrl({30, 20})).isNull());
		QVERIFY(document.picture(pictureUrl({8000, 8000})).isNull());
		QVERIFY(document.picture("data:image/svg+xml,<svg xmlns='http://www.w3.org/2000/svg' width='9'/>")
				.isNull());
		QVERIFY(NoteDocument::makeScratch()->picture(pictureUrl({30, 20})).isNull());
		document.setHtml("<img src=x width=100000000 height=100000000>");
		QVERIFY(document.size().height() < 2 * NoteDocument::kMaxShownSide);
	}
};

} // namespace quillbay::test

QTEST_MAIN(quillbay::test::HtmlTest)
#include "html_test.moc"
