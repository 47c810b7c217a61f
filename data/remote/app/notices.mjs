// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Notices, the status line, and whether the controls can be used.

import { article, button, element, t, ui } from './page.mjs';
import { canWrite, client, codeOf, isUnsaved, reading } from './state.mjs';

/** @type {Record<string, string>} */
const noticeKeys = {
	limit: 'TextLimit',
	locked: 'RemoteLocked',
	word: 'WordOpenError',
	upload: 'RemoteImportFailed',
	busy: 'RemoteBusy',
	format: 'RemoteFormat',
	size: 'RemoteTooLarge',
	read: 'RemoteStorageFailed',
	save: 'RemoteStorageFailed',
	conflict: 'RemoteConflict',
	'password-required': 'RemotePasswordRequired',
};
const withoutRetry = ['RemoteConflict', 'WordSimplified', 'TextLimit', 'RemoteSelectText'];
const stuckNotices = ['TextLimit', 'RemoteFormat', 'RemoteTooLarge', 'RemoteStorageFailed'];
const storageNotices = ['RemoteStorageFailed', 'RemoteNoDraft'];

/** Whether trying again does not help, so that the draft can also be given up. @param {string} key */
const isStuck = (key) => key === 'RemoteConflict' || (client.draftProblem && stuckNotices.includes(key));

/**
 * @param {string} key the label
 * @param {object} [options]
 * @param {boolean} [options.retry]
 * @param {boolean} [options.reload]
 * @param {boolean} [options.isLasting] the notice outlives the loading of a document
 */
export function showNotice(
	key,
	{ retry = !withoutRetry.includes(key), reload = isStuck(key), isLasting = false } = {},
) {
	client.notice = { key, isLasting };
	element('login-error').textContent = ui.login.hidden ? '' : t(key);
	element('message').textContent = t(key);
	button('retry').hidden = !retry;
	button('reload').hidden = !reload;
	button('download').hidden = !client.draftProblem;
	ui.problem.classList.toggle('is-storage', storageNotices.includes(key));
	ui.problem.classList.toggle('is-locked', key === 'RemoteLocked');
	ui.problem.hidden = false;
}

export function clearNotice() {
	client.notice = null;
	element('login-error').textContent = '';
	element('message').textContent = '';
	ui.problem.hidden = true;
}

/** @param {unknown} error */
export function showFailure(error) {
	showNotice(noticeKeys[codeOf(error)] ?? 'RemoteFailure');
}

/** Runs an operation of a control and shows its failure. @param {() => unknown} operation */
export async function attempt(operation) {
	try {
		await operation();
	} catch (error) {
		showFailure(error);
	} finally {
		updateControls();
	}
}

function ownerText() {
	const { remoteState, model } = client;
	if (!client.online || !remoteState) return '';
	if (remoteState.locked) return t('RemoteLocked');
	if (client.importing) return t('RemoteImporting');
	if (client.editing) return t(isUnsaved() || client.saving ? 'RemoteSaving' : 'RemoteSaved');
	if (remoteState.editor) {
		return `${t('RemoteEditing')} · ${remoteState.editor}`;
	}
	return t(model?.editable ? 'RemoteClickEdit' : 'RemoteReadOnly');
}

export function updateStatus() {
	const owner = element('owner');
	const text = ownerText();
	if (owner.textContent !== text) owner.textContent = text;
	owner.title = text === t('RemoteReadOnly') ? t('RemoteFormat') : text;
	owner.hidden = !text;
}

/** Brings every control in line with the state. */
export function updateControls() {
	const { online, scene, importing, draftProblem, remoteState } = client;
	const isWritable = canWrite();
	const isIdle = online && scene !== '' && !client.saving && !importing && !draftProblem;
	const isMine = client.editing || !remoteState?.editor;
	if (article.contentEditable !== String(isWritable)) article.contentEditable = String(isWritable);
	article.setAttribute('aria-readonly', String(!isWritable));
	ui.textTools.disabled = ui.paragraphTools.disabled = !isWritable;
	button('import').disabled = !isIdle || client.finishing !== null || remoteState?.locked === true || !isMine;
	ui.exporting.disabled = !isIdle;
	ui.scenes.disabled = ui.follow.disabled = importing !== null || draftProblem || !online;
	button('play').disabled = importing !== null || (reading.target === 'obs' && !online);
	button('disconnect').disabled = importing !== null;
	button('disconnect').hidden = ui.workspace.hidden;
	button('top').disabled = reading.target === 'obs' && !online;
	document.body.classList.toggle('is-editing', client.editing);
	document.body.classList.toggle('is-offline', !online);
	updateStatus();
}
