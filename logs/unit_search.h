// A quick look for a text in bytes that may hold UTF-16 texts somewhere.
#pragma once

#include <string_view>

#include "logs/bytes.h"

namespace tarnlex {

// Whether a text of ASCII characters, which the caller has lower-cased already, occurs in `bytes`
// as UTF-16LE units, in any ASCII case and at any byte. An empty text occurs everywhere.
bool HoldsUnitsNoCase(Bytes bytes, std::string_view lowered);

// Whether a text of that kind occurs in `bytes` as UTF-16LE units or as single bytes. Meant for
// many bytes, most of which hold nothing of the text.
bool HoldsTextNoCase(Bytes bytes, std::string_view lowered);

}  // namespace tarnlex
