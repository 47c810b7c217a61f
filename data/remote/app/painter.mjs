// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The format painter.

import * as note from '../document.mjs';
import { article, button, label, press, t } from './page.mjs';
import { canWrite } from './state.mjs';
import { restoreSelection, selectionText } from './selection.mjs';
import { painter, stopPainter } from './tools_state.mjs';
import { edit } from './typing.mjs';

const paintDelayMs = 250;

/** @param {boolean} isContinuous */
function startPainter(isContinuous) {
	restoreSelection();
	if (!canWrite()) return;
	painter.format ??= note.selectionFormat(article);
	painter.isContinuous = isContinuous;
	painter.settled = selectionText();
	press(button('format-painter'), true);
	label(button('format-painter'), t(isContinuous ? 'FormatPainterContinuous' : 'FormatPainter'));
	document.body.classList.add('is-painting');
}

/** Paints when the user has finished selecting. */
export function paintLater() {
	clearTimeout(painter.timer);
	if (painter.format && !painter.isPointerDown) painter.timer = setTimeout(paint, paintDelayMs);
}

function paint() {
	const selected = selectionText();
	const { format } = painter;
	if (!format || !selected || selected === painter.settled || !canWrite()) return;
	edit(() => note.formatSelection(article, 'paint', format));
	painter.settled = selectionText();
	if (!painter.isContinuous) stopPainter();
}

export function listenForPainter() {
	const control = button('format-painter');
	control.addEventListener('click', () => (painter.format ? stopPainter() : startPainter(false)));
	control.addEventListener('dblclick', () => startPainter(true));
	article.addEventListener('pointerdown', () => (painter.isPointerDown = true));
	for (const type of ['pointerup', 'pointercancel']) {
		addEventListener(type, () => {
			painter.isPointerDown = false;
			paintLater();
		});
	}
}
