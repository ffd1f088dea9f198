// Whether bytes can be what a record takes them for. Sound values pass; of what was overwritten
// nearly nothing does.
#pragma once

#include <cstdint>

#include "event/value.h"
#include "logs/bytes.h"

namespace tarnlex {

// Whether a value's bytes can be one of its type. Binary XML is not looked into.
bool IsSoundValue(Bytes chunk, const SubstitutionValue& value);

}  // namespace tarnlex
