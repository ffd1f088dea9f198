// Several decimal digits at a time: fewer divisions than one at a time takes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tarnlex {

// "00" to "99", one behind the other.
inline constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = static_cast<char>('0' + (i % 2 == 0 ? i / 20 : i / 2 % 10));
  }
  return pairs;
}();

// Writes the two digits of a value below 100; returns the end.
inline char* WriteTwo(char* out, unsigned value) {
  std::memcpy(out, kDigitPairs.data() + std::size_t{2} * value, 2);
  return out + 2;
}

inline constexpr std::uint64_t kEightDigits = 100'000'000;

// The digits of a number below 10^8 as the bytes of another, the first lowest: it is parted into
// fours, these into pairs, and the pairs into digits, in each step all at once.
inline std::uint64_t EightDigitsOf(std::uint32_t value) {
  const std::uint64_t upper = value / 10'000;
  const std::uint64_t fours = upper | (value - upper * 10'000) << 32;
  const std::uint64_t hundreds = (fours * 10'486 >> 20) & 0x0000007F0000007F;
  const std::uint64_t pairs = hundreds | (fours - hundreds * 100) << 16;
  const std::uint64_t tens = (pairs * 103 >> 10) & 0x000F000F000F000F;
  return tens | (pairs - tens * 10) << 8;
}

// The same of a number below 10^4.
inline std::uint32_t FourDigitsOf(std::uint32_t value) {
  const std::uint32_t hundreds = value * 5'243 >> 19;
  const std::uint32_t pairs = hundreds | (value - hundreds * 100) << 16;
  const std::uint32_t tens = (pairs * 103 >> 10) & 0x000F000F;
  return tens | (pairs - tens * 10) << 8;
}

inline constexpr std::uint64_t kZeros = 0x3030303030303030;

// Writes the eight digits of a number below 10^8, zero-filled; returns the end.
inline char* WriteEight(std::uint32_t value, char* out) {
  const std::uint64_t digits = EightDigitsOf(value) | kZeros;
  std::memcpy(out, &digits, sizeof digits);
  return out + sizeof digits;
}

}  // namespace tarnlex
