#include "logs/sound_text.h"

namespace tarnlex {
namespace {

bool IsHighHalf(std::uint16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowHalf(std::uint16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

bool IsSoundUnit(std::uint16_t unit) {
  if (unit < ' ') return unit == '\t' || unit == '\n' || unit == '\r';
  const bool is_control = unit >= 0x7F && unit < 0xA0;
  const bool is_private = unit >= 0xE000 && unit < 0xF900;
  const bool is_none = unit >= 0xFDD0 && (unit < 0xFDF0 || unit >= 0xFFF0);
  return !is_control && !is_private && !is_none;
}

}  // namespace

bool IsSoundText(Bytes units) {
  if (units.size() % 2 != 0) return false;
  for (std::size_t at = 0; at < units.size(); at += 2) {
    const auto unit = Load<std::uint16_t>(units.data() + at);
    std::uint16_t next = 0;
    if (IsHighHalf(unit)) {
      if (!ReadAt(units, at + 2, next) || !IsLowHalf(next)) return false;
      at += 2;
    } else if (IsLowHalf(unit) || !IsSoundUnit(unit)) {
      return false;
    }
  }
  return true;
}

bool IsSoundSid(Bytes sid) {
  constexpr std::size_t kHead = 8;
  constexpr std::uint8_t kMostParts = 15;
  return sid.size() >= kHead && sid[0] == 1 && sid[1] <= kMostParts &&
         sid.size() == kHead + std::size_t{4} * sid[1];
}

}  // namespace tarnlex
