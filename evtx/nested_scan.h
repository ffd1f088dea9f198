// Templates that stand inside the values of a record are registered for the rest of the chunk too.
#pragma once

#include <cstdint>

#include "evtx/decoder.h"
#include "evtx/substitution.h"

namespace tarnlex {

// Walks the binary XML values of the record's array, at any depth, and registers the template
// definitions that they name, together with the record's own entry where its definition is not
// `known`. Registers nothing when an array among them cannot be walked. `record` is the record's
// chunk offset, `own` the head of the definition that it names. Fills event.nested.
void RegisterNestedTemplates(EvtxDecoder& decoder, std::uint32_t record, const DefinitionHead& own,
                             bool known, DecodedEvent& event);

}  // namespace tarnlex
