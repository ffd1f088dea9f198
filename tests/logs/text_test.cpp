#include "logs/text.h"

#include <gtest/gtest.h>

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

TEST(LeadingNumber, ReadsDigitsUpToTheFirstOtherCharacter) {
  EXPECT_EQ(LeadingNumber("4624"), 4624U);
  EXPECT_EQ(LeadingNumber("12x"), 12U);
  EXPECT_EQ(LeadingNumber("x12"), 0U);
  EXPECT_EQ(LeadingNumber(""), 0U);
  EXPECT_EQ(LeadingNumber("99999999999999999999999"), ~std::uint64_t{0});
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

}  // namespace
}  // namespace tarnlex
