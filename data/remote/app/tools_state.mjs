// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// What the formatting tools show.

import * as note from '../document.mjs';
import { article, button, control, input, label, press, t, ui } from './page.mjs';
import { client } from './state.mjs';
import { documentRange } from './selection.mjs';

export const painter = {
	/** @type {ReturnType<typeof note.selectionFormat> | null} what is painted; null while the painter is off */
	format: null,
	isContinuous: false,
	/** The selection that needs no paint: the source, or what was painted last. */
	settled: '',
	timer: 0,
	isPointerDown: false,
};

export function stopPainter() {
	clearTimeout(painter.timer);
	painter.format = null;
	press(button('format-painter'), false);
	label(button('format-painter'), t('FormatPainter'));
	document.body.classList.remove('is-painting');
}

/** The mark at the caret, or null. */
export function markAtCaret() {
	const range = documentRange();
	return range ? note.markAt(article, range) : null;
}

/** Shows the format at the selection in the tools. */
export function showFormat() {
	if (!client.editing || !documentRange()) return;
	const { weight, italic, underline, strike, size, family } = note.selectionFormat(article);
	press(button('bold'), weight >= 600);
	press(button('italic'), italic);
	press(button('underline'), underline);
	press(button('strike'), strike);
	if (document.activeElement !== input('size')) input('size').value = size ? String(size) : '12';
	const families = control('family', HTMLSelectElement);
	families.value = [...families.options].some((option) => option.value === family) ? family : '';
	const { align, list } = note.paragraphFormat(article) ?? { align: 1, list: 0 };
	for (const choice of ui.paragraphTools.querySelectorAll('button[data-align]')) {
		choice.setAttribute('aria-pressed', String(choice.getAttribute('data-align') === String(align)));
	}
	control('list', HTMLSelectElement).value = String(list);
	const mark = markAtCaret();
	label(button('insert-mark'), t(mark && !mark.atEnd ? 'DeleteMark' : 'InsertMark'));
}
