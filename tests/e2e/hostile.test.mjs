// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Notes at the limits, and notes and pasted text that are not what they should be: a clear message, no stall, nothing
// lost.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import { after, describe, test } from 'node:test';
import { Studio, scrollBar, sleep, text } from './studio.mjs';

const longestStallMs = 250;

const studio = await Studio.open(['Bad', 'Big']);
after(() => studio.kill());

describe('a note that is not what it should be', () => {
	const file = path.join(studio.notesFolder, 'Bad.json');
	const link = () => {
		fs.renameSync(file, path.join(studio.home, 'elsewhere.json'));
		fs.symlinkSync(path.join(studio.home, 'elsewhere.json'), file);
	};
	const pipe = () => {
		fs.rmSync(file);
		execFileSync('mkfifo', [file]);
	};
	// What is ruinous is small, but it would freeze the window for seconds or minutes.
	const cases = {
		'is cut short': ['BackupInvalid', () => fs.truncateSync(file, fs.statSync(file).size - 10)],
		'is 65 MiB large': ['BackupTooLarge', () => fs.truncateSync(file, 65 * 2 ** 20)],
		'is a link': ['FileReadFailed', link],
		'is a pipe': ['FileReadFailed', pipe],
		'nests tables': ['TextLimit', () => {}, '<table><tr><td>'.repeat(20) + 'x'],
		'nests blocks': ['TextLimit', () => {}, `${'<div>'.repeat(50_000)}x`],
	};
	for (const [what, [key, breakFile, html]] of Object.entries(cases)) {
		test(`that ${what} is refused and left alone`, async () => {
			fs.rmSync(file, { force: true });
			await studio.plant('Bad', html ?? '<p>good</p>');
			breakFile();
			const found = fs.lstatSync(file);
			await studio.assertQuick('opening', longestStallMs, () => studio.show('Bad'), () => studio.show('Scene'));
			const reason = key === 'FileReadFailed' ? text(key) + file : text(key);
			const shown = await studio.get('noteEditor', ['placeholderText', 'plainText', 'readOnly']);
			assert.deepEqual(shown, { placeholderText: reason, plainText: '', readOnly: true });
			assert.equal(await studio.status(), reason);
			await studio.type('lost?');
			await studio.show('Scene');
			const left = fs.lstatSync(file);
			assert.deepEqual([left.ino, left.size, left.mtimeMs], [found.ino, found.size, found.mtimeMs]);
			if (html) {
				await studio.assertQuick('pasting', longestStallMs, () => studio.paste({ html }));
				assert.equal(await studio.status(), reason);
			}
			assert.equal(await studio.plain(), '');
		});
	}
});

test('what a note names outside is kept and never opened, from a file and the clipboard', async (t) => {
	const token = `outside${crypto.randomUUID()}`;
	const trace = ({ home }) => path.join(home, 'trace');
	const calls = ['-f', '--seccomp-bpf', '-s', '500', '-e', 'trace=%file,connect'];
	const wrap = (host) => ['strace', ...calls, '-o', trace(host), 'setpriv', '--pdeathsig', 'KILL'];
	const traced = await Studio.open(['Note'], { wrap });
	t.after(() => traced.kill());
	const places = [
		path.join(traced.home, `${token}.png`),
		`file://${traced.home}/${token}.png`,
		`${token}/relative.png`,
		`//${token}/share/x.png`,
		`file://${token}/share/x.png`,
		`http://127.0.0.1:9/${token}.png`,
		`http://${token}.invalid/x.png`,
	];
	fs.writeFileSync(places[0], 'no picture');
	for (const place of places) {
		const html = `<html><head><link rel="stylesheet" href="${place}">
			<style>@import url("${place}"); p { background-image: url("${place}"); }</style></head>
			<body background="${place}"><p>text<img src="${place}" width="9" height="9"></p>
			<table background="${place}"><tr><td background="${place}">cell</td></tr></table></body></html>`;
		await traced.show('Scene');
		const file = await traced.plant('Note', html);
		await traced.show('Note');
		assert.match(await traced.plain(), /text/);
		await sleep(300); // until it is painted
		await traced.key('Ctrl+A');
		await traced.paste({ html });
		await traced.waitForSave();
		await sleep(300);
		assert.ok(fs.readFileSync(file, 'utf8').includes(token), 'the note keeps what it names');
	}
	const opened = fs.readFileSync(trace(traced), 'utf8');
	assert.match(opened, /connect\([^]*Note\.json/, 'the trace sees what is connected to and opened');
	assert.deepEqual(opened.split('\n').filter((line) => line.includes(token) || line.includes('htons(9)')), []);
});

const typeAt = async (home) => {
	await studio.key(home);
	await sleep(300);
	await studio.type('x', 30);
	await studio.key('Backspace');
};
// The limits, in milliseconds, are far above what is measured, far below what a user would call hanging.
const steps = {
	open: [2_500, () => studio.show('Big')],
	'type at the start': [150, () => typeAt('Ctrl+Home')],
	save: [500, () => studio.waitForSave()],
	scroll: [150, async () => {
		for (let turn = 1; turn <= 20; turn++) {
			await studio.set(scrollBar, 'value', 60 * turn);
		}
		await sleep(100);
	}],
	'type at the end': [150, () => typeAt('Ctrl+End')],
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
		for (const [step, [limitMs, work]] of Object.entries(steps)) {
			const stallMs = await studio.longestStall(work);
			t.diagnostic(`${step}: ${Math.round(stallMs)} ms`);
			assert.ok(stallMs < limitMs, `${step}: the window stood still for too long`);
		}
		assert.equal(await studio.get('noteEditor .QTextDocument', 'blockCount'), paragraphs);
	});
}
