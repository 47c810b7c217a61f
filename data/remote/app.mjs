// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

/**
 * The page: the session with the host, editing under its lease, import and export, the reading tools and the search.
 * Each section owns its state and its controls; `client` is what they share.
 */

import * as note from './document.mjs';
import { Connection, Failure, sessionInvalidated } from './protocol.mjs';

/** @typedef {import('./protocol.mjs').Reply} Reply */
/** @typedef {import('./protocol.mjs').Credential} Credential */
/** @typedef {import('./document.mjs').WebDocument} WebDocument */
/** @typedef {WebDocument & {editable: boolean, revision: number, epoch: string, scene: string}} Model */
/** @typedef {{epoch: string, revision: number, document: WebDocument}} Draft */
/** @typedef {{id: string, name: string}} Scene */
/**
 * @typedef {object} RemoteState what the host says of itself
 * @property {string} epoch the generation of the revisions
 * @property {Scene[]} scenes
 * @property {string} activeScene
 * @property {boolean} locked
 * @property {boolean} localEditing someone types in the host
 * @property {string} editor who edits, empty when nobody does
 * @property {string} editorScene
 * @property {boolean} scrolling
 * @property {number} speed
 * @property {number} position from 0 to 1
 */

// --- controls and texts ----------------------------------------------------------------------------------------------

/**
 * @template {HTMLElement} T
 * @param {string} id
 * @param {new () => T} type
 * @returns {T}
 */
function control(id, type) {
	const element = document.getElementById(id);
	if (!(element instanceof type)) {
		throw new Error(`the page has no ${id}`);
	}
	return element;
}

/** @param {string} id */
const button = (id) => control(id, HTMLButtonElement);
/** @param {string} id */
const input = (id) => control(id, HTMLInputElement);
/** @param {string} id */
const element = (id) => control(id, HTMLElement);

const article = element('document');
const ui = {
	login: control('login', HTMLFormElement),
	workspace: element('workspace'),
	scenes: control('scenes', HTMLSelectElement),
	follow: input('follow'),
	exporting: control('export', HTMLSelectElement),
	textTools: control('text-tools', HTMLFieldSetElement),
	paragraphTools: control('paragraph-tools', HTMLFieldSetElement),
	problem: element('problem'),
	reader: element('reader'),
};

/** @type {Record<string, string>} */
let labels = {};

/** The label of a key, or the key. @param {string} key */
const t = (key) => labels[key] ?? key;

/** A label with its placeholders %1, %2, ... filled. @param {string} key @param {(string | number)[]} values */
function filled(key, ...values) {
	return t(key).replace(/%(\d)/g, (whole, number) => String(values[number - 1] ?? whole));
}

/** @param {HTMLElement} target @param {string} text */
function label(target, text) {
	target.title = text;
	target.setAttribute('aria-label', text);
}

function labelControls() {
	/** @type {[string, (target: HTMLElement, text: string) => void][]} */
	const places = [
		['text', (target, text) => (target.textContent = text)],
		['label', label],
		['name', (target, text) => target.setAttribute('aria-label', text)],
		['title', (target, text) => (target.title = text)],
		['placeholder', (target, text) => target.setAttribute('placeholder', text)],
	];
	for (const [name, put] of places) {
		for (const target of document.querySelectorAll(`[data-${name}]`)) {
			if (target instanceof HTMLElement) put(target, t(target.dataset[name] ?? ''));
		}
	}
	element('brand').textContent = document.title = t('QuillBay');
}

/** @param {HTMLElement} target @param {boolean} isPressed */
function press(target, isPressed) {
	target.setAttribute('aria-pressed', String(isPressed));
}

/** @param {HTMLElement} target */
const isPressed = (target) => target.getAttribute('aria-pressed') === 'true';

// --- shared state ----------------------------------------------------------------------------------------------------

const client = {
	/** The token of the link, and the session that the host gave us. */
	access: '',
	session: '',
	online: false,
	/** The scene shown, and its document as the host last confirmed it. */
	scene: '',
	epoch: '',
	revision: 0,
	/** @type {Model | null} */
	model: null,
	/** @type {RemoteState | null} */
	remoteState: null,
	/** This device holds the edit lease. */
	editing: false,
	acquiring: false,
	/** @type {Promise<void> | null} */
	finishing: null,
	/** @type {Promise<void> | null} */
	saving: null,
	/** @type {AbortController | null} */
	importing: null,
	/** Counts the local edits, and those that the host has or that no longer matter. They only grow. */
	sequence: 0,
	savedSequence: 0,
	/** A local draft differs from the host's document and waits for its user's decision. */
	draftProblem: false,
	/** Grows with every request for a document; the reply to an older one is ignored. */
	loadNumber: 0,
};

const isUnsaved = () => client.sequence !== client.savedSequence;

/** @param {string} id */
const hasScene = (id) => client.remoteState?.scenes.some((scene) => scene.id === id) ?? false;

function canWrite() {
	const { remoteState, model } = client;
	const isFree = client.editing && client.online && !client.importing && !client.finishing;
	return isFree && !remoteState?.locked && !remoteState?.localEditing && model?.editable === true;
}

/** The short name of a failure. @param {unknown} error */
function codeOf(error) {
	if (error instanceof Failure) return error.code;
	return error instanceof Error ? error.name : '';
}

/**
 * Asks the host for an action. A reply that says no is a failure with the reply's code.
 * @param {string} action
 * @param {Reply} [extra]
 * @returns {Promise<Reply>}
 */
async function call(action, extra = {}) {
	if (!connection) throw new Failure('disconnected');
	const { access, session } = client;
	const reply = await connection.request({ access, session, action, ...extra });
	if (reply.ok !== true) throw new Failure(String(reply.code ?? 'response'));
	return reply;
}

// --- notices and status ----------------------------------------------------------------------------------------------

/** @type {Record<string, string>} */
const noticeKeys = {
	limit: 'TextLimit',
	locked: 'RemoteLocked',
	word: 'WordOpenError',
	upload: 'RemoteImportFailed',
	busy: 'RemoteBusy',
	format: 'RemoteFormat',
	size: 'RemoteTooLarge',
	read: 'RemoteStorageFailed',
	save: 'RemoteStorageFailed',
	conflict: 'RemoteConflict',
	'password-required': 'RemotePasswordRequired',
};
const withoutRetry = ['RemoteConflict', 'WordSimplified', 'TextLimit', 'RemoteSelectText'];
const stuckNotices = ['TextLimit', 'RemoteFormat', 'RemoteTooLarge', 'RemoteStorageFailed'];
const storageNotices = ['RemoteStorageFailed', 'RemoteNoDraft'];

/** @type {{key: string, isLasting: boolean} | null} */
let notice = null;

/** Whether trying again does not help, so that the draft can also be given up. @param {string} key */
const isStuck = (key) => key === 'RemoteConflict' || (client.draftProblem && stuckNotices.includes(key));

/**
 * @param {string} key the label
 * @param {object} [options]
 * @param {boolean} [options.retry]
 * @param {boolean} [options.reload]
 * @param {boolean} [options.isLasting] the notice outlives the loading of a document
 */
function showNotice(key, { retry = !withoutRetry.includes(key), reload = isStuck(key), isLasting = false } = {}) {
	notice = { key, isLasting };
	element('login-error').textContent = ui.login.hidden ? '' : t(key);
	element('message').textContent = t(key);
	button('retry').hidden = !retry;
	button('reload').hidden = !reload;
	button('download').hidden = !client.draftProblem;
	ui.problem.classList.toggle('is-storage', storageNotices.includes(key));
	ui.problem.classList.toggle('is-locked', key === 'RemoteLocked');
	ui.problem.hidden = false;
}

function clearNotice() {
	notice = null;
	element('login-error').textContent = '';
	element('message').textContent = '';
	ui.problem.hidden = true;
}

/** @param {unknown} error */
function showFailure(error) {
	showNotice(noticeKeys[codeOf(error)] ?? 'RemoteFailure');
}

/** Runs an operation of a control and shows its failure. @param {() => unknown} operation */
async function attempt(operation) {
	try {
		await operation();
	} catch (error) {
		showFailure(error);
	} finally {
		updateControls();
	}
}

function ownerText() {
	const { remoteState, model } = client;
	if (!client.online || !remoteState) return '';
	if (remoteState.locked) return t('RemoteLocked');
	if (client.importing) return t('RemoteImporting');
	if (client.editing) return t(isUnsaved() || client.saving ? 'RemoteSaving' : 'RemoteSaved');
	if (remoteState.editor) {
		return `${t('RemoteEditing')} · ${remoteState.editor}`;
	}
	return t(client.scene && !model?.editable ? 'RemoteReadOnly' : 'RemoteClickEdit');
}

function updateStatus() {
	const owner = element('owner');
	const text = ownerText();
	if (owner.textContent !== text) owner.textContent = text;
	owner.title = text === t('RemoteReadOnly') ? t('RemoteFormat') : text;
	owner.hidden = !text;
}

/** Brings every control in line with the state. */
function updateControls() {
	const { online, scene, importing, draftProblem, remoteState } = client;
	const isWritable = canWrite();
	const isIdle = online && scene !== '' && !client.saving && !importing && !draftProblem;
	const isMine = client.editing || !remoteState?.editor;
	if (article.contentEditable !== String(isWritable)) article.contentEditable = String(isWritable);
	article.setAttribute('aria-readonly', String(!isWritable));
	ui.textTools.disabled = ui.paragraphTools.disabled = !isWritable;
	button('import').disabled = !isIdle || client.finishing !== null || remoteState?.locked === true || !isMine;
	ui.exporting.disabled = !isIdle;
	ui.scenes.disabled = ui.follow.disabled = importing !== null || draftProblem || !online;
	button('play').disabled = importing !== null || (reading.target === 'obs' && !online);
	button('disconnect').disabled = importing !== null;
	button('disconnect').hidden = ui.workspace.hidden;
	button('top').disabled = reading.target === 'obs' && !online;
	document.body.classList.toggle('is-editing', client.editing);
	document.body.classList.toggle('is-offline', !online);
	updateStatus();
}

// --- session ---------------------------------------------------------------------------------------------------------

const heartbeatMs = 5_000;
const reconnectFirstMs = 1_000;
const reconnectLastMs = 10_000;
const linkKey = 'quillbay.link';
const isToken = /^[A-Za-z0-9_-]{22}$/;
const isSecret = /^[A-Za-z0-9+/]{43}=$/;

const login = {
	port: 4455,
	/** The user wants to be connected. */
	desired: false,
	connecting: false,
	/** @type {Credential | null} */
	credential: null,
	password: '',
	reconnectDelay: reconnectFirstMs,
	heartbeat: 0,
	reconnectTimer: 0,
};

/** @type {Connection | null} */
let connection = null;

async function start() {
	try {
		const config = await (await fetch('/config.json')).json();
		labels = config.labels ?? {};
		login.port = Number(config.port) || login.port;
	} finally {
		labelControls();
	}
	input('device').value = deviceName();
	client.access = accessToken();
	button('connect').disabled = !client.access;
	if (!client.access) {
		showNotice('RemoteFailure', { retry: false });
		return;
	}
	const remembered = rememberedSession();
	if (remembered) {
		login.credential = remembered;
		input('remember').checked = true;
		login.desired = true;
		await connect();
	}
}

function deviceName() {
	const { userAgent, platform, maxTouchPoints } = navigator;
	/** @type {[boolean, string][]} */
	const names = [
		[/iPhone/.test(userAgent), 'iPhone'],
		[/iPad/.test(userAgent) || (platform === 'MacIntel' && maxTouchPoints > 1), 'iPad'],
		[/Android/.test(userAgent), 'Android'],
		[/Windows/.test(userAgent), 'Windows PC'],
		[/Macintosh|Mac OS/.test(userAgent), 'Mac'],
		[/Linux/.test(userAgent), 'Linux PC'],
	];
	return names.find(([matches]) => matches)?.[1] ?? 'Browser';
}

/** The token of the link that was opened, or of the last one, or nothing. */
function accessToken() {
	let token = location.hash.slice(1);
	try {
		if (isToken.test(token)) {
			localStorage.setItem(linkKey, token);
		} else if (!location.hash) {
			token = localStorage.getItem(linkKey) ?? '';
		}
	} catch {
		// A browser that keeps nothing still has the link that it opened.
	}
	return isToken.test(token) ? token : '';
}

const sessionKey = () => `quillbay.session.${login.port}.${client.access}`;

function rememberedSession() {
	try {
		const { credential, name } = JSON.parse(sessionStorage.getItem(sessionKey()) ?? '{}');
		const { salt, secret } = credential ?? {};
		if (typeof salt !== 'string' || salt.length > 256 || typeof secret !== 'string' || !isSecret.test(secret)) {
			return null;
		}
		if (typeof name === 'string' && name && name !== 'Browser') input('device').value = name.slice(0, 32);
		return { salt, secret };
	} catch {
		return null;
	}
}

function rememberSession() {
	const entry = { credential: login.credential, name: input('device').value };
	try {
		if (input('remember').checked) {
			sessionStorage.setItem(sessionKey(), JSON.stringify(entry));
		} else {
			sessionStorage.removeItem(sessionKey());
		}
	} catch {
		// Not remembered: the password is asked for again.
	}
}

function forgetSession() {
	login.credential = null;
	login.password = '';
	try {
		sessionStorage.removeItem(sessionKey());
	} catch {
		// Nothing was stored.
	}
}

/** @param {string} key */
function showConnection(key) {
	const status = element('connection');
	status.textContent = t(key);
	status.dataset.state = key;
}

/** @param {boolean} isShown */
function showLogin(isShown) {
	ui.login.hidden = !isShown;
	ui.workspace.hidden = isShown;
	updateControls();
}

async function connect() {
	clearTimeout(login.reconnectTimer);
	if (login.connecting || client.online) return;
	login.connecting = true;
	showConnection('RemoteConnecting');
	/** @type {Connection} */
	const link = new Connection(
		(state, type) => link === connection && onEvent(state, type),
		(event) => link === connection && onClosed(event.code),
	);
	connection = link;
	try {
		await link.connect(`ws://${location.hostname}:${login.port}`, login.password, login.credential);
		client.session = '';
		const reply = await call('Open', { name: input('device').value });
		login.credential = link.credential;
		await loggedIn(reply);
	} catch (error) {
		loginFailed(link, error);
	} finally {
		login.connecting = false;
		updateControls();
	}
}

/** @param {Reply} reply */
async function loggedIn(reply) {
	input('password').value = login.password = '';
	rememberSession();
	client.session = String(reply.session);
	client.online = true;
	login.reconnectDelay = reconnectFirstMs;
	login.heartbeat = setInterval(keepAlive, heartbeatMs);
	showConnection('RemoteConnected');
	clearNotice();
	showLogin(false);
	applyState(reply);
	login.connecting = false;
	await attempt(async () => {
		const { scene } = client;
		await (hasScene(scene) ? load(scene) : showTarget(true));
		await showTarget(false);
		showAbandoned();
	});
}

/** @param {Connection} link @param {unknown} error */
function loginFailed(link, error) {
	const code = codeOf(error);
	if (['authentication', 'password-required', 'access'].includes(code)) {
		login.desired = false;
		forgetSession();
		showLogin(true);
	}
	showFailure(error);
	if (link === connection) {
		link.close();
		onClosed(0);
	} else if (!login.desired) {
		clearTimeout(login.reconnectTimer);
	}
}

async function keepAlive() {
	const lease = editing.lease;
	const link = connection;
	try {
		const reply = await call('KeepAlive');
		const isHeld = client.editing && lease === editing.lease && !client.finishing;
		if (isHeld && (reply.editing !== true || reply.epoch !== client.epoch)) {
			throw new Failure(reply.locked ? 'locked' : 'conflict');
		}
	} catch (error) {
		if (link !== connection) return;
		client.importing?.abort();
		if (client.editing) loseEdit(error);
		const code = codeOf(error);
		if (code === 'access' && link) {
			loginFailed(link, error);
		} else if (['session', 'timeout', 'disconnected', 'disabled'].includes(code)) {
			connection?.close();
			onClosed(0);
		}
	}
}

/** The connection has ended, or is given up. @param {number} code why, as the WebSocket protocol numbers it */
function onClosed(code) {
	connection = null;
	client.importing?.abort();
	if (code === sessionInvalidated) {
		login.desired = false;
		forgetSession();
	}
	client.online = false;
	client.session = '';
	clearInterval(login.heartbeat);
	showConnection('RemoteDisconnected');
	if (client.editing) {
		const isDraft = isUnsaved();
		endEdit();
		if (isDraft) showNotice('RemoteDraft');
	}
	if (login.desired) {
		clearTimeout(login.reconnectTimer);
		login.reconnectTimer = setTimeout(connect, login.reconnectDelay);
		login.reconnectDelay = Math.min(2 * login.reconnectDelay, reconnectLastMs);
	} else if (!client.draftProblem) {
		showLogin(true);
	}
	updateControls();
}

/** The network is back, or the page is looked at again: no need to wait. */
function reconnectNow() {
	if (login.desired && !client.online && document.visibilityState === 'visible') connect();
}

async function leave() {
	await finishEdit();
	if (client.editing || client.draftProblem) return;
	stopScrolling();
	login.desired = false;
	forgetSession();
	clearTimeout(login.reconnectTimer);
	clearNotice();
	connection?.close();
	onClosed(0);
	showLogin(true);
}

function listenForSession() {
	ui.login.addEventListener('submit', (event) => {
		event.preventDefault();
		login.password = input('password').value;
		login.desired = true;
		login.reconnectDelay = reconnectFirstMs;
		clearNotice();
		connect();
	});
	button('disconnect').addEventListener('click', () => attempt(leave));
	// A new link opened in this tab.
	addEventListener('hashchange', () => location.reload());
	addEventListener('online', reconnectNow);
	document.addEventListener('visibilitychange', reconnectNow);
}

// --- scenes and events -----------------------------------------------------------------------------------------------

/** How long a host that is loading is left alone. */
const loadingPauseMs = 500;

/** The scene whose note is on its way, or nothing. */
let requestedScene = '';

/** @param {Reply} state */
function applyState(state) {
	const isScene = (/** @type {any} */ scene) => typeof scene?.id === 'string' && typeof scene.name === 'string';
	if (typeof state.epoch !== 'string' || !Array.isArray(state.scenes) || !state.scenes.every(isScene)) return;
	client.remoteState = /** @type {RemoteState} */ (state);
	listScenes(client.remoteState.scenes);
	showHostScrolling();
	updateControls();
}

/** @param {Scene[]} scenes */
function listScenes(scenes) {
	const { options } = ui.scenes;
	const isSame = scenes.length === options.length && scenes.every(({ id }, i) => options[i].value === id);
	if (!isSame) {
		ui.scenes.replaceChildren(...scenes.map(({ id }) => new Option('', id)));
	}
	scenes.forEach(({ name }, i) => {
		const text = `[ ${name} ]`;
		if (options[i].text !== text) options[i].text = text;
	});
	ui.scenes.value = client.scene;
}

/** @param {Reply} state @param {string} type */
function onEvent(state, type) {
	const { remoteState } = client;
	if (!client.online || !remoteState) return;
	if (type === 'Scroll') {
		if (state.epoch === remoteState.epoch && state.scene === remoteState.activeScene) {
			remoteState.position = Number(state.position) || 0;
			followHost();
		}
		return;
	}
	const wasTaken = remoteState.locked || remoteState.localEditing || !hasScene(client.scene);
	applyState(state);
	attempt(() => onChanged(Array.isArray(state.changed) ? state.changed : [], wasTaken));
}

/**
 * @param {string[]} changed the scenes whose notes are others now
 * @param {boolean} wasTaken the host's user had the notes, or the one shown was not there
 */
async function onChanged(changed, wasTaken) {
	const state = client.remoteState;
	if (!state) return;
	const isOther = state.epoch !== client.epoch || (state.editorScene !== '' && state.editorScene !== client.scene);
	if (client.importing) {
		if (state.locked || state.localEditing || isOther || !hasScene(client.scene)) {
			client.importing.abort();
			endEdit();
		}
		return;
	}
	if (client.editing) {
		if (!state.locked && !state.localEditing && !isOther) return;
		const isDraft = isUnsaved();
		endEdit();
		if (isDraft) showNotice(state.locked ? 'RemoteLocked' : 'RemoteConflict');
	}
	if (notice?.key === 'RemoteLocked' && !state.locked && !client.draftProblem) clearNotice();
	if (client.draftProblem) {
		showAbandoned();
		// The draft still waits for its decision: ask again, or see that the host has the text.
		const isFree = !state.locked && !state.localEditing;
		const isToAsk = isFree && (wasTaken || changed.includes(client.scene)) && hasScene(client.scene);
		await (isToAsk ? load(client.scene) : undefined);
	} else if (!client.acquiring) {
		await client.finishing;
		if (!client.editing && !client.acquiring) await showTarget(changed.includes(client.scene));
	}
}

/** A draft whose scene is gone stays on the screen until its user gives it up. */
function showAbandoned() {
	if (client.draftProblem && !hasScene(client.scene)) showNotice('RemoteConflict');
}

/** Shows the scene that is to be shown, if it is another one or its note has changed. @param {boolean} isChanged */
async function showTarget(isChanged) {
	const state = client.remoteState;
	if (!state || client.draftProblem) return;
	let target = ui.follow.checked ? state.activeScene : requestedScene || client.scene;
	if (!hasScene(target)) target = hasScene(state.activeScene) ? state.activeScene : (state.scenes[0]?.id ?? '');
	if (!target) {
		showNothing('');
	} else if (isChanged || target !== client.scene || state.epoch !== client.epoch) {
		await load(target);
	}
}

/** @param {string} scene @param {WebDocument} [content] what to show of it, without a document of the host's */
function showNothing(scene, content = note.plainDocument('')) {
	++client.loadNumber;
	requestedScene = '';
	Object.assign(client, { scene, epoch: client.remoteState?.epoch ?? '', revision: 0, model: null });
	ui.scenes.value = scene;
	show(content, false);
}

/** @param {WebDocument} content @param {boolean} keepsPlace the reader goes on where it is */
function show(content, keepsPlace) {
	const top = keepsPlace ? article.scrollTop : 0;
	const isShown = keepsPlace && comparable(note.serialize(article)) === comparable(content);
	if (!isShown) note.render(article, content);
	article.scrollTop = reading.scrollPosition = top;
	reading.expectedScrollTop = article.scrollTop;
	showCharacters(note.characterCount(content));
	if (!isShown) closeGoTo();
	documentChanged();
	followHost();
}

/**
 * Fetches a scene's note and shows it.
 * @param {string} id
 * @param {boolean} [restoresDraft]
 */
async function load(id, restoresDraft = true) {
	const number = ++client.loadNumber;
	requestedScene = id;
	/** @type {Model} */
	let model;
	try {
		model = /** @type {any} */ (await call('GetDocument', { scene: id }));
	} catch (error) {
		if (number !== client.loadNumber || client.editing) return;
		if (codeOf(error) === 'loading') {
			loadLater(id, restoresDraft);
		} else {
			requestedScene = '';
			loadFailed(id, error);
		}
		return;
	}
	// Whatever was begun meanwhile is newer than this reply.
	if (number !== client.loadNumber || client.editing) return;
	requestedScene = '';
	const keepsPlace = id === client.scene && client.model !== null;
	const { epoch, revision } = model;
	Object.assign(client, { scene: id, epoch, revision, model, draftProblem: false });
	client.savedSequence = client.sequence;
	ui.scenes.value = id;
	const draft = restoresDraft ? settledDraft(id, model) : null;
	if (!notice?.isLasting || !keepsPlace) clearNotice();
	if (!draft) {
		show(model, keepsPlace);
	} else {
		client.draftProblem = true;
		offerDraft(draft, model);
	}
	updateControls();
}

/** Asks again when the host may be ready, unless something else is shown by then. @param {string} id @param {boolean} restoresDraft */
function loadLater(id, restoresDraft) {
	const number = client.loadNumber;
	setTimeout(() => {
		if (number !== client.loadNumber || client.editing || !client.online) return;
		attempt(() => (hasScene(id) ? load(id, restoresDraft) : showTarget(false)));
	}, loadingPauseMs);
}

/** @param {Draft} draft @param {Model} model */
function offerDraft(draft, model) {
	if (!note.withinTextLimits(draft.document)) {
		show(model, false);
		showNotice('TextLimit');
		return;
	}
	show(draft.document, false);
	const isCurrent = draft.epoch === model.epoch && draft.revision === model.revision;
	const isResumable = isCurrent && model.editable;
	showNotice(isCurrent ? 'RemoteDraft' : 'RemoteConflict', { retry: isResumable, reload: !isResumable });
}

/** @param {string} id @param {unknown} error */
function loadFailed(id, error) {
	const code = codeOf(error);
	if (!['size', 'read', 'save'].includes(code)) throw error;
	const draft = readDraft(id);
	client.draftProblem = draft !== null;
	const isShown = draft !== null && note.withinTextLimits(draft.document);
	showNothing(id, isShown ? draft.document : undefined);
	if (draft && !isShown) {
		showNotice('TextLimit');
	} else {
		showFailure(error);
	}
}

function listenForScenes() {
	ui.scenes.addEventListener('change', () => {
		const id = ui.scenes.value;
		attempt(async () => {
			await finishEdit();
			if (client.editing || client.draftProblem) {
				ui.scenes.value = client.scene;
				return;
			}
			ui.follow.checked = false;
			stopScrolling();
			await load(id);
		});
	});
	ui.follow.addEventListener('change', () =>
		attempt(async () => {
			await finishEdit();
			if (client.editing || client.draftProblem) {
				ui.follow.checked = !ui.follow.checked;
			} else if (ui.follow.checked) {
				await showTarget(false);
			}
		}),
	);
}

// --- drafts ----------------------------------------------------------------------------------------------------------

/** @type {Map<string, Draft>} */
const drafts = new Map();

/** @param {string} scene */
const draftKey = (scene) => `quillbay.draft.${location.host}.${scene}`;

/**
 * @param {string} scene
 * @returns {Draft | null}
 */
function readDraft(scene) {
	let draft = drafts.get(scene) ?? null;
	try {
		draft ??= JSON.parse(localStorage.getItem(draftKey(scene)) ?? 'null');
	} catch {
		// Unreadable, so nothing that could be offered.
	}
	const blocks = draft?.document?.blocks;
	return Array.isArray(blocks) && blocks.every(isBlock) ? draft : null;
}

/** Whether a stored value can be shown as a block. @param {any} block */
function isBlock(block) {
	const runs = block?.runs ?? [];
	return (
		block !== null &&
		typeof block === 'object' &&
		Array.isArray(runs) &&
		runs.every((run) => typeof run?.text === 'string')
	);
}

/** Keeps what is on the screen, so that nothing typed is lost. @param {WebDocument} [snapshot] */
function storeDraft(snapshot) {
	const { scene, epoch, revision } = client;
	clearTimeout(editing.draftTimer);
	if (!scene) return;
	const old = client.draftProblem ? readDraft(scene) : null;
	if (old && !note.withinTextLimits(old.document)) return;
	const draft = { epoch, revision, document: snapshot ?? note.serialize(article) };
	drafts.set(scene, draft);
	editing.draftSequence = client.sequence;
	showCharacters(note.characterCount(draft.document));
	try {
		localStorage.setItem(draftKey(scene), JSON.stringify(draft));
	} catch {
		showNotice('RemoteNoDraft', { retry: false, reload: false });
	}
}

/** @param {string} scene */
function removeDraft(scene) {
	clearTimeout(editing.draftTimer);
	drafts.delete(scene);
	try {
		localStorage.removeItem(draftKey(scene));
	} catch {
		// Nothing was stored.
	}
}

/** The scene's draft, unless the host has that text already: a page that was left during its last save. @param {string} id @param {Model} model */
function settledDraft(id, model) {
	const draft = readDraft(id);
	if (draft && comparable(draft.document) === comparable(model)) {
		removeDraft(id);
		return null;
	}
	return draft;
}

/** A text that is equal for documents that show the same, however runs are cut and list groups numbered. @param {WebDocument} content */
function comparable(content) {
	/** @type {Map<number, number>} */
	const groups = new Map([[0, 0]]);
	const blocks = content.blocks.map((block) => {
		const { align = 1, indent = 0, list = 0, listIndent = 1, listGroup = 0, listStart = 1 } = block;
		if (!groups.has(listGroup)) groups.set(listGroup, groups.size);
		/** @type {[string, string][]} */
		const runs = [];
		for (const { text, ...format } of block.runs ?? []) {
			const { weight = 400, italic = false, underline = false, strike = false } = format;
			const { size = 0, family = '', color = '', background = '' } = format;
			const key = JSON.stringify([weight, italic, underline, strike, size, family, color, background]);
			const last = runs.at(-1);
			if (last?.[0] === key) {
				last[1] += text;
			} else if (text) {
				runs.push([key, text]);
			}
		}
		return [align, indent, list, listIndent, groups.get(listGroup), listStart, runs];
	});
	return JSON.stringify(blocks);
}

async function retry() {
	if (client.draftProblem && client.online && client.model) {
		await beginEdit(true);
	} else if (!client.online) {
		login.desired = true;
		await connect();
	} else if (!client.model && client.scene) {
		await load(client.scene);
	} else {
		clearNotice();
	}
}

async function discardDraft() {
	if (!confirm(t('RemoteReload')) || !client.online) return;
	removeDraft(client.scene);
	client.draftProblem = false;
	clearNotice();
	if (hasScene(client.scene)) await load(client.scene, false);
	await showTarget(false);
}

function downloadDraft() {
	const draft = readDraft(client.scene);
	const isShown = !draft || note.withinTextLimits(draft.document);
	const body = document.implementation.createHTMLDocument().body;
	note.render(body, isShown ? note.serialize(article) : draft.document);
	saveFile(
		'QuillBay-draft.html',
		'text/html;charset=utf-8',
		`<!doctype html><meta charset="utf-8">${body.outerHTML}`,
	);
}

function listenForDrafts() {
	button('retry').addEventListener('click', () => attempt(retry));
	button('reload').addEventListener('click', () => attempt(discardDraft));
	button('download').addEventListener('click', () => attempt(downloadDraft));
	addEventListener('beforeunload', (event) => {
		if ((client.editing && isUnsaved()) || client.draftProblem) {
			keepUnsaved();
			event.preventDefault();
		}
	});
	addEventListener('pagehide', () => {
		keepUnsaved();
		if (client.editing && !isUnsaved()) releaseQuietly();
	});
}

/** Stores what the host does not have yet. */
function keepUnsaved() {
	if (client.editing && isUnsaved()) storeDraft();
}

// --- lease and saving ------------------------------------------------------------------------------------------------

const draftDelayMs = 250;
const saveDelayMs = 800;

const editing = {
	/** Counts the leases of this page: an answer about an older one says nothing. */
	lease: 0,
	draftTimer: 0,
	saveTimer: 0,
	isComposing: false,
	/** The count of edits that the stored draft has. */
	draftSequence: -1,
	/** Where the caret was when a draft was left, as an offset in the document. */
	caret: 0,
};

/** @param {boolean} resumes a draft is taken up again */
function mayBegin(resumes) {
	const { editing: isEditing, acquiring, finishing, importing, online, scene, model, remoteState } = client;
	const isBusy = isEditing || acquiring || finishing || importing || isScrolling();
	if (isBusy || !online || !scene || !model?.editable || !remoteState) return false;
	const isHostFree = !remoteState.locked && !remoteState.localEditing;
	return isHostFree && (resumes || (!client.draftProblem && !remoteState.editor));
}

/**
 * Takes the edit lease, and lets the user type.
 * @param {boolean} [resumes] the draft on the screen is taken up again
 * @param {{x: number, y: number}} [point] where the caret is wanted
 */
async function beginEdit(resumes = false, point) {
	if (!mayBegin(resumes)) return;
	const { scene, epoch, revision } = client;
	client.acquiring = true;
	let isStale = false;
	try {
		const model = /** @type {any} */ (await call('AcquireEdit', { scene, epoch, revision }));
		const isLookedAt = document.visibilityState === 'visible' && article.contains(document.activeElement);
		const isWanted = resumes || isLookedAt;
		if (!client.online || client.scene !== scene || client.remoteState?.locked || !isWanted) {
			releaseQuietly();
			return;
		}
		takeLease(model, resumes, point);
	} catch (error) {
		isStale = codeOf(error) === 'conflict' && !resumes;
		if (!isStale) showFailure(error);
	} finally {
		client.acquiring = false;
		updateControls();
	}
	if (isStale) {
		// The note has changed a moment ago and nothing was typed here: show it as it is now.
		await attempt(() => load(scene));
	}
}

/** @param {Model} model @param {boolean} resumes @param {{x: number, y: number}} [point] */
function takeLease(model, resumes, point) {
	const isOther = !resumes && (!client.model || comparable(client.model) !== comparable(model));
	++client.loadNumber;
	requestedScene = '';
	++editing.lease;
	Object.assign(client, { model, revision: model.revision, epoch: model.epoch, editing: true, draftProblem: false });
	client.acquiring = false;
	client.savedSequence = client.sequence;
	if (resumes) ++client.sequence;
	editing.draftSequence = -1;
	clearNotice();
	if (isOther) show(model, true);
	const range = isOther || !getSelection()?.rangeCount ? rangeAtPoint(point) : getSelection()?.getRangeAt(0);
	updateControls();
	// The element was focused before it could be edited: only a new focus opens an on-screen keyboard.
	article.blur();
	article.focus({ preventScroll: true });
	if (resumes) {
		note.selectOffsets(article, editing.caret);
		revealCaret();
		storeDraft();
		attempt(save);
	} else if (range && article.contains(range.startContainer)) {
		selectRange(range);
	}
}

/** @param {{x: number, y: number}} [point] */
function rangeAtPoint(point) {
	if (!point) return null;
	const place = document.caretPositionFromPoint?.(point.x, point.y);
	if (!place) return document.caretRangeFromPoint?.(point.x, point.y) ?? null;
	const range = document.createRange();
	range.setStart(place.offsetNode, place.offset);
	return range;
}

/** Gives the lease back; where that fails it ends by itself. */
function releaseQuietly() {
	call('ReleaseEdit').catch(() => {});
}

/** Ends the editing. What is unsaved becomes a draft that waits for its user's decision. */
function endEdit() {
	if (client.editing && isUnsaved()) {
		storeDraft();
		client.draftProblem = true;
		editing.caret = note.selectionOffsets(article)?.end ?? 0;
	}
	client.editing = false;
	// A document that can no longer be edited does not report the end of a composition.
	editing.isComposing = false;
	clearTimeout(editing.draftTimer);
	clearTimeout(editing.saveTimer);
	stopPainter();
	updateControls();
}

/** @param {unknown} error why the lease is gone */
function loseEdit(error) {
	endEdit();
	showFailure(error);
}

/** Something was typed or formatted: it is kept and saved when the user pauses. */
function edited() {
	++client.sequence;
	if (notice && notice.key !== 'RemoteNoDraft' && !client.draftProblem) clearNotice();
	clearTimeout(editing.draftTimer);
	editing.draftTimer = setTimeout(storeDraft, draftDelayMs);
	saveLater();
	documentChanged();
	updateStatus();
}

function saveLater() {
	clearTimeout(editing.saveTimer);
	editing.saveTimer = setTimeout(() => attempt(save), saveDelayMs);
}

/** Saves what is unsaved; waits for a save under way. */
function save() {
	client.saving ??= saveNow().finally(() => {
		client.saving = null;
		updateControls();
	});
	updateControls();
	return client.saving;
}

async function saveNow() {
	clearTimeout(editing.saveTimer);
	if (!client.editing || !isUnsaved()) return;
	if (editing.isComposing) {
		saveLater();
		return;
	}
	const { scene, epoch, revision, sequence } = client;
	const draft = editing.draftSequence === sequence ? drafts.get(scene) : null;
	const snapshot = draft?.document ?? note.serialize(article);
	if (!draft) storeDraft(snapshot);
	if (!note.withinTextLimits(snapshot)) {
		showNotice('TextLimit');
		return;
	}
	// The answer to a save of an older lease says nothing of the edits since.
	const isCurrent = () => client.scene === scene && client.epoch === epoch && client.savedSequence < sequence;
	try {
		const reply = await call('SaveDocument', { scene, epoch, revision, document: snapshot });
		if (isCurrent()) saved(Number(reply.revision), sequence);
	} catch (error) {
		if (isCurrent()) saveFailed(error);
	}
	if (client.editing && isUnsaved()) saveLater();
}

/** @param {number} revision @param {number} sequence the count of edits that the host has now */
function saved(revision, sequence) {
	client.revision = revision;
	client.savedSequence = sequence;
	if (isUnsaved()) {
		storeDraft();
		return;
	}
	removeDraft(client.scene);
	if (client.draftProblem) {
		// The lease was lost while this save was under way, but the text has arrived.
		client.draftProblem = false;
		clearNotice();
		attempt(() => showTarget(true));
	}
}

/** @param {unknown} error */
function saveFailed(error) {
	if (client.editing) {
		endEdit();
		showFailure(error);
	}
	releaseQuietly();
}

/** Saves, gives the lease back and shows the note as the host has it. */
function finishEdit() {
	client.finishing ??= finish().finally(() => {
		client.finishing = null;
		updateControls();
	});
	updateControls();
	return client.finishing;
}

async function finish() {
	if (!client.editing) return;
	if (document.activeElement === article) {
		// Ends a composition, so that its text counts.
		article.blur();
	}
	await save();
	if (isUnsaved()) await save();
	if (!client.editing || client.draftProblem || !client.online || isUnsaved()) return;
	try {
		const state = await call('ReleaseEdit');
		endEdit();
		applyState(state);
		await load(client.scene);
	} catch (error) {
		endEdit();
		showFailure(error);
	}
}

const insideEditing = '#document, #text-tools, #paragraph-tools, #target';

/** @param {EventTarget | null} target */
const isOutside = (target) => target instanceof Element && !target.closest(insideEditing);

function listenForLease() {
	let isPointerDown = false;
	addEventListener('pointerdown', () => (isPointerDown = true), true);
	addEventListener('pointercancel', () => (isPointerDown = false), true);
	// A control that is pressed acts first; then the editing ends.
	addEventListener('click', ({ target }) => {
		isPointerDown = false;
		if (client.editing && target instanceof Element && target.isConnected && isOutside(target)) attempt(finishEdit);
	});
	addEventListener('focusin', ({ target }) => {
		if (client.editing && !isPointerDown && isOutside(target)) attempt(finishEdit);
	});
	document.addEventListener('visibilitychange', () => {
		if (document.visibilityState === 'hidden' && client.editing) {
			keepUnsaved();
			attempt(finishEdit);
		}
	});
	addEventListener('keydown', (event) => {
		// A pointer that only opened a menu, or was released elsewhere, clicks nothing.
		isPointerDown = false;
		onEscape(event);
	});
	article.addEventListener('focus', () => {
		if (!isPointerDown) beginEdit();
	});
	article.addEventListener('click', (event) => {
		if (!(event.altKey && event.shiftKey)) {
			beginEdit(false, { x: event.clientX, y: event.clientY });
		}
	});
}

/** @param {KeyboardEvent} event */
function onEscape(event) {
	if (event.key !== 'Escape' || event.isComposing || event.defaultPrevented) return;
	if (painter.format) {
		stopPainter();
	} else if (document.activeElement === button('characters')) {
		button('characters').blur();
	} else if (client.editing) {
		attempt(finishEdit);
	}
}

// --- typing and formatting -------------------------------------------------------------------------------------------

/** @type {Range | null} the last selection in the document, which controls that take the focus act on */
let lastRange = null;

/** @param {Range} range */
function selectRange(range) {
	const selection = getSelection();
	selection?.removeAllRanges();
	selection?.addRange(range);
}

/** The selection of the document, or null. */
function documentRange() {
	const selection = getSelection();
	const range = selection?.rangeCount ? selection.getRangeAt(0) : null;
	return range && article.contains(range.commonAncestorContainer) ? range : null;
}

/** Gives the document its focus and selection back after a control had them. */
function restoreSelection() {
	const range = documentRange();
	if (range && document.activeElement === article) return;
	// The focus alone would put the caret at the start.
	const wanted = lastRange ?? range;
	article.focus({ preventScroll: true });
	if (wanted && article.contains(wanted.commonAncestorContainer)) selectRange(wanted);
}

/** Does one edit of ours if typing is allowed and the limits are kept. @param {() => unknown} operation false: nothing done */
function edit(operation) {
	if (!canWrite()) return;
	restoreSelection();
	try {
		if (operation() !== false) {
			lastRange = documentRange()?.cloneRange() ?? lastRange;
			edited();
			revealCaret();
		}
	} catch (error) {
		showFailure(error);
	}
}

/** @param {string} text */
function insert(text) {
	edit(() => {
		const range = documentRange();
		if (!range || !note.acceptsEdit(article, text, range)) {
			showNotice('TextLimit');
			return false;
		}
		note.insertText(article, text);
	});
}

/** @param {Parameters<typeof note.formatSelection>[1]} key @param {unknown} [value] */
function formatText(key, value) {
	edit(() => {
		const isDone = note.formatSelection(article, key, value);
		if (!isDone) showNotice('RemoteSelectText');
		return isDone;
	});
	showFormat();
}

/** @param {Parameters<typeof note.formatParagraphs>[1]} key @param {number} value */
function formatParagraphs(key, value) {
	edit(() => note.formatParagraphs(article, key, value));
	showFormat();
}

/** @param {'weight' | 'italic' | 'underline' | 'strike'} key */
function toggleFormat(key) {
	restoreSelection();
	const format = note.selectionFormat(article);
	formatText(key, key === 'weight' ? (format.weight >= 600 ? 400 : 700) : !format[key]);
}

/** @param {InputEvent} event */
function onBeforeInput(event) {
	if (!canWrite()) {
		event.preventDefault();
		return;
	}
	const outcome = note.handleBeforeInput(article, event);
	if (outcome === 'done') {
		edited();
		revealCaret();
	} else if (outcome === 'refused') {
		showNotice('TextLimit');
	}
}

/** What the browser has typed. @param {Event} event */
function onInput(event) {
	note.handleInput(article, /** @type {InputEvent} */ (event));
	edited();
}

/** @param {CompositionEvent} event */
function onComposition(event) {
	editing.isComposing = event.type === 'compositionstart';
	const outcome = note.handleComposition(article, event);
	if (outcome === 'refused') showNotice('TextLimit');
	if (!editing.isComposing && client.editing) edited();
}

/** What the browser would not do, or not as it should. @param {KeyboardEvent} event */
function onKey(event) {
	const hasCommand = event.ctrlKey || event.metaKey || event.altKey;
	if (event.key === 'End' && !hasCommand && canWrite()) {
		note.leaveMark(article, event.shiftKey);
	} else {
		onUndoKey(event);
	}
}

/** The browser offers undo and redo only while it has a history of its own. @param {KeyboardEvent} event */
function onUndoKey(event) {
	const key = event.key.toLowerCase();
	const isUndo = key === 'z' && !event.shiftKey;
	if (!(event.ctrlKey || event.metaKey) || event.altKey || !(key === 'z' || (key === 'y' && event.ctrlKey))) return;
	event.preventDefault();
	edit(() => (isUndo ? note.undo(article) : note.redo(article)));
}

/** @param {MouseEvent} event */
function insertMarkAtPointer(event) {
	if (event.altKey && event.shiftKey && event.button === 0 && !event.ctrlKey && !event.metaKey && canWrite()) {
		event.preventDefault();
		const range = rangeAtPoint({ x: event.clientX, y: event.clientY });
		if (range && article.contains(range.startContainer)) {
			selectRange(range);
			insertMark();
		}
	}
}

/** The mark at the caret, or null. */
function markAtCaret() {
	const range = documentRange();
	return range ? note.markAt(article, range) : null;
}

/** Inserts a mark, or deletes the one at the caret. */
function insertMark() {
	edit(() => {
		const mark = markAtCaret();
		return mark && !mark.atEnd
			? note.insertMark(article, '', mark.range)
			: note.insertMark(article, note.defaultMark);
	});
	showFormat();
}

function insertTime() {
	const now = new Date();
	/** @param {number} value */
	const two = (value) => String(value).padStart(2, '0');
	const date = [now.getFullYear(), two(now.getMonth() + 1), two(now.getDate())].join('-');
	insert(`${date} ${[now.getHours(), now.getMinutes(), now.getSeconds()].map(two).join(':')} `);
}

/** Keeps the line of the caret in view, above an on-screen keyboard. */
function revealCaret() {
	const range = documentRange();
	if (!range || document.activeElement !== article) return;
	const node = range.endContainer;
	const holder = node instanceof Element ? (node.childNodes[range.endOffset] ?? node) : node.parentElement;
	const rectangle = range.getClientRects()[0] ?? (holder instanceof Element ? holder.getBoundingClientRect() : null);
	const view = article.getBoundingClientRect();
	const margin = 12;
	if (rectangle && rectangle.bottom > view.bottom - margin) {
		article.scrollTop += rectangle.bottom - view.bottom + margin;
	} else if (rectangle && rectangle.top < view.top + margin) {
		article.scrollTop -= view.top - rectangle.top + margin;
	}
}

function listenForTyping() {
	article.addEventListener('beforeinput', onBeforeInput);
	article.addEventListener('input', onInput);
	article.addEventListener('keydown', onKey);
	article.addEventListener('compositionstart', onComposition);
	article.addEventListener('compositionend', onComposition);
	article.addEventListener('paste', (event) => {
		event.preventDefault();
		const text = event.clipboardData?.getData('text/plain') ?? '';
		if (text) insert(text);
	});
	for (const type of ['dragstart', 'dragover', 'drop']) {
		article.addEventListener(type, (event) => event.preventDefault());
	}
	article.addEventListener('mousedown', insertMarkAtPointer);
	document.addEventListener('selectionchange', onSelectionChange);
}

let selectionFrame = 0;

function onSelectionChange() {
	lastRange = documentRange()?.cloneRange() ?? lastRange;
	selectionFrame ||= requestAnimationFrame(() => {
		selectionFrame = 0;
		const range = documentRange();
		showSelectedCharacters();
		if (client.editing && range) {
			showFormat();
			paintLater();
		}
	});
}

/** Shows the format at the selection in the tools. */
function showFormat() {
	if (!client.editing || !documentRange()) return;
	const { weight, italic, underline, strike, size, family } = note.selectionFormat(article);
	press(button('bold'), weight >= 600);
	press(button('italic'), italic);
	press(button('underline'), underline);
	press(button('strike'), strike);
	if (document.activeElement !== input('size')) input('size').value = size ? String(size) : '12';
	const families = control('family', HTMLSelectElement);
	families.value = [...families.options].some((option) => option.value === family) ? family : '';
	const { align, list } = note.paragraphFormat(article) ?? { align: 1, list: 0 };
	for (const choice of ui.paragraphTools.querySelectorAll('button[data-align]')) {
		choice.setAttribute('aria-pressed', String(choice.getAttribute('data-align') === String(align)));
	}
	control('list', HTMLSelectElement).value = String(list);
	const mark = markAtCaret();
	label(button('insert-mark'), t(mark && !mark.atEnd ? 'DeleteMark' : 'InsertMark'));
}

function listenForTools() {
	for (const tools of [ui.textTools, ui.paragraphTools, button('target')]) {
		// A button that takes the focus would close the on-screen keyboard.
		tools.addEventListener('mousedown', (event) => {
			if (event.target instanceof Element && event.target.closest('button')) event.preventDefault();
		});
	}
	button('bold').addEventListener('click', () => toggleFormat('weight'));
	button('italic').addEventListener('click', () => toggleFormat('italic'));
	button('underline').addEventListener('click', () => toggleFormat('underline'));
	button('strike').addEventListener('click', () => toggleFormat('strike'));
	for (const id of ['color', 'highlight']) {
		const key = id === 'color' ? 'color' : 'background';
		button(`apply-${id}`).addEventListener('click', () => formatText(key, input(id).value));
		input(id).addEventListener('input', () => showColor(id));
		input(id).addEventListener('change', () => formatText(key, input(id).value));
		showColor(id);
	}
	control('family', HTMLSelectElement).addEventListener('change', ({ target }) =>
		formatText('family', /** @type {HTMLSelectElement} */ (target).value),
	);
	input('size').addEventListener('change', () => {
		const size = input('size');
		if (size.value && size.checkValidity()) formatText('size', Number(size.value));
		showFormat();
	});
	button('clear-format').addEventListener('click', () => formatText('clear'));
	button('insert-mark').addEventListener('click', insertMark);
	button('next-mark').addEventListener('click', nextMark);
	for (const align of ui.paragraphTools.querySelectorAll('button[data-align]')) {
		align.addEventListener('click', () => formatParagraphs('align', Number(align.getAttribute('data-align'))));
	}
	const list = control('list', HTMLSelectElement);
	list.addEventListener('change', () => formatParagraphs('list', Number(list.value)));
	button('indent-less').addEventListener('click', () => formatParagraphs('indent', -1));
	button('indent-more').addEventListener('click', () => formatParagraphs('indent', 1));
	button('insert-time').addEventListener('click', insertTime);
}

/** @param {string} id of a colour's control */
function showColor(id) {
	button(`apply-${id}`).style.setProperty('--chosen', input(id).value);
}

// --- format painter --------------------------------------------------------------------------------------------------

const paintDelayMs = 250;

const painter = {
	/** @type {ReturnType<typeof note.selectionFormat> | null} what is painted; null while the painter is off */
	format: null,
	isContinuous: false,
	/** The selection that needs no paint: the source, or what was painted last. */
	settled: '',
	timer: 0,
	isPointerDown: false,
};

/** The selection as text that can be compared; empty without one. */
function selectionText() {
	const { start = 0, end = 0 } = note.selectionOffsets(article) ?? {};
	return start === end ? '' : `${start}-${end}`;
}

/** @param {boolean} isContinuous */
function startPainter(isContinuous) {
	restoreSelection();
	if (!canWrite()) return;
	painter.format ??= note.selectionFormat(article);
	painter.isContinuous = isContinuous;
	painter.settled = selectionText();
	press(button('format-painter'), true);
	label(button('format-painter'), t(isContinuous ? 'FormatPainterContinuous' : 'FormatPainter'));
	document.body.classList.add('is-painting');
}

function stopPainter() {
	clearTimeout(painter.timer);
	painter.format = null;
	press(button('format-painter'), false);
	label(button('format-painter'), t('FormatPainter'));
	document.body.classList.remove('is-painting');
}

/** Paints when the user has finished selecting. */
function paintLater() {
	clearTimeout(painter.timer);
	if (painter.format && !painter.isPointerDown) painter.timer = setTimeout(paint, paintDelayMs);
}

function paint() {
	const selected = selectionText();
	const { format } = painter;
	if (!format || !selected || selected === painter.settled || !canWrite()) return;
	edit(() => note.formatSelection(article, 'paint', format));
	painter.settled = selectionText();
	if (!painter.isContinuous) stopPainter();
}

function listenForPainter() {
	const control = button('format-painter');
	control.addEventListener('click', () => (painter.format ? stopPainter() : startPainter(false)));
	control.addEventListener('dblclick', () => startPainter(true));
	article.addEventListener('pointerdown', () => (painter.isPointerDown = true));
	for (const type of ['pointerup', 'pointercancel']) {
		addEventListener(type, () => {
			painter.isPointerDown = false;
			paintLater();
		});
	}
}

// --- import and export -----------------------------------------------------------------------------------------------

const wordLimitBytes = 5 * 1024 * 1024;
const textLimitBytes = 1024 * 1024;
const documentLimitBytes = 4 * 1024 * 1024;
const uploadTimeoutMs = 35_000;
const wordType = 'application/vnd.openxmlformats-officedocument.wordprocessingml.document';

/** @param {File} file */
async function importFile(file) {
	const kind = /\.(docx|html?|txt)$/i.exec(file.name)?.[1]?.toLowerCase();
	const isWord = kind === 'docx';
	if (!kind) {
		showNotice('RemoteFileType', { isLasting: true });
		return;
	}
	if (file.size > (isWord ? wordLimitBytes : textLimitBytes)) {
		showNotice(isWord ? 'RemoteWordSize' : 'RemoteFileSize', { isLasting: true });
		return;
	}
	// The host takes an upload of nothing for a broken request.
	if (isWord && !file.size) throw new Failure('word');
	/** @type {WebDocument | null} */
	let content = null;
	if (!isWord) {
		const text = decoded(await file.arrayBuffer(), kind !== 'txt');
		content = kind === 'txt' ? note.plainDocument(text) : note.importHtml(text, document);
		if (new Blob([JSON.stringify(content)]).size > documentLimitBytes) throw new Failure('size');
	}
	const warning = { docx: 'RemoteWordNotice', txt: '' }[kind] ?? 'RemoteHtmlNotice';
	if (confirm(t('ReplacePrompt') + (warning && `\n${t(warning)}`))) await replaceNote(file, content);
}

/** A file's text, in the encoding that it names itself, else UTF-8. @param {ArrayBuffer} bytes @param {boolean} isHtml */
function decoded(bytes, isHtml) {
	const [first, second] = new Uint8Array(bytes);
	let encoding = { 0xfffe: 'utf-16le', 0xfeff: 'utf-16be' }[(first << 8) | second];
	if (!encoding && isHtml) {
		const head = new TextDecoder('latin1').decode(bytes.slice(0, 1024));
		encoding = /<meta[^>]*charset\s*=\s*["']?([\w-]+)/i.exec(head)?.[1];
	}
	try {
		return new TextDecoder(encoding).decode(bytes);
	} catch {
		return new TextDecoder().decode(bytes);
	}
}

/** @param {File} file a Word file, unless there is content @param {WebDocument | null} content */
async function replaceNote(file, content) {
	const { scene, epoch } = client;
	const wasEditing = client.editing;
	const importing = new AbortController();
	client.importing = importing;
	stopScrolling();
	let isLeased = wasEditing;
	try {
		await client.finishing;
		updateControls();
		await save();
		if (isUnsaved()) await save();
		isLeased = client.editing;
		if (client.scene !== scene || client.epoch !== epoch || client.draftProblem || isUnsaved()) {
			throw new Failure('conflict');
		}
		const place = () => ({ scene, epoch, revision: client.revision });
		if (!isLeased) {
			await call('AcquireEdit', { ...place(), replace: true });
			isLeased = true;
		}
		const reply = content
			? await call('ReplaceDocument', { ...place(), document: content })
			: await upload(file, importing);
		replaced(reply, scene);
	} finally {
		client.importing = null;
		if (isLeased && !(wasEditing && client.editing && client.model?.editable)) {
			endEdit();
			releaseQuietly();
		}
		updateControls();
	}
}

/** @param {Reply} reply the new document @param {string} scene */
function replaced(reply, scene) {
	if (client.scene !== scene) return;
	const model = /** @type {any} */ (reply);
	++client.loadNumber;
	requestedScene = '';
	Object.assign(client, { model, epoch: model.epoch, revision: model.revision, savedSequence: client.sequence });
	removeDraft(scene);
	clearNotice();
	show(model, false);
	if (reply.simplified === true) {
		showNotice('WordSimplified', { isLasting: true });
	}
}

/** @param {File} file @param {AbortController} abort */
async function upload(file, abort) {
	const timer = setTimeout(() => abort.abort(), uploadTimeoutMs);
	/** @type {Reply} */
	let reply;
	try {
		const response = await fetch('/import.docx', {
			method: 'POST',
			body: file,
			signal: abort.signal,
			headers: {
				'Content-Type': wordType,
				'X-QuillBay-Access': client.access,
				'X-QuillBay-Session': client.session,
				'X-QuillBay-Scene': client.scene,
				'X-QuillBay-Epoch': client.epoch,
				'X-QuillBay-Revision': String(client.revision),
			},
		});
		if (!response.ok) throw new Failure('upload');
		reply = await response.json();
	} catch {
		throw new Failure(abort.signal.aborted && client.remoteState?.locked ? 'locked' : 'upload');
	} finally {
		clearTimeout(timer);
	}
	if (reply.ok !== true) throw new Failure(String(reply.code));
	return reply;
}

/** @param {string} kind */
async function exportNote(kind) {
	await save();
	if (isUnsaved()) await save();
	if (client.draftProblem || !client.online) return;
	const { scene } = client;
	if (kind === 'txt') {
		const { text } = await call('ExportText', { scene });
		saveFile('QuillBay.txt', 'text/plain;charset=utf-8', String(text));
	} else {
		const { html } = await call('ExportHtml', { scene });
		saveFile('QuillBay.html', 'text/html;charset=utf-8', String(html));
	}
}

/** Hands a text to the user as a file. @param {string} name @param {string} type @param {string} text */
function saveFile(name, type, text) {
	const link = document.createElement('a');
	link.href = URL.createObjectURL(new Blob([text], { type }));
	link.download = name;
	link.click();
	// The browser needs the address until it has read the file.
	setTimeout(() => URL.revokeObjectURL(link.href), 60_000);
}

function listenForFiles() {
	button('import').addEventListener('click', () => input('file').click());
	input('file').addEventListener('change', () => {
		const file = input('file').files?.[0];
		if (file) attempt(() => importFile(file)).finally(() => (input('file').value = ''));
	});
	ui.exporting.addEventListener('change', () => {
		const kind = ui.exporting.value;
		ui.exporting.value = '';
		if (kind) attempt(() => exportNote(kind));
	});
}

// --- scrolling -------------------------------------------------------------------------------------------------------

/** At speed 1.0, as in the host. */
const pixelsPerMs = 0.01;
const manualPauseMs = 1_000;
/** Where the eye rests: the reading band's centre and the top of a line gone to. */
const bandCenter = 0.382;

const reading = {
	/** Whose scrolling the controls drive: this device's ("local") or the host's ("obs"). */
	target: 'local',
	playing: false,
	countdownTimer: 0,
	/** The position with its fraction, and the one that the browser made of it. */
	scrollPosition: 0,
	expectedScrollTop: 0,
	/** Until then the reader moves the text by hand. */
	manualUntil: 0,
	scrollDragging: false,
	localSpeed: 1,
	isSendingSpeed: false,
	lastFrame: 0,
};

const isScrolling = () => reading.playing || reading.countdownTimer !== 0;
const scrollRange = () => Math.max(0, article.scrollHeight - article.clientHeight);

function showPlay() {
	const isRunning = reading.target === 'obs' ? client.remoteState?.scrolling === true : isScrolling();
	const play = button('play');
	play.querySelector('use')?.setAttribute('href', isRunning ? '#i-pause' : '#i-play');
	label(play, t(isRunning ? 'Pause' : 'RemotePlay'));
	play.classList.toggle('is-running', isRunning);
	element('band').hidden = !(reading.playing && isPressed(button('guide')));
	document.body.classList.toggle('is-playing', reading.playing);
	keepAwake(isRunning);
}

/** @param {number} speed */
function showSpeed(speed) {
	input('speed').value = String(speed);
	const text = `${Number(input('speed').value).toFixed(1)}×`;
	element('multiplier').textContent = text;
	input('speed').setAttribute('aria-valuetext', text);
}

function stopScrolling() {
	clearInterval(reading.countdownTimer);
	reading.countdownTimer = 0;
	reading.playing = false;
	reading.scrollDragging = false;
	element('count').textContent = '';
	showPlay();
}

async function togglePlay() {
	if (reading.target === 'obs') {
		await finishEdit();
		await sendScroll({ command: client.remoteState?.scrolling ? 'pause' : 'start' });
		return;
	}
	if (isScrolling()) {
		stopScrolling();
		return;
	}
	await finishEdit();
	if (client.editing || isScrolling()) return;
	if (notice?.isLasting) clearNotice();
	if (isPressed(button('countdown'))) {
		countDown(3);
	} else {
		startScrolling();
	}
}

/** @param {number} seconds */
function countDown(seconds) {
	const count = element('count');
	count.textContent = String(seconds);
	reading.countdownTimer = setInterval(() => {
		if (--seconds > 0) {
			count.textContent = String(seconds);
		} else {
			stopScrolling();
			startScrolling();
		}
	}, 1_000);
	showPlay();
}

function startScrolling() {
	reading.playing = true;
	reading.manualUntil = 0;
	reading.scrollPosition = reading.expectedScrollTop = article.scrollTop;
	reading.lastFrame = performance.now();
	showPlay();
	requestAnimationFrame(scrollFrame);
}

/** @param {number} now */
function scrollFrame(now) {
	if (!reading.playing) return;
	const elapsed = Math.max(0, now - reading.lastFrame);
	reading.lastFrame = now;
	const top = article.scrollTop;
	// The browser rounds a position to the screen's pixels.
	if (Math.abs(top - reading.expectedScrollTop) > 1) {
		reading.scrollPosition = reading.expectedScrollTop = top;
		reading.manualUntil = now + manualPauseMs;
	}
	if (!reading.scrollDragging && now >= reading.manualUntil) {
		const end = scrollRange();
		reading.scrollPosition = Math.min(end, reading.scrollPosition + elapsed * pixelsPerMs * reading.localSpeed);
		article.scrollTop = reading.scrollPosition;
		reading.expectedScrollTop = article.scrollTop;
		if (reading.scrollPosition >= end) {
			stopScrolling();
			return;
		}
	}
	requestAnimationFrame(scrollFrame);
}

/** @param {Reply} command */
async function sendScroll(command) {
	applyState(await call('Scroll', command));
}

/** Brings the controls and the position in line with the host, in its mode. */
function showHostScrolling() {
	if (reading.target === 'obs' && client.remoteState) {
		if (!reading.isSendingSpeed) showSpeed(client.remoteState.speed);
		followHost();
	}
	showPlay();
}

function followHost() {
	const { remoteState, editing: isEditing, importing, draftProblem, online, epoch, scene } = client;
	const isFollowing = reading.target === 'obs' && online && !isEditing && !importing && !draftProblem;
	if (!isFollowing || document.visibilityState !== 'visible' || !remoteState) return;
	if (remoteState.epoch === epoch && remoteState.activeScene === scene) {
		article.scrollTop = Math.min(1, Math.max(0, Number(remoteState.position) || 0)) * scrollRange();
	}
}

function toggleTarget() {
	stopScrolling();
	const isHost = reading.target === 'local';
	reading.target = isHost ? 'obs' : 'local';
	showTargetName();
	showSpeed(isHost ? (client.remoteState?.speed ?? 1) : reading.localSpeed);
	showPlay();
	followHost();
	updateControls();
}

function showTargetName() {
	const isHost = reading.target === 'obs';
	const name = t(isHost ? 'RemoteOBS' : 'RemoteLocal');
	button('target').textContent = name;
	button('target').classList.toggle('is-host', isHost);
	button('target').title = t('RemoteTarget');
	button('target').setAttribute('aria-label', `${t('RemoteTarget')}: ${name}`);
	button('countdown').disabled = isHost;
}

async function goToTop() {
	if (reading.target === 'obs') {
		await sendScroll({ command: 'top' });
	} else {
		stopScrolling();
		article.scrollTop = 0;
	}
}

/** A slider that is dragged changes faster than the host answers: one request at a time, the latest value last. */
async function changeSpeed() {
	const speed = Number(input('speed').value);
	showSpeed(speed);
	if (reading.target === 'local') {
		reading.localSpeed = speed;
		return;
	}
	if (reading.isSendingSpeed) return;
	reading.isSendingSpeed = true;
	try {
		let sent = NaN;
		while (reading.target === 'obs' && sent !== Number(input('speed').value)) {
			sent = Number(input('speed').value);
			await sendScroll({ command: 'speed', speed: sent });
		}
	} finally {
		reading.isSendingSpeed = false;
	}
}

let positionFrame = 0;

function showPosition() {
	positionFrame ||= requestAnimationFrame(() => {
		positionFrame = 0;
		button('percent').textContent = `${percentage()}%`;
	});
}

function percentage() {
	const end = scrollRange();
	return end > 0 ? Math.min(100, Math.max(0, Math.round((100 * article.scrollTop) / end))) : 0;
}

function listenForScrolling() {
	button('play').addEventListener('click', () => attempt(togglePlay));
	button('top').addEventListener('click', () => attempt(goToTop));
	button('target').addEventListener('click', toggleTarget);
	input('speed').addEventListener('input', () => attempt(changeSpeed));
	button('countdown').addEventListener('click', () => press(button('countdown'), !isPressed(button('countdown'))));
	button('guide').addEventListener('click', () => {
		press(button('guide'), !isPressed(button('guide')));
		showPlay();
	});
	article.addEventListener('scroll', showPosition, { passive: true });
	article.addEventListener('pointerdown', () => (reading.scrollDragging = reading.playing));
	const release = () => {
		if (reading.scrollDragging) {
			reading.scrollDragging = false;
			reading.manualUntil = performance.now() + manualPauseMs;
		}
	};
	for (const type of ['pointerup', 'pointercancel', 'blur']) addEventListener(type, release);
	document.addEventListener('visibilitychange', () => {
		if (document.visibilityState === 'hidden') {
			stopScrolling();
		} else {
			followHost();
			showPlay();
		}
	});
	new ResizeObserver(followHost).observe(article);
}

// --- a screen that stays awake ---------------------------------------------------------------------------------------

const awake = {
	isWanted: false,
	/** @type {WakeLockSentinel | null} */
	lock: null,
	/** @type {HTMLVideoElement | null} */
	video: null,
	timer: 0,
};

/** Keeps a phone's screen on while text scrolls. @param {boolean} isWanted */
async function keepAwake(isWanted) {
	isWanted &&= document.visibilityState === 'visible';
	if (awake.isWanted === isWanted) return;
	awake.isWanted = isWanted;
	if (!isWanted) {
		awake.lock?.release();
		awake.lock = null;
		awake.video?.pause();
		clearInterval(awake.timer);
		return;
	}
	try {
		const lock = await navigator.wakeLock.request('screen');
		if (awake.isWanted) {
			awake.lock = lock;
		} else {
			lock.release();
		}
	} catch {
		// Plain HTTP has no wake lock, but a browser keeps the screen on for a video that plays.
		playStill();
	}
}

function playStill() {
	const canvas = document.createElement('canvas');
	canvas.width = canvas.height = 2;
	const pen = canvas.getContext('2d');
	if (!pen || !canvas.captureStream || !awake.isWanted) return;
	awake.video ??= document.body.appendChild(document.createElement('video'));
	Object.assign(awake.video, {
		className: 'still',
		muted: true,
		playsInline: true,
		srcObject: canvas.captureStream(1),
	});
	awake.video.setAttribute('aria-hidden', 'true');
	clearInterval(awake.timer);
	awake.timer = setInterval(() => pen.fillRect(0, 0, 2, 2), 1_000);
	pen.fillRect(0, 0, 2, 2);
	awake.video.play().catch(() => {});
}

// --- going to a place, and counting ----------------------------------------------------------------------------------

/** @param {string} text */
function openGoTo(text) {
	const field = input('go-to');
	element('places').classList.add('is-open');
	field.hidden = false;
	field.value = text;
	markGoTo(true);
	field.focus();
	field.select();
}

function closeGoTo() {
	input('go-to').hidden = true;
	element('places').classList.remove('is-open');
}

/** @param {boolean} isValid */
function markGoTo(isValid) {
	const field = input('go-to');
	const text = isValid ? '' : filled('GoToInvalid', counted(note.paragraphCount(article)));
	field.setCustomValidity(text);
	field.setAttribute('aria-invalid', String(!isValid));
	field.title = text || t('GoTo');
}

/** The place that a text names, or null. @param {string} text */
function placeOf(text) {
	const [, digits, percent] = /^(\d{1,9})(%?)$/.exec(text.trim()) ?? [];
	const number = Number(digits);
	const isKnown = percent ? number <= 100 : number >= 1 && number <= note.paragraphCount(article);
	return digits && isKnown ? { number, isPercent: percent === '%' } : null;
}

async function goTo() {
	const text = input('go-to').value;
	const place = placeOf(text);
	markGoTo(place !== null);
	if (!place) {
		input('go-to').reportValidity();
		return;
	}
	await finishEdit();
	const { scene, remoteState } = client;
	if (reading.target === 'obs' && client.online && scene === remoteState?.activeScene) {
		await sendScroll({ command: 'seek', scene, target: text });
	} else {
		stopScrolling();
		aim(() => (place.isPercent ? (scrollRange() * place.number) / 100 : lineTop(place.number)));
	}
	closeGoTo();
}

/** The position that puts a paragraph's top where the eye rests. @param {number} number */
function lineTop(number) {
	const paragraph = note.paragraphAt(article, number - 1);
	const offset = paragraph ? paragraph.getBoundingClientRect().top - article.getBoundingClientRect().top : 0;
	return article.scrollTop + offset - bandCenter * article.clientHeight;
}

/** Scrolls, and again while the parts that come into view turn out larger or smaller than assumed. @param {() => number} position */
function aim(position, tries = 4) {
	article.scrollTop = position();
	if (tries > 0) {
		requestAnimationFrame(() => Math.abs(position() - article.scrollTop) > 1 && aim(position, tries - 1));
	}
}

/** @param {number} count */
const counted = (count) => count.toLocaleString();

let characters = 0;

/** @param {number} count of the whole note */
function showCharacters(count) {
	characters = count;
	button('lines').textContent = filled('RemoteLines', counted(note.paragraphCount(article)));
	showPosition();
	showSelectedCharacters();
}

function showSelectedCharacters() {
	const counter = button('characters');
	const { start = 0, end = 0 } = (documentRange()?.collapsed === false && note.selectionOffsets(article)) || {};
	const selected = end - start;
	const text = selected
		? filled('SelectedCharacters', counted(selected))
		: filled('CharacterCount', counted(characters));
	if (counter.textContent !== text) counter.textContent = text;
	const limit = note.maxNoteCharacters;
	const left = Math.max(0, limit - characters);
	counter.dataset.details = counter.title = filled(
		'CharacterRemaining',
		counted(characters),
		counted(limit),
		counted(left),
	);
	counter.setAttribute('aria-description', counter.title);
}

function listenForPlaces() {
	button('lines').addEventListener('click', () => openGoTo('1'));
	button('percent').addEventListener('click', () => openGoTo(`${percentage()}%`));
	const field = input('go-to');
	field.addEventListener('input', () => markGoTo(true));
	field.addEventListener('blur', closeGoTo);
	field.addEventListener('keydown', (event) => {
		if (event.isComposing) return;
		if (event.key === 'Enter') {
			event.preventDefault();
			attempt(goTo);
		} else if (event.key === 'Escape') {
			event.preventDefault();
			closeGoTo();
		}
	});
}

// --- search ----------------------------------------------------------------------------------------------------------

const searchDelayMs = 180;
const matchLimit = 10_000;
const mark = '◆';

const search = {
	/** Matches as the offsets of their characters in the document. @type {{start: number, end: number}[]} */
	searchRanges: [],
	searchIndex: -1,
	/** The query comes from the next-mark button. */
	markSearch: false,
	timer: 0,
};

/** Every match of the query. */
function collectMatches() {
	const query = input('search').value;
	search.searchRanges = [];
	if (!query) return;
	const pattern = new RegExp(query.replace(/[\\^$.*+?()[\]{}|/]/g, '\\$&'), 'giu');
	for (const match of note.documentText(article).matchAll(pattern)) {
		search.searchRanges.push({ start: match.index, end: match.index + match[0].length });
		if (search.searchRanges.length === matchLimit) return;
	}
}

function showMatches() {
	const total = search.searchRanges.length;
	const hasQuery = input('search').value !== '';
	const output = element('matches');
	output.textContent = hasQuery ? `${search.searchIndex + 1}/${total}` : '';
	output.title = hasQuery && !total ? t('NoMatch') : '';
	output.setAttribute('aria-label', output.title || output.textContent);
	output.classList.toggle('is-empty', hasQuery && !total);
	button('previous').disabled = button('next').disabled = total === 0;
	button('clear-search').hidden = !hasQuery;
}

/** @param {Range | null} range */
function highlight(range) {
	const highlights = globalThis.CSS?.highlights;
	if (range) {
		highlights?.set('scene-search', new Highlight(range));
	} else {
		highlights?.delete('scene-search');
	}
}

/** Shows the current match. @param {boolean} isReached it is also selected and brought to the middle of the view */
function showMatch(isReached) {
	const match = search.searchRanges[search.searchIndex];
	const range = match ? note.rangeAt(article, match.start, match.end) : null;
	highlight(range);
	showMatches();
	if (!range || !isReached) return;
	// A selection elsewhere would take the typing away from the search field.
	if (document.activeElement !== input('search')) selectRange(range);
	lastRange = range.cloneRange();
	aim(() => {
		const place = range.getBoundingClientRect();
		const view = article.getBoundingClientRect();
		const limit = Math.min(
			scrollRange(),
			article.scrollTop + place.top - view.top - (view.height - place.height) / 2,
		);
		return Math.max(0, limit);
	});
}

/** @param {boolean} isReached */
function searchNow(isReached) {
	clearTimeout(search.timer);
	search.timer = 0;
	collectMatches();
	const last = search.searchRanges.length - 1;
	search.searchIndex = isReached ? Math.min(0, last) : Math.min(Math.max(0, search.searchIndex), last);
	showMatch(isReached);
}

/** @param {number} step */
function moveMatch(step) {
	if (search.timer) searchNow(false);
	const total = search.searchRanges.length;
	if (total) {
		search.searchIndex = (search.searchIndex + step + total) % total;
		showMatch(true);
	}
}

/** The matches belong to another text now. */
function documentChanged() {
	if (search.markSearch) {
		clearSearch();
	} else if (input('search').value) {
		clearTimeout(search.timer);
		search.timer = setTimeout(() => searchNow(false), searchDelayMs);
	}
}

function clearSearch() {
	clearTimeout(search.timer);
	search.timer = 0;
	input('search').value = '';
	search.markSearch = false;
	search.searchIndex = -1;
	collectMatches();
	showMatch(false);
}

function nextMark() {
	const caret = offsetsOfLastRange();
	input('search').value = mark;
	search.markSearch = true;
	collectMatches();
	const following = search.searchRanges.findIndex(({ start }) => start >= caret);
	search.searchIndex = search.searchRanges.length ? Math.max(0, following) : -1;
	showMatch(true);
}

/** The end of the last selection, as an offset in the document. */
function offsetsOfLastRange() {
	restoreSelection();
	return note.selectionOffsets(article)?.end ?? 0;
}

function listenForSearch() {
	const field = input('search');
	field.addEventListener('input', () => {
		search.markSearch = false;
		clearTimeout(search.timer);
		search.timer = setTimeout(() => searchNow(true), searchDelayMs);
	});
	field.addEventListener('keydown', (event) => {
		if (event.isComposing) return;
		if (event.key === 'Enter') {
			event.preventDefault();
			moveMatch(event.shiftKey ? -1 : 1);
		} else if (event.key === 'Escape' && field.value) {
			event.preventDefault();
			clearSearch();
		}
	});
	button('previous').addEventListener('click', () => moveMatch(-1));
	button('next').addEventListener('click', () => moveMatch(1));
	button('clear-search').addEventListener('click', () => {
		clearSearch();
		field.focus();
	});
}

// --- the view --------------------------------------------------------------------------------------------------------

const shortViewPx = 520;

/** Fits the page into what an on-screen keyboard leaves, where the browser does not do it itself. */
function fitView() {
	const { height, offsetTop, scale } = visualViewport ?? { height: innerHeight, offsetTop: 0, scale: 1 };
	// Who zooms in with two fingers wants to see a part of the page larger, not another page.
	if (scale > 1.05) return;
	const { style } = document.documentElement;
	style.setProperty('--view-height', `${height}px`);
	style.setProperty('--view-top', `${offsetTop}px`);
	document.body.classList.toggle('is-short', height < shortViewPx);
	if (client.editing) requestAnimationFrame(revealCaret);
}

function listenForView() {
	visualViewport?.addEventListener('resize', fitView);
	visualViewport?.addEventListener('scroll', fitView);
	addEventListener('resize', fitView);
	fitView();
}

for (const listen of [
	listenForSession,
	listenForScenes,
	listenForDrafts,
	listenForLease,
	listenForTyping,
	listenForTools,
	listenForPainter,
	listenForFiles,
	listenForScrolling,
	listenForPlaces,
	listenForSearch,
	listenForView,
]) {
	listen();
}

attempt(start).finally(() => {
	showSpeed(reading.localSpeed);
	showTargetName();
	showPlay();
	showMatches();
	stopPainter();
});
