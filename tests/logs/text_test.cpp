#include "logs/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "logs/text_sink.h"

namespace tarnlex {
namespace {

Bytes AsBytes(const std::u16string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size() * 2};
}

TEST(Utf16ToUtf8, KeepsAsciiOfEveryLength) {
  for (std::size_t length = 0; length < 40; ++length) {
    const std::u16string wide(length, u'x');
    EXPECT_EQ(Utf16ToUtf8(AsBytes(wide)), std::string(length, 'x'));
  }
}

TEST(Utf16ToUtf8, EncodesTwoThreeAndFourByteCharacters) {
  EXPECT_EQ(Utf16ToUtf8(AsBytes(u"é€\U0001F600z")), "é€\U0001F600z");
  EXPECT_EQ(Utf16ToUtf8(AsBytes(u"abcdefghé")), "abcdefghé");
}

TEST(Utf16ToUtf8, ReplacesLoneSurrogates) {
  EXPECT_EQ(Utf16ToUtf8(AsBytes({u'a', 0xD800, u'b'})), "a\uFFFDb");
  EXPECT_EQ(Utf16ToUtf8(AsBytes({0xDC00})), "\uFFFD");
  EXPECT_EQ(Utf16ToUtf8(AsBytes({0xD83D})), "\uFFFD");
}

TEST(Utf16ToUtf8, DropsZeroUnitsAtTheEndAndBlanksThemInside) {
  const std::u16string wide(u"ab\0cd\0\0", 7);
  EXPECT_EQ(Utf16ToUtf8(AsBytes(wide)), "ab cd");
}

TEST(SplitList, DropsEmptyPiecesOnlyWhenTrimming) {
  std::vector<std::string> pieces;
  EXPECT_TRUE(SplitList("a.evtx |  | b.evt ", '|', true, pieces));
  EXPECT_EQ(pieces, (std::vector<std::string>{"a.evtx", "b.evt"}));
  EXPECT_TRUE(SplitList("a||b", '|', false, pieces));
  EXPECT_EQ(pieces, (std::vector<std::string>{"a", "", "b"}));
  EXPECT_FALSE(SplitList("", '|', true, pieces));
  EXPECT_TRUE(pieces.empty());
}

TEST(ContainsNoCase, FoldsAsciiOnly) {
  EXPECT_TRUE(ContainsNoCase("SeSystemTimePrivilege", "timepriv"));
  EXPECT_FALSE(ContainsNoCase("É", "é"));
  EXPECT_TRUE(ContainsNoCase("", ""));
  EXPECT_FALSE(ContainsNoCase("ab", "abc"));
}

TEST(ContainsNoCase, FindsATextAtEveryPlaceOfALongOne) {
  for (const std::string_view needle :
       {"x", "xy", "x-17 characters-", "a text of more than a block"}) {
    for (std::size_t size = needle.size(); size < 70; ++size) {
      for (std::size_t at = 0; at + needle.size() <= size; ++at) {
        // What surrounds it has its first and its last character.
        std::string text(size, needle.front());
        for (std::size_t i = 1; i < size; i += 2) text[i] = needle.back();
        if (needle.size() > 2) {
          EXPECT_FALSE(ContainsNoCase(text, needle));
        }
        text.replace(at, needle.size(), needle);
        std::transform(text.begin(), text.end(), text.begin(),
                       [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
        EXPECT_TRUE(ContainsNoCase(text, needle)) << needle << size << " " << at;
      }
    }
  }
  EXPECT_FALSE(ContainsNoCase(std::string(100, '@') + "`[{", "a"));
}

TEST(LeadingNumber, ReadsDigitsUpToTheFirstOtherCharacter) {
  EXPECT_EQ(LeadingNumber("4624"), 4624U);
  EXPECT_EQ(LeadingNumber("12x"), 12U);
  EXPECT_EQ(LeadingNumber("x12"), 0U);
  EXPECT_EQ(LeadingNumber(""), 0U);
  EXPECT_EQ(LeadingNumber("99999999999999999999999"), ~std::uint64_t{0});
}

TEST(UnitsBeforeZero, CountsToTheFirstZeroOfEveryLength) {
  for (std::size_t length = 0; length <= 20; ++length) {
    std::u16string text(length, u'\x0100');  // a byte of zero is no zero unit
    EXPECT_EQ(UnitsBeforeZero(AsBytes(text).data(), length), length);
    text += u'\0';
    text += u"behind";
    text += u'\0';
    EXPECT_EQ(UnitsBeforeZero(AsBytes(text).data(), text.size()), length);
  }
}

TEST(WriteDecimal, WritesEveryNumberOfDigits) {
  std::uint64_t power = 1;
  for (int digits = 1; digits <= 20; ++digits, power *= 10) {
    for (const std::uint64_t value : {power - 1, power, power + power / 3, 9 * power}) {
      char text[20];
      EXPECT_EQ(std::string(text, WriteDecimal(value, text)), std::to_string(value));
    }
  }
  for (const std::int64_t value :
       {std::int64_t{-10}, std::int64_t{-99}, std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max()}) {
    char text[20];
    EXPECT_EQ(std::string(text, WriteDecimal(value, text)), std::to_string(value));
  }
}

TEST(WriteDecimal, WritesEveryNumberBelowTwoHundredThousand) {
  for (std::uint64_t value = 0; value < 200'000; ++value) {
    char text[20];
    ASSERT_EQ(std::string(text, WriteDecimal(value, text)), std::to_string(value));
  }
}

TEST(WriteDecimal, LeavesWhatLiesBehindTwentyCharacters) {
  std::uint64_t power = 1;
  for (int digits = 1; digits <= 20; ++digits, power *= 10) {
    std::string text(24, '?');
    WriteDecimal(power, text.data());
    WriteDecimal(-static_cast<std::int64_t>(power), text.data());
    EXPECT_EQ(text.substr(20), "????") << power;
  }
}

TEST(WriteDecimal, CoversBothEndsOfTheRange) {
  char text[20];
  EXPECT_EQ(std::string(text, WriteDecimal(~std::uint64_t{0}, text)), "18446744073709551615");
  EXPECT_EQ(std::string(text, WriteDecimal(std::int64_t{-1}, text)), "-1");
}

TEST(CountCodePoints, CountsCharactersNotBytes) { EXPECT_EQ(CountCodePoints("aé€\U0001F600"), 4U); }

TEST(TextSink, HandsOnEverythingInOrderAcrossBlocks) {
  std::string target;
  TextSink sink = MakeStringSink(target);
  const std::string big(3'000'000, 'b');
  Append(sink, "a");
  Append(sink, big);
  Append(sink, 'c');
  Flush(sink);
  EXPECT_EQ(target, "a" + big + "c");
}

TEST(TextSink, StopsWritingAfterAFailure) {
  int calls = 0;
  TextSink sink = MakeSink([&calls](std::string_view) { return ++calls < 1; });
  AppendNow(sink, "x");
  AppendNow(sink, "y");
  EXPECT_TRUE(sink.failed);
  EXPECT_EQ(calls, 1);
}

TEST(Utf8Size, IsWhatTheTextTakes) {
  std::uint32_t state = 7;
  std::vector<std::uint8_t> units;
  for (std::size_t size = 0; size < 9000; size += size < 40 ? 1 : 997) {
    units.resize(2 * size);
    for (std::size_t i = 0; i < size; ++i) {
      state = state * 1664525 + 1013904223;
      constexpr std::uint16_t kBases[] = {0, 0x20, 0x80, 0x7FF, 0x800, 0xD7FF, 0xD800, 0xDC00};
      const auto unit = static_cast<std::uint16_t>(kBases[state >> 29] + (state >> 20 & 1));
      std::memcpy(units.data() + 2 * i, &unit, sizeof unit);
    }
    EXPECT_EQ(Utf8Size(units.data(), size), Utf16ToUtf8(units).size()) << size;
  }
}

}  // namespace
}  // namespace tarnlex
