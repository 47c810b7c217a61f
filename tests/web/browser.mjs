// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// Chromium with the web client's modules.

import { execFileSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { chromium } from 'playwright-core';

const repository = join(import.meta.dirname, '../..');
const frame = `<!doctype html><meta charset="utf-8"><style>
	body { margin: 0; font: 16px/1.5 sans-serif }
	#document { height: 600px; overflow: auto; overflow-wrap: break-word }
	p { margin: 0 }
</style><article id="document" contenteditable="true"></article>
<script type="module">
	import * as note from '/document.mjs';
	Object.assign(window, { note, root: document.getElementById('document') });
</script>`;

/** Joins the document module as the build does, so that what is tested is what the host serves. */
function joinDocument(output) {
	const names = ['-D', 'ENTRY=data/remote/document.mjs', '-D', `OUTPUT=${output}`];
	execFileSync('cmake', [...names, '-P', 'cmake/join_modules.cmake'], { cwd: repository, stdio: 'inherit' });
}

/**
 * Opens the browser, with more arguments where given: `page()` makes a page with `note`, the document module, and
 * `root`, an editable element.
 */
export async function openBrowser(...options) {
	const folder = mkdtempSync(join(tmpdir(), 'quillbay-web-'));
	const path = join(folder, 'document.mjs');
	joinDocument(path);
	const respond = (route) =>
		route.fulfill(route.request().url().endsWith('/') ? { body: frame, contentType: 'text/html' } : { path });
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
	const close = async () => {
		await browser.close();
		rmSync(folder, { recursive: true });
	};
	return { page, close };
}
