// What a file holds, by the bytes that it begins with: this alone decides which walk reads it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "logs/bytes.h"
#include "logs/platform.h"

namespace tarnlex {

enum class LogContent : std::uint8_t {
  kNone,
  kEvtx,
  kChunks,  // EVTX without a file header: cut out of a log, of memory or of unallocated space
  kEvt,     // whatever size its header states
};

// Bytes that have to be looked at.
inline constexpr std::size_t kContentBytes = 8;

// `head` are the first bytes of the file; fewer than kContentBytes are no log.
LogContent ContentOf(Bytes head);

// The same for an open file. A `complete` judgement also knows an EVTX log whose file header is
// damaged, by the chunk behind it.
LogContent ContentOf(const InputFile& file, bool complete);

// The same for the file at `path`; kNone when it cannot be read.
LogContent ContentOfFile(const std::string& path);

}  // namespace tarnlex
