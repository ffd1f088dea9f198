// What one table consists of: the rows that share it, the columns that those rows have together,
// and how wide each column is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "output/event_rows.h"

namespace tarnlex {

// Positions in EventRows::rows.
using RowNumbers = std::vector<std::uint32_t>;

// The rows of a collection, those of one event identifier and provider name side by side; groups
// in the order of identifier, then provider, rows within a group in their own order.
struct RowGroups {
  RowNumbers order;
  std::vector<std::size_t> ends;  // where in `order` each group ends
};
RowGroups GroupRows(const EventRows& rows);

// All rows as one group.
RowGroups OneGroup(const EventRows& rows);

// The columns made from pulled values, and what the fixed columns need to know of the rows.
struct TableColumns {
  std::vector<std::string_view> names;  // sorted, each once
  // For every column set of the table, the table's column of each of its cells.
  std::unordered_map<const ColumnSet*, std::vector<std::uint32_t>> positions;
  bool has_query_name = false;
  std::vector<std::size_t> widths;  // in characters; empty unless asked for
  std::size_t query_name_width = 0;
  std::size_t provider_width = 0;
};

// A field whose longest value reaches kWidestField characters gets kWideFieldWidth instead.
inline constexpr std::size_t kWidestField = 600;
inline constexpr std::size_t kWideFieldWidth = 20;

TableColumns MakeTableColumns(const EventRows& rows, std::span<const std::uint32_t> group,
                              bool with_widths);

}  // namespace tarnlex
