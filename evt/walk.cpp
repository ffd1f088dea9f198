#include "evt/walk.h"

#include <algorithm>
#include <cstring>

#include "evt/evt_format.h"
#include "evt/sound_record.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kHeader = 48;
// Larger records are neither joined nor compared; real ones stay far below.
constexpr std::uint32_t kLargestWhole = std::uint32_t{1} << 20;

bool IsWhole(std::uint32_t length) { return length >= kEvtFixedSize && length <= kLargestWhole; }

// What lies between the last whole record and `end`. The header may say of itself that it reaches
// into the records, or past all of them.
void NoteGap(EvtCursor& cursor, std::uint64_t end) {
  EvtNotes& notes = cursor.notes;
  const EvtGap gap{std::max<std::uint64_t>(notes.whole_to, kEvtHeaderUsed), end};
  notes.whole_to = end;
  if (gap.begin >= end) return;
  if (notes.gaps.size() == kMostEvtGaps) {
    ++cursor.account.not_searched;
  } else {
    notes.gaps.push_back(gap);
  }
}

bool IsPlausible(const EvtRecord& record) {
  const Bytes fixed = Clip(record.log.part, record.offset - record.log.begin, kEvtFixedSize);
  return PlausibleEvtLength(fixed) == record.length;
}

// Notes what lies in front of a whole record; false for one that the log does not have.
bool NoteRecord(EvtCursor& cursor, const EvtRecord& record) {
  EvtNotes& notes = cursor.notes;
  const std::uint64_t end = record.offset - record.log.begin + record.length;
  std::uint32_t copy = 0;
  const bool whole = record.length >= kEvtFixedSize + kEvtLengthCopy &&
                     ReadAt(record.log.part, end - kEvtLengthCopy, copy) && copy == record.length;
  const bool is_of_log = IsInRing(notes.ring, record.offset);
  cursor.account.broken_outside += !is_of_log && (!whole || !IsPlausible(record));
  if (!whole || !is_of_log) return is_of_log;
  NoteGap(cursor, record.offset);
  notes.whole_to = record.offset + record.length;
  return true;
}

// Ends the walk where it stands.
bool Stop(EvtCursor& cursor) {
  if (cursor.notes.wanted) NoteGap(cursor, cursor.log.size);
  // A header that leads past all of the log has nothing walked.
  const bool is_past_all = cursor.header_size > cursor.log.size;
  const std::uint64_t from = is_past_all ? kEvtHeaderUsed : cursor.offset;
  if (from < cursor.log.size) cursor.account.unwalked_bytes += cursor.log.size - from;
  cursor.header_size = std::min(cursor.header_size, cursor.log.size);  // told once
  cursor.offset = cursor.log.size;
  return false;
}

void SkipBytes(EvtCursor& cursor) {
  cursor.offset += kEvtAlignment;
  cursor.account.skipped_bytes += kEvtAlignment;
}

// Steps over a record; one that claims no length only by a step, in search of the next signature.
void StepOver(EvtCursor& cursor, std::uint32_t length) {
  cursor.offset += length == 0 ? kEvtAlignment : length;
}

bool ReadHeader(EvtCursor& cursor) {
  std::uint32_t header_size = 0;
  std::uint32_t signature = 0;
  if (!ReadAt(cursor.log.part, 0, header_size) || !ReadAt(cursor.log.part, 4, signature)) {
    return false;
  }
  cursor.offset = header_size;
  cursor.header_size = header_size;
  return signature == kEvtSignature;
}

// The fixed part, or as many bytes, where the walk stands; null at the end of the log.
const std::uint8_t* FixedPart(EvtCursor& cursor) {
  EvtLog& log = cursor.log;
  if (!Fits(log.part, cursor.offset - log.begin, kEvtFixedSize)) {
    if (!Fits(log.size, cursor.offset, kEvtFixedSize)) return nullptr;
    ShowInWindow(log, cursor.offset, kEvtFixedSize, cursor.window);
    if (!Fits(log.part, cursor.offset - log.begin, kEvtFixedSize)) return nullptr;
  }
  return log.part.data() + (cursor.offset - log.begin);
}

bool ReadRecord(EvtCursor& cursor, std::uint32_t length, EvtRecord& record) {
  if (!Fits(cursor.log.size, cursor.offset, length)) return false;
  ShowInWindow(cursor.log, cursor.offset, EvtRecordReach(length), cursor.window);
  return ReadEvtRecord(cursor.log, cursor.offset, record);
}

bool StopAtTornRecord(EvtCursor& cursor) {
  cursor.account.torn_record = true;
  cursor.account.torn_offset = cursor.offset;
  return Stop(cursor);
}

void Mark(EvtCursor& cursor) {
  if (cursor.first_mark == 0) cursor.first_mark = cursor.offset;
}

// The next record as the log has it; `torn` when it runs past the end.
bool NextStoredRecord(EvtCursor& cursor, EvtRecord& record, bool& torn) {
  while (const std::uint8_t* at = FixedPart(cursor)) {
    const auto mark = Load<std::uint32_t>(at + 4);
    if (mark == kEvtSignature) {
      Mark(cursor);
      torn = !ReadRecord(cursor, Load<std::uint32_t>(at), record);
      if (torn) return false;
      StepOver(cursor, record.length);
      return true;
    }
    if (mark == kEvtEndMark) {
      const auto length = Load<std::uint32_t>(at);
      Mark(cursor);
      ++cursor.account.end_marks;
      torn = !Fits(cursor.log.size, cursor.offset, length);
      if (torn) return false;
      StepOver(cursor, length);
    } else {
      SkipBytes(cursor);
    }
  }
  return false;
}

// The record that was just read, unless it is too large or too small to be compared.
bool IsCopy(EvtCursor& cursor, const EvtRecord& record) {
  if (!IsWhole(record.length)) return false;
  const Bytes bytes = Clip(record.log.part, record.offset - record.log.begin, record.length);
  const bool is_copy = IsCopy(cursor.copies, cursor.log, record.offset, bytes);
  cursor.account.not_kept = cursor.copies.not_kept;
  if (is_copy) ++cursor.account.copies;
  return is_copy;
}

// Puts the piece at the end of the log and what follows it behind the header one behind the other.
// They are one record if its length stands at its end too, and no record began in the second piece.
bool JoinPieces(EvtCursor& cursor, Bytes& joined) {
  FileBytes room;
  const EvtLog& log = cursor.log;
  const Bytes first = Stretch(log, cursor.offset, kLargestWhole, room);
  std::uint32_t length = 0;
  std::uint32_t signature = 0;
  if (!ReadAt(first, 0, length) || !ReadAt(first, 4, signature)) return false;
  if (signature != kEvtSignature || !IsWhole(length) || length <= first.size()) return false;
  const std::uint64_t rest = length - first.size();
  if (rest > std::max(cursor.first_mark, cursor.header_size) - cursor.header_size) return false;
  FileBytes rest_room;
  const Bytes second = Stretch(log, cursor.header_size, rest, rest_room);
  std::uint32_t length_again = 0;
  cursor.joined.assign(first.begin(), first.end());
  cursor.joined.insert(cursor.joined.end(), second.begin(), second.end());
  joined = cursor.joined;
  return ReadAt(joined, length - sizeof length_again, length_again) && length_again == length;
}

void CountRecord(EvtAccount& account, const EvtRecord& record) {
  ++account.records;
  account.undated += record.filetime == 0;
}

// The record that the end of the log cuts in two, as if all of it lay there.
bool ReadJoinedRecord(EvtCursor& cursor, EvtRecord& record) {
  Bytes joined;
  if (cursor.policy != Policy::kComplete || !JoinPieces(cursor, joined)) return false;
  const std::uint64_t behind = joined.size() - (cursor.log.size - cursor.offset);
  const EvtLog whole{cursor.offset + joined.size(), cursor.offset, joined, nullptr};
  if (!ReadEvtRecord(whole, cursor.offset, record)) return false;
  cursor.account.skipped_bytes -= std::min(cursor.account.skipped_bytes, behind);
  cursor.offset = cursor.log.size;
  return true;
}

}  // namespace

bool BeginEvtWalk(Bytes log, EvtCursor& cursor, Policy policy) {
  cursor = {};
  cursor.log = WholeEvtLog(log);
  cursor.policy = policy;
  return ReadHeader(cursor);
}

bool BeginEvtFileWalk(const InputFile& file, EvtCursor& cursor, Policy policy) {
  cursor = {};
  cursor.log = {file.size, 0, {}, &file};
  cursor.policy = policy;
  ShowInWindow(cursor.log, 0, kHeader, cursor.window);
  return ReadHeader(cursor);
}

bool NextEvtRecord(EvtCursor& cursor, EvtRecord& record) {
  EvtAccount& account = cursor.account;
  const bool complete = cursor.policy == Policy::kComplete;
  record.structure.policy = cursor.policy;
  bool torn = false;
  while (NextStoredRecord(cursor, record, torn)) {
    if (cursor.notes.wanted && !NoteRecord(cursor, record)) continue;
    if (complete && IsCopy(cursor, record)) continue;
    CountRecord(account, record);
    return true;
  }
  if (IsInRing(cursor.notes.ring, cursor.offset) && ReadJoinedRecord(cursor, record)) {
    torn = false;
    const bool is_copy = IsCopy(cursor, record);
    if (!is_copy) CountRecord(account, record);
    ++account.joined_records;
    if (!is_copy) return true;
  }
  return torn ? StopAtTornRecord(cursor) : Stop(cursor);
}

}  // namespace tarnlex
