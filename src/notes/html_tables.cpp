// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "notes/html_tables.hpp"

#include <algorithm>

namespace quillbay {

namespace {

constexpr size_t kMaxTableDepth = 12;
constexpr size_t kMaxOpenRowSpans = 1'000;

} // namespace

void OpenTables::open(qsizetype depth)
{
	tables_.emplace_back().depth = depth;
	isHarmless_ = isHarmless_ && tables_.size() <= kMaxTableDepth;
}

void OpenTables::close(qsizetype depth)
{
	if (!tables_.empty() && tables_.back().depth == depth) {
		tables_.pop_back();
	}
}

void OpenTables::addRow()
{
	if (tables_.empty()) {
		return;
	}
	Table &table = tables_.back();
	++table.rows;
	std::erase_if(table.spans, [&table](const RowSpan &span) { return span.endRow <= table.rows; });
	table.rowColumns = 0;
	for (const RowSpan &span : table.spans) {
		table.rowColumns += span.columns;
	}
}

qint64 OpenTables::addCell(int columnSpan, int rowSpan)
{
	if (tables_.empty()) {
		return 0;
	}
	Table &table = tables_.back();
	table.rowColumns += columnSpan;
	table.columns = std::max(table.columns, table.rowColumns);
	if (rowSpan > 1) {
		table.spans.push_back({table.rows + rowSpan, columnSpan});
		isHarmless_ = isHarmless_ && table.spans.size() <= kMaxOpenRowSpans;
	}
	const qint64 before = table.cells;
	table.cells = std::max<qint64>(table.rows, 1) * table.columns;
	return table.cells - before;
}

double OpenTables::nestingFactor() const
{
	return tables_.empty() ? 0 : double(1 << tables_.size());
}

} // namespace quillbay
