// Logs of 64 KiB that were made to cost as much as they can.
#pragma once

#include <string>
#include <vector>

#include "tests/support/put_bytes.h"

namespace tarnlex {

struct CraftedChunk {
  std::string name;
  support::ByteString bytes;  // exactly one chunk
};

std::vector<CraftedChunk> CraftedChunks();

// Whole files of 64 KiB or little more: all chunks as logs of one chunk, and logs of the older
// form.
struct CraftedLog {
  std::string name;
  support::ByteString bytes;
  std::string extension;
};

std::vector<CraftedLog> CraftedLogs();

// A file of a header and `copies` of a chunk.
support::ByteString FileOfChunks(const support::ByteString& chunk, int copies);

}  // namespace tarnlex
