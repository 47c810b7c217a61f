// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Real browsers on the page that the module serves.

import fs from 'node:fs';
import path from 'node:path';
import { chromium } from 'playwright-core';
import { freePort } from './host.mjs';
import { Studio } from './studio.mjs';

export const password = 'a password of the host';
/** A Word file of one paragraph: "From Word". */
export const wordFile = Buffer.from(
	'UEsDBBQAAAAIAAAAIQDvvq4ldwAAAJsAAAARAAAAd29yZC9kb2N1bWVudC54bWxFzj0KwzAMBeCrhBygCh06GNdjr9DZtZ0fiCQju7i9fa10yP' +
		'KJx+OBbDORwxsT1eGDOxXT7uNaazYAJawJfblwTtS7mQV97VEWaCwxC4dUykYL7nCdphug32h0tpkXx6/erIhS3UMYh2ffWdCoymE+/E/gfMf9' +
		'AFBLAQIUAxQAAAAIAAAAIQDvvq4ldwAAAJsAAAARAAAAAAAAAAAAAACAAQAAAAB3b3JkL2RvY3VtZW50LnhtbFBLBQYAAAAAAQABAD8AAACmAA' +
		'AAAAA=',
	'base64',
);
const access = '0123456789-_abcdefABCD';
const quiet = ['--disable-background-networking', '--disable-component-update', '--disable-sync', '--no-first-run'];

export const phone = { viewport: { width: 360, height: 740 }, deviceScaleFactor: 3, isMobile: true, hasTouch: true };
export const desktop = { viewport: { width: 1280, height: 800 } };

export async function openBrowser() {
	const args = ['--no-sandbox', '--disable-gpu', '--disable-quic', ...quiet];
	return chromium.launch({ executablePath: '/usr/bin/chromium', args });
}

/** A studio whose notes the page shows, over loopback. */
export async function openPageStudio(scenes) {
	const studio = new Studio({ password });
	const port = await freePort();
	studio.page = `http://127.0.0.1:${port}/#${access}`;
	fs.mkdirSync(studio.settingsFolder, { recursive: true });
	const settings = ['[remote]', 'enabled=true', 'address=127.0.0.1', `port=${port}`, `access=${access}`];
	fs.writeFileSync(path.join(studio.settingsFolder, 'settings.ini'), settings.join('\n'));
	await studio.start();
	await studio.openDock();
	for (const scene of scenes) {
		await studio.addScene(scene);
	}
	await studio.show(scenes[0]);
	return studio;
}

/** A person with the page open on a device. */
export class Visitor {
	/** What the browser complained of. */
	complaints = [];
	/** The connections to the host, and whether there can be any. */
	#sockets = [];
	#isCut = false;

	static async open(browser, studio, { name = 'Phone', device = desktop, login = true } = {}) {
		const visitor = new Visitor();
		visitor.context = await browser.newContext({ ...device, acceptDownloads: true });
		visitor.page = await visitor.context.newPage();
		visitor.page.setDefaultTimeout(10_000);
		visitor.page.on('pageerror', (error) => visitor.complaints.push(error.message));
		visitor.page.on('console', (message) => message.type() === 'error' && visitor.complaints.push(message.text()));
		visitor.page.on('dialog', (dialog) => dialog.accept().catch(() => {}));
		await visitor.page.routeWebSocket(/./, (socket) => visitor.#connect(socket));
		await visitor.page.goto(studio.page);
		if (login) {
			await visitor.page.fill('#device', name);
			await visitor.login(password);
			await visitor.page.waitForSelector('#document p');
		}
		return visitor;
	}

	#connect(socket) {
		if (this.#isCut) {
			socket.close();
		} else {
			socket.connectToServer();
			this.#sockets.push(socket);
		}
	}

	/** Takes the network away, and gives it back. */
	async cut(isCut) {
		this.#isCut = isCut;
		await Promise.all(this.#sockets.splice(0).map((socket) => socket.close()));
	}

	async login(secret) {
		await this.page.fill('#password', secret);
		await this.page.click('#connect');
	}

	/** Waits until an element's text matches. */
	async sees(selector, pattern, timeout = 10_000) {
		const matches = ([target, source]) => new RegExp(source, 's').test(document.querySelector(target).innerText);
		const source = pattern.source ?? pattern.replace(/[.*+?^${}()|[\]\\]/g, '\\$&');
		await this.page.waitForFunction(matches, [selector, source], { timeout }).catch(async () => {
			const texts = ['#connection', '#owner', '#message', selector].map((part) => this.page.innerText(part));
			throw new Error(`${selector} never shows ${source}, but ${(await Promise.all(texts)).join(' | ')}`);
		});
	}

	/** Puts the caret at the end of a paragraph, and has the lease then. */
	async edit(paragraph = 1) {
		const { page } = this;
		await page.click(`#document p >> nth=${paragraph - 1}`);
		await page.waitForFunction(() => document.querySelector('#document').isContentEditable);
		await page.keyboard.press('End');
	}

	async type(text) {
		await this.page.keyboard.type(text);
	}

	/** The paragraphs' texts. */
	async lines() {
		return this.page.$$eval('#document p', (paragraphs) =>
			paragraphs.map((paragraph) => paragraph.innerText.trim()),
		);
	}

	/** What is downloaded after `act`. */
	async download(act) {
		const [download] = await Promise.all([this.page.waitForEvent('download'), act()]);
		return { name: download.suggestedFilename(), text: fs.readFileSync(await download.path(), 'utf8') };
	}

	/** Leaves the page, and first what it edits: the host would wait for a device that has just gone. */
	async close() {
		await this.page.keyboard.press('Escape');
		const isDone = () => !document.querySelector('#document').isContentEditable;
		await this.page.waitForFunction(isDone, null, { timeout: 2000 }).catch(() => {});
		await this.context.close();
	}
}
