#include "evt/sound_record.h"

#include <algorithm>

#include "evt/evt_format.h"
#include "logs/sound_text.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::uint32_t kTimeOf1990 = 631'152'000;  // Unix seconds
constexpr std::uint32_t kTimeOf2100 = 4'102'444'800;

// Drivers' records have up to 18 bytes behind their data that belong to nothing; they need not be
// zero.
constexpr std::uint64_t kMostBehindData = 20;

struct Field {
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
};

std::uint32_t NumberAt(Bytes record, std::size_t offset) {
  return Load<std::uint32_t>(record.data() + offset);
}

Field SidOf(Bytes record) { return {NumberAt(record, 44), NumberAt(record, 40)}; }
Field DataOf(Bytes record) { return {NumberAt(record, 52), NumberAt(record, 48)}; }
std::uint32_t StringsOf(Bytes record) { return NumberAt(record, 36); }

bool IsDated(std::uint32_t seconds) { return seconds >= kTimeOf1990 && seconds < kTimeOf2100; }

// Types are bits, of which a record has one at most.
bool IsEventType(std::uint16_t type) {
  constexpr std::uint16_t kMost = 16;
  return type <= kMost && (type & (type - 1)) == 0;
}

// Where a text that begins at `at` ends, behind its terminator; 0 where it is none or has none in
// front of `end`.
std::uint64_t BehindText(Bytes record, std::uint64_t at, std::uint64_t end) {
  const std::uint64_t left = at < end ? (end - at) / 2 : 0;
  const Bytes bytes = Clip(record, at, 2 * left);
  const std::size_t units = UnitsBeforeZero(bytes.data(), bytes.size() / 2);
  if (2 * units >= bytes.size() || !IsSoundText(bytes.first(2 * units))) return 0;
  return at + 2 * units + 2;
}

// Where the names end, 0 where they are none. No record is without them.
std::uint64_t BehindNames(Bytes record, std::uint64_t end) {
  std::uint64_t at = kEvtFixedSize;
  for (int i = 0; i < 2; ++i) {
    const std::uint64_t behind = BehindText(record, at, end);
    if (behind <= at + 2) return 0;
    at = behind;
  }
  return at;
}

// Between the parts lies only what brings the next one to a multiple of four.
bool Follows(std::uint64_t before, std::uint64_t offset) {
  return offset >= before && offset - before < kEvtAlignment;
}

bool HasSoundSid(Bytes record, std::uint64_t behind_names) {
  const Field sid = SidOf(record);
  if (sid.length == 0) return Follows(behind_names, StringsOf(record));
  return Follows(behind_names, sid.offset) && sid.offset + sid.length == StringsOf(record) &&
         IsSoundSid(Clip(record, sid.offset, sid.length));
}

bool HasSoundStrings(Bytes record) {
  const Field data = DataOf(record);
  std::uint64_t at = StringsOf(record);
  for (auto left = Load<std::uint16_t>(record.data() + 26); left > 0; --left) {
    at = BehindText(record, at, data.offset);
    if (at == 0) return false;
  }
  return at == data.offset;
}

bool EndsBehindData(Bytes record) {
  const Field data = DataOf(record);
  const std::uint64_t end = record.size() - kEvtLengthCopy;
  return data.offset + data.length <= end && end - data.offset - data.length <= kMostBehindData;
}

}  // namespace

std::uint32_t PlausibleEvtLength(Bytes fixed_part) {
  if (fixed_part.size() < kEvtFixedSize || NumberAt(fixed_part, 4) != kEvtSignature) return 0;
  const std::uint32_t length = NumberAt(fixed_part, 0);
  if (length < kEvtFixedSize + kEvtLengthCopy || length > kEvtLargestRecord) return 0;
  const std::uint64_t end = length - kEvtLengthCopy;
  const auto lies_inside = [end](Field field) {
    return field.length == 0 || Fits(end, field.offset, field.length);
  };
  const bool whole = length % kEvtAlignment == 0 && NumberAt(fixed_part, 8) != 0 &&
                     IsDated(NumberAt(fixed_part, 12)) && IsDated(NumberAt(fixed_part, 16)) &&
                     StringsOf(fixed_part) <= end && lies_inside(SidOf(fixed_part)) &&
                     lies_inside(DataOf(fixed_part));
  return whole ? length : 0;
}

bool IsSoundEvtRecord(Bytes record) {
  const std::uint64_t names = BehindNames(record, StringsOf(record));
  return names != 0 && IsEventType(Load<std::uint16_t>(record.data() + 24)) &&
         HasSoundSid(record, names) && HasSoundStrings(record) && EndsBehindData(record);
}

}  // namespace tarnlex
