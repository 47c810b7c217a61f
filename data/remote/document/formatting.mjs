// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Changing how the text and the paragraphs of a rendered note look.

import {
	clamp,
	clearFormat,
	completeFormat,
	joinRuns,
	maxSize,
	minSize,
	sliceRuns,
	updateParagraphs,
} from './model.mjs';
import { blockFormat, paragraphsOf } from './paragraphs.mjs';
import { isEmpty, selectedStretch, touched } from './places.mjs';
import { noteOf } from './note.mjs';
import { offsetsIn } from './selection_format.mjs';
import { exchange } from './text.mjs';

/** @import { Block, RunFormat } from './model.mjs' */
/** @import { Place, Stretch } from './places.mjs' */

/**
 * What a control sets on a run; null for a value that it cannot have.
 * @param {string} key
 * @param {unknown} value
 * @returns {Partial<RunFormat> | null}
 */
function formatChange(key, value) {
	if (key === 'clear') return clearFormat;
	if (key === 'paint') return completeFormat(/** @type {Partial<RunFormat>} */ (value));
	if (key === 'weight') return { weight: value === true || Number(value) >= 600 ? 700 : 400 };
	if (key === 'italic' || key === 'underline' || key === 'strike') return { [key]: Boolean(value) };
	if (key === 'size')
		return Number.isFinite(value) && clamp(Number(value), minSize, maxSize) === value ? { size: value } : null;
	if (key === 'family' || key === 'color' || key === 'background') return { [key]: String(value) };
	return null;
}

/** @param {HTMLElement} root @param {HTMLElement[]} paragraphs @param {Block[]} blocks @param {Stretch} stretch */
function exchangeInPlace(root, paragraphs, blocks, stretch) {
	const { scrollTop } = root;
	const { inserted, finish } = exchange(root, paragraphs, blocks);
	const moved = (/** @type {Place} */ { paragraph, offset }) => {
		const index = paragraphs.indexOf(paragraph);
		return { paragraph: inserted[index] ?? paragraph, offset };
	};
	finish(moved(stretch.start), moved(stretch.end));
	root.scrollTop = scrollTop;
}

/**
 * Formats the selected text: one member of the format, or all of it with "paint" (a format) or "clear".
 * @param {HTMLElement} root
 * @param {keyof RunFormat | 'paint' | 'clear'} key
 * @param {unknown} [value]
 * @returns {boolean} whether there was text to format, and a value that it can have
 */
export function formatSelection(root, key, value) {
	const stretch = selectedStretch(root);
	const change = formatChange(key, value);
	if (!stretch || !change || isEmpty(stretch)) return false;
	const { reader } = noteOf(root);
	const paragraphs = touched(stretch);
	const blocks = paragraphs.map((paragraph) => {
		const block = reader.block(paragraph);
		const [start, end] = offsetsIn(paragraph, stretch);
		const selected = sliceRuns(block.runs, start, end).map((run) => ({ ...run, ...change }));
		return { ...block, runs: joinRuns(sliceRuns(block.runs, 0, start), selected, sliceRuns(block.runs, end)) };
	});
	exchangeInPlace(root, paragraphs, blocks, stretch);
	return true;
}

/**
 * Formats the paragraphs that the selection touches; not one where it only ends, before the first character.
 * @param {HTMLElement} root
 * @param {'align' | 'list' | 'indent'} key
 * @param {number} value for "indent" the steps to add
 * @returns {boolean} whether there were paragraphs to format
 */
export function formatParagraphs(root, key, value) {
	const stretch = selectedStretch(root);
	if (!stretch) return false;
	const paragraphs = touched(stretch);
	if (paragraphs.length > 1 && stretch.end.offset === 0) paragraphs.pop();
	const { reader } = noteOf(root);
	const all = paragraphsOf(root);
	const first = all.indexOf(/** @type {HTMLElement} */ (paragraphs[0]));
	const document = { blocks: all.map((paragraph) => /** @type {Block} */ ({ ...blockFormat(paragraph), runs: [] })) };
	updateParagraphs(
		document,
		paragraphs.map((_, index) => first + index),
		key,
		value,
	);
	const blocks = paragraphs.map((paragraph, index) => ({
		.../** @type {Block} */ (document.blocks[first + index]),
		runs: reader.runs(paragraph),
	}));
	exchangeInPlace(root, paragraphs, blocks, stretch);
	return true;
}
