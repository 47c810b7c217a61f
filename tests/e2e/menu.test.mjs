// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The menu of a right click, and how notes that are chosen there empty themselves.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, test } from 'node:test';
import { Studio, viewport, waitFor } from './studio.mjs';

const ages = { Shown: 31, 'On air': 31, Old: 31, Young: 29, 'Not chosen': 31 };

test('the menu leads to the choice of notes, of which the old ones that nobody uses empty themselves', async () => {
	const studio = await Studio.open(Object.keys(ages));
	after(() => studio.kill());
	const appears = (object) => waitFor(object, () => studio.exists(object));
	const interval = () => studio.get('autoClearTimer', 'interval');
	for (const [scene, days] of Object.entries(ages)) {
		fs.utimesSync(await studio.plant(scene, '<p>\u25c6[mark]</p>'), 0, Date.now() / 1000 - days * 86_400);
	}
	await studio.call('SetStudioModeEnabled', { studioModeEnabled: true });
	await studio.call('SetCurrentProgramScene', { sceneName: 'On air' });
	await studio.call('SetCurrentPreviewScene', { sceneName: 'Shown' });
	await studio.waitForScene('Shown');
	await studio.ask('menu', { object: viewport, at: [20, 15] });
	await appears('ctxDeleteMark');
	await studio.invoke('ctxAbout', 'trigger');
	await appears('@modal autoClearDays');
	await studio.set('autoClearDays', 'value', 30);
	await studio.invoke('autoClearChoose', 'click');
	await appears('@modal autoClearScenes');
	// From the bottom, where the host has its first scenes.
	await studio.key('Home End Space Up Space Up Space Up Space', 'autoClearScenes');
	await studio.invoke('@modal', 'accept');
	await waitFor('the choice', async () => (await studio.get('autoClearChoose', 'text')).includes('(4)'));
	await studio.invoke('@modal', 'accept');
	await waitFor('the first pass to be due', async () => (await interval()) === 5000);
	await studio.set('autoClearTimer', 'interval', 0);
	await waitFor('the next pass', async () => (await interval()) === 86_400_000);
	const texts = await Promise.all(Object.keys(ages).map((scene) => studio.savedText(scene)));
	assert.deepEqual(texts.map(Boolean), [true, true, false, true, true]);
});
