#include "logs/plain_ascii.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "logs/text.h"

namespace tarnlex {
namespace {

// The units of `text`, then so many zero bytes.
std::vector<std::uint8_t> UnitsOf(const std::u16string& text, std::size_t behind) {
  std::vector<std::uint8_t> bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  bytes.resize(bytes.size() + behind, 0);
  return bytes;
}

// What WritePlainAscii makes of `text`; "<null>" when it refuses.
std::string PlainText(const std::u16string& text, std::size_t behind = 64) {
  const std::vector<std::uint8_t> bytes = UnitsOf(text, behind);
  std::string out(text.size() + kPlainAsciiBlock, '?');
  const char* end = WritePlainAscii(bytes, 0, text.size(), out.data());
  return end ? out.substr(0, static_cast<std::size_t>(end - out.data())) : "<null>";
}

TEST(WritePlainAscii, ConvertsTextsOfEveryLength) {
  const std::u16string letters = u"The quick brown fox jumps over the lazy dog; 0123456789 ~!";
  for (std::size_t length = 0; length <= letters.size(); ++length) {
    const std::u16string text = letters.substr(0, length);
    const std::vector<std::uint8_t> bytes = UnitsOf(text, 0);
    EXPECT_EQ(PlainText(text), Utf16ToUtf8(bytes));
  }
}

TEST(WritePlainAscii, RefusesWhatHasToBeLookedAtAgainWhereverItStands) {
  for (std::uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
    const bool plain = unit >= 0x20 && unit < 0x80 && unit != ',' && unit != '|';
    std::u16string text = u"sixteen units of text and some more";
    const std::size_t at = unit % text.size();
    text[at] = static_cast<char16_t>(unit);
    ASSERT_EQ(PlainText(text) != "<null>", plain) << unit << " at " << at;
  }
}

TEST(WriteQuotableAscii, RefusesWhatHasToBeEscapedWhereverItStands) {
  for (std::uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
    const bool plain = unit >= 0x20 && unit < 0x80 && unit != '"' && unit != '\\';
    std::u16string text = u"sixteen units of text and some more";
    const std::size_t at = unit % text.size();
    text[at] = static_cast<char16_t>(unit);
    const std::vector<std::uint8_t> bytes = UnitsOf(text, 64);
    std::string out(text.size() + kPlainAsciiBlock, '?');
    const char* const end = WriteQuotableAscii(bytes, 0, text.size(), out.data());
    ASSERT_EQ(end != nullptr, plain) << unit << " at " << at;
    const std::string expected = plain ? Utf16ToUtf8(UnitsOf(text, 0)) : "";
    ASSERT_EQ(out.substr(0, expected.size()), expected);
  }
}

TEST(WritePlainAscii, LeavesZerosOutAtTheEndAndRefusesThemInside) {
  EXPECT_EQ(PlainText(std::u16string(u"ab\0\0", 4)), "ab");
  EXPECT_EQ(PlainText(std::u16string(u"a\0b", 3)), "<null>");
  EXPECT_EQ(PlainText(std::u16string(3, u'\0')), "");
}

TEST(WritePlainAscii, NeitherReadsNorJudgesWhatLiesBehind) {
  std::vector<std::uint8_t> bytes = UnitsOf(u"ab,,,,,,,,,,,,,,,,,,,,", 64);
  std::string out(32, '?');
  EXPECT_EQ(WritePlainAscii(bytes, 0, 2, out.data()), out.data() + 2);
  EXPECT_EQ(out.substr(0, 2), "ab");
  bytes.resize(4);
  EXPECT_EQ(WritePlainAscii(bytes, 2, 2, out.data()), nullptr);
  EXPECT_EQ(WritePlainAscii(bytes, 100, 0, out.data()), nullptr);
}

}  // namespace
}  // namespace tarnlex
