#include "logs/unit_search.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "logs/text.h"

namespace tarnlex {
namespace {

std::vector<std::uint8_t> Units(std::string_view text) {
  std::vector<std::uint8_t> units;
  for (const char c : text) {
    units.push_back(static_cast<std::uint8_t>(c));
    units.push_back(0);
  }
  return units;
}

TEST(UnitSearch, FindsATextInAnyCaseAtAnyByte) {
  for (std::size_t before = 0; before < 70; ++before) {
    for (std::size_t behind = 0; behind < 70; behind += 3) {
      std::vector<std::uint8_t> bytes(before, 'x');
      const std::vector<std::uint8_t> text = Units("AdMin");
      bytes.insert(bytes.end(), text.begin(), text.end());
      bytes.insert(bytes.end(), behind, 'x');
      EXPECT_TRUE(HoldsUnitsNoCase(bytes, "admin"));
      EXPECT_FALSE(HoldsUnitsNoCase(bytes, "admix"));
      EXPECT_FALSE(HoldsUnitsNoCase(Bytes(bytes).first(before + text.size() - 1), "admin"));
    }
  }
}

TEST(UnitSearch, ComparesLettersAloneWithoutRegardToCase) {
  EXPECT_FALSE(HoldsUnitsNoCase(Units("[\x11 and a block behind it"), "{"));
  EXPECT_FALSE(HoldsUnitsNoCase(Units("\x11 and a block behind it"), "1"));
  EXPECT_FALSE(HoldsUnitsNoCase(Units("@ and a block behind it"), "`"));
  EXPECT_TRUE(HoldsUnitsNoCase(Units("@ and a block behind it"), "@"));
  EXPECT_TRUE(HoldsUnitsNoCase({}, ""));
  EXPECT_FALSE(HoldsUnitsNoCase({}, "a"));
}

// Bytes of few kinds, so that much begins like the text and does not go on like it.
TEST(UnitSearch, FindsWhatALookAtEveryByteFinds) {
  constexpr std::uint8_t kKinds[] = {'a', 'A', 'b', 'B', '1', 0x11, 0, 0, 0};
  std::mt19937 random(1);
  std::size_t found = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::vector<std::uint8_t> bytes(random() % 100);
    for (std::uint8_t& byte : bytes) byte = kKinds[random() % std::size(kKinds)];
    std::string wanted(1 + random() % 3, 'a');
    for (char& c : wanted) c = "ab1"[random() % 3];
    bool expected = false;
    for (std::size_t at = 0; at + 2 * wanted.size() <= bytes.size() && !expected; ++at) {
      expected = true;
      for (std::size_t i = 0; i < wanted.size(); ++i) {
        expected &= LowerAscii(static_cast<char>(bytes[at + 2 * i])) == wanted[i];
        expected &= bytes[at + 2 * i + 1] == 0;
      }
    }
    ASSERT_EQ(HoldsUnitsNoCase(bytes, wanted), expected) << wanted;
    found += expected;
  }
  EXPECT_GT(found, 2'000U);
  EXPECT_LT(found, 18'000U);
}

TEST(UnitSearch, FindsATextOfEitherWidthAtAnyByte) {
  for (const std::vector<std::uint8_t>& text :
       {Units("SvcHost"), std::vector<std::uint8_t>{'S', 'v', 'c', 'H', 'o', 's', 't'}}) {
    for (std::size_t before = 0; before < 140; ++before) {
      std::vector<std::uint8_t> bytes(before, 'v');  // its rarest character
      bytes.insert(bytes.end(), text.begin(), text.end());
      for (int behind = 0; behind < 140; behind += 7) {
        ASSERT_TRUE(HoldsTextNoCase(bytes, "svchost"));
        ASSERT_FALSE(HoldsTextNoCase(bytes, "svchosv"));
        bytes.insert(bytes.end(), 7, 'V');
      }
      const std::size_t end = before + text.size() - (text.back() == 0 ? 2 : 1);
      EXPECT_FALSE(HoldsTextNoCase(Bytes(bytes).first(end), "svchost"));
    }
  }
  EXPECT_TRUE(HoldsTextNoCase({}, ""));
  EXPECT_FALSE(HoldsTextNoCase({}, "a"));
}

// Bytes of few kinds, so that much is like the text in part. Other characters than letters must not
// be taken for those that differ from them in the bit of case alone.
TEST(UnitSearch, FindsTextsOfEitherWidthAsALookAtEveryByteDoes) {
  constexpr std::uint8_t kKinds[] = {'q', 'Q', 'e', 'E', '1', 0x11, '@', '`', '_', 0x7F, 0, 0, 0};
  std::mt19937 random(2);
  std::size_t found = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::vector<std::uint8_t> bytes(random() % 200);
    for (std::uint8_t& byte : bytes) byte = kKinds[random() % std::size(kKinds)];
    std::string wanted(1 + random() % 4, 'a');
    for (char& c : wanted) c = "qe1@_"[random() % 5];
    const std::string text(bytes.begin(), bytes.end());
    const bool expected =
        HoldsUnitsNoCase(bytes, wanted) || ToLowerAscii(text).find(wanted) != std::string::npos;
    ASSERT_EQ(HoldsTextNoCase(bytes, wanted), expected) << wanted;
    found += expected;
  }
  EXPECT_GT(found, 2'000U);
  EXPECT_LT(found, 18'000U);
}

}  // namespace
}  // namespace tarnlex
