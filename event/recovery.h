// What is said of a record that no walk over a log in use comes to: where it was found, and what
// the bytes around it still prove.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarnlex {

// Where a record stands.
enum class FoundIn : std::uint8_t {
  kLog,       // among the records that the log has: nothing was recovered
  kSlack,     // in what a chunk, or the log, does not use any more
  kUnsigned,  // in a slot of the size of a chunk without a chunk's signature
  kTail,      // behind the last whole slot
  kCarved,    // in a raw image, in a log or not
  kCount
};

// What of it is vouched for.
enum class Checked : std::uint8_t {
  kAll,     // every value, and its name
  kSystem,  // what every event says of itself; its own data without names
  kNone,    // identifier and time, and values without names as far as they can be read
  kCount
};

struct Recovery {
  FoundIn from = FoundIn::kLog;
  Checked checked = Checked::kAll;
  bool has_values = true;  // false: nothing but what its head says
};

inline bool IsRecovered(const Recovery& recovery) { return recovery.from != FoundIn::kLog; }

constexpr std::string_view NameOf(FoundIn from) {
  constexpr std::string_view kNames[] = {"log", "slack", "unsigned", "tail", "carved"};
  return kNames[static_cast<std::size_t>(from)];
}

constexpr std::string_view NameOf(Checked checked) {
  constexpr std::string_view kNames[] = {"all", "system", "none"};
  return kNames[static_cast<std::size_t>(checked)];
}

// What was recovered of one log.
struct RecoveryCounts {
  bool asked = false;  // false: nothing was looked for
  std::array<std::uint64_t, static_cast<std::size_t>(FoundIn::kCount)> from{};
  std::array<std::uint64_t, static_cast<std::size_t>(Checked::kCount)> checked{};
  std::uint64_t copies = 0;        // of records that the log has; not given
  std::uint64_t outside = 0;       // recovered or copies, in slots without a signature or the tail
  std::uint64_t not_compared = 0;  // records of the log that could not be kept for that
};

constexpr void CountRecovered(RecoveryCounts& counts, const Recovery& recovery) {
  ++counts.from[static_cast<std::size_t>(recovery.from)];
  ++counts.checked[static_cast<std::size_t>(recovery.checked)];
}

constexpr RecoveryCounts& operator+=(RecoveryCounts& sum, const RecoveryCounts& more) {
  sum.asked |= more.asked;
  for (std::size_t i = 0; i < sum.from.size(); ++i) sum.from[i] += more.from[i];
  for (std::size_t i = 0; i < sum.checked.size(); ++i) sum.checked[i] += more.checked[i];
  sum.copies += more.copies;
  sum.outside += more.outside;
  sum.not_compared += more.not_compared;
  return sum;
}

}  // namespace tarnlex
