// The texts of typed values where an event keeps its structure, in two notations. JSON has the one
// that hunting tools know: identifiers in capitals, times to the microsecond, pointers in
// hexadecimal. XML has what Windows shows: identifiers in braces, times with seven digits.
#pragma once

#include <array>
#include <span>
#include <string>

#include "event/document.h"
#include "event/number_text.h"
#include "event/structure.h"

namespace tarnlex {

// Writes an instant, "2023-03-14T09:26:53.589793Z", at `out` (room for 32 characters); returns the
// end. Nothing for a number that is none (above 2^63 - 1).
char* WriteEventTime(std::uint64_t filetime, char* out);

// Writes the text of a value that is no array at `out`, which has room for MaxSlotText; returns the
// end. Nothing for a value without a text.
char* WriteEventText(Bytes bytes, const SubstitutionValue& value, char* out);

// The same for XML.
extern const std::array<ValueWriter, 0x100> kXmlWriters;
inline char* WriteXmlValue(Bytes bytes, const SubstitutionValue& value, char* out) {
  return kXmlWriters[value.type](bytes, value, out);
}

// The text of parts of a document, in a string of its own.
std::string EventTextOf(const EventStructure& event, std::span<const Item> parts);

// The same as a JSON value, with room for kJsonOverhead more: integers are numbers, and truth
// values what they are; all else is text in quotes. Nothing for a value without a text, or an empty
// one.
extern const std::array<ValueWriter, 0x100> kEventJsonWriters;
inline char* WriteEventJsonValue(Bytes bytes, const SubstitutionValue& value, char* out) {
  return kEventJsonWriters[value.type](bytes, value, out);
}

}  // namespace tarnlex
