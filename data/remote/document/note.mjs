// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// A rendered note: making it, reading it, and exchanging paragraphs in it.

import { joinRuns, plainBlock, runsLength } from './model.mjs';
import { isHeavy, Painter } from './painter.mjs';
import { blockFormat, FormatReader, isElement, paragraphsOf, sibling } from './paragraphs.mjs';
import { continueNumbering, setMarker } from './list_markers.mjs';
import { History } from './history.mjs';
import { Ledger } from './ledger.mjs';

/** @import { LooseDocument, Run, RunFormat, WebDocument } from './model.mjs' */
/** @import { Numbering } from './list_markers.mjs' */
/** @import { Place } from './places.mjs' */

/** What stands in a paragraph and never for one. */
const inlineTags = new Set(['A', 'B', 'BR', 'DEL', 'EM', 'FONT', 'I', 'S', 'SPAN', 'STRIKE', 'STRONG', 'U']);

/** What belongs to one rendered note. */
export class Note {
	/** @param {HTMLElement} root */
	constructor(root) {
		this.root = root;
		this.painter = new Painter(root.ownerDocument, this.#view());
		this.reader = new FormatReader();
		this.ledger = new Ledger(root);
		this.history = new History(this);
		/** What an input method has begun: where, the note's characters then, those of the paragraph behind, and the format that the text is to have where a mark is beside. @type {{start: Place, before: number, rest: number, format: RunFormat | null} | null} */
		this.composition = null;
	}

	/** @param {LooseDocument} document */
	render(document) {
		this.root.replaceChildren();
		this.painter = new Painter(this.root.ownerDocument, this.#view());
		this.reader = new FormatReader();
		const blocks = document.blocks?.length ? document.blocks : [{}];
		const paragraphs = blocks.map((block) => this.painter.paragraph(block));
		/** @type {Numbering} */
		let numbering = null;
		blocks.forEach((block, index) => {
			if (!block.list) return;
			numbering = continueNumbering(numbering, { ...plainBlock, ...block });
			setMarker(/** @type {HTMLElement} */ (paragraphs[index]), { ...plainBlock, ...block }, numbering.number);
		});
		this.root.style.whiteSpace = 'pre-wrap';
		this.root.replaceChildren(...this.painter.chunks(paragraphs));
		this.ledger.reset(paragraphs.map((paragraph, index) => [paragraph, runsLength(blocks[index]?.runs)]));
		this.history.clear();
	}

	#view() {
		return { width: this.root.clientWidth, fontSize: parseFloat(getComputedStyle(this.root).fontSize) };
	}

	/** Makes paragraphs of text that stands beside them, as an input method may leave it. */
	adopt() {
		for (const parent of [this.root, ...this.root.querySelectorAll(':scope > [data-chunk]')]) {
			/** @type {HTMLElement | null} */
			let home = null;
			for (const node of [...parent.childNodes]) {
				const stray = isElement(node)
					? inlineTags.has(node.tagName)
					: node.nodeType === 3 && Boolean(node.textContent);
				if (!stray) {
					if (isElement(node)) home = null;
					continue;
				}
				if (!home) {
					home = this.painter.paragraph(plainBlock);
					node.before(home);
					home.replaceChildren();
				}
				home.append(node);
			}
		}
	}

	/** @returns {WebDocument} */
	serialize() {
		this.adopt();
		const reader = new FormatReader();
		const blocks = paragraphsOf(this.root).map((paragraph) => reader.block(paragraph));
		for (const block of blocks)
			if (block.runs.some((run) => unsendable.test(run.text))) block.runs = sendable(block.runs);
		return { blocks: blocks.length ? blocks : [{ ...plainBlock, runs: [] }] };
	}

	/**
	 * Puts paragraphs in the place of others that stand together. The history does not learn of it.
	 * @param {readonly HTMLElement[]} removed at least one
	 * @param {readonly HTMLElement[]} inserted at least one
	 */
	replace(removed, inserted) {
		const [first] = removed;
		if (!first) return;
		const chunks = new Set(removed.map((paragraph) => paragraph.parentElement));
		const lists = [...removed, ...inserted].some((paragraph) => blockFormat(paragraph).list !== 0);
		first.before(...inserted);
		const staying = new Set(inserted);
		for (const paragraph of removed) if (!staying.has(paragraph)) paragraph.remove();
		for (const chunk of chunks) if (chunk && chunk !== this.root) this.#trim(chunk);
		if (lists) this.#renumber(inserted);
	}

	/** Removes an empty chunk, divides a large one. @param {HTMLElement} chunk */
	#trim(chunk) {
		if (!chunk.childElementCount) chunk.remove();
		else if (isHeavy(chunk)) {
			chunk.replaceWith(...this.painter.chunks(/** @type {HTMLElement[]} */ ([...chunk.children])));
		} else this.painter.estimateHeight(chunk);
	}

	/** Numbers list paragraphs from the first of these on, as far as anything changes. @param {readonly HTMLElement[]} changed */
	#renumber(changed) {
		const last = changed.at(-1);
		/** @type {HTMLElement | null} */
		let paragraph = changed[0] ?? null;
		let numbering = paragraph && this.#numberingBefore(paragraph);
		let within = true;
		while (paragraph) {
			const block = blockFormat(paragraph);
			if (block.list) {
				numbering = continueNumbering(numbering, block);
				const same = paragraph.dataset.number === `${numbering.number}`;
				if (same && !within) return;
				setMarker(paragraph, block, numbering.number);
			}
			if (paragraph === last) within = false;
			paragraph = sibling(paragraph, 'next');
		}
	}

	/** @param {HTMLElement} paragraph @returns {Numbering} */
	#numberingBefore(paragraph) {
		let before = sibling(paragraph, 'previous');
		while (before && before.dataset.number === undefined) before = sibling(before, 'previous');
		return before && { group: blockFormat(before).listGroup, number: Number(before.dataset.number) };
	}
}

// Embedded objects, as dictation leaves them, and half characters: the host would refuse the whole note for one.
const unsendable = /[\0\ufffc\ud800-\udfff]/u;

/** @param {Run[]} runs */
function sendable(runs) {
	const all = new RegExp(unsendable, 'gu');
	const clean = (/** @type {string} */ found) => (/[\0\ufffc]/.test(found) ? '' : '\ufffd');
	return joinRuns(runs.map((run) => ({ ...run, text: run.text.replace(all, clean) })));
}

/** @type {WeakMap<Element, Note>} */
const notes = new WeakMap();

/** The note of an element; it lives as long as that. @param {HTMLElement} root */
export function noteOf(root) {
	let note = notes.get(root);
	if (!note) {
		note = new Note(root);
		notes.set(root, note);
	}
	return note;
}

/** Shows the document in the element, in place of what was there. @param {HTMLElement} root @param {LooseDocument} document */
export const render = (root, document) => noteOf(root).render(document);

/** The document that the element shows. @param {HTMLElement} root */
export const serialize = (root) => noteOf(root).serialize();

/** Takes the last change to the note back. Whether there was one. @param {HTMLElement} root */
export const undo = (root) => noteOf(root).history.undo();

/** Makes the change that was taken back last again. Whether there was one. @param {HTMLElement} root */
export const redo = (root) => noteOf(root).history.redo();
