#include "reports/evtx_cells.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "logs/text.h"

namespace tarnlex {

const ColumnSet* AddColumnsInOrder(EventRows& rows, const std::vector<std::string_view>& names,
                                   std::vector<std::uint32_t>& order) {
  std::vector<int> position_of;
  const ColumnSet* columns = AddColumnSet(rows, names, position_of);
  order.assign(columns->names.size(), 0);
  for (std::size_t i = 0; i < position_of.size(); ++i) {
    if (position_of[i] < 0) continue;
    order[static_cast<std::size_t>(position_of[i])] = static_cast<std::uint32_t>(i);
  }
  return columns;
}

std::uint32_t LevelOf(std::string_view text) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(LeadingNumber(text), kMax));
}

}  // namespace tarnlex
