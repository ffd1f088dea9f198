// One EVTX record during decoding: its header and its named values. Values point into the chunk;
// their text is made only when somebody asks for it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "evtx/names.h"
#include "evtx/value.h"
#include "logs/bytes.h"
#include "logs/text.h"

namespace tarnlex {

// A part of a value's text: a literal of a template, or a substitution value.
struct ValuePart {
  const char* literal = nullptr;  // null: the substitution value below
  std::uint32_t offset = 0;       // of its bytes in the chunk; of a literal, its length
  std::uint16_t size = 0;
  std::uint8_t type = 0;
  std::uint8_t origin = 0;  // for plans, see value_plan.h
  bool optional = false;    // the slot of an optional substitution
};

// Whether both are the same bytes, which then give the same text.
inline bool SameText(const ValuePart& a, const ValuePart& b) {
  return a.literal == b.literal && a.offset == b.offset && a.size == b.size && a.type == b.type;
}

// A value and the name that it is found by. Each name occurs once; the first value of a name stays.
struct NamedValue {
  const Name* name = nullptr;
  ValuePart part;                // the text, or its first part
  std::uint32_t more_begin = 0;  // further parts in DecodedEvent::parts
  std::uint32_t more_count = 0;
  bool unresolved = false;  // an optional substitution over an empty slot
};

// Valid until the next record is framed; the chunk's bytes must outlive it.
struct DecodedEvent {
  Bytes chunk;
  std::uint32_t signature = 0;
  std::uint32_t size = 0;
  std::uint64_t record_id = 0;
  std::uint64_t written_time = 0;  // FILETIME
  std::uint64_t chunk_file_offset = 0;
  std::uint64_t record_file_offset = 0;
  std::uint64_t event_id = 0;
  std::uint64_t serial = 0;        // of the record in the decoder's life, from 1
  std::vector<NamedValue> values;  // in document order
  std::vector<ValuePart> parts;
  std::size_t max_text = 0;      // upper bound of the bytes of all texts
  std::size_t counted_text = 0;  // the same without what numbers take (MaxProportionalText)
  bool values_decoded = false;
  bool plannable = true;  // no name of its values depends on a value
};

// Upper bound of the bytes of a value's text.
std::size_t MaxTextSize(const DecodedEvent& event, const NamedValue& value);

// The same without what numbers take.
std::size_t CountedTextSize(const DecodedEvent& event, const NamedValue& value);

// Writes a value's text at `out`, which has room for MaxTextSize; returns the end. An unresolved
// value has an empty text.
char* WriteText(const DecodedEvent& event, const NamedValue& value, char* out);

// The text of a value; `scratch` holds it if it has to be made.
std::string_view TextOf(const DecodedEvent& event, const NamedValue& value, std::string& scratch);

// The value of a name, or null when the event has none.
const NamedValue* FindValue(const DecodedEvent& event, const Name* name);

// The same by text among values that each have a `name`: exactly that name if there is one, else
// the first in name order that equals it without regard to ASCII case.
template <typename Value>
const Value* FindValueNoCase(const std::vector<Value>& values, std::string_view name) {
  const Value* found = nullptr;
  for (const Value& value : values) {
    if (value.name->text == name) return &value;
    if (!EqualsNoCase(value.name->text, name)) continue;
    if (!found || value.name->text < found->name->text) found = &value;
  }
  return found;
}

}  // namespace tarnlex
