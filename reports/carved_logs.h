// Logs made of what was found in images, for other readers: a file for each channel and computer,
// whose header is made anew; chunks and records stay as they were found.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "logs/bytes.h"
#include "logs/platform.h"

namespace tarnlex {

// One of them while it is written, under another name than it will have.
struct CarvedLog {
  std::string name;  // in the folder
  bool is_evtx = true;
  std::uint64_t size = 0;    // so far, the header included
  std::uint64_t chunks = 0;  // of EVTX
  std::uint64_t first_id = 0;
  std::uint64_t last_id = 0;
};

// What tells the logs apart.
inline constexpr std::size_t kLongestCarvedName = 256;  // more of a name tells nothing
struct CarvedLogKey {
  bool is_evtx = true;
  std::string channel;
  std::string computer;
  auto operator<=>(const CarvedLogKey&) const = default;
};

struct CarvedLogs {
  std::string folder;
  std::map<CarvedLogKey, CarvedLog> logs;
  std::set<std::string> names;              // lower-cased: that were given away
  std::map<std::string, int> next_numbers;  // of names that are asked for again, lower-cased
  std::set<std::string> images;             // that were searched already
  const CarvedLog* current = nullptr;       // the one file that is open
  NewFile file = {};
  std::uint64_t made = 0;  // files that are finished
  std::string failed;      // the first file that could not be written
};

// Adds a chunk, of which `size` bytes were found; the rest is filled with zeros. `last_id` is the
// highest identifier of its records.
void KeepChunk(CarvedLogs& carved, CarvedLogKey key, Bytes chunk, std::uint64_t last_id);

// Adds an EVT record.
void KeepEvtRecord(CarvedLogs& carved, CarvedLogKey key, Bytes record, std::uint32_t number);

// Writes the headers and gives the files their names: those of channel and computer, with a number
// behind them where something has that name already. Nothing that stands there is written to.
void FinishCarvedLogs(CarvedLogs& carved);

}  // namespace tarnlex
