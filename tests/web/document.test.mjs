// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { arial, plain, unset, usePage } from './note_page.mjs';

const use = usePage();
const { inPage, noFailures } = use;

test('a document is within the limits up to each edge', async () => {
	const fits = await inPage(() => {
		const of = (...lengths) => ({ blocks: lengths.map((length) => ({ runs: [{ text: 'x'.repeat(length) }] })) });
		const many = (count, length) => of(...Array(count).fill(length));
		return [many(20_000, 0), many(20_001, 0), of(10_000), of(10_001), of(...Array(20).fill(9_999), 0)]
			.concat([of(...Array(20).fill(9_999), 1), {}])
			.map((document) => [note.characterCount(document), note.withinTextLimits(document)]);
	});
	assert.deepEqual(fits, [
		[19_999, true],
		[20_000, false],
		[10_000, true],
		[10_001, false],
		[200_000, true],
		[200_001, false],
		[0, true],
	]);
});

test('plain text becomes paragraphs, or says why not', async () => {
	const document = await inPage(() => note.plainDocument('\ufeffa\r\nb\rc\u2029\nd\u2028e'));
	const lines = ['a', 'b', 'c', '', 'd\u2028e'];
	const blocks = lines.map((line) => ({ ...plain, runs: line ? [{ ...arial, text: line }] : [] }));
	assert.deepEqual(document, { blocks });
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
		const texts = [
			'word ',
			'◆[note]',
			'◆',
			'\u2028',
			' end\u2028',
			'<img src=x onerror=hit()>',
			'&amp;',
			'[',
			']',
			'👍',
		];
		const looks = [{}, { weight: 700 }, { italic: true, color: '#ff0000' }, { underline: true, strike: true }]
			.concat([
				{ size: 14.5, family: 'Courier New' },
				{ background: 'yellow', weight: 350 },
			])
			.concat([{ family: '";color:red;x:url(//h/)', color: 'javascript:hit()' }, { family: 'a\\"\n</style>' }]);
		const pick = (list) => list[next(list.length)];
		const differing = [];
		for (let round = 0; round < 60; round++) {
			const blocks = Array.from({ length: 1 + next(12) }, () => {
				const runs = [];
				let last = null;
				for (let i = next(6); i > 0; i--) {
					const look = pick(looks);
					if (look !== last) runs.push({ ...note.selectionFormat(root), ...look, text: pick(texts) });
					last = look;
				}
				const list = pick([0, 0, -1, -4]);
				const group = { listIndent: 1 + next(12), listGroup: next(3), listStart: 1 + next(9) };
				return { runs, align: pick([1, 2, 4, 8]), indent: next(13), list, ...group, more: { kept: [round] } };
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
		return { differing, used: [...used].sort(), empty: (note.render(root, {}), note.serialize(root)) };
	});
	assert.deepEqual(results.differing, []);
	assert.ok(
		results.used.every((tag) => ['BR', 'DIV', 'P', 'SPAN'].includes(tag)),
		results.used.join(),
	);
	assert.deepEqual(results.empty, { blocks: [{ ...plain, runs: [] }] });
	noFailures();
});

test('elements of the browser serialise by tag and style', async () => {
	const cases = [
		['<p>a<b>b</b><strong>c</strong></p>', [{ text: 'a' }, { weight: 700, text: 'bc' }]],
		[
			'<p><i>a</i><u>b</u><s>c</s><del>d</del></p>',
			[
				{ italic: true, text: 'a' },
				{ underline: true, text: 'b' },
				{ strike: true, text: 'cd' },
			],
		],
		['<p><span style="font-weight:bold;font-size:16px">a</span></p>', [{ weight: 700, size: 12, text: 'a' }]],
		[
			'<p><span style="color:rgb(1, 2, 255);background:Yellow">a</span></p>',
			[{ color: '#0102ff', background: 'yellow', text: 'a' }],
		],
		[
			'<p><span style="color:rgba(1,2,3,.5);font-family:inherit;background-color:Canvas">a</span></p>',
			[{ text: 'a' }],
		],
		[
			`<p><u>a<span style="text-decoration:line-through;font-family:'Times New Roman', serif">b</span></u></p>`,
			[
				{ underline: true, text: 'a' },
				{ underline: true, strike: true, family: 'Times New Roman', text: 'b' },
			],
		],
		['<p>a<br>b\nc</p>', [{ text: 'a\u2028b\u2028c' }]],
		['<p>a\n<br></p>', [{ text: 'a\u2028' }]],
		['<p><br></p>', []],
		['<br>', []],
		['', []],
		['stray <b>text</b>', [{ text: 'stray ' }, { weight: 700, text: 'text' }]],
		['<p>a\ud800b\ufffc</p>', [{ text: 'a\ufffdb' }]],
	];
	for (const [html, runs] of cases) {
		const back = await inPage((html) => ((root.innerHTML = html), note.serialize(root)), html);
		assert.deepEqual(back.blocks, [{ ...plain, runs: runs.map((run) => ({ ...unset, ...run })) }], html);
	}
});

test('list paragraphs are numbered by group, whatever is done to them', async () => {
	const markers = () => inPage(() => note.paragraphsOf(root).map((paragraph) => paragraph.dataset.marker ?? ''));
	const item = (list, listGroup = 1, listStart = 1) => ({ list, listGroup, listStart, runs: [{ text: 'x' }] });
	const cases = [
		[[item(-4), item(-4), item(-4)], '1. 2. 3.'],
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
	assert.deepEqual(await markers(), counted(450), 'joined again');
	await inPage(() => (note.selectOffsets(root, 2), note.formatParagraphs(root, 'list', 0)));
	assert.deepEqual(await markers(), ['1.', '', ...counted(449).slice(1)], 'an item that is none any more');
	await inPage(() => note.undo(root));
	assert.deepEqual(await markers(), counted(450), 'undone');
	const margin = await inPage(
		(item) => (show([{ ...item, indent: 5, listIndent: 9 }]), root.querySelector('p').style.marginInlineStart),
		item(-4),
	);
	assert.equal(margin, '16.8em');
});

test('what was not in view yet is taken to be about as high as it is', async () => {
	const cases = [
		[1_000, 12, 99],
		[500, 24, 300],
		[20, 0, 9_000],
	];
	for (const [count, size, length] of cases) {
		const [taken, real] = await inPage(
			async ([count, size, length]) => {
				const text = 'speak this line now '.repeat(500).slice(0, length);
				note.render(root, {
					blocks: Array(count).fill({ runs: [{ text, size, family: size ? 'Arial' : '' }] }),
				});
				await new Promise((resolve) => requestAnimationFrame(() => setTimeout(resolve)));
				const taken = root.scrollHeight;
				for (const chunk of root.children) chunk.style.contentVisibility = 'visible';
				return [taken, root.scrollHeight];
			},
			[count, size, length],
		);
		assert.ok(Math.abs(taken / real - 1) < 0.2, `${count} of size ${size}: ${taken} for ${real}`);
	}
});

test('HTML becomes a document', async () => {
	const run = (text, format = {}) => ({ ...arial, ...format, text });
	const block = (runs, format = {}) => ({
		...plain,
		...format,
		runs: [runs].flat().map((part) => (typeof part === 'string' ? run(part) : part)),
	});
	const list = (style, group = 1, level = 1, start = 1) => ({
		list: style,
		listGroup: group,
		listIndent: level,
		listStart: start,
	});
	const cases = [
		['<p>a<script>hit()</script><img src=x onerror=hit()><style>p{}</style></p><svg>s</svg>', [block('a')]],
		[
			'<!doctype html><html><head><title>t</title></head><body>\n <p>a\nb</p>\n<p></p><div></div>',
			[block('a b'), block([])],
		],
		['<div><p>a</p>b<blockquote>c</blockquote></div>', [block('a'), block('b'), block('c')]],
		['<p>a<br>b</p><p><br></p>', [block('a\u2028b'), block([])]],
		['<pre>a\n b</pre>', [block('a\u2028 b')]],
		[
			'<h1>a</h1><h2 style="font-size:9pt">b</h2>',
			[block(run('a', { weight: 700, size: 24 })), block(run('b', { weight: 700, size: 9 }))],
		],
		[
			'<p style="text-align:right;font-size:4px"><b>a</b><span style="font-size:2em;font-family:\'My Font\',serif">b</span></p>',
			[block([run('a', { weight: 700, size: 6 }), run('b', { size: 6, family: 'My Font' })], { align: 2 })],
		],
		[
			'<ul><li>a<li><p>b</p></ul><ol type=i start=4><li>c<ul style="list-style-type:square"><li>d</ul></ol>',
			[block('a', list(-1)), block('b', list(-1)), block('c', list(-7, 2, 1, 4)), block('d', list(-3, 3, 2))],
		],
		['<table><tr><td>a</td><td></td><th>b</th></tr></table>', [block('a'), block([]), block('b')]],
		['<ol start=99999><li></ol>', [block([], list(-4, 1, 1, 10_000))]],
		['  ', [block([])]],
		['', [block([])]],
	];
	for (const [html, blocks] of cases) {
		assert.deepEqual(await inPage((html) => note.importHtml(html, document), html), { blocks }, html);
	}
	const names = await inPage(() =>
		[
			'x'.repeat(1_048_577),
			'<i>'.repeat(65) + 'x',
			'<i>'.repeat(64) + 'x',
			'<p>'.repeat(20_001),
			'<p>'.repeat(20_000),
		]
			.concat([`<p>${'x'.repeat(10_001)}`, '<b>x</b>y'.repeat(10_001), `<p>${'x'.repeat(9_999)}`.repeat(21)])
			.map((html) => failure(() => note.importHtml(html, document))),
	);
	assert.deepEqual(names, ['size', 'format', 'none', 'size', 'none', 'limit', 'size', 'limit']);
	noFailures();
});
