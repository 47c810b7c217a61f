// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A presenter on air: the hotkeys, the teleprompter and the search in the host.

import assert from 'node:assert/strict';
import { after, test } from 'node:test';
import { Studio, scrollBar, sleep, viewport, waitFor } from './studio.mjs';

const paragraph = 'The presenter reads this paragraph aloud and looks up at the camera now and then. '.repeat(5);

const studio = await Studio.open(['Script', 'Cues', 'Long']);
after(() => studio.kill());
for (const [scene, line, count] of [['Script', 'one line of the script\n', 400], ['Long', `${paragraph}\n`, 200]]) {
	await studio.show(scene);
	await studio.paste({ text: line.repeat(count) });
}
await studio.waitForSave();

test('the hotkeys drive the teleprompter', async () => {
	await studio.show('Script');
	for (const [hotkey, status] of Object.entries({ StartScroll: 'Scrolling', PauseScroll: 'Paused' })) {
		await studio.press(hotkey);
		await studio.waitForStatus(status);
		assert.ok(await studio.get('noteEditor', 'readOnly'), 'nothing is typed while the text moves');
	}
	const stopped = await studio.scrollPosition();
	await sleep(300);
	assert.equal(await studio.scrollPosition(), stopped);
	await studio.press('ToggleScroll');
	await waitFor('the text goes on', async () => (await studio.scrollPosition()) > stopped);
	await studio.press('ToggleScroll');
	await studio.waitForStatus('Paused');
	for (const [hotkey, speed] of Object.entries({ Faster: 1.1, Slower: 1 })) {
		await studio.press(hotkey);
		await waitFor(hotkey, async () => Math.abs((await studio.get('scrollSpeed', 'value')) - speed) < 0.01);
	}
	await studio.press('Top');
	await studio.waitForStatus('AtTop');
	assert.equal(await studio.scrollPosition(), 0);
	await studio.press('ToggleLock');
	await waitFor('writing again', async () => !(await studio.get('noteEditor', 'readOnly')));
});

test('the hotkeys insert the time and marks, and go from mark to mark', async () => {
	await studio.show('Cues');
	for (const cue of ['intro', 'guest']) {
		await studio.press('InsertMark');
		await waitFor('a mark', async () => (await studio.plain()).endsWith('◆[]'));
		await studio.type(cue);
		await studio.key('Ctrl+End');
		await studio.type('\n');
	}
	await studio.press('InsertTime');
	const cues = /^◆\[intro\]\n◆\[guest\]\n\d{4}-\d\d-\d\d \d\d:\d\d:\d\d $/;
	await waitFor('a time stamp', async () => cues.test(await studio.plain()));
	for (const match of ['1/2', '2/2', '1/2']) {
		await studio.press('NextMark');
		await waitFor(match, async () => (await studio.get('searchStatus', 'text')) === match);
	}
});

test('the paragraph at the reading line stays there when the dock floats and gets narrow', async () => {
	const readParagraph = async () => {
		const height = await studio.get(viewport, 'height');
		await studio.click(viewport, [20, Math.round(height * 0.382)]);
		await studio.click('documentStatus');
		const number = await studio.get('goToInput', 'text');
		await studio.key('Escape', 'goToInput');
		return number;
	};
	await studio.show('Long');
	await studio.set(scrollBar, 'value', Math.round((await studio.get(scrollBar, 'maximum')) / 2));
	await studio.set('QuillBay', 'floating', true);
	const resize = async (width) => {
		await studio.set('QuillBay', 'geometry', [50, 100, width, 700]);
		await sleep(500); // The window manager and the layout come to rest.
		return studio.get(viewport, 'width');
	};
	const widths = [await resize(1400)];
	const read = await readParagraph();
	assert.ok(Number(read) > 50);
	for (const width of [1000, 600, 1400]) {
		widths.push(await resize(width));
		assert.equal(await readParagraph(), read, `${width} pixels wide`);
	}
	assert.ok(widths[0] > widths[1] && widths[1] > widths[2] && widths[2] < widths[3], `${widths}`);
	await studio.set('QuillBay', 'floating', false);
});
