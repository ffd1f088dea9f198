// What references in texts stand for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarnlex {

// The text of one of the five entities that XML knows ("amp", "lt", "gt", "quot", "apos"); empty
// for any other name.
std::string_view EntityText(std::string_view name);

// Writes a character that is given by its UTF-16 unit as UTF-8 at `out` (room for 4 bytes), with
// the unit `low` behind it if the two are a pair; returns the end. A surrogate alone is U+FFFD, a
// zero a blank.
inline constexpr std::size_t kMaxCharacterText = 4;
char* WriteCharacter(std::uint16_t unit, std::uint16_t low, char* out);

constexpr bool IsHighSurrogate(std::uint16_t unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool IsLowSurrogate(std::uint16_t unit) { return (unit & 0xFC00) == 0xDC00; }

}  // namespace tarnlex
