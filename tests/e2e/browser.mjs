// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Real browsers on the page that the module serves.

import fs from 'node:fs';
import { chromium } from 'playwright-core';

export * from './remote_client.mjs';

export const phone = { viewport: { width: 360, height: 740 }, deviceScaleFactor: 3, isMobile: true, hasTouch: true };
export const desktop = { viewport: { width: 1280, height: 800 } };

const args = ['--no-sandbox', '--disable-gpu', '--disable-quic'];

export const openBrowser = () => chromium.launch({ executablePath: '/usr/bin/chromium', args });

/** A person with the page open on a device. */
export class Visitor {
	/** What the browser complained of. */
	complaints = [];
	/** The host's answers are lost on the way. */
	isDeaf = false;
	/** The connections to the host, and whether there can be any. */
	#sockets = [];
	#isCut = false;

	static async open(browser, studio, { name = 'Phone', device = desktop, login = true } = {}) {
		const visitor = new Visitor();
		visitor.context = await browser.newContext(device);
		const page = (visitor.page = await visitor.context.newPage());
		page.setDefaultTimeout(10_000);
		page.on('pageerror', (error) => visitor.complaints.push(error.message));
		page.on('console', (message) => message.type() === 'error' && visitor.complaints.push(message.text()));
		page.on('dialog', (dialog) => dialog.accept().catch(() => {}));
		await page.routeWebSocket(/./, (socket) => visitor.#connect(socket));
		await page.goto(studio.page);
		if (login) {
			await page.fill('#device', name);
			await visitor.login(studio.password);
			await page.waitForSelector('#document p');
		}
		return visitor;
	}

	#connect(socket) {
		if (this.#isCut) {
			socket.close();
			return;
		}
		this.#sockets.push(socket);
		socket.connectToServer().onMessage((message) => this.isDeaf || socket.send(message));
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

	/** Puts the caret at the end of a paragraph, has the lease then, and types. */
	async edit(paragraph = 1, words = '') {
		const { page } = this;
		await page.click(`#document p >> nth=${paragraph - 1}`);
		await page.waitForFunction(() => document.querySelector('#document').isContentEditable);
		await page.keyboard.press('End');
		await this.type(words);
	}

	type = (words) => this.page.keyboard.type(words);

	/** The paragraphs' texts. */
	async lines() {
		return this.page.$$eval('#document p', (all) => all.map((paragraph) => paragraph.innerText.trim()));
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
