// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The host with the module starts, works and ends as quietly as the host alone.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { Studio, build, repository, waitFor } from './studio.mjs';

const complaint = /^(warning|error): |^Q[A-Z]\w+(::|: )|CRITICAL|WARNING/;

/** A short day in the host; answers how it ended and what it complained of. */
async function liveADay(t, module) {
	const studio = new Studio({ module });
	t.after(() => studio.kill());
	await studio.start();
	for (const sceneName of ['One', 'Two', 'Three']) {
		await studio.addScene(sceneName);
		await studio.call('SetCurrentProgramScene', { sceneName });
		if (module) {
			await studio.openDock();
			await studio.show(sceneName);
			await studio.paste({ html: `<p>note of <b>${sceneName}</b></p>` });
			await studio.key('Ctrl+Z Ctrl+Shift+Z');
		}
	}
	await studio.call('CreateSceneCollection', { sceneCollectionName: 'Other' });
	await studio.call('SetStudioModeEnabled', { studioModeEnabled: true });
	await studio.call('SetStudioModeEnabled', { studioModeEnabled: false });
	const end = await studio.stop();
	const lines = studio.log.replace(/\d\d:\d\d:\d\d\.\d+|\bprocess:\d+|0x\w+/g, '').split('\n');
	return { ...end, log: studio.log, complaints: lines.filter((line) => complaint.test(line)) };
}

test('the module adds no leak, no warning and no crash', async (t) => {
	const alone = await liveADay(t, false);
	const ours = await liveADay(t, true);
	assert.match(ours.log, /\[QuillBay\] Loaded \d+\.\d+\.\d+/);
	assert.equal(ours.status, alone.status);
	assert.deepEqual(ours.complaints.filter((line) => !alone.complaints.includes(line)), []);

	// OBS Studio 32 leaks at some exits: the best of several counts.
	let [without, leaks] = [alone.leaks, ours.leaks];
	for (let round = 0; round < 5 && leaks > without; round++) {
		without = Math.min(without, (await liveADay(t, false)).leaks);
		leaks = Math.min(leaks, (await liveADay(t, true)).leaks);
	}
	assert.ok(leaks <= without, `${leaks} leaks, ${without} in the host alone`);
});

// A module may be installed for all users and for one, or one file be found on two ways.
for (const [what, link] of [['copy', fs.copyFileSync], ['link', fs.symlinkSync]]) {
	test(`a second ${what} of the module does no harm`, async (t) => {
		const studio = new Studio();
		t.after(() => studio.kill());
		const system = studio.home;
		link(path.join(build, 'src/quillbay.so'), path.join(system, 'quillbay.so'));
		fs.symlinkSync(path.join(repository, 'data'), path.join(system, 'quillbay'));
		studio.env = { OBS_PLUGINS_PATH: system, OBS_PLUGINS_DATA_PATH: system };
		await studio.restart();
		assert.equal(studio.log.match(/\[QuillBay\] Loaded/g).length, 1);
		await studio.write('Scene', 'one dock');
		await studio.press('ToggleLock');
		await waitFor('read mode', () => studio.get('noteEditor', 'readOnly'));
		assert.equal((await studio.stop()).status, 0);
		assert.equal(studio.log.match(/obs_init_module\(quillbay\.so\)/g).length, 2, 'the host has found both');
	});
}
