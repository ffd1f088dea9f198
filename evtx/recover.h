// Records that no walk over a log in use comes to: what chunks do not use any more, slots without a
// chunk's signature, and what lies behind the last slot.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "event/recovery.h"
#include "evtx/walk.h"
#include "logs/bytes.h"

namespace tarnlex {

// A place to be searched once the whole log is known.
struct RecoveryPlace {
  std::uint64_t file_offset = 0;  // of the slot
  std::uint32_t size = 0;         // of the slot; the last one may be short
  std::uint32_t begin = 0;        // of what is searched, in the slot
  std::uint64_t last_id = 0;      // of the record that ends there; 0: none does
  FoundIn from = FoundIn::kSlack;
};

// What a walk notes for a recovery. What tells a record from others is its identifier and its time.
struct RecoveryNotes {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> live;  // records that the log has
  std::vector<RecoveryPlace> places;                          // that hold a whole record
  std::uint64_t not_kept = 0;                                 // records beyond kMostLive
};
inline constexpr std::size_t kMostLive = std::size_t{1} << 24;  // in 256 MiB

// Whether a record can have been written behind one of the identifier `before`, given the bytes
// between them: as many records as are missing, each of the least size.
bool Follows(std::uint64_t id, std::uint64_t before, std::uint32_t gap);

// Frames the record at `offset` of the decoder's chunk with what is proved of it. One whose own
// time is none cannot have been written: then its head is all that is told.
void FrameJudged(EvtxDecoder& decoder, const Recovery& judged, std::uint32_t offset,
                 DecodedEvent& event);

void NoteLiveRecord(RecoveryNotes& notes, std::uint64_t id, std::uint64_t time);

// Notes a place of a slot, whose bytes these are, unless no whole record stands in it.
void NotePlace(RecoveryNotes& notes, Bytes slot, const RecoveryPlace& place);

// Makes the notes of a whole log ready to be asked for records that it has.
void FinishNotes(RecoveryNotes& notes);

// Hands on the records of one place, whose bytes are `slot`, but for copies of those that the log
// has; each with what is proved of it. Nothing of it is kept for other chunks.
void RecoverPlace(EvtxDecoder& decoder, const RecoveryNotes& notes, Bytes slot,
                  const RecoveryPlace& place, const EvtxHandlers& handlers);

}  // namespace tarnlex
