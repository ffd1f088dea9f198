#include "evtx/trace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace tarnlex {
namespace {

Bytes AsBytes(const std::u16string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size() * 2};
}

std::string LineOf(const Token& token) {
  std::string written;
  TextSink sink = MakeStringSink(written);
  TraceToken(sink, token);
  Flush(sink);
  return written;
}

TEST(Trace, WritesATokenWithItsFields) {
  Token token;
  token.kind = TokenKind::kNormalSubstitution;
  token.offset = 0x2A0;
  token.slot = 7;
  token.type = 0x06;
  EXPECT_EQ(LineOf(token), "0x2a0: bxml [normsub]: : slot_num: 7 : type: EvtVarTypeUInt16\n");
}

TEST(Trace, MarksTheFlagForMore) {
  Token token;
  token.kind = TokenKind::kValue;
  token.type = 0x01;
  EXPECT_NE(LineOf(token).find(": bxml [value]:"), std::string::npos);
  token.byte = 0x45;
  EXPECT_NE(LineOf(token).find(": bxml [value+]:"), std::string::npos);
}

TEST(Trace, TextOfALogCannotForgeALine) {
  const std::u16string text = u"a\r\nrecord 1 at file offset 0x0\nb";
  Token token;
  token.kind = TokenKind::kValue;
  token.type = 0x01;
  token.text = AsBytes(text);
  const std::string line = LineOf(token);
  EXPECT_EQ(line.find_first_of("\r\n"), line.size() - 1);
  EXPECT_NE(line.find("record 1 at file offset 0x0 b"), std::string::npos);
}

TEST(Trace, OfAChunkEnds) {
  const std::vector<std::uint8_t> chunk(100, 0x04);  // end tags
  std::string written;
  TextSink sink = MakeStringSink(written);
  std::uint32_t left = 150;
  TraceStream(sink, chunk, 0, 100, {false, false}, left);
  EXPECT_EQ(left, 50U);
  TraceStream(sink, chunk, 0, 100, {false, false}, left);
  EXPECT_EQ(left, 0U);
  TraceStream(sink, chunk, 0, 100, {false, false}, left);
  Flush(sink);
  EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 151);
  EXPECT_TRUE(written.ends_with("tokens of this chunk left out from here on: too many\n"));
}

}  // namespace
}  // namespace tarnlex
