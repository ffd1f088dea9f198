#include "reports/event_marks.h"

#include <algorithm>
#include <new>
#include <utility>

#include "logs/platform.h"

namespace tarnlex {
namespace {

constexpr std::size_t kFewestPlaces = 64;
constexpr std::uint64_t kWorthAsking = std::uint64_t{64} << 20;  // of all parts
constexpr unsigned kPartBits = 6;
static_assert(std::size_t{1} << kPartBits == kMarkedParts);

bool IsFree(const Hash128& place) { return (place.low & kAllMarks) == 0; }

bool IsSame(const Hash128& a, const Hash128& b) {
  return a.high == b.high && ((a.low ^ b.low) & ~kAllMarks) == 0;
}

// The place of an event, or the free one where it belongs; there always is a free one.
Hash128& PlaceOf(MarkedPart& part, const Hash128& event) {
  const std::size_t mask = part.size - 1;
  std::size_t at = static_cast<std::size_t>(event.high) & mask;
  while (!IsFree(part.places[at]) && !IsSame(part.places[at], event)) at = (at + 1) & mask;
  return part.places[at];
}

// Whether so much more memory may be asked for. A system that promises more than it has ends
// programs that use it.
bool MayTake(const MarkedEvents& events, std::uint64_t bytes) {
  if (bytes > events.most_bytes - std::min(events.bytes, events.most_bytes)) return false;
  return events.bytes < kWorthAsking || bytes <= AvailableMemory().value_or(~std::uint64_t{0});
}

// Gives a part twice the places; false when there is no memory for them.
bool Grow(MarkedEvents& events, MarkedPart& part) {
  MarkedPart grown;
  grown.size = std::max(kFewestPlaces, 2 * part.size);
  const std::uint64_t bytes = grown.size * sizeof(Hash128);
  if (MayTake(events, bytes)) grown.places.reset(new (std::nothrow) Hash128[grown.size]());
  if (!grown.places) return false;
  for (std::size_t i = 0; i < part.size; ++i) {
    if (!IsFree(part.places[i])) PlaceOf(grown, part.places[i]) = part.places[i];
  }
  grown.count = part.count;
  events.bytes += bytes - part.size * sizeof(Hash128);
  part = std::move(grown);
  return true;
}

// Whether one more event has a place. Where no more memory is to be had, more of what there is is
// used.
bool HasRoom(MarkedEvents& events, MarkedPart& part) {
  if (4 * (part.count + 1) <= 3 * part.size) return true;
  if (!events.full && Grow(events, part)) return true;
  events.full = true;
  return 8 * (part.count + 1) <= 7 * part.size;
}

}  // namespace

bool AddMarks(MarkedEvents& events, const Hash128& event, std::uint8_t marks, std::uint8_t unless) {
  MarkedPart& part = events.parts[static_cast<std::size_t>(event.high >> (64 - kPartBits))];
  if (part.size > 0) {
    Hash128& known = PlaceOf(part, event);
    if (!IsFree(known)) {
      if ((known.low & unless) != 0) return false;
      known.low |= marks;
      return true;
    }
  }
  if (!HasRoom(events, part)) {
    ++events.not_kept;
    return true;
  }
  PlaceOf(part, event) = {(event.low & ~kAllMarks) | marks, event.high};
  ++part.count;
  ++events.count;
  return true;
}

}  // namespace tarnlex
