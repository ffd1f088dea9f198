#include "evt/ring.h"

#include <algorithm>
#include <vector>

#include "evt/evt_format.h"

namespace tarnlex {
namespace {

// More than that only a crafted log has; then none of them is believed.
constexpr std::size_t kMostEndRecords = 64;

// An end-of-file record that says of itself where it stands.
bool ReadEndRecord(Bytes bytes, std::uint64_t offset, EvtRing& ring) {
  if (bytes.size() < kEvtEndRecordSize) return false;
  const std::uint8_t* const at = bytes.data();
  for (std::size_t i = 0; i < 4; ++i) {
    if (Load<std::uint32_t>(at + 4 * (i + 1)) != kEvtEndMark * (i + 1)) return false;
  }
  ring = {true, Load<std::uint32_t>(at + 20), Load<std::uint32_t>(at + 24),
          Load<std::uint32_t>(at + 32), Load<std::uint32_t>(at + 28)};
  return Load<std::uint32_t>(at) == kEvtEndRecordSize &&
         Load<std::uint32_t>(at + 36) == kEvtEndRecordSize && ring.end == offset &&
         ring.begin >= kEvtHeaderUsed && ring.oldest_record <= ring.next_record;
}

// The ring of a log that was closed. The header of another is out of date.
bool ReadClosedRing(const EvtLog& log, FileBytes& room, EvtRing& ring) {
  const Bytes head = Stretch(log, 0, kEvtHeaderUsed, room);
  std::uint32_t end = 0;
  std::uint32_t flags = 0;
  if (!ReadAt(head, 20, end) || !ReadAt(head, 36, flags)) return false;
  if ((flags & kEvtHeaderDirty) != 0) return false;
  return ReadEndRecord(Stretch(log, end, kEvtEndRecordSize, room), end, ring);
}

std::vector<EvtRing> FindEndRecords(EvtLog& log, FileBytes& window) {
  std::vector<EvtRing> rings;
  std::uint64_t at = kEvtHeaderUsed;
  while (Fits(log.size, at, kEvtEndRecordSize) && rings.size() <= kMostEndRecords) {
    ShowInWindow(log, at, kEvtEndRecordSize, window);
    if (!Fits(log.part, at - log.begin, kEvtEndRecordSize)) break;
    const Bytes part = Clip(log.part, at - log.begin, log.part.size());
    const std::uint8_t* const begin = part.data();
    const std::uint8_t* const end =
        begin + ((part.size() - kEvtEndRecordSize) / kEvtAlignment + 1) * kEvtAlignment;
    for (const std::uint8_t* record = begin; record != end; record += kEvtAlignment) {
      if (Load<std::uint32_t>(record + sizeof(std::uint32_t)) != kEvtEndMark) continue;
      const std::uint64_t offset = at + static_cast<std::uint64_t>(record - begin);
      EvtRing ring;
      if (ReadEndRecord({record, kEvtEndRecordSize}, offset, ring)) rings.push_back(ring);
    }
    at += static_cast<std::uint64_t>(end - begin);
  }
  return rings;
}

// Whether another end-of-file record stands in the ring.
bool HoldsAnother(const EvtRing& ring, const std::vector<EvtRing>& rings) {
  return std::any_of(rings.begin(), rings.end(),
                     [&](const EvtRing& other) { return IsInRing(ring, other.end); });
}

}  // namespace

EvtRing FindEvtRing(EvtLog log) {
  FileBytes room;
  EvtRing closed;
  if (ReadClosedRing(log, room, closed)) return closed;
  const std::vector<EvtRing> rings = FindEndRecords(log, room);
  if (rings.size() > kMostEndRecords) return {};
  EvtRing only;
  for (const EvtRing& ring : rings) {
    if (HoldsAnother(ring, rings)) continue;
    if (only.known) return {};
    only = ring;
  }
  return only;
}

}  // namespace tarnlex
