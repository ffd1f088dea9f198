// The order in which rows are written.
#pragma once

#include <cstdint>
#include <vector>

#include "output/event_rows.h"

namespace tarnlex {

// Positions in EventRows::rows.
using RowNumbers = std::vector<std::uint32_t>;

// All rows by time created, then record identifier, then arrival. The rows stay where they are.
RowNumbers OrderRows(const EventRows& rows);

}  // namespace tarnlex
