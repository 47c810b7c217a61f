// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Notes come from files and go to files.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, before, describe, test } from 'node:test';
import { waitFor } from './host.mjs';
import { Studio, text } from './studio.mjs';

const word = path.join(import.meta.dirname, '../unit/data/libreoffice.docx');

describe('a note and files', () => {
	let studio;
	before(async () => {
		studio = await Studio.open(['Words']);
		for (const [name, content] of [
			['note.TXT', 'one\r\ntwo\rthree'],
			['note.html', '<p>plain <b>bold</b></p>'],
			['note', '<p>an <i>unnamed</i> kind</p>'],
			['long.txt', 'x'.repeat(10_001)],
		]) {
			fs.writeFileSync(path.join(studio.home, name), content);
		}
	});
	after(() => studio?.kill());

	async function choose(button, file) {
		await studio.invoke(button, 'trigger');
		await waitFor('the file dialog', () => studio.ask('exists', { object: '@modal fileNameEdit' }));
		await studio.set('@modal fileNameEdit', 'text', file);
		await studio.invoke('@modal', 'accept');
	}

	/** Imports a file, answering the question that a note with text asks. */
	async function take(file, isAsked) {
		await choose('importDocument', path.resolve(studio.home, file));
		if (isAsked) {
			await waitFor('the question', () => studio.ask('exists', { object: '@modal qt_msgbox_label' }));
			assert.equal(await studio.get('@modal', 'text'), text('ReplacePrompt'));
			await studio.invoke('@modal .QPushButton', 'click');
		}
		await waitFor('no dialog', async () => !(await studio.ask('exists', { object: '@modal' })));
	}

	async function empty() {
		await studio.key('Ctrl+A');
		await studio.key('Delete');
		await waitFor('an empty note', async () => (await studio.plain()) === '');
	}

	test('files of each kind take the place of a note, and undo brings it back', async () => {
		const kinds = [
			['note.TXT', 'one\ntwo\nthree'],
			['note.html', 'plain bold'],
			['note', 'an unnamed kind'],
			[word, null],
		];
		for (const [file, wanted] of kinds) {
			await empty();
			await take(file, false);
			const imported = await studio.plain();
			assert.ok(wanted === null ? imported.length > 100 : imported === wanted, imported);
			await empty();
			await studio.type('before');
			await take(file, true);
			assert.equal(await studio.plain(), imported);
			await studio.key('Ctrl+Z');
			await waitFor('the note before', async () => (await studio.plain()) === 'before');
		}
		await take('long.txt', false);
		assert.equal(await studio.status(), text('TextLimit'));
		assert.equal(await studio.plain(), 'before');
	});

	test('an exported note comes back as it was', async () => {
		await empty();
		await take(word, false);
		const html = await studio.get('noteEditor', 'html');
		await choose('exportDocument', path.join(studio.home, 'out.html'));
		await waitFor('the export', async () => (await studio.status()) === text('Exported'));
		await choose('exportDocument', path.join(studio.home, 'out.txt'));
		await waitFor('the file', () => fs.existsSync(path.join(studio.home, 'out.txt')));
		assert.equal(fs.readFileSync(path.join(studio.home, 'out.txt'), 'utf8'), await studio.plain());
		await empty();
		await take('out.html', false);
		assert.equal(await studio.get('noteEditor', 'html'), html);
		assert.deepEqual(fs.readdirSync(studio.home).filter((file) => file.startsWith('out')).sort(), ['out.html', 'out.txt']);
	});
});
