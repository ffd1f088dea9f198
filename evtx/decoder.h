// What decoding EVTX needs beside the record at hand: what is kept from chunk to chunk, the chunk,
// and what is said of it all.
#pragma once

#include <cstdint>

#include "event/policy.h"
#include "evtx/account.h"
#include "evtx/chunk.h"
#include "evtx/decoded_event.h"
#include "evtx/template_store.h"
#include "logs/text_sink.h"

namespace tarnlex {

struct RecoveryNotes;

struct EvtxDecoder {
  TemplateStore store;  // of all logs of a run; not written to while a chunk is read
  EvtxChunk chunk;
  WalkAccount account;
  TextSink* trace = nullptr;         // null: no trace is asked for
  Policy policy = Policy::kLiteral;  // of all logs of a run
  bool keeps = true;             // off: every record is decoded as if it were the first of its kind
  bool makes_documents = false;  // plans come with their event in document order
  RecoveryNotes* notes = nullptr;  // null: nothing is recovered; complete policy only
  bool checks_records = false;  // the account is to say what speaks against rows (record_check.h)
  bool surveys = false;         // and what the log's records tell together (survey.h)
};

// Whether a fault that was noted for the record is a loss.
inline bool IsPartial(const DecodedEvent& event) {
  constexpr std::uint32_t kLosses = [] {
    std::uint32_t losses = 0;
    for (unsigned i = 0; i < static_cast<unsigned>(RecordFault::kCount); ++i) {
      if (IsLoss(static_cast<RecordFault>(i))) losses |= 1U << i;
    }
    return losses;
  }();
  return (event.faults & kLosses) != 0;
}

// Counts a fault of a record, once. What a recovered one lacks its class tells; the log lacks none.
inline void NoteFault(EvtxDecoder& decoder, DecodedEvent& event, RecordFault fault) {
  const std::uint32_t bit = 1U << static_cast<unsigned>(fault);
  if ((event.faults & bit) != 0) return;
  decoder.account.partial += IsLoss(fault) && !IsPartial(event) && !IsRecovered(event.recovery);
  event.faults |= bit;
  AddFault(decoder.account, {fault, event.record_id, event.record_file_offset});
}

// Takes `work` from what a record may cost; false, nothing being left, when that is not enough.
inline bool Charge(DecodedEvent& event, std::size_t work) {
  const bool enough = work <= event.work_left;
  event.work_left -= enough ? static_cast<std::uint32_t>(work) : event.work_left;
  return enough;
}

}  // namespace tarnlex
