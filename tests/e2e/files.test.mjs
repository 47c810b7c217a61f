// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Notes come from files and go to files, one or all in a backup, also when the host is killed meanwhile.
//
// QUILLBAY_KILLS sets how often.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { after, test } from 'node:test';
import { Studio, sleep, text, waitFor } from './studio.mjs';

const word = path.join(import.meta.dirname, '../unit/data/libreoffice.docx');

const kills = Number(process.env.QUILLBAY_KILLS ?? 6);
const dock = '.quillbay::Dock';
const scenes = Array.from({ length: 20 }, (_, i) => `Scene ${i}`);

const studio = await Studio.open(scenes);
after(() => studio.kill());

const outside = (name) => path.join(studio.home, name);
const take = (file) => studio.chooseFile(file, 'importDocument', 'trigger');

test('an exported note comes back as it was', async () => {
	await studio.clear();
	await take(word);
	await waitFor('the import', async () => (await studio.plain()).length > 100);
	const html = await studio.get('noteEditor', 'html');
	await studio.chooseFile(outside('out.html'), 'exportDocument', 'trigger');
	await waitFor('the file', () => fs.existsSync(outside('out.html')));
	await studio.clear();
	await take(outside('out.html'));
	await waitFor('the import', async () => (await studio.plain()).length > 100);
	assert.equal(await studio.get('noteEditor', 'html'), html);
});

const backUp = () => studio.chooseFile(outside('all.zip'), dock, 'backup', true);

async function restore() {
	await studio.chooseFile(outside('all.zip'), dock, 'restoreBackup');
	return studio.agree();
}

async function restart() {
	await studio.restart();
	await studio.show(scenes[0]);
}

function notes() {
	const files = fs.readdirSync(studio.notesFolder).filter((file) => file.endsWith('.json'));
	return new Map(files.sort().map((file) => [file, fs.readFileSync(path.join(studio.notesFolder, file), 'utf8')]));
}

test('notes come back as they were', async () => {
	for (const scene of scenes) {
		await studio.plant(scene, `<p>first of ${scene}</p>${'<!-- first -->'.repeat(20_000)}`);
	}
	const before = notes();
	await studio.show(scenes[0]);
	await backUp();
	await studio.waitForStatus('BackupSaved');
	fs.rmSync(studio.notesFolder, { recursive: true });
	await restart();
	const stall = await studio.longestStall(async () => {
		assert.equal(await restore(), text('RestorePrompt').replace('%1', before.size).replace('%2', 0));
		await studio.waitForStatus('RestoreResult', before.size, 0);
	});
	assert.ok(stall < 500, `the window stood still for ${stall} ms`);
	assert.deepEqual(notes(), before);
	assert.equal(await studio.plain(), 'first of Scene 0');
});

test(`the archive and the notes are whole, old or new, after each of ${kills} kills`, async () => {
	for (let round = 0; round < kills; round++) {
		fs.rmSync(outside('all.zip'), { force: true });
		await backUp();
		await sleep(Math.random() * 150);
		await restart();
		if (fs.existsSync(outside('all.zip'))) {
			execFileSync('unzip', ['-tqq', outside('all.zip')]);
		}
	}
	fs.rmSync(outside('all.zip'), { force: true });
	await backUp();
	await waitFor('the backup', () => fs.existsSync(outside('all.zip')));
	const saved = [...notes()];
	for (let round = 0; round < kills; round++) {
		const edited = saved.map(([file, note]) => [file, note.replaceAll('first', 'other')]);
		edited.forEach(([file, note]) => fs.writeFileSync(path.join(studio.notesFolder, file), note));
		await studio.waitForNoDialog();
		await restore();
		await sleep(Math.random() * 100);
		await studio.kill();
		const found = notes();
		assert.equal(found.size, saved.length);
		saved.forEach(([file, note], i) => assert.ok([note, edited[i][1]].includes(found.get(file)), file));
		await restart();
	}
});
