// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Chromium with the web client's modules, served over loopback.

import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { basename } from 'node:path';
import { chromium } from 'playwright-core';

const client = new URL('../../data/remote/', import.meta.url);
const frame = `<!doctype html><meta charset="utf-8"><style>
	body { margin: 0; font: 16px/1.5 sans-serif }
	#document { height: 600px; overflow: auto; overflow-wrap: break-word }
	p { margin: 0 }
</style><article id="document" contenteditable="true"></article>
<script type="module">
	import * as note from '/document.mjs';
	Object.assign(window, { note, root: document.getElementById('document') });
</script>`;

async function respond(request, response) {
	const name = basename(new URL(request.url, 'http://localhost').pathname);
	try {
		const body = name ? await readFile(new URL(name, client)) : frame;
		response.setHeader('Content-Type', name ? 'text/javascript' : 'text/html');
		response.end(body);
	} catch {
		response.writeHead(404).end();
	}
}

/**
 * Opens the browser, with more arguments where given: `page()` makes a page with `note`, the document module, and
 * `root`, an editable element.
 */
export async function openBrowser(...options) {
	const server = createServer(respond);
	await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
	const browser = await chromium.launch({
		executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
		args: [
			'--no-sandbox',
			'--disable-gpu',
			'--disable-quic',
			'--no-first-run',
			'--disable-background-networking',
			...options,
		],
	});
	const page = async () => {
		const opened = await browser.newPage({ viewport: { width: 800, height: 600 } });
		await opened.goto(`http://127.0.0.1:${server.address().port}/`);
		await opened.waitForFunction('window.note');
		return opened;
	};
	const close = async () => {
		await browser.close();
		server.close();
	};
	return { page, close };
}
