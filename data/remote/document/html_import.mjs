// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// HTML files as web documents.

import {
	appendText,
	clamp,
	clearFormat,
	DocumentError,
	lineSeparator,
	maxIndent,
	maxNoteParagraphs,
	maxSize,
	minSize,
	plainBlock,
	plainDocument,
	withinTextLimits,
} from './model.mjs';
import { inheritedFormat } from './element_format.mjs';

/** @import { Block, RunFormat, WebDocument } from './model.mjs' */

/** What an element passes on to what is in it. @typedef {{format: RunFormat, align: number, pre: boolean, list: List | null, inItem: boolean, depth: number}} Context */
/** @typedef {Pick<Block, 'list' | 'listIndent' | 'listGroup' | 'listStart'>} List */

/** Of an HTML file, and of the text in it. */
const maxHtmlCharacters = 1_048_576;
const maxRuns = 20_001;
const maxDepth = 64;
const maxListStart = 10_000;

/** A title stands in the window's frame, not in the text. */
const ignored = new Set(
	'SCRIPT STYLE IFRAME OBJECT EMBED IMG SVG MATH LINK META BASE AUDIO VIDEO FORM INPUT BUTTON TITLE'.split(' '),
);
const headingSizes = new Map([
	['H1', 24],
	['H2', 20],
	['H3', 18],
	['H4', 16],
	['H5', 14],
	['H6', 12],
]);
const blockTags = new Set(['P', 'DIV', 'BLOCKQUOTE', 'PRE', 'LI', 'TD', 'TH', ...headingSizes.keys()]);
const containerTags = new Set(['DIV', 'BLOCKQUOTE']);
const alignmentValues = new Map([
	['left', 1],
	['start', 1],
	['right', 2],
	['end', 2],
	['center', 4],
	['justify', 8],
]);
const listStyles = new Map([
	['disc', -1],
	['circle', -2],
	['square', -3],
	['decimal', -4],
	['lower-alpha', -5],
	['lower-latin', -5],
	['upper-alpha', -6],
	['upper-latin', -6],
	['lower-roman', -7],
	['upper-roman', -8],
]);
const listTypes = new Map([
	['a', -5],
	['A', -6],
	['i', -7],
	['I', -8],
]);

class Importer {
	/** @type {Block[]} */
	blocks = [];
	/** The paragraph that text goes on in. @type {Block | null} */
	#current = null;
	#characters = 0;
	#runs = 0;
	#groups = 0;

	/** @param {Node} parent @param {Context} context */
	children(parent, context) {
		for (const node of parent.childNodes) {
			if (node.nodeType === 3) this.#text(/** @type {Text} */ (node).data, context);
			else if (node.nodeType === 1) this.#element(/** @type {HTMLElement} */ (node), context);
		}
	}

	/** @param {HTMLElement} element @param {Context} outer */
	#element(element, outer) {
		const tag = element.tagName.toUpperCase();
		if (ignored.has(tag)) return;
		if (outer.depth >= maxDepth) throw new DocumentError('format');
		if (tag === 'BR') return this.#append(lineSeparator, outer);
		const context = this.#contextIn(element, tag, outer);
		if (!blockTags.has(tag)) return this.children(element, context);
		const before = this.blocks.length;
		this.#current = null;
		this.children(element, context);
		if (this.blocks.length === before && !containerTags.has(tag)) this.#open(context);
		this.#current = null;
	}

	/** @param {HTMLElement} element @param {string} tag @param {Context} outer @returns {Context} */
	#contextIn(element, tag, outer) {
		const heading = headingSizes.get(tag);
		const format = inheritedFormat(
			element,
			heading ? { ...outer.format, weight: 700, size: heading } : outer.format,
		);
		const list = tag === 'UL' || tag === 'OL' ? this.#list(element, tag, outer.list) : outer.list;
		return {
			format: { ...format, size: clamp(format.size, minSize, maxSize) },
			align: alignmentValues.get(element.style?.textAlign) ?? outer.align,
			pre: outer.pre || tag === 'PRE',
			list,
			inItem: tag === 'LI' || (outer.inItem && list === outer.list),
			depth: outer.depth + 1,
		};
	}

	/** @param {HTMLElement} element @param {string} tag @param {List | null} outer @returns {List} */
	#list(element, tag, outer) {
		const start = Number.parseInt(element.getAttribute('start') ?? '', 10);
		const style = listStyles.get(element.style.listStyleType) ?? listTypes.get(element.getAttribute('type') ?? '');
		return {
			list: style ?? (tag === 'UL' ? -1 : -4),
			listIndent: Math.min(maxIndent, (outer?.listIndent ?? 0) + 1),
			listGroup: ++this.#groups,
			listStart: Number.isNaN(start) ? 1 : clamp(start, 1, maxListStart),
		};
	}

	/** @param {string} text @param {Context} context */
	#text(text, context) {
		if (!this.#current && !context.pre && !text.trim()) return;
		const lineEnd = context.pre ? lineSeparator : ' ';
		this.#append(text.replace(/\r\n?|[\n\u2029]/g, lineEnd).replace(/[\0\ufffc]/g, ''), context);
	}

	/** @param {string} text @param {Context} context */
	#append(text, context) {
		if (!text) return;
		const { runs } = (this.#current ??= this.#open(context));
		const before = runs.length;
		appendText(runs, context.format, text);
		this.#runs += runs.length - before;
		this.#characters += text.length;
		if (this.#runs > maxRuns || this.#characters > maxHtmlCharacters) throw new DocumentError('size');
	}

	/** @param {Context} context */
	#open(context) {
		if (this.blocks.length >= maxNoteParagraphs) throw new DocumentError('size');
		const list = context.inItem ? context.list : null;
		const block = { ...plainBlock, align: context.align, ...list, runs: [] };
		this.blocks.push(block);
		return block;
	}
}

/**
 * Reads an HTML file. Nothing in it runs or loads.
 * @param {string} html
 * @param {Document} ownerDocument that parses it
 * @returns {WebDocument}
 * @throws {DocumentError} "size", "format" or "limit"
 */
export function importHtml(html, ownerDocument) {
	if (html.length > maxHtmlCharacters) throw new DocumentError('size');
	const template = ownerDocument.createElement('template');
	template.innerHTML = html;
	const importer = new Importer();
	const context = { format: { ...clearFormat }, align: 1, pre: false, list: null, inItem: false, depth: 0 };
	importer.children(template.content, context);
	const { blocks } = importer;
	// A line break alone only gives an empty paragraph its height.
	for (const block of blocks) if (block.runs.length === 1 && block.runs[0]?.text === lineSeparator) block.runs = [];
	if (!blocks.length) return plainDocument('');
	if (!withinTextLimits({ blocks })) throw new DocumentError('limit');
	return { blocks };
}
