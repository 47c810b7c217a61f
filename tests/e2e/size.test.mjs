// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Notes at the limits: how long the host's window stands still while they are opened, typed in, scrolled and saved.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { waitFor } from './host.mjs';
import { Studio, scrollBar, text, viewport } from './studio.mjs';

const sizes = { '2,000 paragraphs of 99': [2_000, 99], '20,000 paragraphs of 9': [20_000, 9] };
// Far above what is measured, far below what a user would call hanging.
const limitsMs = { open: 2_500, 'type at the start': 150, 'type at the end': 150, scroll: 150, save: 500 };

let studio;
before(async () => {
	studio = await Studio.open(['Big']);
});
after(() => studio?.kill());

for (const [what, [paragraphs, length]] of Object.entries(sizes)) {
	test(`a note of ${what} characters`, async (t) => {
		await studio.show('Scene');
		await studio.plant('Big', `<p>${'words and '.repeat(10).slice(0, length)}</p>`.repeat(paragraphs));
		await studio.show('Big');
		// From here on it is a file as the editor writes it.
		await studio.key('Delete');
		await studio.waitForSave();
		await studio.show('Scene');

		const typeAt = async (home) => {
			await studio.key(home);
			await sleep(300);
			await studio.type('x', { pauseMs: 30 });
			await studio.key('Backspace');
		};
		const steps = {
			open: () => studio.show('Big'),
			'type at the start': () => typeAt('Ctrl+Home'),
			save: () => waitFor('the save', async () => (await studio.status()) === text('SavedNote')),
			scroll: async () => {
				for (let turn = 0; turn < 20; turn++) {
					await studio.ask('mouse', { object: viewport, action: 'wheel', delta: -120 });
				}
				await sleep(100);
			},
			'type at the end': () => typeAt('Ctrl+End'),
		};
		for (const [step, work] of Object.entries(steps)) {
			const stallMs = await studio.longestStall(work);
			t.diagnostic(`${step}: ${Math.round(stallMs)} ms`);
			assert.ok(stallMs < limitsMs[step], `${step}: the window stood still for too long`);
		}
		assert.ok((await studio.get(scrollBar, 'value')) > 0);
		assert.equal(await studio.get('noteEditor .QTextDocument', 'blockCount'), paragraphs);
	});
}
