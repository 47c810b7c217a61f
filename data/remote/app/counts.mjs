// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// How long the note is and where its reader stands: the counts below it.

import * as note from '../document.mjs';
import { article, button, element, filled, input } from './page.mjs';
import { scrollRange } from './scrolling.mjs';
import { documentRange } from './selection.mjs';

/** @param {number} count */
export const counted = (count) => count.toLocaleString();

let positionFrame = 0;

export function showPosition() {
	positionFrame ||= requestAnimationFrame(() => {
		positionFrame = 0;
		button('percent').textContent = `${percentage()}%`;
	});
}

export function percentage() {
	const end = scrollRange();
	return end > 0 ? Math.min(100, Math.max(0, Math.round((100 * article.scrollTop) / end))) : 0;
}

let characters = 0;

/** @param {number} count of the whole note */
export function showCharacters(count) {
	characters = count;
	button('lines').textContent = filled('RemoteLines', counted(note.paragraphCount(article)));
	showPosition();
	showSelectedCharacters();
}

export function showSelectedCharacters() {
	const counter = button('characters');
	const { start = 0, end = 0 } = (documentRange()?.collapsed === false && note.selectionOffsets(article)) || {};
	const selected = end - start;
	const text = selected
		? filled('SelectedCharacters', counted(selected))
		: filled('CharacterCount', counted(characters));
	if (counter.textContent !== text) counter.textContent = text;
	const limit = note.maxNoteCharacters;
	const left = Math.max(0, limit - characters);
	counter.dataset.details = counter.title = filled(
		'CharacterRemaining',
		counted(characters),
		counted(limit),
		counted(left),
	);
	counter.setAttribute('aria-description', counter.title);
}

export function closeGoTo() {
	input('go-to').hidden = true;
	element('places').classList.remove('is-open');
}
