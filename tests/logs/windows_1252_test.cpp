#include "logs/windows_1252.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/put_bytes.h"
#include "tests/support/utf8.h"

namespace tarnlex {
namespace {

using support::ByteString;

std::string TextOf(const ByteString& bytes) {
  std::string text(kMaxUtf8PerByte * bytes.size(), '\0');
  const char* const end = WriteWindows1252(bytes, text.data());
  EXPECT_LE(end, text.data() + text.size());
  text.resize(static_cast<std::size_t>(end - text.data()));
  EXPECT_TRUE(support::IsUtf8(text));
  return text;
}

TEST(Windows1252, KeepsAsciiAndWidensTheRest) {
  EXPECT_EQ(TextOf({'a', 'b', 'c'}), "abc");
  EXPECT_EQ(TextOf({0xE4, 0xF6, 0xFF, 0xA0}), "\xC3\xA4\xC3\xB6\xC3\xBF\xC2\xA0");
  EXPECT_EQ(TextOf({0x80, 0x84, 0x93, 0x99, 0x9F}),
            "\xE2\x82\xAC\xE2\x80\x9E\xE2\x80\x9C\xE2\x84\xA2\xC5\xB8");
}

TEST(Windows1252, BytesWithoutACharacterAreControls) {
  EXPECT_EQ(TextOf({0x81, 0x8D, 0x8F, 0x90, 0x9D}), "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D");
}

TEST(Windows1252, DropsZerosAtTheEndAndBlanksThoseInside) {
  EXPECT_EQ(TextOf({'a', 0, 'b', 0, 0}), "a b");
  EXPECT_EQ(TextOf({0, 0}), "");
  EXPECT_EQ(TextOf({}), "");
  EXPECT_EQ(TextOf({0, 'a'}), " a");
}

// Plain bytes go eight at a time; what comes out must not depend on where a special one stands.
TEST(Windows1252, GivesEveryByteTheSameWhereverItStands) {
  for (unsigned byte = 0; byte <= 0xFF; ++byte) {
    const std::string alone = TextOf({static_cast<std::uint8_t>(byte), '.'});
    for (std::size_t at = 0; at < 20; ++at) {
      ByteString bytes(21, 'x');
      bytes[at] = static_cast<std::uint8_t>(byte);
      const std::string expected =
          std::string(at, 'x') + alone.substr(0, alone.size() - 1) + std::string(20 - at, 'x');
      ASSERT_EQ(TextOf(bytes), expected) << byte << " at " << at;
    }
  }
}

TEST(Windows1252, IsUtf8WhateverTheBytes) {
  std::mt19937 random(1252);
  for (std::size_t size = 0; size < 200; ++size) {
    ByteString bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    TextOf(bytes);
  }
}

}  // namespace
}  // namespace tarnlex
