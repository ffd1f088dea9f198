// A record as a line of JSON that keeps the event's own structure, in the shape that hunting tools
// read: an element is a member, attributes are "#attributes" in front of what it holds, "Data" with
// names are members by these, and elements of one name are numbered ("Name_1").
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "event/document.h"
#include "event/recovery.h"
#include "event/structure.h"
#include "logs/text_sink.h"

namespace tarnlex {

enum class EventJsonStepKind : std::uint8_t {
  kNothing,    // only the literal
  kValue,      // a value: null without a text
  kDataValue,  // the same of a "Data": "" without a text
  // Attributes of which perhaps none has a text; then the element is written as if it had none.
  kFirstAttribute,  // its literal ends with kAttributesBegin and `key_size` bytes
  kAttribute,       // its literal begins with a comma, which for the first one with a text becomes
                    // the brace in front of it
  kEnd,             // behind them, and behind kEndOfBoth, or kTextBehindAttributes and a value
  kEndData,         // the same of a "Data"
  kBeginContent,    // behind them: elements follow
  kEndFixed,        // as kEnd, of an element whose attributes are all there, and that has a value
  kText,            // the member "#text" in front of elements; nothing without a text
  // A list that is its only value if it has but one.
  kBeginList,
  kEntry,      // an object, which follows
  kListValue,  // a value, or all values of an array
  kEndList,
};

// A part of a value: a literal text, escaped; a slot; or one value of an array.
struct EventJsonPart {
  bool is_literal = false;
  bool is_element = false;
  bool optional = false;      // an empty slot may be left out
  std::uint32_t slot = 0;     // position in EventStructure::slots
  std::uint32_t literal = 0;  // in EventJson::literals
  std::uint32_t literal_size = 0;
  SubstitutionValue element = {};
};

inline constexpr std::string_view kAttributesBegin = "{\"#attributes\":{";
inline constexpr std::string_view kTextBehindAttributes = "},\"#text\":";
inline constexpr std::string_view kEndOfBoth = "}}";  // of the attributes and the element

inline constexpr std::uint32_t kNoSlot = ~std::uint32_t{0};

struct EventJsonStep {
  EventJsonStepKind kind = EventJsonStepKind::kNothing;
  std::uint32_t literal = 0;  // in EventJson::literals: what stands in front
  std::uint32_t literal_size = 0;
  std::uint32_t first_part = 0;
  std::uint32_t part_count = 0;
  std::uint32_t slot = kNoSlot;  // the slot that is all of its value
  std::uint32_t key_size = 0;    // kFirstAttribute
};

// What the records of a plan have in common in this form: made once, then followed step by step.
struct EventJson {
  std::string literals;  // and behind them a block that may be read
  std::vector<EventJsonStep> steps;
  std::vector<EventJsonPart> parts;
  std::size_t room = 0;  // bytes that a line takes at most, beside the texts of slots
  bool made = false;
};

// Lays out events whose document, which has an element, is `document`. An element whose text is an
// array stands once for each of its values. How many these are is another matter for each event: so
// a layout is for others too only without `repeats`, and cannot serve events with such arrays.
EventJson LayOutEventJson(const EventStructure& event, const Document& document, bool repeats);

// Writes the line of an event. False, nothing being written, when it has to have a layout of its
// own, with `repeats`; never if it has one. `slot_room` bounds the texts of the document's slots
// (RoomForSlots); what stands beside the event is told by `beside`.
bool WriteEventJson(TextSink& out, const EventStructure& event, const EventJson& layout,
                    bool repeats, std::size_t slot_room, std::string_view beside);

// Writes the line of a record that has no event: what its header says of it.
void WriteBareEventJson(TextSink& out, std::uint64_t record_id, std::uint64_t written_time,
                        std::string_view beside);

// What stands beside the event of a record that was recovered; of any other nothing does.
std::string BesideEventJson(const Recovery& recovery, std::uint64_t file_offset);

}  // namespace tarnlex
