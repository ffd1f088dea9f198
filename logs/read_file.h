// Reading a stretch of a file whole, and telling files apart by what they begin with.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "logs/bytes.h"
#include "logs/platform.h"

namespace tarnlex {

// Fills `to` from `offset` on; a single read may give less than was asked for. Returns how many
// bytes came: fewer than wanted only where the file ends or a read fails.
inline std::size_t ReadFully(const InputFile& file, std::uint64_t offset,
                             std::span<std::uint8_t> to) {
  std::size_t filled = 0;
  while (filled < to.size()) {
    const std::size_t came = file.read(offset + filled, to.subspan(filled));
    if (came == 0) break;
    filled += came;
  }
  return filled;
}

inline bool BeginsWith(Bytes bytes, std::string_view signature) {
  return bytes.size() >= signature.size() &&
         std::equal(signature.begin(), signature.end(), bytes.begin());
}

}  // namespace tarnlex
