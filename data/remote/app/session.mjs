// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The session with the host: logging in, staying connected, and coming back.

import { Connection, Failure, sessionInvalidated } from '../protocol.mjs';
import { button, element, input, t, ui } from './page.mjs';
import { call, client, codeOf, editing, hasScene, isUnsaved } from './state.mjs';
import { attempt, clearNotice, showFailure, showNotice, updateControls } from './notices.mjs';
import { stopScrolling } from './scrolling.mjs';
import { applyState, load, showTarget } from './loading.mjs';
import { endEdit, loseEdit } from './saving.mjs';
import { finishEdit } from './lease.mjs';
import { onEvent, showAbandoned } from './scenes.mjs';
import { forgetSession, login, reconnectFirstMs, rememberSession } from './remembered.mjs';

/** @import { Reply } from '../protocol.mjs' */

const heartbeatMs = 5_000;

const reconnectLastMs = 10_000;

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

export async function connect() {
	clearTimeout(login.reconnectTimer);
	if (login.connecting || client.online) return;
	login.connecting = true;
	showConnection('RemoteConnecting');
	/** @type {Connection} */
	const link = new Connection(
		(state, type) => link === client.connection && onEvent(state, type),
		(event) => link === client.connection && onClosed(event.code),
	);
	client.connection = link;
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
	if (link === client.connection) {
		link.close();
		onClosed(0);
	} else if (!login.desired) {
		clearTimeout(login.reconnectTimer);
	}
}

async function keepAlive() {
	const lease = editing.lease;
	const link = client.connection;
	try {
		const reply = await call('KeepAlive');
		const isHeld = client.editing && lease === editing.lease && !client.finishing;
		if (isHeld && (reply.editing !== true || reply.epoch !== client.epoch)) {
			throw new Failure(reply.locked ? 'locked' : 'conflict');
		}
	} catch (error) {
		if (link !== client.connection) return;
		client.importing?.abort();
		if (client.editing) loseEdit(error);
		const code = codeOf(error);
		if (code === 'access' && link) {
			loginFailed(link, error);
		} else if (['session', 'timeout', 'disconnected', 'disabled'].includes(code)) {
			client.connection?.close();
			onClosed(0);
		}
	}
}

/** The connection has ended, or is given up. @param {number} code why, as the WebSocket protocol numbers it */
function onClosed(code) {
	client.connection = null;
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
	client.connection?.close();
	onClosed(0);
	showLogin(true);
}

export function listenForSession() {
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
