// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Nothing typed is lost: kills, full disks and folders that cannot be written.
//
// QUILLBAY_KILLS sets how often the host is killed amid typing.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { Studio, acrossCollections, plainText, readNote, sleep, text, waitFor } from './studio.mjs';

const kills = Number(process.env.QUILLBAY_KILLS ?? 6);
// An edit is written half a second later at most; the rest is for the write itself.
const saveDelayMs = 500;
const writeMs = 150;

/** Runs the host with its notes on a small disk of their own. */
function onSmallDisk({ notesFolder }) {
	fs.mkdirSync(notesFolder, { recursive: true });
	const mount = 'mount -t tmpfs -o size=64k,mode=755 tmpfs "$0" && exec "$@"';
	return ['unshare', '--user', '--map-root-user', '--mount', 'sh', '-c', mount, notesFolder];
}

function fillDisk(folder) {
	// It writes what fits.
	assert.throws(() => fs.writeFileSync(path.join(folder, '.filler'), Buffer.alloc(2 ** 20)), { code: 'ENOSPC' });
}

const freeDisk = (folder) => fs.rmSync(path.join(folder, '.filler'));

const savedText = (folder) => plainText(readNote(path.join(folder, 'One.json')).html);

async function assertSaveError(studio) {
	await waitFor('the failed save', async () => (await studio.status()).startsWith(text('NoteSaveFailed')));
	const line = await studio.get('saveError', ['visible', 'text']);
	assert.deepEqual(line, { visible: true, text: `! ${text('NoteSaveFailed')}` });
}

test('a host that is killed', async (t) => {
	const studio = await Studio.open(['Live']);
	t.after(() => studio.kill());
	await studio.show('Live');

	await t.test('has saved the first note of a new scene 600 ms after the last key', async () => {
		await studio.type('the very first words');
		await sleep(600);
		await studio.restart();
		await studio.waitForScene('Live');
		assert.equal(await studio.plain(), 'the very first words');
	});

	await t.test(`${kills} times amid typing leaves a whole note, with all but the last half second`, async () => {
		const file = await studio.noteFile('Live');
		let before = await studio.savedText('Live');
		for (let round = 0; round < kills; round++) {
			await studio.key('Ctrl+A');
			const words = [];
			const killAt = performance.now() + 300 + Math.random() * 3000;
			while (performance.now() < killAt) {
				const word = `w${round}.${words.length} `;
				await studio.type(word, 20);
				words.push({ word, typedAt: performance.now() });
				await sleep(Math.min(Math.random() * 900, Math.max(0, killAt - performance.now())));
			}
			const killedAt = performance.now();
			await studio.kill();

			const saved = plainText(readNote(file).html).trimEnd();
			const typed = words.map(({ word }) => word).join('');
			assert.ok(typed.startsWith(saved) || saved === before, `round ${round}: "${saved}" was never typed`);
			const isDue = ({ typedAt }) => killedAt - typedAt > saveDelayMs + writeMs;
			const due = words.filter(isDue).map(({ word }) => word).join('').trimEnd();
			assert.ok(saved.startsWith(due) || due === '', `round ${round}: "${saved}" is older than "${due}"`);
			before = saved;
			await studio.restart();
			await studio.waitForScene('Live');
			assert.equal((await studio.plain()).trimEnd(), saved);
		}
	});

	await t.test('makes a notes folder again that is gone', async () => {
		fs.rmSync(studio.notesFolder, { recursive: true });
		await studio.type('again');
		await waitFor('the note is saved', () => fs.existsSync(path.join(studio.notesFolder, 'Live.json')));
		await studio.waitForSave();
		assert.equal(await studio.savedText('Live'), await studio.plain());
	});
});

test('notes that cannot be written', async (t) => {
	const studio = await Studio.open(['One', 'Two'], { wrap: onSmallDisk });
	t.after(() => studio.kill());

	const breaks = [
		['the disk is full', fillDisk, freeDisk],
		['the folder may not be written', (folder) => fs.chmodSync(folder, 0o555), (folder) => fs.chmodSync(folder, 0o755)],
	];
	for (const [why, breakFolder, mendFolder] of breaks) {
		await t.test(`for ${why}, stay in the dock until they can`, async () => {
			const folder = studio.inside(studio.notesFolder);
			await studio.write('One', 'old');
			breakFolder(folder);
			await studio.type(', new');
			await assertSaveError(studio);
			await studio.call('SetCurrentProgramScene', { sceneName: 'Two' });
			await studio.type('er');
			await assertSaveError(studio);
			assert.deepEqual([await studio.get('sceneLabel', 'text'), await studio.plain()], ['One', 'old, newer']);
			assert.equal(savedText(folder), 'old', 'the old file is whole');
			mendFolder(folder);
			await waitFor('the scene on air', async () => (await studio.get('sceneLabel', 'text')) === 'Two');
			assert.equal(await studio.get('saveError', 'visible'), false);
			assert.equal(savedText(folder), 'old, newer');
		});
	}

	await t.test('for the disk is full, while scenes and collections are switched', async () => {
		await acrossCollections(['One', 'Two'], { wrap: onSmallDisk }, async (own) => {
			const folder = own.inside(own.notesFolder);
			await own.write('One', 'old');
			fillDisk(folder);
			await own.type(', new');
			await own.call('SetCurrentProgramScene', { sceneName: 'Two' });
			await assertSaveError(own);
			await own.call('CreateSceneCollection', { sceneCollectionName: 'Elsewhere' });
			await waitFor('the other collection', async () =>
				(await own.call('GetSceneCollectionList')).currentSceneCollectionName === 'Elsewhere');
			assert.equal(await own.plain(), 'old, new');
			assert.equal(savedText(folder), 'old');
			freeDisk(folder);
			await own.call('SetCurrentSceneCollection', { sceneCollectionName: 'Untitled' });
			await own.show('One');
			assert.equal(await own.plain(), 'old, new');
			assert.equal(savedText(folder), 'old, new');
		});
	});
});
