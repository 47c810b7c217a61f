// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The paragraphs among the elements of a rendered note, and what they hold.

import { appendText, completeFormat, lineSeparator, plainBlock, plainFormat } from './model.mjs';
import { inheritedFormat } from './element_format.mjs';

/** @import { Block, BlockFormat, Run, RunFormat } from './model.mjs' */

/** @param {Node | null} node @returns {node is HTMLElement} */
export const isElement = (node) => node?.nodeType === 1;
/** @param {Node | null} node */
const isChunk = (node) => isElement(node) && node.dataset.chunk !== undefined;

/** Whether the element stands where paragraphs do. @param {Element} root @param {Node} node */
export function isParagraph(root, node) {
	const parent = node.parentNode;
	return isElement(node) && !isChunk(node) && (parent === root || (isChunk(parent) && parent?.parentNode === root));
}

/** The note's paragraphs in order. @param {Element} root */
export function paragraphsOf(root) {
	/** @type {HTMLElement[]} */
	const paragraphs = [];
	for (const child of root.children) {
		if (isChunk(child)) paragraphs.push(.../** @type {Iterable<HTMLElement>} */ (child.children));
		else paragraphs.push(/** @type {HTMLElement} */ (child));
	}
	return paragraphs;
}

/**
 * The paragraph beside another, across chunks.
 * @param {HTMLElement} paragraph
 * @param {'next' | 'previous'} direction
 */
export function sibling(paragraph, direction) {
	const step = (/** @type {Element} */ element) =>
		/** @type {HTMLElement | null} */ (
			direction === 'next' ? element.nextElementSibling : element.previousElementSibling
		);
	const near = step(paragraph);
	if (near && !isChunk(near)) return near;
	let chunk = near ?? (isChunk(paragraph.parentNode) ? step(/** @type {Element} */ (paragraph.parentNode)) : null);
	while (isChunk(chunk) && !chunk?.childElementCount) chunk = chunk && step(chunk);
	if (!isChunk(chunk)) return chunk;
	return /** @type {HTMLElement} */ (direction === 'next' ? chunk?.firstElementChild : chunk?.lastElementChild);
}

/** The members of a paragraph's block, without its runs. @param {HTMLElement} paragraph @returns {BlockFormat} */
export function blockFormat(paragraph) {
	const stored = paragraph.dataset?.block;
	return stored ? JSON.parse(stored) : { ...plainBlock };
}

/**
 * What holds a paragraph's characters, in order: its text nodes, and the line-break elements that stand for one.
 * @typedef {{node: Text | HTMLElement, length: number}} Leaf
 * @param {Node} paragraph
 */
export function leavesOf(paragraph) {
	/** @type {Leaf[]} */
	const leaves = [];
	let [hasText, hasBreaks] = [false, false];
	const walk = (/** @type {Node} */ parent) => {
		for (let node = parent.firstChild; node; node = node.nextSibling) {
			if (node.nodeType === 3) {
				const { length } = /** @type {Text} */ (node);
				hasText ||= length > 0;
				leaves.push({ node: /** @type {Text} */ (node), length });
			} else if (isElement(node) && node.tagName === 'BR') {
				if (node.dataset.filler === undefined) {
					hasBreaks = true;
					leaves.push({ node, length: 1 });
				}
			} else walk(node);
		}
	};
	if (paragraph.nodeType === 3)
		leaves.push({ node: /** @type {Text} */ (paragraph), length: /** @type {Text} */ (paragraph).length });
	else walk(paragraph);
	return hasBreaks ? withoutPlaceholders(leaves, hasText) : leaves;
}

/** Leaves out the line-break elements that only give a line its height. @param {Leaf[]} leaves @param {boolean} hasText */
function withoutPlaceholders(leaves, hasText) {
	if (!hasText) return leaves.filter((leaf) => leaf.node.nodeType === 3);
	const last = leaves.at(-1);
	const before = leaves.findLast((leaf) => leaf !== last && leaf.length > 0)?.node;
	const afterBreak = isElement(before ?? null) || /\n$/.test(before?.textContent ?? '');
	return last?.node.nodeType !== 3 && afterBreak ? leaves.slice(0, -1) : leaves;
}

/** @param {Leaf} leaf */
const leafText = (leaf) => (leaf.node.nodeType === 3 ? /** @type {Text} */ (leaf.node).data : '\n');

/** A paragraph's characters; a line break within it is a line feed. @param {HTMLElement} paragraph */
export const paragraphText = (paragraph) =>
	hasBreaks(paragraph) ? leavesOf(paragraph).map(leafText).join('') : (paragraph.textContent ?? '');

/** @param {HTMLElement} paragraph */
export const lengthOf = (paragraph) =>
	hasBreaks(paragraph)
		? leavesOf(paragraph).reduce((sum, leaf) => sum + leaf.length, 0)
		: (paragraph.textContent?.length ?? 0);

/** @param {HTMLElement} paragraph */
const hasBreaks = (paragraph) => paragraph.querySelector('br:not([data-filler])') !== null;

/** Reads formats, each one once. */
export class FormatReader {
	/** @type {Map<string, RunFormat>} */
	#stored = new Map();
	/** @type {Map<string, BlockFormat>} */
	#blocks = new Map();

	/** The format of what stands in a node of a paragraph. @param {Node | null} node @param {Node} paragraph @returns {RunFormat} */
	formatAt(node, paragraph) {
		if (!node || node === paragraph || node.nodeType !== 1) return plainFormat;
		const element = /** @type {HTMLElement} */ (node);
		const stored = element.dataset.format;
		if (stored === undefined) return inheritedFormat(element, this.formatAt(element.parentNode, paragraph));
		let format = this.#stored.get(stored);
		if (!format) {
			format = completeFormat(JSON.parse(stored));
			this.#stored.set(stored, format);
		}
		return format;
	}

	/** @param {HTMLElement} paragraph */
	runs(paragraph) {
		/** @type {Run[]} */
		const runs = [];
		for (const leaf of leavesOf(paragraph)) {
			const text = leafText(leaf).replace(/\r\n?|[\n\u2029]/g, lineSeparator);
			appendText(runs, this.formatAt(leaf.node.parentNode, paragraph), text);
		}
		return runs;
	}

	/** The format that text typed into an empty paragraph gets. @param {HTMLElement} paragraph */
	typingFormat(paragraph) {
		return this.formatAt(paragraph.querySelector('br')?.parentNode ?? null, paragraph);
	}

	/** @param {HTMLElement} paragraph @returns {Block} */
	block(paragraph) {
		const stored = paragraph.dataset.block ?? '';
		let format = this.#blocks.get(stored);
		if (!format) {
			format = blockFormat(paragraph);
			this.#blocks.set(stored, format);
		}
		return { ...format, runs: this.runs(paragraph) };
	}
}
