// Looks through bytes of any kind for what speaks of an event log: the search that a raw image goes
// through, so it has to keep up with reading it.
#pragma once

#include <cstddef>

#include "logs/bytes.h"

namespace tarnlex {

enum class LogMark : std::uint8_t {
  kNone,
  kChunk,       // "ElfC", which begins a chunk
  kRecord,      // "**" and two zero bytes, which begin a record
  kEvtMessage,  // "LfLe", four bytes behind the beginning of an EVT record or header
};

struct MarkPlace {
  LogMark mark = LogMark::kNone;
  std::size_t at = 0;  // the end of the bytes where there is none
};

// The first mark that begins at or behind `from`.
MarkPlace NextMark(Bytes bytes, std::size_t from);

}  // namespace tarnlex
