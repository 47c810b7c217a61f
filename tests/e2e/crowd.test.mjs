// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Two browsers and the dock at the same notes, with the host and the network against them. QUILLBAY_SECONDS tells for
// how long, QUILLBAY_SEED which run.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { Visitor, desktop, openBrowser, openPageStudio, phone } from './browser.mjs';
import { text } from './studio.mjs';

const seconds = Number(process.env.QUILLBAY_SECONDS ?? 25);
let seed = Number(process.env.QUILLBAY_SEED ?? Date.now() % 100_000);

/** A whole number below `limit`; the same ones for the same seed. */
function random(limit) {
	seed = (seed * 1_103_515_245 + 12_345) % 2_147_483_648;
	return Math.floor((seed / 2_147_483_648) * limit);
}

const wordsOf = (content) => content.match(/\b[ABD]\d+w\b/g) ?? [];

/** What the page shows as a draft that cannot be saved as it is. */
async function settle(visitor, offered) {
	const { page } = visitor;
	const [canRetry, canReload] = await Promise.all([page.isVisible('#retry'), page.isVisible('#reload')]);
	if (canReload) {
		wordsOf(await page.innerText('#document')).forEach((word) => offered.add(word));
		await page.click('#reload', { timeout: 500 }).catch(() => {});
	} else if (canRetry) {
		await page.click('#retry', { timeout: 500 }).catch(() => {});
	}
}

async function write(visitor, word, typed) {
	const { page } = visitor;
	const isEditable = () => page.evaluate(() => document.querySelector('#document').isContentEditable);
	if (!(await isEditable())) {
		await page.click('#document p >> nth=-1', { timeout: 500 }).catch(() => {});
		await sleep(200);
	}
	if (await isEditable()) {
		await page.keyboard.press('Control+End');
		await page.keyboard.type(` ${word}`);
		// Half a word came when the lease had just ended: it was not typed.
		if (wordsOf(await page.innerText('#document')).includes(word)) {
			typed.push(word);
		}
	}
}

async function useBrowser(visitor, name, until, typed, offered) {
	for (let count = 0; performance.now() < until; count++) {
		await settle(visitor, offered);
		await write(visitor, `${name}${count}w`, typed);
		await sleep(random(500));
		if (random(4) === 0) {
			await visitor.page.keyboard.press('Escape');
		}
	}
}

async function useDock(studio, until, typed) {
	for (let count = 0; performance.now() < until; count++) {
		if (!(await studio.get('noteEditor', 'readOnly'))) {
			const word = `D${count}w`;
			await studio.type(` ${word}`);
			if ((await studio.plain()).includes(word)) {
				typed.push(word);
			}
		}
		await sleep(1500 + random(3000));
	}
}

async function disturb(studio, visitors, until) {
	const toggleLock = () => studio.call('TriggerHotkeyByName', { hotkeyName: 'QuillBay.ToggleLock' });
	const events = [
		() => studio.show('One'),
		() => studio.show('Two'),
		async () => {
			await toggleLock();
			await sleep(300);
			if (await studio.get('noteEditor', 'readOnly')) {
				await toggleLock();
			}
		},
		async () => {
			const visitor = visitors[random(visitors.length)];
			await visitor.cut(true);
			await sleep(random(800));
			await visitor.cut(false);
		},
	];
	while (performance.now() < until) {
		await sleep(1500 + random(2500));
		await events[random(events.length)]();
	}
}

/** Lets the pages save or offer all that they have. */
async function calmDown(visitors, offered) {
	for (const visitor of visitors) {
		await visitor.sees('#connection', text('RemoteConnected'), 15_000);
		const { page } = visitor;
		for (let i = 0; i < 60 && !(await page.isHidden('#problem')); i++) {
			await settle(visitor, offered);
			await sleep(500);
		}
		await page.keyboard.press('Escape');
		await page.waitForFunction(() => !document.querySelector('#document').isContentEditable);
	}
}

test(`nothing that anyone types is lost or doubled (seed ${seed})`, { timeout: 1000 * (seconds + 180) }, async () => {
	const [browser, studio] = await Promise.all([openBrowser(), openPageStudio(['One', 'Two'])]);
	try {
		const visitors = await Promise.all([
			Visitor.open(browser, studio, { name: 'A', device: desktop }),
			Visitor.open(browser, studio, { name: 'B', device: phone }),
		]);
		const typed = [];
		const offered = new Set();
		const until = performance.now() + 1000 * seconds;
		await Promise.all([
			useBrowser(visitors[0], 'A', until, typed, offered),
			useBrowser(visitors[1], 'B', until, typed, offered),
			useDock(studio, until, typed),
			disturb(studio, visitors, until),
		]);
		await calmDown(visitors, offered);
		await studio.show('Two');
		const saved = [await studio.plain()];
		await studio.show('One');
		saved.push(await studio.plain());
		const words = wordsOf(saved.join('\n'));
		const kept = new Set(words);
		assert.ok(typed.length > seconds / 2, `only ${typed.length} words`);
		assert.deepEqual(
			typed.filter((word) => !kept.has(word) && !offered.has(word)),
			[],
			'lost',
		);
		assert.equal(words.length, kept.size, `doubled in ${words}`);
		for (const { complaints } of visitors) {
			assert.deepEqual(complaints, []);
		}
	} finally {
		await browser.close();
		await studio.kill();
	}
});
