// Tables of the columns that were asked for, in that order.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "output/event_rows.h"
#include "output/table_cells.h"

namespace tarnlex {

// One table of the rows of `group`, which may not be joined. Padded columns are as wide as their
// names at least.
void WritePickedTable(TableWriter& table, const EventRows& rows,
                      std::span<const std::uint32_t> group, const std::vector<std::string>& names);

}  // namespace tarnlex
