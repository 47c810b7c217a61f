// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// What a browser remembers of its sessions, and the state of the login.

import { input } from './page.mjs';
import { client } from './state.mjs';

/** @import { Credential } from '../protocol.mjs' */

export const reconnectFirstMs = 1_000;

const linkKey = 'quillbay.link';
const isToken = /^[A-Za-z0-9_-]{22}$/;
const isSecret = /^[A-Za-z0-9+/]{43}=$/;

export const login = {
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

export function deviceName() {
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
export function accessToken() {
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

export function rememberedSession() {
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

export function rememberSession() {
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

export function forgetSession() {
	login.credential = null;
	login.password = '';
	try {
		sessionStorage.removeItem(sessionKey());
	} catch {
		// Nothing was stored.
	}
}
