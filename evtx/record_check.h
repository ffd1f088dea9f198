// Whether a decoded record can be what it says: damaged records mostly decode to something, and
// only a second look tells their rows from sound ones.
#pragma once

#include <string_view>

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"

namespace tarnlex {

// Whether `text` can be the name of an element or attribute: letters, digits, "_", ":", "." and "-"
// or anything beyond ASCII, not beginning with a digit, "." or "-".
bool IsXmlName(std::string_view text);

// Whether all of `text` (UTF-8) can be printed: no control characters, nothing that was no
// character. True for an empty text.
bool IsPrintable(std::string_view text);

// Counts what speaks against the record framed last: an identifier that is not its header's, an
// event identifier or a provider that is missing or none. Decodes its values for that.
void CheckRecord(EvtxDecoder& decoder, DecodedEvent& event);

}  // namespace tarnlex
