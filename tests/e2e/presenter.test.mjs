// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// A presenter on air: the hotkeys, the teleprompter and the search in the host.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { waitFor } from './host.mjs';
import { Studio, scrollBar, text, viewport } from './studio.mjs';

const paragraph = 'The presenter reads this paragraph aloud and looks up at the camera now and then. '.repeat(5);

let studio;
before(async () => {
	studio = await Studio.open(['Script', 'Cues', 'Long']);
	await studio.show('Script');
	await studio.paste({ text: 'one line of the script\n'.repeat(400) });
	await studio.show('Long');
	await studio.paste({ text: `${paragraph}\n`.repeat(200) });
	await studio.waitForSave();
});
after(() => studio?.kill());

const press = (name) => studio.call('TriggerHotkeyByName', { hotkeyName: `QuillBay.${name}` });
const waitForStatus = (key) => waitFor(key, async () => (await studio.status()) === text(key));
const waitForSpeed = (speed) =>
	waitFor(`speed ${speed}`, async () => Math.abs((await studio.get('scrollSpeed', 'value')) - speed) < 0.01);

const unlock = async () => {
	await press('ToggleLock');
	await waitFor('writing again', async () => !(await studio.get('noteEditor', 'readOnly')));
};

/** The text's position in pixels, and between which moments (in seconds) it was there. */
async function position() {
	const earliest = performance.now() / 1000;
	const pixels = await studio.scrollPosition();
	return { earliest, pixels, latest: performance.now() / 1000 };
}

test('the hotkeys drive the teleprompter', async () => {
	await studio.show('Script');
	await studio.set(scrollBar, 'value', 0);
	await press('StartScroll');
	await waitForStatus('Scrolling');
	await waitFor('the text moves', async () => (await studio.scrollPosition()) > 3);
	assert.ok(await studio.get('noteEditor', 'readOnly'), 'nothing is typed while the text moves');
	await press('PauseScroll');
	await waitForStatus('Paused');
	const stopped = await studio.scrollPosition();
	await sleep(300);
	assert.equal(await studio.scrollPosition(), stopped);
	await press('ToggleScroll');
	await waitFor('the text goes on', async () => (await studio.scrollPosition()) > stopped);
	await press('ToggleScroll');
	await waitForStatus('Paused');
	await press('Faster');
	await waitForSpeed(1.1);
	await press('Slower');
	await waitForSpeed(1.0);
	await press('Top');
	await waitForStatus('AtTop');
	assert.equal(await studio.scrollPosition(), 0);
	await unlock();
});

test('the hotkeys insert the time and marks, and go from mark to mark', async () => {
	await studio.show('Cues');
	for (const cue of ['intro', 'guest']) {
		await press('InsertMark');
		await waitFor('a mark', async () => (await studio.plain()).endsWith('◆[]'));
		await studio.type(cue);
		await studio.key('Ctrl+End');
		await studio.type('\n');
	}
	await press('InsertTime');
	const cues = /^◆\[intro\]\n◆\[guest\]\n\d{4}-\d\d-\d\d \d\d:\d\d:\d\d $/;
	await waitFor('a time stamp', async () => cues.test(await studio.plain()));
	for (const match of ['1/2', '2/2', '1/2']) {
		await press('NextMark');
		await waitFor(match, async () => (await studio.get('searchStatus', 'text')) === match);
	}
	await press('ToggleLock');
	await waitFor('read mode', () => studio.get('Read', 'checked'));
	await press('InsertMark');
	await press('InsertTime');
	await unlock();
	assert.match(await studio.plain(), cues, 'nothing is inserted in read mode');
});

test('the text follows the clock', async () => {
	await studio.show('Script');
	await studio.set(scrollBar, 'value', 0);
	await studio.set('scrollSpeed', 'value', 5);
	await press('StartScroll');
	await waitFor('the text moves', async () => (await studio.scrollPosition()) > 0);
	const start = await position();
	const isOnTime = ({ earliest, pixels, latest }) => {
		const moved = pixels - start.pixels;
		return moved >= (earliest - start.latest) * 50 - 3 && moved <= (latest - start.earliest) * 50 + 3;
	};
	while (performance.now() / 1000 < start.latest + 5) {
		await sleep(250);
		const places = [];
		// A stall of the machine passes, an error of the position stays.
		while (places.length < 3 && !places.some(isOnTime)) {
			places.push(await position());
		}
		assert.ok(places.some(isOnTime), JSON.stringify([start, ...places]));
	}
	await press('PauseScroll');
	await waitForStatus('Paused');
	await unlock();
});

test('Ctrl+F searches the note while a source is selected in the host', async () => {
	const color = { sceneName: 'Cues', inputName: 'Backdrop', inputKind: 'color_source_v3' };
	const { sceneItemId } = await studio.call('CreateInput', { ...color, inputSettings: { width: 100, height: 50 } });
	await studio.show('Cues');
	await studio.key('Ctrl+A', 'sources');
	await studio.set('actionFitToScreen', 'enabled', true); // As the host does when its edit menu opens.
	const boundsType = async () => {
		const { sceneItemTransform } = await studio.call('GetSceneItemTransform', { sceneName: 'Cues', sceneItemId });
		return sceneItemTransform.boundsType;
	};
	assert.equal(await boundsType(), 'OBS_BOUNDS_NONE');
	await studio.ask('mouse', { object: viewport });
	await studio.key('Ctrl+F', '@focus');
	assert.equal(await studio.get('@focus', 'objectName'), 'searchText');
	await studio.type('guest', { object: '@focus' });
	await waitFor('the match', async () => (await studio.get('searchStatus', 'text')) === '1/1');
	await studio.key('Ctrl+F', '@focus');
	assert.equal(await boundsType(), 'OBS_BOUNDS_NONE', 'the source is not fitted to the screen');
	await studio.key('Escape', 'searchText');
	await studio.invoke('actionFitToScreen', 'trigger');
	await waitFor('the source was selected', async () => (await boundsType()) !== 'OBS_BOUNDS_NONE');
});

test('the paragraph at the reading line stays there when the dock floats and gets narrow', async () => {
	const readParagraph = async () => {
		const [, , , height] = await studio.get(viewport, 'geometry');
		await studio.ask('mouse', { object: viewport, at: [20, Math.round(height * 0.382)] });
		await studio.ask('mouse', { object: 'documentStatus' });
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
		return (await studio.get(viewport, 'geometry'))[2];
	};
	const widths = [await resize(1400)];
	const read = await readParagraph();
	assert.ok(Number(read) > 50, `${read}`);
	for (const width of [1000, 600, 1400]) {
		widths.push(await resize(width));
		assert.equal(await readParagraph(), read, `${width} pixels wide`);
	}
	assert.ok(widths[0] > widths[1] && widths[1] > widths[2] && widths[2] < widths[3], `${widths}`);
	await studio.set('QuillBay', 'floating', false);
});
