// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The format that an element's tag and inline style give its text.

/** @import { RunFormat } from './model.mjs' */

/** CSS points in a CSS pixel. */
export const pointsPerPixel = 0.75;
/** The longest family that a web document may hold. */
const maxFamilyCharacters = 200;

// CSS Color 4, the named colours that fit into a web document's nine characters.
const colorNames = new Set(
	(
		'aliceblue aqua azure beige bisque black blue brown burlywood cadetblue chocolate coral cornsilk crimson cyan ' +
		'darkblue darkcyan darkgray darkgreen darkgrey darkkhaki darkred deeppink dimgray dimgrey firebrick fuchsia ' +
		'gainsboro gold goldenrod gray green grey honeydew hotpink indianred indigo ivory khaki lavender lawngreen ' +
		'lightblue lightcyan lightgray lightgrey lightpink lime limegreen linen magenta maroon mintcream mistyrose ' +
		'moccasin navy oldlace olive olivedrab orange orangered orchid palegreen peachpuff peru pink plum purple red ' +
		'rosybrown royalblue salmon seagreen seashell sienna silver skyblue slateblue slategray slategrey snow ' +
		'steelblue tan teal thistle tomato turquoise violet wheat white yellow'
	).split(' '),
);

/** A style's colour as a web document has it, empty for what it cannot hold. @param {string} color */
function documentColor(color) {
	const rgb = /^rgb\(\s*(\d+)[\s,]+(\d+)[\s,]+(\d+)\s*\)$/.exec(color);
	if (rgb)
		return `#${rgb
			.slice(1)
			.map((part) => Math.min(255, +part).toString(16).padStart(2, '0'))
			.join('')}`;
	const name = color.toLowerCase();
	return colorNames.has(name) || /^#[\da-f]{6}$/.test(name) ? name : '';
}

/** The first of a style's families, without its quotes. @param {string} families */
function firstFamily(families) {
	const first = /^\s*(?:"((?:[^"\\]|\\.)*)"|'((?:[^'\\]|\\.)*)'|([^,]*))/.exec(families) ?? [];
	const name = first[1] ?? first[2] ?? first[3] ?? '';
	return unescaped(name).trim().slice(0, maxFamilyCharacters);
}

/** @param {string} text of a CSS string */
const unescaped = (text) =>
	text.replace(/\\([\da-f]{1,6})\s?|\\(.)/gi, (_, hex, plain) =>
		hex ? String.fromCodePoint(Math.min(parseInt(hex, 16), 0x10ffff)) : plain,
	);

/** Points of a font size in pt or px; no number for any other. @param {string} size */
function points(size) {
	const parts = /^(\d*\.?\d+)(pt|px)$/.exec(size);
	return parts ? Number(parts[1]) * (parts[2] === 'px' ? pointsPerPixel : 1) : NaN;
}

/** @param {string} weight @param {number} inherited */
function fontWeight(weight, inherited) {
	if (weight === 'bold' || weight === 'bolder') return 700;
	if (weight === 'normal' || weight === 'lighter') return 400;
	const number = Math.round(Number(weight));
	return weight && number >= 1 && number <= 1000 ? number : inherited;
}

/** @param {string} tag @param {RunFormat} format */
function applyTag(tag, format) {
	if (tag === 'B' || tag === 'STRONG') format.weight = 700;
	else if (tag === 'I' || tag === 'EM') format.italic = true;
	else if (tag === 'U') format.underline = true;
	else if (tag === 'S' || tag === 'STRIKE' || tag === 'DEL') format.strike = true;
}

/** What an element's style itself says. @param {CSSStyleDeclaration} style @param {string} property */
function ownValue(style, property) {
	const value = style.getPropertyValue(property);
	return /^(inherit|initial|unset|revert|revert-layer|currentcolor)$/i.test(value) ? '' : value;
}

/** @param {CSSStyleDeclaration} style @param {RunFormat} format @param {RunFormat} inherited */
function applyStyle(style, format, inherited) {
	const own = (/** @type {string} */ property) => ownValue(style, property);
	const decoration = own('text-decoration-line') || own('text-decoration');
	const size = points(own('font-size'));
	format.weight = fontWeight(own('font-weight'), format.weight);
	if (own('font-style')) format.italic = /^(italic|oblique)/.test(own('font-style'));
	if (decoration) {
		// An outer line runs on under inner text whatever that says.
		format.underline = inherited.underline || decoration.includes('underline');
		format.strike = inherited.strike || decoration.includes('line-through');
	}
	if (Number.isFinite(size)) format.size = size;
	if (own('font-family')) format.family = firstFamily(own('font-family'));
	if (own('color')) format.color = documentColor(own('color'));
	if (own('background-color')) format.background = documentColor(own('background-color'));
}

/**
 * The format within an element that stands in text of the given format.
 * @param {HTMLElement} element
 * @param {RunFormat} inherited
 * @returns {RunFormat}
 */
export function inheritedFormat(element, inherited) {
	const format = { ...inherited };
	applyTag(element.tagName, format);
	// Elements of other vocabularies may have no style.
	if (element.style?.length) applyStyle(element.style, format, inherited);
	return format;
}
