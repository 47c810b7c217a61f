// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The host with the module starts, works and ends as quietly as the host alone.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { test } from 'node:test';
import { build, repository, waitFor } from './host.mjs';
import { Studio, viewport } from './studio.mjs';

const complaint = /^(warning|error): |^Q[A-Z]\w+(::|: )|CRITICAL|WARNING/;

/** A short day in the host; answers how it ended and what it complained of. */
async function liveADay({ module }) {
	const studio = new Studio({ module });
	await studio.start();
	for (const sceneName of ['One', 'Two', 'Three']) {
		await studio.call('CreateScene', { sceneName });
		await studio.call('SetCurrentProgramScene', { sceneName });
		if (module) {
			await studio.openDock();
			await studio.show(sceneName);
			await studio.paste({ html: `<p>note of <b>${sceneName}</b></p>` });
			await studio.ask('mouse', { object: viewport, action: 'click' });
			await studio.key('Ctrl+Z');
			await studio.key('Ctrl+Shift+Z');
		}
	}
	await studio.call('CreateSceneCollection', { sceneCollectionName: 'Other' });
	await studio.call('SetStudioModeEnabled', { studioModeEnabled: true });
	await studio.call('SetStudioModeEnabled', { studioModeEnabled: false });
	const end = await studio.stop();
	const changing = /\d\d:\d\d:\d\d\.\d+|\bprocess:\d+|0x\w+/g;
	const lines = studio.log.split('\n').map((line) => line.replace(changing, ''));
	return { ...end, log: studio.log, complaints: new Set(lines.filter((line) => complaint.test(line))) };
}

test('the module adds no leak, no warning and no crash', async () => {
	const alone = await liveADay({ module: false });
	const ours = await liveADay({ module: true });
	assert.match(ours.log, /\[QuillBay\] Loaded \d+\.\d+\.\d+/);
	assert.ok(!alone.log.includes('[QuillBay]'));
	assert.equal(ours.status, alone.status);
	assert.deepEqual([...ours.complaints].filter((line) => !alone.complaints.has(line)), []);

	// OBS Studio 32 leaks at some exits: the best of several counts.
	const leaks = { false: alone.leaks, true: ours.leaks };
	for (let round = 0; round < 5 && leaks.true > leaks.false; round++) {
		for (const module of [false, true]) {
			leaks[module] = Math.min(leaks[module], (await liveADay({ module })).leaks);
		}
	}
	assert.ok(leaks.true <= leaks.false, `${leaks.true} leaks, ${leaks.false} in the host alone`);
});

// A module may be installed for all users and for one, or one file be found on two ways.
for (const [what, link] of [['copy', fs.copyFileSync], ['link', fs.symlinkSync]]) {
	test(`a second ${what} of the module does no harm`, async (t) => {
		const system = fs.mkdtempSync(path.join(os.tmpdir(), 'quillbay-system-'));
		t.after(() => fs.rmSync(system, { recursive: true }));
		link(path.join(build, 'src/quillbay.so'), path.join(system, 'quillbay.so'));
		fs.symlinkSync(path.join(repository, 'data'), path.join(system, 'quillbay'));
		const env = { OBS_PLUGINS_PATH: system, OBS_PLUGINS_DATA_PATH: system };
		const studio = await Studio.open(['One'], { env });
		t.after(() => studio.kill());
		assert.equal(studio.log.match(/\[QuillBay\] Loaded/g).length, 1);
		await studio.show('One');
		await studio.type('one dock');
		await studio.waitForSave();
		await studio.call('TriggerHotkeyByName', { hotkeyName: 'QuillBay.ToggleLock' });
		await waitFor('read mode', () => studio.get('noteEditor', 'readOnly'));
		assert.equal((await studio.stop()).status, 0);
		assert.equal(studio.log.match(/obs_init_module\(quillbay\.so\)/g).length, 2, 'the host has found both');
	});
}
