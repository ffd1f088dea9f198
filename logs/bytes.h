// Raw bytes of a log and the only functions that read numbers out of them. Every offset and length
// that comes from a file passes through Fits before it is used.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace tarnlex {

static_assert(std::endian::native == std::endian::little, "both log formats are little-endian");

// Bytes of a file; std::string_view is for text only.
using Bytes = std::span<const std::uint8_t>;

// True when `size` bytes at `offset` lie inside a buffer of `total` bytes; no sum can wrap.
constexpr bool Fits(std::uint64_t total, std::uint64_t offset, std::uint64_t size) {
  return offset <= total && size <= total - offset;
}

constexpr bool Fits(Bytes bytes, std::uint64_t offset, std::uint64_t size) {
  return Fits(bytes.size(), offset, size);
}

// The little-endian number at `at`; the caller has made sure that it lies inside its buffer.
template <typename T>
T Load(const std::uint8_t* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

// Whether two stretches of so many bytes are the same. Most are a few bytes, which are less than a
// call costs.
inline bool SameBytes(const std::uint8_t* a, const std::uint8_t* b, std::size_t size) {
  using Word = std::uint64_t;
  using Half = std::uint32_t;
  constexpr std::size_t kFew = 128;
  const auto same = [a, b]<typename T>(T, std::size_t at) {
    return Load<T>(a + at) == Load<T>(b + at);
  };
  if (size > kFew) return std::memcmp(a, b, size) == 0;
  if (size >= sizeof(Word)) {
    for (std::size_t at = 0; at + sizeof(Word) <= size; at += sizeof(Word)) {
      if (!same(Word{}, at)) return false;
    }
    return same(Word{}, size - sizeof(Word));
  }
  if (size >= sizeof(Half)) return same(Half{}, 0) && same(Half{}, size - sizeof(Half));
  return std::equal(a, a + size, b);
}

// The number at `offset`; false (and 0) when it does not lie inside `bytes`.
template <typename T>
bool ReadAt(Bytes bytes, std::uint64_t offset, T& value) {
  value = 0;
  if (!Fits(bytes, offset, sizeof(T))) return false;
  value = Load<T>(bytes.data() + offset);
  return true;
}

// The part of `bytes` at `offset`, cut at the end of `bytes`; empty when it begins behind it.
inline Bytes Clip(Bytes bytes, std::uint64_t offset, std::uint64_t size) {
  if (offset >= bytes.size()) return {};
  const std::uint64_t left = bytes.size() - offset;
  return bytes.subspan(static_cast<std::size_t>(offset),
                       static_cast<std::size_t>(size < left ? size : left));
}

// Reads forward through a buffer. The first read that does not fit sets `failed`; from then on
// every read gives 0 and the position stays, so a structure can be read whole and tested once.
struct ByteReader {
  Bytes bytes;
  std::size_t pos = 0;
  bool failed = false;
};

template <typename T>
T Read(ByteReader& in) {
  if (in.failed || !Fits(in.bytes, in.pos, sizeof(T))) {
    in.failed = true;
    return 0;
  }
  const T value = Load<T>(in.bytes.data() + in.pos);
  in.pos += sizeof(T);
  return value;
}

// Steps over `size` bytes.
inline void Skip(ByteReader& in, std::uint64_t size) {
  if (in.failed || !Fits(in.bytes, in.pos, size)) {
    in.failed = true;
    return;
  }
  in.pos += static_cast<std::size_t>(size);
}

}  // namespace tarnlex
