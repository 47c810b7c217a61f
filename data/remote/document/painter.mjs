// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// A web document as elements.
//
// The paragraphs stand in chunks that the browser skips while they are out of view: with all of them in one row a full
// note takes twenty times as long for a key. A paragraph keeps its block's members in data-block, a span its run's
// format in data-format, both as JSON. A list paragraph has its marker in data-marker, which the style sheet shows. Text
// enters only as text nodes.

import {
	clamp,
	completeFormat,
	lineSeparator,
	markColor,
	markPattern,
	maxIndent,
	plainBlock,
	plainFormat,
	sameFormat,
} from './model.mjs';
import { pointsPerPixel } from './element_format.mjs';

/** @import { LooseBlock, Run, RunFormat } from './model.mjs' */

/** The weight of a new chunk, 200 short paragraphs; one that has grown to twice as much is divided. */
const chunkWeight = 240;
/** One step of indentation. */
const indentStepEm = 1.4;
/** The height that a line, and the width that a character is taken to have in what was not in view yet. */
const lineHeightEm = 1.5;
const characterWidthEm = 0.5;
/** What a note that is not shown yet is taken to have, in CSS pixels. */
const fallbackWidth = 640;
const fallbackFontSize = 16;

const cssAlignments = new Map([
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
	#width;
	#fontSize;
	/** How much larger than the note's own the text of a paragraph is. @type {WeakMap<Element, number>} */
	#scales = new WeakMap();

	/**
	 * @param {Document} document whose elements are made
	 * @param {{width: number, fontSize: number}} view the note's, in CSS pixels; 0 where it is not shown
	 */
	constructor(document, { width, fontSize }) {
		this.#document = document;
		this.#width = width || fallbackWidth;
		this.#fontSize = fontSize || fallbackFontSize;
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
			const scale = this.#scales.get(paragraph) ?? 1;
			const columns = this.#width / (this.#fontSize * scale * characterWidthEm);
			lines += scale * Math.max(1, Math.ceil((paragraph.textContent?.length ?? 0) / columns));
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
		const size = (runs[0] ?? typing).size ?? 0;
		if (size > 0) this.#scales.set(paragraph, size / pointsPerPixel / this.#fontSize);
		const text = runs.length === 1 ? (runs[0]?.text ?? '') : runs.map((run) => run.text ?? '').join('');
		if (!text) paragraph.append(this.#filler(typing));
		else if (text.includes('◆')) this.#appendMarked(paragraph, runs, text);
		else this.#appendRuns(paragraph, runs, 0, text.length, false);
		// A line break at the very end shows only with something after it.
		if (/[\n\u2028]$/.test(text)) paragraph.append(this.#filler(completeFormat(runs.findLast((run) => run.text))));
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
			prototype.style.textAlign = cssAlignments.get(format.align) ?? 'left';
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
