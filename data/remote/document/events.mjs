// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// What becomes of the browser's editing events. Typing and deleting within a paragraph is the browser's, so that input
// methods, suggestions and spelling work as everywhere; whatever makes, joins or crosses paragraphs is ours.

import { joinRuns, lineSeparator, maxNoteCharacters, maxParagraphCharacters, sliceRuns } from './model.mjs';
import { lengthOf, sibling } from './paragraphs.mjs';
import {
	isEmpty,
	isWithinText,
	paragraphHolding,
	select,
	selectedRange,
	selectedStretch,
	stretchOf,
} from './places.mjs';
import { noteOf } from './note.mjs';
import { markAt, markBeside, refreshMarks } from './marks.mjs';
import { formatAt, selectionFormat } from './selection_format.mjs';
import { fits, insertMark, insertText, joinParagraphs, replaceStretch } from './text.mjs';
import { formatParagraphs, formatSelection } from './formatting.mjs';

/** @import { RunFormat } from './model.mjs' */
/** @import { Place, Stretch } from './places.mjs' */

/**
 * What a beforeinput event came to: the browser goes on ("native", an input event follows), the note was changed here
 * ("done"), nothing happens ("ignored"), or the limits forbid it ("refused").
 * @typedef {'native' | 'done' | 'ignored' | 'refused'} Outcome
 */

/** What the browser would do to the selection as a whole, and what does it here. @type {Record<string, (root: HTMLElement) => boolean>} */
const commands = {
	historyUndo: (root) => noteOf(root).history.undo(),
	historyRedo: (root) => noteOf(root).history.redo(),
	formatBold: (root) => formatSelection(root, 'weight', selectionFormat(root).weight < 600),
	formatItalic: (root) => formatSelection(root, 'italic', !selectionFormat(root).italic),
	formatUnderline: (root) => formatSelection(root, 'underline', !selectionFormat(root).underline),
	formatStrikeThrough: (root) => formatSelection(root, 'strike', !selectionFormat(root).strike),
	formatRemove: (root) => formatSelection(root, 'clear'),
	formatIndent: (root) => formatParagraphs(root, 'indent', 1),
	formatOutdent: (root) => formatParagraphs(root, 'indent', -1),
	formatJustifyLeft: (root) => formatParagraphs(root, 'align', 1),
	formatJustifyRight: (root) => formatParagraphs(root, 'align', 2),
	formatJustifyCenter: (root) => formatParagraphs(root, 'align', 4),
	formatJustifyFull: (root) => formatParagraphs(root, 'align', 8),
};

/** Insertions of text. */
const insertions = new Set([
	'insertText',
	'insertReplacementText',
	'insertCompositionText',
	'insertFromComposition',
	'insertFromPaste',
	'insertFromPasteAsQuotation',
	'insertFromYank',
	'insertTranspose',
	'insertParagraph',
	'insertLineBreak',
]);

/** The text that an event inserts. @param {InputEvent} event */
function insertedText(event) {
	if (event.inputType === 'insertParagraph') return '\n';
	if (event.inputType === 'insertLineBreak') return lineSeparator;
	return event.data ?? event.dataTransfer?.getData('text/plain') ?? '';
}

/** What an event is about to replace or delete. @param {HTMLElement} root @param {InputEvent} event */
function targetOf(root, event) {
	return stretchOf(root, event.getTargetRanges()[0]) ?? selectedStretch(root);
}

/**
 * Decides on a beforeinput event of the editable element, and does what is not left to the browser.
 * @param {HTMLElement} root
 * @param {InputEvent} event
 * @returns {Outcome}
 */
export function handleBeforeInput(root, event) {
	const outcome = decide(root, event);
	if (outcome !== 'native') event.preventDefault();
	return outcome;
}

/** @param {HTMLElement} root @param {InputEvent} event @returns {Outcome} */
function decide(root, event) {
	const { inputType } = event;
	const command = commands[inputType];
	if (command) return command(root) ? 'done' : 'ignored';
	if (inputType.startsWith('delete') && inputType !== 'deleteByDrag') return decideDeletion(root, event);
	return insertions.has(inputType) ? decideInsertion(root, event) : 'ignored';
}

/** @param {HTMLElement} root @param {InputEvent} event @returns {Outcome} */
function decideInsertion(root, event) {
	const text = insertedText(event);
	const stretch = targetOf(root, event);
	if (!stretch) return 'ignored';
	// What an input method composes is judged when it is done: it cannot be stopped before.
	const composed = event.isComposing || !event.cancelable;
	if (!composed && !fits(root, text, stretch)) return 'refused';
	if (composed || staysNative(event, text, stretch)) {
		noteOf(root).history.beginTyping(stretch.start.paragraph, 'insert');
		return 'native';
	}
	select(stretch.start, stretch.end);
	insertText(root, text);
	return 'done';
}

/**
 * Whether the browser may insert this: plain typing in one piece of text, away from the edges of marks. Text that
 * replaces several pieces would get a mixture of their looks.
 * @param {InputEvent} event
 * @param {string} text
 * @param {Stretch} stretch
 */
function staysNative(event, text, stretch) {
	return (
		(event.inputType === 'insertText' || event.inputType === 'insertReplacementText') &&
		!/[\n\r\u2028\u2029]/.test(text) &&
		!markBeside(stretch.start) &&
		(isEmpty(stretch) || isWithinText(stretch))
	);
}

/** @param {HTMLElement} root @param {InputEvent} event @returns {Outcome} */
function decideDeletion(root, event) {
	const selected = selectedStretch(root);
	if (!selected) return 'ignored';
	const forward = /Forward$/.test(event.inputType);
	if (isEmpty(selected) && event.cancelable) {
		const outcome = deleteAtEdge(root, event, selected.start, forward);
		if (outcome) return outcome;
	}
	const stretch = targetOf(root, event) ?? selected;
	if (isWithinText(stretch) || !event.cancelable) {
		noteOf(root).history.beginTyping(stretch.start.paragraph, 'delete');
		return 'native';
	}
	replaceStretch(root, stretch, ['']);
	return 'done';
}

/**
 * At a paragraph's edge the paragraphs join; behind a mark, Backspace deletes the whole of it.
 * @param {HTMLElement} root @param {InputEvent} event @param {Place} place @param {boolean} forward
 * @returns {Outcome | null} nothing where the caret is elsewhere
 */
function deleteAtEdge(root, event, { paragraph, offset }, forward) {
	const range = selectedRange(root);
	const mark = event.inputType === 'deleteContentBackward' && range ? markAt(root, range) : null;
	if (mark?.atEnd) {
		insertMark(root, '', mark.range);
		return 'done';
	}
	if (forward ? offset < lengthOf(paragraph) : offset > 0) return null;
	const second = forward ? sibling(paragraph, 'next') : paragraph;
	if (!second || !sibling(second, 'previous')) return 'ignored';
	joinParagraphs(root, second);
	return 'done';
}

/** Puts right what typing has left, after each input event. @param {HTMLElement} root @param {InputEvent} [event] */
export function handleInput(root, event) {
	if (event?.isComposing) return;
	const node = selectedRange(root)?.startContainer;
	const paragraph = node && paragraphHolding(root, node);
	if (paragraph) refreshMarks(root, paragraph);
	else noteOf(root).adopt();
}

/**
 * Goes along with an input method: what it replaces is within one paragraph, what it leaves keeps the limits and lets
 * no mark grow.
 * @param {HTMLElement} root
 * @param {CompositionEvent} event compositionstart or compositionend
 * @returns {Outcome}
 */
export function handleComposition(root, event) {
	const note = noteOf(root);
	if (event.type === 'compositionend') return endComposition(root);
	let selected = selectedStretch(root);
	if (!selected) return 'ignored';
	const crosses = selected.start.paragraph !== selected.end.paragraph;
	if (crosses) replaceStretch(root, selected, ['']);
	note.history.endTyping();
	selected = selectedStretch(root) ?? selected;
	const { start, end } = selected;
	note.composition = {
		start,
		before: note.ledger.totals().characters,
		rest: lengthOf(start.paragraph) - end.offset,
		format: markBeside(start) && formatAt(root, start),
	};
	return crosses ? 'done' : 'native';
}

/** @param {HTMLElement} root @returns {Outcome} */
function endComposition(root) {
	const note = noteOf(root);
	const { composition } = note;
	note.composition = null;
	note.history.endTyping();
	if (!composition) return 'native';
	const { start, before, rest, format } = composition;
	const { paragraph, offset } = start;
	const { characters } = note.ledger.totals();
	const length = note.ledger.length(paragraph);
	const over = characters > maxNoteCharacters || length > maxParagraphCharacters;
	if (over && characters > before && note.history.undo()) return 'refused';
	const added = length - rest - offset;
	if (format && added > 0) recolor(root, { start, end: { paragraph, offset: offset + added } }, format);
	handleInput(root);
	return 'native';
}

/** Gives text that an input method has put into a mark's colour that of the text beside. @param {HTMLElement} root @param {Stretch} stretch @param {RunFormat} format */
function recolor(root, { start, end }, format) {
	const { painter, reader } = noteOf(root);
	const block = reader.block(start.paragraph);
	const selected = selectedStretch(root);
	const composed = sliceRuns(block.runs, start.offset, end.offset).map((run) => ({ ...format, text: run.text }));
	const runs = joinRuns(sliceRuns(block.runs, 0, start.offset), composed, sliceRuns(block.runs, end.offset));
	start.paragraph.replaceChildren(...painter.paragraph({ ...block, runs }).childNodes);
	if (selected) select(selected.start, selected.end);
}
