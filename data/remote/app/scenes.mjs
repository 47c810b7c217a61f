// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// What the host reports, and choosing a scene.

import { ui } from './page.mjs';
import { client, hasScene, isUnsaved } from './state.mjs';
import { attempt, clearNotice, showNotice } from './notices.mjs';
import { followHost, stopScrolling } from './scrolling.mjs';
import { applyState, load, showTarget } from './loading.mjs';
import { endEdit } from './saving.mjs';
import { finishEdit } from './lease.mjs';

/** @import { Reply } from '../protocol.mjs' */

/** @param {Reply} state @param {string} type */
export function onEvent(state, type) {
	const { remoteState } = client;
	if (!client.online || !remoteState) return;
	if (type === 'Scroll') {
		if (state.epoch === remoteState.epoch && state.scene === remoteState.activeScene) {
			remoteState.position = Number(state.position) || 0;
			followHost();
		}
		return;
	}
	const wasTaken = remoteState.locked || remoteState.localEditing || !hasScene(client.scene);
	applyState(state);
	attempt(() => onChanged(Array.isArray(state.changed) ? state.changed : [], wasTaken));
}

/**
 * @param {string[]} changed the scenes whose notes are others now
 * @param {boolean} wasTaken the host's user had the notes, or the one shown was not there
 */
async function onChanged(changed, wasTaken) {
	const state = client.remoteState;
	if (!state) return;
	const isOther = state.epoch !== client.epoch || (state.editorScene !== '' && state.editorScene !== client.scene);
	if (client.importing) {
		if (state.locked || state.localEditing || isOther || !hasScene(client.scene)) {
			client.importing.abort();
			endEdit();
		}
		return;
	}
	if (client.editing) {
		if (!state.locked && !state.localEditing && !isOther) return;
		const isDraft = isUnsaved();
		endEdit();
		if (isDraft) showNotice(state.locked ? 'RemoteLocked' : 'RemoteConflict');
	}
	if (client.notice?.key === 'RemoteLocked' && !state.locked && !client.draftProblem) clearNotice();
	if (client.draftProblem) {
		showAbandoned();
		// The draft still waits for its decision: ask again, or see that the host has the text.
		const isFree = !state.locked && !state.localEditing;
		const isToAsk = isFree && (wasTaken || changed.includes(client.scene)) && hasScene(client.scene);
		await (isToAsk ? load(client.scene) : undefined);
	} else if (!client.acquiring) {
		await client.finishing;
		if (!client.editing && !client.acquiring) await showTarget(changed.includes(client.scene));
	}
}

/** A draft whose scene is gone stays on the screen until its user gives it up. */
export function showAbandoned() {
	if (client.draftProblem && !hasScene(client.scene)) showNotice('RemoteConflict');
}

export function listenForScenes() {
	ui.scenes.addEventListener('change', () => {
		const id = ui.scenes.value;
		attempt(async () => {
			await finishEdit();
			if (client.editing || client.draftProblem) {
				ui.scenes.value = client.scene;
				return;
			}
			ui.follow.checked = false;
			stopScrolling();
			await load(id);
		});
	});
	ui.follow.addEventListener('change', () =>
		attempt(async () => {
			await finishEdit();
			if (client.editing || client.draftProblem) {
				ui.follow.checked = !ui.follow.checked;
			} else if (ui.follow.checked) {
				await showTarget(false);
			}
		}),
	);
}
