// How joined rows are written: what stands around the cells that a row has of its own is the same
// for all rows of a layout in a table, and is put together once.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "output/cell_writer.h"
#include "output/event_rows.h"
#include "output/table_columns.h"

namespace tarnlex {

// Separators, the cells that the rows share, and empty ones where the table has more columns.
struct RowPattern {
  std::string text;  // and a block behind it to be read
  // Where in it ends what stands before each own cell, or with `whole` before each stretch of them,
  // and at last what stands behind them all.
  std::vector<std::uint32_t> ends;
  bool whole = false;  // the table has no columns but the row's
};

// Those of one table, by the layout of their rows or, of rows without one, by their columns.
struct RowPatterns {
  std::unordered_map<const void*, RowPattern> by_layout;
  const void* last_layout = nullptr;
  const RowPattern* last = nullptr;
};

// The pattern of a row that has columns. Valid as long as `patterns`.
const RowPattern& PatternOf(RowPatterns& patterns, const TableColumns& columns,
                            const EventRecord& row, char separator);

// The row's cells, each with the separator behind it.
void WriteJoinedCells(CellWriter& out, const RowPattern& pattern, const EventRecord& row,
                      char separator);

}  // namespace tarnlex
