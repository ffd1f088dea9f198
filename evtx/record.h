// One record: its frame, its template, its substitution values and the named values that come of
// them.
#pragma once

#include <cstdint>

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"

namespace tarnlex {

// Readies a decoder for another log. What it has learnt of templates and names stays, which is half
// of the work on a small log; what it has counted does not. `trace` may be null.
void BeginLog(EvtxDecoder& decoder, TextSink* trace, Policy policy);

// Makes the bytes `data`, 65,536 unless the chunk is cut, which must outlive their use, the chunk
// whose records come next.
void BeginChunk(EvtxDecoder& decoder, Bytes data, std::uint64_t file_offset);

// Takes what the chunk's records have taught over into the decoder's store; behind its last record.
void EndChunk(EvtxDecoder& decoder);

// Frames the record at `offset` of the chunk, whose 24-byte head lies inside it: reads its header,
// finds and registers templates, parses its substitution array and settles its event identifier.
// What event.recovery, settled before, does not vouch for is given without names or not at all.
// The result is a function of the chunk and of the settings, but for crafted records that repeat
// themselves: these share what their chunk has for it with those whose plans were asked for. False
// when the record is to be skipped without a word. `expected_number` is the number that the walk
// counts.
bool FrameRecord(EvtxDecoder& decoder, std::uint32_t offset, std::uint64_t expected_number,
                 DecodedEvent& event);

}  // namespace tarnlex
