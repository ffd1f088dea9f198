// The columns of a table that were asked for by name, instead of all that its rows have.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "logs/log_info.h"
#include "logs/run_options.h"
#include "output/event_rows.h"

namespace tarnlex {

// What fills a column: something that every row says of itself, or one of its values.
enum class ColumnKind : std::uint8_t {
  kRecord,
  kEventId,
  kDate,
  kTime,
  kDateTime,
  kLevel,
  kQueryName,
  kProvider,
  kRecovered,
  kOffset,
  kLog,
  kValue,
};

// The header name of a column that is no value's.
std::string_view FixedColumnName(ColumnKind kind);

struct PickedColumn {
  std::string_view name;  // as it was asked for
  ColumnKind kind = ColumnKind::kValue;
};

struct PickedColumns {
  std::vector<PickedColumn> columns;
  // For every column set of the rows, the cell of each column; -1 without one.
  std::unordered_map<const ColumnSet*, std::vector<int>> cells;
};

// The columns of `names` for these rows. A name is compared without regard to ASCII case, with the
// columns that every row has first; of values that are spelled alike the exact one counts. One that
// no row has is there all the same, and empty.
PickedColumns PickColumns(const EventRows& rows, std::span<const std::uint32_t> group,
                          const std::vector<std::string>& names, bool is_evtx, bool paired);

// A row with its texts at hand.
struct PickedRow {
  const EventRecord* row = nullptr;
  std::string_view query_name;
  std::string_view provider;
  const std::vector<int>* cells = nullptr;  // of PickedColumns; null for a row without values
  std::vector<std::string_view> texts;
};

// Reads the row at a position, one of those that the columns were picked for, into `read`.
void ReadPickedRow(const PickedColumns& picked, const EventRows& rows, std::uint32_t number,
                   PickedRow& read);

// The row's value in a column; empty without one.
std::string_view PickedText(const PickedRow& row, std::size_t column);

// Takes the names out of `missing` that the rows have a column for.
void NoteColumns(const EventRows& rows, const LogInfo& log, const RunOptions& options,
                 std::vector<std::string>& missing);

}  // namespace tarnlex
