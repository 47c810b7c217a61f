// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What CSS costs. For this folder only.

#pragma once

#include <QStringView>

#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace quillbay {

/// What style sheets can tell an element by. The views point into the HTML.
struct StyledElement {
	QStringView tag;
	QStringView classes; ///< the value of its "class", several names in it
	QStringView id;
	qint64 attributes = 0;
	bool isUnclear = false; ///< it may have other classes or another id than these
};

/// Estimates what the CSS in some HTML costs Qt, without making a document. Costs are microseconds, as measured with
/// Qt 6.8; they are rather too high than too low. The HTML must outlive it. Any thread, one at a time.
class CssCost {
public:
	/// "name: value" pairs.
	struct Declarations {
		qint64 count = 0;
		qint64 borders = 0; ///< of them
	};

	/// Looks at the value of a "style" attribute; returns what it costs.
	double addStyle(QStringView css);
	/// Looks at a list of font families.
	void addFontFamilies(QStringView value);
	/// Looks at a text in a <style> element. Its rules hold from the next closeSheet on.
	void addSheet(QStringView text);
	/// Qt reads the sheet so far at every closing tag in it; returns what this costs.
	double closeSheet();
	/// Returns what it costs to find the styles of an element that lies in the elements given before for the
	/// depths from 0 to `depth` - 1.
	double addElement(qsizetype depth, const StyledElement &element);

	/// False when there is CSS that Qt cannot bear in any amount, or too much of some kind.
	[[nodiscard]] bool isHarmless() const { return isHarmless_; }
	/// Whether a rule may make elements float.
	[[nodiscard]] bool hasFloatRules() const { return hasFloatRules_; }
	/// Whether a rule looks for what stands before an element.
	[[nodiscard]] bool hasSiblingRules() const { return hasSiblingRules_; }
	/// Whether CSS may make an element a block, hide it or empty it.
	[[nodiscard]] bool hasDisplay() const { return hasDisplay_; }

private:
	/// Selectors that Qt tries, and what happens when they fit.
	struct Selectors {
		qint64 tried = 0;
		qint64 nested = 0;         ///< of those that fit so far: also ask for elements around
		Declarations declarations; ///< of those that fit
		void add(const Selectors &other);
	};
	struct Level {
		StyledElement element;
		double cost = 0; ///< of this element and of all around it: Qt looks at them for what is inherited
	};

	Declarations addDeclarations(QStringView css);
	void addRule(QStringView selectors, QStringView block);
	void addSelector(QStringView selector, const Declarations &declarations);
	void addUnclear(qint64 selectors, const Declarations &declarations);
	Selectors selectorsFor(const StyledElement &element) const;
	double levelCost(qsizetype depth, const StyledElement &element, const Selectors &selectors) const;

	bool isHarmless_ = true;
	bool hasFloatRules_ = false;
	bool hasSiblingRules_ = false;
	bool hasDisplay_ = false;
	bool hasNewRules_ = false; // since the costs in path_ were counted
	qint64 sheetLength_ = 0;
	qint64 textures_ = 0;
	qint64 familyCount_ = 0;
	std::unordered_set<size_t> families_;
	Selectors any_;                               // for every element
	Selectors all_;                               // in named_
	std::unordered_map<size_t, Selectors> named_; // by "p", ".class" or "#id"
	std::vector<Level> path_;
};

} // namespace quillbay
