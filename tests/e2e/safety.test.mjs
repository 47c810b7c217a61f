// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Nothing typed is lost: kills, full disks and folders that cannot be written.
//
// QUILLBAY_KILLS sets how often the host is killed amid typing.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { waitFor } from './host.mjs';
import { Studio, plainText, readNote, text } from './studio.mjs';

const kills = Number(process.env.QUILLBAY_KILLS ?? 6);
// An edit is written when no key has come for half a second; the rest is for the write itself.
const saveDelayMs = 500;
const writeMs = 150;

describe('a host that is killed', () => {
	let studio;
	before(async () => {
		studio = await Studio.open(['Live']);
		await studio.show('Live');
	});
	after(() => studio?.kill());

	async function restart() {
		await studio.start();
		await studio.openDock();
		await studio.waitForScene('Live');
	}

	test('has saved the first note of a new scene 600 ms after the last key', async () => {
		await studio.type('the very first words');
		await sleep(600);
		await studio.kill();
		await restart();
		assert.equal(await studio.plain(), 'the very first words');
	});

	test(`${kills} times amid typing leaves a whole note, with all that was typed up to half a second's pause`, async () => {
		const file = await studio.noteFile('Live');
		let before = await studio.savedText('Live');
		for (let round = 0; round < kills; round++) {
			await studio.key('Ctrl+A');
			const words = [];
			const killAt = performance.now() + 300 + Math.random() * 3000;
			while (performance.now() < killAt) {
				const word = `w${round}.${words.length} `;
				const startedAt = performance.now();
				await studio.type(word, { pauseMs: 20 });
				words.push({ word, startedAt, typedAt: performance.now() });
				await sleep(Math.min(Math.random() * 900, Math.max(0, killAt - performance.now())));
			}
			const killedAt = performance.now();
			await studio.kill();

			const saved = plainText(readNote(file).html).trimEnd();
			const typed = words.map(({ word }) => word).join('');
			assert.ok(typed.startsWith(saved) || saved === before, `"${saved}" was never typed (round ${round})`);
			const pauses = words.map(({ typedAt }, index) => (words[index + 1]?.startedAt ?? killedAt) - typedAt);
			const paused = pauses.findLastIndex((ms) => ms > saveDelayMs + writeMs);
			const due = words.slice(0, paused + 1).map(({ word }) => word).join('').trimEnd();
			assert.ok(saved.startsWith(due) || due === '', `"${saved}" is older than "${due}" (round ${round})`);
			before = saved;
			await restart();
			assert.equal((await studio.plain()).trimEnd(), saved);
		}
	});
});

describe('notes that cannot be written', () => {
	let studio;
	before(async () => {
		// The notes lie on a small disk of their own.
		const wrap = ({ notesFolder }) => {
			fs.mkdirSync(notesFolder, { recursive: true });
			const mount = 'mount -t tmpfs -o size=64k,mode=755 tmpfs "$0" && exec "$@"';
			return ['unshare', '--user', '--map-root-user', '--mount', 'sh', '-c', mount, notesFolder];
		};
		studio = await Studio.open(['One', 'Two'], { wrap });
	});
	after(() => studio?.kill());

	const folder = () => studio.inside(studio.notesFolder);
	const readSaved = (name) => plainText(readNote(path.join(folder(), name)).html);
	const shows = async (scene) => (await studio.get('sceneLabel', 'text')) === scene;

	function fillDisk() {
		const filler = fs.openSync(path.join(folder(), '.filler'), 'w');
		try {
			for (;;) {
				fs.writeSync(filler, Buffer.alloc(4096));
			}
		} catch (error) {
			assert.equal(error.code, 'ENOSPC');
		} finally {
			fs.closeSync(filler);
		}
	}

	async function assertSaveError() {
		const failed = async () => (await studio.status()).startsWith(text('NoteSaveFailed'));
		await waitFor('the failed save', failed);
		assert.ok(await studio.get('saveError', 'visible'));
		const line = await studio.get('saveError', ['text', 'toolTip', 'accessibleName']);
		assert.equal(line.text, `! ${text('NoteSaveFailed')}`);
		assert.notEqual(line.toolTip, '');
		assert.equal(line.accessibleName, `${text('NoteSaveFailed')} ${line.toolTip}`);
		assert.equal(await studio.status(), line.accessibleName);
	}

	/** An edit that cannot be saved stays in the dock, whatever scene is chosen, until it can. */
	async function assertKept(scene, other, breakIt, mendIt) {
		await studio.show(scene);
		await studio.key('Ctrl+A');
		await studio.type('old');
		await studio.waitForSave();
		breakIt();
		await studio.type(', new');
		await assertSaveError();
		await studio.call('SetCurrentProgramScene', { sceneName: other });
		await sleep(300);
		assert.ok(await shows(scene), 'the dock stays with the edit');
		assert.equal(await studio.plain(), 'old, new');
		await studio.type('er');
		await assertSaveError();
		mendIt();
		await studio.type('!');
		await studio.waitForSave();
		assert.equal(await studio.get('saveError', 'visible'), false);
		assert.equal(readSaved(`${scene}.json`), 'old, newer!');
		await studio.call('SetCurrentProgramScene', { sceneName: scene });
	}

	test('a full disk', async () => {
		await assertKept('One', 'Two', fillDisk, () => fs.rmSync(path.join(folder(), '.filler')));
		await studio.show('Two');
		await studio.show('One');
		assert.equal(await studio.plain(), 'old, newer!');
	});

	test('a full disk when the switch itself must save, and when the collection goes', async () => {
		await studio.show('One');
		await studio.key('Ctrl+A');
		fillDisk();
		await studio.type('kept through it all');
		await studio.call('SetCurrentProgramScene', { sceneName: 'Two' });
		await assertSaveError();
		assert.equal(readSaved('One.json'), 'old, newer!', 'the old file is whole');
		await studio.call('CreateSceneCollection', { sceneCollectionName: 'Elsewhere' });
		await sleep(500);
		assert.equal(await studio.plain(), 'kept through it all');
		fs.rmSync(path.join(folder(), '.filler'));
		await studio.call('SetCurrentSceneCollection', { sceneCollectionName: 'Untitled' });
		await studio.show('One');
		assert.equal(await studio.plain(), 'kept through it all');
		assert.equal(readSaved('One.json'), 'kept through it all');
		await studio.show('Two');
		assert.equal(await studio.plain(), '');
	});

	test('a folder that may not be written', async () => {
		await assertKept('One', 'Two', () => fs.chmodSync(folder(), 0o555), () => fs.chmodSync(folder(), 0o755));
	});
});

describe('a notes folder that is not there', () => {
	let studio;
	before(async () => {
		studio = await Studio.open(['One', 'Two']);
		await studio.show('One');
		await studio.type('one');
		await studio.waitForSave();
	});
	after(() => studio?.kill());

	test('is made again', async () => {
		fs.rmSync(studio.notesFolder, { recursive: true });
		await studio.type(', again');
		await waitFor('the note is saved', () => fs.existsSync(path.join(studio.notesFolder, 'One.json')));
		await studio.waitForSave();
		assert.equal(await studio.savedText('One'), 'one, again');
	});

	test('is reported while a file is in its place', async () => {
		const away = `${studio.notesFolder}-away`;
		fs.renameSync(studio.notesFolder, away);
		fs.writeFileSync(studio.notesFolder, 'in the way');
		await studio.type('!');
		await waitFor('the save error', () => studio.get('saveError', 'visible'));
		await studio.call('SetCurrentProgramScene', { sceneName: 'Two' });
		assert.equal(fs.readFileSync(studio.notesFolder, 'utf8'), 'in the way');
		assert.equal(await studio.plain(), 'one, again!');
		fs.rmSync(studio.notesFolder);
		fs.renameSync(away, studio.notesFolder);
		await studio.show('Scene');
		assert.equal(await studio.savedText('One'), 'one, again!');
	});
});
