// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// What the rooms of the page share: their state, and the asking of the host.

import { Failure } from '../protocol.mjs';

/** @import { WebDocument } from '../document/model.mjs' */
/** @import { Reply, Connection } from '../protocol.mjs' */

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

export const client = {
	/** @type {Connection | null} */
	connection: null,
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
	/**
	 * What the page says of a problem, and whether that outlives the loading of a document.
	 * @type {{key: string, isLasting: boolean} | null}
	 */
	notice: null,
};

export const editing = {
	/** Counts the leases of this page: an answer about an older one says nothing. */
	lease: 0,
	draftTimer: 0,
	saveTimer: 0,
	isComposing: false,
	/** The count of edits that the stored draft has. */
	draftSequence: -1,
	/**
	 * What was sent last to be saved, and what it was made from: the host may have it though its answer was lost.
	 * @type {(Draft & {scene: string}) | null}
	 */
	sent: null,
	/** Where the caret was when a draft was left, as an offset in the document. */
	caret: 0,
};

export const reading = {
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

export const isUnsaved = () => client.sequence !== client.savedSequence;

/** @param {string} id */
export const hasScene = (id) => client.remoteState?.scenes.some((scene) => scene.id === id) ?? false;

export function canWrite() {
	const { remoteState, model } = client;
	const isFree = client.editing && client.online && !client.importing && !client.finishing;
	return isFree && !remoteState?.locked && !remoteState?.localEditing && model?.editable === true;
}

export const isScrolling = () => reading.playing || reading.countdownTimer !== 0;

/** The short name of a failure. @param {unknown} error */
export function codeOf(error) {
	if (error instanceof Failure) return error.code;
	return error instanceof Error ? error.name : '';
}

/**
 * Asks the host for an action. A reply that says no is a failure with the reply's code.
 * @param {string} action
 * @param {Reply} [extra]
 * @returns {Promise<Reply>}
 */
export async function call(action, extra = {}) {
	const { access, connection, session } = client;
	if (!connection) throw new Failure('disconnected');
	const reply = await connection.request({ access, session, action, ...extra });
	if (reply.ok !== true) throw new Failure(String(reply.code ?? 'response'));
	return reply;
}
