// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Browsers of the remote service, without the browser.

import fs from 'node:fs';
import path from 'node:path';
import OBSWebSocket from 'obs-websocket-js/json';
import { waitFor } from './host.mjs';
import { Studio } from './studio.mjs';

/** A studio that serves remote devices over loopback on a free port. */
export async function openRemoteStudio(scenes, options) {
	const studio = new Studio(options);
	fs.mkdirSync(studio.settingsFolder, { recursive: true });
	const settings = path.join(studio.settingsFolder, 'settings.ini');
	fs.writeFileSync(settings, '[remote]\nenabled=true\naddress=127.0.0.1\nport=0\n');
	await studio.start();
	await studio.openDock();
	for (const scene of scenes) {
		await studio.addScene(scene);
	}
	const find = () => /^access=(.{22})$/m.exec(fs.readFileSync(settings, 'utf8'))?.[1];
	studio.access = await waitFor('the service has a token', find);
	return studio;
}

export class Client {
	events = [];
	#socket = new OBSWebSocket();

	/** A connection of its own with an open session. */
	static async open(studio, name) {
		const client = new Client();
		client.access = studio.access;
		await client.#socket.connect(studio.socketUrl, studio.password);
		client.#socket.on('VendorEvent', ({ vendorName, eventType, eventData }) => {
			if (vendorName === 'QuillBay') {
				client.events.push({ type: eventType, ...JSON.parse(eventData.payload) });
			}
		});
		({ session: client.session } = await client.ask('Open', { name }));
		return client;
	}

	/** The reply to an action. */
	async ask(action, fields = {}) {
		return this.send({ access: this.access, session: this.session, action, ...fields });
	}

	async send(payload) {
		const requestData = { payload: JSON.stringify(payload) };
		const request = { vendorName: 'QuillBay', requestType: 'Request', requestData };
		try {
			const { responseData } = await this.#socket.call('CallVendorRequest', request);
			return JSON.parse(responseData.payload);
		} catch (error) {
			// While it switches scene collections the host itself refuses most requests.
			if (error.code === 207) {
				return { ok: false, code: 'loading' };
			}
			throw error;
		}
	}

	/** The round trip of obs-websocket's own smallest request. */
	async getVersion() {
		return this.#socket.call('GetVersion');
	}

	/** Takes the note as it is now, if nobody else has it. */
	async acquire(scene) {
		const { epoch, revision, ...seen } = await this.ask('GetDocument', { scene });
		return seen.ok ? this.ask('AcquireEdit', { scene, epoch, revision }) : seen;
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

	async close() {
		await this.#socket.disconnect();
	}
}
