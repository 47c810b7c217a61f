// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

/**
 * The page: the session with the host, editing under its lease, import and export, the reading tools and the search.
 * Each room owns its state and its controls; `client` is what they share.
 */

import { button, input, labelControls, setLabels } from './app/page.mjs';
import { client, reading } from './app/state.mjs';
import { attempt, showNotice } from './app/notices.mjs';
import { showPlay, showSpeed } from './app/scrolling.mjs';
import { listenForSearch, showMatches } from './app/search.mjs';
import { stopPainter } from './app/tools_state.mjs';
import { listenForLease } from './app/lease.mjs';
import { listenForScenes } from './app/scenes.mjs';
import { accessToken, deviceName, login, rememberedSession } from './app/remembered.mjs';
import { connect, listenForSession } from './app/session.mjs';
import { listenForTyping } from './app/typing.mjs';
import { listenForPainter } from './app/painter.mjs';
import { listenForTools } from './app/tools.mjs';
import { listenForFiles } from './app/files.mjs';
import { listenForDrafts } from './app/draft_choices.mjs';
import { listenForScrolling, showTargetName } from './app/teleprompter.mjs';
import { listenForPlaces } from './app/go_to.mjs';
import { listenForView } from './app/view.mjs';

async function start() {
	try {
		const config = await (await fetch('/config.json')).json();
		setLabels(config.labels ?? {});
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
