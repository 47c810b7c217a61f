// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Two browsers and the dock at the same notes, with the host and the network against them. QUILLBAY_SECONDS tells for
// how long, QUILLBAY_SEED which run.

import assert from 'node:assert/strict';
import { after, test } from 'node:test';
import { Visitor, desktop, openBrowser, openRemoteStudio, phone, sleep, text, waitFor } from './browser.mjs';

const seconds = Number(process.env.QUILLBAY_SECONDS ?? 25);
let seed = Number(process.env.QUILLBAY_SEED ?? Date.now() % 100_000);

const [browser, studio] = await Promise.all([openBrowser(), openRemoteStudio(['One', 'Two'])]);
after(() => Promise.all([browser.close(), studio.kill()]));

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
async function settle(page, offered) {
	const [canRetry, canReload] = await Promise.all([page.isVisible('#retry'), page.isVisible('#reload')]);
	if (canReload) {
		(await page.innerText('#document')).match(word)?.forEach((found) => offered.add(found));
		await page.click('#reload', { timeout: 500 }).catch(() => {});
	} else if (canRetry) {
		await page.click('#retry', { timeout: 500 }).catch(() => {});
	}
}

/** However slow the machine is, each of them writes something in the end: half a word when the lease ends meanwhile. */
async function useBrowser({ page }, name, until, offered) {
	const isEditable = () => page.evaluate(() => document.querySelector('#document').isContentEditable);
	for (let count = 0, written = 0; performance.now() < until || !written; count++) {
		await settle(page, offered);
		if (!(await isEditable())) {
			await page.click('#document p >> nth=-1', { timeout: 500 }).catch(() => {});
			await sleep(200);
		}
		if (await isEditable()) {
			await page.keyboard.press('Control+End');
			await page.keyboard.type(` ${name}${count}w`);
		}
		written += (await page.innerText('#document')).includes(`${name}${count}w`);
		await sleep(random(500));
		if (random(4) === 0 || performance.now() > until) {
			await page.keyboard.press('Escape');
		}
	}
}

async function useDock(until, typed) {
	for (let count = 0; performance.now() < until || typed.length === 0; count++) {
		if (!(await studio.get('noteEditor', 'readOnly'))) {
			await studio.type(` D${count}w`);
			typed.push(...((await studio.plain()).match(word) ?? []).filter((found) => found === `D${count}w`));
		}
		await sleep(1500 + random(3000));
	}
}

async function disturb(visitors, until) {
	const events = [
		() => studio.show('One'),
		() => studio.show('Two'),
		async () => {
			do {
				await studio.press('ToggleLock');
				await sleep(300);
			} while (await studio.get('noteEditor', 'readOnly'));
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

/** Lets a page save or offer all that it has. Answers whether it only shows the scene then. */
async function isCalm({ page }, scene, offered) {
	await settle(page, offered);
	await page.keyboard.press('Escape');
	const status = () => {
		const [scenes, owner, problem] = ['scenes', 'owner', 'problem'].map((id) => document.getElementById(id));
		return `${scenes.selectedOptions[0]?.text} ${owner.textContent} ${problem.hidden}`;
	};
	return (await page.evaluate(status)) === `[ ${scene} ] ${text('RemoteClickEdit')} true`;
}

test(`nothing that anyone types is lost or doubled (seed ${seed})`, { timeout: 1000 * (seconds + 180) }, async () => {
	const visitors = await Promise.all([desktop, phone].map((device) => Visitor.open(browser, studio, { device })));
	await Promise.all(visitors.map(watch));
	const typed = [];
	const offered = new Set();
	const until = performance.now() + 1000 * seconds;
	await Promise.all([
		...visitors.map((visitor, i) => useBrowser(visitor, 'AB'[i], until, offered)),
		useDock(until, typed),
		disturb(visitors, until),
	]);
	const words = [];
	for (const scene of ['Two', 'One']) {
		await studio.show(scene);
		const areCalm = () => Promise.all(visitors.map((visitor) => isCalm(visitor, scene, offered)));
		await waitFor(`the pages only show ${scene}`, async () => !(await areCalm()).includes(false), 60_000);
		words.push(...((await studio.plain()).match(word) ?? []));
	}
	for (const { page, complaints } of visitors) {
		typed.push(...(await page.evaluate(() => [...window.seen])));
		const stored = await page.evaluate(() => Object.keys(localStorage));
		assert.deepEqual([stored, complaints], [['quillbay.link'], []], 'hidden drafts or complaints');
	}
	const lost = typed.filter((found) => !words.includes(found) && !offered.has(found));
	assert.deepEqual(lost, [], 'lost');
	assert.equal(words.length, new Set(words).size, `doubled in ${words}`);
});
