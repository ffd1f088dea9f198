#include "evt/carve.h"

#include "evt/evt_format.h"

namespace tarnlex {
namespace {

constexpr std::uint32_t kHeaderSize = 48;
constexpr std::uint32_t kSecondsOf1990 = 631'152'000;  // Unix
constexpr std::uint32_t kSecondsOf2100 = 4'102'444'800;
constexpr std::uint32_t kUnit = 2;
constexpr std::uint32_t kMostPadding = 8;
constexpr std::uint32_t kMostBehind = 24;  // drivers write more of it

std::uint32_t Number(Bytes bytes, std::uint64_t offset) {
  std::uint32_t number = 0;
  ReadAt(bytes, offset, number);
  return number;
}

bool IsTime(std::uint32_t seconds) { return seconds >= kSecondsOf1990 && seconds < kSecondsOf2100; }

// Success, or one of the five bits that stand for the other kinds.
bool IsType(std::uint16_t type) { return type <= 16 && (type & (type - 1)) == 0; }

// Steps behind a text and its zero; false when it does not end before `end`.
bool StepOverText(Bytes record, std::uint32_t end, std::uint32_t& at) {
  for (std::uint16_t unit = 1; unit != 0; at += kUnit) {
    if (at + kUnit > end || !ReadAt(record, at, unit)) return false;
  }
  return true;
}

// Steps behind a stretch that begins, with some padding, where the last one ended.
bool StepOverBytes(std::uint32_t begin, std::uint32_t size, std::uint32_t end, std::uint32_t& at) {
  if (size == 0) return true;
  if (begin < at || begin - at > kMostPadding || size > end || begin > end - size) return false;
  at = begin + size;
  return true;
}

bool StepOverStrings(Bytes record, std::uint32_t end, std::uint32_t& at) {
  const std::uint32_t count = Number(record, 26) & 0xFFFF;
  const std::uint32_t begin = Number(record, 36);
  if (count == 0) return true;
  if (begin < at || begin - at > kMostPadding) return false;
  at = begin;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!StepOverText(record, end, at)) return false;
  }
  return true;
}

}  // namespace

bool IsEvtHeader(Bytes bytes) {
  return bytes.size() >= kHeaderSize && Number(bytes, 0) == kHeaderSize &&
         Number(bytes, 4) == kEvtSignature && Number(bytes, kHeaderSize - 4) == kHeaderSize;
}

std::uint32_t SoundEvtLength(Bytes bytes) {
  const std::uint32_t length = Number(bytes, 0);
  constexpr std::uint32_t kLeast = kEvtFixedSize + sizeof length;
  if (length < kLeast || length > kLargestCarvedEvt || !Fits(bytes, 0, length)) return 0;
  const bool whole =
      Number(bytes, 4) == kEvtSignature && Number(bytes, length - sizeof length) == length;
  const bool plausible = Number(bytes, 8) > 0 && IsTime(Number(bytes, 12)) &&
                         IsTime(Number(bytes, 16)) &&
                         IsType(static_cast<std::uint16_t>(Number(bytes, 24) & 0xFFFF));
  return whole && plausible ? length : 0;
}

Checked CheckEvtRecord(Bytes record) {
  const auto end = static_cast<std::uint32_t>(record.size()) - std::uint32_t{4};
  std::uint32_t at = kEvtFixedSize;
  const bool sound = StepOverText(record, end, at) && StepOverText(record, end, at) &&
                     StepOverBytes(Number(record, 44), Number(record, 40), end, at) &&
                     StepOverStrings(record, end, at) &&
                     StepOverBytes(Number(record, 52), Number(record, 48), end, at) &&
                     end - at <= kMostBehind;
  return sound ? Checked::kAll : Checked::kNone;
}

}  // namespace tarnlex
