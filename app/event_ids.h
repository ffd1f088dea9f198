// The list of -eventid.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "logs/run_options.h"

namespace tarnlex {

struct EventIdList {
  std::vector<std::uint64_t> ids;
  std::vector<IdRange> ranges;
  std::vector<std::string> unreadable;  // pieces that are no number
  std::vector<std::string> cut;         // pieces that begin with a number, which counts
};

// Cuts the list at its commas and semicolons, else at its bars, else at its blanks.
EventIdList ReadEventIds(std::string_view list);

}  // namespace tarnlex
