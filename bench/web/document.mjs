// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The web client's document at the note limits, against the browser's own time: `scripts/enter node bench/web/document.mjs`
// on a quiet machine, after `scripts/test web` has fetched the packages. Fails when a figure is over its budget.

import { openBrowser } from '../../tests/web/browser.mjs';

const rounds = 7;
const keys = 60;
/** Of the browser's own time for the same elements. */
const renderingBudget = 1.5;
/** From a key to its painted frame, 95th percentile, in milliseconds. */
const keyBudgets = { A: 16, B: 33 };

const run = (index, text) => ({
	weight: index % 2 ? 700 : 400,
	italic: index % 3 === 0,
	underline: index % 5 === 0,
	strike: false,
	size: 10 + (index % 7),
	family: 'Arial',
	color: index % 11 ? '' : '#ff8800',
	background: '',
	text,
});
const blocks = (count, runs) =>
	Array.from({ length: count }, () => ({
		align: 1,
		indent: 0,
		list: 0,
		listIndent: 1,
		listGroup: 0,
		listStart: 1,
		runs,
	}));
const words = (length) =>
	'speak this line to the camera now and smile '.repeat(Math.ceil(length / 44)).slice(0, length);
const cases = {
	A: blocks(2_000, [run(1, words(99))]),
	B: blocks(20_000, [run(1, words(9))]),
	C: blocks(
		2_000,
		Array.from({ length: 50 }, (_, index) => run(index, words(index % 49 ? 2 : 1))),
	),
	D: blocks(20, [run(1, words(9_990))]),
};

const roomy = (runs) => runs.map((run) => ({ ...run, text: run.text.slice(0, 9_900) }));
const middle = (values, share = 0.5) => values.toSorted((a, b) => a - b)[Math.floor((values.length - 1) * share)];

// What runs in the page, where nothing of this file is known.
function prepare() {
	const painted = () =>
		new Promise((resolve) =>
			requestAnimationFrame(() => {
				const channel = new MessageChannel();
				channel.port1.onmessage = () => resolve(performance.now());
				channel.port2.postMessage(null);
			}),
		);
	const timed = async (work) => {
		await painted();
		const began = performance.now();
		work();
		return (await painted()) - began;
	};
	/** The same elements with the same looks, made by the browser's own parser. */
	const rendering = async (blocks) => {
		note.render(root, { blocks });
		const html = root.innerHTML;
		root.replaceChildren();
		const ours = await timed(() => note.render(root, { blocks }));
		root.replaceChildren();
		const browser = await timed(() => (root.innerHTML = html));
		return [ours, browser];
	};
	const plain = (blocks) => {
		const paragraphs = blocks.map(({ runs }) => {
			const paragraph = document.createElement('p');
			paragraph.textContent = runs.map((run) => run.text).join('');
			return paragraph;
		});
		root.replaceChildren(...paragraphs);
		const text = paragraphs[paragraphs.length >> 1].firstChild;
		getSelection().collapse(text, text.length >> 1);
		getSelection().focusNode.parentElement.scrollIntoView();
	};
	const latencies = [];
	let watched = false;
	root.addEventListener('keydown', async ({ timeStamp }) => latencies.push((await painted()) - timeStamp));
	root.addEventListener('beforeinput', (event) => watched && note.handleBeforeInput(root, event));
	root.addEventListener('input', (event) => watched && note.handleInput(root, event));
	const edit = (blocks, ours) => {
		watched = ours;
		if (ours) {
			note.render(root, { blocks });
			note.selectOffsets(root, Math.floor(note.shownCharacterCount(root) / 2));
			getSelection().focusNode.parentElement.scrollIntoView();
		} else plain(blocks);
		root.focus();
	};
	const times = (blocks) => {
		note.render(root, { blocks });
		const range = note.rangeAt(root, 5);
		note.acceptsEdit(root, 'x', range);
		const measure = (work) => {
			const began = performance.now();
			work();
			return performance.now() - began;
		};
		return {
			serialize: measure(() => note.serialize(root)),
			acceptsEdit: measure(() => note.acceptsEdit(root, 'x', range)),
			documentText: measure(() => note.documentText(root)),
			textContent: measure(() => root.textContent.length),
		};
	};
	window.bench = { edit, latencies, rendering, times };
}

async function typingTimes(page, blocks, ours) {
	await page.evaluate(([blocks, ours]) => bench.edit(blocks, ours), [blocks, ours]);
	const take = () => page.evaluate(() => bench.latencies.splice(0));
	for (let i = 0; i < 5; i++) await page.keyboard.press('x');
	await page.waitForTimeout(300);
	await take();
	for (let i = 0; i < keys; i++) await page.keyboard.press('y', { delay: 5 });
	await page.waitForTimeout(300);
	const typed = await take();
	for (let i = 0; i < 12; i++) await page.keyboard.press('Enter', { delay: 5 });
	await page.waitForTimeout(300);
	const broken = await take();
	return [middle(typed), middle(typed, 0.95), middle(broken)];
}

// Without the wait for the screen's next frame, so that a time is work.
const browser = await openBrowser('--disable-frame-rate-limit', '--disable-gpu-vsync');
const ms = (value) => value.toFixed(1).padStart(7);
let over = 0;
for (const [name, all] of Object.entries(cases)) {
	// Room for the keys: a full note refuses them.
	const note = all.slice(0, name === 'D' ? -1 : -100).map((block) => ({ ...block, runs: roomy(block.runs) }));
	const page = await browser.page();
	await page.evaluate(prepare);
	const pairs = [];
	for (let i = 0; i < rounds; i++) pairs.push(await page.evaluate((blocks) => bench.rendering(blocks), all));
	const [ours, theirs] = [middle(pairs.map(([time]) => time)), middle(pairs.map(([, time]) => time))];
	const [key, slow, enter] = await typingTimes(page, note, true);
	const [plainKey, plainSlow, plainEnter] = await typingTimes(page, note, false);
	const times = await page.evaluate((blocks) => bench.times(blocks), all);
	const failed = ours / theirs > renderingBudget || slow > (keyBudgets[name] ?? Infinity);
	over += failed;
	console.log(`${name}${failed ? '  OVER BUDGET' : ''}
  rendering ${ms(ours)} ms, the browser's own ${ms(theirs)} ms: ratio ${(ours / theirs).toFixed(2)} (at most ${renderingBudget})
  key       ${ms(key)} ms, 95 % ${ms(slow)} ms (at most ${keyBudgets[name] ?? '-'}); one row of <p> ${ms(plainKey)} ms, 95 % ${ms(plainSlow)} ms: ratio ${(slow / plainSlow).toFixed(2)}
  Enter     ${ms(enter)} ms; one row of <p> ${ms(plainEnter)} ms: ratio ${(enter / plainEnter).toFixed(2)}
  serialize ${ms(times.serialize)} ms, textContent ${ms(times.textContent)} ms; acceptsEdit ${times.acceptsEdit.toFixed(3)} ms; documentText ${ms(times.documentText)} ms`);
	await page.close();
}
await browser.close();
process.exit(over ? 1 : 0);
