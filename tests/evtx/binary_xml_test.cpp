#include "evtx/binary_xml.h"

#include <gtest/gtest.h>

#include "evtx/trace.h"
#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::ChunkImage;
using support::Node;

constexpr StreamLayout kBody{true, false};
constexpr StreamLayout kPlain{false, false};

// A chunk of which the first tokens stand at 512.
struct Laid {
  ByteString chunk;
  std::uint32_t end = 0;
};
Laid LayDown(const std::vector<Node>& nodes, bool dependency_ids) {
  ChunkImage image;
  support::WriteNodes(image, nodes, dependency_ids);
  return {image.bytes, static_cast<std::uint32_t>(image.bytes.size())};
}

Token First(const Laid& laid, StreamLayout layout) {
  Token token;
  EXPECT_TRUE(ReadToken(laid.chunk, 512, laid.end, layout, token));
  return token;
}

std::string NameOf(const Token& token) {
  return token.has_name ? Utf16ToUtf8(token.name.units) : "(none)";
}

TEST(BinaryXml, AnAttributeEndsBehindANameThatFollowsIt) {
  const Laid laid = LayDown({support::Attribute("ab", "x")}, true);
  const Token token = First(laid, kBody);
  EXPECT_EQ(token.kind, TokenKind::kAttribute);
  EXPECT_TRUE(token.name_follows);
  EXPECT_EQ(NameOf(token), "ab");
  EXPECT_EQ(token.end, 512U + 5 + 8 + 4 + 2);
}

TEST(BinaryXml, AnAttributeWithAnEarlierNameHasFiveBytes) {
  const Laid laid = LayDown({support::Attribute("ab", "x"), support::Attribute("ab", "y")}, true);
  Token token;
  const std::uint32_t second = 512 + 19 + 6;
  ASSERT_TRUE(ReadToken(laid.chunk, second, laid.end, kBody, token));
  EXPECT_EQ(token.kind, TokenKind::kAttribute);
  EXPECT_FALSE(token.name_follows);
  EXPECT_EQ(NameOf(token), "ab");
  EXPECT_EQ(token.end, second + 5);
}

TEST(BinaryXml, ElementsOfTemplateBodiesCarryADependencyIdentifier) {
  const Laid body = LayDown({support::DependingOn(7, support::Element("E"))}, true);
  const Token with = First(body, kBody);
  EXPECT_EQ(with.dependency_id, 7U);
  EXPECT_EQ(NameOf(with), "E");
  const Laid plain = LayDown({support::Element("E")}, false);
  const Token without = First(plain, kPlain);
  EXPECT_EQ(NameOf(without), "E");
  EXPECT_EQ(without.end, with.end - 2);
}

TEST(BinaryXml, AnElementWithMoreCarriesTheSizeOfItsAttributeList) {
  const Laid laid = LayDown({support::Element("E", {support::Attribute("A", "x")})}, true);
  const Token token = First(laid, kBody);
  EXPECT_TRUE(HasMore(token));
  EXPECT_EQ(token.attributes_size, 5U + 8 + 2 + 2 + 6);
  EXPECT_EQ(laid.chunk[token.end], 0x06);
}

TEST(BinaryXml, NamesMayStandInlineWithoutOffsets) {
  // Element with dependency identifier 1 and size 9; attribute; both with hash 0x1234.
  const ByteString bytes = support::Hex(
      "01 0100 09000000 3412 0200 61006200"
      "06 3412 0100 6300");
  const auto end = static_cast<std::uint32_t>(bytes.size());
  Token token;
  ASSERT_TRUE(ReadToken(bytes, 0, end, {true, true}, token));
  EXPECT_EQ(NameOf(token), "ab");
  EXPECT_EQ(token.name.hash, 0x1234U);
  ASSERT_TRUE(ReadToken(bytes, token.end, end, {true, true}, token));
  EXPECT_EQ(NameOf(token), "c");
  EXPECT_EQ(token.end, end);
}

TEST(BinaryXml, ReadsValuesAndSubstitutions) {
  Token token = First(LayDown({support::Text("abc", true)}, true), kBody);
  EXPECT_EQ(token.kind, TokenKind::kValue);
  EXPECT_TRUE(HasMore(token));
  EXPECT_EQ(token.text.size(), 6U);
  EXPECT_EQ(token.end, 512U + 4 + 6);
  token = First(LayDown({support::OptionalSlot(300, support::kUInt16)}, true), kBody);
  EXPECT_EQ(token.kind, TokenKind::kOptionalSubstitution);
  EXPECT_EQ(token.slot, 300U);
  EXPECT_EQ(token.type, support::kUInt16);
  EXPECT_EQ(token.end, 512U + 4);
}

TEST(BinaryXml, OnlyTheLowNibbleSelectsTheToken) {
  const Laid laid = LayDown({support::Raw({0x84, 0xC2, 0x30})}, true);
  Token token = First(laid, kBody);
  EXPECT_EQ(token.kind, TokenKind::kEndElement);
  ASSERT_TRUE(ReadToken(laid.chunk, 513, laid.end, kBody, token));
  EXPECT_EQ(token.kind, TokenKind::kCloseStart);
  ASSERT_TRUE(ReadToken(laid.chunk, 514, laid.end, kBody, token));
  EXPECT_EQ(token.kind, TokenKind::kEndOfStream);
}

TEST(BinaryXml, ReadsReferencesCharacterDataAndInstructionsThatStopTables) {
  const std::pair<const char*, TokenKind> tokens[] = {
      {"07 0200 61006200", TokenKind::kCData},
      {"08 2600", TokenKind::kCharacterRef},
      {"49 07020000 00000000 0000 0100 7800 0000", TokenKind::kEntityRef},
      {"0A 07020000 00000000 0000 0100 7800 0000", TokenKind::kInstructionTarget},
      {"0B 0100 6100", TokenKind::kInstructionData},
      {"0F", TokenKind::kUnknown},
  };
  for (const auto& [bytes, kind] : tokens) {
    const Laid laid = LayDown({support::Raw(support::Hex(bytes))}, true);
    const Token token = First(laid, kBody);
    EXPECT_EQ(token.kind, kind) << bytes;
    EXPECT_TRUE(StopsReading(token.kind)) << bytes;
  }
  EXPECT_EQ(First(LayDown({support::Raw(support::Hex("08 2600"))}, true), kBody).slot, 0x26U);
  EXPECT_EQ(First(LayDown({support::Raw(support::Hex("07 0100 6100"))}, true), kBody).text.size(),
            2U);
}

TEST(BinaryXml, ATokenMustFitIntoItsStream) {
  const std::vector<Node> nodes[] = {
      {support::Element("E", {support::Attribute("A", "x")})},
      {support::Attribute("ab", "x")},
      {support::Text("abc")},
      {support::Slot(1, support::kString)},
  };
  for (const auto& each : nodes) {
    const Laid laid = LayDown(each, true);
    const std::uint32_t end = First(laid, kBody).end;
    Token token;
    for (std::uint32_t cut = 512; cut < end; ++cut) {
      EXPECT_FALSE(ReadToken(laid.chunk, 512, cut, kBody, token)) << cut;
    }
    EXPECT_TRUE(ReadToken(laid.chunk, 512, end, kBody, token));
  }
}

TEST(BinaryXml, BehindANameOfUnknownLengthNothingIsRead) {
  // The name would follow, but claims more characters than the chunk holds.
  ByteString bytes = support::Hex("06 05000000 00000000 0000 FFFF 6100");
  Token token;
  EXPECT_FALSE(ReadToken(bytes, 0, static_cast<std::uint32_t>(bytes.size()), kBody, token));
  // Elsewhere it only leaves the token without a name.
  bytes[1] = 4;
  ASSERT_TRUE(ReadToken(bytes, 0, static_cast<std::uint32_t>(bytes.size()), kBody, token));
  EXPECT_EQ(token.end, 5U);
  EXPECT_FALSE(token.has_name && token.name.count == 0xFFFF);
}

TEST(BinaryXml, AFragmentHeaderCountsOnlyWhole) {
  const ByteString with = support::Hex("0F010100 04");
  EXPECT_EQ(FirstToken(with, 0, 5), 4U);
  EXPECT_EQ(FirstToken(with, 0, 3), 0U);
  EXPECT_EQ(FirstToken(support::Hex("0F010101 04"), 0, 5), 0U);
}

TEST(BinaryXml, ATemplateInstanceReachesToTheEndOfItsValues) {
  support::Instance instance;
  instance.definition = support::MakeTemplate("t", {support::Element("A")});
  instance.values = {support::UInt32Value(1)};
  const Laid laid = LayDown({support::InstanceNode(instance), support::Raw({0x04})}, true);
  const Token token = First(laid, kBody);
  EXPECT_EQ(token.kind, TokenKind::kTemplateInstance);
  EXPECT_FALSE(token.endless);
  EXPECT_EQ(laid.chunk.at(token.end), 0x04);
  EXPECT_EQ(token.end + 1, laid.end);
}

TEST(BinaryXmlTrace, LeadsEveryTokenWithItsTag) {
  support::EvtxBuilder log;
  support::Instance inner;
  inner.definition = support::MakeTemplate("inner", {support::Element("I")});
  log.AddRecord({.body = support::InstanceFragment(
                     support::MakeTemplate(
                         "t", {support::Element("E", {support::Attribute("A", "a")},
                                                {support::Text("v"), support::Text("w", true),
                                                 support::Slot(0, support::kString),
                                                 support::OptionalSlot(1, support::kUInt16),
                                                 support::InstanceNode(inner)})}),
                     {support::StringValue("x"), support::UInt16Value(1)})});
  const std::string trace = Decode(log, true).trace;
  for (const char* part : {": bxml [open+]:",
                           ": bxml [open]:",
                           ": bxml [attrib]:",
                           ": bxml [value]:",
                           ": bxml [value+]:",
                           ": bxml [normsub]:",
                           ": bxml [optsub]:",
                           ": bxml [close st]:",
                           ": bxml [close em]:",
                           ": bxml [end elem]:",
                           ": --- bxml [tmpinst]:",
                           " : id:",
                           " : element_size:",
                           " : attrib size:",
                           " : data offset:",
                           " : slot_num: 1 : type: ",
                           "EvtVarTypeUInt16",
                           " : offset to prev:",
                           " : hash:",
                           " : num symbols: 1",
                           " : namestring: A",
                           " >\n",
                           " />\n",
                           " </...>\n"}) {
    EXPECT_TRUE(Contains(trace, part)) << part << "\n" << trace;
  }
  EXPECT_FALSE(Contains(trace, "null not present"));
}

TEST(BinaryXmlTrace, TellsAMissingTerminatorAndKeepsLinesWhole) {
  ByteString bytes = support::Hex("06 05000000 00000000 0000 0200 61000A00 0500");
  Token token;
  ASSERT_TRUE(ReadToken(bytes, 0, static_cast<std::uint32_t>(bytes.size()), kBody, token));
  std::string text;
  TextSink sink = MakeStringSink(text);
  TraceToken(sink, token);
  Flush(sink);
  EXPECT_TRUE(Contains(text, " : namestring: a  : null not present\n")) << text;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
}

}  // namespace
}  // namespace tarnlex
