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
	sliceRuns,
	updateParagraphs,
	withinTextLimits,
} from './document/model.mjs';
export { paragraphsOf } from './document/paragraphs.mjs';
export { redo, render, serialize, undo } from './document/note.mjs';
export {
	documentText,
	paragraphAt,
	paragraphCount,
	rangeAt,
	selectionOffsets,
	selectOffsets,
	shownCharacterCount,
} from './document/numbers.mjs';
export { leaveMark, markAt } from './document/marks.mjs';
export { paragraphFormat, selectionFormat } from './document/selection_format.mjs';
export { acceptsEdit, insertMark, insertText } from './document/text.mjs';
export { formatParagraphs, formatSelection } from './document/formatting.mjs';
export { handleBeforeInput, handleComposition, handleInput } from './document/events.mjs';
export { importHtml } from './document/html_import.mjs';
