// Two decimal digits at a time: half as many divisions as one at a time.
#pragma once

#include <array>
#include <cstddef>
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

}  // namespace tarnlex
