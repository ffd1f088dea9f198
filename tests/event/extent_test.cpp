// What is told of a tree beforehand. That it agrees with what plans find is held wherever a test
// decodes a log (tests/evtx/decoding.h).
#include "event/extent.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

Node Of(NodeKind kind, std::string_view text = {}) { return {kind, false, 0, 0, text}; }
Node SlotNode(std::uint16_t slot) { return {NodeKind::kSlot, false, slot, 0, {}}; }

Tree TreeOf(std::vector<Node> nodes) {
  Tree tree;
  tree.nodes = std::move(nodes);
  return tree;
}

// An event with an identifier and a time, whose text before them holds `between`.
Tree EventTree(std::vector<Node> between = {}, std::vector<Node> behind_time = {}) {
  std::vector<Node> nodes = {Of(NodeKind::kElement, "Event"), Of(NodeKind::kStartEnd)};
  nodes.insert(nodes.end(), between.begin(), between.end());
  for (const Node& node : {Of(NodeKind::kElement, "EventID"), Of(NodeKind::kStartEnd), SlotNode(3),
                           Of(NodeKind::kElementEnd), Of(NodeKind::kElement, "TimeCreated"),
                           Of(NodeKind::kAttribute, "SystemTime"), SlotNode(6)}) {
    nodes.push_back(node);
  }
  nodes.insert(nodes.end(), behind_time.begin(), behind_time.end());
  for (const NodeKind kind : {NodeKind::kElementEnd, NodeKind::kElementEnd, NodeKind::kStreamEnd}) {
    nodes.push_back(Of(kind));
  }
  return TreeOf(std::move(nodes));
}

TEST(Extent, FindsTheSlotsOfIdentifierAndTime) {
  const TreeExtent extent = ExtentOf(EventTree({SlotNode(1)}), Policy::kComplete);
  EXPECT_EQ(extent.event_id.slot, 3);
  EXPECT_EQ(extent.event_id.nodes, 7U);
  EXPECT_EQ(extent.event_id.slots_before, 1U << 1 | 1U << 3);
  EXPECT_EQ(extent.system_time.slot, 6);
  EXPECT_EQ(extent.system_time.nodes, 10U);
  EXPECT_EQ(extent.system_time.slots_before, 1U << 1 | 1U << 3);
}

TEST(Extent, TheLiteralPolicyHasNoTime) {
  const TreeExtent extent = ExtentOf(EventTree(), Policy::kLiteral);
  EXPECT_EQ(extent.event_id.slot, 3);
  EXPECT_EQ(extent.system_time.slot, -1);
}

TEST(Extent, ReadsReferencesAndTheLikeUnderTheCompletePolicyOnly) {
  for (const NodeKind kind : {NodeKind::kCData, NodeKind::kCharacter, NodeKind::kEntity,
                              NodeKind::kInstructionTarget, NodeKind::kInstructionData}) {
    const Tree tree = EventTree({Of(kind, "x")});
    const TreeExtent literal = ExtentOf(tree, Policy::kLiteral);
    EXPECT_EQ(literal.nodes, 3U);
    EXPECT_EQ(literal.end, StreamEnd::kStopped);
    EXPECT_EQ(literal.event_id.slot, -1);
    const TreeExtent complete = ExtentOf(tree, Policy::kComplete);
    EXPECT_EQ(complete.nodes, tree.nodes.size());
    EXPECT_EQ(complete.end, StreamEnd::kComplete);
    EXPECT_EQ(complete.event_id.slot, 3);
    EXPECT_EQ(complete.system_time.slot, 6);
  }
}

TEST(Extent, StopsUnderBothPoliciesWhereNothingCanBeRead) {
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    const TreeExtent extent = ExtentOf(EventTree({Of(NodeKind::kUnknown)}), policy);
    EXPECT_EQ(extent.nodes, 3U);
    EXPECT_EQ(extent.end, StreamEnd::kStopped);
    EXPECT_EQ(extent.event_id.slot, -1);
    EXPECT_EQ(extent.system_time.slot, -1);
  }
}

TEST(Extent, ATimeOfSeveralPartsIsLeftToFlattening) {
  for (const NodeKind kind :
       {NodeKind::kText, NodeKind::kEntity, NodeKind::kCharacter, NodeKind::kCData}) {
    EXPECT_EQ(ExtentOf(EventTree({}, {Of(kind, "x")}), Policy::kComplete).system_time.slot, -1);
  }
  EXPECT_EQ(ExtentOf(EventTree({}, {SlotNode(7)}), Policy::kComplete).system_time.slot, -1);
  EXPECT_EQ(
      ExtentOf(EventTree({}, {Of(NodeKind::kAttribute, "A")}), Policy::kComplete).system_time.slot,
      6);
}

TEST(Extent, BehindAnInstanceNothingIsCertain) {
  const TreeExtent extent = ExtentOf(EventTree({Of(NodeKind::kInstance)}), Policy::kComplete);
  EXPECT_EQ(extent.event_id.slot, -1);
  EXPECT_EQ(extent.system_time.slot, -1);
}

TEST(Extent, OnlyTimeCreatedHasTheTime) {
  EXPECT_EQ(
      ExtentOf(TreeOf({Of(NodeKind::kElement, "Other"), Of(NodeKind::kAttribute, "SystemTime"),
                       SlotNode(1), Of(NodeKind::kElementEnd)}),
               Policy::kComplete)
          .system_time.slot,
      -1);
}

}  // namespace
}  // namespace tarnlex
