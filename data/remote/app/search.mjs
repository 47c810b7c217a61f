// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The search, and going from mark to mark.

import * as note from '../document.mjs';
import { article, button, element, input, t } from './page.mjs';
import { aim, scrollRange } from './scrolling.mjs';
import { keepSelection, restoreSelection, selectRange } from './selection.mjs';

const searchDelayMs = 180;
const matchLimit = 10_000;
const mark = '◆';

const search = {
	/** Matches as the offsets of their characters in the document. @type {{start: number, end: number}[]} */
	searchRanges: [],
	searchIndex: -1,
	/** The query comes from the next-mark button. */
	markSearch: false,
	timer: 0,
};

/** Every match of the query. */
function collectMatches() {
	const query = input('search').value;
	search.searchRanges = [];
	if (!query) return;
	const pattern = new RegExp(query.replace(/[\\^$.*+?()[\]{}|/]/g, '\\$&'), 'giu');
	for (const match of note.documentText(article).matchAll(pattern)) {
		search.searchRanges.push({ start: match.index, end: match.index + match[0].length });
		if (search.searchRanges.length === matchLimit) return;
	}
}

export function showMatches() {
	const total = search.searchRanges.length;
	const hasQuery = input('search').value !== '';
	const output = element('matches');
	output.textContent = hasQuery ? `${search.searchIndex + 1}/${total}` : '';
	output.title = hasQuery && !total ? t('NoMatch') : '';
	output.setAttribute('aria-label', output.title || output.textContent);
	output.classList.toggle('is-empty', hasQuery && !total);
	button('previous').disabled = button('next').disabled = total === 0;
	button('clear-search').hidden = !hasQuery;
}

/** @param {Range | null} range */
function highlight(range) {
	const highlights = globalThis.CSS?.highlights;
	if (range) {
		highlights?.set('scene-search', new Highlight(range));
	} else {
		highlights?.delete('scene-search');
	}
}

/** Shows the current match. @param {boolean} isReached it is also selected and brought to the middle of the view */
function showMatch(isReached) {
	const match = search.searchRanges[search.searchIndex];
	const range = match ? note.rangeAt(article, match.start, match.end) : null;
	highlight(range);
	showMatches();
	if (!range || !isReached) return;
	// A selection elsewhere would take the typing away from the search field.
	if (document.activeElement !== input('search')) selectRange(range);
	keepSelection(range);
	aim(() => {
		const place = range.getBoundingClientRect();
		const view = article.getBoundingClientRect();
		const limit = Math.min(
			scrollRange(),
			article.scrollTop + place.top - view.top - (view.height - place.height) / 2,
		);
		return Math.max(0, limit);
	});
}

/** @param {boolean} isReached */
function searchNow(isReached) {
	clearTimeout(search.timer);
	search.timer = 0;
	collectMatches();
	const last = search.searchRanges.length - 1;
	search.searchIndex = isReached ? Math.min(0, last) : Math.min(Math.max(0, search.searchIndex), last);
	showMatch(isReached);
}

/** @param {number} step */
function moveMatch(step) {
	if (search.timer) searchNow(false);
	const total = search.searchRanges.length;
	if (total) {
		search.searchIndex = (search.searchIndex + step + total) % total;
		showMatch(true);
	}
}

/** The matches belong to another text now. */
export function documentChanged() {
	if (search.markSearch) {
		clearSearch();
	} else if (input('search').value) {
		clearTimeout(search.timer);
		search.timer = setTimeout(() => searchNow(false), searchDelayMs);
	}
}

function clearSearch() {
	clearTimeout(search.timer);
	search.timer = 0;
	input('search').value = '';
	search.markSearch = false;
	search.searchIndex = -1;
	collectMatches();
	showMatch(false);
}

export function nextMark() {
	const caret = offsetsOfLastRange();
	input('search').value = mark;
	search.markSearch = true;
	collectMatches();
	const following = search.searchRanges.findIndex(({ start }) => start >= caret);
	search.searchIndex = search.searchRanges.length ? Math.max(0, following) : -1;
	showMatch(true);
}

/** The end of the last selection, as an offset in the document. */
function offsetsOfLastRange() {
	restoreSelection();
	return note.selectionOffsets(article)?.end ?? 0;
}

export function listenForSearch() {
	const field = input('search');
	field.addEventListener('input', () => {
		search.markSearch = false;
		clearTimeout(search.timer);
		search.timer = setTimeout(() => searchNow(true), searchDelayMs);
	});
	field.addEventListener('keydown', (event) => {
		if (event.isComposing) return;
		if (event.key === 'Enter') {
			event.preventDefault();
			moveMatch(event.shiftKey ? -1 : 1);
		} else if (event.key === 'Escape' && field.value) {
			event.preventDefault();
			clearSearch();
		}
	});
	button('previous').addEventListener('click', () => moveMatch(-1));
	button('next').addEventListener('click', () => moveMatch(1));
	button('clear-search').addEventListener('click', () => {
		clearSearch();
		field.focus();
	});
}
