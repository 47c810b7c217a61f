// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A day with notes: writing, switching, leaving and coming back, the hotkeys.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { waitFor } from './host.mjs';
import { Studio, scrollBar, text } from './studio.mjs';

const notes = {
	Welcome: {
		html: '<p>Good <b>evening</b></p><p>everyone</p>',
		plain: 'Good evening\neveryone',
		format: /font-weight:[67]00/,
	},
	Interview: {
		html: '<p>Ask <span style="color:#ff8800">twice</span></p>',
		plain: 'Ask twice',
		format: /color:#ff8800/,
	},
	Goodbye: {
		html: '<ul><li>Thank Zoë 😀</li><li><i>Wave</i></li></ul>',
		plain: 'Thank Zoë 😀\nWave',
		format: /font-style:italic/,
	},
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

test('each scene keeps its formatted note, whichever way it is switched', async () => {
	for (const [scene, { html, plain }] of Object.entries(notes)) {
		await studio.show(scene);
		await studio.paste({ html, text: plain });
		await studio.waitForSave();
	}
	for (const scene of Object.keys(notes)) {
		await studio.clickScene(scene);
		await studio.waitForScene(scene);
		await assertShown(scene);
		await studio.show('Scene');
		assert.equal(await studio.plain(), '');
		await studio.show(scene);
		await assertShown(scene);
	}
});

test('what was typed just before a switch is saved before the next note shows', async () => {
	await studio.show('Goodbye');
	await studio.key('Ctrl+End');
	await studio.type('!');
	await studio.clickScene('Welcome');
	await studio.waitForScene('Welcome');
	assert.equal(await studio.savedText('Goodbye'), `${notes.Goodbye.plain}!`);
	await studio.show('Goodbye');
	await studio.key('Ctrl+End');
	await studio.key('Backspace');
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

test('a note opens where it was left, and a dock that was closed goes on', async () => {
	await studio.show('Late');
	await studio.paste({ text: 'line\n'.repeat(300) });
	await studio.set(scrollBar, 'value', 1234);
	await studio.show('Welcome');
	await studio.show('Late');
	assert.equal(await studio.scrollPosition(), 1234);
	await studio.set('QuillBay', 'visible', false);
	await studio.show('Interview');
	await studio.set('QuillBay', 'visible', true);
	await assertShown('Interview');
	await studio.show('Late');
	await studio.stop();
	await studio.start();
	await studio.waitForScene('Late');
	await waitFor('the position is restored', async () => (await studio.scrollPosition()) === 1234);
});

test('the hotkeys are registered, keep their bindings and do their work', async () => {
	const { hotkeys: registered } = await studio.call('GetHotkeyList');
	assert.deepEqual(registered.filter((name) => name.startsWith('QuillBay.')), hotkeys);

	const bind = (name, index) => ({ name, bindings: [{ key: `OBS_KEY_F${index + 1}`, alt: true }] });
	const bindings = hotkeys.map(bind);
	for (const binding of bindings) {
		await studio.ask('hotkey', binding);
	}
	await studio.stop();
	await studio.start();
	for (const { name, bindings: bound } of bindings) {
		assert.deepEqual(await studio.ask('hotkey', { name }), bound);
	}

	const press = (hotkeyName) => studio.call('TriggerHotkeyByName', { hotkeyName });
	await studio.show('Scene');
	await press('QuillBay.InsertTime');
	const stamp = /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d $/;
	await waitFor('a time stamp', async () => stamp.test(await studio.plain()));
	await press('QuillBay.ToggleLock');
	await waitFor('read mode', () => studio.get('noteEditor', 'readOnly'));
	assert.ok(await studio.get('Read', 'checked'));
	await studio.type('x');
	await press('QuillBay.InsertTime');
	await press('QuillBay.ToggleLock');
	await waitFor('writing again', async () => !(await studio.get('noteEditor', 'readOnly')));
	assert.match(await studio.plain(), stamp);
	assert.equal(await studio.status(), text('SavedNote'), 'the lock saves what was pending');
});
