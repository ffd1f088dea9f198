#include "evtx/recover.h"

#include <algorithm>

#include "evtx/evtx_format.h"
#include "evtx/find_record.h"
#include "evtx/judge_record.h"
#include "evtx/plan_of.h"
#include "evtx/record.h"

namespace tarnlex {
namespace {

struct FoundRecord {
  std::uint32_t offset = 0;
  std::uint32_t size = 0;
  std::uint64_t id = 0;
  std::uint64_t time = 0;
};

std::vector<FoundRecord> FindRecords(Bytes slot, std::uint32_t begin) {
  std::vector<FoundRecord> found;
  RecordPlace place;
  while (NextWholeRecord(slot, begin, place)) {
    const std::uint8_t* const at = slot.data() + place.offset;
    found.push_back({place.offset, place.size, Load<std::uint64_t>(at + kRecordIdField),
                     Load<std::uint64_t>(at + kRecordTimeField)});
    begin = place.offset + place.size;
  }
  return found;
}

// What lies between two records belongs to the later one: it is what is left of those before it.
Stretches StretchesOf(const std::vector<FoundRecord>& records, const RecoveryPlace& place) {
  Stretches stretches;
  std::uint32_t end = place.begin;
  std::uint64_t before = place.last_id;
  for (const FoundRecord& record : records) {
    if (!Follows(record.id, before, record.offset - end)) stretches.ends.push_back(end);
    end = record.offset + record.size;
    before = record.id;
  }
  return stretches;
}

bool IsLive(const RecoveryNotes& notes, const FoundRecord& record) {
  return std::binary_search(notes.live.begin(), notes.live.end(),
                            std::pair(record.id, record.time));
}

// Whether the event's own time, if it states one, is as plausible as its header's.
bool HasSoundTime(EvtxDecoder& decoder, DecodedEvent& event) {
  return event.recovery.checked == Checked::kNone || PlanOf(decoder, event).system_time < 0 ||
         IsPlausibleTime(event.own_time);
}

}  // namespace

void FrameJudged(EvtxDecoder& decoder, const Recovery& judged, std::uint32_t offset,
                 DecodedEvent& event) {
  event.recovery = judged;
  FrameRecord(decoder, offset, 0, event);
  if (HasSoundTime(decoder, event)) return;
  event.recovery = {judged.from, Checked::kNone, false};
  FrameRecord(decoder, offset, 0, event);
}

bool Follows(std::uint64_t id, std::uint64_t before, std::uint32_t gap) {
  if (before == 0 || id <= before) return false;
  const std::uint64_t missing = id - before - 1;
  return gap == 0 ? missing == 0 : missing > 0 && missing <= gap / kLeastInstanceRecord;
}

void NoteLiveRecord(RecoveryNotes& notes, std::uint64_t id, std::uint64_t time) {
  if (notes.live.size() == kMostLive) {
    ++notes.not_kept;
  } else {
    notes.live.emplace_back(id, time);
  }
}

void NotePlace(RecoveryNotes& notes, Bytes slot, const RecoveryPlace& place) {
  RecordPlace first;
  if (NextWholeRecord(slot, place.begin, first)) notes.places.push_back(place);
}

void FinishNotes(RecoveryNotes& notes) { std::sort(notes.live.begin(), notes.live.end()); }

void RecoverPlace(EvtxDecoder& decoder, const RecoveryNotes& notes, Bytes slot,
                  const RecoveryPlace& place, const EvtxHandlers& handlers) {
  const std::vector<FoundRecord> records = FindRecords(slot, place.begin);
  RecoveryCounts& counts = decoder.account.recovered;
  SoundChecks checks{slot, StretchesOf(records, place), {}, kMaxChunkPrepared};
  DecodedEvent event;
  const bool keeps = std::exchange(decoder.keeps, false);
  BeginChunk(decoder, slot, place.file_offset);
  if (place.from != FoundIn::kSlack) counts.outside += records.size();
  for (const FoundRecord& record : records) {
    if (IsLive(notes, record)) {
      ++counts.copies;
      continue;
    }
    FrameJudged(decoder, JudgeRecord(checks, place.from, record.offset, record.size), record.offset,
                event);
    CountRecovered(counts, event.recovery);
    handlers.record(decoder, event);
  }
  EndChunk(decoder);
  decoder.keeps = keeps;
}

}  // namespace tarnlex
