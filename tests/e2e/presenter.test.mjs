// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A presenter on air: the hotkeys, the teleprompter and the search in the host.

import assert from 'node:assert/strict';
import { after, test } from 'node:test';
import { Studio, sleep, waitFor } from './studio.mjs';

const studio = await Studio.open(['Script', 'Cues']);
after(() => studio.kill());
await studio.show('Script');
await studio.paste({ text: 'one line of the script\n'.repeat(400) });
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
