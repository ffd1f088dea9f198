// The walk over the 64 KiB slots of a log and over the records of each chunk. It is positional:
// what the headers count is not believed, what carries a signature is read.
#pragma once

#include <cstdint>
#include <functional>

#include "evtx/decoder.h"
#include "logs/bytes.h"

namespace tarnlex {

struct EvtxHandlers {
  // One record, framed; PlanOf gives its values when they are wanted.
  std::function<void(EvtxDecoder&, DecodedEvent&)> record;
  // Before each record: its identifier. Empty when nobody watches.
  std::function<void(std::uint64_t record_id)> progress;
};

// Walks every whole 64 KiB slot of `block`, which begins at `file_offset` of the file. Slots
// without the chunk signature are passed over; bytes behind the last whole slot are left. The
// complete policy walks both wherever they hold a record, and goes on behind what ends a chunk.
void WalkSlots(EvtxDecoder& decoder, Bytes block, std::uint64_t file_offset,
               const EvtxHandlers& handlers);

}  // namespace tarnlex
