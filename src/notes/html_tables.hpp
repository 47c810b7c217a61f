// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How large the tables of a document get. For this folder only.

#pragma once

#include <QtGlobal>

#include <vector>

namespace quillbay {

/// The tables that are open while HTML is read, each within the one before, and the cells that Qt makes of them: every
/// row gets as many as the longest. Any thread, one at a time.
class OpenTables {
public:
	/// A table opens within `depth` elements.
	void open(qsizetype depth);
	/// The element within `depth` elements closes: the table, if it is one.
	void close(qsizetype depth);
	/// The innermost table gets a row; nothing happens without one.
	void addRow();
	/// Its row gets a cell. Returns how many cells the table has more than before.
	qint64 addCell(int columnSpan, int rowSpan);

	/// What work that Qt does again for every table around grows by: 2 to the number of open tables, or 0 without.
	[[nodiscard]] double nestingFactor() const;
	/// False when there have been more tables in tables, or cells that span rows, than Qt can bear.
	[[nodiscard]] bool isHarmless() const { return isHarmless_; }

private:
	struct RowSpan {
		qint64 endRow;
		int columns;
	};
	struct Table {
		qsizetype depth = 0;
		qint64 rows = 0;
		qint64 columns = 0;
		qint64 rowColumns = 0; // taken in the last row
		qint64 cells = 0;
		std::vector<RowSpan> spans; // of cells that reach into the next row
	};

	std::vector<Table> tables_;
	bool isHarmless_ = true;
};

} // namespace quillbay
