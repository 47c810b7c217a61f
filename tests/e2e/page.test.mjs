// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The page in real browsers, served by the real host.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { after, afterEach, test } from 'node:test';
import { Visitor, openBrowser, openRemoteStudio, phone, sleep, text, waitFor } from './browser.mjs';

const [browser, studio] = await Promise.all([openBrowser(), openRemoteStudio(['One', 'Two'])]);
const visitors = [];
after(() => Promise.all([browser.close(), studio.kill()]));
afterEach(async () => {
	const complaints = visitors.flatMap((visitor) => visitor.complaints);
	await Promise.all(visitors.splice(0).map((visitor) => visitor.close()));
	assert.deepEqual(complaints, []);
});

async function visit(options) {
	const visitor = await Visitor.open(browser, studio, options);
	visitors.push(visitor);
	return { visitor, page: visitor.page };
}

/** A note of these lines in the scene on air, saved, and left alone long enough for a device to take it. */
async function give(lines, scene = 'One') {
	await studio.show(scene);
	await waitFor('no device has the note', async () => !(await studio.get('noteEditor', 'readOnly')), 20_000);
	await studio.clear();
	await studio.paste({ text: lines.join('\n') });
	await waitFor('the note is saved', async () => (await studio.savedText(scene).catch(() => '')) === lines.join('\n'));
	await sleep(2200);
}

const noteIs = (...lines) => studio.waitForNote(lines.join('\n'));

test('logging in: only with the password, then without it, and never without a link', async () => {
	const { visitor, page } = await visit({ login: false });
	await visitor.login('wrong');
	await visitor.sees('#login-error', text('RemoteFailure'));
	visitor.complaints.length = 0;
	await visitor.login(studio.password);
	await page.waitForSelector('#document p');
	await page.reload();
	await page.waitForSelector('#document p');
	const stored = await page.evaluate(() => JSON.stringify([{ ...localStorage }, { ...sessionStorage }]));
	assert.equal(stored.includes(studio.password), false);
	await page.click('#disconnect');
	await page.waitForSelector('#login:not([hidden])');
	await page.goto('about:blank');
	await page.goto(studio.page.replace(/#.*/, '#nothing'));
	await visitor.sees('#login-error', text('RemoteFailure'));
	assert.ok(await page.isDisabled('#connect'));
});

test('typing and formatting on a phone reach the note on air, and typing in OBS the phone', async () => {
	await give(['first', 'second']);
	const { visitor, page } = await visit({ device: phone });
	await visitor.edit(2, ' from the phone\nthird');
	await visitor.sees('#owner', text('RemoteSaved'));
	await noteIs('first', 'second from the phone', 'third');
	await page.keyboard.press('Control+z');
	await page.keyboard.press('Control+z');
	await noteIs('first', 'second from the phone');
	await page.tap('#insert-mark');
	await visitor.type('camera 2');
	await noteIs('first', 'second from the phone◆[camera 2]');
	await visitor.sees('#owner', text('RemoteSaved'));
	await page.tap('#header');
	await visitor.sees('#owner', text('RemoteClickEdit'));
	await studio.key('Ctrl+Home');
	await studio.type('typed in OBS ');
	await visitor.sees('#document', 'typed in OBS first');
	assert.deepEqual(await visitor.lines(), ['typed in OBS first', 'second from the phone◆[camera 2]']);
});

test('every format that the page knows makes the trip to OBS and back unchanged', async () => {
	await give(['plain', 'formatted text', 'listed', 'deeper']);
	const { visitor, page } = await visit();
	const select = async (line) => {
		await visitor.edit(line);
		await page.keyboard.press('Home');
		await page.keyboard.press('Shift+End');
	};
	await select(2);
	const looks = ['#bold', '#italic', '#underline', '#strike', '#apply-color', '#apply-highlight'];
	for (const control of [...looks, '[data-align="8"]', '#indent-more']) {
		await page.click(control);
	}
	await page.selectOption('#family', 'Georgia');
	await page.fill('#size', '21');
	await page.press('#size', 'Enter');
	await page.keyboard.press('End');
	await page.keyboard.press('Shift+Enter');
	await visitor.type('after a line break');
	for (const line of [3, 4]) {
		await select(line);
		await page.selectOption('#list', '-8');
	}
	await page.click('#indent-more');
	const exported = () => visitor.download(() => page.selectOption('#export', 'html'));
	await visitor.edit(1);
	const { text: before } = await exported();
	for (const part of ['21pt', 'line-through', '#665b18', 'type="I"', 'justify']) {
		assert.ok(before.includes(part), `no ${part} in ${before}`);
	}
	assert.match(before, /Georgia[^>]*>formatted text<br \/>after a line break/);
	await visitor.edit(1, 'x');
	await noteIs('plainx', 'formatted text', 'after a line break', 'listed', 'deeper');
	assert.equal((await exported()).text, before.replace('plain', 'plainx'));
});

test('one device edits; the others see who, and OBS takes the note back without losing a word', async () => {
	await give(['shared']);
	const { visitor: anna } = await visit({ name: 'Anna' });
	const { visitor: bert } = await visit({ name: 'Bert', device: phone });
	await anna.edit();
	await bert.sees('#owner', `${text('RemoteEditing')} · Anna`);
	await anna.type(' by Anna');
	await bert.sees('#document', 'shared by Anna');
	await bert.page.tap('#document');
	assert.equal(await bert.page.getAttribute('#document', 'contenteditable'), 'false');
	await anna.type(' and unsaved');
	await studio.press('ToggleLock');
	await anna.sees('#message', text('RemoteConflict'));
	await anna.sees('#message', text('RemoteDraft'));
	await anna.page.click('#retry');
	await noteIs('shared by Anna and unsaved');
	await anna.page.keyboard.press('Escape');
	await anna.sees('#owner', text('RemoteClickEdit'));
	await studio.press('ToggleLock');
	await bert.sees('#owner', text('RemoteLocked'));
	await studio.press('ToggleLock');
	await bert.sees('#owner', text('RemoteClickEdit'));
	await bert.edit(1, ', and Bert');
	await noteIs('shared by Anna and unsaved, and Bert');
});

test('neither a cut connection nor a page that is left nor a scene that is gone loses what was typed', async () => {
	await give(['before']);
	const { visitor, page } = await visit();
	await visitor.edit(1, ' typed without a ');
	const keyboard = await visitor.context.newCDPSession(page);
	await keyboard.send('Input.imeSetComposition', { text: 'network', selectionStart: 7, selectionEnd: 7 });
	await visitor.cut(true);
	await visitor.sees('#connection', text('RemoteDisconnected'));
	await sleep(1500);
	await visitor.cut(false);
	await visitor.sees('#connection', text('RemoteConnected'));
	await visitor.sees('#message', text('RemoteDraft'));
	await visitor.sees('#owner', text('RemoteClickEdit'), 20_000);
	await page.click('#retry');
	await noteIs('before typed without a network');
	await visitor.sees('#owner', text('RemoteSaved'));
	await visitor.type('!');
	await page.reload();
	await visitor.sees('#document', 'before typed without a network!');
	await visitor.sees('#owner', text('RemoteClickEdit'), 20_000);
	await page.click('#retry', { timeout: 1000 }).catch(() => {});
	await noteIs('before typed without a network!');
	await page.keyboard.press('Escape');
	await visitor.sees('#owner', text('RemoteClickEdit'));
	await visitor.edit(1, '\nSaved, ');
	visitor.isDeaf = true;
	await noteIs('before typed without a network!', 'Saved, ');
	await visitor.type('its answer lost');
	await page.waitForSelector('#retry:visible');
	visitor.isDeaf = false;
	await visitor.sees('#owner', text('RemoteClickEdit'), 20_000);
	await page.click('#retry');
	await noteIs('before typed without a network!', 'Saved, its answer lost');
	await visitor.sees('#owner', text('RemoteSaved'));
	await page.keyboard.press('Escape');
	await studio.addScene('Gone');
	await studio.show('Gone');
	await visitor.sees('#document', /^\s*$/);
	await visitor.edit(1, 'kept');
	await visitor.cut(true);
	await studio.call('RemoveScene', { sceneName: 'Gone' });
	await visitor.cut(false);
	await visitor.sees('#message', text('RemoteConflict'));
	await visitor.sees('#document', 'kept');
	await page.click('#reload');
	await page.waitForSelector('#problem', { state: 'hidden' });
});

test('the page follows the scene on air, scrolls OBS and goes to places', async () => {
	await give(['elsewhere'], 'Two');
	await give(Array.from({ length: 120 }, (_, i) => `on-line ${i + 1}`));
	const { visitor, page } = await visit();
	await studio.show('Two');
	await visitor.sees('#document', 'elsewhere');
	await studio.call('SetSceneName', { sceneName: 'Two', newSceneName: 'Renamed <b>' });
	await visitor.sees('#scenes', '[ Renamed <b> ]');
	await studio.call('SetSceneName', { sceneName: 'Renamed <b>', newSceneName: 'Two' });
	await page.selectOption('#scenes', { label: '[ One ]' });
	await visitor.sees('#document', 'line 120');
	assert.equal(await page.isChecked('#follow'), false);
	await page.fill('#search', 'ON-LINE 99');
	await visitor.sees('#matches', '1/1');
	await studio.show('One');
	await page.click('#target');
	await page.click('#lines');
	await page.fill('#go-to', '100%');
	await page.keyboard.press('Enter');
	await visitor.sees('#percent', '100%');
	assert.ok((await studio.scrollPosition()) > 0);
	await page.click('#top');
	await visitor.sees('#percent', /^0%/);
	assert.equal(await studio.scrollPosition(), 0);
	await page.locator('#speed').fill('5');
	await page.click('#play');
	await visitor.sees('#percent', /[1-9]%/);
	await page.click(`#play[aria-label="${text('Pause')}"]`);
	await page.waitForSelector(`#play[aria-label="${text('RemotePlay')}"]`);
	await visitor.sees('#owner', text('RemoteLocked'));
	await studio.press('ToggleLock');
});

test('files go in and come out, and what is hostile in them stays text', async () => {
	const hostile = ['<img src=x onerror=alert(1)>', '\u202Egnirts'];
	await give([...hostile, 'last']);
	const { visitor, page } = await visit();
	const file = (name, contents) => page.setInputFiles('#file', { name, mimeType: '', buffer: Buffer.from(contents) });
	const html = await visitor.download(() => page.selectOption('#export', 'html'));
	await file('note.txt', 'from a file\r\nof two lines');
	await noteIs('from a file', 'of two lines');
	const exported = await visitor.download(() => page.selectOption('#export', 'txt'));
	assert.deepEqual(exported, { name: 'QuillBay.txt', text: 'from a file\nof two lines' });
	await file('note.html', html.text + '<script>document.title = "run"</script>');
	await noteIs(...hostile, 'last');
	await file('note.docx', fs.readFileSync(path.join(import.meta.dirname, '../unit/data/libreoffice.docx')));
	await visitor.sees('#document', 'Child of grand');
	await file('broken.docx', 'not a package');
	await visitor.sees('#message', text('WordOpenError'));
	await file('note.pdf', '%PDF');
	await visitor.sees('#message', text('RemoteFileType'));
	assert.match(await studio.plain(), /Child of grand/);
	assert.equal(await page.title(), text('QuillBay'));
});
