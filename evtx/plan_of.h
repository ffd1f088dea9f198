// The plan of a record: found where records of its kind have been met, else made.
#pragma once

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"

namespace tarnlex {

// Where the values of the record come from. Asked again, it gives the same. What is worth it is
// kept for the records that follow; event.max_text bounds the text of the values.
const Plan& PlanOf(EvtxDecoder& decoder, DecodedEvent& event);

}  // namespace tarnlex
