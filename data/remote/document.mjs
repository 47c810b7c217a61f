// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

/**
 * The document of the web client: a web document as editable paragraphs and back. No network, no state but that of the
 * elements it is given.
 */

// === A document as data ==============================================================================================

// The web document as plain data: its types, its limits, and what can be done to it without a page.

/**
 * How a run's text looks. The empty text and the size 0 stand for the editor's own.
 * @typedef {object} RunFormat
 * @property {number} weight 1 to 1000; 400 is normal, 700 bold
 * @property {boolean} italic
 * @property {boolean} underline
 * @property {boolean} strike
 * @property {number} size points
 * @property {string} family
 * @property {string} color "#" and six hexadecimal digits, or a colour name
 * @property {string} background the same
 */
/** @typedef {RunFormat & {text: string}} Run text of one format; U+2028 breaks a line in it */
/**
 * How a paragraph looks. A block may have further members, which are kept as they are.
 * @typedef {object} BlockFormat
 * @property {number} align 1 left, 2 right, 4 centre, 8 justified
 * @property {number} indent steps, 0 to 12
 * @property {number} list 0 none; -1 disc, -2 circle, -3 square, -4 decimal, -5 and -6 letters, -7 and -8 Roman numerals,
 *     lower case first
 * @property {number} listIndent level, 1 to 12
 * @property {number} listGroup what paragraphs numbered together have in common
 * @property {number} listStart the group's first number
 */
/** @typedef {BlockFormat & {runs: Run[]}} Block */
/** @typedef {{blocks: Block[]}} WebDocument */
/** @typedef {Partial<BlockFormat> & {runs?: Partial<Run>[]}} LooseBlock a block whose missing members have their defaults */
/** @typedef {{blocks?: LooseBlock[]}} LooseDocument */

export const maxNoteCharacters = 200_000;
export const maxParagraphCharacters = 10_000;
export const maxNoteParagraphs = 20_000;
/** The deepest indentation and list level. */
const maxIndent = 12;
/** Sizes that can be chosen, in points. */
export const minSize = 6;
export const maxSize = 144;

/** What breaks a line within a paragraph, in a web document. */
const lineSeparator = '\u2028';
/** The mark that a button inserts. */
export const defaultMark = '◆[]';
/** A fresh pattern each time: a global one remembers where it stopped. */
export const markPattern = () => /◆(?:\[[^◆\]\r\n\u2028\u2029]*\])?/g;
const markColor = '#ffb347';

/** @type {Readonly<RunFormat>} */
const plainFormat = Object.freeze({
	weight: 400,
	italic: false,
	underline: false,
	strike: false,
	size: 0,
	family: '',
	color: '',
	background: '',
});
/** What imported and cleared text looks like: explicit, so that it is the same in every editor. @type {Readonly<RunFormat>} */
export const clearFormat = Object.freeze({ ...plainFormat, size: 12, family: 'Arial' });
/** @type {Readonly<BlockFormat>} */
const plainBlock = Object.freeze({ align: 1, indent: 0, list: 0, listIndent: 1, listGroup: 0, listStart: 1 });

/** @typedef {'limit' | 'size' | 'format' | 'edit'} FailureName */

/** A failure that the page turns into a notice; its name says which. */
export class DocumentError extends Error {
	/** @param {FailureName} name */
	constructor(name) {
		super(name);
		this.name = name;
		/** The same, where the failures of the connection have theirs. */
		this.code = name;
	}
}

/** Line ends of every kind become line feeds. @param {string} text */
const normalizeLineEnds = (text) => text.replace(/\r\n?|\u2029/g, '\n');

/** @param {number} value @param {number} low @param {number} high */
const clamp = (value, low, high) => Math.min(high, Math.max(low, value));

/**
 * A whole format from what there is of one: members that are missing or of another type get their defaults.
 * @param {Partial<RunFormat> | null | undefined} source
 * @returns {RunFormat}
 */
function completeFormat(source) {
	const format = /** @type {Record<string, unknown>} */ ({ ...plainFormat });
	for (const [key, value] of Object.entries(plainFormat)) {
		const given = /** @type {Record<string, unknown>} */ (source ?? {})[key];
		if (typeof given === typeof value && (typeof given !== 'number' || Number.isFinite(given))) format[key] = given;
	}
	return /** @type {RunFormat} */ (/** @type {unknown} */ (format));
}

/** @param {RunFormat} one @param {RunFormat} other */
function sameFormat(one, other) {
	return (
		one === other ||
		(one.weight === other.weight &&
			one.italic === other.italic &&
			one.underline === other.underline &&
			one.strike === other.strike &&
			one.size === other.size &&
			one.family === other.family &&
			one.color === other.color &&
			one.background === other.background)
	);
}

/** Adds text at the end, to the last run where it has the same format. @param {Run[]} runs @param {RunFormat} format @param {string} text */
function appendText(runs, format, text) {
	if (!text) return;
	const last = runs.at(-1);
	if (last && sameFormat(last, format)) last.text += text;
	else runs.push({ ...format, text });
}

/** @param {readonly Partial<Run>[] | undefined} runs */
function runsLength(runs) {
	let length = 0;
	for (const run of runs ?? []) length += run.text?.length ?? 0;
	return length;
}

/** The runs of the characters from `start` up to `end`. @param {readonly Run[]} runs @param {number} start @param {number} [end] */
function sliceRuns(runs, start, end = Infinity) {
	/** @type {Run[]} */
	const part = [];
	let position = 0;
	for (const run of runs) {
		const from = Math.max(0, start - position);
		const to = Math.min(run.text.length, end - position);
		if (from < to) part.push({ ...run, text: run.text.slice(from, to) });
		position += run.text.length;
	}
	return part;
}

/** @param {readonly Run[][]} parts */
function joinRuns(...parts) {
	/** @type {Run[]} */
	const runs = [];
	for (const run of parts.flat()) appendText(runs, run, run.text);
	return runs;
}

/** Characters of a note: those of its text, and one for each paragraph break. @param {LooseDocument} document */
export function characterCount(document) {
	const blocks = document.blocks ?? [];
	let count = Math.max(0, blocks.length - 1);
	for (const block of blocks) count += runsLength(block.runs);
	return count;
}

/** @param {LooseDocument} document */
export function withinTextLimits(document) {
	const blocks = document.blocks ?? [];
	return (
		blocks.length <= maxNoteParagraphs &&
		blocks.every((block) => runsLength(block.runs) <= maxParagraphCharacters) &&
		characterCount(document) <= maxNoteCharacters
	);
}

/** @param {string} text @returns {WebDocument} */
export function plainDocument(text) {
	const clean = normalizeLineEnds(text.replace(/^\ufeff/, ''));
	if (clean.length > maxNoteCharacters) throw new DocumentError('limit');
	const lines = clean.split('\n');
	if (lines.length > maxNoteParagraphs || lines.some((line) => line.length > maxParagraphCharacters)) {
		throw new DocumentError('limit');
	}
	if (/[\0\ufffc]/.test(clean)) throw new DocumentError('format');
	return { blocks: lines.map((line) => ({ ...plainBlock, runs: line ? [{ ...clearFormat, text: line }] : [] })) };
}

/** @param {Block} block @param {number} step */
function indentBlock(block, step) {
	if (block.list) block.listIndent = clamp((block.listIndent ?? plainBlock.listIndent) + step, 1, maxIndent);
	else block.indent = clamp((block.indent ?? plainBlock.indent) + step, 0, maxIndent);
}

/**
 * Changes paragraphs of the document in place: "align" and "list" take the value, "indent" adds it. Paragraphs that
 * become a list are one group of their own.
 * @param {WebDocument} document
 * @param {Iterable<number>} indices
 * @param {'align' | 'list' | 'indent'} key
 * @param {number} value
 */
export function updateParagraphs(document, indices, key, value) {
	const { blocks } = document;
	const largestGroup = blocks.reduce((largest, block) => Math.max(largest, block.listGroup ?? 0), 0);
	const list = { list: value, listGroup: value ? largestGroup + 1 : 0, listStart: 1, listIndent: 1 };
	for (const index of indices) {
		const block = blocks[index];
		if (!block) continue;
		if (key === 'align') block.align = value;
		else if (key === 'list') Object.assign(block, list);
		else if (key === 'indent') indentBlock(block, value);
	}
}

// === Formats of elements =============================================================================================

// The format that an element's tag and inline style give its text.

/** CSS points in a CSS pixel. */
const pointsPerPixel = 0.75;
/** The longest family that a web document may hold. */
const maxFamilyCharacters = 200;

// CSS Color 4, the named colours that fit into a web document's nine characters.
const colorNames = new Set(
	(
		'aliceblue aqua azure beige bisque black blue brown burlywood cadetblue chocolate coral cornsilk crimson cyan ' +
		'darkblue darkcyan darkgray darkgreen darkgrey darkkhaki darkred deeppink dimgray dimgrey firebrick fuchsia ' +
		'gainsboro gold goldenrod gray green grey honeydew hotpink indianred indigo ivory khaki lavender lawngreen ' +
		'lightblue lightcyan lightgray lightgrey lightpink lime limegreen linen magenta maroon mintcream mistyrose ' +
		'moccasin navy oldlace olive olivedrab orange orangered orchid palegreen peachpuff peru pink plum purple red ' +
		'rosybrown royalblue salmon seagreen seashell sienna silver skyblue slateblue slategray slategrey snow ' +
		'steelblue tan teal thistle tomato turquoise violet wheat white yellow'
	).split(' '),
);

/** A style's colour as a web document has it, empty for what it cannot hold. @param {string} color */
function documentColor(color) {
	const rgb = /^rgb\(\s*(\d+)[\s,]+(\d+)[\s,]+(\d+)\s*\)$/.exec(color);
	if (rgb)
		return `#${rgb
			.slice(1)
			.map((part) => Math.min(255, +part).toString(16).padStart(2, '0'))
			.join('')}`;
	const name = color.toLowerCase();
	return colorNames.has(name) || /^#[\da-f]{6}$/.test(name) ? name : '';
}

/** The first of a style's families, without its quotes. @param {string} families */
function firstFamily(families) {
	const first = /^\s*(?:"((?:[^"\\]|\\.)*)"|'((?:[^'\\]|\\.)*)'|([^,]*))/.exec(families) ?? [];
	const name = first[1] ?? first[2] ?? first[3] ?? '';
	return unescaped(name).trim().slice(0, maxFamilyCharacters);
}

/** @param {string} text of a CSS string */
const unescaped = (text) =>
	text.replace(/\\([\da-f]{1,6})\s?|\\(.)/gi, (_, hex, plain) =>
		hex ? String.fromCodePoint(Math.min(parseInt(hex, 16), 0x10ffff)) : plain,
	);

/** Points of a font size in pt or px; no number for any other. @param {string} size */
function points(size) {
	const parts = /^(\d*\.?\d+)(pt|px)$/.exec(size);
	return parts ? Number(parts[1]) * (parts[2] === 'px' ? pointsPerPixel : 1) : NaN;
}

/** @param {string} weight @param {number} inherited */
function fontWeight(weight, inherited) {
	if (weight === 'bold' || weight === 'bolder') return 700;
	if (weight === 'normal' || weight === 'lighter') return 400;
	const number = Math.round(Number(weight));
	return weight && number >= 1 && number <= 1000 ? number : inherited;
}

/** @param {string} tag @param {RunFormat} format */
function applyTag(tag, format) {
	if (tag === 'B' || tag === 'STRONG') format.weight = 700;
	else if (tag === 'I' || tag === 'EM') format.italic = true;
	else if (tag === 'U') format.underline = true;
	else if (tag === 'S' || tag === 'STRIKE' || tag === 'DEL') format.strike = true;
}

/** What an element's style itself says. @param {CSSStyleDeclaration} style @param {string} property */
function ownValue(style, property) {
	const value = style.getPropertyValue(property);
	return /^(inherit|initial|unset|revert|revert-layer|currentcolor)$/i.test(value) ? '' : value;
}

/** @param {CSSStyleDeclaration} style @param {RunFormat} format @param {RunFormat} inherited */
function applyStyle(style, format, inherited) {
	const own = (/** @type {string} */ property) => ownValue(style, property);
	const decoration = own('text-decoration-line') || own('text-decoration');
	const size = points(own('font-size'));
	format.weight = fontWeight(own('font-weight'), format.weight);
	if (own('font-style')) format.italic = /^(italic|oblique)/.test(own('font-style'));
	if (decoration) {
		// An outer line runs on under inner text whatever that says.
		format.underline = inherited.underline || decoration.includes('underline');
		format.strike = inherited.strike || decoration.includes('line-through');
	}
	if (Number.isFinite(size)) format.size = size;
	if (own('font-family')) format.family = firstFamily(own('font-family'));
	if (own('color')) format.color = documentColor(own('color'));
	if (own('background-color')) format.background = documentColor(own('background-color'));
}

/**
 * The format within an element that stands in text of the given format.
 * @param {HTMLElement} element
 * @param {RunFormat} inherited
 * @returns {RunFormat}
 */
function inheritedFormat(element, inherited) {
	const format = { ...inherited };
	applyTag(element.tagName, format);
	// Elements of other vocabularies may have no style.
	if (element.style?.length) applyStyle(element.style, format, inherited);
	return format;
}

// === Documents as elements ===========================================================================================

// A web document as elements, and its paragraphs found again among them.
//
// The paragraphs stand in chunks that the browser skips while they are out of view: with all of them in one row a full
// note takes twenty times as long for a key. A paragraph keeps its block's members in data-block, a span its run's
// format in data-format, both as JSON. A list paragraph has its marker in data-marker, which the style sheet shows. Text
// enters only as text nodes.

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

// --- Elements --------------------------------------------------------------------------------------------------------

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
class Painter {
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
function isHeavy(chunk) {
	let weight = 0;
	for (const paragraph of chunk.children) weight += weightOf(paragraph);
	return chunk.childElementCount > 1 && weight > 2 * chunkWeight;
}

// --- Paragraphs ------------------------------------------------------------------------------------------------------

/** @param {Node | null} node @returns {node is HTMLElement} */
const isElement = (node) => node?.nodeType === 1;
/** @param {Node | null} node */
const isChunk = (node) => isElement(node) && node.dataset.chunk !== undefined;

/** Whether the element stands where paragraphs do. @param {Element} root @param {Node} node */
function isParagraph(root, node) {
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
function sibling(paragraph, direction) {
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
function blockFormat(paragraph) {
	const stored = paragraph.dataset?.block;
	return stored ? JSON.parse(stored) : { ...plainBlock };
}

/**
 * What holds a paragraph's characters, in order: its text nodes, and the line-break elements that stand for one.
 * @typedef {{node: Text | HTMLElement, length: number}} Leaf
 * @param {Node} paragraph
 */
function leavesOf(paragraph) {
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
const paragraphText = (paragraph) =>
	hasBreaks(paragraph) ? leavesOf(paragraph).map(leafText).join('') : (paragraph.textContent ?? '');

/** @param {HTMLElement} paragraph */
const lengthOf = (paragraph) =>
	hasBreaks(paragraph)
		? leavesOf(paragraph).reduce((sum, leaf) => sum + leaf.length, 0)
		: (paragraph.textContent?.length ?? 0);

/** @param {HTMLElement} paragraph */
const hasBreaks = (paragraph) => paragraph.querySelector('br:not([data-filler])') !== null;

/** Reads formats, each one once. */
class FormatReader {
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
function listMarker(list, number) {
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
function continueNumbering(previous, block) {
	const goesOn = previous?.group === block.listGroup;
	return { group: block.listGroup, number: goesOn ? previous.number + 1 : block.listStart };
}

/** @param {HTMLElement} paragraph @param {BlockFormat} block @param {number} number */
function setMarker(paragraph, block, number) {
	paragraph.dataset.number = `${number}`;
	paragraph.dataset.marker = listMarker(block.list, number);
}

// === Places ==========================================================================================================

// Places in a rendered note: as the browser has them, in a paragraph, and counted from the note's start.

/** A place between two characters of a paragraph. @typedef {{paragraph: HTMLElement, offset: number}} Place */
/** What lies between two places, the first one first. @typedef {{start: Place, end: Place}} Stretch */
/** @typedef {Pick<Range, 'startContainer' | 'startOffset' | 'endContainer' | 'endOffset' | 'collapsed'>} AnyRange */

/** @param {HTMLElement} paragraph @returns {Place} */
const startOf = (paragraph) => ({ paragraph, offset: 0 });
/** @param {HTMLElement} paragraph @returns {Place} */
const endOf = (paragraph) => ({ paragraph, offset: lengthOf(paragraph) });

/** The paragraph that holds a node. @param {HTMLElement} root @param {Node} node */
function paragraphHolding(root, node) {
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
function placeOf(root, node, offset) {
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
function stretchOf(root, range) {
	if (!range) return null;
	const start = placeOf(root, range.startContainer, range.startOffset);
	if (!start) return null;
	const end = range.collapsed ? start : placeOf(root, range.endContainer, range.endOffset);
	return end && { start, end };
}

/** @param {Stretch} stretch */
const isEmpty = ({ start, end }) => start.paragraph === end.paragraph && start.offset === end.offset;

/** Whether a stretch lies within one node of text, and is not all of it. @param {Stretch} stretch */
function isWithinText({ start, end }) {
	if (start.paragraph !== end.paragraph) return false;
	let before = 0;
	return leavesOf(start.paragraph).some(({ node, length }) => {
		const within = before <= start.offset && end.offset <= before + length && end.offset - start.offset < length;
		before += length;
		return within && node.nodeType === 3;
	});
}

/** The paragraphs that a stretch touches, in order. @param {Stretch} stretch */
function touched({ start, end }) {
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
function pointOf({ paragraph, offset }) {
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
function rangeOf({ start, end }) {
	const range = start.paragraph.ownerDocument.createRange();
	range.setStart(...pointOf(start));
	range.setEnd(...pointOf(end));
	return range;
}

/** The selection's range if it lies in the element. @param {HTMLElement} root */
function selectedRange(root) {
	const selection = root.ownerDocument.getSelection();
	const range = selection?.rangeCount ? selection.getRangeAt(0) : null;
	return range && root.contains(range.commonAncestorContainer) ? range : null;
}

/** @param {HTMLElement} root */
const selectedStretch = (root) => stretchOf(root, selectedRange(root));

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
function select(start, end = start) {
	const selection = start.paragraph.ownerDocument.getSelection();
	wake(start.paragraph.parentElement);
	selection?.setBaseAndExtent(...pointOf(start), ...pointOf(end));
}

// === Undo and redo ===================================================================================================

// Undo and redo. The browser's own history knows nothing of paragraphs that were exchanged, so one history holds both
// what the browser typed and what we did: an exchange keeps the elements themselves, so that the steps before it, which
// name them, find them again; typing keeps a paragraph's earlier content.

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

class History {
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

// === The rendered note ===============================================================================================

// A rendered note: making it, reading it, counting it without walking it, and exchanging paragraphs in it.

/** What stands in a paragraph and never for one. */
const inlineTags = new Set(['A', 'B', 'BR', 'DEL', 'EM', 'FONT', 'I', 'S', 'SPAN', 'STRIKE', 'STRONG', 'U']);

/** Knows how long a note is: only paragraphs that the browser reports as changed are measured again. */
class Ledger {
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

/** What belongs to one rendered note. */
class Note {
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
function noteOf(root) {
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

// === The note by numbers =============================================================================================

// A rendered note by numbers: its paragraphs counted, and its characters with one for each paragraph break.

/** @param {HTMLElement} root */
export const paragraphCount = (root) => noteOf(root).ledger.totals().paragraphs;

/** The number of characters that the element shows: characterCount of its document, without walking it. @param {HTMLElement} root */
export const shownCharacterCount = (root) => noteOf(root).ledger.totals().characters;

/** @param {HTMLElement} root @param {number} index from 0 @returns {HTMLElement | null} */
export const paragraphAt = (root, index) => paragraphsOf(root)[index] ?? null;

/** The note's text: a line feed between paragraphs, and for a line break in one. @param {HTMLElement} root */
export const documentText = (root) => paragraphsOf(root).map(paragraphText).join('\n');

/** @param {HTMLElement} root @param {Place[]} places in order @returns {number[]} */
function offsetsOf(root, places) {
	const { ledger } = noteOf(root);
	/** @type {Map<HTMLElement, number>} */
	const starts = new Map();
	let next = 0;
	const wanted = new Set(places.map((place) => place.paragraph));
	for (const paragraph of paragraphsOf(root)) {
		if (wanted.delete(paragraph)) starts.set(paragraph, next);
		if (!wanted.size) break;
		next += ledger.length(paragraph) + 1;
	}
	return places.map(({ paragraph, offset }) => (starts.get(paragraph) ?? 0) + offset);
}

/** @param {HTMLElement} root @param {number} offset @returns {Place | null} */
function placeAt(root, offset) {
	const { ledger } = noteOf(root);
	/** @type {Place | null} */
	let last = null;
	let rest = Math.max(0, offset);
	for (const paragraph of paragraphsOf(root)) {
		const length = ledger.length(paragraph);
		if (rest <= length) return { paragraph, offset: rest };
		rest -= length + 1;
		last = { paragraph, offset: length };
	}
	return last;
}

/** The selection by the note's characters; null where it is not in the note. @param {HTMLElement} root */
export function selectionOffsets(root) {
	const stretch = selectedStretch(root);
	if (!stretch) return null;
	const [start = 0, end = 0] = offsetsOf(root, [stretch.start, stretch.end]);
	return { start, end };
}

/** Selects characters of the note. @param {HTMLElement} root @param {number} start @param {number} [end] */
export function selectOffsets(root, start, end = start) {
	const first = placeAt(root, start);
	const last = placeAt(root, end);
	if (first && last) select(first, last);
}

/** The range of characters of the note; null where there are no paragraphs. @param {HTMLElement} root @param {number} start @param {number} [end] */
export function rangeAt(root, start, end = start) {
	const first = placeAt(root, start);
	const last = placeAt(root, end);
	return first && last && rangeOf({ start: first, end: last });
}

// === Editing =========================================================================================================

// Changing a rendered note: its text, its marks and its formats, within the limits.

// --- Limits ----------------------------------------------------------------------------------------------------------

/** Whether the text may take the stretch's place. @param {HTMLElement} root @param {string} text @param {Stretch} stretch */
function fits(root, text, stretch) {
	if (text.length > maxNoteCharacters) return false;
	const { ledger } = noteOf(root);
	const { characters, paragraphs } = ledger.totals();
	const { start, end } = stretch;
	const clean = normalizeLineEnds(text);
	const replaced = isEmpty(stretch) ? [start.paragraph] : touched(stretch);
	const tail = ledger.length(end.paragraph) - end.offset;
	const old = replaced.reduce((sum, paragraph) => sum + ledger.length(paragraph), replaced.length - 1);
	const lines = clean.split('\n').map((line) => line.length);
	const count = paragraphs - replaced.length + lines.length;
	lines[0] = (lines[0] ?? 0) + start.offset;
	lines[lines.length - 1] = (lines.at(-1) ?? 0) + tail;
	return (
		count <= maxNoteParagraphs &&
		characters - old + start.offset + clean.length + tail <= maxNoteCharacters &&
		lines.every((length) => length <= maxParagraphCharacters)
	);
}

/**
 * Whether the text may take the range's place. A line feed is a paragraph break, U+2028 a line break. Looks at no more
 * of the note than the range touches.
 * @param {HTMLElement} root
 * @param {string} text
 * @param {AnyRange | null} [range] the selection where there is none
 */
export function acceptsEdit(root, text, range) {
	const stretch = range ? stretchOf(root, range) : selectedStretch(root);
	return stretch !== null && fits(root, text, stretch);
}

// --- Text ------------------------------------------------------------------------------------------------------------

/**
 * Puts other blocks in the place of paragraphs, as one step of the history.
 * @param {HTMLElement} root
 * @param {HTMLElement[]} removed
 * @param {Block[]} blocks
 * @param {RunFormat} [typing] the format of a block without text
 */
function exchange(root, removed, blocks, typing) {
	const note = noteOf(root);
	const before = selectedStretch(root);
	const inserted = blocks.map((block) => note.painter.paragraph(block, typing));
	note.replace(removed, inserted);
	return {
		inserted,
		/** @param {Place} start @param {Place} [end] */
		finish: (start, end = start) => {
			note.history.exchange({ removed, inserted }, before, { start, end });
			select(start, end);
		},
	};
}

/**
 * Puts lines in the place of a stretch, each but the first in a paragraph of its own, and the caret behind them.
 * @param {HTMLElement} root
 * @param {Stretch} stretch
 * @param {readonly string[]} lines at least one
 * @param {RunFormat} [format] the text's; that of the text before it where there is none
 */
function replaceStretch(root, stretch, lines, format) {
	const { start, end } = stretch;
	const { reader } = noteOf(root);
	const first = reader.block(start.paragraph);
	const head = sliceRuns(first.runs, 0, start.offset);
	const tail = sliceRuns(reader.runs(end.paragraph), end.offset);
	const look = format ?? formatAt(root, start);
	const last = lines.length - 1;
	const blocks = lines.map((line, index) => ({
		...first,
		runs: joinRuns(
			index ? [] : head,
			[{ ...look, text: line.replaceAll('\n', lineSeparator) }],
			index === last ? tail : [],
		),
	}));
	const { inserted, finish } = exchange(root, touched(stretch), blocks, look);
	const paragraph = /** @type {HTMLElement} */ (inserted[last]);
	finish({ paragraph, offset: (last ? 0 : start.offset) + (lines[last]?.length ?? 0) });
}

/**
 * Puts text in the selection's place: a line feed makes a paragraph, U+2028 a line in it.
 * @param {HTMLElement} root
 * @param {string} text
 * @throws {DocumentError} "limit", or "edit" where nothing of the note is selected
 */
export function insertText(root, text) {
	const stretch = selectedStretch(root);
	if (!stretch) throw new DocumentError('edit');
	if (!fits(root, text, stretch)) throw new DocumentError('limit');
	const clean = normalizeLineEnds(text).replace(/[\0\ufffc]/g, '');
	replaceStretch(root, stretch, clean.split('\n'));
}

/** Joins a paragraph to the one before it. Nothing happens to the first. @param {HTMLElement} root @param {HTMLElement | null} second */
function joinParagraphs(root, second) {
	const first = second && sibling(second, 'previous');
	if (first) replaceStretch(root, { start: endOf(first), end: startOf(second) }, ['']);
}

// --- Marks -----------------------------------------------------------------------------------------------------------

/** The marks of a paragraph, from character to character. @param {HTMLElement} paragraph */
function marksOf(paragraph) {
	const text = paragraphText(paragraph);
	if (!text.includes('◆')) return [];
	return Array.from(text.matchAll(markPattern()), (match) => ({
		start: match.index,
		end: match.index + match[0].length,
		text: match[0],
	}));
}

/**
 * The mark that holds the range's start or ends there.
 * @param {HTMLElement} root
 * @param {AnyRange} range
 * @returns {{range: Range, text: string, atEnd: boolean} | null}
 */
export function markAt(root, range) {
	const place = placeOf(root, range.startContainer, range.startOffset);
	if (!place) return null;
	const { paragraph, offset } = place;
	const mark = marksOf(paragraph).find(({ start, end }) => start < offset && offset <= end);
	if (!mark) return null;
	const found = rangeOf({ start: { paragraph, offset: mark.start }, end: { paragraph, offset: mark.end } });
	return { range: found, text: mark.text, atEnd: offset === mark.end };
}

/** The mark that begins or ends at a place. @param {Place} place */
const markBeside = ({ paragraph, offset }) =>
	marksOf(paragraph).find(({ start, end }) => start === offset || end === offset) ?? null;

/**
 * Takes the caret past the marks that it is in or beside, as far as their line goes on: to the browser a mark is a line
 * of its own, and the End key would stay in it.
 * @param {HTMLElement} root
 * @param {boolean} selects what the caret passes
 */
export function leaveMark(root, selects) {
	const selection = root.ownerDocument.getSelection();
	const place = selection?.focusNode && placeOf(root, selection.focusNode, selection.focusOffset);
	if (!place) return;
	const { paragraph, offset } = place;
	let past = -1;
	for (const { start, end } of marksOf(paragraph)) {
		if ((start <= offset && offset <= end) || start === past) past = end;
	}
	if (past < 0) return;
	const isLineEnd = (paragraphText(paragraph)[past] ?? '\n') === '\n';
	const point = pointOf({ paragraph, offset: isLineEnd ? past : past + 1 });
	if (selects) selection.extend(...point);
	else selection.collapse(...point);
}

/** Whether what looks like a mark is one, and nothing else. @param {HTMLElement} paragraph */
function hasTrueMarks(paragraph) {
	const shown = Array.from(paragraph.querySelectorAll('[data-mark]'), (element) => element.textContent);
	const marks = marksOf(paragraph);
	return shown.length === marks.length && marks.every((mark, index) => mark.text === shown[index]);
}

/** Shows a paragraph's marks anew where typing has made, cut or grown one. @param {HTMLElement} root @param {HTMLElement} paragraph */
function refreshMarks(root, paragraph) {
	if (hasTrueMarks(paragraph)) return;
	const { painter, reader } = noteOf(root);
	const selection = selectedStretch(root);
	paragraph.replaceChildren(...painter.paragraph(reader.block(paragraph)).childNodes);
	if (selection) select(selection.start, selection.end);
}

/**
 * Puts a mark in the target's place, through the browser's own undoable command, and the caret before its closing
 * bracket. An empty text deletes the target.
 * @param {HTMLElement} root
 * @param {string} text
 * @param {AnyRange | null} [target] the selection where there is none
 * @throws {DocumentError} "limit", or "edit" where the note cannot be edited there
 */
export function insertMark(root, text, target) {
	const note = noteOf(root);
	let stretch = target ? stretchOf(root, target) : selectedStretch(root);
	if (!stretch) throw new DocumentError('edit');
	if (!fits(root, text, stretch)) throw new DocumentError('limit');
	if (stretch.start.paragraph !== stretch.end.paragraph) {
		replaceStretch(root, stretch, ['']);
		stretch = selectedStretch(root) ?? stretch;
	}
	const { paragraph, offset } = stretch.start;
	const format = { ...formatAt(root, stretch.start), color: markColor };
	select(stretch.start, stretch.end);
	note.history.endTyping();
	note.history.beginTyping(paragraph, 'mark');
	note.history.endTyping();
	const command = text ? 'insertHTML' : 'delete';
	const made = root.ownerDocument.execCommand(command, false, text && note.painter.mark(format, text).outerHTML);
	if (!made) throw new DocumentError('edit');
	refreshMarks(root, paragraph);
	if (text.endsWith(']')) select({ paragraph, offset: offset + text.length - 1 });
	else if (!text) {
		// Only another selection makes the browser forget the mark's colour for what is typed next.
		root.ownerDocument.getSelection()?.removeAllRanges();
		select({ paragraph, offset });
	}
}

// --- Formats of text -------------------------------------------------------------------------------------------------

/** @param {readonly Run[]} runs @param {number} offset */
const runBefore = (runs, offset) => sliceRuns(runs, Math.max(0, offset - 1), Math.max(1, offset))[0];

/**
 * The format that text typed at a place gets: that of the character before it. Beside a mark the colour is that of the
 * text around, which stands after it or else before it.
 * @param {HTMLElement} root
 * @param {Place} place
 * @returns {RunFormat}
 */
function formatAt(root, place) {
	const { reader } = noteOf(root);
	const { paragraph, offset } = place;
	const runs = reader.runs(paragraph);
	const run = runBefore(runs, offset);
	if (!run) return reader.typingFormat(paragraph);
	const marks = marksOf(paragraph);
	if (!marks.some(({ start, end }) => start === offset || end === offset)) return completeFormat(run);
	const isText = (/** @type {number} */ index) => !marks.some(({ start, end }) => start <= index && index < end);
	const length = lengthOf(paragraph);
	let beside = offset;
	while (beside < length && !isText(beside)) beside++;
	if (beside === length) for (beside = offset - 1; beside >= 0 && !isText(beside);) beside--;
	const color = beside < 0 ? '' : (runBefore(runs, beside + 1)?.color ?? '');
	return { ...completeFormat(run), color };
}

/** The format of the selection's first character, or of text typed at the caret. @param {HTMLElement} root @returns {RunFormat} */
export function selectionFormat(root) {
	const stretch = selectedStretch(root);
	if (!stretch) return completeFormat(null);
	if (isEmpty(stretch)) return formatAt(root, stretch.start);
	const { reader } = noteOf(root);
	for (const paragraph of touched(stretch)) {
		const [start, end] = offsetsIn(paragraph, stretch);
		const run = sliceRuns(reader.runs(paragraph), start, end)[0];
		if (run) return completeFormat(run);
	}
	return formatAt(root, stretch.start);
}

/** What of a paragraph is in a stretch. @param {HTMLElement} paragraph @param {Stretch} stretch @returns {[number, number]} */
const offsetsIn = (paragraph, { start, end }) => [
	paragraph === start.paragraph ? start.offset : 0,
	paragraph === end.paragraph ? end.offset : Infinity,
];

/**
 * What a control sets on a run; null for a value that it cannot have.
 * @param {string} key
 * @param {unknown} value
 * @returns {Partial<RunFormat> | null}
 */
function formatChange(key, value) {
	if (key === 'clear') return clearFormat;
	if (key === 'paint') return completeFormat(/** @type {Partial<RunFormat>} */ (value));
	if (key === 'weight') return { weight: value === true || Number(value) >= 600 ? 700 : 400 };
	if (key === 'italic' || key === 'underline' || key === 'strike') return { [key]: Boolean(value) };
	if (key === 'size')
		return Number.isFinite(value) && clamp(Number(value), minSize, maxSize) === value ? { size: value } : null;
	if (key === 'family' || key === 'color' || key === 'background') return { [key]: String(value) };
	return null;
}

/** @param {HTMLElement} root @param {HTMLElement[]} paragraphs @param {Block[]} blocks @param {Stretch} stretch */
function exchangeInPlace(root, paragraphs, blocks, stretch) {
	const { scrollTop } = root;
	const { inserted, finish } = exchange(root, paragraphs, blocks);
	const moved = (/** @type {Place} */ { paragraph, offset }) => {
		const index = paragraphs.indexOf(paragraph);
		return { paragraph: inserted[index] ?? paragraph, offset };
	};
	finish(moved(stretch.start), moved(stretch.end));
	root.scrollTop = scrollTop;
}

/**
 * Formats the selected text: one member of the format, or all of it with "paint" (a format) or "clear".
 * @param {HTMLElement} root
 * @param {keyof RunFormat | 'paint' | 'clear'} key
 * @param {unknown} [value]
 * @returns {boolean} whether there was text to format, and a value that it can have
 */
export function formatSelection(root, key, value) {
	const stretch = selectedStretch(root);
	const change = formatChange(key, value);
	if (!stretch || !change || isEmpty(stretch)) return false;
	const { reader } = noteOf(root);
	const paragraphs = touched(stretch);
	const blocks = paragraphs.map((paragraph) => {
		const block = reader.block(paragraph);
		const [start, end] = offsetsIn(paragraph, stretch);
		const selected = sliceRuns(block.runs, start, end).map((run) => ({ ...run, ...change }));
		return { ...block, runs: joinRuns(sliceRuns(block.runs, 0, start), selected, sliceRuns(block.runs, end)) };
	});
	exchangeInPlace(root, paragraphs, blocks, stretch);
	return true;
}

// --- Formats of paragraphs -------------------------------------------------------------------------------------------

/**
 * Formats the paragraphs that the selection touches; not one where it only ends, before the first character.
 * @param {HTMLElement} root
 * @param {'align' | 'list' | 'indent'} key
 * @param {number} value for "indent" the steps to add
 * @returns {boolean} whether there were paragraphs to format
 */
export function formatParagraphs(root, key, value) {
	const stretch = selectedStretch(root);
	if (!stretch) return false;
	const paragraphs = touched(stretch);
	if (paragraphs.length > 1 && stretch.end.offset === 0) paragraphs.pop();
	const { reader } = noteOf(root);
	const all = paragraphsOf(root);
	const first = all.indexOf(/** @type {HTMLElement} */ (paragraphs[0]));
	const document = { blocks: all.map((paragraph) => /** @type {Block} */ ({ ...blockFormat(paragraph), runs: [] })) };
	updateParagraphs(
		document,
		paragraphs.map((_, index) => first + index),
		key,
		value,
	);
	const blocks = paragraphs.map((paragraph, index) => ({
		.../** @type {Block} */ (document.blocks[first + index]),
		runs: reader.runs(paragraph),
	}));
	exchangeInPlace(root, paragraphs, blocks, stretch);
	return true;
}

/** How the paragraph looks that the selection begins in; null where nothing of the note is selected. @param {HTMLElement} root */
export function paragraphFormat(root) {
	const stretch = selectedStretch(root);
	return stretch && blockFormat(stretch.start.paragraph);
}

// === Events ==========================================================================================================

// What becomes of the browser's editing events. Typing and deleting within a paragraph is the browser's, so that input
// methods, suggestions and spelling work as everywhere; whatever makes, joins or crosses paragraphs is ours.

/**
 * What a beforeinput event came to: the browser goes on ("native", an input event follows), the note was changed here
 * ("done"), nothing happens ("ignored"), or the limits forbid it ("refused").
 * @typedef {'native' | 'done' | 'ignored' | 'refused'} Outcome
 */

/** What the browser would do to the selection as a whole, and what does it here. @type {Record<string, (root: HTMLElement) => boolean>} */
const commands = {
	historyUndo: (root) => noteOf(root).history.undo(),
	historyRedo: (root) => noteOf(root).history.redo(),
	formatBold: (root) => formatSelection(root, 'weight', selectionFormat(root).weight < 600),
	formatItalic: (root) => formatSelection(root, 'italic', !selectionFormat(root).italic),
	formatUnderline: (root) => formatSelection(root, 'underline', !selectionFormat(root).underline),
	formatStrikeThrough: (root) => formatSelection(root, 'strike', !selectionFormat(root).strike),
	formatRemove: (root) => formatSelection(root, 'clear'),
	formatIndent: (root) => formatParagraphs(root, 'indent', 1),
	formatOutdent: (root) => formatParagraphs(root, 'indent', -1),
	formatJustifyLeft: (root) => formatParagraphs(root, 'align', 1),
	formatJustifyRight: (root) => formatParagraphs(root, 'align', 2),
	formatJustifyCenter: (root) => formatParagraphs(root, 'align', 4),
	formatJustifyFull: (root) => formatParagraphs(root, 'align', 8),
};

/** Insertions of text. */
const insertions = new Set([
	'insertText',
	'insertReplacementText',
	'insertCompositionText',
	'insertFromComposition',
	'insertFromPaste',
	'insertFromPasteAsQuotation',
	'insertFromYank',
	'insertTranspose',
	'insertParagraph',
	'insertLineBreak',
]);

/** The text that an event inserts. @param {InputEvent} event */
function insertedText(event) {
	if (event.inputType === 'insertParagraph') return '\n';
	if (event.inputType === 'insertLineBreak') return lineSeparator;
	return event.data ?? event.dataTransfer?.getData('text/plain') ?? '';
}

/** What an event is about to replace or delete. @param {HTMLElement} root @param {InputEvent} event */
function targetOf(root, event) {
	return stretchOf(root, event.getTargetRanges()[0]) ?? selectedStretch(root);
}

/**
 * Decides on a beforeinput event of the editable element, and does what is not left to the browser.
 * @param {HTMLElement} root
 * @param {InputEvent} event
 * @returns {Outcome}
 */
export function handleBeforeInput(root, event) {
	const outcome = decide(root, event);
	if (outcome !== 'native') event.preventDefault();
	return outcome;
}

/** @param {HTMLElement} root @param {InputEvent} event @returns {Outcome} */
function decide(root, event) {
	const { inputType } = event;
	const command = commands[inputType];
	if (command) return command(root) ? 'done' : 'ignored';
	if (inputType.startsWith('delete') && inputType !== 'deleteByDrag') return decideDeletion(root, event);
	return insertions.has(inputType) ? decideInsertion(root, event) : 'ignored';
}

/** @param {HTMLElement} root @param {InputEvent} event @returns {Outcome} */
function decideInsertion(root, event) {
	const text = insertedText(event);
	const stretch = targetOf(root, event);
	if (!stretch) return 'ignored';
	// What an input method composes is judged when it is done: it cannot be stopped before.
	const composed = event.isComposing || !event.cancelable;
	if (!composed && !fits(root, text, stretch)) return 'refused';
	if (composed || staysNative(event, text, stretch)) {
		noteOf(root).history.beginTyping(stretch.start.paragraph, 'insert');
		return 'native';
	}
	select(stretch.start, stretch.end);
	insertText(root, text);
	return 'done';
}

/**
 * Whether the browser may insert this: plain typing in one piece of text, away from the edges of marks. Text that
 * replaces several pieces would get a mixture of their looks.
 * @param {InputEvent} event
 * @param {string} text
 * @param {Stretch} stretch
 */
function staysNative(event, text, stretch) {
	return (
		(event.inputType === 'insertText' || event.inputType === 'insertReplacementText') &&
		!/[\n\r\u2028\u2029]/.test(text) &&
		!markBeside(stretch.start) &&
		(isEmpty(stretch) || isWithinText(stretch))
	);
}

/** @param {HTMLElement} root @param {InputEvent} event @returns {Outcome} */
function decideDeletion(root, event) {
	const selected = selectedStretch(root);
	if (!selected) return 'ignored';
	const forward = /Forward$/.test(event.inputType);
	if (isEmpty(selected) && event.cancelable) {
		const outcome = deleteAtEdge(root, event, selected.start, forward);
		if (outcome) return outcome;
	}
	const stretch = targetOf(root, event) ?? selected;
	if (isWithinText(stretch) || !event.cancelable) {
		noteOf(root).history.beginTyping(stretch.start.paragraph, 'delete');
		return 'native';
	}
	replaceStretch(root, stretch, ['']);
	return 'done';
}

/**
 * At a paragraph's edge the paragraphs join; behind a mark, Backspace deletes the whole of it.
 * @param {HTMLElement} root @param {InputEvent} event @param {Place} place @param {boolean} forward
 * @returns {Outcome | null} nothing where the caret is elsewhere
 */
function deleteAtEdge(root, event, { paragraph, offset }, forward) {
	const range = selectedRange(root);
	const mark = event.inputType === 'deleteContentBackward' && range ? markAt(root, range) : null;
	if (mark?.atEnd) {
		insertMark(root, '', mark.range);
		return 'done';
	}
	if (forward ? offset < lengthOf(paragraph) : offset > 0) return null;
	const second = forward ? sibling(paragraph, 'next') : paragraph;
	if (!second || !sibling(second, 'previous')) return 'ignored';
	joinParagraphs(root, second);
	return 'done';
}

/** Puts right what typing has left, after each input event. @param {HTMLElement} root @param {InputEvent} [event] */
export function handleInput(root, event) {
	if (event?.isComposing) return;
	const node = selectedRange(root)?.startContainer;
	const paragraph = node && paragraphHolding(root, node);
	if (paragraph) refreshMarks(root, paragraph);
	else noteOf(root).adopt();
}

/**
 * Goes along with an input method: what it replaces is within one paragraph, what it leaves keeps the limits and lets
 * no mark grow.
 * @param {HTMLElement} root
 * @param {CompositionEvent} event compositionstart or compositionend
 * @returns {Outcome}
 */
export function handleComposition(root, event) {
	const note = noteOf(root);
	if (event.type === 'compositionend') return endComposition(root);
	let selected = selectedStretch(root);
	if (!selected) return 'ignored';
	const crosses = selected.start.paragraph !== selected.end.paragraph;
	if (crosses) replaceStretch(root, selected, ['']);
	note.history.endTyping();
	selected = selectedStretch(root) ?? selected;
	const { start, end } = selected;
	note.composition = {
		start,
		before: note.ledger.totals().characters,
		rest: lengthOf(start.paragraph) - end.offset,
		format: markBeside(start) && formatAt(root, start),
	};
	return crosses ? 'done' : 'native';
}

/** @param {HTMLElement} root @returns {Outcome} */
function endComposition(root) {
	const note = noteOf(root);
	const { composition } = note;
	note.composition = null;
	note.history.endTyping();
	if (!composition) return 'native';
	const { start, before, rest, format } = composition;
	const { paragraph, offset } = start;
	const { characters } = note.ledger.totals();
	const length = note.ledger.length(paragraph);
	const over = characters > maxNoteCharacters || length > maxParagraphCharacters;
	if (over && characters > before && note.history.undo()) return 'refused';
	const added = length - rest - offset;
	if (format && added > 0) recolor(root, { start, end: { paragraph, offset: offset + added } }, format);
	handleInput(root);
	return 'native';
}

/** Gives text that an input method has put into a mark's colour that of the text beside. @param {HTMLElement} root @param {Stretch} stretch @param {RunFormat} format */
function recolor(root, { start, end }, format) {
	const { painter, reader } = noteOf(root);
	const block = reader.block(start.paragraph);
	const selected = selectedStretch(root);
	const composed = sliceRuns(block.runs, start.offset, end.offset).map((run) => ({ ...format, text: run.text }));
	const runs = joinRuns(sliceRuns(block.runs, 0, start.offset), composed, sliceRuns(block.runs, end.offset));
	start.paragraph.replaceChildren(...painter.paragraph({ ...block, runs }).childNodes);
	if (selected) select(selected.start, selected.end);
}

// === HTML files ======================================================================================================

// HTML files as web documents.

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
