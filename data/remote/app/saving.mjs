// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Keeping and saving what is typed.

import * as note from '../document.mjs';
import { article } from './page.mjs';
import { call, client, editing, isUnsaved } from './state.mjs';
import { attempt, clearNotice, showFailure, showNotice, updateControls, updateStatus } from './notices.mjs';
import { documentChanged } from './search.mjs';
import { drafts, removeDraft, storeDraft } from './drafts.mjs';
import { showTarget } from './loading.mjs';
import { stopPainter } from './tools_state.mjs';

const draftDelayMs = 250;
const saveDelayMs = 800;

/** Gives the lease back; where that fails it ends by itself. */
export function releaseQuietly() {
	call('ReleaseEdit').catch(() => {});
}

/** Ends the editing. What is unsaved becomes a draft that waits for its user's decision. */
export function endEdit() {
	if (client.editing && isUnsaved()) {
		storeDraft();
		client.draftProblem = true;
		editing.caret = note.selectionOffsets(article)?.end ?? 0;
	}
	client.editing = false;
	// A document that can no longer be edited does not report the end of a composition.
	editing.isComposing = false;
	clearTimeout(editing.draftTimer);
	clearTimeout(editing.saveTimer);
	stopPainter();
	updateControls();
}

/** @param {unknown} error why the lease is gone */
export function loseEdit(error) {
	endEdit();
	showFailure(error);
}

/** Something was typed or formatted: it is kept and saved when the user pauses. */
export function edited() {
	++client.sequence;
	if (client.notice && client.notice.key !== 'RemoteNoDraft' && !client.draftProblem) clearNotice();
	clearTimeout(editing.draftTimer);
	editing.draftTimer = setTimeout(storeDraft, draftDelayMs);
	saveLater();
	documentChanged();
	updateStatus();
}

function saveLater() {
	clearTimeout(editing.saveTimer);
	editing.saveTimer = setTimeout(() => attempt(save), saveDelayMs);
}

/** Saves what is unsaved; waits for a save under way. */
export function save() {
	client.saving ??= saveNow().finally(() => {
		client.saving = null;
		updateControls();
	});
	updateControls();
	return client.saving;
}

async function saveNow() {
	clearTimeout(editing.saveTimer);
	if (!client.editing || !isUnsaved()) return;
	if (editing.isComposing) {
		saveLater();
		return;
	}
	const { scene, epoch, revision, sequence } = client;
	const draft = editing.draftSequence === sequence ? drafts.get(scene) : null;
	const snapshot = draft?.document ?? note.serialize(article);
	if (!draft) storeDraft(snapshot);
	if (!note.withinTextLimits(snapshot)) {
		showNotice('TextLimit');
		return;
	}
	// The answer to a save of an older lease says nothing of the edits since.
	const isCurrent = () => client.scene === scene && client.epoch === epoch && client.savedSequence < sequence;
	editing.sent = { scene, epoch, revision, document: snapshot };
	try {
		const reply = await call('SaveDocument', editing.sent);
		if (isCurrent()) saved(Number(reply.revision), sequence);
	} catch (error) {
		if (isCurrent()) saveFailed(error);
	}
	if (client.editing && isUnsaved()) saveLater();
}

/** @param {number} revision @param {number} sequence the count of edits that the host has now */
function saved(revision, sequence) {
	client.revision = revision;
	client.savedSequence = sequence;
	if (isUnsaved()) {
		storeDraft();
		return;
	}
	removeDraft(client.scene);
	if (client.draftProblem) {
		// The lease was lost while this save was under way, but the text has arrived.
		client.draftProblem = false;
		clearNotice();
		attempt(() => showTarget(true));
	}
}

/** @param {unknown} error */
function saveFailed(error) {
	if (client.editing) {
		endEdit();
		showFailure(error);
	}
	releaseQuietly();
}
