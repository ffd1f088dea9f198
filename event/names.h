// What names of elements, attributes and data may look like, and how they are told apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace tarnlex {

// Whether `text` can be the name of an element or attribute: letters, digits, "_", ":", "." and "-"
// or anything beyond ASCII, not beginning with a digit, "." or "-".
bool IsXmlName(std::string_view text);

// Whether all of `text` (UTF-8) can be printed: no control characters, nothing that was no
// character. True for an empty text.
bool IsPrintable(std::string_view text);

// A hash of a name. Most are short, and nearly all that come together differ in length or in one of
// the blocks at their ends.
inline std::size_t HashName(std::string_view name) {
  constexpr std::size_t kBlock = sizeof(std::uint64_t);
  if (name.size() > 2 * kBlock) return std::hash<std::string_view>{}(name);
  std::uint64_t ends[2] = {0, 0};
  const std::size_t half = name.size() < kBlock ? name.size() : kBlock;
  if (half > 0) {
    std::memcpy(&ends[0], name.data(), half);
    std::memcpy(&ends[1], name.data() + name.size() - half, half);
  }
  // What differs may stand in the last byte; it has to reach the lowest bits.
  std::uint64_t mixed = (ends[0] ^ name.size()) * 0x9E3779B97F4A7C15U + ends[1];
  mixed = (mixed ^ (mixed >> 33)) * 0xFF51AFD7ED558CCDU;
  return static_cast<std::size_t>(mixed ^ (mixed >> 29));
}

// The name of the `number`th unnamed "Data" element of an event, counted from 1: "Data", "Data_02",
// "Data_03" and so on.
std::string UnnamedDataName(std::uint32_t number);

}  // namespace tarnlex
