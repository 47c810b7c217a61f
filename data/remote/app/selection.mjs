// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The selection in the document.

import * as note from '../document.mjs';
import { article } from './page.mjs';

/** @type {Range | null} the last selection in the document, which controls that take the focus act on */
let lastRange = null;

/** Keeps the selection, or a range to be selected, for them. @param {Range | null} range */
export function keepSelection(range = documentRange()) {
	lastRange = range?.cloneRange() ?? lastRange;
}

/** @param {Range} range */
export function selectRange(range) {
	const selection = getSelection();
	selection?.removeAllRanges();
	selection?.addRange(range);
}

/** The selection of the document, or null. */
export function documentRange() {
	const selection = getSelection();
	const range = selection?.rangeCount ? selection.getRangeAt(0) : null;
	return range && article.contains(range.commonAncestorContainer) ? range : null;
}

/** Gives the document its focus and selection back after a control had them. */
export function restoreSelection() {
	const range = documentRange();
	if (range && document.activeElement === article) return;
	// The focus alone would put the caret at the start.
	const wanted = lastRange ?? range;
	article.focus({ preventScroll: true });
	if (wanted && article.contains(wanted.commonAncestorContainer)) selectRange(wanted);
}

/** @param {{x: number, y: number}} [point] */
export function rangeAtPoint(point) {
	if (!point) return null;
	const place = document.caretPositionFromPoint?.(point.x, point.y);
	if (!place) return document.caretRangeFromPoint?.(point.x, point.y) ?? null;
	const range = document.createRange();
	range.setStart(place.offsetNode, place.offset);
	return range;
}

/** The selection as text that can be compared; empty without one. */
export function selectionText() {
	const { start = 0, end = 0 } = note.selectionOffsets(article) ?? {};
	return start === end ? '' : `${start}-${end}`;
}

/** Keeps the line of the caret in view, above an on-screen keyboard. */
export function revealCaret() {
	const range = documentRange();
	if (!range || document.activeElement !== article) return;
	const node = range.endContainer;
	const holder = node instanceof Element ? (node.childNodes[range.endOffset] ?? node) : node.parentElement;
	const rectangle = range.getClientRects()[0] ?? (holder instanceof Element ? holder.getBoundingClientRect() : null);
	const view = article.getBoundingClientRect();
	const margin = 12;
	if (rectangle && rectangle.bottom > view.bottom - margin) {
		article.scrollTop += rectangle.bottom - view.bottom + margin;
	} else if (rectangle && rectangle.top < view.top + margin) {
		article.scrollTop -= view.top - rectangle.top + margin;
	}
}
