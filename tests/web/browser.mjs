// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Chromium with the web client's modules.

import { basename } from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';

const client = fileURLToPath(new URL('../../data/remote/', import.meta.url));
const frame = `<!doctype html><meta charset="utf-8"><style>
	body { margin: 0; font: 16px/1.5 sans-serif }
	#document { height: 600px; overflow: auto; overflow-wrap: break-word }
	p { margin: 0 }
</style><article id="document" contenteditable="true"></article>
<script type="module">
	import * as note from '/document.mjs';
	Object.assign(window, { note, root: document.getElementById('document') });
</script>`;

/** Answers a request with the client's files. */
function respond(route) {
	const name = basename(new URL(route.request().url()).pathname);
	return route.fulfill(name ? { path: client + name } : { body: frame, contentType: 'text/html' });
}

/**
 * Opens the browser, with more arguments where given: `page()` makes a page with `note`, the document module, and
 * `root`, an editable element.
 */
export async function openBrowser(...options) {
	const browser = await chromium.launch({
		executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
		args: ['--no-sandbox', '--disable-gpu', '--disable-quic', ...options],
	});
	const page = async () => {
		const opened = await browser.newPage({ viewport: { width: 800, height: 600 } });
		await opened.route('**', respond);
		await opened.goto('http://localhost/');
		await opened.waitForFunction('window.note');
		return opened;
	};
	return { page, close: () => browser.close() };
}
