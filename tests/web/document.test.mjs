// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { brief, unset, usePage } from './note_page.mjs';

const use = await usePage();
const { inPage } = use;

test('a document is within the limits up to each edge', async () => {
	const fits = await inPage(() => {
		const of = (lengths) => ({ blocks: lengths.map((length) => ({ runs: [{ text: 'x'.repeat(length) }] })) });
		const full = Array(20).fill(9_999);
		const short = [Array(20_000).fill(0), Array(20_001).fill(0)];
		const counted = (document) => `${note.characterCount(document)} ${note.withinTextLimits(document)}`;
		const all = [...short, [10_000], [10_001], [...full, 0], [...full, 1]].map(of);
		return [...all, {}].map(counted).join();
	});
	assert.equal(fits, '19999 true,20000 false,10000 true,10001 false,200000 true,200001 false,0 true');
});

test('plain text becomes paragraphs, or says why not', async () => {
	const document = await inPage(() => note.plainDocument('\ufeffa\r\nb\rc\u2029\nd\u2028e'));
	assert.equal(brief(document), 'a / b / c /  / d\u2028e');
	const names = await inPage(() =>
		['x'.repeat(10_000), 'x'.repeat(10_001), '\n'.repeat(19_999), '\n'.repeat(20_000), 'a\0', '\ufffc']
			.concat([`${'x'.repeat(9_999)}\n`.repeat(21)])
			.map((line) => failure(() => note.plainDocument(line))),
	);
	assert.deepEqual(names, ['none', 'limit', 'none', 'limit', 'format', 'format', 'limit']);
});

test('what is rendered serialises as it was, and runs nothing', async () => {
	const results = await inPage(() => {
		const next = random(7);
		const texts = 'word ~◆[note]~◆~\u2028~ end\u2028~<img src=x onerror=hit()>~&amp;~[~]~👍'.split('~');
		const looks = [{}, { weight: 700 }, { italic: true, color: '#ff0000' }, { underline: true, strike: true }];
		looks.push({ size: 14.5, family: 'Courier New' }, { background: 'yellow', weight: 350 });
		looks.push({ family: '";color:red;x:url(//h/)', color: 'javascript:hit()' }, { family: 'a\\"\n</style>' });
		const pick = (list) => list[next(list.length)];
		const differing = [];
		for (let round = 0; round < 60; round++) {
			const blocks = Array.from({ length: 1 + next(12) }, () => {
				const chosen = Array.from({ length: next(6) }, () => pick(looks));
				const unlike = chosen.filter((look, i) => look !== chosen[i - 1]);
				const runs = unlike.map((look) => ({ ...note.selectionFormat(root), ...look, text: pick(texts) }));
				const group = { listIndent: 1 + next(12), listGroup: next(3), listStart: 1 + next(9) };
				const look = { align: pick([1, 2, 4, 8]), indent: next(13), list: pick([0, 0, -1, -4]) };
				return { runs, ...look, ...group, more: { kept: [round] } };
			});
			note.render(root, { blocks });
			const back = note.serialize(root);
			const plainText = blocks.map(({ runs }) => runs.map((run) => run.text).join('')).join('\n');
			const order = (block) => JSON.stringify(Object.entries(block).sort());
			if (back.blocks.map(order).join() !== blocks.map(order).join()) differing.push([blocks, back.blocks]);
			if (note.documentText(root) !== plainText.replaceAll('\u2028', '\n')) differing.push(plainText);
			if (note.shownCharacterCount(root) !== note.characterCount({ blocks })) differing.push('count');
		}
		const used = new Set(Array.from(root.querySelectorAll('*'), (element) => element.tagName));
		return { differing, used: [...used].sort().join(), empty: (note.render(root, {}), note.serialize(root)) };
	});
	assert.deepEqual(results.differing, []);
	assert.match(results.used, /^(BR,)?(DIV,)?P,SPAN$/);
	assert.equal(brief(results.empty), '');
});

test('elements of the browser serialise by tag and style', async () => {
	const styled = (style, text = 'a') => `<p><span style="${style}">${text}</span></p>`;
	const cases = [
		['<p>a<b>b</b><strong>c</strong></p>', 'a|bc{weight 700}'],
		['<p><i>a</i><u>b</u><s>c</s><del>d</del></p>', 'a{italic true}|b{underline true}|cd{strike true}'],
		[styled('font-weight:bold;font-size:16px'), 'a{weight 700, size 12}'],
		[styled('color:rgb(1, 2, 255);background:Yellow'), 'a{color #0102ff, background yellow}'],
		[styled('color:rgba(1,2,3,.5);font-family:inherit;background-color:Canvas'), 'a'],
		[styled("font-family:'Times New Roman', serif"), 'a{family Times New Roman}'],
		['<p><u><span style="text-decoration:line-through">b</span></u></p>', 'b{underline true, strike true}'],
		['<p>a<br>b\nc</p>', 'a\u2028b\u2028c'],
		['<p>a\n<br></p>', 'a\u2028'],
		['<p><br></p>', ''],
		['', ''],
		['stray <b>text</b>', 'stray |text{weight 700}'],
		['<p>a\ud800b\ufffc</p>', 'a\ufffdb'],
	];
	for (const [html, expected] of cases) {
		await inPage((html) => (root.innerHTML = html), html);
		assert.equal(await use.brief(unset), expected, html);
	}
});

test('list paragraphs are numbered by group, whatever is done to them', async () => {
	const markers = () => inPage(() => note.paragraphsOf(root).map((paragraph) => paragraph.dataset.marker ?? ''));
	const item = (list, listGroup = 1, listStart = 1) => ({ list, listGroup, listStart, runs: [{ text: 'x' }] });
	const cases = [
		[[item(-4), { runs: [] }, item(-4), item(-4, 2, 7), item(-4, 1, 1)], '1.  2. 7. 1.'],
		[[item(-1), item(-2), item(-3)], '• ◦ ▪'],
		[[item(-5, 1, 26), item(-5), item(-6, 2, 702), item(-6, 2)], 'z. aa. ZZ. AAA.'],
		[[item(-7, 1, 4), item(-7), item(-8, 2, 1994), item(-8, 3, 3999)], 'iv. v. MCMXCIV. MMMCMXCIX.'],
	];
	for (const [blocks, expected] of cases) {
		await inPage((blocks) => note.render(root, { blocks }), blocks);
		assert.equal((await markers()).join(' '), expected);
	}
	await inPage((item) => show(Array(450).fill(item), 3), item(-4));
	await use.page.keyboard.press('Enter');
	const counted = (count) => Array.from({ length: count }, (_, index) => `${index + 1}.`);
	assert.deepEqual(await markers(), counted(451), 'a new item');
	await use.page.keyboard.press('Backspace');
	await inPage(() => (note.selectOffsets(root, 2), note.formatParagraphs(root, 'list', 0)));
	assert.deepEqual(await markers(), ['1.', '', ...counted(449).slice(1)], 'an item that is none any more');
	await inPage(() => note.undo(root));
	assert.deepEqual(await markers(), counted(450), 'undone');
	await inPage((item) => show([{ ...item, indent: 5, listIndent: 9 }]), item(-4));
	assert.equal(await inPage(() => root.querySelector('p').style.marginInlineStart), '16.8em');
});

test('HTML becomes a document', async () => {
	const cases = [
		['<p>a<script>hit()</script><img src=x onerror=hit()><style>p{}</style></p><svg>s</svg>', 'a'],
		['<!doctype html><html><head><title>t</title></head><body>\n <p>a\nb</p>\n<p></p><div></div>', 'a b / '],
		['<div><p>a</p>b<blockquote>c</blockquote></div>', 'a / b / c'],
		['<p>a<br>b</p><p><br></p>', 'a\u2028b / '],
		['<pre>a\n b</pre>', 'a\u2028 b'],
		['<h1>a</h1><h2 style="font-size:9pt">b</h2>', 'a{weight 700, size 24} / b{weight 700, size 9}'],
		['<p style="text-align:right;font-size:4px"><span style="font-size:2em">b</span>', '{align 2}b{size 6}'],
		['<b style="font-family:\'My Font\',serif">b</b>', 'b{weight 700, family My Font}'],
		['<ul><li>a<li><p>b</p></ul>', '{list -1, listGroup 1}a / {list -1, listGroup 1}b'],
		['<ol type=i start=4><li>c</ol>', '{list -7, listGroup 1, listStart 4}c'],
		[
			'<ul><li>a<ul style="list-style-type:square"><li>d',
			'{list -1, listGroup 1}a / {list -3, listIndent 2, listGroup 2}d',
		],
		['<table><tr><td>a</td><td></td><th>b</th></tr></table>', 'a /  / b'],
		['<ol start=99999><li></ol>', '{list -4, listGroup 1, listStart 10000}'],
		['  ', ''],
	];
	for (const [html, expected] of cases) {
		assert.equal(brief(await inPage((html) => note.importHtml(html, document), html)), expected, html);
	}
	const names = await inPage(() => {
		const deep = (count) => `${'<i>'.repeat(count)}x`;
		const long = (count) => `<p>${'x'.repeat(count)}`;
		const cases = ['x'.repeat(1_048_577), deep(65), deep(64), '<p>'.repeat(20_001), '<p>'.repeat(20_000)];
		cases.push(long(10_001), '<b>x</b>y'.repeat(10_001), long(9_999).repeat(21));
		return cases.map((html) => failure(() => note.importHtml(html, document)));
	});
	assert.deepEqual(names, ['size', 'format', 'none', 'size', 'none', 'limit', 'size', 'limit']);
});
