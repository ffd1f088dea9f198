// The line that tells whoever waits at a terminal how far a run has come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnlex {

struct RunStatus {
  std::size_t report = 0;  // of several that the logs go through one after the other; else 0
  std::size_t reports = 0;
  std::size_t log = 0;                     // 0 while logs are looked for
  std::size_t logs = 0;                    // 0 when nobody knows, as paths are piped in
  std::string name = {};                   // of the log
  std::optional<std::uint64_t> part = {};  // of the run, else of the log, in per cent
  std::uint64_t megabytes_per_second = 0;
  std::optional<std::uint64_t> left = {};  // seconds
};

// How many columns of a terminal the text takes; letters of East Asia are two columns wide.
std::size_t TextColumns(std::string_view text);

// The status in a line of at most `columns`: of a name that is too long the end is shown, and what
// matters least is left out for it.
std::string StatusText(const RunStatus& status, std::size_t columns);

// The same for a log whose path was piped in, behind the text that stands for it.
std::string PipedStatusText(const RunStatus& status, std::size_t columns);

// Says in which log a run is, and how far: "log 3 of 12".
std::string PlaceText(const RunStatus& status);

}  // namespace tarnlex
