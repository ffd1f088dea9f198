#include "logs/parse_number.h"

#include <gtest/gtest.h>

#include <optional>

namespace tarnlex {
namespace {

std::optional<std::uint64_t> NumberOf(std::string_view text) {
  std::uint64_t number = 77;
  if (ParseNumber(text, number)) return number;
  EXPECT_EQ(number, 77U) << "a rejected text leaves the number as it was";
  return std::nullopt;
}

TEST(ParseNumber, ReadsDecimalHexadecimalAndOctal) {
  EXPECT_EQ(NumberOf("4624"), 4624U);
  EXPECT_EQ(NumberOf("0x1200"), 4608U);
  EXPECT_EQ(NumberOf("X1f"), 31U);
  EXPECT_EQ(NumberOf("0o17"), 15U);
  EXPECT_EQ(NumberOf("O17"), 15U);
}

TEST(ParseNumber, IgnoresWhiteSpaceAroundAndTextBehind) {
  EXPECT_EQ(NumberOf(" \t4624\r\n"), 4624U);
  EXPECT_EQ(NumberOf("4624abc"), 4624U);
}

TEST(ParseNumber, RejectsTextWithoutDigitsInPlace) {
  for (const char* text : {"", " ", "abc", "-1", "+1", "0x", "none", "xyz", "o9", "0x-1"}) {
    EXPECT_EQ(NumberOf(text), std::nullopt) << text;
  }
}

// One digit too many must not turn into the value that stands for every event.
TEST(ParseNumber, RejectsNumbersBeyond64Bits) {
  EXPECT_EQ(NumberOf("18446744073709551615"), ~std::uint64_t{0});
  EXPECT_EQ(NumberOf("18446744073709551616"), std::nullopt);
  EXPECT_EQ(NumberOf("0x10000000000000000"), std::nullopt);
}

TEST(IsDecimal, TakesDigitsAndNothingElse) {
  EXPECT_TRUE(IsDecimal("0"));
  EXPECT_TRUE(IsDecimal("004624"));
  for (const char* text : {"", "4x", "-1", " 1", "0x10", "1.0"})
    EXPECT_FALSE(IsDecimal(text)) << text;
}

}  // namespace
}  // namespace tarnlex
