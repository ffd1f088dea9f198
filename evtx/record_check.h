// Whether a decoded record can be what it says: damaged records mostly decode to something, and
// only a second look tells their rows from sound ones.
#pragma once

#include "evtx/decoder.h"

namespace tarnlex {

// Counts what speaks against the record framed last: an identifier that is not its header's, an
// event identifier or a provider that is missing or none. Asks for its plan.
void CheckRecord(EvtxDecoder& decoder, DecodedEvent& event);

}  // namespace tarnlex
