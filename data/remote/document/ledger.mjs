// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// How long a rendered note is, without walking it.

import { isParagraph, lengthOf, paragraphsOf } from './paragraphs.mjs';

/** Knows how long a note is: only paragraphs that the browser reports as changed are measured again. */
export class Ledger {
	#root;
	#observer;
	/** @type {Map<Node, number> | null} */
	#lengths = null;
	/** @type {Set<Node>} */
	#touched = new Set();
	#sum = 0;

	/** @param {HTMLElement} root */
	constructor(root) {
		this.#root = root;
		this.#observer = new MutationObserver((records) => this.#note(records));
		this.#observer.observe(root, { subtree: true, childList: true, characterData: true });
	}

	/** Starts anew: the note is another one, its paragraphs of these lengths. @param {[Node, number][]} lengths */
	reset(lengths) {
		this.#observer.takeRecords();
		this.#touched.clear();
		this.#lengths = new Map(lengths);
		this.#sum = lengths.reduce((sum, [, length]) => sum + length, 0);
	}

	/** The note's characters, paragraph breaks among them, and its paragraphs. */
	totals() {
		this.#settle();
		const paragraphs = this.#lengths?.size ?? 0;
		return { characters: this.#sum + Math.max(0, paragraphs - 1), paragraphs };
	}

	/** @param {Node} paragraph */
	length(paragraph) {
		this.#settle();
		return this.#lengths?.get(paragraph) ?? 0;
	}

	/** @param {MutationRecord[]} records */
	#note(records) {
		if (!this.#lengths) return;
		for (const { target, addedNodes, removedNodes } of records) {
			this.#touch(target);
			for (const node of [...addedNodes, ...removedNodes]) {
				this.#touch(node);
				for (const child of node.childNodes) this.#touch(child);
			}
		}
	}

	/** @param {Node} changed */
	#touch(changed) {
		for (let node = /** @type {Node | null} */ (changed); node && node !== this.#root; node = node.parentNode) {
			if (this.#lengths?.has(node) || isParagraph(this.#root, node)) this.#touched.add(node);
		}
	}

	#settle() {
		this.#note(this.#observer.takeRecords());
		if (!this.#lengths) {
			this.#lengths = new Map();
			this.#sum = 0;
			for (const paragraph of paragraphsOf(this.#root)) this.#touched.add(paragraph);
		}
		for (const paragraph of this.#touched) {
			this.#sum -= this.#lengths.get(paragraph) ?? 0;
			this.#lengths.delete(paragraph);
			if (!isParagraph(this.#root, paragraph)) continue;
			const length = lengthOf(/** @type {HTMLElement} */ (paragraph));
			this.#lengths.set(paragraph, length);
			this.#sum += length;
		}
		this.#touched.clear();
	}
}
