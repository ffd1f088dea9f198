#include "output/picked_columns.h"

#include <algorithm>

#include "logs/text.h"

namespace tarnlex {
namespace {

struct FixedColumn {
  ColumnKind kind;
  std::string_view name;
};

constexpr FixedColumn kFixed[] = {
    {ColumnKind::kRecord, "Record#"},
    {ColumnKind::kEventId, "EventID"},
    {ColumnKind::kDate, "Date"},
    {ColumnKind::kTime, "Time-UTC"},
    {ColumnKind::kDateTime, "Date [UTC]"},
    {ColumnKind::kLevel, "Level"},
    {ColumnKind::kQueryName, "name"},
    {ColumnKind::kRecovered, "Recovered"},
    {ColumnKind::kOffset, "Offset"},
    {ColumnKind::kLog, "event log"},
    {ColumnKind::kProvider, "Provider Name"},
};

// What decides which fixed columns a table has.
struct TableTraits {
  bool is_evtx = true;
  bool paired = false;
  bool has_query_name = false;
  bool has_places = false;
};

bool HasColumn(const TableTraits& table, ColumnKind kind) {
  switch (kind) {
    case ColumnKind::kDate:
    case ColumnKind::kTime: return !table.paired;
    case ColumnKind::kDateTime: return table.paired;
    case ColumnKind::kQueryName: return table.has_query_name;
    case ColumnKind::kProvider: return table.is_evtx;
    case ColumnKind::kRecovered:
    case ColumnKind::kOffset: return table.has_places;
    default: return true;
  }
}

// What fills the column of that name.
ColumnKind KindOf(const TableTraits& table, std::string_view name) {
  for (const FixedColumn& fixed : kFixed) {
    if (EqualsNoCase(fixed.name, name) && HasColumn(table, fixed.kind)) return fixed.kind;
  }
  return ColumnKind::kValue;
}

std::vector<int> CellsOf(const PickedColumns& picked, const ColumnSet& set) {
  std::vector<int> cells;
  for (const PickedColumn& column : picked.columns) {
    const bool is_value = column.kind == ColumnKind::kValue;
    cells.push_back(is_value ? FindColumn(set, column.name, true) : -1);
  }
  return cells;
}

}  // namespace

std::string_view FixedColumnName(ColumnKind kind) {
  const auto* const fixed = std::find_if(std::begin(kFixed), std::end(kFixed),
                                         [kind](const FixedColumn& f) { return f.kind == kind; });
  return fixed == std::end(kFixed) ? std::string_view() : fixed->name;
}

PickedColumns PickColumns(const EventRows& rows, std::span<const std::uint32_t> group,
                          const std::vector<std::string>& names, bool is_evtx, bool paired) {
  const bool has_query_name = std::any_of(group.begin(), group.end(), [&](std::uint32_t number) {
    return !QueryNameOf(rows, rows.rows[number]).empty();
  });
  const TableTraits table{is_evtx, paired, has_query_name, rows.keeps_places};
  PickedColumns picked;
  for (const std::string& name : names) {
    picked.columns.push_back({name, KindOf(table, name)});
  }
  const ColumnSet* last = nullptr;
  for (const std::uint32_t number : group) {
    const ColumnSet* const set = rows.rows[number].columns;
    if (set == last || !set) continue;
    last = set;
    const auto [at, added] = picked.cells.try_emplace(set);
    if (added) at->second = CellsOf(picked, *set);
  }
  return picked;
}

void ReadPickedRow(const PickedColumns& picked, const EventRows& rows, std::uint32_t number,
                   PickedRow& read) {
  const EventRecord& row = rows.rows[number];
  read.row = &row;
  read.query_name = QueryNameOf(rows, row);
  read.provider = ProviderOf(rows, row);
  read.cells = row.columns ? &picked.cells.find(row.columns)->second : nullptr;
  if (row.columns) ReadCells(row, read.texts);
}

std::string_view PickedText(const PickedRow& row, std::size_t column) {
  const int cell = row.cells ? (*row.cells)[column] : -1;
  return cell < 0 ? std::string_view() : row.texts[static_cast<std::size_t>(cell)];
}

void NoteColumns(const EventRows& rows, const LogInfo& log, const RunOptions& options,
                 std::vector<std::string>& missing) {
  if (missing.empty()) return;
  const bool has_query_name =
      std::any_of(rows.rows.begin(), rows.rows.end(),
                  [&](const EventRecord& row) { return !QueryNameOf(rows, row).empty(); });
  const TableTraits table{log.is_evtx, options.pair_datetime, has_query_name, rows.keeps_places};
  std::erase_if(missing, [&](const std::string& name) {
    return KindOf(table, name) != ColumnKind::kValue ||
           std::any_of(rows.column_sets.begin(), rows.column_sets.end(),
                       [&](const auto& set) { return FindColumn(*set, name, true) >= 0; });
  });
}

}  // namespace tarnlex
