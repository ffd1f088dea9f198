// When a table would consist of empty cells. Rows that share no columns leave most of their table's
// cells empty, and how many that are goes with the square of the rows: a crafted log of 64 KiB
// would make gigabytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "output/event_rows.h"

namespace tarnlex {

// How many cells there may be for one that holds something. Real logs stay far below 64 within a
// group and 256 without groups.
struct EmptyBound {
  std::size_t per_filled = 0;
  std::size_t filled = 0;  // of the rows so far, one more for each row
};

// Whether the rows of `group` would leave a table of `columns` columns mostly empty.
bool IsMostlyEmpty(const EventRows& rows, std::span<const std::uint32_t> group, EmptyBound bound,
                   std::size_t columns);

// As many rows from the group's beginning, one at least, as make a table that is not mostly empty,
// whichever names they share.
std::size_t RowsForATable(const EventRows& rows, std::span<const std::uint32_t> group,
                          EmptyBound bound);

}  // namespace tarnlex
