// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The HTTP server in the real host: what a browser gets, and what clients of bad faith cannot do.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import fs from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import { after, before, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { freePort, waitFor } from './host.mjs';
import { Studio } from './studio.mjs';

const longestStallMs = 50;
const access = '0123456789-_abcdefABCD';
const wordType = 'application/vnd.openxmlformats-officedocument.wordprocessingml.document';
// One paragraph: "From Word".
const wordFile = Buffer.from(
	'UEsDBBQAAAAIAAAAIQDvvq4ldwAAAJsAAAARAAAAd29yZC9kb2N1bWVudC54bWxFzj0KwzAMBeCrhBygCh06GNdjr9DZtZ0fiCQju7i9fa10yP' +
		'KJx+OBbDORwxsT1eGDOxXT7uNaazYAJawJfblwTtS7mQV97VEWaCwxC4dUykYL7nCdphug32h0tpkXx6/erIhS3UMYh2ffWdCoymE+/E/gfMf9' +
		'AFBLAQIUAxQAAAAIAAAAIQDvvq4ldwAAAJsAAAARAAAAAAAAAAAAAACAAQAAAAB3b3JkL2RvY3VtZW50LnhtbFBLBQYAAAAAAQABAD8AAACmAA' +
		'AAAAA=',
	'base64',
);
let studio;
let port;
let temporary;

before(async () => {
	port = await freePort();
	studio = new Studio();
	temporary = path.join(studio.home, 'run');
	studio.env = { TMPDIR: temporary };
	fs.mkdirSync(studio.settingsFolder, { recursive: true });
	const settings = ['[remote]', 'enabled=true', 'address=127.0.0.1', `port=${port}`, `access=${access}`];
	fs.writeFileSync(path.join(studio.settingsFolder, 'settings.ini'), settings.join('\n'));
	await studio.start();
	await studio.openDock();
	await studio.addScene('Show');
	await studio.show('Show');
});
after(() => studio?.kill());

/** A request to the vendor. */
async function ask(payload) {
	const { responseData } = await studio.call('CallVendorRequest', {
		vendorName: 'QuillBay',
		requestType: 'Request',
		requestData: { payload: JSON.stringify({ access, ...payload }) },
	});
	return JSON.parse(responseData.payload);
}

/** Opens a session that may replace the note on air. Answers the headers of an upload. */
async function openUpload() {
	const { session, activeScene: scene, epoch } = await ask({ action: 'Open', name: 'Phone' });
	const { revision = 0 } = await ask({ action: 'GetDocument', session, scene });
	const lease = { action: 'AcquireEdit', session, scene, epoch, revision, replace: true };
	await waitFor('the lease is free', async () => (await ask(lease)).ok, 20_000);
	return {
		'Content-Type': wordType,
		'X-QuillBay-Access': access,
		'X-QuillBay-Session': session,
		'X-QuillBay-Scene': scene,
		'X-QuillBay-Epoch': epoch,
		'X-QuillBay-Revision': String(revision),
	};
}

async function upload(headers, body) {
	const response = await fetch(`http://127.0.0.1:${port}/import.docx`, { method: 'POST', headers, body });
	return response.json();
}

function uploadFolders() {
	return fs.readdirSync(temporary).filter((name) => name.startsWith('quillbay-upload-'));
}

/** A connection whose errors are its own affair. */
function connect(bytes = '') {
	const socket = net.connect(port, '127.0.0.1').on('error', () => {});
	socket.write(bytes);
	return socket;
}

test('a browser learns where the host listens and sends a Word document', async () => {
	const config = await (await fetch(`http://127.0.0.1:${port}/config.json`)).json();
	const file = path.join(studio.config, 'plugin_config/obs-websocket/config.json');
	assert.equal(config.port, JSON.parse(fs.readFileSync(file)).server_port);
	const headers = await openUpload();
	const reply = await upload(headers, wordFile);
	assert.ok(reply.ok && !reply.simplified, reply.code);
	assert.equal(await studio.plain(), 'From Word');
	// The answer arrives although the body is never read.
	assert.deepEqual(await upload(headers, Buffer.alloc(5_242_880)), { ok: false, code: 'conflict' });
	assert.deepEqual(await upload(headers, Buffer.alloc(5_242_881)), { ok: false, code: 'size' });
	const sender = connect('POST / HTTP/1.1\r\n\r\n').resume();
	sender.write(Buffer.alloc(5_000_000));
	assert.deepEqual(await once(sender, 'close'), [false], 'nobody is cut off while sending');
	await ask({ action: 'ReleaseEdit', session: headers['X-QuillBay-Session'] });
	assert.deepEqual(uploadFolders(), []);
});

const bad = {
	'a flood of connections': async () => {
		for (let round = 0; round < 20; round++) {
			const sockets = Array.from({ length: 100 }, () => connect('GET / HTTP/1.1\r\n\r\n'));
			await sleep(20);
			sockets.forEach((socket) => (round % 2 ? socket.destroy() : socket.resetAndDestroy()));
		}
	},
	'clients that send without end': async () => {
		const heads = ['', 'POST / HTTP/1.1\r\n\r\n', 'GET / HTTP/1.1\r\n\r\n'];
		const sockets = heads.flatMap((head) => Array.from({ length: 5 }, () => connect(head)));
		for (let round = 0; round < 200; round++) {
			sockets.filter((socket) => !socket.destroyed).forEach((socket) => socket.write(Buffer.alloc(65_536, 'x')));
			await sleep(5);
		}
		sockets.forEach((socket) => socket.destroy());
	},
};
for (const [name, work] of Object.entries(bad)) {
	test(`the window keeps moving under ${name}`, async () => {
		const stallsMs = [];
		do {
			stallsMs.push(await studio.longestStall(work));
		} while (stallsMs.length < 3 && Math.min(...stallsMs) >= longestStallMs);
		assert.ok(Math.min(...stallsMs) < longestStallMs, `the window stood still for ${stallsMs} ms`);
		const answers = async () => (await fetch(`http://127.0.0.1:${port}/`).catch(() => ({}))).status === 200;
		await waitFor('the page is served again', answers);
	});
}

test('the host ends in good order during an upload', async () => {
	const headers = Object.entries({ ...(await openUpload()), 'Content-Length': wordFile.length });
	const lines = headers.map(([name, value]) => `${name}: ${value}\r\n`).join('');
	const socket = connect(`POST /import.docx HTTP/1.1\r\n${lines}\r\nP`);
	await waitFor('the upload has begun', () => uploadFolders().length === 1);
	const closed = once(socket, 'close');
	assert.equal((await studio.stop()).status, 0);
	await closed;
	assert.deepEqual(uploadFolders(), []);
});
