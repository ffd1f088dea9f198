// SipHash-2-4 with a result of 128 bits, as its authors publish it: whoever does not know the key
// can make no two texts with one hash, however many hashes of his choice he sees the effects of.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

struct HashKey {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
};

// A key that nobody can know beforehand.
HashKey RandomHashKey();

struct Hash128 {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  bool operator==(const Hash128&) const = default;
};

// A hash of bytes that come piece by piece; where one piece ends and the next begins makes no
// difference.
struct SipHash {
  std::array<std::uint64_t, 4> state{};
  std::array<std::uint8_t, 8> rest{};  // bytes that do not fill a word yet
  std::uint64_t size = 0;              // of all bytes so far
};

SipHash BeginSipHash(HashKey key);
void AddBytes(SipHash& hash, Bytes bytes);
Hash128 EndSipHash(SipHash hash);

Hash128 HashBytes(HashKey key, Bytes bytes);

}  // namespace tarnlex
