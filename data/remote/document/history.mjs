// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Undo and redo. The browser's own history knows nothing of paragraphs that were exchanged, so one history holds both
// what the browser typed and what we did: an exchange keeps the elements themselves, so that the steps before it, which
// name them, find them again; typing keeps a paragraph's earlier content.

import { isParagraph } from './paragraphs.mjs';
import { select, selectedStretch } from './places.mjs';

/** @import { Stretch } from './places.mjs' */
/** @import { Note } from './note.mjs' */

/** @typedef {{removed: HTMLElement[], inserted: HTMLElement[]}} Exchange */
/** @typedef {{paragraph: HTMLElement, content: Node[]}} Typing the content that the paragraph does not have now */
/** @typedef {{change: Exchange | Typing, before: Stretch | null, after: Stretch | null}} Step */

const maxSteps = 300;
/** Paragraphs that all steps together keep. */
const maxKeptParagraphs = 100_000;
/** A pause after which typing is another step, in milliseconds. */
const typingPauseMs = 1000;

/** @param {Step} step */
const keptBy = ({ change }) => ('content' in change ? 1 : change.removed.length + change.inserted.length);

export class History {
	/** @type {Step[]} */
	#done = [];
	/** @type {Step[]} */
	#undone = [];
	#kept = 0;
	/** Where and when was typed last; typing elsewhere or later is another step. */
	#typing = { paragraph: /** @type {HTMLElement | null} */ (null), kind: '', time: 0 };
	#note;

	/** @param {Note} note */
	constructor(note) {
		this.#note = note;
	}

	clear() {
		this.#kept = 0;
		this.#done = [];
		this.#undone = [];
		this.#typing.paragraph = null;
	}

	/**
	 * Notes what the browser is about to change within a paragraph.
	 * @param {HTMLElement} paragraph
	 * @param {string} kind of change: another one is another step
	 */
	beginTyping(paragraph, kind) {
		const time = performance.now();
		const last = this.#typing;
		const goesOn = last.paragraph === paragraph && last.kind === kind && time - last.time < typingPauseMs;
		this.#typing = { paragraph, kind, time };
		if (goesOn && !this.#undone.length) return;
		const content = [...paragraph.cloneNode(true).childNodes];
		this.#push({ change: { paragraph, content }, before: selectedStretch(this.#note.root), after: null });
	}

	/** Ends a step of typing: what comes is another one. */
	endTyping() {
		this.#typing.paragraph = null;
	}

	/** Notes an exchange of paragraphs. @param {Exchange} change @param {Stretch | null} before @param {Stretch | null} after */
	exchange(change, before, after) {
		this.endTyping();
		this.#push({ change, before, after });
	}

	/** Takes the last step back. */
	undo() {
		return this.#move(this.#done, this.#undone, 'before');
	}

	/** Makes the last step that was taken back again. */
	redo() {
		return this.#move(this.#undone, this.#done, 'after');
	}

	/** @param {Step} step */
	#push(step) {
		for (const lost of this.#undone) this.#kept -= keptBy(lost);
		this.#undone = [];
		this.#done.push(step);
		this.#kept += keptBy(step);
		while (this.#done.length > 1 && (this.#done.length > maxSteps || this.#kept > maxKeptParagraphs)) {
			this.#kept -= keptBy(/** @type {Step} */ (this.#done.shift()));
		}
	}

	/** @param {Step[]} from @param {Step[]} to @param {'before' | 'after'} side */
	#move(from, to, side) {
		const step = from.pop();
		if (!step) return false;
		this.endTyping();
		if (side === 'before') step.after ??= selectedStretch(this.#note.root);
		if (!this.#reverse(step.change)) {
			// The note is no longer what the steps were made in.
			this.clear();
			return false;
		}
		to.push(step);
		const place = step[side];
		if (place) select(place.start, place.end);
		return true;
	}

	/** @param {Exchange | Typing} change */
	#reverse(change) {
		const { root } = this.#note;
		if ('content' in change) {
			if (!isParagraph(root, change.paragraph)) return false;
			const now = [...change.paragraph.childNodes];
			change.paragraph.replaceChildren(...change.content);
			change.content = now;
			return true;
		}
		if (!change.inserted.every((paragraph) => isParagraph(root, paragraph))) return false;
		this.#note.replace(change.inserted, change.removed);
		[change.removed, change.inserted] = [change.inserted, change.removed];
		return true;
	}
}
