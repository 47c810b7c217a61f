// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The controls that scroll the text, on this device or in the host.

import { article, button, input, isPressed, press, t } from './page.mjs';
import { call, client, isScrolling, reading } from './state.mjs';
import { attempt, clearNotice, updateControls } from './notices.mjs';
import {
	countDown,
	followHost,
	manualPauseMs,
	showPlay,
	showSpeed,
	startScrolling,
	stopScrolling,
} from './scrolling.mjs';
import { showPosition } from './counts.mjs';
import { applyState } from './loading.mjs';
import { finishEdit } from './lease.mjs';

/** @import { Reply } from '../protocol.mjs' */

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
	if (client.notice?.isLasting) clearNotice();
	if (isPressed(button('countdown'))) {
		countDown(3);
	} else {
		startScrolling();
	}
}

/** @param {Reply} command */
export async function sendScroll(command) {
	applyState(await call('Scroll', command));
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

export function showTargetName() {
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

export function listenForScrolling() {
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
