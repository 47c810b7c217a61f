// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The marks of a rendered note: finding them, going past them, and showing them as typing leaves them.

import { markPattern } from './model.mjs';
import { paragraphText } from './paragraphs.mjs';
import { placeOf, pointOf, rangeOf, select, selectedStretch } from './places.mjs';
import { noteOf } from './note.mjs';

/** @import { AnyRange, Place } from './places.mjs' */

/** The marks of a paragraph, from character to character. @param {HTMLElement} paragraph */
export function marksOf(paragraph) {
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

/**
 * Takes the caret past the marks that it is in or beside, as far as their line goes on: to the browser a mark is a line
 * of its own, and the End key would stay in it.
 * @param {HTMLElement} root
 * @param {boolean} selects what the caret passes
 */
export function leaveMark(root, selects) {
	const selection = root.ownerDocument.getSelection();
	const place = selection?.focusNode && placeOf(root, selection.focusNode, selection.focusOffset);
	if (!place) return;
	const { paragraph, offset } = place;
	let past = -1;
	for (const { start, end } of marksOf(paragraph)) {
		if ((start <= offset && offset <= end) || start === past) past = end;
	}
	if (past < 0) return;
	const isLineEnd = (paragraphText(paragraph)[past] ?? '\n') === '\n';
	const point = pointOf({ paragraph, offset: isLineEnd ? past : past + 1 });
	if (selects) selection.extend(...point);
	else selection.collapse(...point);
}

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
