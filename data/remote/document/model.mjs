// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// A web document as plain data: its types, its limits, and what can be done to it without a page.

/**
 * How a run's text looks. The empty text and the size 0 stand for the editor's own.
 * @typedef {object} RunFormat
 * @property {number} weight 1 to 1000; 400 is normal, 700 bold
 * @property {boolean} italic
 * @property {boolean} underline
 * @property {boolean} strike
 * @property {number} size points
 * @property {string} family
 * @property {string} color "#" and six hexadecimal digits, or a colour name
 * @property {string} background the same
 */
/** @typedef {RunFormat & {text: string}} Run text of one format; U+2028 breaks a line in it */
/**
 * How a paragraph looks. A block may have further members, which are kept as they are.
 * @typedef {object} BlockFormat
 * @property {number} align 1 left, 2 right, 4 centre, 8 justified
 * @property {number} indent steps, 0 to 12
 * @property {number} list 0 none; -1 disc, -2 circle, -3 square, -4 decimal, -5 and -6 letters, -7 and -8 Roman numerals,
 *     lower case first
 * @property {number} listIndent level, 1 to 12
 * @property {number} listGroup what paragraphs numbered together have in common
 * @property {number} listStart the group's first number
 */
/** @typedef {BlockFormat & {runs: Run[]}} Block */
/** @typedef {{blocks: Block[]}} WebDocument */
/** @typedef {Partial<BlockFormat> & {runs?: Partial<Run>[]}} LooseBlock a block whose missing members have their defaults */
/** @typedef {{blocks?: LooseBlock[]}} LooseDocument */

export const maxNoteCharacters = 200_000;
export const maxParagraphCharacters = 10_000;
export const maxNoteParagraphs = 20_000;
/** The deepest indentation and list level. */
export const maxIndent = 12;
/** Sizes that can be chosen, in points. */
export const minSize = 6;
export const maxSize = 144;

/** What breaks a line within a paragraph, in a web document. */
export const lineSeparator = '\u2028';
/** The mark that a button inserts. */
export const defaultMark = '◆[]';
/** A fresh pattern each time: a global one remembers where it stopped. */
export const markPattern = () => /◆(?:\[[^◆\]\r\n\u2028\u2029]*\])?/g;
export const markColor = '#ffb347';

/** @type {Readonly<RunFormat>} */
export const plainFormat = Object.freeze({
	weight: 400,
	italic: false,
	underline: false,
	strike: false,
	size: 0,
	family: '',
	color: '',
	background: '',
});
/** What imported and cleared text looks like: explicit, so that it is the same in every editor. @type {Readonly<RunFormat>} */
export const clearFormat = Object.freeze({ ...plainFormat, size: 12, family: 'Arial' });
/** @type {Readonly<BlockFormat>} */
export const plainBlock = Object.freeze({ align: 1, indent: 0, list: 0, listIndent: 1, listGroup: 0, listStart: 1 });

/** @typedef {'limit' | 'size' | 'format' | 'edit'} FailureName */

/** A failure that the page turns into a notice; its name says which. */
export class DocumentError extends Error {
	/** @param {FailureName} name */
	constructor(name) {
		super(name);
		this.name = name;
		/** The same, where the failures of the connection have theirs. */
		this.code = name;
	}
}

/** Line ends of every kind become line feeds. @param {string} text */
export const normalizeLineEnds = (text) => text.replace(/\r\n?|\u2029/g, '\n');

/** @param {number} value @param {number} low @param {number} high */
export const clamp = (value, low, high) => Math.min(high, Math.max(low, value));

/**
 * A whole format from what there is of one: members that are missing or of another type get their defaults.
 * @param {Partial<RunFormat> | null | undefined} source
 * @returns {RunFormat}
 */
export function completeFormat(source) {
	const format = /** @type {Record<string, unknown>} */ ({ ...plainFormat });
	for (const [key, value] of Object.entries(plainFormat)) {
		const given = /** @type {Record<string, unknown>} */ (source ?? {})[key];
		if (typeof given === typeof value && (typeof given !== 'number' || Number.isFinite(given))) format[key] = given;
	}
	return /** @type {RunFormat} */ (/** @type {unknown} */ (format));
}

/** @param {RunFormat} one @param {RunFormat} other */
export function sameFormat(one, other) {
	return (
		one === other ||
		(one.weight === other.weight &&
			one.italic === other.italic &&
			one.underline === other.underline &&
			one.strike === other.strike &&
			one.size === other.size &&
			one.family === other.family &&
			one.color === other.color &&
			one.background === other.background)
	);
}

/** Adds text at the end, to the last run where it has the same format. @param {Run[]} runs @param {RunFormat} format @param {string} text */
export function appendText(runs, format, text) {
	if (!text) return;
	const last = runs.at(-1);
	if (last && sameFormat(last, format)) last.text += text;
	else runs.push({ ...format, text });
}

/** @param {readonly Partial<Run>[] | undefined} runs */
export function runsLength(runs) {
	let length = 0;
	for (const run of runs ?? []) length += run.text?.length ?? 0;
	return length;
}

/** The runs of the characters from `start` up to `end`. @param {readonly Run[]} runs @param {number} start @param {number} [end] */
export function sliceRuns(runs, start, end = Infinity) {
	/** @type {Run[]} */
	const part = [];
	let position = 0;
	for (const run of runs) {
		const from = Math.max(0, start - position);
		const to = Math.min(run.text.length, end - position);
		if (from < to) part.push({ ...run, text: run.text.slice(from, to) });
		position += run.text.length;
	}
	return part;
}

/** @param {readonly Run[][]} parts */
export function joinRuns(...parts) {
	/** @type {Run[]} */
	const runs = [];
	for (const run of parts.flat()) appendText(runs, run, run.text);
	return runs;
}

/** Characters of a note: those of its text, and one for each paragraph break. @param {LooseDocument} document */
export function characterCount(document) {
	const blocks = document.blocks ?? [];
	let count = Math.max(0, blocks.length - 1);
	for (const block of blocks) count += runsLength(block.runs);
	return count;
}

/** @param {LooseDocument} document */
export function withinTextLimits(document) {
	const blocks = document.blocks ?? [];
	return (
		blocks.length <= maxNoteParagraphs &&
		blocks.every((block) => runsLength(block.runs) <= maxParagraphCharacters) &&
		characterCount(document) <= maxNoteCharacters
	);
}

/** @param {string} text @returns {WebDocument} */
export function plainDocument(text) {
	const clean = normalizeLineEnds(text.replace(/^\ufeff/, ''));
	if (clean.length > maxNoteCharacters) throw new DocumentError('limit');
	const lines = clean.split('\n');
	if (lines.length > maxNoteParagraphs || lines.some((line) => line.length > maxParagraphCharacters)) {
		throw new DocumentError('limit');
	}
	if (/[\0\ufffc]/.test(clean)) throw new DocumentError('format');
	return { blocks: lines.map((line) => ({ ...plainBlock, runs: line ? [{ ...clearFormat, text: line }] : [] })) };
}

/** @param {Block} block @param {number} step */
function indentBlock(block, step) {
	if (block.list) block.listIndent = clamp((block.listIndent ?? plainBlock.listIndent) + step, 1, maxIndent);
	else block.indent = clamp((block.indent ?? plainBlock.indent) + step, 0, maxIndent);
}

/**
 * Changes paragraphs of the document in place: "align" and "list" take the value, "indent" adds it. Paragraphs that
 * become a list are one group of their own.
 * @param {WebDocument} document
 * @param {Iterable<number>} indices
 * @param {'align' | 'list' | 'indent'} key
 * @param {number} value
 */
export function updateParagraphs(document, indices, key, value) {
	const { blocks } = document;
	const largestGroup = blocks.reduce((largest, block) => Math.max(largest, block.listGroup ?? 0), 0);
	const list = { list: value, listGroup: value ? largestGroup + 1 : 0, listStart: 1, listIndent: 1 };
	for (const index of indices) {
		const block = blocks[index];
		if (!block) continue;
		if (key === 'align') block.align = value;
		else if (key === 'list') Object.assign(block, list);
		else if (key === 'indent') indentBlock(block, value);
	}
}
