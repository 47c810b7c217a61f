// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// A screen that stays awake.

const awake = {
	isWanted: false,
	/** @type {WakeLockSentinel | null} */
	lock: null,
	/** @type {HTMLVideoElement | null} */
	video: null,
	timer: 0,
};

/** Keeps a phone's screen on while text scrolls. @param {boolean} isWanted */
export async function keepAwake(isWanted) {
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
