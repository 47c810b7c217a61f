// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "convert/word_properties.hpp"

#include <QByteArray>
#include <QHash>
#include <QTextListFormat>

namespace quillbay::word {

/// One style as the styles part has it: `style` is not used.
struct Style : Paragraph {
	/// The parent style's id; empty when none.
	QString basedOn;
};

/// The styles part: a broken one yields what stands before the fault.
struct StyleSheet {
	/// What every run starts from.
	QTextCharFormat defaults;
	/// By id.
	QHash<QString, Style> styles;
};

/// Reads "word/styles.xml"; never fails.
StyleSheet readStyles(const QByteArray &part);

/// The style with its parents' formatting below its own: at most 17 styles deep, so that a ring of parents ends.
/// An empty one for an unknown id. `depth` is 0 but for its own calls.
Style resolveStyle(const QHash<QString, Style> &styles, const QString &id, int depth = 0);

/// The numbering part: a broken one yields what stands before the fault.
struct Numbering {
	/// By "abstractNumId:ilvl".
	QHash<QString, QTextListFormat::Style> levelStyles;
	/// From numId to abstractNumId.
	QHash<int, int> abstractNums;

	/// Decimal where nothing is said.
	[[nodiscard]] QTextListFormat::Style styleOf(int numId, int ilvl) const;
};

/// Reads "word/numbering.xml"; never fails.
Numbering readNumbering(const QByteArray &part);

} // namespace quillbay::word
