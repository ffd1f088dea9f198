// Everything that decoding EVTX needs, kept from record to record and from chunk to chunk so that
// nothing is allocated twice.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "evtx/account.h"
#include "evtx/chunk.h"
#include "evtx/names.h"
#include "evtx/substitution.h"
#include "evtx/template.h"
#include "evtx/template_cache.h"
#include "evtx/value_plan.h"
#include "logs/text_sink.h"

namespace tarnlex {

struct EvtxDecoder {
  NameTable names;
  TemplateCache cache;
  PlanTable plans;
  EvtxChunk chunk;
  WalkAccount account;
  TextSink* trace = nullptr;    // null: no trace is asked for
  bool checks_records = false;  // the account is to say what speaks against rows (record_check.h)

  // The record being decoded.
  std::uint64_t record_id = 0;
  std::uint64_t record_file_offset = 0;
  std::uint64_t serial = 0;                  // counts records over the decoder's life
  std::uint32_t faults = 0;                  // bits of RecordFault noted for it
  const TemplateRef* reference = nullptr;    // null: no template, or an element fragment
  const TemplateProgram* program = nullptr;  // what its values come from; null: nothing
  SubstitutionArray array;
  NestedValues nested;
  std::uint32_t work_left = 0;            // tokens and slot values that it may still cost
  std::uint32_t record_share = 0;         // its bytes in the chunk
  std::size_t unnamed_data = 0;           // unnamed "Data" elements met
  std::vector<std::size_t> counted_data;  // numbers taken by those that have children
  std::vector<TemplateRef> scanned;       // definitions met inside its values

  // Its streams that belong to no definition; the values point into them until the next record.
  std::vector<std::unique_ptr<TemplateProgram>> fragments;
  std::size_t fragments_used = 0;
};

// Counts a fault of the present record, once.
inline void NoteFault(EvtxDecoder& decoder, RecordFault fault) {
  const std::uint32_t bit = 1U << static_cast<unsigned>(fault);
  if ((decoder.faults & bit) != 0) return;
  decoder.faults |= bit;
  AddFault(decoder.account, {fault, decoder.record_id, decoder.record_file_offset});
}

// Takes `work` from what the record and its chunk may cost; false, nothing being left, when that is
// not enough.
inline bool Charge(EvtxDecoder& decoder, std::uint32_t work) {
  const bool enough = work <= decoder.work_left;
  const std::uint32_t taken = enough ? work : decoder.work_left;
  decoder.work_left -= taken;
  decoder.chunk.work_left -= taken < decoder.chunk.work_left ? taken : decoder.chunk.work_left;
  return enough;
}

// What the present record may say before it takes from what its chunk has for repetitions.
inline std::uint64_t FreeText(const EvtxDecoder& decoder) {
  return kTextSaidOnce + kTextPerByte * decoder.record_share;
}

// Takes what a record has said beyond that.
inline void TakeText(EvtxDecoder& decoder, std::uint64_t said) {
  const std::uint64_t free = FreeText(decoder);
  if (said > free) decoder.chunk.text_left -= std::min(decoder.chunk.text_left, said - free);
}

}  // namespace tarnlex
