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

}  // namespace
}  // namespace tarnlex
