// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The real OBS Studio in a home of its own, with our module and the probe, on a display of its own.
//
// QUILLBAY_BUILD names the build folder. QUILLBAY_LOGS names a folder for the logs of hosts that ended badly.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import OBSWebSocket from 'obs-websocket-js/json';

export { sleep };

export const repository = fileURLToPath(new URL('../..', import.meta.url));
export const build = process.env.QUILLBAY_BUILD ?? path.join(repository, 'build/trixie-dev');
const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'quillbay-e2e-'));

// Whatever ends this process takes the children and the files along.
const children = [];
process.on('exit', () => {
	children.forEach((child) => child.kill('SIGKILL'));
	fs.rmSync(scratch, { recursive: true, force: true });
});

/** Starts a program that dies with this process. */
function start(command, options) {
	const child = spawn('setpriv', ['--pdeathsig', 'KILL', ...command], options);
	children.push(child);
	return child;
}

/** Waits until `probe` answers something true, and returns that. */
export async function waitFor(what, probe, timeoutMs = 10_000) {
	const deadline = performance.now() + timeoutMs;
	let answer;
	while (!(answer = await probe())) {
		assert.ok(performance.now() <= deadline, `waited ${timeoutMs} ms in vain for: ${what}`);
		await sleep(20);
	}
	return answer;
}

/** The environment of a display, with a window manager, for this process. */
async function openDisplay() {
	const screen = ['-screen', '0', '1600x1000x24', '-nolisten', 'tcp'];
	const server = start(['Xvfb', '-displayfd', '3', ...screen], { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
	const [number] = await once(server.stdio[3], 'data');
	const environment = { DISPLAY: `:${String(number).trim()}`, LIBGL_ALWAYS_SOFTWARE: '1' };
	const manager = start(['openbox'], { stdio: 'ignore', env: { ...process.env, ...environment } });
	// A test process ends when its tests have ended.
	[server, server.stdio[3], manager].forEach((part) => part.unref());
	return environment;
}

let display;

/** A port that nobody listens on just now. */
export async function freePort() {
	const server = net.createServer().listen(0, '127.0.0.1');
	await once(server, 'listening');
	const { port } = server.address();
	await new Promise((resolve) => server.close(resolve));
	return port;
}

function installModule(config, name, module) {
	const folder = path.join(config, 'plugins', name, 'bin/64bit');
	fs.mkdirSync(folder, { recursive: true });
	fs.symlinkSync(path.join(build, module), path.join(folder, `${name}.so`));
}

/** A new home. A small picture leaves the processor to what is tested. */
function layHome({ home, config }, hasModule) {
	const profile = path.join(config, 'basic/profiles/Untitled');
	fs.mkdirSync(profile, { recursive: true });
	fs.mkdirSync(path.join(home, 'run'), { mode: 0o700 });
	fs.copyFileSync(path.join(repository, 'scripts/lib/home/global.ini'), path.join(config, 'global.ini'));
	const picture = ['BaseCX=320', 'BaseCY=180', 'OutputCX=320', 'OutputCY=180', 'FPSCommon=10'].join('\n');
	fs.writeFileSync(path.join(profile, 'basic.ini'), `[General]\nName=Untitled\n\n[Video]\n${picture}\n`);
	installModule(config, 'quillbay-probe', 'tests/e2e/quillbay-probe.so');
	if (hasModule) {
		installModule(config, 'quillbay', 'src/quillbay.so');
		fs.symlinkSync(path.join(repository, 'data'), path.join(config, 'plugins/quillbay/data'));
	}
}

/** Without capabilities file modes count for root too, as they do for users. */
function withoutPrivileges() {
	const isPrivileged = !/^CapEff:\s*0+$/m.test(fs.readFileSync('/proc/self/status', 'utf8'));
	return isPrivileged ? ['setpriv', '--bounding-set=-all', '--inh-caps=-all'] : [];
}

export class Host {
	/** All that the host has printed since it was last started. */
	log = '';

	/** What its environment has besides. */
	env = {};

	/**
	 * @param {{module?: boolean, wrap?: (host: Host) => string[]}} options `module` false leaves ours out; `wrap`
	 * answers a command that runs the host's command.
	 */
	constructor({ module = true, wrap = () => [] } = {}) {
		Object.assign(this, { wrap, password: 'a password of ours' });
		this.home = fs.mkdtempSync(path.join(scratch, 'home-'));
		this.config = path.join(this.home, '.config/obs-studio');
		layHome(this, module);
	}

	/** Starts the host, at first or once more, and returns when all of it is up. */
	async start() {
		const port = await freePort();
		const folder = path.join(this.config, 'plugin_config/obs-websocket');
		const server = { server_enabled: true, server_password: this.password, server_port: port };
		fs.mkdirSync(folder, { recursive: true });
		fs.writeFileSync(path.join(folder, 'config.json'), JSON.stringify({ first_load: false, ...server }));
		// A host that was killed must not ask for its safe mode.
		fs.rmSync(path.join(this.config, '.sentinel'), { recursive: true, force: true });

		this.log = '';
		const obs = ['obs', '--multi', '--disable-shutdown-check', '--disable-missing-files-check'];
		display ??= openDisplay();
		const run = path.join(this.home, 'run');
		const folders = { HOME: this.home, XDG_CONFIG_HOME: undefined, XDG_RUNTIME_DIR: run, TMPDIR: run };
		const env = { ...process.env, ...(await display), ...folders, ...this.env };
		const command = [...this.wrap(this), ...withoutPrivileges(), ...obs];
		this.process = start(command, { stdio: ['ignore', 'pipe', 'pipe'], env });
		this.ended = once(this.process, 'close');
		this.isLeaving = false;
		this.died = this.ended.then(([status, signal]) => {
			if (!this.isLeaving) {
				this.keepLog();
			}
			throw new Error(`the host has ended (${signal ?? status})`);
		});
		this.died.catch(() => {});
		for (const stream of [this.process.stdout, this.process.stderr]) {
			stream.setEncoding('utf8').on('data', (text) => (this.log += text));
		}
		this.socket = new OBSWebSocket();
		this.socketUrl = `ws://127.0.0.1:${port}`;
		const connect = () => this.socket.connect(this.socketUrl, this.password).catch(() => false);
		await Promise.race([this.died, waitFor('obs-websocket answers', connect, 90_000)]);
		await Promise.race([this.died, waitFor('the host is up', () => this.exists('@main'), 60_000)]);
		await this.call('SetCurrentSceneTransition', { transitionName: 'Cut' });
	}

	/** Opens the dock beside the picture, in a window that has room for both. */
	async openDock() {
		await this.set('@main', 'geometry', [0, 0, 1500, 900]);
		await this.set('QuillBay', 'floating', false);
		await this.set('QuillBay', 'visible', true);
		await waitFor('the dock is open', () => this.get('noteEditor', 'visible'));
	}

	// --- ending ----------------------------------------------------------------------------------------------

	/** Ends the host as its user does. Answers its exit status and how many leaks it reports. */
	async stop() {
		this.isLeaving = true;
		this.process.kill('SIGINT');
		const late = setTimeout(() => this.process.kill('SIGABRT'), 40_000);
		const [status, signal] = await this.ended;
		clearTimeout(late);
		await this.socket.disconnect();
		if (status !== 0) {
			this.keepLog();
		}
		const [, leaks] = /Number of memory leaks: (\d+)/.exec(this.log) ?? [];
		return { status: signal ?? status, leaks: Number(leaks) };
	}

	/** Ends the host at once, as a crash or a power cut does. */
	async kill() {
		this.isLeaving = true;
		this.process?.kill('SIGKILL');
		await this.ended;
		await this.socket?.disconnect().catch(() => {});
	}

	/** A path as the host sees it, when `wrap` has given the host mounts of its own. */
	inside = (file) => path.join(`/proc/${this.process.pid}/root`, file);

	keepLog() {
		const file = path.join(process.env.QUILLBAY_LOGS ?? os.tmpdir(), `host-${this.process.pid}.log`);
		fs.writeFileSync(file, this.log);
		console.error(`the host's log is ${file}`);
	}

	// --- requests --------------------------------------------------------------------------------------------

	/** A request of obs-websocket. */
	async call(request, data) {
		return Promise.race([this.died, this.socket.call(request, data)]);
	}

	/** An operation of the probe. */
	async ask(op, fields = {}) {
		const { responseData } = await this.call('CallVendorRequest', {
			vendorName: 'QuillBayProbe',
			requestType: 'run',
			requestData: { json: JSON.stringify({ op, ...fields }) },
		});
		const answer = JSON.parse(responseData.json);
		assert.ok(answer.ok, `${op} ${JSON.stringify(fields).slice(0, 200)}: ${answer.error}`);
		return answer.value;
	}

	/** One property of a widget or action, or several as an object. */
	async get(object, property) {
		const values = await this.ask('get', { object, properties: [property].flat() });
		return Array.isArray(property) ? values : values[property];
	}

	set = (object, property, value) => this.ask('set', { object, property, value });

	/** Calls a method, with `flag` if it takes one, on the next turn of the host's event loop. */
	invoke = (object, method, flag) => this.ask('invoke', { object, method, flag });

	exists = (object) => this.get(object, []).then(() => true, () => false);

	/** Presses keys, with a blank between each two. */
	async key(keys, object = 'noteEditor') {
		for (const key of keys.split(' ')) {
			await this.ask('key', { object, key });
		}
	}

	async type(text, pauseMs = 0) {
		for (const character of text) {
			await this.ask('type', { object: 'noteEditor', text: character });
			await sleep(pauseMs);
		}
	}

	/** The longest time, in milliseconds, that the host's window did not react while `work` ran. */
	async longestStall(work) {
		await this.ask('stall', { on: true });
		await work();
		await sleep(50); // What the work has left for later, such as painting, counts too.
		return this.ask('stall', { on: false });
	}

	/** Passes by the best of three counts: on a busy machine the host's window may have to wait for other programs. */
	async assertQuick(what, limitMs, work, undo = () => {}) {
		const stallsMs = [await this.longestStall(work)];
		while (stallsMs.length < 3 && Math.min(...stallsMs) >= limitMs) {
			await undo();
			stallsMs.push(await this.longestStall(work));
		}
		assert.ok(Math.min(...stallsMs) < limitMs, `${what}: the window stood still for ${stallsMs} ms`);
	}
}
