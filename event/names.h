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

// A hash of a name. One that fits into a block is mixed by itself, so that no two of them meet by
// design.
inline std::size_t HashName(std::string_view name) {
  std::uint64_t block = 0;
  if (name.size() > sizeof block) return std::hash<std::string_view>{}(name);
  if (!name.empty()) std::memcpy(&block, name.data(), name.size());
  block = (block ^ (block >> 32)) * 0xFF51AFD7ED558CCDU + name.size();
  block = (block ^ (block >> 29)) * 0x9E3779B97F4A7C15U;
  return static_cast<std::size_t>(block ^ (block >> 32));
}

// What stands for a name that is empty.
inline constexpr std::string_view kUnnamedName = "<unnamed>";

// The name of the `number`th value (from 2 on) of a name: "ProcessId_02".
std::string NumberedName(std::string_view name, std::uint32_t number);

// The name of the `number`th unnamed "Data" element of an event, counted from 1: "Data", "Data_02",
// "Data_03" and so on.
std::string UnnamedDataName(std::uint32_t number);

}  // namespace tarnlex
