// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/css_cost.hpp"
#include "notes/html_names.hpp"

#include <QHash>
#include <QString>

#include <algorithm>

namespace quillbay {

namespace {

constexpr int kMaxFontFamilies = 1'000;
constexpr int kMaxTextures = 100;
constexpr qsizetype kMaxSheetLength = 512 * 1024;

// In microseconds.
constexpr double kSelectorCost = 0.015;
constexpr double kAttributeCost = 0.01; // for each selector that is tried
constexpr double kStepCost = 0.08;      // from an element to the one around it
constexpr double kDeclarationCost = 0.4;
constexpr double kBorderCost = 0.02; // for each declaration of the element
constexpr double kBorderPairCost = 0.15;
constexpr double kSheetCharacterCost = 0.13;

constexpr QChar kClass = u'.';
constexpr QChar kId = u'#';
constexpr QChar kTag = u'<';

bool isNameLetter(QChar c)
{
	return c.isLetterOrNumber() || c == u'-' || c == u'_';
}

bool isGap(QChar c)
{
	return c.isSpace() || c == u'>' || c == u'+' || c == u'~';
}

size_t keyOf(QChar kind, QStringView name)
{
	return qHash(name.toString().toLower(), kind.unicode());
}

// Takes the letters of a name off the front of `text`.
QStringView takeName(QStringView &text)
{
	const auto end = std::ranges::find_if_not(text, isNameLetter);
	const QStringView name = text.first(end - text.begin());
	text = text.sliced(name.size());
	return name;
}

// The part of a selector that the element itself must fit: the "b.x" of "p > b.x".
struct Target {
	QStringView tag;
	QStringView className;
	QStringView id;
	bool isClear = true; // that the above is surely as Qt reads it
};

Target targetOf(QStringView selector)
{
	Target target;
	if (selector.startsWith(u'*')) {
		selector = selector.sliced(1);
	} else {
		target.tag = takeName(selector);
	}
	while (!selector.isEmpty() && (selector.front() == kClass || selector.front() == kId)) {
		QStringView &name = selector.front() == kClass ? target.className : target.id;
		selector = selector.sliced(1);
		name = takeName(selector);
		target.isClear = target.isClear && !name.isEmpty();
	}
	target.isClear = target.isClear && (selector.isEmpty() || selector.front() == u':' || selector.front() == u'[');
	return target;
}

// Where what looks like a selector may mean something else.
bool isUnclear(QStringView selectors)
{
	return std::ranges::any_of(selectors, [](QChar c) {
		return c == u'"' || c == u'\'' || c == u'\\' || c == u'(' || c == u'/' || c == u'@';
	});
}

// Qt reads all borders of an element again for every one of them.
double borderCost(const CssCost::Declarations &declarations)
{
	const double borders = double(declarations.borders);
	return borders * (borders * kBorderPairCost + double(declarations.count) * kBorderCost);
}

} // namespace

double CssCost::addStyle(QStringView css)
{
	const Declarations found = addDeclarations(css);
	return double(found.count) * kDeclarationCost + borderCost(found);
}

CssCost::Declarations CssCost::addDeclarations(QStringView css)
{
	Declarations found;
	const bool isEscaped = css.contains(u'\\') || css.contains(QLatin1StringView("/*"));
	if (isEscaped) {
		addFontFamilies(css);
	}
	hasDisplay_ = hasDisplay_ || isEscaped || css.contains(u'&') || mentions(css, "display");
	qsizetype start = 0;
	for (qsizetype colon = css.indexOf(u':'); colon >= 0; colon = css.indexOf(u':', start)) {
		qsizetype end = css.indexOf(u';', colon);
		end = end < 0 ? css.size() : end;
		const QStringView key = css.sliced(start, colon - start).trimmed();
		if (key.endsWith(QLatin1StringView("family"), Qt::CaseInsensitive) ||
		    key.endsWith(QLatin1StringView("font"), Qt::CaseInsensitive)) {
			addFontFamilies(css.sliced(colon + 1, end - colon - 1));
		} else if (mentions(key, "dasharray")) {
			isHarmless_ = false;
		} else if (mentions(key, "texture")) {
			isHarmless_ = isHarmless_ && ++textures_ <= kMaxTextures;
		}
		start = std::min(end + 1, css.size());
		++found.count;
		found.borders += isEscaped || mentions(key, "border") ? 1 : 0;
	}
	return found;
}

void CssCost::addFontFamilies(QStringView value)
{
	if (families_.insert(qHash(value)).second) {
		familyCount_ += 1 + value.count(u',');
		isHarmless_ = isHarmless_ && familyCount_ <= kMaxFontFamilies;
	}
}

void CssCost::addSheet(QStringView text)
{
	sheetLength_ += text.size();
	if (sheetLength_ > kMaxSheetLength) {
		isHarmless_ = false;
		return;
	}
	qsizetype start = 0;
	for (qsizetype brace = text.indexOf(u'{'); brace >= 0; brace = text.indexOf(u'{', start)) {
		const QStringView selectors = text.sliced(start, brace - start).trimmed();
		qsizetype end = text.indexOf(u'}', brace);
		end = end < 0 ? text.size() : end;
		if (selectors.startsWith(QLatin1StringView("@media"))) {
			end = brace; // its rules are read as if they were not in it
		} else {
			addRule(selectors, text.sliced(brace + 1, end - brace - 1));
		}
		start = std::min(end + 1, text.size());
	}
	hasFloatRules_ = hasFloatRules_ || mentions(text, "float") || text.contains(u'\\');
	hasDisplay_ =
		hasDisplay_ || mentions(text, "display") || mentions(text, "paragraph-type") || text.contains(u'\\');
}

void CssCost::addRule(QStringView selectors, QStringView block)
{
	const Declarations declarations = addDeclarations(block);
	const qint64 inner = block.count(u'{'); // more than none when this one was in a comment
	hasSiblingRules_ = hasSiblingRules_ || selectors.contains(u'~') || selectors.contains(u'+');
	if (selectors.startsWith(QLatin1StringView("@font-face")) && inner == 0) {
		return;
	}
	if (isUnclear(selectors) || inner > 0) {
		addUnclear(1 + selectors.count(u',') + (inner > 0 ? inner + block.count(u',') : 0), declarations);
		return;
	}
	for (QStringView selector : selectors.tokenize(u',')) {
		addSelector(selector.trimmed(), declarations);
	}
}

void CssCost::addUnclear(qint64 selectors, const Declarations &declarations)
{
	any_.add({selectors, selectors, {declarations.count * selectors, declarations.borders * selectors}});
}

// Qt tries a selector on the elements with its id, else on those with its name, else on all; it goes on to what is
// around the element, and takes the declarations over, when the class fits as well.
void CssCost::addSelector(QStringView selector, const Declarations &declarations)
{
	const auto gap = std::find_if(selector.rbegin(), selector.rend(), isGap);
	const Target target = targetOf(selector.sliced(selector.rend() - gap));
	if (!target.isClear) {
		addUnclear(1, declarations);
		return;
	}
	const auto bucket = [this](QChar kind, QStringView name) -> Selectors & { return named_[keyOf(kind, name)]; };
	const bool isNamed = !target.tag.isEmpty();
	Selectors &tried = !target.id.isEmpty() ? bucket(kId, target.id) : isNamed ? bucket(kTag, target.tag) : any_;
	Selectors &fitting = !target.className.isEmpty() ? bucket(kClass, target.className) : tried;
	const Selectors fit{0, gap == selector.rend() ? 0 : 1, declarations};
	++tried.tried;
	fitting.add(fit);
	++all_.tried;
	all_.add(fit);
}

double CssCost::closeSheet()
{
	hasNewRules_ = true;
	return double(sheetLength_) * kSheetCharacterCost;
}

void CssCost::Selectors::add(const Selectors &other)
{
	tried += other.tried;
	nested += other.nested;
	declarations.count += other.declarations.count;
	declarations.borders += other.declarations.borders;
}

CssCost::Selectors CssCost::selectorsFor(const StyledElement &element) const
{
	Selectors sum = any_;
	if (element.isUnclear) {
		sum.add(all_);
		return sum;
	}
	const auto add = [&](QChar kind, QStringView name) {
		const auto found = named_.find(keyOf(kind, name));
		sum.add(found == named_.end() ? Selectors() : found->second);
	};
	add(kTag, element.tag);
	add(kId, element.id);
	qsizetype start = 0;
	for (qsizetype i = 0; i <= element.classes.size(); ++i) {
		if (i == element.classes.size() || element.classes[i].isSpace()) {
			add(kClass, element.classes.sliced(start, i - start));
			start = i + 1;
		}
	}
	return sum;
}

// What Qt does for an element itself and for each element in it.
double CssCost::levelCost(qsizetype depth, const StyledElement &element, const Selectors &selectors) const
{
	const double attributeCost = kAttributeCost * double(element.attributes);
	return double(selectors.tried) * (kSelectorCost + attributeCost) +
	       double(selectors.nested) * double(depth) * (kStepCost + attributeCost) +
	       double(selectors.declarations.count) * kDeclarationCost;
}

double CssCost::addElement(qsizetype depth, const StyledElement &element)
{
	path_.resize(size_t(depth));
	path_.push_back({element, 0});
	if (any_.tried == 0 && named_.empty()) {
		return 0;
	}
	const size_t first = hasNewRules_ ? 0 : size_t(depth);
	hasNewRules_ = false;
	Selectors selectors;
	for (size_t i = first; i < path_.size(); ++i) {
		selectors = selectorsFor(path_[i].element);
		path_[i].cost = (i > 0 ? path_[i - 1].cost : 0) + levelCost(qsizetype(i), path_[i].element, selectors);
	}
	return path_.back().cost + borderCost(selectors.declarations);
}

} // namespace quillbay
