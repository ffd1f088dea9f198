// Turning prepared streams and substitution arrays into the named values of a record.
#pragma once

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"

namespace tarnlex {

// The prepared body of the definition at `offset` of the chunk, whose head lies inside it; prepared
// at its first use in the chunk.
const TemplateProgram* PreparedTemplate(EvtxDecoder& decoder, std::uint32_t offset,
                                        std::uint32_t size);

// Prepares a stream of elements that belongs to no template, from `begin` to `end` of the chunk.
// Valid for the time of the present record.
const TemplateProgram* PreparedFragment(EvtxDecoder& decoder, std::uint32_t begin,
                                        std::uint32_t end);

// Fills the values of the present record from its program and array.
void ExpandRecord(EvtxDecoder& decoder, DecodedEvent& event);

}  // namespace tarnlex
