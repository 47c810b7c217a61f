// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Fetching a scene's note and showing it.

import * as note from '../document.mjs';
import { article, ui } from './page.mjs';
import { call, client, codeOf, hasScene, reading } from './state.mjs';
import { attempt, clearNotice, showFailure, showNotice, updateControls } from './notices.mjs';
import { followHost, showHostScrolling } from './scrolling.mjs';
import { closeGoTo, showCharacters } from './counts.mjs';
import { documentChanged } from './search.mjs';
import { comparable, readDraft, settledDraft } from './drafts.mjs';

/** @import { WebDocument } from '../document/model.mjs' */
/** @import { Reply } from '../protocol.mjs' */
/** @import { Draft, Model, RemoteState, Scene } from './state.mjs' */

/** How long a host that is loading is left alone. */
const loadingPauseMs = 500;

const request = {
	/** Grows with every request for a note; the reply to an older one is ignored. */
	number: 0,
	/** The scene whose note is on its way, or nothing. */
	scene: '',
};

/** What is on its way is no longer wanted. */
export function dropRequest() {
	++request.number;
	request.scene = '';
}

/** @param {Reply} state */
export function applyState(state) {
	const isScene = (/** @type {any} */ scene) => typeof scene?.id === 'string' && typeof scene.name === 'string';
	if (typeof state.epoch !== 'string' || !Array.isArray(state.scenes) || !state.scenes.every(isScene)) return;
	client.remoteState = /** @type {RemoteState} */ (state);
	listScenes(client.remoteState.scenes);
	showHostScrolling();
	updateControls();
}

/** @param {Scene[]} scenes */
function listScenes(scenes) {
	const { options } = ui.scenes;
	const isSame = scenes.length === options.length && scenes.every(({ id }, i) => options[i].value === id);
	if (!isSame) {
		ui.scenes.replaceChildren(...scenes.map(({ id }) => new Option('', id)));
	}
	scenes.forEach(({ name }, i) => {
		const text = `[ ${name} ]`;
		if (options[i].text !== text) options[i].text = text;
	});
	ui.scenes.value = client.scene;
}

/** Shows the scene that is to be shown, if it is another one or its note has changed. @param {boolean} isChanged */
export async function showTarget(isChanged) {
	const state = client.remoteState;
	if (!state || client.draftProblem) return;
	let target = ui.follow.checked ? state.activeScene : request.scene || client.scene;
	if (!hasScene(target)) target = hasScene(state.activeScene) ? state.activeScene : (state.scenes[0]?.id ?? '');
	if (!target) {
		showNothing('');
	} else if (isChanged || target !== client.scene || state.epoch !== client.epoch) {
		await load(target);
	}
}

/** @param {string} scene @param {WebDocument} [content] what to show of it, without a document of the host's */
function showNothing(scene, content = note.plainDocument('')) {
	dropRequest();
	Object.assign(client, { scene, epoch: client.remoteState?.epoch ?? '', revision: 0, model: null });
	ui.scenes.value = scene;
	show(content, false);
}

/** @param {WebDocument} content @param {boolean} keepsPlace the reader goes on where it is */
export function show(content, keepsPlace) {
	const top = keepsPlace ? article.scrollTop : 0;
	const isShown = keepsPlace && comparable(note.serialize(article)) === comparable(content);
	if (!isShown) note.render(article, content);
	article.scrollTop = reading.scrollPosition = top;
	reading.expectedScrollTop = article.scrollTop;
	showCharacters(note.characterCount(content));
	if (!isShown) closeGoTo();
	documentChanged();
	followHost();
}

/**
 * Fetches a scene's note and shows it.
 * @param {string} id
 * @param {boolean} [restoresDraft]
 */
export async function load(id, restoresDraft = true) {
	const number = ++request.number;
	request.scene = id;
	/** @type {Model} */
	let model;
	try {
		model = /** @type {any} */ (await call('GetDocument', { scene: id }));
	} catch (error) {
		if (number !== request.number || client.editing) return;
		if (codeOf(error) === 'loading') {
			loadLater(id, restoresDraft);
		} else {
			request.scene = '';
			loadFailed(id, error);
		}
		return;
	}
	// Whatever was begun meanwhile is newer than this reply.
	if (number !== request.number || client.editing) return;
	request.scene = '';
	const keepsPlace = id === client.scene && client.model !== null;
	const { epoch, revision } = model;
	Object.assign(client, { scene: id, epoch, revision, model, draftProblem: false });
	client.savedSequence = client.sequence;
	ui.scenes.value = id;
	const draft = restoresDraft ? settledDraft(id, model) : null;
	if (!client.notice?.isLasting || !keepsPlace) clearNotice();
	if (!draft) {
		show(model, keepsPlace);
	} else {
		client.draftProblem = true;
		offerDraft(draft, model);
	}
	updateControls();
}

/** Asks again when the host may be ready, unless something else is shown by then. @param {string} id @param {boolean} restoresDraft */
function loadLater(id, restoresDraft) {
	const number = request.number;
	setTimeout(() => {
		if (number !== request.number || client.editing || !client.online) return;
		attempt(() => (hasScene(id) ? load(id, restoresDraft) : showTarget(false)));
	}, loadingPauseMs);
}

/** @param {Draft} draft @param {Model} model */
function offerDraft(draft, model) {
	if (!note.withinTextLimits(draft.document)) {
		show(model, false);
		showNotice('TextLimit');
		return;
	}
	show(draft.document, false);
	const isCurrent = draft.epoch === model.epoch && draft.revision === model.revision;
	const isResumable = isCurrent && model.editable;
	showNotice(isCurrent ? 'RemoteDraft' : 'RemoteConflict', { retry: isResumable, reload: !isResumable });
}

/** @param {string} id @param {unknown} error */
function loadFailed(id, error) {
	const code = codeOf(error);
	if (!['size', 'read', 'save'].includes(code)) throw error;
	const draft = readDraft(id);
	client.draftProblem = draft !== null;
	const isShown = draft !== null && note.withinTextLimits(draft.document);
	showNothing(id, isShown ? draft.document : undefined);
	if (draft && !isShown) {
		showNotice('TextLimit');
	} else {
		showFailure(error);
	}
}
