// Streams of elements that belong to no template, as forwarded logs hold them record after record.
// Those that differ in nothing but texts are of one kind: they share a tree, whose texts are slots,
// and what is kept for the records of a template serves them too.
#pragma once

#include <cstdint>

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"

namespace tarnlex {

// The tree of the kind of the stream from `begin` to `end` of the chunk; its texts are put behind
// the slots of the event's structure, and `texts` says where. Null, nothing having been put, for a
// stream that has to be compiled by itself: one that holds more than elements, attributes and
// texts, that ends badly, or that is too large to be looked for.
const Tree* TreeOfKind(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t begin,
                       std::uint32_t end, SubstitutionArray& texts);

// Finds the kind of the binary XML value among the record's own values, if it is the only one and
// holds elements, and fills event.nested. Half of the work on a value of elements, and of use only
// to whoever asks for the record's plan.
void FindNestedKind(EvtxDecoder& decoder, DecodedEvent& event);

}  // namespace tarnlex
