// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The formatting tools.

import { button, control, input, ui } from './page.mjs';
import { client } from './state.mjs';
import { documentRange, keepSelection } from './selection.mjs';
import { showSelectedCharacters } from './counts.mjs';
import { nextMark } from './search.mjs';
import { showFormat } from './tools_state.mjs';
import { formatParagraphs, formatText, insertMark, insertTime, toggleFormat } from './typing.mjs';
import { paintLater } from './painter.mjs';

let selectionFrame = 0;

function onSelectionChange() {
	keepSelection();
	selectionFrame ||= requestAnimationFrame(() => {
		selectionFrame = 0;
		const range = documentRange();
		showSelectedCharacters();
		if (client.editing && range) {
			showFormat();
			paintLater();
		}
	});
}

export function listenForTools() {
	for (const tools of [ui.textTools, ui.paragraphTools, button('target')]) {
		// A button that takes the focus would close the on-screen keyboard.
		tools.addEventListener('mousedown', (event) => {
			if (event.target instanceof Element && event.target.closest('button')) event.preventDefault();
		});
	}
	button('bold').addEventListener('click', () => toggleFormat('weight'));
	button('italic').addEventListener('click', () => toggleFormat('italic'));
	button('underline').addEventListener('click', () => toggleFormat('underline'));
	button('strike').addEventListener('click', () => toggleFormat('strike'));
	for (const id of ['color', 'highlight']) {
		const key = id === 'color' ? 'color' : 'background';
		button(`apply-${id}`).addEventListener('click', () => formatText(key, input(id).value));
		input(id).addEventListener('input', () => showColor(id));
		input(id).addEventListener('change', () => formatText(key, input(id).value));
		showColor(id);
	}
	control('family', HTMLSelectElement).addEventListener('change', ({ target }) =>
		formatText('family', /** @type {HTMLSelectElement} */ (target).value),
	);
	input('size').addEventListener('change', () => {
		const size = input('size');
		if (size.value && size.checkValidity()) formatText('size', Number(size.value));
		showFormat();
	});
	button('clear-format').addEventListener('click', () => formatText('clear'));
	button('insert-mark').addEventListener('click', insertMark);
	button('next-mark').addEventListener('click', nextMark);
	for (const align of ui.paragraphTools.querySelectorAll('button[data-align]')) {
		align.addEventListener('click', () => formatParagraphs('align', Number(align.getAttribute('data-align'))));
	}
	const list = control('list', HTMLSelectElement);
	list.addEventListener('change', () => formatParagraphs('list', Number(list.value)));
	button('indent-less').addEventListener('click', () => formatParagraphs('indent', -1));
	button('indent-more').addEventListener('click', () => formatParagraphs('indent', 1));
	button('insert-time').addEventListener('click', insertTime);
	document.addEventListener('selectionchange', onSelectionChange);
}

/** @param {string} id of a colour's control */
function showColor(id) {
	button(`apply-${id}`).style.setProperty('--chosen', input(id).value);
}
