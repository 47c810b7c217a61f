// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What a presenter does in the host and with the notes, and where the notes lie.

import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { Host, repository, waitFor } from './host.mjs';

export * from './host.mjs';

const texts = fs.readFileSync(path.join(repository, 'data/locale/en-US.ini'), 'utf8').matchAll(/^(\w+)="(.*)"$/gm);
const locale = new Map(Array.from(texts, ([, key, value]) => [key, value]));

/** The English text of a key. */
export function text(key) {
	assert.ok(locale.has(key), `no text for ${key}`);
	return locale.get(key);
}

/** The editor's scroll bar. */
export const scrollBar = 'noteEditor qt_scrollarea_vcontainer .QScrollBar';

export class Studio extends Host {
	settingsFolder = path.join(this.config, 'plugin_config/quillbay');
	notesFolder = path.join(this.settingsFolder, 'notes');

	/** A running host with the dock open over the scenes named. `settings` are the module's, line by line. */
	static async open(scenes, { settings = [], ...options } = {}) {
		const studio = new Studio(options);
		try {
			fs.mkdirSync(studio.settingsFolder, { recursive: true });
			fs.writeFileSync(path.join(studio.settingsFolder, 'settings.ini'), settings.join('\n'));
			await studio.restart();
			for (const scene of scenes) {
				await studio.addScene(scene);
			}
			return studio;
		} catch (error) {
			await studio.kill();
			throw error;
		}
	}

	/** Starts the host, at first or once more, after a kill if it still runs, with the dock open. */
	async restart() {
		await this.kill();
		await this.start();
		await this.openDock();
	}

	// --- scenes ----------------------------------------------------------------------------------------------

	addScene = (name) => this.call('CreateScene', { sceneName: name });

	/** Puts a scene on air and waits until its note shows. */
	async show(scene) {
		await this.call('SetCurrentProgramScene', { sceneName: scene });
		await this.waitForScene(scene);
	}

	waitForScene = (scene) =>
		waitFor(`the scene ${scene}`, async () => (await this.get('sceneLabel', 'text')) === scene);

	press = (hotkey) => this.call('TriggerHotkeyByName', { hotkeyName: `QuillBay.${hotkey}` });

	// --- dialogs ---------------------------------------------------------------------------------------------

	waitForDialog = (part = '') => waitFor('the dialog is open', () => this.exists(`@modal ${part}`.trim()));

	waitForNoDialog = () => waitFor('the dialog is closed', async () => !(await this.exists('@modal')));

	/** Chooses an entry of the host's menus; `answer` then drives the dialog that it opens. */
	async choose(action, answer) {
		await this.invoke('@main', action);
		await this.waitForDialog();
		await answer();
		await this.waitForNoDialog();
	}

	async fillName(name) {
		await this.set('@modal .QLineEdit', 'text', name);
		await this.invoke('@modal', 'accept');
	}

	/** Runs a command that asks for a file. */
	async chooseFile(file, ...command) {
		await this.invoke(...command);
		await this.waitForDialog('fileNameEdit');
		await this.set('@modal fileNameEdit', 'text', file);
		await this.invoke('@modal', 'accept');
	}

	/** Agrees to the question, and returns it. */
	async agree() {
		await this.waitForDialog('qt_msgbox_label');
		const question = await this.get('@modal', 'text');
		await this.invoke('@modal .QPushButton', 'click');
		return question;
	}

	// --- notes -----------------------------------------------------------------------------------------------

	/** Writes a scene's note, whatever was in it, and waits until it is saved. */
	async write(scene, note) {
		await this.show(scene);
		await this.key('Ctrl+A');
		await this.type(note);
		await this.waitForSave();
	}

	/** The open note's text. */
	plain = () => this.get('noteEditor', 'plainText');

	/** The latest status message. */
	status = () => this.get('saveStatus', 'toolTip');

	async paste(data) {
		await this.ask('clipboard', data);
		await this.key('Ctrl+V');
	}

	clear = () => this.key('Ctrl+A Delete');

	scrollPosition = () => this.get(scrollBar, 'value');

	async waitForStatus(key, ...numbers) {
		const status = numbers.reduce((shown, number, i) => shown.replace(`%${i + 1}`, number), text(key));
		await waitFor(`the status ${status}`, async () => (await this.status()) === status);
	}

	waitForSave = () => this.waitForStatus('SavedNote');

	waitForNote = (note) => waitFor(`the note ${note}`, async () => (await this.plain()) === note);

	/** The scene's UUID and note record. */
	sceneInfo = (scene) => this.ask('scene', { scene });

	noteFile = async (scene) => path.join(this.notesFolder, (await this.sceneInfo(scene)).record.file);

	/** The text in the scene's note file. */
	savedText = async (scene) => plainText(readNote(await this.noteFile(scene)).html);

	/** Gives a scene a note file with these contents (text or bytes), and shows it. */
	async plant(scene, html) {
		const { uuid } = await this.sceneInfo(scene);
		const file = path.join(this.notesFolder, `${scene}.json`);
		fs.mkdirSync(this.notesFolder, { recursive: true });
		const note = { format: 'OBS-QuillBay', version: 1, sceneId: uuid, sceneName: scene, html };
		fs.writeFileSync(file, JSON.stringify(note));
		await this.ask('scene', { scene, record: { id: uuid, file: path.basename(file), name: scene } });
		return file;
	}
}

/**
 * Runs a test that switches scene collections, in a host of its own. OBS Studio 32 by itself sometimes keeps a scene of
 * the collection that it leaves, which then takes a name in the next one: such a run proves nothing and is repeated.
 */
export async function acrossCollections(scenes, options, work) {
	for (let attempt = 1; ; attempt++) {
		const studio = await Studio.open(scenes, options);
		try {
			return await work(studio);
		} catch (error) {
			if (attempt === 5 || !studio.log.includes('Attempted to insert context with duplicate name')) {
				throw error;
			}
		} finally {
			await studio.kill();
		}
	}
}

/** A note file's members; throws when the file is not whole. */
export const readNote = (file) => JSON.parse(fs.readFileSync(file, 'utf8'));

/** The text of a note's HTML, one line a paragraph: enough for notes that are typed. */
export function plainText(html) {
	const lines = html.replace(/^[^]*<body[^>]*>/, '').matchAll(/<(?:p|li)\b[^>]*>([^]*?)<\/(?:p|li)>/g);
	const plain = [...lines].map(([, inner]) => inner.replace(/<[^>]*>/g, '')).join('\n');
	return plain.replace(/&(lt|gt|quot|amp);/g, (_, name) => ({ lt: '<', gt: '>', quot: '"', amp: '&' })[name]);
}
