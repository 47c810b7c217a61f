// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A day with notes: writing, switching, leaving and coming back, the hotkeys.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { Studio } from './studio.mjs';

const note = (html, plain, format) => ({ html, plain, format });
const notes = {
	Welcome: note('<p>Good <b>evening</b></p><p>all</p>', 'Good evening\nall', /font-weight:[67]00/),
	Interview: note('<p>Ask <span style="color:#ff8800">twice</span></p>', 'Ask twice', /color:#ff8800/),
	Goodbye: note('<ul><li>Zoë 😀</li><li><i>Wave</i></li></ul>', 'Zoë 😀\nWave', /font-style:italic/),
};
const hotkeys = ['StartScroll', 'PauseScroll', 'ToggleScroll', 'Faster', 'Slower', 'Top', 'InsertTime', 'ToggleLock']
	.concat(['InsertMark', 'NextMark'])
	.map((name) => `QuillBay.${name}`);

let studio;
before(async () => {
	studio = await Studio.open(Object.keys(notes));
});
after(() => studio?.kill());

async function assertShown(scene) {
	const { plainText, html } = await studio.get('noteEditor', ['plainText', 'html']);
	assert.equal(plainText, notes[scene].plain);
	assert.match(html, notes[scene].format);
}

test('each scene keeps its formatted note', async () => {
	for (const [scene, { html, plain }] of Object.entries(notes)) {
		await studio.show(scene);
		await studio.paste({ html, text: plain });
		await studio.waitForSave();
	}
	for (const scene of Object.keys(notes)) {
		await studio.show(scene);
		await assertShown(scene);
		await studio.show('Scene');
		assert.equal(await studio.plain(), '');
	}
});

test('everything is there again after a restart, with the last keystroke before leaving', async () => {
	await studio.addScene('Late');
	await studio.show('Late');
	await studio.type('typed while leaving');
	assert.equal((await studio.stop()).status, 0);
	await studio.start();
	await studio.waitForScene('Late');
	assert.equal(await studio.plain(), 'typed while leaving');
	for (const scene of Object.keys(notes)) {
		await studio.show(scene);
		await assertShown(scene);
	}
	assert.ok(await studio.get('noteEditor', 'visible'), 'the dock is open as it was left');
});

test('a dock that was closed goes on', async () => {
	await studio.set('QuillBay', 'visible', false);
	await studio.show('Interview');
	await studio.set('QuillBay', 'visible', true);
	await assertShown('Interview');
});

test('the hotkeys are registered', async () => {
	const { hotkeys: registered } = await studio.call('GetHotkeyList');
	assert.deepEqual(registered.filter((name) => name.startsWith('QuillBay.')), hotkeys);
});
