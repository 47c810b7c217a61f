// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// Places in a rendered note: as the browser has them, in a paragraph, and counted from the note's start.

import { isElement, isParagraph, leavesOf, lengthOf, paragraphsOf, sibling } from './paragraphs.mjs';

/** @import { Leaf } from './paragraphs.mjs' */

/** A place between two characters of a paragraph. @typedef {{paragraph: HTMLElement, offset: number}} Place */
/** What lies between two places, the first one first. @typedef {{start: Place, end: Place}} Stretch */
/** @typedef {Pick<Range, 'startContainer' | 'startOffset' | 'endContainer' | 'endOffset' | 'collapsed'>} AnyRange */

/** @param {HTMLElement} paragraph @returns {Place} */
export const startOf = (paragraph) => ({ paragraph, offset: 0 });
/** @param {HTMLElement} paragraph @returns {Place} */
export const endOf = (paragraph) => ({ paragraph, offset: lengthOf(paragraph) });

/** The paragraph that holds a node. @param {HTMLElement} root @param {Node} node */
export function paragraphHolding(root, node) {
	let holder = /** @type {Node | null} */ (node);
	while (holder && holder !== root && !isParagraph(root, holder)) holder = holder.parentNode;
	return isElement(holder) && holder !== root ? holder : null;
}

/** Characters of a paragraph before a point in it. @param {HTMLElement} paragraph @param {Node} node @param {number} offset */
function offsetIn(paragraph, node, offset) {
	const leaves = leavesOf(paragraph);
	let before = 0;
	for (const leaf of leaves) {
		if (leaf.node === node) return before + Math.min(offset, leaf.length);
		before += leaf.length;
	}
	const point = paragraph.ownerDocument.createRange();
	point.setStart(node, offset);
	before = 0;
	for (const leaf of leaves) {
		// The first leaf at or after the point ends the counting.
		if (
			point.comparePoint(
				leaf.node.nodeType === 3 ? leaf.node : (leaf.node.parentNode ?? leaf.node),
				indexOf(leaf),
			) >= 0
		) {
			return before;
		}
		before += leaf.length;
	}
	return before;
}

/** @param {Leaf} leaf */
const indexOf = (leaf) =>
	leaf.node.nodeType === 3 ? 0 : Array.prototype.indexOf.call(leaf.node.parentNode?.childNodes ?? [], leaf.node);

/**
 * The place of a point in the note; null where it is not in one.
 * @param {HTMLElement} root
 * @param {Node} node
 * @param {number} offset
 * @returns {Place | null}
 */
export function placeOf(root, node, offset) {
	const paragraph = paragraphHolding(root, node);
	if (paragraph) return { paragraph, offset: offsetIn(paragraph, node, offset) };
	if (!root.contains(node)) return null;
	// Beside paragraphs: at the start of the one that follows, else at the end of the one before.
	const paragraphs = paragraphsOf(root);
	const point = root.ownerDocument.createRange();
	point.setStart(node, offset);
	const next = paragraphs.find((candidate) => point.comparePoint(candidate, 0) >= 0);
	const last = paragraphs.at(-1);
	return next ? startOf(next) : last ? endOf(last) : null;
}

/**
 * @param {HTMLElement} root
 * @param {AnyRange | null | undefined} range
 * @returns {Stretch | null}
 */
export function stretchOf(root, range) {
	if (!range) return null;
	const start = placeOf(root, range.startContainer, range.startOffset);
	if (!start) return null;
	const end = range.collapsed ? start : placeOf(root, range.endContainer, range.endOffset);
	return end && { start, end };
}

/** @param {Stretch} stretch */
export const isEmpty = ({ start, end }) => start.paragraph === end.paragraph && start.offset === end.offset;

/** Whether a stretch lies within one node of text, and is not all of it. @param {Stretch} stretch */
export function isWithinText({ start, end }) {
	if (start.paragraph !== end.paragraph) return false;
	let before = 0;
	return leavesOf(start.paragraph).some(({ node, length }) => {
		const within = before <= start.offset && end.offset <= before + length && end.offset - start.offset < length;
		before += length;
		return within && node.nodeType === 3;
	});
}

/** The paragraphs that a stretch touches, in order. @param {Stretch} stretch */
export function touched({ start, end }) {
	const paragraphs = [start.paragraph];
	for (
		let next = /** @type {HTMLElement | null} */ (start.paragraph);
		next && next !== end.paragraph;
		next && paragraphs.push(next)
	) {
		next = sibling(next, 'next');
	}
	return paragraphs;
}

/**
 * The point of a place: in text where there is text, after the character before it.
 * @param {Place} place
 * @returns {[Node, number]}
 */
export function pointOf({ paragraph, offset }) {
	let rest = offset;
	const leaves = leavesOf(paragraph);
	for (const [index, { node, length }] of leaves.entries()) {
		const text = node.nodeType === 3;
		if (text && rest <= length && (rest < length || length > 0 || index === leaves.length - 1)) return [node, rest];
		if (!text && rest === 0) return [/** @type {Node} */ (node.parentNode), indexOf({ node, length })];
		rest -= length;
	}
	// Text typed there gets the filler's format.
	const filler = /** @type {HTMLElement | null} */ (
		paragraph.querySelector(leaves.length ? 'br[data-filler]' : 'br')
	);
	if (filler?.parentNode) return [filler.parentNode, indexOf({ node: filler, length: 0 })];
	return [paragraph, paragraph.childNodes.length];
}

/** @param {Stretch} stretch */
export function rangeOf({ start, end }) {
	const range = start.paragraph.ownerDocument.createRange();
	range.setStart(...pointOf(start));
	range.setEnd(...pointOf(end));
	return range;
}

/** The selection's range if it lies in the element. @param {HTMLElement} root */
export function selectedRange(root) {
	const selection = root.ownerDocument.getSelection();
	const range = selection?.rangeCount ? selection.getRangeAt(0) : null;
	return range && root.contains(range.commonAncestorContainer) ? range : null;
}

/** @param {HTMLElement} root */
export const selectedStretch = (root) => stretchOf(root, selectedRange(root));

/**
 * Has the browser lay out the caret's chunk at once: in one that it skips, text typed before the next frame would go
 * to the nearest line in view.
 * @param {HTMLElement | null} chunk
 */
function wake(chunk) {
	if (chunk?.dataset.chunk === undefined || chunk.dataset.chunk === 'awake') return;
	for (const other of chunk.parentElement?.querySelectorAll(':scope > [data-chunk=awake]') ?? []) {
		if (!isElement(other)) continue;
		other.dataset.chunk = '';
		other.style.setProperty('content-visibility', 'auto');
	}
	chunk.dataset.chunk = 'awake';
	chunk.style.setProperty('content-visibility', 'visible');
}

/** @param {Place} start @param {Place} [end] */
export function select(start, end = start) {
	const selection = start.paragraph.ownerDocument.getSelection();
	wake(start.paragraph.parentElement);
	selection?.setBaseAndExtent(...pointOf(start), ...pointOf(end));
}
