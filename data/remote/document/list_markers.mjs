// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// What stands before the paragraphs of a list.

/** @import { BlockFormat } from './model.mjs' */

const bullets = new Map([
	[-1, '•'],
	[-2, '◦'],
	[-3, '▪'],
]);
const romanDigits = /** @type {[number, string][]} */ ([
	[1000, 'M'],
	[900, 'CM'],
	[500, 'D'],
	[400, 'CD'],
	[100, 'C'],
	[90, 'XC'],
	[50, 'L'],
	[40, 'XL'],
	[10, 'X'],
	[9, 'IX'],
	[5, 'V'],
	[4, 'IV'],
	[1, 'I'],
]);

/** Bijective base 26: A to Z, AA and so on. @param {number} number */
function letters(number) {
	let text = '';
	for (let rest = number; rest > 0; rest = Math.floor((rest - 1) / 26)) {
		text = String.fromCharCode(65 + ((rest - 1) % 26)) + text;
	}
	return text;
}

/** @param {number} number */
function roman(number) {
	let text = '';
	let rest = number;
	for (const [value, digits] of romanDigits) {
		text += digits.repeat(Math.floor(rest / value));
		rest %= value;
	}
	return text;
}

/** What stands before the paragraph with this number in a list of this style. @param {number} list @param {number} number */
function listMarker(list, number) {
	const bullet = bullets.get(list);
	if (bullet) return bullet;
	const upper =
		list === -5 || list === -6 ? letters(number) : list === -7 || list === -8 ? roman(number) : `${number}`;
	return `${list === -5 || list === -7 ? upper.toLowerCase() : upper}.`;
}

/**
 * The number of a list paragraph after the previous one.
 * @typedef {{group: number, number: number} | null} Numbering
 * @param {Numbering} previous @param {BlockFormat} block
 */
export function continueNumbering(previous, block) {
	const goesOn = previous?.group === block.listGroup;
	return { group: block.listGroup, number: goesOn ? previous.number + 1 : block.listStart };
}

/** @param {HTMLElement} paragraph @param {BlockFormat} block @param {number} number */
export function setMarker(paragraph, block, number) {
	paragraph.dataset.number = `${number}`;
	paragraph.dataset.marker = listMarker(block.list, number);
}
