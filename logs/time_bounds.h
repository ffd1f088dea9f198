// The bounds of a span of time as an examiner types them.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarnlex {

struct TimeBounds {
  std::uint64_t start = 0;  // FILETIME; 0 is no bound
  std::uint64_t stop = 0;
  bool start_unreadable = false;
  bool stop_unreadable = false;
};

// Reads both; an empty text is no bound. Each is "MM/DD/YYYY HH:MM:SS" and its kin, a date and time
// of ISO 8601, "now", or a while before now ("-2d": w, d, h, m, s). A start so long before is
// counted back from the stop where that is a time by itself.
TimeBounds ReadTimeBounds(std::string_view start, std::string_view stop, std::uint64_t now);

// Reads a time that stands by itself: without "now", and no while.
bool ParseTimeByItself(std::string_view text, std::uint64_t& filetime);

}  // namespace tarnlex
