#include "event/extent.h"

#include <algorithm>

namespace tarnlex {
namespace {

bool StopsLiterally(NodeKind kind) {
  return kind == NodeKind::kCData || kind == NodeKind::kCharacter || kind == NodeKind::kEntity ||
         kind == NodeKind::kInstructionTarget || kind == NodeKind::kInstructionData ||
         kind == NodeKind::kUnknown;
}

bool Stops(NodeKind kind, Policy policy) {
  return policy == Policy::kLiteral ? StopsLiterally(kind) : kind == NodeKind::kUnknown;
}

// Whether the node at `i` gives a part of a text.
bool IsPart(const std::vector<Node>& nodes, std::size_t i) {
  if (i >= nodes.size()) return false;
  const NodeKind kind = nodes[i].kind;
  return kind == NodeKind::kText || kind == NodeKind::kSlot || kind == NodeKind::kCharacter ||
         kind == NodeKind::kEntity || kind == NodeKind::kCData;
}

bool IsAt(const std::vector<Node>& nodes, std::size_t i, NodeKind kind) {
  return i < nodes.size() && nodes[i].kind == kind;
}

bool IsElement(const Node& node, std::string_view name) {
  return node.kind == NodeKind::kElement && node.text == name;
}

bool IsAttribute(const Node& node, std::string_view name) {
  return node.kind == NodeKind::kAttribute && node.text == name;
}

void NoteSlot(const Node& node, std::uint64_t& slots) {
  if (node.kind == NodeKind::kSlot && node.slot < kSlotBits) slots |= std::uint64_t{1} << node.slot;
}

// Whether "EventID" could be the name of a value that a node before its element gives. Behind the
// first "Data" every Name may be that of one.
bool MayNameEventId(const std::vector<Node>& nodes, std::size_t i, bool behind_data) {
  if (nodes[i].kind == NodeKind::kInstance) return true;
  if (nodes[i].kind != NodeKind::kAttribute) return false;
  if (nodes[i].text == "EventID") return true;
  if (!behind_data || nodes[i].text != "Name") return false;
  const bool is_one_text = IsAt(nodes, i + 1, NodeKind::kText) && !IsPart(nodes, i + 2);
  return !is_one_text || nodes[i + 1].text == "EventID";
}

// Reads the element "EventID" that opens at `i`; notes it when its text is one slot.
void ReadEventId(const std::vector<Node>& nodes, std::size_t i, TreeExtent& extent) {
  SlotPlace& place = extent.event_id;
  for (++i; i < extent.nodes && nodes[i].kind != NodeKind::kStartEnd; ++i) {
    const bool attributes = nodes[i].kind == NodeKind::kAttribute ||
                            nodes[i].kind == NodeKind::kText || nodes[i].kind == NodeKind::kSlot;
    if (!attributes || nodes[i].text == "EventID") return;
    NoteSlot(nodes[i], place.slots_before);
  }
  if (i + 2 >= extent.nodes || !IsAt(nodes, i + 1, NodeKind::kSlot) ||
      !IsAt(nodes, i + 2, NodeKind::kElementEnd)) {
    return;
  }
  place.slot = static_cast<int>(nodes[i + 1].slot);
  place.nodes = static_cast<std::uint32_t>(i + 3);
  NoteSlot(nodes[i + 1], place.slots_before);
}

// Queries reject most records by their event identifier, so its place is found once here.
void FindEventId(const std::vector<Node>& nodes, TreeExtent& extent) {
  bool behind_data = false;
  for (std::size_t i = 0; i < extent.nodes; ++i) {
    const Node& node = nodes[i];
    if (MayNameEventId(nodes, i, behind_data)) return;
    behind_data |= IsElement(node, "Data");
    NoteSlot(node, extent.event_id.slots_before);
    if (IsElement(node, "EventID")) {
      ReadEventId(nodes, i, extent);
      return;
    }
  }
}

// By their time, too; where the attribute that holds it is one slot.
void FindSystemTime(const std::vector<Node>& nodes, TreeExtent& extent) {
  SlotPlace& place = extent.system_time;
  bool in_start_tag = false;
  for (std::size_t i = 0; i + 1 < extent.nodes; ++i) {
    const Node& node = nodes[i];
    if (node.kind == NodeKind::kInstance) return;
    NoteSlot(node, place.slots_before);
    if (node.kind == NodeKind::kElement) in_start_tag = node.text == "TimeCreated";
    if (node.kind == NodeKind::kStartEnd || node.kind == NodeKind::kElementEnd) {
      in_start_tag = false;
    }
    if (!in_start_tag || !IsAttribute(node, "SystemTime")) continue;
    if (!IsAt(nodes, i + 1, NodeKind::kSlot) || IsPart(nodes, i + 2)) return;
    place.slot = static_cast<int>(nodes[i + 1].slot);
    place.nodes = static_cast<std::uint32_t>(i + 2);
    return;
  }
}

}  // namespace

TreeExtent ExtentOf(const Tree& tree, Policy policy) {
  TreeExtent extent;
  const auto stop = std::find_if(tree.nodes.begin(), tree.nodes.end(),
                                 [policy](const Node& node) { return Stops(node.kind, policy); });
  const bool stopped = stop != tree.nodes.end();
  extent.nodes = static_cast<std::uint32_t>(stop - tree.nodes.begin()) + (stopped ? 1 : 0);
  extent.end = stopped ? StreamEnd::kStopped : tree.end;
  FindEventId(tree.nodes, extent);
  if (policy == Policy::kComplete) FindSystemTime(tree.nodes, extent);
  return extent;
}

}  // namespace tarnlex
