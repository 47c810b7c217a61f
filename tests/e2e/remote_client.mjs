// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Browsers of the remote service, without the browser.

import OBSWebSocket from 'obs-websocket-js/json';
import { Studio, freePort } from './studio.mjs';

export * from './studio.mjs';

/** A studio that serves remote devices over loopback, with the first of the scenes on air. */
export async function openRemoteStudio(scenes, options) {
	const [access, port] = ['0123456789-_abcdefABCD', await freePort()];
	const settings = ['[remote]', 'enabled=true', 'address=127.0.0.1', `port=${port}`, `access=${access}`];
	const studio = await Studio.open(scenes, { settings, ...options });
	await studio.show(scenes[0]);
	return Object.assign(studio, { access, port, page: `http://127.0.0.1:${port}/#${access}` });
}

export class Client {
	socket = new OBSWebSocket();

	/** A connection of its own with an open session. */
	static async open(studio, name) {
		const client = new Client();
		client.access = studio.access;
		await client.socket.connect(studio.socketUrl, studio.password);
		({ session: client.session } = await client.ask('Open', { name }));
		return client;
	}

	/** The reply to an action. */
	async ask(action, fields = {}) {
		const payload = { access: this.access, session: this.session, action, ...fields };
		const requestData = { payload: JSON.stringify(payload) };
		const request = { vendorName: 'QuillBay', requestType: 'Request', requestData };
		// While it switches scene collections the host itself refuses most requests.
		const refused = (error) => (error.code === 207 ? { ok: false, code: 'loading' } : Promise.reject(error));
		const answered = ({ responseData }) => JSON.parse(responseData.payload);
		return this.socket.call('CallVendorRequest', request).then(answered, refused);
	}

	/** Takes the note as it is now, if nobody else has it; `replace` is for an upload. */
	async acquire(scene, replace = false) {
		const { epoch, revision, ...seen } = await this.ask('GetDocument', { scene });
		const lease = { scene, epoch, revision, replace };
		return seen.ok ? { ...lease, ...(await this.ask('AcquireEdit', lease)) } : seen;
	}

	/** Saves the note that `acquire` or an earlier save has answered, with `word` before its text. */
	async prepend(note, word) {
		const [first, ...rest] = note.blocks;
		const look = { weight: 400, size: 0, text: '', ...first.runs[0] };
		const runs = [{ ...look, text: `${word} ${look.text}` }, ...first.runs.slice(1)];
		const document = { blocks: [{ ...first, runs }, ...rest] };
		const { scene, epoch, revision } = note;
		const reply = await this.ask('SaveDocument', { scene, epoch, revision, document });
		return reply.ok ? { ...note, ...document, revision: reply.revision } : reply;
	}
}
