// What was found in a raw image, and where.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "logs/bytes.h"

namespace tarnlex {

// A part of an image that is in memory.
struct ImagePart {
  Bytes bytes;
  std::uint64_t begin = 0;  // in the image
};

// The bytes of a part from `offset` of the image on.
inline Bytes From(const ImagePart& part, std::uint64_t offset) {
  return Clip(part.bytes, offset - part.begin, part.bytes.size());
}

// What stands behind the name of an image where something was found in it: its offset, as twelve
// hexadecimal digits or more.
inline constexpr std::uint64_t kNoSource = ~std::uint64_t{0};
std::string SourceText(std::uint64_t offset);

// A chunk whose header was found.
struct CarvedChunk {
  std::uint64_t offset = 0;   // in the image
  std::uint64_t records = 0;  // that were given of it
  bool sound = false;         // both of its checksums hold
};
inline constexpr std::size_t kMostCarvedListed = 1000;

struct CarveCounts {
  std::uint64_t chunks = 0;
  std::uint64_t sound_chunks = 0;
  std::uint64_t in_chunks = 0;    // records that lie in what these take, used or not
  std::uint64_t outside = 0;      // other records of EVTX logs
  std::uint64_t evt_headers = 0;  // of files
  std::uint64_t evt_records = 0;
  std::uint64_t searched = 0;     // bytes that were read
  std::uint64_t holes = 0;        // that the file system keeps no bytes of
  std::uint64_t unread = 0;       // that could not be read
  std::uint64_t kept = 0;         // chunks and EVT records that logs were made of
  std::vector<CarvedChunk> list;  // at most kMostCarvedListed
};

}  // namespace tarnlex
