// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

/**
 * The document of the web client: a web document as editable paragraphs and back. No network, no state but that of the
 * elements it is given.
 */

export {
	characterCount,
	clearFormat,
	defaultMark,
	DocumentError,
	markPattern,
	maxNoteCharacters,
	maxNoteParagraphs,
	maxParagraphCharacters,
	maxSize,
	minSize,
	plainDocument,
	updateParagraphs,
	withinTextLimits,
} from './document-model.mjs';
export { importHtml } from './document-import.mjs';
export { redo, render, serialize, undo } from './document-note.mjs';
export { paragraphsOf } from './document-view.mjs';
export {
	acceptsEdit,
	formatParagraphs,
	formatSelection,
	insertMark,
	insertText,
	markAt,
	paragraphFormat,
	selectionFormat,
} from './document-edit.mjs';
export {
	documentText,
	paragraphAt,
	paragraphCount,
	rangeAt,
	selectionOffsets,
	selectOffsets,
	shownCharacterCount,
} from './document-offsets.mjs';
export { handleBeforeInput, handleComposition, handleInput } from './document-input.mjs';

/** @typedef {import('./document-model.mjs').WebDocument} WebDocument */
/** @typedef {import('./document-model.mjs').Block} Block */
/** @typedef {import('./document-model.mjs').Run} Run */
/** @typedef {import('./document-model.mjs').RunFormat} RunFormat */
