// A record as a line of XML: the event as Windows shows it. Well formed and free of undeclared
// prefixes whatever the log holds.
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

// What stands in front of all events, and behind them.
inline constexpr std::string_view kXmlBegin = "<Events>\n";
inline constexpr std::string_view kXmlEnd = "</Events>\n";

enum class EventXmlStepKind : std::uint8_t {
  kNothing,           // only the literal
  kSlot,              // the value of a slot
  kElement,           // one value of an array
  kPerhapsAttribute,  // the next `skip` steps are an attribute; left out when all its slots are
};

struct EventXmlStep {
  EventXmlStepKind kind = EventXmlStepKind::kNothing;
  std::uint32_t literal = 0;  // in EventXml::literals: what stands in front
  std::uint32_t literal_size = 0;
  std::uint32_t slot = 0;  // kSlot: position in EventStructure::slots
  std::uint32_t skip = 0;
  SubstitutionValue element = {};
};

// What the records of a plan have in common in this form: made once, then followed step by step.
struct EventXml {
  std::string literals;  // and behind them a block that may be read
  std::vector<EventXmlStep> steps;
  std::size_t room = 0;        // bytes that a line takes at most, beside the texts of slots
  std::uint64_t replaced = 0;  // characters of literals that XML cannot hold
  bool made = false;
};

// Lays out events whose document, which has an element, is `document`; for `repeats` see
// LayOutEventJson. A name that is none is made into one (XmlName), and what it was is told by the
// attribute "OriginalName", or "NAME.OriginalName" of an attribute.
EventXml LayOutEventXml(const EventStructure& event, const Document& document, bool repeats);

// Writes the line of an event. False, nothing being written, when it has to have a layout of its
// own, with `repeats`; never if it has one. `slot_room` bounds the texts of the document's slots
// (RoomForSlots). Characters that XML cannot hold are added to `replaced`.
bool WriteEventXml(TextSink& out, const EventStructure& event, const EventXml& layout, bool repeats,
                   std::size_t slot_room, std::uint64_t& replaced);

// Begins the line of a record that was recovered, in front of its event: by a processing
// instruction, which leaves the event as it would be otherwise.
void BeginRecoveredXml(TextSink& out, const Recovery& recovery, std::uint64_t file_offset);

// Writes the line of a record that has no event: what its header says of it.
void WriteBareEventXml(TextSink& out, std::uint64_t record_id, std::uint64_t written_time);

}  // namespace tarnlex
