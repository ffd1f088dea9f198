#include "output/table_columns.h"

#include <algorithm>
#include <array>
#include <compare>
#include <map>
#include <numeric>
#include <utility>

#include "logs/text.h"
#include "output/cell_writer.h"

namespace tarnlex {
namespace {

struct GroupKey {
  std::uint64_t event_id = 0;
  std::uint32_t provider = 0;
  auto operator<=>(const GroupKey&) const = default;
};

// The numbers of groups. Events can be made up so that any hash of theirs is the same: what finds
// the groups of most rows is a look at the only place that a key may have.
struct GroupNumbers {
  static constexpr std::size_t kPlaces = 256;
  std::map<GroupKey, std::uint32_t> all;
  std::array<const std::pair<const GroupKey, std::uint32_t>*, kPlaces> recent = {};
};

std::size_t PlaceOf(const GroupKey& key) {
  constexpr int kPlaceShift = 56;
  static_assert(std::size_t{1} << (64 - kPlaceShift) == GroupNumbers::kPlaces);
  return ((key.event_id ^ std::uint64_t{key.provider} << 32) * 0x9E3779B97F4A7C15U) >> kPlaceShift;
}

// The group's number; `next` for a new one.
std::uint32_t NumberOf(GroupNumbers& numbers, const GroupKey& key, std::size_t next) {
  auto& recent = numbers.recent[PlaceOf(key)];
  if (!recent || recent->first != key) {
    recent = &*numbers.all.try_emplace(key, static_cast<std::uint32_t>(next)).first;
  }
  return recent->second;
}

struct Group {
  std::uint64_t event_id = 0;
  std::string_view provider;
  std::size_t rows = 0;
};

// Numbers the groups in the order of arrival; `group_of` gets each row's number.
std::vector<Group> FindGroups(const EventRows& rows, RowNumbers& group_of) {
  std::vector<Group> groups;
  GroupNumbers numbers;
  GroupKey last;
  std::uint32_t number = 0;
  group_of.reserve(rows.rows.size());
  for (const EventRecord& row : rows.rows) {
    const GroupKey key{row.eventId, row.provider};
    if (groups.empty() || key != last) {
      number = NumberOf(numbers, key, groups.size());
      if (number == groups.size()) groups.push_back({row.eventId, ProviderOf(rows, row), 0});
      last = key;
    }
    ++groups[number].rows;
    group_of.push_back(number);
  }
  return groups;
}

// As the texts order that spell a key: 16 hexadecimal digits of the identifier, the provider.
bool EarlierGroup(const Group& a, const Group& b) {
  return a.event_id != b.event_id ? a.event_id < b.event_id : a.provider < b.provider;
}

// Orders names of which every stretch up to one of `ends` is in order.
void MergeStretches(std::vector<std::string_view>& names, std::vector<std::ptrdiff_t> ends) {
  while (ends.size() > 1) {
    std::vector<std::ptrdiff_t> merged;
    std::ptrdiff_t begin = 0;
    for (std::size_t i = 1; i < ends.size(); i += 2) {
      std::inplace_merge(names.begin() + begin, names.begin() + ends[i - 1],
                         names.begin() + ends[i]);
      merged.push_back(begin = ends[i]);
    }
    if (ends.size() % 2 != 0) merged.push_back(ends.back());
    ends.swap(merged);
  }
}

void MergeNames(TableColumns& columns) {
  std::vector<std::ptrdiff_t> ends;
  for (const auto& [set, unused] : columns.positions) {
    columns.names.insert(columns.names.end(), set->names.begin(), set->names.end());
    ends.push_back(std::ssize(columns.names));
  }
  MergeStretches(columns.names, std::move(ends));
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
  CellReader reader = ReaderOf(row);
  for (const std::uint32_t position : columns.positions.find(row.columns)->second) {
    std::size_t& width = columns.widths[position];
    width = std::max(width, CountCellCharacters(NextCell(reader)));
  }
}

void Measure(TableColumns& columns, const EventRows& rows, std::span<const std::uint32_t> group) {
  columns.widths.assign(columns.names.size(), 0);
  columns.query_name_width = std::string_view("name").size();
  columns.provider_width = std::string_view("Provider Name").size();
  std::uint32_t query = ~std::uint32_t{0};
  std::uint32_t provider = 0;
  for (std::size_t i = 0; i < group.size(); ++i) {
    FetchAhead(rows, group, i);
    const EventRecord& row = rows.rows[group[i]];
    // These mostly are those of the row before.
    if (row.queryIndex != query) Widen(columns.query_name_width, QueryNameOf(rows, row));
    if (row.provider != provider) Widen(columns.provider_width, ProviderOf(rows, row));
    query = row.queryIndex;
    provider = row.provider;
    MeasureRow(columns, row);
  }
  for (std::size_t& width : columns.widths) {
    if (width >= kWidestField) width = kWideFieldWidth;
  }
}

}  // namespace

RowGroups GroupRows(const EventRows& rows, const RowNumbers& order) {
  RowNumbers group_of;
  const std::vector<Group> groups = FindGroups(rows, group_of);
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
  for (const std::uint32_t row : order) grouped.order[next[group_of[row]]++] = row;
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
    columns.has_query_name = columns.has_query_name || !QueryNameOf(rows, row).empty();
    if (row.columns == last || row.columns == nullptr) continue;
    last = row.columns;
    columns.positions.try_emplace(last);
  }
  MergeNames(columns);
  if (with_widths) Measure(columns, rows, group);
  return columns;
}

}  // namespace tarnlex
