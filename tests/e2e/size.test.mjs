// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Notes at the limits: how long the host's window stands still while they are opened, typed in, scrolled and saved.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { Studio, scrollBar } from './studio.mjs';

// Far above what is measured, far below what a user would call hanging.
const limitsMs = { open: 2_500, 'type at the start': 150, save: 500, scroll: 150, 'type at the end': 150 };

let studio;
before(async () => {
	studio = await Studio.open(['Big']);
});
after(() => studio?.kill());

const typeAt = async (home) => {
	await studio.key(home);
	await sleep(300);
	await studio.type('x', { pauseMs: 30 });
	await studio.key('Backspace');
};
const steps = {
	open: () => studio.show('Big'),
	'type at the start': () => typeAt('Ctrl+Home'),
	save: () => studio.waitForSave(),
	scroll: async () => {
		for (let turn = 1; turn <= 20; turn++) {
			await studio.set(scrollBar, 'value', 60 * turn);
		}
		await sleep(100);
	},
	'type at the end': () => typeAt('Ctrl+End'),
};
for (const [paragraphs, length] of [[2_000, 99], [20_000, 9]]) {
	test(`a note of ${paragraphs} paragraphs of ${length} characters`, async (t) => {
		await studio.show('Scene');
		await studio.plant('Big', `<p>${'words and '.repeat(10).slice(0, length)}</p>`.repeat(paragraphs));
		await studio.show('Big');
		// From here on it is a file as the editor writes it.
		await studio.key('Delete');
		await studio.waitForSave();
		await studio.show('Scene');
		for (const [step, work] of Object.entries(steps)) {
			const stallMs = await studio.longestStall(work);
			t.diagnostic(`${step}: ${Math.round(stallMs)} ms`);
			assert.ok(stallMs < limitsMs[step], `${step}: the window stood still for too long`);
		}
		assert.equal(await studio.get('noteEditor .QTextDocument', 'blockCount'), paragraphs);
	});
}
