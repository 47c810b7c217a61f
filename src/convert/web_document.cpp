// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/web_document.hpp"

#include "convert/apply_web_document.hpp"
#include "convert/export_document.hpp"
#include "notes/editor_html.hpp"
#include "notes/html_shape.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"

#include <QJsonArray>
#include <QTextBlock>
#include <QTextFrame>
#include <QTextList>

#include <algorithm>
#include <optional>

namespace quillbay {

namespace {

constexpr double kPointsPerPixel = 0.75;
constexpr qsizetype kMaxHead = 4096; // what Qt writes before a note's text is far shorter
constexpr int kAlignments = Qt::AlignLeft | Qt::AlignRight | Qt::AlignHCenter | Qt::AlignJustify;

// The font that Qt writes into the body, which is the default one of the document that it wrote.
QFont writtenFont(const QString &html, const QFont &otherwise)
{
	const QStringView head = QStringView(html).first(std::min<qsizetype>(html.size(), kMaxHead));
	const qsizetype body = head.indexOf(QLatin1StringView("<body "));
	const qsizetype end = head.indexOf(u'>', std::max<qsizetype>(body, 0));
	if (!head.startsWith(kEditorHead) || body < 0 || end < 0) {
		return otherwise;
	}
	const auto sample = NoteDocument::makeScratch();
	sample->setHtml(head.sliced(body, end + 1 - body).toString() + QLatin1StringView("x</body>"));
	return sample->begin().begin().fragment().charFormat().font().resolve(otherwise);
}

QString colorName(const QBrush &brush, bool resolved)
{
	const bool isShown = resolved ? brush.style() == Qt::SolidPattern && brush.color().alpha() == 255
				      : brush.style() != Qt::NoBrush;
	return isShown ? brush.color().name() : QString();
}

double effectiveSize(const QFont &font)
{
	const double size = font.pixelSize() >= 1 ? font.pixelSize() * kPointsPerPixel : font.pointSizeF();
	return std::clamp(size, 0.0, kMaxPointSize);
}

int weightOf(const QTextCharFormat &format)
{
	return format.hasProperty(QTextFormat::FontWeight) ? format.fontWeight() : kNormalWeight;
}

bool isEditable(const QTextCharFormat &format)
{
	const double size = format.doubleProperty(QTextFormat::FontPointSize);
	const int weight = weightOf(format);
	return format.objectType() == QTextFormat::NoObject && !format.isAnchor() &&
	       !format.hasProperty(QTextFormat::FontPixelSize) &&
	       format.verticalAlignment() == QTextCharFormat::AlignNormal && isPlainColor(format.foreground()) &&
	       isPlainColor(format.background()) && weight >= kMinWeight && weight <= kMaxWeight && size >= 0 &&
	       size <= kMaxPointSize && familyOf(format).size() <= kMaxFamilyLength;
}

bool isEditable(const QTextBlock &block)
{
	const int indent = block.blockFormat().indent();
	if (indent < 0 || indent > kMaxIndent) {
		return false;
	}
	const QTextList *list = block.textList();
	if (!list) {
		return true;
	}
	const QTextListFormat format = list->format();
	return format.style() >= kMinListStyle && format.style() < 0 && format.indent() >= 1 &&
	       format.indent() <= kMaxIndent && format.start() >= 1 && format.start() <= kMaxListStart;
}

class Exporter {
public:
	Exporter(const QTextDocument &document, bool resolved, int listsBefore, const QTextCharFormat &inherited)
	    : document_(document), resolved_(resolved), inherited_(inherited), lists_(listsBefore)
	{
	}

	QJsonObject result();

private:
	/// What all fragments of one format share.
	struct Form {
		QJsonObject run;
		bool isEditable = true;
	};

	bool appendBlock(const QTextBlock &block);
	QJsonObject blockForm(const QTextBlock &block);
	QJsonValue runOf(const QTextFragment &fragment);
	const Form &formOf(const QTextFragment &fragment);
	QJsonObject runForm(const QTextCharFormat &format) const;
	QString cleaned(QString text) const;
	int bounded(int value, int least, int most) const;

	const QTextDocument &document_;
	const bool resolved_;
	const QTextCharFormat inherited_;
	QHash<int, Form> forms_;             // by the index of their format
	QHash<int, QJsonObject> blockForms_; // by the index of their format, which names the list too
	ListNumbers lists_;
	QJsonArray blocks_;
	int runs_ = 0;
	bool isEditable_ = true;
};

QJsonObject Exporter::result()
{
	if (!withinTextLimits(document_)) {
		return {};
	}
	isEditable_ = document_.rootFrame()->childFrames().isEmpty();
	for (QTextBlock block = document_.begin(); block.isValid(); block = block.next()) {
		if (!appendBlock(block)) {
			return {};
		}
	}
	return {{QStringLiteral("blocks"), blocks_}, {QStringLiteral("editable"), isEditable_}};
}

bool Exporter::appendBlock(const QTextBlock &block)
{
	QJsonArray runs;
	for (auto at = block.begin(); !at.atEnd(); ++at) {
		if (++runs_ > kMaxRuns) {
			return false;
		}
		runs.append(runOf(at.fragment()));
	}
	const int index = block.blockFormatIndex();
	auto known = blockForms_.find(index);
	if (known == blockForms_.end()) {
		known = blockForms_.insert(index, blockForm(block));
		isEditable_ = isEditable_ && isEditable(block);
	}
	QJsonObject form = *known;
	form.insert(QLatin1StringView("runs"), runs);
	blocks_.append(form);
	return true;
}

QJsonObject Exporter::blockForm(const QTextBlock &block)
{
	const int align = static_cast<int>(block.blockFormat().alignment()) & kAlignments;
	const QTextList *list = block.textList();
	const QTextListFormat format = list ? list->format() : QTextListFormat();
	return {
		{QStringLiteral("align"), align ? align : int(Qt::AlignLeft)},
		{QStringLiteral("indent"), bounded(block.blockFormat().indent(), 0, kMaxIndent)},
		{QStringLiteral("list"), list ? bounded(format.style(), kMinListStyle, 0) : 0},
		{QStringLiteral("listGroup"), list ? lists_.of(list) : 0},
		{QStringLiteral("listIndent"), list ? bounded(format.indent(), 1, kMaxIndent) : 1},
		{QStringLiteral("listStart"), list ? bounded(format.start(), 1, kMaxListStart) : 1},
		{QStringLiteral("runs"), QJsonArray()},
	};
}

QJsonValue Exporter::runOf(const QTextFragment &fragment)
{
	const Form &form = formOf(fragment);
	const QString text = fragment.text();
	isEditable_ = isEditable_ && form.isEditable && isRunText(text);
	QJsonObject run = form.run;
	run.insert(QLatin1StringView("text"), resolved_ ? cleaned(text) : text);
	return run;
}

const Exporter::Form &Exporter::formOf(const QTextFragment &fragment)
{
	const int index = fragment.charFormatIndex();
	auto known = forms_.find(index);
	if (known == forms_.end()) {
		QTextCharFormat format = inherited_;
		format.merge(fragment.charFormat());
		known = forms_.insert(index, {runForm(format), isEditable(format)});
	}
	return *known;
}

QJsonObject Exporter::runForm(const QTextCharFormat &format) const
{
	const QFont font = resolved_ ? format.font().resolve(document_.defaultFont()) : QFont();
	return {
		{QStringLiteral("background"), colorName(format.background(), resolved_)},
		{QStringLiteral("color"), colorName(format.foreground(), resolved_)},
		{QStringLiteral("family"), resolved_ ? font.family().left(kMaxFamilyLength) : familyOf(format)},
		{QStringLiteral("italic"), format.fontItalic()},
		{QStringLiteral("size"),
		 resolved_ ? effectiveSize(font) : format.doubleProperty(QTextFormat::FontPointSize)},
		{QStringLiteral("strike"), format.fontStrikeOut()},
		{QStringLiteral("text"), QString()},
		{QStringLiteral("underline"), format.underlineStyle() == QTextCharFormat::SingleUnderline},
		{QStringLiteral("weight"), bounded(weightOf(format), kMinWeight, kMaxWeight)},
	};
}

QString Exporter::cleaned(QString text) const
{
	text.remove(QChar::ObjectReplacementCharacter);
	if (!isRunText(text)) {
		text.removeIf([](QChar character) { return character.isSurrogate() || !isRunText({&character, 1}); });
	}
	return text;
}

// The basic form is there to be loaded again; the other one says what is there.
int Exporter::bounded(int value, int least, int most) const
{
	return resolved_ ? std::clamp(value, least, most) : value;
}

} // namespace

QJsonObject exportDocument(const QTextDocument &document, bool resolved, int listsBefore,
			   const QTextCharFormat &inherited)
{
	return Exporter(document, resolved, listsBefore, inherited).result();
}

bool isPlainColor(const QBrush &brush)
{
	return brush.style() == Qt::NoBrush || (brush.style() == Qt::SolidPattern && brush.color().alpha() == 255);
}

QString familyOf(const QTextCharFormat &format)
{
	return format.fontFamilies().toStringList().value(0);
}

bool isRunText(QStringView text)
{
	// Hardly any text holds more than these, and every one of a note is asked.
	const auto isOrdinary = [](QChar character) {
		return character.unicode() >= u' ' && character.unicode() < QChar::ParagraphSeparator;
	};
	if (std::ranges::all_of(text, isOrdinary)) {
		return true;
	}
	const bool isForbidden = std::ranges::any_of(text, [](QChar character) {
		return character.isNull() || character == QChar::ObjectReplacementCharacter || isBlockBreak(character);
	});
	return !isForbidden && text.isValidUtf16();
}

int ListNumbers::of(const QTextList *list)
{
	const int next = listsBefore_ + static_cast<int>(numbers_.size()) + 1;
	const auto known = numbers_.constFind(list);
	return known != numbers_.constEnd() ? *known : *numbers_.insert(list, next);
}

std::unique_ptr<QTextDocument> loaded(const QString &html)
{
	auto scratch = NoteDocument::makeScratch();
	// With another default every run would be written with what is the default in the note.
	scratch->setDefaultFont(writtenFont(html, scratch->defaultFont()));
	scratch->setHtml(html);
	return scratch;
}

std::unique_ptr<QTextDocument> parsed(const QString &html)
{
	return isWorthParsing(html) ? loaded(html) : nullptr;
}

QJsonObject webDocument(const QString &html)
{
	const auto document = parsed(html);
	return document ? exportDocument(*document, false) : QJsonObject();
}

QJsonObject webDocument(const QString &html, const QTextDocument &writer)
{
	const QJsonObject known = exportWritten(writer);
	if (known.isEmpty()) {
		return webDocument(html);
	}
	return isWorthParsing(html) ? known : QJsonObject();
}

QString plainText(const QString &html)
{
	if (!isHarmlessHtml(html)) {
		return {};
	}
	const auto scratch = NoteDocument::makeScratch();
	scratch->setHtml(html);
	return scratch->toPlainText().remove(QChar::ObjectReplacementCharacter);
}

bool basicHtml(const QTextDocument &document, QString &html)
{
	const QJsonObject exported = exportDocument(document, true);
	return !exported.isEmpty() && applyWebDocument({}, exported, html);
}

} // namespace quillbay
