// An event in document order, with every stream where it stands: what the forms that keep an
// event's structure are written from. Well formed whatever the streams hold.
#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "event/structure.h"

namespace tarnlex {

enum class ItemKind : std::uint8_t {
  kElement,      // opens; its name. Attributes follow, then content
  kEnd,          // ends the innermost element
  kAttribute,    // its name; parts of its value follow
  kText,         // a part of a text
  kSlot,         // the same, the value of a slot
  kInstruction,  // a processing instruction: its name
  kInstructionText,
};

struct Item {
  ItemKind kind = ItemKind::kEnd;
  bool optional = false;       // kSlot: an empty slot may be left out
  bool in_start_tag = false;   // kText and kSlot: of an attribute
  std::uint32_t slot = 0;      // kSlot: position in EventStructure::slots
  std::uint32_t next = 0;      // kElement: the item behind its end
  std::string_view text = {};  // UTF-8
};

struct Document {
  std::vector<Item> items;        // one root element, or nothing at all
  std::deque<std::string> texts;  // what no tree holds
  bool slots_once = true;         // no slot stands in two places
  std::uint64_t fixed_cost = 0;   // of all items, see ItemCost
};

// Bytes that an item costs whoever writes it, whatever its form: its marks and its text, a name's
// twice. The text of a slot is not counted.
inline std::uint64_t ItemCost(const Item& item) {
  constexpr std::uint64_t kMarks = 16;
  return kMarks + (item.kind == ItemKind::kElement ? 2 : 1) * item.text.size();
}

// Makes `document`, which is overwritten, of an event whose streams have been resolved under the
// complete policy. Elements that nothing ends are ended where their stream does, ends of nothing
// are left out, texts before the root too, what follows the root goes into it, and what lies deeper
// than 64 elements stands beside the one that it lies in.
// An event without the element "Event" is given one.
void MakeDocument(const EventStructure& event, Document& document);

void ClearDocument(Document& document);

// Leaves out all items from `size` on; elements that are open there are ended.
void CutDocument(Document& document, std::size_t size);

// An element and what stands directly in it.
struct AttributeView {
  std::string_view name;
  std::span<const Item> parts;  // of the document
};
struct ElementView {
  std::string_view name;
  std::vector<AttributeView> attributes;
  std::vector<Item> parts;              // of its text, wherever they stand between its children
  std::vector<std::uint32_t> children;  // their places among the items
  std::vector<AttributeView> instructions;
};

// Views the element at `at`.
ElementView ViewElement(const Document& document, std::uint32_t at);

}  // namespace tarnlex
