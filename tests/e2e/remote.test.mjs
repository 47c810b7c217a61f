// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Browsers, the dock's user and the host itself at the same notes at the same time.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { waitFor } from './host.mjs';
import { Client, openRemoteStudio } from './remote_client.mjs';
import { text } from './studio.mjs';

const rounds = Number(process.env.QUILLBAY_ROUNDS ?? 200);

let studio;
let scene;
let phones;
let silent;
let silentSince;
before(async () => {
	studio = await openRemoteStudio(['One', 'Two']);
	await studio.show('One');
	({ uuid: scene } = await studio.sceneInfo('One'));
	phones = await Promise.all(['A', 'B', 'C'].map((name) => Client.open(studio, name)));
	silent = await Client.open(studio, 'silent');
	silentSince = performance.now();
});
after(() => studio?.kill());

/** Fails unless the note holds each of the words once. */
async function assertNothingLost(words, note = scene) {
	const { text: all } = await phones[0].ask('ExportText', { scene: note });
	const found = new Map();
	for (const word of all.split(/\s+/)) {
		found.set(word, (found.get(word) ?? 0) + 1);
	}
	assert.deepEqual(words.filter((word) => found.get(word) !== 1), []);
}

test('of those who race for a note exactly one gets it, and no update is lost', async () => {
	const words = [];
	let last = 0;
	for (let round = 0; round < rounds; round++) {
		const seen = await phones[0].ask('GetDocument', { scene });
		const { epoch, revision } = seen;
		const replies = await Promise.all(phones.map((phone) => phone.ask('AcquireEdit', { scene, epoch, revision })));
		const winners = replies.flatMap((reply, i) => (reply.ok ? [i] : []));
		assert.equal(winners.length, 1);
		assert.ok(replies.every(({ ok, code }) => ok || code === 'busy'));
		const [winner] = winners;
		const word = `r${round}`;
		const saves = await Promise.all(phones.map((phone) => phone.prepend(replies[winner], word)));
		assert.deepEqual(saves.map(({ ok, code }) => (ok ? 'ok' : code)).filter((code) => code === 'ok').length, 1);
		words.push(word);
		assert.ok(saves[winner].revision > last);
		last = saves[winner].revision;
		await phones[winner].ask('ReleaseEdit');
	}
	await assertNothingLost(words);
});

test('typing in the dock, locking and several phones lose nothing', async () => {
	const words = [];
	const codes = new Map();
	const end = performance.now() + 8000;
	const usePhone = async (phone, name) => {
		let count = 0;
		while (performance.now() < end) {
			let note = await phone.acquire(scene);
			for (let i = 0; i < 5 && note.ok; i++) {
				const word = `${name}${count++}`;
				note = await phone.prepend(note, word);
				if (note.ok) {
					words.push(word);
				}
			}
			codes.set(note.code, (codes.get(note.code) ?? 0) + 1);
			await phone.ask('ReleaseEdit');
			await sleep(20);
		}
	};
	const useDock = async () => {
		for (let count = 0; performance.now() < end; count++) {
			await sleep(900);
			await studio.invoke('Read', 'trigger'); // Takes the note back, or locks it.
			if (!(await studio.get('noteEditor', 'readOnly'))) {
				const word = `d${count}`;
				await studio.ask('caret', { object: 'noteEditor', position: 0 });
				// A phone may have taken the note just before the first key; once that is in, none can.
				await studio.type(' ');
				if (!(await studio.plain()).startsWith(' ')) {
					continue;
				}
				await studio.ask('caret', { object: 'noteEditor', position: 0 });
				await studio.type(`${word} `, { pauseMs: 5 });
				words.push(word);
				await sleep(2300);
			}
		}
	};
	await Promise.all([usePhone(phones[0], 'a'), usePhone(phones[1], 'b'), usePhone(phones[2], 'c'), useDock()]);
	if (await studio.get('noteEditor', 'readOnly')) {
		await studio.invoke('Read', 'trigger');
	}
	assert.ok(words.some((word) => word.startsWith('d')) && words.some((word) => word.startsWith('a')));
	assert.ok([...codes.keys()].every((code) => [undefined, 'busy', 'conflict', 'lease', 'locked'].includes(code)), [...codes]);
	await waitFor('the note is saved', async () => (await studio.plain()) === (await studio.savedText('One')));
	await assertNothingLost(words);
});

test('a phone that falls silent gives the note back', async () => {
	await waitFor('the note is free', async () => (await phones[0].acquire(scene)).ok);
	const from = performance.now();
	assert.equal(await studio.get('noteEditor', 'toolTip'), text('RemoteEditing'));
	await sleep(14_000);
	assert.equal((await phones[1].acquire(scene)).code, 'busy');
	await waitFor('the note is free', async () => (await phones[1].acquire(scene)).ok, 4000);
	assert.ok(performance.now() - from > 15_000);
	await phones[1].ask('ReleaseEdit');
	assert.equal(await studio.get('noteEditor', 'toolTip'), '');
});

test('a session silent for a minute is gone', async () => {
	await sleep(Math.max(silentSince + 61_500 - performance.now(), 0));
	assert.equal((await silent.ask('KeepAlive')).code, 'session');
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
	await assertNothingLost(words.ok);
	const { text: all } = await phone.ask('ExportText', { scene });
	assert.ok(![...words.loading, ...words.conflict].some((word) => all.split(/\s+/).includes(word)));
});

test('the host ends at once, whatever is under way', async () => {
	let isOver = false;
	const hammer = async (phone) => {
		while (!isOver) {
			await phone.ask('GetState').catch(() => (isOver = true));
		}
	};
	[...phones, ...phones, ...phones].forEach(hammer);
	await sleep(500);
	const from = performance.now();
	const { status, leaks } = await studio.stop();
	isOver = true;
	assert.equal(status, 0);
	assert.ok(performance.now() - from < 8000);
	assert.ok(leaks <= 4, `${leaks} leaks`);
});
