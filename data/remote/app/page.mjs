// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later
// @ts-check

// The page's controls, and its texts.

/**
 * @template {HTMLElement} T
 * @param {string} id
 * @param {new () => T} type
 * @returns {T}
 */
export function control(id, type) {
	const element = document.getElementById(id);
	if (!(element instanceof type)) {
		throw new Error(`the page has no ${id}`);
	}
	return element;
}

/** @param {string} id */
export const button = (id) => control(id, HTMLButtonElement);
/** @param {string} id */
export const input = (id) => control(id, HTMLInputElement);
/** @param {string} id */
export const element = (id) => control(id, HTMLElement);

export const article = element('document');
export const ui = {
	login: control('login', HTMLFormElement),
	workspace: element('workspace'),
	scenes: control('scenes', HTMLSelectElement),
	follow: input('follow'),
	exporting: control('export', HTMLSelectElement),
	textTools: control('text-tools', HTMLFieldSetElement),
	paragraphTools: control('paragraph-tools', HTMLFieldSetElement),
	problem: element('problem'),
	reader: element('reader'),
};

/** @type {Record<string, string>} */
let labels = {};

/** Takes the texts of the user's language. @param {Record<string, string>} given */
export const setLabels = (given) => (labels = given);

/** The label of a key, or the key. @param {string} key */
export const t = (key) => labels[key] ?? key;

/** A label with its placeholders %1, %2, ... filled. @param {string} key @param {(string | number)[]} values */
export function filled(key, ...values) {
	return t(key).replace(/%(\d)/g, (whole, number) => String(values[number - 1] ?? whole));
}

/** @param {HTMLElement} target @param {string} text */
export function label(target, text) {
	target.title = text;
	target.setAttribute('aria-label', text);
}

export function labelControls() {
	/** @type {[string, (target: HTMLElement, text: string) => void][]} */
	const places = [
		['text', (target, text) => (target.textContent = text)],
		['label', label],
		['name', (target, text) => target.setAttribute('aria-label', text)],
		['title', (target, text) => (target.title = text)],
		['placeholder', (target, text) => target.setAttribute('placeholder', text)],
	];
	for (const [name, put] of places) {
		for (const target of document.querySelectorAll(`[data-${name}]`)) {
			if (target instanceof HTMLElement) put(target, t(target.dataset[name] ?? ''));
		}
	}
	element('brand').textContent = document.title = t('QuillBay');
}

/** @param {HTMLElement} target @param {boolean} isPressed */
export function press(target, isPressed) {
	target.setAttribute('aria-pressed', String(isPressed));
}

/** @param {HTMLElement} target */
export const isPressed = (target) => target.getAttribute('aria-pressed') === 'true';
