#include "evt/copies.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

#include "evt/evt_format.h"

namespace tarnlex {
namespace {

// Four million records and more are kept, in 64 MiB.
constexpr std::size_t kFewestPlaces = std::size_t{1} << 12;
constexpr std::size_t kMostPlaces = std::size_t{1} << 23;

// More than that only crafted records ask for.
constexpr int kMostProbes = 256;
constexpr int kMostCompared = 4;

constexpr std::uint64_t kOffsetBits = 0xFFFFFFFF;

// The fixed part tells all records but crafted ones apart. Offsets fit into half a place, as no log
// of more than 4 GiB is walked.
std::uint64_t PlaceOf(std::uint64_t offset, Bytes record) {
  const Bytes fixed = Clip(record, 0, kEvtFixedSize);
  const std::string_view text(reinterpret_cast<const char*>(fixed.data()), fixed.size());
  return (std::hash<std::string_view>{}(text) & ~kOffsetBits) | offset;
}

bool SameHash(std::uint64_t a, std::uint64_t b) { return ((a ^ b) & ~kOffsetBits) == 0; }

bool SameBytes(EvtCopies& copies, const EvtLog& log, std::uint64_t offset, Bytes record) {
  const Bytes other = Stretch(log, offset, record.size(), copies.room);
  return std::equal(record.begin(), record.end(), other.begin(), other.end());
}

// The `probe`th place to look at.
std::size_t Probed(const EvtCopies& copies, std::uint64_t place, int probe) {
  return ((place >> 32) + static_cast<std::size_t>(probe)) & (copies.places.size() - 1);
}

void Keep(EvtCopies& copies, std::uint64_t place) {
  for (int probe = 0; probe < kMostProbes; ++probe) {
    std::uint64_t& at = copies.places[Probed(copies, place, probe)];
    if (at != 0) continue;
    at = place;
    ++copies.count;
    return;
  }
  ++copies.not_kept;
}

void Grow(EvtCopies& copies) {
  std::vector<std::uint64_t> old(std::max(kFewestPlaces, 2 * copies.places.size()));
  std::swap(old, copies.places);
  copies.count = 0;
  for (const std::uint64_t place : old) {
    if (place != 0) Keep(copies, place);
  }
}

bool IsKept(EvtCopies& copies, const EvtLog& log, std::uint64_t place, Bytes record) {
  int compared = 0;
  for (int probe = 0; probe < kMostProbes && compared < kMostCompared; ++probe) {
    const std::uint64_t other = copies.places[Probed(copies, place, probe)];
    if (other == 0) return false;
    if (!SameHash(place, other)) continue;
    if (SameBytes(copies, log, other & kOffsetBits, record)) return true;
    ++compared;
  }
  return false;
}

}  // namespace

bool IsCopy(EvtCopies& copies, const EvtLog& log, std::uint64_t offset, Bytes record) {
  const bool full = 2 * copies.count >= copies.places.size();
  if (full && copies.places.size() < kMostPlaces) Grow(copies);
  const std::uint64_t place = PlaceOf(offset, record);
  if (IsKept(copies, log, place, record)) return true;
  if (full && copies.places.size() == kMostPlaces) {
    ++copies.not_kept;
  } else {
    Keep(copies, place);
  }
  return false;
}

}  // namespace tarnlex
