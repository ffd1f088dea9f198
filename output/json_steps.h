// The members of JSON objects as steps, one behind the other: what all records of a plan have in
// common is made once, and their values are filled in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "event/structure.h"
#include "output/json_layout.h"

namespace tarnlex {

enum class JsonStepKind : std::uint8_t {
  kSlot,   // a member whose value is one slot
  kText,   // a member whose value is the same in all events: it stands behind the key
  kValue,  // a member whose value is a text of several parts
  kEntry,  // a value of a list that is one slot: an array gives an entry for each of its values
  kBegin,  // an object or a list; the steps up to `next` stand in it
};

struct JsonStep {
  JsonStepKind kind = JsonStepKind::kSlot;
  JsonRole role = JsonRole::kAsTyped;
  bool is_list = false;         // kBegin
  std::uint32_t key = 0;        // in JsonSteps::text: ",\"Name\":", or "," in a list
  std::uint32_t key_size = 0;   // in bytes
  std::uint32_t text_size = 0;  // of the key, and of the value of kText
  std::uint32_t slot = 0;       // kSlot and kEntry: position in EventStructure::slots
  std::uint32_t first_part = 0;
  std::uint32_t part_count = 0;
  std::uint32_t next = 0;  // position of the step behind this one and what stands in it
};

// A part of a value: a literal text, escaped, or a slot.
struct JsonStepPart {
  bool is_slot = false;
  std::uint32_t slot = 0;
  std::uint32_t literal = 0;  // in JsonSteps::text
  std::uint32_t literal_size = 0;
};

struct JsonSteps {
  std::string text;  // keys and literals, and behind them a block that may be read
  std::vector<JsonStep> steps;
  std::vector<JsonStepPart> parts;
};

// Some of the steps, by position; none is parted from what stands in it.
struct JsonStepRange {
  std::uint32_t begin = 0;
  std::uint32_t end = 0;
};

// Adds the members of an object; returns where they are.
JsonStepRange AddSteps(const JsonMember& object, JsonSteps& layout);

// Is to be called behind the last member.
void EndSteps(JsonSteps& layout);

// Bytes that the steps take at most, beside the texts of slots.
std::size_t FixedSize(const JsonSteps& layout);

// The parts of a step's value.
std::span<const JsonStepPart> PartsOf(const JsonSteps& layout, const JsonStep& step);

std::string_view LiteralOf(const JsonSteps& layout, const JsonStepPart& part);

// A member's name, escaped; empty for an entry of a list.
std::string_view NameOf(const JsonSteps& layout, const JsonStep& step);

// Whether any part of a step's value has a text in this event; an object has none.
bool HasValue(const EventStructure& event, const JsonSteps& layout, const JsonStep& step);

// Writes the steps of a range at `out`, where there is room for FixedSize and the texts of all
// slots, each with a comma in front; returns the end. A member without any value is left out, as is
// an object or a list without any entry; a slot of type null has no value.
char* WriteSteps(const EventStructure& event, const JsonSteps& layout, JsonStepRange range,
                 char* out);

}  // namespace tarnlex
