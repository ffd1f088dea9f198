// Whether bytes can be what a record takes them for. Sound values pass; of what was overwritten
// nearly nothing does.
#pragma once

#include <cstdint>

#include "event/value.h"
#include "logs/bytes.h"

namespace tarnlex {

// Whether UTF-16LE is text: no half of a surrogate pair, nothing for private use, no character
// that is none, and no control characters but tabs and line breaks.
bool IsSoundText(Bytes units);

// Whether a value's bytes can be one of its type. Binary XML is not looked into.
bool IsSoundValue(Bytes chunk, const SubstitutionValue& value);

}  // namespace tarnlex
