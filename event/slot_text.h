// The text of a slot under the policy of its event.
#pragma once

#include <cstddef>

#include "event/complete_value.h"
#include "event/structure.h"
#include "event/value.h"

namespace tarnlex {

inline bool IsComplete(const EventStructure& event) { return event.policy == Policy::kComplete; }

// Bytes of text that a byte of a value becomes at most, beside what every number is given.
inline std::size_t TextPerByte(const EventStructure& event) {
  return IsComplete(event) ? kCompleteTextPerByte : kLiteralTextPerByte;
}

// An upper bound of a value's text, in bytes of UTF-8.
inline std::size_t MaxSlotText(const EventStructure& event, const SubstitutionValue& value) {
  return IsComplete(event) ? kMaxNumberRoom + kCompleteTextPerByte * value.size
                           : MaxValueText(event.bytes, value);
}

// The same without what every number is given: a bound of what a value says in proportion to its
// bytes.
inline std::size_t MaxProportionalText(const EventStructure& event,
                                       const SubstitutionValue& value) {
  return IsComplete(event) ? kCompleteTextPerByte * value.size
                           : MaxProportionalText(event.bytes, value);
}

// A closer bound; it takes a look at the value.
inline std::size_t SlotTextBound(const EventStructure& event, const SubstitutionValue& value) {
  return IsComplete(event) && !HasPlainText(value.type) ? MaxSlotText(event, value)
                                                        : ValueTextBound(event.bytes, value);
}

// Writes a value's text at `out`, which has room for MaxSlotText; returns the end.
inline char* WriteSlotText(const EventStructure& event, const SubstitutionValue& value, char* out) {
  return IsComplete(event) ? WriteCompleteText(event.bytes, value, out)
                           : WriteValueText(event.bytes, value, out);
}

// Whether the text of such a value may hold any character. All others consist of letters, digits,
// blanks and "-./:".
inline bool IsFreeSlotText(const EventStructure& event, std::uint8_t type) {
  return IsComplete(event) ? IsFreeCompleteText(type) : IsFreeText(type);
}

}  // namespace tarnlex
