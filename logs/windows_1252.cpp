#include "logs/windows_1252.h"

#include <algorithm>
#include <cstring>

namespace tarnlex {
namespace {

// The characters of 0x80 to 0x9F; all others have the numbers of their bytes.
constexpr std::uint16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::uint16_t CharacterOf(std::uint8_t byte) {
  if (byte == 0) return ' ';
  return byte >= 0x80 && byte <= 0x9F ? kHighControls[byte - 0x80] : byte;
}

char* WriteUtf8(std::uint16_t character, char* out) {
  if (character < 0x80) {
    *out++ = static_cast<char>(character);
    return out;
  }
  if (character < 0x800) {
    *out++ = static_cast<char>(0xC0 | character >> 6);
  } else {
    *out++ = static_cast<char>(0xE0 | character >> 12);
    *out++ = static_cast<char>(0x80 | (character >> 6 & 0x3F));
  }
  *out++ = static_cast<char>(0x80 | (character & 0x3F));
  return out;
}

// Whether none of eight bytes is zero or above 0x7F.
bool IsPlain(std::uint64_t block) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  return (block & kHighBits) == 0 && ((block - kOnes) & kHighBits) == 0;
}

}  // namespace

char* WriteWindows1252(Bytes text, char* out) {
  while (!text.empty() && text.back() == 0) text = text.first(text.size() - 1);
  while (!text.empty()) {
    // Nearly all of it is plain, and goes as it is.
    std::uint64_t block = 0;
    const std::size_t size = std::min(text.size(), sizeof block);
    std::memcpy(&block, text.data(), size);
    if (size == sizeof block && IsPlain(block)) {
      std::memcpy(out, &block, sizeof block);
      out += sizeof block;
    } else {
      for (const std::uint8_t byte : text.first(size)) out = WriteUtf8(CharacterOf(byte), out);
    }
    text = text.subspan(size);
  }
  return out;
}

}  // namespace tarnlex
