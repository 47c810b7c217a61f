// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/incoming_document.hpp"

#include "convert/export_document.hpp"
#include "notes/limits.hpp"

#include <QBrush>
#include <QColor>

#include <cmath>

namespace quillbay {

namespace {

/// "#aarrggbb", or the name of a colour.
constexpr qsizetype kMaxColorLength = 9;

bool isWithin(int value, int least, int most)
{
	return value >= least && value <= most;
}

bool isBlockForm(const BlockForm &form)
{
	const bool isAlignment = form.align == Qt::AlignLeft || form.align == Qt::AlignRight ||
				 form.align == Qt::AlignHCenter || form.align == Qt::AlignJustify;
	return isAlignment && isWithin(form.list, kMinListStyle, 0) && isWithin(form.indent, 0, kMaxIndent) &&
	       isWithin(form.listIndent, 1, kMaxIndent) && isWithin(form.listStart, 1, kMaxListStart);
}

// No text means no brush, which takes away the colour that the text had.
bool readBrush(const QString &name, QBrush &brush)
{
	brush = QBrush(Qt::NoBrush);
	if (name.isEmpty()) {
		return true;
	}
	const QColor color = name.size() <= kMaxColorLength ? QColor::fromString(name) : QColor();
	if (color.isValid()) {
		brush = QBrush(color);
	}
	return color.isValid();
}

} // namespace

size_t qHash(const IncomingDocument::Look &look, size_t seed)
{
	return qHashMulti(seed, look.weight, look.italic, look.underline, look.strike, look.size, look.family,
			  look.color, look.background);
}

Verdict IncomingDocument::read(const QJsonObject &document)
{
	const QJsonArray blocks = document.value(QLatin1StringView("blocks")).toArray();
	if (blocks.isEmpty()) {
		return Verdict::Broken;
	}
	if (blocks.size() > kMaxParagraphs) {
		return Verdict::OverLimit;
	}
	blocks_.reserve(static_cast<size_t>(blocks.size()));
	for (const QJsonValue &block : blocks) {
		if (const Verdict verdict = readBlock(block); verdict != Verdict::Good) {
			return verdict;
		}
		text_ += u'\n';
	}
	text_.chop(1);
	return text_.size() > kMaxTextLength ? Verdict::OverLimit : Verdict::Good;
}

Verdict IncomingDocument::readBlock(const QJsonValue &value)
{
	if (!value.isObject()) {
		return Verdict::Broken;
	}
	const QJsonObject block = value.toObject();
	const BlockForm form{
		.align = block.value(QLatin1StringView("align")).toInt(0),
		.indent = block.value(QLatin1StringView("indent")).toInt(-1),
		.list = block.value(QLatin1StringView("list")).toInt(100),
		.listIndent = block.value(QLatin1StringView("listIndent")).toInt(0),
		.listGroup = block.value(QLatin1StringView("listGroup")).toInt(0),
		.listStart = block.value(QLatin1StringView("listStart")).toInt(0),
	};
	const QJsonValue runs = block.value(QLatin1StringView("runs"));
	if (!isBlockForm(form) || !runs.isArray()) {
		return Verdict::Broken;
	}
	blocks_.push_back(form);
	const qsizetype start = text_.size();
	for (const QJsonValue &run : runs.toArray()) {
		if (const Verdict verdict = readRun(run, start); verdict != Verdict::Good) {
			return verdict;
		}
	}
	return Verdict::Good;
}

Verdict IncomingDocument::readRun(const QJsonValue &value, qsizetype blockStart)
{
	if (!value.isObject() || runs_.size() == kMaxRuns) {
		return Verdict::Broken;
	}
	const QJsonObject run = value.toObject();
	const QJsonValue text = run.value(QLatin1StringView("text"));
	if (!text.isString()) {
		return Verdict::Broken;
	}
	const QString added = text.toString();
	const qsizetype length = text_.size() + added.size();
	if (length - blockStart > kMaxParagraphLength || length > kMaxTextLength) {
		return Verdict::OverLimit;
	}
	Run placed{static_cast<qint32>(text_.size()), static_cast<qint32>(added.size()), {}, {}};
	const Look look{
		.weight = run.value(QLatin1StringView("weight")).toInt(-1),
		.italic = run.value(QLatin1StringView("italic")).toBool(),
		.underline = run.value(QLatin1StringView("underline")).toBool(),
		.strike = run.value(QLatin1StringView("strike")).toBool(),
		.size = run.value(QLatin1StringView("size")).toDouble(-1),
		.family = run.value(QLatin1StringView("family")).toString(),
		.color = run.value(QLatin1StringView("color")).toString(),
		.background = run.value(QLatin1StringView("background")).toString(),
	};
	if (!readFormat(look, placed) || !isRunText(added)) {
		return Verdict::Broken;
	}
	runs_.push_back(placed);
	text_ += added;
	return Verdict::Good;
}

bool IncomingDocument::readFormat(const Look &look, Run &run)
{
	if (const auto known = formats_.constFind(look); known != formats_.constEnd()) {
		run.format = known->whole;
		run.besidesFamily = known->besidesFamily;
		return true;
	}
	QTextCharFormat &format = run.format;
	QBrush foreground;
	QBrush background;
	if (!std::isfinite(look.size) || look.size < 0 || look.size > kMaxPointSize ||
	    !isWithin(look.weight, kMinWeight, kMaxWeight) || look.family.size() > kMaxFamilyLength ||
	    !readBrush(look.color, foreground) || !readBrush(look.background, background)) {
		return false;
	}
	format.setFontWeight(look.weight);
	format.setFontItalic(look.italic);
	format.setUnderlineStyle(look.underline ? QTextCharFormat::SingleUnderline : QTextCharFormat::NoUnderline);
	format.setFontStrikeOut(look.strike);
	if (look.size > 0) {
		format.setFontPointSize(look.size);
	}
	format.setForeground(foreground);
	format.setBackground(background);
	run.besidesFamily = format;
	if (!look.family.isEmpty()) {
		format.setFontFamilies({look.family});
	}
	formats_.insert(look, {run.format, run.besidesFamily});
	return true;
}

} // namespace quillbay
