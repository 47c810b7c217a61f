// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Going to a line or a share of the note.

import * as note from '../document.mjs';
import { article, button, element, filled, input, t } from './page.mjs';
import { client, reading } from './state.mjs';
import { attempt } from './notices.mjs';
import { aim, lineTop, scrollRange, stopScrolling } from './scrolling.mjs';
import { closeGoTo, counted, percentage } from './counts.mjs';
import { finishEdit } from './lease.mjs';
import { sendScroll } from './teleprompter.mjs';

/** @param {string} text */
function openGoTo(text) {
	const field = input('go-to');
	element('places').classList.add('is-open');
	field.hidden = false;
	field.value = text;
	markGoTo(true);
	field.focus();
	field.select();
}

/** @param {boolean} isValid */
function markGoTo(isValid) {
	const field = input('go-to');
	const text = isValid ? '' : filled('GoToInvalid', counted(note.paragraphCount(article)));
	field.setCustomValidity(text);
	field.setAttribute('aria-invalid', String(!isValid));
	field.title = text || t('GoTo');
}

/** The place that a text names, or null. @param {string} text */
function placeOf(text) {
	const [, digits, percent] = /^(\d{1,9})(%?)$/.exec(text.trim()) ?? [];
	const number = Number(digits);
	const isKnown = percent ? number <= 100 : number >= 1 && number <= note.paragraphCount(article);
	return digits && isKnown ? { number, isPercent: percent === '%' } : null;
}

async function goTo() {
	const text = input('go-to').value;
	const place = placeOf(text);
	markGoTo(place !== null);
	if (!place) {
		input('go-to').reportValidity();
		return;
	}
	await finishEdit();
	const { scene, remoteState } = client;
	if (reading.target === 'obs' && client.online && scene === remoteState?.activeScene) {
		await sendScroll({ command: 'seek', scene, target: text });
	} else {
		stopScrolling();
		aim(() => (place.isPercent ? (scrollRange() * place.number) / 100 : lineTop(place.number)));
	}
	closeGoTo();
}

export function listenForPlaces() {
	button('lines').addEventListener('click', () => openGoTo('1'));
	button('percent').addEventListener('click', () => openGoTo(`${percentage()}%`));
	const field = input('go-to');
	field.addEventListener('input', () => markGoTo(true));
	field.addEventListener('blur', closeGoTo);
	field.addEventListener('keydown', (event) => {
		if (event.isComposing) return;
		if (event.key === 'Enter') {
			event.preventDefault();
			attempt(goTo);
		} else if (event.key === 'Escape') {
			event.preventDefault();
			closeGoTo();
		}
	});
}
