// The bytes of an EVT log while it is walked: all of them, or a window that moves through a file,
// since such a file may claim 4 GiB without being worth the memory.
#pragma once

#include <cstdint>

#include "logs/bytes.h"
#include "logs/platform.h"
#include "logs/read_file.h"

namespace tarnlex {

struct EvtLog {
  std::uint64_t size = 0;           // of the whole log
  std::uint64_t begin = 0;          // of `part` in the log
  Bytes part;                       // what is in memory
  const InputFile* file = nullptr;  // where the rest is; null when `part` is the whole log
};

// A log that is in memory as a whole.
inline EvtLog WholeEvtLog(Bytes bytes) { return {bytes.size(), 0, bytes, nullptr}; }

// Up to `size` bytes at `offset`, fewer where the log ends: from the part in memory when they lie
// there, else read into `room`, which must stay for as long as the result is used.
Bytes Stretch(const EvtLog& log, std::uint64_t offset, std::uint64_t size, FileBytes& room);

// Makes `size` bytes at `offset` (fewer where the log ends) lie in the part in memory, which may be
// moved into `window` for it. A file that turns out shorter than it was makes the log shorter.
void ShowInWindow(EvtLog& log, std::uint64_t offset, std::uint64_t size, FileBytes& window);

}  // namespace tarnlex
