// One record: its frame, its template, its substitution values and the named values that come of
// them.
#pragma once

#include <cstdint>

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"

namespace tarnlex {

// Readies a decoder for another log. What it has learnt of templates and names stays, which is half
// of the work on a small log; what it has counted does not. `trace` may be null.
void BeginLog(EvtxDecoder& decoder, TextSink* trace);

// Makes the 65,536 bytes `data`, which must outlive their use, the chunk whose records come next.
void BeginChunk(EvtxDecoder& decoder, Bytes data, std::uint64_t file_offset);

// Frames the record at `offset` of the chunk, whose 24-byte head lies inside it: reads its header,
// finds and registers templates, parses its substitution array and settles its event identifier.
// False when the record is to be skipped without a word. `expected_number` is the number that the
// walk counts.
bool FrameRecord(EvtxDecoder& decoder, std::uint32_t offset, std::uint64_t expected_number,
                 DecodedEvent& event);

// Fills the named values of the record framed last; does nothing the second time.
void DecodeValues(EvtxDecoder& decoder, DecodedEvent& event);

}  // namespace tarnlex
