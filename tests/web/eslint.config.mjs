// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

import js from '@eslint/js';
import globals from 'globals';

const rules = {
	...js.configs.recommended.rules,
	eqeqeq: 'error',
	'no-var': 'error',
	'prefer-const': 'error',
	'no-implied-eval': 'error',
	'no-new-func': 'error',
	'no-unused-vars': ['error', { argsIgnorePattern: '^_', varsIgnorePattern: '^_' }],
	'max-lines': ['error', { max: 500 }],
	'max-lines-per-function': ['error', { max: 40, skipComments: true }],
};

// What the pages of the tests and benchmarks have besides.
const inPage = Object.fromEntries(
	'note root bench show failure next outcomes random runsOf savedText'.split(' ').map((name) => [name, false]),
);

export default [
	{ ignores: ['**/node_modules/', 'build/'] },
	{
		files: ['data/remote/**/*.mjs'],
		languageOptions: { globals: globals.browser },
		rules,
	},
	{
		files: ['tests/web/**/*.mjs', 'bench/web/**/*.mjs'],
		languageOptions: { globals: { ...globals.node, ...globals.browser, ...inPage } },
		rules: { ...rules, 'max-lines-per-function': 'off' },
	},
];
