// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the remote service costs in the real host: round trips beside obs-websocket's own, and how long the window does
// not react to a note near the limits. Run it by hand, on a quiet machine:
//   scripts/enter env QUILLBAY_BUILD=$PWD/build/trixie-dev node bench/remote.mjs

import { setTimeout as sleep } from 'node:timers/promises';
import { Client, openRemoteStudio } from '../tests/e2e/remote_client.mjs';

const budget = 1.3;
const count = 2000;
const sentence = 'Good evening and welcome to the show, here are the news of the day. ';
const prose = (length) => sentence.repeat(length / sentence.length + 1).slice(0, length);
/** Notes at the limits: A of 2,000 paragraphs, B of as many as there may be, C in many runs, D of long ones. */
const notes = {
	A: `<p>${prose(99)}</p>`.repeat(1990),
	B: '<p>news</p>'.repeat(15_000),
	C: `<p>${'<b>ab</b>cd'.repeat(24)}</p>`.repeat(2000),
	D: `<p>${prose(9990)}</p>`.repeat(20),
};

const quantile = (values, part) => values.toSorted((a, b) => a - b)[Math.floor(values.length * part)];

async function timed(action) {
	const from = performance.now();
	await action();
	return performance.now() - from;
}

/** Both in turns, so that the machine's other work meets both. */
async function compareRoundTrips(phone) {
	const times = { GetVersion: [], KeepAlive: [], GetState: [] };
	for (let i = 0; i < count; i++) {
		times.GetVersion.push(await timed(() => phone.socket.call('GetVersion')));
		times.KeepAlive.push(await timed(() => phone.ask('KeepAlive')));
		times.GetState.push(await timed(() => phone.ask('GetState')));
	}
	const floor = quantile(times.GetVersion, 0.5);
	for (const [name, values] of Object.entries(times)) {
		const median = quantile(values, 0.5);
		const figures = `p50 ${median.toFixed(3)} ms, p99 ${quantile(values, 0.99).toFixed(2)} ms`;
		const isOver = median / floor > budget;
		const end = isOver ? '  OVER' : '';
		console.log(`${name.padEnd(10)} ${figures}, ratio ${(median / floor).toFixed(2)}, budget ${budget}${end}`);
		process.exitCode ||= Number(isOver);
	}
}

/** The window's longest pause for each action with a note near the limits. */
async function measureStalls(studio, phone, name) {
	await studio.plant(name, notes[name]);
	await studio.show(name);
	// From here on the note is in the words that the editor saves it in.
	await studio.type('x');
	await studio.waitForSave();
	await sleep(2100);
	const { uuid: scene } = await studio.sceneInfo(name);
	const show = async (action, work) => {
		let answer;
		const stall = await studio.longestStall(async () => (answer = await work()));
		console.log(`${name} ${action.padEnd(12)} window ${stall.toFixed(0)} ms, ${answer.ok ? 'ok' : answer.code}`);
		return answer;
	};
	await show('GetDocument', () => phone.ask('GetDocument', { scene }));
	let note = await show('AcquireEdit', () => phone.acquire(scene));
	for (let i = 0; i < 3 && note.ok; i++) {
		note = await show('SaveDocument', () => phone.prepend(note, `w${i}`));
	}
	await show('ExportHtml', () => phone.ask('ExportHtml', { scene }));
	await show('ExportText', () => phone.ask('ExportText', { scene }));
	await phone.ask('ReleaseEdit');
}

/** How the teleprompter runs with nobody, and with 16 devices that follow it. */
async function measureTeleprompter(studio, phones) {
	const run = async (what) => {
		await phones[0].ask('Scroll', { command: 'top' });
		await phones[0].ask('Scroll', { command: 'start' });
		const stall = await studio.longestStall(() => sleep(5000));
		await phones[0].ask('Scroll', { command: 'pause' });
		console.log(`teleprompter, ${what}: window ${stall.toFixed(0)} ms`);
	};
	await run('1 device');
	while (phones.length < 16) {
		phones.push(await Client.open(studio, `device ${phones.length}`));
	}
	let events = 0;
	phones.at(-1).socket.on('VendorEvent', () => events++);
	await run('16 devices');
	console.log(`events of 5 s: ${events}`);
}

// The first is on air before its note is there.
const studio = await openRemoteStudio(['Start', ...Object.keys(notes)]);
const phone = await Client.open(studio, 'bench');
await compareRoundTrips(phone);
for (const name of Object.keys(notes)) {
	await measureStalls(studio, phone, name);
}
await measureTeleprompter(studio, [phone]);
await studio.stop();
process.exit();
