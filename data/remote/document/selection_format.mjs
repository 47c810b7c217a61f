// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// How the text and the paragraphs at the selection look.

import { completeFormat, sliceRuns } from './model.mjs';
import { blockFormat, lengthOf } from './paragraphs.mjs';
import { isEmpty, selectedStretch, touched } from './places.mjs';
import { noteOf } from './note.mjs';
import { marksOf } from './marks.mjs';

/** @import { Run, RunFormat } from './model.mjs' */
/** @import { Place, Stretch } from './places.mjs' */

/** @param {readonly Run[]} runs @param {number} offset */
const runBefore = (runs, offset) => sliceRuns(runs, Math.max(0, offset - 1), Math.max(1, offset))[0];

/**
 * The format that text typed at a place gets: that of the character before it. Beside a mark the colour is that of the
 * text around, which stands after it or else before it.
 * @param {HTMLElement} root
 * @param {Place} place
 * @returns {RunFormat}
 */
export function formatAt(root, place) {
	const { reader } = noteOf(root);
	const { paragraph, offset } = place;
	const runs = reader.runs(paragraph);
	const run = runBefore(runs, offset);
	if (!run) return reader.typingFormat(paragraph);
	const marks = marksOf(paragraph);
	if (!marks.some(({ start, end }) => start === offset || end === offset)) return completeFormat(run);
	const isText = (/** @type {number} */ index) => !marks.some(({ start, end }) => start <= index && index < end);
	const length = lengthOf(paragraph);
	let beside = offset;
	while (beside < length && !isText(beside)) beside++;
	if (beside === length) for (beside = offset - 1; beside >= 0 && !isText(beside);) beside--;
	const color = beside < 0 ? '' : (runBefore(runs, beside + 1)?.color ?? '');
	return { ...completeFormat(run), color };
}

/** The format of the selection's first character, or of text typed at the caret. @param {HTMLElement} root @returns {RunFormat} */
export function selectionFormat(root) {
	const stretch = selectedStretch(root);
	if (!stretch) return completeFormat(null);
	if (isEmpty(stretch)) return formatAt(root, stretch.start);
	const { reader } = noteOf(root);
	for (const paragraph of touched(stretch)) {
		const [start, end] = offsetsIn(paragraph, stretch);
		const run = sliceRuns(reader.runs(paragraph), start, end)[0];
		if (run) return completeFormat(run);
	}
	return formatAt(root, stretch.start);
}

/** What of a paragraph is in a stretch. @param {HTMLElement} paragraph @param {Stretch} stretch @returns {[number, number]} */
export const offsetsIn = (paragraph, { start, end }) => [
	paragraph === start.paragraph ? start.offset : 0,
	paragraph === end.paragraph ? end.offset : Infinity,
];

/** How the paragraph looks that the selection begins in; null where nothing of the note is selected. @param {HTMLElement} root */
export function paragraphFormat(root) {
	const stretch = selectedStretch(root);
	return stretch && blockFormat(stretch.start.paragraph);
}
