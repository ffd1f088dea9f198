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

// What comes next in a row: separators of empty cells, then a cell of its own, or so much of the
// pattern's text.
struct PatternStep {
  std::uint32_t separators = 0;
  std::uint32_t text = 0;
};
inline constexpr std::uint32_t kOwnText = ~std::uint32_t{0};

// The cells that the rows of a layout share, each with its separator, and where they stand.
struct RowPattern {
  std::string text;  // and a block behind it to be read
  // Of a table without other columns: where in the text ends what stands before each stretch of own
  // cells, and at last what stands behind them all.
  std::vector<std::uint32_t> ends;
  std::vector<PatternStep> steps;  // of any other
  std::size_t room = 0;            // that all of it takes in a row, blocks included
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
