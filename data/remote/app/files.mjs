// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Import and export.

import * as note from '../document.mjs';
import { Failure } from '../protocol.mjs';
import { button, input, t, ui } from './page.mjs';
import { call, client, isUnsaved } from './state.mjs';
import { attempt, clearNotice, showNotice, updateControls } from './notices.mjs';
import { stopScrolling } from './scrolling.mjs';
import { removeDraft } from './drafts.mjs';
import { dropRequest, show } from './loading.mjs';
import { endEdit, releaseQuietly, save } from './saving.mjs';

/** @import { WebDocument } from '../document/model.mjs' */
/** @import { Reply } from '../protocol.mjs' */

const wordLimitBytes = 5 * 1024 * 1024;
const textLimitBytes = 1024 * 1024;
const documentLimitBytes = 4 * 1024 * 1024;
const uploadTimeoutMs = 35_000;
const wordType = 'application/vnd.openxmlformats-officedocument.wordprocessingml.document';

/** @param {File} file */
async function importFile(file) {
	const kind = /\.(docx|html?|txt)$/i.exec(file.name)?.[1]?.toLowerCase();
	const isWord = kind === 'docx';
	if (!kind) {
		showNotice('RemoteFileType', { isLasting: true });
		return;
	}
	if (file.size > (isWord ? wordLimitBytes : textLimitBytes)) {
		showNotice(isWord ? 'RemoteWordSize' : 'RemoteFileSize', { isLasting: true });
		return;
	}
	// The host takes an upload of nothing for a broken request.
	if (isWord && !file.size) throw new Failure('word');
	/** @type {WebDocument | null} */
	let content = null;
	if (!isWord) {
		const text = decoded(await file.arrayBuffer(), kind !== 'txt');
		content = kind === 'txt' ? note.plainDocument(text) : note.importHtml(text, document);
		if (new Blob([JSON.stringify(content)]).size > documentLimitBytes) throw new Failure('size');
	}
	const warning = { docx: 'RemoteWordNotice', txt: '' }[kind] ?? 'RemoteHtmlNotice';
	if (confirm(t('ReplacePrompt') + (warning && `\n${t(warning)}`))) await replaceNote(file, content);
}

/** A file's text, in the encoding that it names itself, else UTF-8. @param {ArrayBuffer} bytes @param {boolean} isHtml */
function decoded(bytes, isHtml) {
	const [first, second] = new Uint8Array(bytes);
	let encoding = { 0xfffe: 'utf-16le', 0xfeff: 'utf-16be' }[(first << 8) | second];
	if (!encoding && isHtml) {
		const head = new TextDecoder('latin1').decode(bytes.slice(0, 1024));
		encoding = /<meta[^>]*charset\s*=\s*["']?([\w-]+)/i.exec(head)?.[1];
	}
	try {
		return new TextDecoder(encoding).decode(bytes);
	} catch {
		return new TextDecoder().decode(bytes);
	}
}

/** @param {File} file a Word file, unless there is content @param {WebDocument | null} content */
async function replaceNote(file, content) {
	const { scene, epoch } = client;
	const wasEditing = client.editing;
	const importing = new AbortController();
	client.importing = importing;
	stopScrolling();
	let isLeased = wasEditing;
	try {
		await client.finishing;
		updateControls();
		await save();
		if (isUnsaved()) await save();
		isLeased = client.editing;
		if (client.scene !== scene || client.epoch !== epoch || client.draftProblem || isUnsaved()) {
			throw new Failure('conflict');
		}
		const place = () => ({ scene, epoch, revision: client.revision });
		if (!isLeased) {
			await call('AcquireEdit', { ...place(), replace: true });
			isLeased = true;
		}
		const reply = content
			? await call('ReplaceDocument', { ...place(), document: content })
			: await upload(file, importing);
		replaced(reply, scene);
	} finally {
		client.importing = null;
		if (isLeased && !(wasEditing && client.editing && client.model?.editable)) {
			endEdit();
			releaseQuietly();
		}
		updateControls();
	}
}

/** @param {Reply} reply the new document @param {string} scene */
function replaced(reply, scene) {
	if (client.scene !== scene) return;
	const model = /** @type {any} */ (reply);
	dropRequest();
	Object.assign(client, { model, epoch: model.epoch, revision: model.revision, savedSequence: client.sequence });
	removeDraft(scene);
	clearNotice();
	show(model, false);
	if (reply.simplified === true) {
		showNotice('WordSimplified', { isLasting: true });
	}
}

/** @param {File} file @param {AbortController} abort */
async function upload(file, abort) {
	const timer = setTimeout(() => abort.abort(), uploadTimeoutMs);
	/** @type {Reply} */
	let reply;
	try {
		const response = await fetch('/import.docx', {
			method: 'POST',
			body: file,
			signal: abort.signal,
			headers: {
				'Content-Type': wordType,
				'X-QuillBay-Access': client.access,
				'X-QuillBay-Session': client.session,
				'X-QuillBay-Scene': client.scene,
				'X-QuillBay-Epoch': client.epoch,
				'X-QuillBay-Revision': String(client.revision),
			},
		});
		if (!response.ok) throw new Failure('upload');
		reply = await response.json();
	} catch {
		throw new Failure(abort.signal.aborted && client.remoteState?.locked ? 'locked' : 'upload');
	} finally {
		clearTimeout(timer);
	}
	if (reply.ok !== true) throw new Failure(String(reply.code));
	return reply;
}

/** @param {string} kind */
async function exportNote(kind) {
	await save();
	if (isUnsaved()) await save();
	if (client.draftProblem || !client.online) return;
	const { scene } = client;
	if (kind === 'txt') {
		const { text } = await call('ExportText', { scene });
		saveFile('QuillBay.txt', 'text/plain;charset=utf-8', String(text));
	} else {
		const { html } = await call('ExportHtml', { scene });
		saveFile('QuillBay.html', 'text/html;charset=utf-8', String(html));
	}
}

/** Hands a text to the user as a file. @param {string} name @param {string} type @param {string} text */
export function saveFile(name, type, text) {
	const link = document.createElement('a');
	link.href = URL.createObjectURL(new Blob([text], { type }));
	link.download = name;
	link.click();
	// The browser needs the address until it has read the file.
	setTimeout(() => URL.revokeObjectURL(link.href), 60_000);
}

export function listenForFiles() {
	button('import').addEventListener('click', () => input('file').click());
	input('file').addEventListener('change', () => {
		const file = input('file').files?.[0];
		if (file) attempt(() => importFile(file)).finally(() => (input('file').value = ''));
	});
	ui.exporting.addEventListener('change', () => {
		const kind = ui.exporting.value;
		ui.exporting.value = '';
		if (kind) attempt(() => exportNote(kind));
	});
}
