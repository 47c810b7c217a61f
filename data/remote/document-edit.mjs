// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

/** Changing a rendered note: its text, its marks and its formats, within the limits. */

import {
	clamp,
	clearFormat,
	completeFormat,
	DocumentError,
	joinRuns,
	lineSeparator,
	markColor,
	markPattern,
	maxNoteCharacters,
	maxNoteParagraphs,
	maxParagraphCharacters,
	maxSize,
	minSize,
	normalizeLineEnds,
	sliceRuns,
	updateParagraphs,
} from './document-model.mjs';
import { blockFormat, lengthOf, paragraphsOf, paragraphText, sibling } from './document-view.mjs';
import { noteOf } from './document-note.mjs';
import {
	endOf,
	isEmpty,
	placeOf,
	rangeOf,
	select,
	selectedStretch,
	startOf,
	stretchOf,
	touched,
} from './document-place.mjs';

/** @typedef {import('./document-model.mjs').RunFormat} RunFormat */
/** @typedef {import('./document-model.mjs').Run} Run */
/** @typedef {import('./document-model.mjs').Block} Block */
/** @typedef {import('./document-place.mjs').Place} Place */
/** @typedef {import('./document-place.mjs').Stretch} Stretch */
/** @typedef {import('./document-place.mjs').AnyRange} AnyRange */

// --- Limits ----------------------------------------------------------------------------------------------------------

/** Whether the text may take the stretch's place. @param {HTMLElement} root @param {string} text @param {Stretch} stretch */
export function fits(root, text, stretch) {
	if (text.length > maxNoteCharacters) return false;
	const { ledger } = noteOf(root);
	const { characters, paragraphs } = ledger.totals();
	const { start, end } = stretch;
	const clean = normalizeLineEnds(text);
	const replaced = isEmpty(stretch) ? [start.paragraph] : touched(stretch);
	const tail = ledger.length(end.paragraph) - end.offset;
	const old = replaced.reduce((sum, paragraph) => sum + ledger.length(paragraph), replaced.length - 1);
	const lines = clean.split('\n').map((line) => line.length);
	const count = paragraphs - replaced.length + lines.length;
	lines[0] = (lines[0] ?? 0) + start.offset;
	lines[lines.length - 1] = (lines.at(-1) ?? 0) + tail;
	return (
		count <= maxNoteParagraphs &&
		characters - old + start.offset + clean.length + tail <= maxNoteCharacters &&
		lines.every((length) => length <= maxParagraphCharacters)
	);
}

/**
 * Whether the text may take the range's place. A line feed is a paragraph break, U+2028 a line break. Looks at no more
 * of the note than the range touches.
 * @param {HTMLElement} root
 * @param {string} text
 * @param {AnyRange | null} [range] the selection where there is none
 */
export function acceptsEdit(root, text, range) {
	const stretch = range ? stretchOf(root, range) : selectedStretch(root);
	return stretch !== null && fits(root, text, stretch);
}

// --- Text ------------------------------------------------------------------------------------------------------------

/**
 * Puts other blocks in the place of paragraphs, as one step of the history.
 * @param {HTMLElement} root
 * @param {HTMLElement[]} removed
 * @param {Block[]} blocks
 * @param {RunFormat} [typing] the format of a block without text
 */
function exchange(root, removed, blocks, typing) {
	const note = noteOf(root);
	const before = selectedStretch(root);
	const inserted = blocks.map((block) => note.painter.paragraph(block, typing));
	note.replace(removed, inserted);
	return {
		inserted,
		/** @param {Place} start @param {Place} [end] */
		finish: (start, end = start) => {
			note.history.exchange({ removed, inserted }, before, { start, end });
			select(start, end);
		},
	};
}

/**
 * Puts lines in the place of a stretch, each but the first in a paragraph of its own, and the caret behind them.
 * @param {HTMLElement} root
 * @param {Stretch} stretch
 * @param {readonly string[]} lines at least one
 * @param {RunFormat} [format] the text's; that of the text before it where there is none
 */
export function replaceStretch(root, stretch, lines, format) {
	const { start, end } = stretch;
	const { reader } = noteOf(root);
	const first = reader.block(start.paragraph);
	const head = sliceRuns(first.runs, 0, start.offset);
	const tail = sliceRuns(reader.runs(end.paragraph), end.offset);
	const look = format ?? formatAt(root, start);
	const last = lines.length - 1;
	const blocks = lines.map((line, index) => ({
		...first,
		runs: joinRuns(
			index ? [] : head,
			[{ ...look, text: line.replaceAll('\n', lineSeparator) }],
			index === last ? tail : [],
		),
	}));
	const { inserted, finish } = exchange(root, touched(stretch), blocks, look);
	const paragraph = /** @type {HTMLElement} */ (inserted[last]);
	finish({ paragraph, offset: (last ? 0 : start.offset) + (lines[last]?.length ?? 0) });
}

/**
 * Puts text in the selection's place: a line feed makes a paragraph, U+2028 a line in it.
 * @param {HTMLElement} root
 * @param {string} text
 * @throws {DocumentError} "limit", or "edit" where nothing of the note is selected
 */
export function insertText(root, text) {
	const stretch = selectedStretch(root);
	if (!stretch) throw new DocumentError('edit');
	if (!fits(root, text, stretch)) throw new DocumentError('limit');
	const clean = normalizeLineEnds(text).replace(/[\0\ufffc]/g, '');
	replaceStretch(root, stretch, clean.split('\n'));
}

/** Joins a paragraph to the one before it. Nothing happens to the first. @param {HTMLElement} root @param {HTMLElement | null} second */
export function joinParagraphs(root, second) {
	const first = second && sibling(second, 'previous');
	if (first) replaceStretch(root, { start: endOf(first), end: startOf(second) }, ['']);
}

// --- Marks -----------------------------------------------------------------------------------------------------------

/** The marks of a paragraph, from character to character. @param {HTMLElement} paragraph */
function marksOf(paragraph) {
	const text = paragraphText(paragraph);
	if (!text.includes('◆')) return [];
	return Array.from(text.matchAll(markPattern()), (match) => ({
		start: match.index,
		end: match.index + match[0].length,
		text: match[0],
	}));
}

/**
 * The mark that holds the range's start or ends there.
 * @param {HTMLElement} root
 * @param {AnyRange} range
 * @returns {{range: Range, text: string, atEnd: boolean} | null}
 */
export function markAt(root, range) {
	const place = placeOf(root, range.startContainer, range.startOffset);
	if (!place) return null;
	const { paragraph, offset } = place;
	const mark = marksOf(paragraph).find(({ start, end }) => start < offset && offset <= end);
	if (!mark) return null;
	const found = rangeOf({ start: { paragraph, offset: mark.start }, end: { paragraph, offset: mark.end } });
	return { range: found, text: mark.text, atEnd: offset === mark.end };
}

/** The mark that begins or ends at a place. @param {Place} place */
export const markBeside = ({ paragraph, offset }) =>
	marksOf(paragraph).find(({ start, end }) => start === offset || end === offset) ?? null;

/** Whether what looks like a mark is one, and nothing else. @param {HTMLElement} paragraph */
function hasTrueMarks(paragraph) {
	const shown = Array.from(paragraph.querySelectorAll('[data-mark]'), (element) => element.textContent);
	const marks = marksOf(paragraph);
	return shown.length === marks.length && marks.every((mark, index) => mark.text === shown[index]);
}

/** Shows a paragraph's marks anew where typing has made, cut or grown one. @param {HTMLElement} root @param {HTMLElement} paragraph */
export function refreshMarks(root, paragraph) {
	if (hasTrueMarks(paragraph)) return;
	const { painter, reader } = noteOf(root);
	const selection = selectedStretch(root);
	paragraph.replaceChildren(...painter.paragraph(reader.block(paragraph)).childNodes);
	if (selection) select(selection.start, selection.end);
}

/**
 * Puts a mark in the target's place, through the browser's own undoable command, and the caret before its closing
 * bracket. An empty text deletes the target.
 * @param {HTMLElement} root
 * @param {string} text
 * @param {AnyRange | null} [target] the selection where there is none
 * @throws {DocumentError} "limit", or "edit" where the note cannot be edited there
 */
export function insertMark(root, text, target) {
	const note = noteOf(root);
	let stretch = target ? stretchOf(root, target) : selectedStretch(root);
	if (!stretch) throw new DocumentError('edit');
	if (!fits(root, text, stretch)) throw new DocumentError('limit');
	if (stretch.start.paragraph !== stretch.end.paragraph) {
		replaceStretch(root, stretch, ['']);
		stretch = selectedStretch(root) ?? stretch;
	}
	const { paragraph, offset } = stretch.start;
	const format = { ...formatAt(root, stretch.start), color: markColor };
	select(stretch.start, stretch.end);
	note.history.endTyping();
	note.history.beginTyping(paragraph, 'mark');
	note.history.endTyping();
	const command = text ? 'insertHTML' : 'delete';
	const made = root.ownerDocument.execCommand(command, false, text && note.painter.mark(format, text).outerHTML);
	if (!made) throw new DocumentError('edit');
	refreshMarks(root, paragraph);
	if (text.endsWith(']')) select({ paragraph, offset: offset + text.length - 1 });
	else if (!text) {
		// Only another selection makes the browser forget the mark's colour for what is typed next.
		root.ownerDocument.getSelection()?.removeAllRanges();
		select({ paragraph, offset });
	}
}

// --- Formats of text -------------------------------------------------------------------------------------------------

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
const offsetsIn = (paragraph, { start, end }) => [
	paragraph === start.paragraph ? start.offset : 0,
	paragraph === end.paragraph ? end.offset : Infinity,
];

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

// --- Formats of paragraphs -------------------------------------------------------------------------------------------

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

/** How the paragraph looks that the selection begins in; null where nothing of the note is selected. @param {HTMLElement} root */
export function paragraphFormat(root) {
	const stretch = selectedStretch(root);
	return stretch && blockFormat(stretch.start.paragraph);
}
