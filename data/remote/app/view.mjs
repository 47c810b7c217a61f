// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Fitting the page into what an on-screen keyboard leaves.

import { client } from './state.mjs';
import { revealCaret } from './selection.mjs';

const shortViewPx = 520;

/** Fits the page into what an on-screen keyboard leaves, where the browser does not do it itself. */
function fitView() {
	const { height, offsetTop, scale } = visualViewport ?? { height: innerHeight, offsetTop: 0, scale: 1 };
	// Who zooms in with two fingers wants to see a part of the page larger, not another page.
	if (scale > 1.05) return;
	const { style } = document.documentElement;
	style.setProperty('--view-height', `${height}px`);
	style.setProperty('--view-top', `${offsetTop}px`);
	document.body.classList.toggle('is-short', height < shortViewPx);
	if (client.editing) requestAnimationFrame(revealCaret);
}

export function listenForView() {
	visualViewport?.addEventListener('resize', fitView);
	visualViewport?.addEventListener('scroll', fitView);
	addEventListener('resize', fitView);
	fitView();
}
