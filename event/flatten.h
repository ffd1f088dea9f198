// From trees to a plan: which named values tables and queries have of an event, in which order, and
// under which names. All of these rules are here. Unnamed "Data" elements are numbered, and a
// provider's attributes carry its name in front. Under the literal policy the first value of a name
// stays, and character data, references and processing instructions end a stream, of which what was
// gathered by then is kept. Under the complete policy these give their texts, and later values of a
// name are numbered like "Data".
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "event/plan.h"
#include "event/structure.h"
#include "event/tree.h"

namespace tarnlex {

// What names that are made, of values or by a number, may cost. Such a name is a column, and is
// kept for the rest of the log.
struct NameBudget {
  std::uint32_t work_left = 0;
  std::uint64_t text_left = 0;      // bytes of all that are made of values
  std::uint64_t numbered_left = 0;  // bytes of all that are made by a number
  bool spent = false;               // a name was refused
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

// The values of one name, when there are several.
struct Repeats {
  std::uint32_t last = 0;    // position of the last one in the plan's values
  std::uint32_t number = 1;  // that was tried for it
};

// Room that is used again from event to event; holds nothing between two of them.
struct FlattenRoom {
  std::deque<OpenStream> levels;
  std::vector<std::uint32_t> seen;  // hash table over the names of the plan's values
  std::vector<std::uint8_t> used_slots;
  std::map<std::uint32_t, Repeats> repeats;  // by the position of the first value of the name
  std::uint32_t unnamed_data = 0;
  std::string scratch;
};

// Makes `plan`, which is overwritten, of an event whose streams have been resolved, under the
// event's policy.
void Flatten(const EventStructure& event, NameBudget& budget, FlattenRoom& room, Plan& plan);

}  // namespace tarnlex
