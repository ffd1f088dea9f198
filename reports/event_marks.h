// Which events a run has come across: a flat table of their hashes, sixteen bytes for each of them,
// with what was done with it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "logs/sip_hash.h"

namespace tarnlex {

// What is noted of an event, as bits; the lowest ones of its hash make room for them.
enum EventMark : std::uint8_t {
  kCounted = 1,
  kGiven = 2,
  kCountedLive = 4,  // it will be counted, as a record that a log has
  kGivenLive = 8,    // the same of being given
};
inline constexpr std::uint64_t kAllMarks = 15;

// The events that share the first bits of their hash. They have a table to themselves, so that not
// all have to move when one grows.
struct MarkedPart {
  std::unique_ptr<Hash128[]> places;  // without marks: free
  std::size_t size = 0;               // a power of two
  std::size_t count = 0;
};
inline constexpr std::size_t kMarkedParts = 64;

struct MarkedEvents {
  std::array<MarkedPart, kMarkedParts> parts;
  std::uint64_t count = 0;
  std::uint64_t bytes = 0;
  std::uint64_t most_bytes = ~std::uint64_t{0};
  bool full = false;           // there is no memory for more
  std::uint64_t not_kept = 0;  // marks that there was no place for
};

// Adds marks to those of an event, unless it has one of `unless`: then it stays as it is, and the
// answer is false. It is true for an event that there is no place for: nothing is known of it.
bool AddMarks(MarkedEvents& events, const Hash128& event, std::uint8_t marks, std::uint8_t unless);

}  // namespace tarnlex
