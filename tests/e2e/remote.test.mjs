// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Browsers, the dock's user and the host itself at the same notes at the same time.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import fs from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import { after, test } from 'node:test';
import { Client, openRemoteStudio, sleep, text, waitFor } from './remote_client.mjs';

const studio = await openRemoteStudio(['One', 'Two']);
after(() => studio.kill());
const { uuid: scene } = await studio.sceneInfo('One');
const phones = await Promise.all(['A', 'B', 'C'].map((name) => Client.open(studio, name)));
const silent = await Client.open(studio, 'silent');
const silentSince = performance.now();

/** Fails unless the note holds each of the words once, and none of those refused. */
async function assertNothingLost(words, refused = []) {
	const { text: all } = await phones[0].ask('ExportText', { scene });
	const count = (word) => all.split(/\s+/).filter((found) => found === word).length;
	assert.deepEqual(words.filter((word) => count(word) !== 1), []);
	assert.deepEqual(refused.filter((word) => count(word) !== 0), []);
}

/** A connection to the service, whose errors are its own affair. */
function connect(bytes = '') {
	const socket = net.connect(studio.port, '127.0.0.1').on('error', () => {});
	socket.write(bytes);
	return socket;
}

/** What begins an upload to a note that the phone has acquired. */
function uploadHead(phone, note, length) {
	const type = 'application/vnd.openxmlformats-officedocument.wordprocessingml.document';
	const own = { access: phone.access, session: phone.session, scene: note.scene, epoch: note.epoch, revision: note.revision };
	const lines = Object.entries(own).map(([name, value]) => `X-QuillBay-${name}: ${value}\r\n`);
	const head = `POST /import.docx HTTP/1.1\r\nContent-Type: ${type}\r\nContent-Length: ${length}\r\n`;
	return `${head}${lines.join('')}\r\n`;
}

test('a phone that falls silent gives the note back', async () => {
	let from;
	await waitFor('the note is free', async () => {
		from = performance.now();
		return (await phones[0].acquire(scene)).ok;
	});
	assert.equal(await studio.get('noteEditor', 'toolTip'), text('RemoteEditing'));
	await sleep(14_000);
	assert.equal((await phones[1].acquire(scene)).code, 'busy');
	await waitFor('the note is free', async () => (await phones[1].acquire(scene)).ok, 4000);
	assert.ok(performance.now() - from > 15_000);
	await phones[1].ask('ReleaseEdit');
	assert.equal(await studio.get('noteEditor', 'toolTip'), '');
});

test('another scene collection ends what was begun', async () => {
	const [phone] = phones;
	let note = await phone.acquire(scene);
	const words = { ok: [], loading: [], conflict: [] };
	const save = async () => {
		const word = `s${Object.values(words).flat().length}`;
		const reply = await phone.prepend(note, word);
		words[reply.ok ? 'ok' : reply.code].push(word);
		note = reply.ok ? reply : note;
	};
	const switching = studio.call('CreateSceneCollection', { sceneCollectionName: 'Other' });
	for (let isOver = false; !isOver; isOver = await Promise.race([switching.then(() => true), sleep(1, false)])) {
		await save();
	}
	await waitFor('the new collection', async () => (await phone.ask('GetState')).scenes?.length === 1);
	await save();
	assert.ok(words.conflict.length > 0);
	await studio.call('SetCurrentSceneCollection', { sceneCollectionName: 'Untitled' });
	await waitFor('the note is back', async () => (await phone.acquire(scene)).ok);
	await assertNothingLost(words.ok, [...words.loading, ...words.conflict]);
});

test('the window keeps moving while clients send without end', async () => {
	await studio.assertQuick('sending', 50, async () => {
		const heads = ['', 'POST / HTTP/1.1\r\n\r\n', 'GET / HTTP/1.1\r\n\r\n'];
		const sockets = heads.flatMap((head) => Array.from({ length: 5 }, () => connect(head)));
		for (let round = 0; round < 200; round++) {
			sockets.filter((socket) => !socket.destroyed).forEach((socket) => socket.write(Buffer.alloc(65_536, 'x')));
			await sleep(5);
		}
		sockets.forEach((socket) => socket.destroy());
	});
	const answers = async () => (await fetch(studio.page).catch(() => ({}))).status === 200;
	await waitFor('the page is served again', answers);
	const sender = connect('POST / HTTP/1.1\r\n\r\n').resume();
	sender.write(Buffer.alloc(5_000_000));
	assert.deepEqual(await once(sender, 'close'), [false], 'nobody is cut off while sending');
});

test('a session silent for a minute is gone', async () => {
	await sleep(Math.max(silentSince + 61_500 - performance.now(), 0));
	assert.equal((await silent.ask('KeepAlive')).code, 'session');
});

test('the host ends at once, whatever is under way', async () => {
	await Promise.all(phones.map((phone) => phone.ask('ReleaseEdit')));
	const note = await phones[0].acquire(scene, true);
	assert.equal(note.code, undefined);
	const upload = connect(uploadHead(phones[0], note, 5_000_000) + 'P');
	const uploads = () => fs.readdirSync(path.join(studio.home, 'run')).filter((name) => name.startsWith('quillbay-upload-'));
	await waitFor('the upload has begun', () => uploads().length === 1);
	let isOver = false;
	const hammer = async (phone) => {
		while (!isOver) {
			await phone.ask('GetState').catch(() => (isOver = true));
		}
	};
	[...phones, ...phones, ...phones].forEach(hammer);
	await sleep(500);
	const from = performance.now();
	const closed = once(upload, 'close');
	const { status, leaks } = await studio.stop();
	isOver = true;
	await closed;
	assert.deepEqual([status, uploads()], [0, []]);
	assert.ok(performance.now() - from < 8000);
	assert.ok(leaks <= 4, `${leaks} leaks`);
});
