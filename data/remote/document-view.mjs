// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

/**
 * A web document as elements, and its paragraphs found again among them.
 *
 * The paragraphs stand in chunks that the browser skips while they are out of view: with all of them in one row a full
 * note takes twenty times as long for a key. A paragraph keeps its block's members in data-block, a span its run's
 * format in data-format, both as JSON. A list paragraph has its marker in data-marker, which the style sheet shows. Text
 * enters only as text nodes.
 */

import {
	appendText,
	clamp,
	completeFormat,
	lineSeparator,
	markColor,
	markPattern,
	maxIndent,
	plainBlock,
	plainFormat,
	sameFormat,
} from './document-model.mjs';
import { inheritedFormat } from './document-style.mjs';

/** @typedef {import('./document-model.mjs').RunFormat} RunFormat */
/** @typedef {import('./document-model.mjs').Run} Run */
/** @typedef {import('./document-model.mjs').Block} Block */
/** @typedef {import('./document-model.mjs').BlockFormat} BlockFormat */
/** @typedef {import('./document-model.mjs').LooseBlock} LooseBlock */
/** @typedef {import('./document-model.mjs').WebDocument} WebDocument */

/** The weight of a new chunk, 200 short paragraphs; one that has grown to twice as much is divided. */
const chunkWeight = 240;
/** One step of indentation. */
const indentStepEm = 1.4;
/** The height that a line, and the width that a character is taken to have in what was not in view yet. */
const lineHeightEm = 1.5;
const characterWidthEm = 0.5;

// --- Elements --------------------------------------------------------------------------------------------------------

const alignments = new Map([
	[1, 'left'],
	[2, 'right'],
	[4, 'center'],
	[8, 'justify'],
]);

/** A family as the text of a style: quoted, whatever it holds. @param {string} family */
const quotedFamily = (family) =>
	`"${family.replace(/["\\\p{Cc}]/gu, (character) => `\\${character.codePointAt(0)?.toString(16)} `)}"`;

/** Only plain colours and names, nothing that refers to something else. @param {string} color */
const safeColor = (color) => (/^(#[\da-f]{3,8}|[a-z]{3,20})$/i.test(color) ? color : '');

/** @param {string} key @param {unknown} value */
const isDefault = (key, value) =>
	key !== '' && /** @type {Record<string, unknown>} */ ({ ...plainFormat })[key] === value;

/** Makes elements by copying one of each look: three times as fast as styling every one. */
export class Painter {
	/** @type {Map<string, HTMLElement>} */
	#spans = new Map();
	/** @type {Map<string, HTMLElement>} */
	#paragraphs = new Map();
	#document;
	#columns;

	/** @param {Document} document whose elements are made @param {number} [width] of the note, in em; 0 where it is not shown */
	constructor(document, width = 0) {
		this.#document = document;
		this.#columns = (width || 40) / characterWidthEm;
	}

	/** Groups paragraphs in chunks. @param {readonly HTMLElement[]} paragraphs */
	chunks(paragraphs) {
		/** @type {HTMLElement[]} */
		const chunks = [];
		let [first, weight] = [0, 0];
		paragraphs.forEach((paragraph, index) => {
			weight += weightOf(paragraph);
			if (weight < chunkWeight && index < paragraphs.length - 1) return;
			chunks.push(this.#chunk(paragraphs.slice(first, index + 1)));
			[first, weight] = [index + 1, 0];
		});
		return chunks;
	}

	/** @param {readonly HTMLElement[]} paragraphs */
	#chunk(paragraphs) {
		const chunk = this.#document.createElement('div');
		chunk.dataset.chunk = '';
		chunk.style.setProperty('content-visibility', 'auto');
		chunk.append(...paragraphs);
		this.estimateHeight(chunk);
		return chunk;
	}

	/** How high a chunk is taken to be until it was in view once. @param {HTMLElement} chunk */
	estimateHeight(chunk) {
		let lines = 0;
		for (const paragraph of chunk.children) {
			lines += Math.max(1, Math.ceil((paragraph.textContent?.length ?? 0) / this.#columns));
		}
		chunk.style.setProperty('contain-intrinsic-block-size', `auto ${lines * lineHeightEm}em`);
	}

	/**
	 * @param {LooseBlock} block
	 * @param {RunFormat} [typing] the format that text typed into the empty paragraph gets
	 */
	paragraph(block, typing = plainFormat) {
		const paragraph = this.#bareParagraph(block);
		const runs = block.runs ?? [];
		const text = runs.length === 1 ? (runs[0]?.text ?? '') : runs.map((run) => run.text ?? '').join('');
		if (!text) paragraph.append(this.#filler(typing));
		else if (text.includes('◆')) this.#appendMarked(paragraph, runs, text);
		else this.#appendRuns(paragraph, runs, 0, text.length, false);
		// A line break at the very end shows only with something after it.
		if (/[\n\u2028]$/.test(text)) paragraph.append(this.#filler(plainFormat));
		return paragraph;
	}

	/** A mark as it is inserted. @param {RunFormat} format @param {string} text */
	mark(format, text) {
		const mark = this.#markShell();
		this.#appendRuns(mark, [{ ...format, text }], 0, text.length, true);
		return mark;
	}

	/** @param {LooseBlock} block */
	#bareParagraph(block) {
		let key = '';
		for (const [name, value] of Object.entries(block)) {
			if (name !== 'runs') key += `${name}:${typeof value === 'object' ? JSON.stringify(value) : value};`;
		}
		let prototype = this.#paragraphs.get(key);
		if (!prototype) {
			const { runs: _, ...members } = block;
			const format = { ...plainBlock, ...members };
			const steps = clamp(format.indent + (format.list ? format.listIndent : 0), 0, maxIndent);
			prototype = this.#document.createElement('p');
			prototype.dataset.block = JSON.stringify(format);
			prototype.style.textAlign = alignments.get(format.align) ?? 'left';
			if (steps) prototype.style.marginInlineStart = `${+(steps * indentStepEm).toFixed(1)}em`;
			this.#paragraphs.set(key, prototype);
		}
		return /** @type {HTMLElement} */ (prototype.cloneNode(false));
	}

	/** @param {Partial<RunFormat>} run @param {boolean} marked */
	#span(run, marked) {
		const key = `${run.weight}|${run.italic}|${run.underline}|${run.strike}|${run.size}|${run.color}|${run.background}|${marked}|${run.family}`;
		let prototype = this.#spans.get(key);
		if (!prototype) {
			prototype = this.#styledSpan(completeFormat(run), marked);
			this.#spans.set(key, prototype);
		}
		return /** @type {HTMLElement} */ (prototype.cloneNode(false));
	}

	/** @param {RunFormat} format @param {boolean} marked */
	#styledSpan(format, marked) {
		const span = this.#document.createElement('span');
		const { style } = span;
		span.dataset.format = JSON.stringify(format, (key, value) => (isDefault(key, value) ? undefined : value));
		if (format.weight !== plainFormat.weight) style.fontWeight = `${format.weight}`;
		if (format.italic) style.fontStyle = 'italic';
		style.textDecorationLine = [format.underline && 'underline', format.strike && 'line-through']
			.filter(Boolean)
			.join(' ');
		if (format.size > 0) style.fontSize = `${format.size}pt`;
		if (format.family) style.fontFamily = quotedFamily(format.family);
		style.color = marked ? markColor : safeColor(format.color);
		style.backgroundColor = safeColor(format.background);
		return span;
	}

	#markShell() {
		const shell = this.#document.createElement('span');
		shell.dataset.mark = '';
		Object.assign(shell.style, { display: 'inline-block', whiteSpace: 'pre', color: markColor });
		return shell;
	}

	/** Gives an empty line its height and the caret a place. @param {RunFormat} typing */
	#filler(typing) {
		const filler = this.#document.createElement('br');
		filler.dataset.filler = '';
		if (sameFormat(typing, plainFormat)) return filler;
		const span = this.#span(typing, false);
		span.append(filler);
		return span;
	}

	/**
	 * The characters from `start` up to `end` of the runs.
	 * @param {HTMLElement} parent @param {readonly Partial<Run>[]} runs @param {number} start @param {number} end
	 * @param {boolean} marked
	 */
	#appendRuns(parent, runs, start, end, marked) {
		let position = 0;
		for (const run of runs) {
			const whole = run.text ?? '';
			const text = whole.slice(Math.max(0, start - position), Math.max(0, end - position));
			position += whole.length;
			if (text) {
				const span = this.#span(run, marked);
				span.append(text.replaceAll(lineSeparator, '\n'));
				parent.append(span);
			}
			if (position >= end) break;
		}
	}

	/** @param {HTMLElement} parent @param {readonly Partial<Run>[]} runs @param {string} text of the runs */
	#appendMarked(parent, runs, text) {
		let position = 0;
		for (const match of text.matchAll(markPattern())) {
			const end = match.index + match[0].length;
			this.#appendRuns(parent, runs, position, match.index, false);
			const mark = this.#markShell();
			this.#appendRuns(mark, runs, match.index, end, true);
			parent.append(mark);
			position = end;
		}
		if (position < text.length) this.#appendRuns(parent, runs, position, text.length, false);
	}
}

/** What a paragraph costs the browser, more or less. @param {Element} paragraph */
const weightOf = (paragraph) => 1 + paragraph.childElementCount / 5 + (paragraph.textContent?.length ?? 0) / 100;

/** Whether a chunk is to be divided. @param {Element} chunk */
export function isHeavy(chunk) {
	let weight = 0;
	for (const paragraph of chunk.children) weight += weightOf(paragraph);
	return chunk.childElementCount > 1 && weight > 2 * chunkWeight;
}

// --- Paragraphs ------------------------------------------------------------------------------------------------------

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
export const leafText = (leaf) => (leaf.node.nodeType === 3 ? /** @type {Text} */ (leaf.node).data : '\n');

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

// --- List markers ----------------------------------------------------------------------------------------------------

const bullets = new Map([
	[-1, '•'],
	[-2, '◦'],
	[-3, '▪'],
]);
const romanDigits = /** @type {[number, string][]} */ ([
	[1000, 'M'],
	[900, 'CM'],
	[500, 'D'],
	[400, 'CD'],
	[100, 'C'],
	[90, 'XC'],
	[50, 'L'],
	[40, 'XL'],
	[10, 'X'],
	[9, 'IX'],
	[5, 'V'],
	[4, 'IV'],
	[1, 'I'],
]);

/** Bijective base 26: A to Z, AA and so on. @param {number} number */
function letters(number) {
	let text = '';
	for (let rest = number; rest > 0; rest = Math.floor((rest - 1) / 26)) {
		text = String.fromCharCode(65 + ((rest - 1) % 26)) + text;
	}
	return text;
}

/** @param {number} number */
function roman(number) {
	let text = '';
	let rest = number;
	for (const [value, digits] of romanDigits) {
		text += digits.repeat(Math.floor(rest / value));
		rest %= value;
	}
	return text;
}

/** What stands before the paragraph with this number in a list of this style. @param {number} list @param {number} number */
export function listMarker(list, number) {
	const bullet = bullets.get(list);
	if (bullet) return bullet;
	const upper =
		list === -5 || list === -6 ? letters(number) : list === -7 || list === -8 ? roman(number) : `${number}`;
	return `${list === -5 || list === -7 ? upper.toLowerCase() : upper}.`;
}

/**
 * The number of a list paragraph after the previous one.
 * @typedef {{group: number, number: number} | null} Numbering
 * @param {Numbering} previous @param {BlockFormat} block
 */
export function continueNumbering(previous, block) {
	const goesOn = previous?.group === block.listGroup;
	return { group: block.listGroup, number: goesOn ? previous.number + 1 : block.listStart };
}

/** @param {HTMLElement} paragraph @param {BlockFormat} block @param {number} number */
export function setMarker(paragraph, block, number) {
	paragraph.dataset.number = `${number}`;
	paragraph.dataset.marker = listMarker(block.list, number);
}
