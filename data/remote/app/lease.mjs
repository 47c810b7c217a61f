// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The edit lease: taking it, and giving it back.

import * as note from '../document.mjs';
import { article, button } from './page.mjs';
import { call, client, codeOf, editing, isScrolling, isUnsaved } from './state.mjs';
import { attempt, clearNotice, showFailure, updateControls } from './notices.mjs';
import { rangeAtPoint, revealCaret, selectRange } from './selection.mjs';
import { comparable, keepUnsaved, storeDraft } from './drafts.mjs';
import { applyState, dropRequest, load, show } from './loading.mjs';
import { painter, stopPainter } from './tools_state.mjs';
import { endEdit, releaseQuietly, save } from './saving.mjs';

/** @import { Model } from './state.mjs' */

/** @param {boolean} resumes a draft is taken up again */
function mayBegin(resumes) {
	const { editing: isEditing, acquiring, finishing, importing, online, scene, model, remoteState } = client;
	const isBusy = isEditing || acquiring || finishing || importing || isScrolling();
	if (isBusy || !online || !scene || !model?.editable || !remoteState) return false;
	const isHostFree = !remoteState.locked && !remoteState.localEditing;
	return isHostFree && (resumes || (!client.draftProblem && !remoteState.editor));
}

/**
 * Takes the edit lease, and lets the user type.
 * @param {boolean} [resumes] the draft on the screen is taken up again
 * @param {{x: number, y: number}} [point] where the caret is wanted
 */
export async function beginEdit(resumes = false, point) {
	if (!mayBegin(resumes)) return;
	const { scene, epoch, revision } = client;
	client.acquiring = true;
	let isStale = false;
	try {
		const model = /** @type {any} */ (await call('AcquireEdit', { scene, epoch, revision }));
		const isLookedAt = document.visibilityState === 'visible' && article.contains(document.activeElement);
		const isWanted = resumes || isLookedAt;
		if (!client.online || client.scene !== scene || client.remoteState?.locked || !isWanted) {
			releaseQuietly();
			return;
		}
		takeLease(model, resumes, point);
	} catch (error) {
		isStale = codeOf(error) === 'conflict';
		if (!isStale) showFailure(error);
	} finally {
		client.acquiring = false;
		updateControls();
	}
	if (isStale) {
		// The note has changed a moment ago: show it as it is now, or go on if the change was a save of this page.
		await attempt(() => load(scene));
		if (resumes && client.notice?.key === 'RemoteDraft') await beginEdit(true);
	}
}

/** @param {Model} model @param {boolean} resumes @param {{x: number, y: number}} [point] */
function takeLease(model, resumes, point) {
	const isOther = !resumes && (!client.model || comparable(client.model) !== comparable(model));
	dropRequest();
	++editing.lease;
	Object.assign(client, { model, revision: model.revision, epoch: model.epoch, editing: true, draftProblem: false });
	client.acquiring = false;
	client.savedSequence = client.sequence;
	if (resumes) ++client.sequence;
	editing.draftSequence = -1;
	clearNotice();
	if (isOther) show(model, true);
	const range = isOther || !getSelection()?.rangeCount ? rangeAtPoint(point) : getSelection()?.getRangeAt(0);
	updateControls();
	// The element was focused before it could be edited: only a new focus opens an on-screen keyboard.
	article.blur();
	article.focus({ preventScroll: true });
	if (resumes) {
		note.selectOffsets(article, editing.caret);
		revealCaret();
		storeDraft();
		attempt(save);
	} else if (range && article.contains(range.startContainer)) {
		selectRange(range);
	}
}

/** Saves, gives the lease back and shows the note as the host has it. */
export function finishEdit() {
	client.finishing ??= finish().finally(() => {
		client.finishing = null;
		updateControls();
	});
	updateControls();
	return client.finishing;
}

async function finish() {
	if (!client.editing) return;
	if (document.activeElement === article) {
		// Ends a composition, so that its text counts.
		article.blur();
	}
	await save();
	if (isUnsaved()) await save();
	if (!client.editing || client.draftProblem || !client.online || isUnsaved()) return;
	try {
		const state = await call('ReleaseEdit');
		endEdit();
		applyState(state);
		await load(client.scene);
	} catch (error) {
		endEdit();
		showFailure(error);
	}
}

const insideEditing = '#document, #text-tools, #paragraph-tools, #target';

/** @param {EventTarget | null} target */
const isOutside = (target) => target instanceof Element && !target.closest(insideEditing);

export function listenForLease() {
	let isPointerDown = false;
	addEventListener('pointerdown', () => (isPointerDown = true), true);
	addEventListener('pointercancel', () => (isPointerDown = false), true);
	// A control that is pressed acts first; then the editing ends.
	addEventListener('click', ({ target }) => {
		isPointerDown = false;
		if (client.editing && target instanceof Element && target.isConnected && isOutside(target)) attempt(finishEdit);
	});
	addEventListener('focusin', ({ target }) => {
		if (client.editing && !isPointerDown && isOutside(target)) attempt(finishEdit);
	});
	document.addEventListener('visibilitychange', () => {
		if (document.visibilityState === 'hidden' && client.editing) {
			keepUnsaved();
			attempt(finishEdit);
		}
	});
	addEventListener('keydown', (event) => {
		// A pointer that only opened a menu, or was released elsewhere, clicks nothing.
		isPointerDown = false;
		onEscape(event);
	});
	article.addEventListener('focus', () => {
		if (!isPointerDown) beginEdit();
	});
	article.addEventListener('click', (event) => {
		if (!(event.altKey && event.shiftKey)) {
			beginEdit(false, { x: event.clientX, y: event.clientY });
		}
	});
}

/** @param {KeyboardEvent} event */
function onEscape(event) {
	if (event.key !== 'Escape' || event.isComposing || event.defaultPrevented) return;
	if (painter.format) {
		stopPainter();
	} else if (document.activeElement === button('characters')) {
		button('characters').blur();
	} else if (client.editing) {
		attempt(finishEdit);
	}
}
