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
#include "output/row_order.h"

namespace tarnlex {

// The rows of a collection, those of one event identifier and provider name side by side; groups
// in the order of identifier, then provider, rows within a group in the order given.
struct RowGroups {
  RowNumbers order;
  std::vector<std::size_t> ends;  // where in `order` each group ends
};
RowGroups GroupRows(const EventRows& rows, const RowNumbers& order);

// All rows as one group.
RowGroups OneGroup(RowNumbers order);

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

// Asks the memory for rows behind the one at `at`. The rows of a group lie scattered over all of
// the log's rows, and waiting for them costs more than writing them (30 interleaved groups: 22 ns a
// cell without this, 14 ns with it). Inlined by force: a compiler may take a function that only
// fetches for one that does nothing.
#if defined(__GNUC__)
[[gnu::always_inline]] inline void FetchAhead(const EventRows& rows,
                                              std::span<const std::uint32_t> group,
                                              std::size_t at) {
  constexpr std::size_t kRecordsAhead = 24;
  constexpr std::size_t kCellsAhead = 8;
  constexpr std::uintptr_t kCellBytes = 384;
  constexpr std::uintptr_t kLine = 64;
  if (group.size() - at <= kRecordsAhead) return;
  const auto record = reinterpret_cast<std::uintptr_t>(&rows.rows[group[at + kRecordsAhead]]);
  const auto cells = reinterpret_cast<std::uintptr_t>(rows.rows[group[at + kCellsAhead]].dataItems);
  // Numbers, since a pointer must not be made to lie behind its array even when nothing reads
  // there. NOLINTBEGIN(performance-no-int-to-ptr)
  for (std::uintptr_t i = 0; i < sizeof(EventRecord); i += kLine) {
    __builtin_prefetch(reinterpret_cast<const void*>(record + i));
  }
  for (std::uintptr_t i = 0; i < kCellBytes; i += kLine) {
    __builtin_prefetch(reinterpret_cast<const void*>(cells + i));
  }
  // NOLINTEND(performance-no-int-to-ptr)
}
#else
inline void FetchAhead(const EventRows&, std::span<const std::uint32_t>, std::size_t) {}
#endif

}  // namespace tarnlex
