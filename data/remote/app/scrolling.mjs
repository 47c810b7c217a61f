// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Scrolling the text on this device, and following the host.

import * as note from '../document.mjs';
import { article, button, element, input, isPressed, label, t } from './page.mjs';
import { client, isScrolling, reading } from './state.mjs';
import { keepAwake } from './awake.mjs';

/** At speed 1.0, as in the host. */
const pixelsPerMs = 0.01;
export const manualPauseMs = 1_000;
/** Where the eye rests: the reading band's centre and the top of a line gone to. */
const bandCenter = 0.382;

export const scrollRange = () => Math.max(0, article.scrollHeight - article.clientHeight);

export function showPlay() {
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
export function showSpeed(speed) {
	input('speed').value = String(speed);
	const text = `${Number(input('speed').value).toFixed(1)}×`;
	element('multiplier').textContent = text;
	input('speed').setAttribute('aria-valuetext', text);
}

export function stopScrolling() {
	clearInterval(reading.countdownTimer);
	reading.countdownTimer = 0;
	reading.playing = false;
	reading.scrollDragging = false;
	element('count').textContent = '';
	showPlay();
}

/** @param {number} seconds */
export function countDown(seconds) {
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

export function startScrolling() {
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

/** Brings the controls and the position in line with the host, in its mode. */
export function showHostScrolling() {
	if (reading.target === 'obs' && client.remoteState) {
		if (!reading.isSendingSpeed) showSpeed(client.remoteState.speed);
		followHost();
	}
	showPlay();
}

export function followHost() {
	const { remoteState, editing: isEditing, importing, draftProblem, online, epoch, scene } = client;
	const isFollowing = reading.target === 'obs' && online && !isEditing && !importing && !draftProblem;
	if (!isFollowing || document.visibilityState !== 'visible' || !remoteState) return;
	if (remoteState.epoch === epoch && remoteState.activeScene === scene) {
		article.scrollTop = Math.min(1, Math.max(0, Number(remoteState.position) || 0)) * scrollRange();
	}
}

/** The position that puts a paragraph's top where the eye rests. @param {number} number */
export function lineTop(number) {
	const paragraph = note.paragraphAt(article, number - 1);
	const offset = paragraph ? paragraph.getBoundingClientRect().top - article.getBoundingClientRect().top : 0;
	return article.scrollTop + offset - bandCenter * article.clientHeight;
}

/** Scrolls, and again while the parts that come into view turn out larger or smaller than assumed. @param {() => number} position */
export function aim(position, tries = 4) {
	article.scrollTop = position();
	if (tries > 0) {
		requestAnimationFrame(() => Math.abs(position() - article.scrollTop) > 1 && aim(position, tries - 1));
	}
}
