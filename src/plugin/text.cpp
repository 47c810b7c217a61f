// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "plugin/text.hpp"

#include <cstring>

#include <obs-module.h>

namespace quillbay {

QString withMacModifiers(QString body)
{
	// The longest name goes first: "Ctrl+Shift+" holds "Ctrl+".
	return body.replace(QStringLiteral("Ctrl+Shift+"), QStringLiteral("⇧⌘"))
		.replace(QStringLiteral("Ctrl+"), QStringLiteral("⌘"))
		.replace(QStringLiteral("Alt+"), QStringLiteral("Option+"));
}

QString text(const char *key)
{
	const QString found = QString::fromUtf8(obs_module_text(key));
#ifdef __APPLE__
	if (std::strcmp(key, "ShortcutBody") == 0) {
		return withMacModifiers(found);
	}
#endif
	return found;
}

} // namespace quillbay
