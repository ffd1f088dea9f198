// Whether a text is UTF-8, told by a reader of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarnlex::support {

// Well-formed UTF-8: shortest forms only, no surrogates, nothing above U+10FFFF.
inline bool IsUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto first = static_cast<std::uint8_t>(text[i]);
    if (first >= 0x80 && (first < 0xC2 || first > 0xF4)) return false;
    const std::size_t size = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (text.size() - i < size) return false;
    std::uint32_t character = size == 1 ? first : first & (0x7FU >> size);
    for (std::size_t more = 1; more < size; ++more) {
      const auto byte = static_cast<std::uint8_t>(text[i + more]);
      if ((byte & 0xC0) != 0x80) return false;
      character = character << 6 | (byte & 0x3F);
    }
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    if (character < kLeast[size] || character > 0x10FFFF) return false;
    if (character >= 0xD800 && character <= 0xDFFF) return false;
    i += size;
  }
  return true;
}

}  // namespace tarnlex::support
