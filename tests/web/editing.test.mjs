// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { unset, usePage } from './note_page.mjs';

const use = await usePage();
const { brief, inPage, marks, text } = use;

test('an edit is accepted up to each limit and not beyond', async () => {
	const results = await inPage(() => {
		const line = 'x'.repeat(9_999);
		const full = `${line}\n`.repeat(19) + `${line}x`;
		const accepts = (shown, text, start, end) => (
			show(shown, start, end),
			note.acceptsEdit(root, text, getSelection().getRangeAt(0))
		);
		return [
			['the last character', accepts(full.slice(1), 'y', 5), true],
			['one more in all', accepts(full, 'y', 5), false],
			['a break in place of one', accepts(full, '\n', 5, 6), true],
			['two in place of one break', accepts(full, 'yy', 9_999, 10_000), false],
			['the 10000th of a paragraph', accepts(line, 'y', 0), true],
			['a line break as the 10001st', accepts(`${line}y`, '\u2028', 9), false],
			['joining two that are too long together', accepts(`${line}\n${line}`, '', 9_999, 10_000), false],
			['lines that share a long one', accepts(`${line}y`, 'a\nb', 5_000), true],
			['the 20000th paragraph', accepts('\n'.repeat(19_998), '\n', 9), true],
			['all of it for as much', accepts(full, full, 0, full.length), true],
			['all of it for more', accepts(full, `${full}yy`, 0, full.length), false],
			['CR LF is one', accepts(full, '\r\n', 5, 6), true],
			['outside', note.acceptsEdit(root, 'y', new Range()), false],
		].filter(([, is, should]) => is !== should);
	});
	assert.deepEqual(results, []);
	const full = 'x'.repeat(10_000);
	for (const [key, shown] of Object.entries({ y: full, Enter: '\n'.repeat(19_999), 'Shift+Enter': full })) {
		await inPage((shown) => (show(shown, 5), outcomes.splice(0)), shown);
		await use.page.keyboard.press(key);
		assert.deepEqual(await inPage(() => outcomes), ['refused'], key);
		assert.equal(await text(), shown);
		const refusal = await inPage(() => failure(() => note.insertText(root, '\ny')));
		assert.equal(refusal, key === 'Enter' ? 'limit' : 'none', key);
	}
});

/** What a key makes of a text with a selection: Backspace behind a mark deletes it whole. */
function pressed(text, key, { start, end }) {
	let from = start;
	let to = end;
	const put = key.endsWith('Enter') ? '\n' : /Backspace|Delete/.test(key) ? '' : key;
	const mark = [...text.matchAll(/◆(?:\[[^◆\]\n]*\])?/g)].find((match) => match.index + match[0].length === end);
	if (start === end && key === 'Backspace') from = mark ? mark.index : Math.max(0, start - 1);
	if (start === end && key === 'Delete') to = end + 1;
	return text.slice(0, from) + put + text.slice(to);
}

test('random keys do to a note of many formats what they do to a string, across chunks too', async () => {
	const looks = [{}, { weight: 700 }, { italic: true, color: '#ff0000' }, { size: 20, family: 'Verdana' }];
	const texts = (i) => (i % 4 ? ['ab cd ', i % 3 ? 'x◆[m]y' : '◆', i % 6 ? '' : '\u2028', 'tail'] : []);
	const runs = (i) => texts(i).map((text, j) => ({ ...looks[(i + j) % 4], text }));
	const blocks = Array.from({ length: 260 }, (_, i) => ({ list: i % 5 ? 0 : -4, listGroup: 1, runs: runs(i) }));
	await inPage((blocks) => (show(blocks), (window.next = random(5))), blocks);
	const initial = await inPage(() => JSON.stringify(note.serialize(root)));
	assert.ok(await inPage(() => root.children.length > 1), 'there are chunks');
	const keys = ['q', ' ', '◆', '[', ']', 'Enter', 'Shift+Enter', 'Backspace', 'Backspace', 'Delete', 'Delete'];
	keys.push('a\nb\n\nc');
	for (let round = 0; round < 150; round++) {
		const [before, selected, choice] = await inPage(() => {
			// Every fourth at the edge of a chunk.
			const chunk = root.children[next(root.children.length)];
			const edge = next(2) ? chunk.firstChild : chunk.lastChild;
			getSelection().selectAllChildren(edge);
			const { start, end } = note.selectionOffsets(root);
			const from = next(4) ? next(note.shownCharacterCount(root) + 1) : next(2) ? start : end;
			const to = Math.min(note.shownCharacterCount(root), from + (next(4) ? 0 : next(25)));
			note.selectOffsets(root, from, to);
			note.formatSelection(root, 'weight', 100 + next(600));
			return [note.documentText(root), note.selectionOffsets(root), next(99)];
		});
		const key = keys[choice % keys.length];
		if (/[◆\n]/.test(key)) await inPage((key) => note.insertText(root, key), key);
		else await use.page.keyboard.press(key);
		const shown = await text();
		const kept = await inPage(() => [savedText(), note.shownCharacterCount(root)]);
		assert.equal(shown, pressed(before, key, selected), `${round}: ${key} at ${selected.start} to ${selected.end}`);
		assert.deepEqual(kept, [shown, shown.length], `${round}: ${key}`);
	}
	await use.page.keyboard.press('Control+a');
	await use.page.keyboard.press('Delete');
	await use.page.keyboard.type('again');
	assert.equal(await text(), 'again');
	await inPage(() => [...Array(300)].forEach(() => note.undo(root)));
	assert.equal(await inPage(() => JSON.stringify(note.serialize(root))), initial);
	await inPage(() => [...Array(300)].forEach(() => note.redo(root)));
	assert.equal(await text(), 'again');
});

test('what the browser offers besides typing is done here or not at all', async () => {
	const fire = (...input) =>
		inPage(([inputType, data = '']) => {
			const dataTransfer = new DataTransfer();
			dataTransfer.setData('text/plain', data);
			dataTransfer.setData('text/html', '<b onclick=hit()>x</b>');
			const event = { inputType, dataTransfer, cancelable: true, bubbles: true };
			root.dispatchEvent(new InputEvent('beforeinput', event));
			return [outcomes.pop(), note.documentText(root), runsOf(0)[0]?.weight].join();
		}, input);
	await inPage(() => show('abc', 0, 2));
	assert.equal(await fire('insertFromDrop', 'no'), 'ignored,abc,400');
	assert.equal(await fire('insertOrderedList'), 'ignored,abc,400');
	assert.equal(await fire('formatBold'), 'done,abc,700');
	assert.equal(await fire('insertFromPaste', 'x\r\ny\ufffc'), 'done,x\nyc,700');
	assert.equal(await fire('historyUndo'), 'done,abc,700');
	assert.equal(await fire('historyUndo'), 'done,abc,400');
	assert.equal(await fire('historyUndo'), 'ignored,abc,400');
});

test('marks are found, inserted, left and deleted whole', async () => {
	const cases = [
		['a◆[b]c', 1, ''],
		['a◆[b]c', 2, '◆[b]'],
		['a◆[b]c', 5, '◆[b] at its end'],
		['a◆[b]c', 6, ''],
		['◆◆[x]', 1, '◆ at its end'],
		['◆[a\u2028]', 3, ''],
		['◆\n', 2, ''],
		['◆[◆]', 2, ''],
	];
	for (const [shown, offset, expected] of cases) {
		await inPage(([shown, offset]) => show(shown, offset), [shown, offset]);
		const mark = await inPage(() => note.markAt(root, getSelection().getRangeAt(0)));
		assert.equal(mark ? mark.text + (mark.atEnd ? ' at its end' : '') : '', expected, `${shown} ${offset}`);
	}
	// At the end of a coloured paragraph, where the next text must not be the mark's.
	await inPage(() => show([{ runs: [{ text: 'red', color: '#ff0000' }] }], 3));
	await inPage(() => note.insertMark(root, note.defaultMark));
	await use.page.keyboard.type('go');
	await use.page.keyboard.press('ArrowRight');
	await use.page.keyboard.type(' on');
	assert.equal(await brief(unset), 'red{color #ff0000}|◆[go]{color #ffb347}| on{color #ff0000}');
	await inPage(() => note.selectOffsets(root, 8));
	await use.page.keyboard.press('Backspace');
	assert.equal(await text(), 'red on');
	await inPage(() => document.execCommand('undo'));
	assert.deepEqual(await marks(), ['◆[go]'], "the browser's own undo");
	// Between two marks it is the text's around them.
	const around = { text: 'x', color: '#0000ff' };
	await inPage((around) => show([{ runs: [{ text: '◆◆', color: '#ffb347' }, around] }], 1), around);
	await use.page.keyboard.type('y');
	const blue = '{color #0000ff}';
	assert.equal(await brief(unset), `◆{color #ffb347}|y${blue}|◆{color #ffb347}|x${blue}`);
	await inPage(() => getSelection().removeAllRanges());
	assert.equal(await inPage(() => failure(() => note.insertMark(root, '◆'))), 'edit');
});

test('an input method keeps the limits, and its text stays out of marks', async () => {
	const session = await use.page.context().newCDPSession(use.page);
	const compose = async (...texts) => {
		for (const text of texts) {
			const place = { selectionStart: text.length, selectionEnd: text.length };
			await session.send('Input.imeSetComposition', { text, ...place });
		}
		await session.send('Input.insertText', { text: texts.at(-1) });
	};
	await inPage(() => show('ab◆[c]', 6));
	await compose('に', 'にほ', '日本');
	assert.equal(await text(), 'ab◆[c]日本');
	assert.deepEqual(await marks(), ['◆[c]']);
	await inPage(() => show('first\nsecond\nthird', 3, 15));
	await compose('é');
	assert.equal(await text(), 'firéird');
	await inPage(() => [note.undo(root), note.undo(root)]);
	assert.equal(await text(), 'first\nsecond\nthird');
	await inPage(() => show('x'.repeat(9_999), 7));
	await compose('日', '日本');
	assert.equal((await text()).length, 9_999);
	assert.equal(await inPage(() => outcomes.at(-1)), 'refused');
});

test('selected text and paragraphs take formats', async () => {
	await inPage(() => show('abcdef\nghi', 2, 8));
	await inPage(() => (note.formatSelection(root, 'size', 20), note.formatSelection(root, 'color', '#00ff00')));
	const big = '{color #00ff00, size 20}';
	assert.equal(await brief(), `ab|cdef${big} / g${big}|hi`);
	assert.deepEqual(await inPage(() => note.selectionOffsets(root)), { start: 2, end: 8 });
	const painted = { ...unset, italic: true, strike: true, family: 'Verdana', background: '#123456' };
	await inPage((format) => note.formatSelection(root, 'paint', format), painted);
	assert.deepEqual(await inPage(() => note.selectionFormat(root)), painted);
	await inPage(() => note.formatSelection(root, 'clear'));
	assert.equal(await brief(), 'abcdef / ghi');
	const refused = await inPage(() => [
		...[5, 145, 'big'].map((size) => note.formatSelection(root, 'size', size)),
		(note.selectOffsets(root, 1), note.formatSelection(root, 'weight', 700)),
	]);
	assert.deepEqual(refused, [false, false, false, false]);
	await inPage(() => (show('a\nb\nc', 0, 4), note.formatParagraphs(root, 'align', 4)));
	assert.equal(await brief(), '{align 4}a / {align 4}b / c', 'not the one where the selection ends');
});
