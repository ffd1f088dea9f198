#include "evtx/compile.h"

#include <gtest/gtest.h>

#include "evtx/evtx_format.h"
#include "tests/evtx/decoding.h"
#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

using support::ByteString;

// next 0x10, hash 0x20, two characters, "ab", a zero unit.
ByteString NameBytes() { return support::Hex("10000000 2000 0200 61006200 0000"); }

TEST(Names, ReadsANameRecord) {
  const ByteString bytes = NameBytes();
  NameRecord record;
  ASSERT_TRUE(ReadNameRecord(bytes, 0, record));
  EXPECT_EQ(record.next, 0x10U);
  EXPECT_EQ(record.hash, 0x20U);
  EXPECT_EQ(record.count, 2U);
  EXPECT_EQ(record.units.size(), 4U);
  EXPECT_TRUE(record.terminated);
}

TEST(Names, AMissingTerminatorIsToldAndDoesNotHideTheName) {
  ByteString bytes = NameBytes();
  bytes[12] = 'c';
  NameRecord record;
  ASSERT_TRUE(ReadNameRecord(bytes, 0, record));
  EXPECT_FALSE(record.terminated);
  bytes.resize(12);
  ASSERT_TRUE(ReadNameRecord(bytes, 0, record));
  EXPECT_FALSE(record.terminated);
}

TEST(Names, ANameThatReachesBehindTheChunkIsNone) {
  const ByteString bytes = NameBytes();
  NameRecord record;
  for (std::size_t size = 0; size < 12; ++size) {
    EXPECT_FALSE(ReadNameRecord(Bytes(bytes).first(size), 0, record)) << size;
  }
  EXPECT_FALSE(ReadNameRecord(bytes, 0xFFFFFFFF, record));
}

std::vector<NodeKind> KindsOf(const Tree& tree) {
  std::vector<NodeKind> kinds;
  for (const Node& node : tree.nodes) kinds.push_back(node.kind);
  return kinds;
}

// The stream of `nodes`, compiled as the body of a template.
void CompileNodes(const std::vector<support::Node>& nodes, ChunkNames* shared, Tree& tree) {
  support::ChunkImage image;
  const auto begin = static_cast<std::uint32_t>(image.bytes.size());
  support::WriteNodes(image, nodes, true);
  const auto end = static_cast<std::uint32_t>(image.bytes.size());
  CompileStream(image.bytes, begin, end, {true, false}, shared, tree);
}

TEST(Compile, KeepsEverythingInDocumentOrder) {
  const std::vector<support::Node> nodes = {
      support::Element("E", {support::Attribute("A", "a")},
                       {support::Text("one"), support::OptionalSlot(3, support::kString),
                        support::CData("two"), support::Text("three")}),
      support::Element("F")};
  Tree tree;
  CompileNodes(nodes, nullptr, tree);
  EXPECT_EQ(KindsOf(tree),
            (std::vector<NodeKind>{NodeKind::kElement, NodeKind::kAttribute, NodeKind::kText,
                                   NodeKind::kStartEnd, NodeKind::kText, NodeKind::kSlot,
                                   NodeKind::kCData, NodeKind::kText, NodeKind::kElementEnd,
                                   NodeKind::kElement, NodeKind::kElementEnd}));
  EXPECT_EQ(tree.nodes[1].text, "A");
  EXPECT_EQ(tree.nodes[5].slot, 3U);
  EXPECT_TRUE(tree.nodes[5].optional);
  EXPECT_EQ(tree.nodes[6].text, "two");
  EXPECT_EQ(tree.end, StreamEnd::kComplete);
  // Tables read it as far as the CDATA section.
  EXPECT_EQ(tree.extent.nodes, 7U);
  EXPECT_EQ(tree.extent.end, StreamEnd::kStopped);
  EXPECT_FALSE(tree.odd_names);
}

TEST(Compile, GivesNamesOfTheChunkAndNamesOfItsOwnAlike) {
  const std::vector<support::Node> nodes = {support::Element("E", {}, {support::Element("E")})};
  ChunkNames shared;
  Tree with;
  Tree without;
  CompileNodes(nodes, &shared, with);
  CompileNodes(nodes, nullptr, without);
  EXPECT_EQ(with.nodes[0].text, "E");
  EXPECT_EQ(without.nodes[0].text, "E");
  EXPECT_EQ(shared.texts.size(), 1U);
  EXPECT_EQ(without.names.size(), 1U);
  EXPECT_TRUE(with.names.empty());
}

TEST(Compile, LeavesNamesEmptyThatAreTooMuchTogether) {
  std::vector<support::Node> nodes;
  for (int i = 0; i < 5; ++i) {
    nodes.push_back(support::Element(std::string(30'000, static_cast<char>('a' + i))));
  }
  Tree tree;
  CompileNodes(nodes, nullptr, tree);
  EXPECT_EQ(tree.nodes.front().text.size(), 30'000U);
  EXPECT_EQ(tree.nodes[8].text, "");
  EXPECT_TRUE(tree.cut_names);
  EXPECT_TRUE(tree.odd_names);
}

}  // namespace
}  // namespace tarnlex
