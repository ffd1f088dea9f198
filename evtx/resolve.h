// Finding the streams of a record: the template bodies, fragments and values that stand inside of
// one another, within bounds.
#pragma once

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"

namespace tarnlex {

// The tree of the definition at `offset` of the chunk, whose head lies inside it; compiled at its
// first use in the chunk.
const Tree* TemplateTree(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t offset,
                         std::uint32_t size);

// The tree of a stream of elements that belongs to no template, from `begin` to `end` of the chunk.
// Valid for the time of the record.
const Tree* FragmentTree(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t begin,
                         std::uint32_t end);

// The tree of the instance whose token stands at `token`, with `count` values, given the head of
// the definition that it names. To the complete policy a definition that was overwritten is none:
// then the tree gives the values as unnamed data.
const Tree* InstanceTree(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t token,
                         std::uint32_t definition, const DefinitionHead& head, std::uint32_t count);

// The values of an instance of a recovered record whose names nothing vouches for, as a tree; of
// one that stands `depth` deep in the record's values. Valid for the time of the record.
const Tree* UnvouchedTree(DecodedEvent& event, const SubstitutionArray& array, int depth);

// Writes the tokens of a definition's body to the trace, if there is one.
void TraceTemplate(EvtxDecoder& decoder, std::uint32_t offset, std::uint32_t size);

// Fills the streams of the record's structure; does nothing the second time.
void ResolveStreams(EvtxDecoder& decoder, DecodedEvent& event);

}  // namespace tarnlex
