// Rows made by hand for the writers' tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "logs/log_info.h"
#include "output/event_rows.h"
#include "output/row_builder.h"

namespace tarnlex {

inline constexpr std::uint64_t kMarch2012 = 129'756'027'091'234'567;  // 03/07/2012 14:05:09.1234567
inline constexpr std::uint64_t kTickSecond = 10'000'000;

struct RowSpec {
  std::uint64_t record = 1;
  std::uint64_t event = 4624;
  std::uint64_t time = kMarch2012;
  std::uint32_t level = 4;
  std::string_view provider = {};
  std::string_view name = {};
  std::vector<std::pair<std::string_view, std::string_view>> values = {};  // sorted by name
};

inline const ColumnSet* AddColumns(EventRows& rows, const std::vector<std::string_view>& names) {
  std::vector<int> position_of;
  return AddColumnSet(rows, names, position_of);
}

// A collection whose rows are joined, as for CSV.
inline EventRows JoinedRows() {
  EventRows rows;
  rows.joined = {CellForm::kJoined, ',', MakeCellCleaner({',', ' '}, true)};
  return rows;
}

// The position of a query of that name, whichever.
inline std::uint32_t QueryPosition(EventRows& rows, std::string_view name) {
  const auto at = std::find(rows.query_names.begin(), rows.query_names.end(), name);
  const auto position = static_cast<std::uint32_t>(at - rows.query_names.begin());
  if (at == rows.query_names.end()) KeepQueryName(rows, position, name);
  return position;
}

inline void AddRow(EventRows& rows, const RowSpec& spec) {
  std::vector<std::string_view> names;
  std::vector<std::string_view> cells;
  for (const auto& [name, text] : spec.values) {
    names.push_back(name);
    cells.push_back(text);
  }
  std::vector<int> position_of;
  EventRecord row;
  row.eventRecordId = spec.record;
  row.eventId = spec.event;
  row.timeCreated = spec.time;
  row.level = spec.level;
  row.provider = ProviderNumber(rows, spec.provider);
  row.queryIndex = QueryPosition(rows, spec.name);
  row.columns = AddColumnSet(rows, names, position_of);
  AddRow(rows, row, cells);
}

// A row's own joined cells, of all its stretches.
inline std::string OwnCells(const EventRecord& row) {
  std::size_t stretches = 0;
  bool in_stretch = false;
  const std::size_t count = row.columns ? row.columns->names.size() : 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool own = !row.layout || !row.layout->cells[i].text;
    stretches += own && !in_stretch ? 1 : 0;
    in_stretch = own;
  }
  std::string cells;
  for (const char* at = row.dataItems; stretches > 0;) {
    const std::uint16_t head = TakePieceHead(at);
    std::string text(row.dataSize + 64, '\0');
    cells.append(text.data(), WritePiece(head, at, ',', text.data()));
    stretches -= (head & kLastPiece) != 0 ? 1 : 0;
  }
  return cells;
}

inline LogInfo LogAt(std::string_view path, bool is_evtx = true) {
  LogInfo log;
  log.path = path;
  log.is_evtx = is_evtx;
  return log;
}

}  // namespace tarnlex
