// One record: its frame, its template, its substitution values and the named values that come of
// them.
#pragma once

#include <cstdint>

#include "event/system_time.h"
#include "evtx/decoded_event.h"
#include "evtx/decoder.h"
#include "logs/date_time.h"

namespace tarnlex {

// Readies a decoder for another log. What it has learnt of templates and names stays, which is half
// of the work on a small log; what it has counted does not. `trace` may be null. With `surveys`
// the account has all that can be known of the log.
void BeginLog(EvtxDecoder& decoder, TextSink* trace, Policy policy, bool surveys = false);

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

// Looks at the own time of the event framed last, whose plan was asked for, unless that was done
// before: it counts when it is not the record's.
void CompareWithOwn(EvtxDecoder& decoder, DecodedEvent& event);

// The same for a record that is given, and cheap for most.
inline void CompareTimes(EvtxDecoder& decoder, DecodedEvent& event) {
  if (event.plan == nullptr) return;
  std::uint64_t time = 0;
  const bool same = TimeOfSlot(event.structure, *event.plan, time) &&
                    time - event.written_time + kTicksPerSecond - 1 < 2 * kTicksPerSecond - 1;
  if (!same) CompareWithOwn(decoder, event);
}

}  // namespace tarnlex
