#include "output/empty_cells.h"

#include <set>

namespace tarnlex {
namespace {

bool IsPassed(const EmptyBound& bound, std::size_t rows, std::size_t columns) {
  constexpr std::size_t kAlwaysFine = std::size_t{16} << 10;
  return rows * columns > kAlwaysFine && rows * columns / bound.per_filled > bound.filled;
}

std::size_t NamesOf(const EventRecord& row) { return row.columns ? row.columns->names.size() : 0; }

}  // namespace

bool IsMostlyEmpty(const EventRows& rows, std::span<const std::uint32_t> group, EmptyBound bound,
                   std::size_t columns) {
  for (const std::uint32_t number : group) bound.filled += 1 + NamesOf(rows.rows[number]);
  return IsPassed(bound, group.size(), columns);
}

std::size_t RowsForATable(const EventRows& rows, std::span<const std::uint32_t> group,
                          EmptyBound bound) {
  std::set<const ColumnSet*> sets;
  std::size_t columns = 0;
  for (std::size_t i = 0; i < group.size(); ++i) {
    const EventRecord& row = rows.rows[group[i]];
    if (sets.insert(row.columns).second) columns += NamesOf(row);
    bound.filled += 1 + NamesOf(row);
    if (i > 0 && IsPassed(bound, i + 1, columns)) return i;
  }
  return group.size();
}

}  // namespace tarnlex
