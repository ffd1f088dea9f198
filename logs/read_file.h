// Reading a stretch of a file whole, and telling files apart by what they begin with.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
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

// Bytes read from a file; not cleared before they are filled, nor given back between reads.
struct FileBytes {
  std::unique_ptr<std::uint8_t[]> bytes;
  std::size_t capacity = 0;
};

// Up to `size` bytes at `offset`, fewer where the file ends or a read fails. The result lies in
// `room` and stays until that is used again.
inline Bytes ReadInto(const InputFile& file, std::uint64_t offset, std::uint64_t size,
                      FileBytes& room) {
  const auto wanted = static_cast<std::size_t>(size);
  if (room.capacity < wanted) {
    room.bytes = std::make_unique_for_overwrite<std::uint8_t[]>(wanted);
    room.capacity = wanted;
  }
  return {room.bytes.get(), ReadFully(file, offset, {room.bytes.get(), wanted})};
}

inline bool BeginsWith(Bytes bytes, std::string_view signature) {
  return bytes.size() >= signature.size() &&
         std::equal(signature.begin(), signature.end(), bytes.begin());
}

}  // namespace tarnlex
