#include "logs/escaped_units.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarnlex {
namespace {

constexpr auto kEscapes = [] {
  Escapes escapes{};
  SetEscape(escapes, '\\', "\\\\");
  SetEscape(escapes, '"', "&quot;");
  SetEscape(escapes, '\n', "\\n");
  SetEscape(escapes, '\0', " ");
  return escapes;
}();

// The units of a text, then so many bytes.
std::vector<std::uint8_t> UnitsOf(const std::u16string& text, std::size_t behind) {
  std::vector<std::uint8_t> bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  bytes.resize(bytes.size() + behind, 0x41);
  return bytes;
}

struct Written {
  std::string text;
  std::size_t count = 0;
};

Written Write(const std::u16string& text, std::size_t behind) {
  const std::vector<std::uint8_t> bytes = UnitsOf(text, behind);
  std::string room(7 * text.size() + 2 * kPlainAsciiBlock, '?');
  char* out = room.data();
  Written written;
  written.count = WriteEscapedUnits<'\\', '"'>(bytes, text.size(), kEscapes, out);
  written.text = room.substr(0, static_cast<std::size_t>(out - room.data()));
  return written;
}

// The same, one unit after the other.
Written Expected(const std::u16string& text) {
  Written written;
  for (; written.count < text.size(); ++written.count) {
    const char16_t unit = text[written.count];
    if (unit == u'\\') {
      written.text += "\\\\";
    } else if (unit == u'"') {
      written.text += "&quot;";
    } else if (unit == u'\n') {
      written.text += "\\n";
    } else if (unit == u'\0') {
      written.text += ' ';
    } else if (unit < u' ' || unit >= 0x80) {
      return written;
    } else {
      written.text += static_cast<char>(unit);
    }
  }
  return written;
}

void ExpectAsExpected(const std::u16string& text) {
  const Written expected = Expected(text);
  // With nothing behind it a text cannot be read in blocks.
  for (const std::size_t behind : {0, 2, 62, 200}) {
    const Written written = Write(text, behind);
    ASSERT_EQ(written.count, expected.count) << behind;
    ASSERT_EQ(written.text, expected.text) << behind;
  }
}

TEST(EscapedUnits, AreWrittenWhereverTheyStand) {
  const std::u16string letters = u"The quick brown fox jumps over the lazy dog; 0123456789, ~!|";
  for (const char16_t unit : {u'\\', u'"', u'\n', u'\0'}) {
    for (std::size_t at = 0; at < letters.size(); ++at) {
      std::u16string text = letters;
      text[at] = unit;
      ExpectAsExpected(text);
      text[letters.size() - 1 - at] = u'"';
      text[(at + 1) % letters.size()] = u'\\';
      ExpectAsExpected(text);
      ExpectAsExpected(text.substr(at));
    }
  }
}

TEST(EscapedUnits, ComeInRunsOfEveryLength) {
  for (std::size_t length = 0; length <= 70; ++length) {
    ExpectAsExpected(std::u16string(length, u'"'));
    ExpectAsExpected(u"before" + std::u16string(length, u'\n') + u"behind");
  }
}

TEST(EscapedUnits, StopAtWhatHasNoEscape) {
  for (std::uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
    std::u16string text = u"two \"blocks\" of text, and \\some\\ units more";
    text[unit % text.size()] = static_cast<char16_t>(unit);
    ExpectAsExpected(text);
  }
}

}  // namespace
}  // namespace tarnlex
