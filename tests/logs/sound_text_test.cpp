#include "logs/sound_text.h"

#include <gtest/gtest.h>

#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

using support::ByteString;

ByteString Units(std::u16string_view text) {
  ByteString bytes;
  support::PutWide(bytes, text);
  return bytes;
}

bool IsSoundString(std::u16string_view text) { return IsSoundText(Units(text)); }

TEST(SoundText, TakesWhatPeopleWrite) {
  EXPECT_TRUE(IsSoundString(u""));
  EXPECT_TRUE(IsSoundString(u"C:\\Windows\t\"a\"\r\n"));
  EXPECT_TRUE(IsSoundString(u"Grüße, Привет, 日本語, \U0001F600"));
}

TEST(SoundText, RefusesWhatNoTextHolds) {
  const char16_t kUnits[] = {0x0000, 0x0001, 0x001B, 0x007F, 0x0085, 0xD800,
                             0xDFFF, 0xE000, 0xF8FF, 0xFDD0, 0xFFFE, 0xFFFF};
  for (const char16_t unit : kUnits) {
    EXPECT_FALSE(IsSoundString(std::u16string(u"a") + unit + u"b")) << std::hex << int{unit};
  }
  EXPECT_FALSE(IsSoundString(u"\xDE00\xD83D"));  // the halves of a pair, the wrong way round
  EXPECT_FALSE(IsSoundText(ByteString{0x41}));
}

TEST(SoundSid, FillsItsBytes) {
  const ByteString sid = support::SidBytes("S-1-5-21-1-2-3-500");
  EXPECT_TRUE(IsSoundSid(sid));
  EXPECT_FALSE(IsSoundSid(Bytes(sid).first(sid.size() - 4)));
  ByteString other = sid;
  other[1] = 9;
  EXPECT_FALSE(IsSoundSid(other));
  EXPECT_FALSE(IsSoundSid({}));
}

}  // namespace
}  // namespace tarnlex
