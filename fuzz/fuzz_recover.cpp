// What is recovered of an EVT file, and of what a chunk does not use: only what is there and whole,
// nothing twice, and the same whether a file is read through a window or lies in memory.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "evt/evt_format.h"
#include "evt/plan.h"
#include "evt/recover.h"
#include "evt/sound_record.h"
#include "evt/structure.h"
#include "evtx/plan_of.h"
#include "evtx/record.h"
#include "evtx/recover.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/strict_forms.h"
#include "fuzz/whole_log.h"

namespace tarnlex {
namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// Every value of the record is looked at.
void ReadAll(EvtRecord& record, std::string& all) {
  const Plan& plan = EvtPlanOf(record);
  std::string text;
  for (const PlanValue& value : EvtColumnValues(plan)) {
    all += TextOf(record.structure, plan, value, text).substr(0, 1000);
  }
  if (record.recovery.has_values) EvtStructureOf(record);
}

void CheckEvt(Bytes log, const EvtRecord& record) {
  Require(Fits(log, record.offset, record.length));
  const Bytes bytes = log.subspan(record.offset, record.length);
  Require(PlausibleEvtLength(bytes) == record.length);
  Require(Load<std::uint32_t>(bytes.data() + bytes.size() - 4) == record.length);
  if (!IsRecovered(record.recovery)) return;
  Require((record.recovery.checked == Checked::kAll) == IsSoundEvtRecord(bytes));
}

std::string RecoverEvt(Bytes log, EvtCursor& cursor) {
  std::string all;
  EvtRecord record;
  BeginEvtNotes(cursor);
  while (NextEvtRecord(cursor, record)) {
    Require(!IsRecovered(record.recovery));
    all += std::to_string(record.offset) + ' ';
  }
  EvtRecovery recovery{cursor};
  std::uint64_t end = 0;
  while (NextRecoveredEvtRecord(recovery, record)) {
    CheckEvt(log, record);
    Require(record.offset >= end);
    end = record.offset + record.length;
    all += std::to_string(record.offset) + std::string(NameOf(record.recovery.from)) +
           std::string(NameOf(record.recovery.checked));
    if (all.size() < (std::size_t{1} << 20)) ReadAll(record, all);
  }
  return all;
}

void RecoverEvtBothWays(Bytes log) {
  const InputFile file = FileOf(log);
  EvtCursor whole;
  EvtCursor windowed;
  const bool begun = BeginEvtWalk(log, whole, Policy::kComplete);
  Require(begun == BeginEvtFileWalk(file, windowed, Policy::kComplete));
  if (begun) Require(RecoverEvt(log, whole) == RecoverEvt(log, windowed));
}

void CheckEvtx(Bytes chunk, const DecodedEvent& event, std::uint64_t& end) {
  const std::uint64_t offset = event.record_file_offset - kEvtxFileHeaderSize;
  Require(Fits(chunk, offset, event.size) && offset >= end);
  Require(Load<std::uint32_t>(chunk.data() + offset + event.size - 4) == event.size);
  end = offset + event.size;
}

// The input is made the slack of a chunk that has no records, or a slot without a signature, so
// that the fuzzer need not invent the frame around it.
void RecoverChunk(Bytes input) {
  std::vector<std::uint8_t> chunk(kChunkSize);
  std::copy_n(input.data(), std::min(input.size(), chunk.size()), chunk.begin());
  const bool is_signed = input.size() % 2 == 0;
  const std::string_view signature = kEvtxChunkSignature;
  std::memcpy(chunk.data(), is_signed ? signature.data() : "nothing", signature.size());
  std::memset(chunk.data() + kChunkFirstNumber, 0xFF, 16);
  constexpr std::uint32_t kFree = kFirstRecord;
  std::memcpy(chunk.data() + kChunkFreeSpace, &kFree, sizeof kFree);
  EvtxDecoder decoder;
  BeginLog(decoder, nullptr, Policy::kComplete);
  RecoveryNotes notes;
  decoder.notes = &notes;
  std::string scratch;
  std::uint64_t end = 0;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& inner, DecodedEvent& event) {
    if (IsRecovered(event.recovery)) CheckEvtx(chunk, event, end);
    const Plan& plan = PlanOf(inner, event);
    for (const PlanValue& value : plan.values) TextOf(event.structure, plan, value, scratch);
  };
  WalkSlots(decoder, chunk, kEvtxFileHeaderSize, handlers);
  decoder.notes = nullptr;
  FinishNotes(notes);
  for (const RecoveryPlace& place : notes.places) {
    RecoverPlace(decoder, notes, Clip(chunk, 0, place.size), place, handlers);
  }
}

// What comes of it in the form that says most.
void WriteAll(Bytes log) {
  RunOptions options;
  options.json_form = true;
  options.complete = true;
  options.recover = true;
  std::string text;
  TextSink out = MakeStringSink(text);
  DumpLog(FileOf(log), options, out);
  Require(IsJsonLines(text));
}

}  // namespace
}  // namespace tarnlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tarnlex::Bytes input(data, size);
  tarnlex::RecoverEvtBothWays(input);
  tarnlex::RecoverChunk(input);
  tarnlex::WriteAll(input);
  return 0;
}
