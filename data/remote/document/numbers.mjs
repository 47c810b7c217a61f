// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// A rendered note by numbers: its paragraphs counted, and its characters with one for each paragraph break.

import { paragraphsOf, paragraphText } from './paragraphs.mjs';
import { rangeOf, select, selectedStretch } from './places.mjs';
import { noteOf } from './note.mjs';

/** @import { Place } from './places.mjs' */

/** @param {HTMLElement} root */
export const paragraphCount = (root) => noteOf(root).ledger.totals().paragraphs;

/** The number of characters that the element shows: characterCount of its document, without walking it. @param {HTMLElement} root */
export const shownCharacterCount = (root) => noteOf(root).ledger.totals().characters;

/** @param {HTMLElement} root @param {number} index from 0 @returns {HTMLElement | null} */
export const paragraphAt = (root, index) => paragraphsOf(root)[index] ?? null;

/** The note's text: a line feed between paragraphs, and for a line break in one. @param {HTMLElement} root */
export const documentText = (root) => paragraphsOf(root).map(paragraphText).join('\n');

/** @param {HTMLElement} root @param {Place[]} places in order @returns {number[]} */
function offsetsOf(root, places) {
	const { ledger } = noteOf(root);
	/** @type {Map<HTMLElement, number>} */
	const starts = new Map();
	let next = 0;
	const wanted = new Set(places.map((place) => place.paragraph));
	for (const paragraph of paragraphsOf(root)) {
		if (wanted.delete(paragraph)) starts.set(paragraph, next);
		if (!wanted.size) break;
		next += ledger.length(paragraph) + 1;
	}
	return places.map(({ paragraph, offset }) => (starts.get(paragraph) ?? 0) + offset);
}

/** @param {HTMLElement} root @param {number} offset @returns {Place | null} */
function placeAt(root, offset) {
	const { ledger } = noteOf(root);
	/** @type {Place | null} */
	let last = null;
	let rest = Math.max(0, offset);
	for (const paragraph of paragraphsOf(root)) {
		const length = ledger.length(paragraph);
		if (rest <= length) return { paragraph, offset: rest };
		rest -= length + 1;
		last = { paragraph, offset: length };
	}
	return last;
}

/** The selection by the note's characters; null where it is not in the note. @param {HTMLElement} root */
export function selectionOffsets(root) {
	const stretch = selectedStretch(root);
	if (!stretch) return null;
	const [start = 0, end = 0] = offsetsOf(root, [stretch.start, stretch.end]);
	return { start, end };
}

/** Selects characters of the note. @param {HTMLElement} root @param {number} start @param {number} [end] */
export function selectOffsets(root, start, end = start) {
	const first = placeAt(root, start);
	const last = placeAt(root, end);
	if (first && last) select(first, last);
}

/** The range of characters of the note; null where there are no paragraphs. @param {HTMLElement} root @param {number} start @param {number} [end] */
export function rangeAt(root, start, end = start) {
	const first = placeAt(root, start);
	const last = placeAt(root, end);
	return first && last && rangeOf({ start: first, end: last });
}
