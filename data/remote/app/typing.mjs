// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Typing, and our own edits of the text.

import * as note from '../document.mjs';
import { article } from './page.mjs';
import { canWrite, client, editing } from './state.mjs';
import { showFailure, showNotice } from './notices.mjs';
import {
	documentRange,
	keepSelection,
	rangeAtPoint,
	restoreSelection,
	revealCaret,
	selectRange,
} from './selection.mjs';
import { markAtCaret, showFormat } from './tools_state.mjs';
import { edited } from './saving.mjs';

/** Does one edit of ours if typing is allowed and the limits are kept. @param {() => unknown} operation false: nothing done */
export function edit(operation) {
	if (!canWrite()) return;
	restoreSelection();
	try {
		if (operation() !== false) {
			keepSelection();
			edited();
			revealCaret();
		}
	} catch (error) {
		showFailure(error);
	}
}

/** @param {string} text */
function insert(text) {
	edit(() => {
		const range = documentRange();
		if (!range || !note.acceptsEdit(article, text, range)) {
			showNotice('TextLimit');
			return false;
		}
		note.insertText(article, text);
	});
}

/** @param {Parameters<typeof note.formatSelection>[1]} key @param {unknown} [value] */
export function formatText(key, value) {
	edit(() => {
		const isDone = note.formatSelection(article, key, value);
		if (!isDone) showNotice('RemoteSelectText');
		return isDone;
	});
	showFormat();
}

/** @param {Parameters<typeof note.formatParagraphs>[1]} key @param {number} value */
export function formatParagraphs(key, value) {
	edit(() => note.formatParagraphs(article, key, value));
	showFormat();
}

/** @param {'weight' | 'italic' | 'underline' | 'strike'} key */
export function toggleFormat(key) {
	restoreSelection();
	const format = note.selectionFormat(article);
	formatText(key, key === 'weight' ? (format.weight >= 600 ? 400 : 700) : !format[key]);
}

/** @param {InputEvent} event */
function onBeforeInput(event) {
	if (!canWrite()) {
		event.preventDefault();
		return;
	}
	const outcome = note.handleBeforeInput(article, event);
	if (outcome === 'done') {
		edited();
		revealCaret();
	} else if (outcome === 'refused') {
		showNotice('TextLimit');
	}
}

/** What the browser has typed. @param {Event} event */
function onInput(event) {
	note.handleInput(article, /** @type {InputEvent} */ (event));
	edited();
}

/** @param {CompositionEvent} event */
function onComposition(event) {
	editing.isComposing = event.type === 'compositionstart';
	const outcome = note.handleComposition(article, event);
	if (outcome === 'refused') showNotice('TextLimit');
	if (!editing.isComposing && client.editing) edited();
}

/** What the browser would not do, or not as it should. @param {KeyboardEvent} event */
function onKey(event) {
	const hasCommand = event.ctrlKey || event.metaKey || event.altKey;
	if (event.key === 'End' && !hasCommand && canWrite()) {
		note.leaveMark(article, event.shiftKey);
	} else {
		onUndoKey(event);
	}
}

/** The browser offers undo and redo only while it has a history of its own. @param {KeyboardEvent} event */
function onUndoKey(event) {
	const key = event.key.toLowerCase();
	const isUndo = key === 'z' && !event.shiftKey;
	if (!(event.ctrlKey || event.metaKey) || event.altKey || !(key === 'z' || (key === 'y' && event.ctrlKey))) return;
	event.preventDefault();
	edit(() => (isUndo ? note.undo(article) : note.redo(article)));
}

/** @param {MouseEvent} event */
function insertMarkAtPointer(event) {
	if (event.altKey && event.shiftKey && event.button === 0 && !event.ctrlKey && !event.metaKey && canWrite()) {
		event.preventDefault();
		const range = rangeAtPoint({ x: event.clientX, y: event.clientY });
		if (range && article.contains(range.startContainer)) {
			selectRange(range);
			insertMark();
		}
	}
}

/** Inserts a mark, or deletes the one at the caret. */
export function insertMark() {
	edit(() => {
		const mark = markAtCaret();
		return mark && !mark.atEnd
			? note.insertMark(article, '', mark.range)
			: note.insertMark(article, note.defaultMark);
	});
	showFormat();
}

export function insertTime() {
	const now = new Date();
	/** @param {number} value */
	const two = (value) => String(value).padStart(2, '0');
	const date = [now.getFullYear(), two(now.getMonth() + 1), two(now.getDate())].join('-');
	insert(`${date} ${[now.getHours(), now.getMinutes(), now.getSeconds()].map(two).join(':')} `);
}

export function listenForTyping() {
	article.addEventListener('beforeinput', onBeforeInput);
	article.addEventListener('input', onInput);
	article.addEventListener('keydown', onKey);
	article.addEventListener('compositionstart', onComposition);
	article.addEventListener('compositionend', onComposition);
	article.addEventListener('paste', (event) => {
		event.preventDefault();
		const text = event.clipboardData?.getData('text/plain') ?? '';
		if (text) insert(text);
	});
	for (const type of ['dragstart', 'dragover', 'drop']) {
		article.addEventListener(type, (event) => event.preventDefault());
	}
	article.addEventListener('mousedown', insertMarkAtPointer);
}
