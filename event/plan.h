// Where the named values of an event come from: literal texts and slots. Events of one kind share a
// plan; every event has one, kept or made for it alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "event/document.h"
#include "event/structure.h"
#include "logs/text.h"

namespace tarnlex {

// A part of a value's text.
struct PlanPart {
  const char* literal = nullptr;  // null: the slot
  std::uint32_t size = 0;         // of the literal
  std::uint32_t slot = 0;         // position in EventStructure::slots
  bool optional = false;          // an empty slot gives nothing, where it would give "0"
};

// A value and the name that it is found by. Each name occurs once.
struct PlanValue {
  std::string_view name;
  std::uint32_t first_part = 0;
  std::uint32_t part_count = 0;
  // Positions of later values; 0: none.
  std::uint32_t first_later = 0;   // the first that stands under a number because of this one
  std::uint32_t next_of_name = 0;  // the next that stands under a number of the same name
};

inline constexpr std::uint32_t kUnkeptPlan = ~std::uint32_t{0};

struct Plan {
  std::uint32_t id = kUnkeptPlan;  // of a kept plan: position in the order of making, from 0
  std::vector<PlanValue> values;   // in document order
  std::vector<PlanPart> parts;
  std::deque<std::string> texts;  // names that no tree holds
  Document document;              // the same values where they stand, for forms that ask for it
  std::size_t literal_text = 0;   // bytes
  std::size_t numbered_text = 0;  // bytes of the names that are made by a number
  std::uint32_t work = 0;         // what resolving the streams costs
  int event_id = -1;              // the value "EventID"
  int system_time = -1;           // the attribute "SystemTime" of "TimeCreated"
  int time_slot = -1;             // the slot that is all of its text
  bool keepable = true;           // no name depends on a value
  bool slots_once = true;         // no slot stands in two places
  bool odd_names = false;         // "Data" with names that cannot be printed
};

void ClearPlan(Plan& plan);

// Whether an optional slot that holds nothing leaves the part out.
inline bool IsLeftOut(const EventStructure& event, const PlanPart& part) {
  return !part.literal && part.optional && event.slots[part.slot].type == kEvtVarTypeNull;
}

// Whether every part of a value is left out: it is there, but unresolved.
bool IsUnresolved(const EventStructure& event, const Plan& plan, const PlanValue& value);

// Upper bound of the bytes of a value's text.
std::size_t MaxTextSize(const EventStructure& event, const Plan& plan, const PlanValue& value);

// Writes a value's text at `out`, which has room for MaxTextSize; returns the end. An unresolved
// value has an empty text.
char* WriteText(const EventStructure& event, const Plan& plan, const PlanValue& value, char* out);

// The text of a value; `scratch` holds it if it has to be made.
std::string_view TextOf(const EventStructure& event, const Plan& plan, const PlanValue& value,
                        std::string& scratch);

// The value of exactly that name, or null.
const PlanValue* FindValue(const Plan& plan, std::string_view name);

// The same, else the first in name order that equals it without regard to ASCII case.
const PlanValue* FindValueNoCase(const Plan& plan, std::string_view name);

}  // namespace tarnlex
