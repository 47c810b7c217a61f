// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Two browsers and the dock at the same notes, with the host and the network against them. QUILLBAY_SECONDS tells for
// how long, QUILLBAY_SEED which run.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { Visitor, desktop, openBrowser, openPageStudio, phone } from './browser.mjs';
import { waitFor } from './host.mjs';
import { text } from './studio.mjs';

const seconds = Number(process.env.QUILLBAY_SECONDS ?? 25);
let seed = Number(process.env.QUILLBAY_SEED ?? Date.now() % 100_000);

/** A whole number below `limit`; the same ones for the same seed. */
function random(limit) {
	seed = (seed * 1_103_515_245 + 12_345) % 2_147_483_648;
	return Math.floor((seed / 2_147_483_648) * limit);
}

const word = /[ABD]\d+w/g;

/** Has a page remember every word that it ever shows. */
const watch = ({ page }) =>
	page.evaluate((pattern) => {
		const article = document.querySelector('#document');
		window.seen = new Set();
		const look = () => article.innerText.match(pattern)?.forEach((found) => window.seen.add(found));
		new MutationObserver(look).observe(article, { subtree: true, childList: true, characterData: true });
	}, word);

/** What the page shows as a draft that cannot be saved as it is. */
async function settle(visitor, offered) {
	const { page } = visitor;
	const [canRetry, canReload] = await Promise.all([page.isVisible('#retry'), page.isVisible('#reload')]);
	if (canReload) {
		(await page.innerText('#document')).match(word)?.forEach((found) => offered.add(found));
		await page.click('#reload', { timeout: 500 }).catch(() => {});
	} else if (canRetry) {
		await page.click('#retry', { timeout: 500 }).catch(() => {});
	}
}

/** Types a text where it can be typed, and answers whether it was: half of it was not when the lease ended meanwhile. */
async function write({ page }, typed) {
	const isEditable = () => page.evaluate(() => document.querySelector('#document').isContentEditable);
	if (!(await isEditable())) {
		await page.click('#document p >> nth=-1', { timeout: 500 }).catch(() => {});
		await sleep(200);
	}
	if (await isEditable()) {
		await page.keyboard.press('Control+End');
		await page.keyboard.type(` ${typed}`);
	}
	return (await page.innerText('#document')).includes(typed);
}

/** However slow the machine is, each of them writes something in the end. */
async function useBrowser(visitor, name, until, offered) {
	let hasWritten = false;
	for (let count = 0; performance.now() < until || !hasWritten; count++) {
		await settle(visitor, offered);
		hasWritten = (await write(visitor, `${name}${count}w`)) || hasWritten;
		await sleep(random(500));
		if (random(4) === 0) {
			await visitor.page.keyboard.press('Escape');
		}
	}
}

async function useDock(studio, until, typed) {
	for (let count = 0; performance.now() < until || typed.length === 0; count++) {
		if (!(await studio.get('noteEditor', 'readOnly'))) {
			await studio.type(` D${count}w`);
			typed.push(...((await studio.plain()).match(word) ?? []).filter((found) => found === `D${count}w`));
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
			while (await studio.get('noteEditor', 'readOnly')) {
				await toggleLock();
				await sleep(100);
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

/** Lets the pages save or offer all that they have, until they only show the scene on air. */
async function calmDown(visitors, scene, offered) {
	const calm = `[ ${scene} ] ${text('RemoteClickEdit')} true`;
	const status = () => {
		const [scenes, owner, problem] = ['scenes', 'owner', 'problem'].map((id) => document.getElementById(id));
		return `${scenes.selectedOptions[0]?.text} ${owner.textContent} ${problem.hidden}`;
	};
	const isCalm = async (visitor) => {
		await settle(visitor, offered);
		await visitor.page.keyboard.press('Escape');
		return (await visitor.page.evaluate(status)) === calm;
	};
	await waitFor(`both pages: ${calm}`, async () => !(await Promise.all(visitors.map(isCalm))).includes(false), 60_000);
}

test(`nothing that anyone types is lost or doubled (seed ${seed})`, { timeout: 1000 * (seconds + 180) }, async () => {
	const [browser, studio] = await Promise.all([openBrowser(), openPageStudio(['One', 'Two'])]);
	try {
		const visitors = await Promise.all([
			Visitor.open(browser, studio, { name: 'A', device: desktop }),
			Visitor.open(browser, studio, { name: 'B', device: phone }),
		]);
		await Promise.all(visitors.map(watch));
		const typed = [];
		const offered = new Set();
		const until = performance.now() + 1000 * seconds;
		await Promise.all([
			useBrowser(visitors[0], 'A', until, offered),
			useBrowser(visitors[1], 'B', until, offered),
			useDock(studio, until, typed),
			disturb(studio, visitors, until),
		]);
		const words = [];
		for (const scene of ['Two', 'One']) {
			await studio.show(scene);
			await calmDown(visitors, scene, offered);
			words.push(...((await studio.plain()).match(word) ?? []));
		}
		for (const { page } of visitors) {
			typed.push(...(await page.evaluate(() => [...window.seen])));
			assert.deepEqual(await page.evaluate(() => Object.keys(localStorage)), ['quillbay.link'], 'hidden drafts');
		}
		const kept = new Set([...words, ...offered]);
		assert.deepEqual([...new Set(typed)].filter((found) => !kept.has(found)), [], 'lost');
		assert.equal(words.length, new Set(words).size, `doubled in ${words}`);
		for (const { complaints } of visitors) {
			assert.deepEqual(complaints, []);
		}
	} finally {
		await browser.close();
		await studio.kill();
	}
});
