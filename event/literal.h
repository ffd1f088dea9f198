// The literal policy: which named values the tables have of an event, in which order, and under
// which names. All of its rules are here: the first value of a name stays; unnamed "Data" elements
// are numbered; a provider's attributes carry its name in front; character data, references and
// processing instructions end a stream, and what was gathered by then is kept.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "event/plan.h"
#include "event/structure.h"
#include "event/tree.h"

namespace tarnlex {

// What the policy reads of a tree.
LiteralExtent LiteralExtentOf(const Tree& tree);

// What names that are made of values may cost. Such a name is a column, and is kept for the rest of
// the log.
struct NameBudget {
  std::uint32_t work_left = 0;
  std::uint64_t text_left = 0;  // bytes of all such names
  bool spent = false;           // a name was refused
};

// An element whose end has not been met.
struct OpenElement {
  std::string_view name;
  bool is_data = false;
  bool is_provider = false;
  bool named = false;        // "Data" that carries a Name attribute
  std::uint32_t number = 0;  // of unnamed "Data", once it is taken; counted from 1
  std::vector<PlanPart> text;
  std::vector<PlanPart> name_text;
};

// A stream that is being flattened.
struct OpenStream {
  const Stream* stream = nullptr;
  std::vector<OpenElement> elements;  // room; the first `depth` of them are open
  std::size_t depth = 0;
  bool in_attribute = false;
  std::string_view attribute;
  std::vector<PlanPart> attribute_text;
  std::uint32_t next_group = 0;
};

// Room that is used again from event to event; holds nothing between two of them.
struct FlattenRoom {
  std::deque<OpenStream> levels;
  std::vector<std::uint32_t> seen;  // hash table over the names of the plan's values
  std::vector<std::uint8_t> used_slots;
  std::uint32_t unnamed_data = 0;
  std::string scratch;
};

// Makes `plan`, which is overwritten, of an event whose streams have been resolved.
void FlattenLiterally(const EventStructure& event, NameBudget& budget, FlattenRoom& room,
                      Plan& plan);

}  // namespace tarnlex
