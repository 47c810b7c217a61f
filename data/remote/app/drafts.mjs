// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Drafts: what was typed here and the host does not have yet.

import * as note from '../document.mjs';
import { article } from './page.mjs';
import { client, editing, isUnsaved } from './state.mjs';
import { showNotice } from './notices.mjs';
import { showCharacters } from './counts.mjs';

/** @import { WebDocument } from '../document/model.mjs' */
/** @import { Draft, Model } from './state.mjs' */

/** @type {Map<string, Draft>} */
export const drafts = new Map();

/** @param {string} scene */
const draftKey = (scene) => `quillbay.draft.${location.host}.${scene}`;

/**
 * @param {string} scene
 * @returns {Draft | null}
 */
export function readDraft(scene) {
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
export function storeDraft(snapshot) {
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
export function removeDraft(scene) {
	clearTimeout(editing.draftTimer);
	drafts.delete(scene);
	try {
		localStorage.removeItem(draftKey(scene));
	} catch {
		// Nothing was stored.
	}
}

/**
 * The scene's draft, unless the host has that text already: a page that was left during its last save. Where the host
 * has what this page sent last, and the draft has grown from that, only the answer was lost, and the draft goes on from
 * there.
 * @param {string} id
 * @param {Model} model
 */
export function settledDraft(id, model) {
	const draft = readDraft(id);
	if (!draft) return null;
	const saved = comparable(model);
	const isSaved = (/** @type {WebDocument} */ content) => comparable(filledIn(content, model)) === saved;
	if (isSaved(draft.document)) {
		removeDraft(id);
		return null;
	}
	const { sent } = editing;
	// A draft of another revision, or of another page, was not made from what was sent.
	const isOwn = sent?.scene === id && drafts.has(id);
	const isGrown = isOwn && sent.epoch === draft.epoch && sent.revision === draft.revision;
	if (isGrown && isSaved(sent.document)) {
		Object.assign(draft, { epoch: model.epoch, revision: model.revision });
	}
	return draft;
}

/**
 * A document whose text without a font has that of the same place in the host's document: what is typed into an empty
 * paragraph gets its font there.
 * @param {WebDocument} content
 * @param {WebDocument} model
 * @returns {WebDocument}
 */
function filledIn(content, model) {
	const blocks = content.blocks.map((block, i) => {
		let end = 0;
		const runs = block.runs?.map((run) => {
			const start = end;
			end += run.text.length;
			const [host] = run.size && run.family ? [] : note.sliceRuns(model.blocks[i]?.runs ?? [], start, start + 1);
			return { ...run, size: run.size || host?.size, family: run.family || host?.family };
		});
		return { ...block, runs };
	});
	return { blocks };
}

/** A text that is equal for documents that show the same, however runs are cut and list groups numbered. @param {WebDocument} content */
export function comparable(content) {
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

/** Stores what the host does not have yet. */
export function keepUnsaved() {
	if (client.editing && isUnsaved()) storeDraft();
}
