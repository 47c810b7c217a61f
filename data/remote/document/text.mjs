// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Changing the text of a rendered note, and its marks, within the limits.

import {
	DocumentError,
	joinRuns,
	lineSeparator,
	markColor,
	maxNoteCharacters,
	maxNoteParagraphs,
	maxParagraphCharacters,
	normalizeLineEnds,
	sliceRuns,
} from './model.mjs';
import { sibling } from './paragraphs.mjs';
import { endOf, isEmpty, select, selectedStretch, startOf, stretchOf, touched } from './places.mjs';
import { noteOf } from './note.mjs';
import { refreshMarks } from './marks.mjs';
import { formatAt } from './selection_format.mjs';

/** @import { Block, RunFormat } from './model.mjs' */
/** @import { AnyRange, Place, Stretch } from './places.mjs' */

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

/**
 * Puts other blocks in the place of paragraphs, as one step of the history.
 * @param {HTMLElement} root
 * @param {HTMLElement[]} removed
 * @param {Block[]} blocks
 * @param {RunFormat} [typing] the format of a block without text
 */
export function exchange(root, removed, blocks, typing) {
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
