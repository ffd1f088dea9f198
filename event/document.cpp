#include "event/document.h"

#include <algorithm>
#include <utility>

#include "event/references.h"

namespace tarnlex {
namespace {

// No real event comes near. What lies deeper stands beside what it lies in, so that whoever reads
// the event need not be ready for any depth.
constexpr std::size_t kMostDepth = 64;

struct Writing {
  const EventStructure& event;
  Document& document;
  std::vector<std::uint32_t> open = {};  // elements that have not ended, at most kMostDepth
  std::size_t depth = 0;                 // of the streams' own
  std::vector<std::uint8_t> used_slots = {};
  bool in_start_tag = false;
  bool in_attribute = false;
};

void EndInnermost(Writing& run) {
  std::vector<Item>& items = run.document.items;
  items.emplace_back();
  items[run.open.back()].next = static_cast<std::uint32_t>(items.size());
  run.open.pop_back();
}

void Open(Writing& run, std::string_view name) {
  if (run.open.size() == kMostDepth) EndInnermost(run);
  run.open.push_back(static_cast<std::uint32_t>(run.document.items.size()));
  ++run.depth;
  Item& item = run.document.items.emplace_back();
  item.kind = ItemKind::kElement;
  item.text = name;
  run.in_start_tag = true;
  run.in_attribute = false;
}

// The root stays open for what may follow.
void End(Writing& run) {
  run.in_start_tag = run.in_attribute = false;
  if (run.depth <= 1) return;
  if (run.open.size() == std::min(run.depth, kMostDepth)) EndInnermost(run);
  --run.depth;
}

void AddAttribute(Writing& run, std::string_view name) {
  run.in_attribute = run.in_start_tag;
  if (!run.in_start_tag) return;
  Item& item = run.document.items.emplace_back();
  item.kind = ItemKind::kAttribute;
  item.text = name;
}

// A text behind a start tag's attributes is the element's own.
void AddPart(Writing& run, Item part) {
  if (run.open.empty()) return;
  part.in_start_tag = run.in_attribute;
  if (!run.in_attribute) run.in_start_tag = false;
  run.document.items.push_back(part);
}

void AddText(Writing& run, std::string_view text) {
  Item part;
  part.kind = ItemKind::kText;
  part.text = text;
  AddPart(run, part);
}

void AddInstruction(Writing& run, ItemKind kind, std::string_view text) {
  if (run.open.empty()) return;
  run.in_attribute = run.in_start_tag = false;
  Item& item = run.document.items.emplace_back();
  item.kind = kind;
  item.text = text;
}

void AddEntity(Writing& run, std::string_view name) {
  for (const std::string_view part : EntityParts(name)) {
    if (!part.empty()) AddText(run, part);
  }
}

void AddCharacter(Writing& run, const Stream& stream, std::uint32_t i) {
  std::string text = CharacterText({stream.tree->nodes.data(), stream.nodes}, i);
  if (!text.empty()) AddText(run, run.document.texts.emplace_back(std::move(text)));
}

void AddStream(Writing& run, std::uint32_t number);

void AddGroup(Writing& run, const Stream& stream, std::uint32_t& next_group) {
  if (next_group == stream.group_count) return;
  const StreamGroup group = run.event.groups[stream.first_group + next_group++];
  // A stream that stands in an attribute has nowhere to go but behind it.
  run.in_attribute = false;
  for (std::uint32_t i = 0; i < group.count; ++i) AddStream(run, group.first + i);
}

void AddSlot(Writing& run, const Stream& stream, const Node& node, std::uint32_t& next_group) {
  if (node.slot >= stream.slot_count) return;
  const std::uint32_t slot = stream.first_slot + node.slot;
  if (run.event.slots[slot].type == kEvtVarTypeEvtBXml) {
    AddGroup(run, stream, next_group);
    return;
  }
  Item part;
  part.kind = ItemKind::kSlot;
  part.optional = node.optional;
  part.slot = slot;
  AddPart(run, part);
  run.document.slots_once &= run.used_slots[slot] == 0;
  run.used_slots[slot] = 1;
}

void Add(Writing& run, const Stream& stream, std::uint32_t i, std::size_t depth,
         std::uint32_t& next_group) {
  const Node& node = stream.tree->nodes[i];
  switch (node.kind) {
    case NodeKind::kElement: Open(run, node.text); break;
    case NodeKind::kStartEnd: run.in_start_tag = run.in_attribute = false; break;
    case NodeKind::kElementEnd:
      if (run.depth > depth) End(run);
      break;
    case NodeKind::kAttribute: AddAttribute(run, node.text); break;
    case NodeKind::kText:
    case NodeKind::kCData: AddText(run, node.text); break;
    case NodeKind::kSlot: AddSlot(run, stream, node, next_group); break;
    case NodeKind::kInstance: AddGroup(run, stream, next_group); break;
    case NodeKind::kCharacter: AddCharacter(run, stream, i); break;
    case NodeKind::kEntity: AddEntity(run, node.text); break;
    case NodeKind::kInstructionTarget:
      AddInstruction(run, ItemKind::kInstruction, node.text);
      break;
    case NodeKind::kInstructionData:
      AddInstruction(run, ItemKind::kInstructionText, node.text);
      break;
    case NodeKind::kStreamEnd:
    case NodeKind::kUnknown: break;
  }
}

void AddStream(Writing& run, std::uint32_t number) {
  const Stream& stream = run.event.streams[number];
  const std::size_t depth = run.depth;
  std::uint32_t next_group = 0;
  for (std::uint32_t i = 0; stream.tree && i < stream.nodes; ++i) {
    Add(run, stream, i, depth, next_group);
  }
  // What no node leads to stands at the end of what its stream holds.
  while (next_group < stream.group_count) AddGroup(run, stream, next_group);
  while (run.depth > std::max<std::size_t>(depth, 1)) End(run);
}

// Values whose template is gone come without the elements that events have around theirs.
void OpenMissingRoot(Writing& run) {
  const Tree* const tree = run.event.streams[0].tree;
  if (!tree || tree->nodes.empty() || tree->nodes[0].kind != NodeKind::kElement) return;
  const std::string_view first = tree->nodes[0].text;
  if (first == "Event") return;
  Open(run, "Event");
  if (first == "Data") Open(run, "EventData");
}

}  // namespace

void MakeDocument(const EventStructure& event, Document& document) {
  ClearDocument(document);
  Writing run{event, document};
  run.used_slots.resize(event.slots.count);
  if (event.streams.empty()) return;
  OpenMissingRoot(run);
  AddStream(run, 0);
  while (!run.open.empty()) EndInnermost(run);
  for (const Item& item : document.items) document.fixed_cost += ItemCost(item);
}

void CutDocument(Document& document, std::size_t size) {
  std::vector<Item>& items = document.items;
  items.resize(std::min(size, items.size()));
  std::vector<std::size_t> open;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (items[i].kind == ItemKind::kElement) open.push_back(i);
    if (items[i].kind == ItemKind::kEnd) open.pop_back();
  }
  for (; !open.empty(); open.pop_back()) {
    items.emplace_back();
    items[open.back()].next = static_cast<std::uint32_t>(items.size());
  }
}

namespace {

// The attribute or instruction at `at` and the parts behind it, which end where `i` comes to stand.
AttributeView ViewAttribute(const Document& document, std::uint32_t& i) {
  const std::uint32_t at = i;
  const auto is_part = [&](const Item& item) {
    return document.items[at].kind == ItemKind::kInstruction
               ? item.kind == ItemKind::kInstructionText
               : item.in_start_tag &&
                     (item.kind == ItemKind::kText || item.kind == ItemKind::kSlot);
  };
  while (i + 1 < document.items.size() && is_part(document.items[i + 1])) ++i;
  return {document.items[at].text, std::span(document.items).subspan(at + 1, i - at)};
}

}  // namespace

ElementView ViewElement(const Document& document, std::uint32_t at) {
  ElementView view;
  view.name = document.items[at].text;
  const std::uint32_t end = document.items[at].next - 1;
  for (std::uint32_t i = at + 1; i < end; ++i) {
    const Item& item = document.items[i];
    switch (item.kind) {
      case ItemKind::kElement:
        view.children.push_back(i);
        i = item.next - 1;
        break;
      case ItemKind::kAttribute: view.attributes.push_back(ViewAttribute(document, i)); break;
      case ItemKind::kInstruction: view.instructions.push_back(ViewAttribute(document, i)); break;
      case ItemKind::kInstructionText:  // without a target
        view.instructions.push_back({{}, std::span(document.items).subspan(i, 1)});
        break;
      case ItemKind::kText:
      case ItemKind::kSlot: view.parts.push_back(item); break;
      case ItemKind::kEnd: break;
    }
  }
  return view;
}

void ClearDocument(Document& document) {
  document.items.clear();
  document.texts.clear();
  document.slots_once = true;
  document.fixed_cost = 0;
}

}  // namespace tarnlex
