#include "evt/recover.h"

#include <algorithm>

#include "evt/evt_format.h"
#include "evt/sound_record.h"

namespace tarnlex {
namespace {

// What a fixed part takes where the search stands; less at the end of the log.
Bytes FixedPart(EvtRecovery& recovery) {
  EvtLog& log = recovery.log;
  ShowInWindow(log, recovery.at, kEvtFixedSize, recovery.window);
  if (recovery.at < log.begin) return {};
  return Clip(log.part, recovery.at - log.begin, kEvtFixedSize);
}

// How far it is to the next signature of a fixed part that lies in memory, or to its end.
std::uint64_t StepsToSignature(const EvtLog& log, std::uint64_t at) {
  const Bytes part = Clip(log.part, at - log.begin, log.part.size());
  if (part.size() < kEvtFixedSize) return 0;
  const std::uint8_t* const begin = part.data() + sizeof(std::uint32_t);
  const std::uint8_t* const end =
      begin + (part.size() - kEvtFixedSize) / kEvtAlignment * kEvtAlignment;
  const std::uint8_t* mark = begin;
  while (mark != end && Load<std::uint32_t>(mark) != kEvtSignature) mark += kEvtAlignment;
  return static_cast<std::uint64_t>(mark - begin);
}

// The length of the whole record where the search stands, if it ends in front of `end`, else 0.
std::uint32_t WholeLength(EvtRecovery& recovery, std::uint64_t end) {
  const std::uint32_t length = PlausibleEvtLength(FixedPart(recovery));
  if (length == 0 || !Fits(end, recovery.at, length)) return 0;
  std::uint32_t copy = 0;
  const std::uint64_t last = recovery.at + length - kEvtLengthCopy;
  ReadAt(Stretch(recovery.log, last, kEvtLengthCopy, recovery.room), 0, copy);
  return copy == length ? length : 0;
}

// Takes the search to the next whole record in front of `end`, whose length it gives; 0 without.
std::uint32_t FindWhole(EvtRecovery& recovery, std::uint64_t end) {
  while (Fits(end, recovery.at, kEvtFixedSize)) {
    if (FixedPart(recovery).size() < kEvtFixedSize) return 0;
    recovery.at += StepsToSignature(recovery.log, recovery.at);
    const std::uint32_t length = WholeLength(recovery, end);
    if (length != 0) return length;
    recovery.at += kEvtAlignment;
  }
  return 0;
}

// Where a record may begin, at `offset` or behind it. One of an odd length leads the walk off all
// that follow.
std::uint64_t AlignedFrom(std::uint64_t offset) {
  return (offset + kEvtAlignment - 1) / kEvtAlignment * kEvtAlignment;
}

// The same in this gap or those behind it.
std::uint32_t FindWhole(EvtRecovery& recovery) {
  const std::vector<EvtGap>& gaps = recovery.walked.notes.gaps;
  for (; recovery.gap < gaps.size(); ++recovery.gap) {
    recovery.at = std::max(recovery.at, AlignedFrom(gaps[recovery.gap].begin));
    const std::uint32_t length = FindWhole(recovery, gaps[recovery.gap].end);
    if (length != 0) return length;
  }
  return 0;
}

bool IsOfLog(const EvtRing& ring, const EvtRecord& record) {
  return ring.known && IsInRing(ring, record.offset) &&
         record.record_number >= ring.oldest_record && record.record_number < ring.next_record;
}

bool ReadFound(EvtRecovery& recovery, std::uint32_t length, EvtRecord& record) {
  ShowInWindow(recovery.log, recovery.at, EvtRecordReach(length), recovery.window);
  record.structure.policy = recovery.walked.policy;
  return ReadEvtRecord(recovery.log, recovery.at, record);
}

// Whether the walk ended in front of it, at a record that runs past the end of the file.
bool IsBehindWalk(const EvtAccount& account, const EvtRecord& record) {
  return account.torn_record && record.offset > account.torn_offset;
}

// Settles whose the record is; false for one that is given already.
bool Settle(EvtRecovery& recovery, EvtRecord& record) {
  EvtAccount& account = recovery.walked.account;
  const Bytes bytes = Clip(recovery.log.part, record.offset - recovery.log.begin, record.length);
  const bool is_copy = IsCopy(recovery.walked.copies, recovery.log, record.offset, bytes);
  account.recovered.not_compared = recovery.walked.copies.not_kept;
  account.recovered.copies += is_copy;
  if (is_copy) return false;
  record.recovery = {};
  if (IsOfLog(recovery.walked.notes.ring, record)) {
    ++account.regained_records;
    ++account.records;
    return true;
  }
  JudgeEvtRecord(record, IsBehindWalk(account, record) ? FoundIn::kTail : FoundIn::kSlack, bytes);
  CountRecovered(account.recovered, record.recovery);
  return true;
}

}  // namespace

void JudgeEvtRecord(EvtRecord& record, FoundIn from, Bytes bytes) {
  const bool sound = IsSoundEvtRecord(bytes);
  record.recovery = {from, sound ? Checked::kAll : Checked::kNone, sound};
  if (sound) return;
  record.event_id = 0;
  record.event_type = 0;
}

void BeginEvtNotes(EvtCursor& cursor) {
  cursor.notes.wanted = true;
  cursor.notes.ring = FindEvtRing(cursor.log);
  cursor.account.recovered.asked = true;
  cursor.account.ring_known = cursor.notes.ring.known;
}

bool NextRecoveredEvtRecord(EvtRecovery& recovery, EvtRecord& record) {
  while (const std::uint32_t length = FindWhole(recovery)) {
    const bool found = ReadFound(recovery, length, record) && Settle(recovery, record);
    recovery.at += length;
    if (found) return true;
  }
  return false;
}

}  // namespace tarnlex
