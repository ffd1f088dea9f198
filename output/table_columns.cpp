#include "output/table_columns.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <utility>

#include "logs/text.h"
#include "output/cell_writer.h"

namespace tarnlex {
namespace {

struct GroupKey {
  std::uint64_t event_id = 0;
  std::string_view provider;
  bool operator==(const GroupKey&) const = default;
};

struct HashGroupKey {
  std::size_t operator()(const GroupKey& key) const {
    return std::hash<std::string_view>{}(key.provider) ^ (key.event_id * 0x9E3779B97F4A7C15U);
  }
};

struct Group {
  GroupKey key;
  std::size_t rows = 0;
};

// Numbers the groups in the order in which they are met; `group_of` gets the number of each row of
// `order`.
std::vector<Group> FindGroups(const EventRows& rows, const RowNumbers& order,
                              RowNumbers& group_of) {
  std::vector<Group> groups;
  std::unordered_map<GroupKey, std::uint32_t, HashGroupKey> numbers;
  group_of.reserve(order.size());
  for (const std::uint32_t number : order) {
    const EventRecord& row = rows.rows[number];
    const GroupKey key{row.eventId, row.providerName};
    const auto [at, added] = numbers.try_emplace(key, static_cast<std::uint32_t>(groups.size()));
    if (added) groups.push_back({key, 0});
    ++groups[at->second].rows;
    group_of.push_back(at->second);
  }
  return groups;
}

// As the texts order that spell a key: 16 hexadecimal digits of the identifier, the provider.
bool EarlierGroup(const Group& a, const Group& b) {
  if (a.key.event_id != b.key.event_id) return a.key.event_id < b.key.event_id;
  return a.key.provider < b.key.provider;
}

void MergeNames(TableColumns& columns) {
  for (const auto& [set, unused] : columns.positions) {
    columns.names.insert(columns.names.end(), set->names.begin(), set->names.end());
  }
  std::sort(columns.names.begin(), columns.names.end());
  columns.names.erase(std::unique(columns.names.begin(), columns.names.end()), columns.names.end());
  for (auto& [set, positions] : columns.positions) {
    auto at = columns.names.begin();
    for (const std::string_view name : set->names) {
      at = std::lower_bound(at, columns.names.end(), name);
      positions.push_back(static_cast<std::uint32_t>(at - columns.names.begin()));
    }
  }
}

void Widen(std::size_t& width, std::string_view text) {
  width = std::max(width, CountCodePoints(text));
}

void MeasureRow(TableColumns& columns, const EventRecord& row) {
  if (row.columns == nullptr) return;
  CellReader reader{row.dataItems};
  for (const std::uint32_t position : columns.positions.find(row.columns)->second) {
    std::size_t& width = columns.widths[position];
    width = std::max(width, CountCellCharacters(NextCell(reader)));
  }
}

void Measure(TableColumns& columns, const EventRows& rows, std::span<const std::uint32_t> group) {
  columns.widths.assign(columns.names.size(), 0);
  columns.query_name_width = std::string_view("name").size();
  columns.provider_width = std::string_view("Provider Name").size();
  std::string_view query_name;
  std::string_view provider;
  for (std::size_t i = 0; i < group.size(); ++i) {
    FetchAhead(rows, group, i);
    const EventRecord& row = rows.rows[group[i]];
    // These mostly are the very text of the row before.
    if (row.queryName.data() != query_name.data()) Widen(columns.query_name_width, row.queryName);
    if (row.providerName.data() != provider.data()) Widen(columns.provider_width, row.providerName);
    query_name = row.queryName;
    provider = row.providerName;
    MeasureRow(columns, row);
  }
  for (std::size_t& width : columns.widths) {
    if (width >= kWidestField) width = kWideFieldWidth;
  }
}

}  // namespace

RowGroups GroupRows(const EventRows& rows, RowNumbers order) {
  RowNumbers group_of;
  const std::vector<Group> groups = FindGroups(rows, order, group_of);
  RowNumbers sorted(groups.size());
  std::iota(sorted.begin(), sorted.end(), 0U);
  std::sort(sorted.begin(), sorted.end(), [&groups](std::uint32_t a, std::uint32_t b) {
    return EarlierGroup(groups[a], groups[b]);
  });
  RowGroups grouped;
  std::vector<std::size_t> next(groups.size());
  std::size_t end = 0;
  for (const std::uint32_t group : sorted) {
    next[group] = end;
    end += groups[group].rows;
    grouped.ends.push_back(end);
  }
  grouped.order.resize(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    grouped.order[next[group_of[i]]++] = order[i];
  }
  return grouped;
}

RowGroups OneGroup(RowNumbers order) {
  RowGroups grouped;
  grouped.ends.push_back(order.size());
  grouped.order = std::move(order);
  return grouped;
}

TableColumns MakeTableColumns(const EventRows& rows, std::span<const std::uint32_t> group,
                              bool with_widths) {
  TableColumns columns;
  const ColumnSet* last = nullptr;
  for (const std::uint32_t number : group) {
    const EventRecord& row = rows.rows[number];
    columns.has_query_name = columns.has_query_name || !row.queryName.empty();
    if (row.columns == last || row.columns == nullptr) continue;
    last = row.columns;
    columns.positions.try_emplace(last);
  }
  MergeNames(columns);
  if (with_widths) Measure(columns, rows, group);
  return columns;
}

}  // namespace tarnlex
