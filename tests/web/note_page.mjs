// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the tests of the document have in common.

import assert from 'node:assert/strict';
import { after, afterEach, beforeEach } from 'node:test';
import { openBrowser } from './browser.mjs';

/** Runs in the page. */
function prepare() {
	window.outcomes = [];
	window.failure = (work) => {
		try {
			work();
			return 'none';
		} catch (error) {
			return error.name;
		}
	};
	root.addEventListener('beforeinput', (event) => outcomes.push(note.handleBeforeInput(root, event)));
	root.addEventListener('input', (event) => note.handleInput(root, event));
	for (const type of ['compositionstart', 'compositionend']) {
		root.addEventListener(type, (event) => outcomes.push(note.handleComposition(root, event)));
	}
	/** Shows lines of text and puts the caret, or a selection, at the given characters. */
	window.show = (text, start = 0, end = start) => {
		note.render(root, typeof text === 'string' ? note.plainDocument(text) : { blocks: text });
		root.focus();
		note.selectOffsets(root, start, end);
	};
	window.runsOf = (index) => note.serialize(root).blocks[index].runs;
	/** The text as it would be saved. */
	window.savedText = () => {
		const lines = note.serialize(root).blocks.map(({ runs }) => runs.map((run) => run.text).join(''));
		return lines.join('\n').replaceAll('\u2028', '\n');
	};
	/** Numbers from 0 up to the limit, the same ones each time. */
	window.random = (seed) => (limit) => (seed = (Math.imul(seed, 1103515245) + 12345) >>> 0) % limit;
}

/** A page for each test, its errors, and what most of them do in it. */
export async function usePage() {
	const use = { page: null, failures: [] };
	const browser = await openBrowser();
	after(() => browser.close());
	beforeEach(async () => {
		await use.page?.close();
		use.page = await browser.page();
		use.failures = [];
		use.page.on('pageerror', (error) => use.failures.push(error.message));
		await use.page.evaluate(prepare);
	});
	afterEach(() => assert.deepEqual(use.failures, []));
	use.inPage = (work, argument) => use.page.evaluate(work, argument);
	use.text = () => use.inPage(() => note.documentText(root));
	use.brief = async (look) => brief(await use.inPage(() => note.serialize(root)), look);
	use.marks = () => use.inPage(() => [...root.querySelectorAll('[data-mark]')].map((mark) => mark.textContent));
	return use;
}

/** What blocks and runs have where nothing else is said. */
const plain = { align: 1, indent: 0, list: 0, listIndent: 1, listGroup: 0, listStart: 1 };
const plainRun = { weight: 400, italic: false, underline: false, strike: false, color: '', background: '' };
export const unset = { ...plainRun, size: 0, family: '' };
export const arial = { ...plainRun, size: 12, family: 'Arial' };

/** A document in a line: what its blocks (between " / ") and runs (between "|") have besides their text. */
export function brief({ blocks }, look = arial) {
	const besides = (format, usual) => {
		const keys = Object.keys({ ...usual, ...format }).filter((key) => format[key] !== usual[key]);
		return keys.length ? `{${keys.map((key) => `${key} ${format[key]}`).join(', ')}}` : '';
	};
	const runOf = ({ text, ...format }) => text + besides(format, look);
	return blocks.map(({ runs, ...format }) => besides(format, plain) + runs.map(runOf).join('|')).join(' / ');
}
