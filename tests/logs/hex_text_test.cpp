#include "logs/hex_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace tarnlex {
namespace {

// Some numbers of every width, with every digit in every place.
std::vector<std::uint64_t> Numbers() {
  std::vector<std::uint64_t> numbers = {0, ~std::uint64_t{0}};
  for (unsigned shift = 0; shift < 64; shift += 4) {
    for (std::uint64_t digit = 1; digit < 16; ++digit) numbers.push_back(digit << shift);
  }
  numbers.push_back(0x0123456789ABCDEF);
  return numbers;
}

TEST(HexText, WritesEveryDigitInItsPlace) {
  for (const std::uint64_t number : Numbers()) {
    char expected[17];
    char text[16];
    std::snprintf(expected, sizeof expected, "%016llx", static_cast<unsigned long long>(number));
    EXPECT_EQ(std::string(text, WriteHex16(number, text)), expected);
    const auto low = static_cast<std::uint32_t>(number);
    std::snprintf(expected, sizeof expected, "%08x", low);
    EXPECT_EQ(std::string(text, WriteHex8(low, text)), expected);
  }
}

TEST(HexText, WritesNothingBehindItsDigits) {
  char text[37];
  std::fill(std::begin(text), std::end(text), '?');
  WriteHex8(0x12345678, text);
  EXPECT_EQ(text[8], '?');
  WriteHex16(0x12345678, text);
  EXPECT_EQ(text[16], '?');
  const std::array<std::uint8_t, 16> guid{};
  WriteGuidText(guid.data(), text);
  EXPECT_EQ(text[kGuidTextSize], '?');
}

TEST(HexText, WritesTheGroupsOfAGuid) {
  std::array<std::uint8_t, 16> guid;
  for (std::size_t i = 0; i < guid.size(); ++i)
    guid[i] = static_cast<std::uint8_t>(0x1A + 0x0D * i);
  char text[kGuidTextSize];
  EXPECT_EQ(std::string(text, WriteGuidText(guid.data(), text)),
            "4134271a-5b4e-7568-828f-9ca9b6c3d0dd");
  EXPECT_EQ(std::string(text, WriteGuidText<kCapitalTen>(guid.data(), text)),
            "4134271A-5B4E-7568-828F-9CA9B6C3D0DD");
}

}  // namespace
}  // namespace tarnlex
