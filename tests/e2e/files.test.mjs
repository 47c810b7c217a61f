// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Notes come from files and go to files.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, test } from 'node:test';
import { waitFor } from './host.mjs';
import { Studio, text } from './studio.mjs';

const word = path.join(import.meta.dirname, '../unit/data/libreoffice.docx');

let studio;
before(async () => {
	studio = await Studio.open([]);
});
after(() => studio?.kill());

const outside = (name) => path.join(studio.home, name);
const take = (file) => studio.chooseFile(file, 'importDocument', 'trigger');

test('files of each kind take the place of a note, and undo brings it back', async () => {
	const kinds = [
		['note.TXT', 'one\r\ntwo\rthree', 'one\ntwo\nthree'],
		['note.html', '<p>plain <b>bold</b></p>', 'plain bold'],
		['note', '<p>an <i>unnamed</i> kind</p>', 'an unnamed kind'],
	];
	for (const [name, content, imported] of kinds) {
		fs.writeFileSync(outside(name), content);
		await studio.clear();
		await studio.type('before');
		await take(outside(name));
		assert.equal(await studio.agree(), text('ReplacePrompt'));
		await studio.waitForNote(imported);
		await studio.key('Ctrl+Z');
		await studio.waitForNote('before');
	}
	fs.writeFileSync(outside('long.txt'), 'x'.repeat(10_001));
	await take(outside('long.txt'));
	await studio.waitForStatus('TextLimit');
	assert.equal(await studio.plain(), 'before');
});

test('an exported note comes back as it was', async () => {
	await studio.clear();
	await take(word);
	await waitFor('the import', async () => (await studio.plain()).length > 100);
	const html = await studio.get('noteEditor', 'html');
	for (const name of ['out.html', 'out.txt']) {
		await studio.chooseFile(outside(name), 'exportDocument', 'trigger');
		await waitFor('the file', () => fs.existsSync(outside(name)));
	}
	assert.equal(fs.readFileSync(outside('out.txt'), 'utf8'), await studio.plain());
	await studio.clear();
	await take(outside('out.html'));
	await waitFor('the import', async () => (await studio.plain()).length > 100);
	assert.equal(await studio.get('noteEditor', 'html'), html);
	assert.deepEqual(fs.readdirSync(studio.home).filter((name) => name.startsWith('out')).sort(), ['out.html', 'out.txt']);
});
