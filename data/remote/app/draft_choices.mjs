// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// What becomes of a draft is its user's decision.

import * as note from '../document.mjs';
import { article, button, t } from './page.mjs';
import { client, hasScene, isUnsaved } from './state.mjs';
import { attempt, clearNotice } from './notices.mjs';
import { keepUnsaved, readDraft, removeDraft } from './drafts.mjs';
import { load, showTarget } from './loading.mjs';
import { releaseQuietly } from './saving.mjs';
import { beginEdit } from './lease.mjs';
import { login } from './remembered.mjs';
import { connect } from './session.mjs';
import { saveFile } from './files.mjs';

async function retry() {
	if (client.draftProblem && client.online && client.model) {
		await beginEdit(true);
	} else if (!client.online) {
		login.desired = true;
		await connect();
	} else if (!client.model && client.scene) {
		await load(client.scene);
	} else {
		clearNotice();
	}
}

async function discardDraft() {
	if (!confirm(t('RemoteReload')) || !client.online) return;
	removeDraft(client.scene);
	client.draftProblem = false;
	clearNotice();
	if (hasScene(client.scene)) await load(client.scene, false);
	await showTarget(false);
}

function downloadDraft() {
	const draft = readDraft(client.scene);
	const isShown = !draft || note.withinTextLimits(draft.document);
	const body = document.implementation.createHTMLDocument().body;
	note.render(body, isShown ? note.serialize(article) : draft.document);
	saveFile(
		'QuillBay-draft.html',
		'text/html;charset=utf-8',
		`<!doctype html><meta charset="utf-8">${body.outerHTML}`,
	);
}

export function listenForDrafts() {
	button('retry').addEventListener('click', () => attempt(retry));
	button('reload').addEventListener('click', () => attempt(discardDraft));
	button('download').addEventListener('click', () => attempt(downloadDraft));
	addEventListener('beforeunload', (event) => {
		if ((client.editing && isUnsaved()) || client.draftProblem) {
			keepUnsaved();
			event.preventDefault();
		}
	});
	addEventListener('pagehide', () => {
		keepUnsaved();
		if (client.editing && !isUnsaved()) releaseQuietly();
	});
}
