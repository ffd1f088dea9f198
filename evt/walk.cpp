#include "evt/walk.h"

#include "evt/evt_format.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kStep = 4;  // records begin on multiples of four in whole logs

// Ends the walk where it stands.
bool Stop(EvtCursor& cursor) {
  if (cursor.offset < cursor.log.size()) {
    cursor.account.unwalked_bytes += cursor.log.size() - cursor.offset;
  }
  cursor.offset = cursor.log.size();
  return false;
}

void SkipBytes(EvtCursor& cursor) {
  cursor.offset += kStep;
  cursor.account.skipped_bytes += kStep;
}

// Steps over a record; one that claims no length only by a step, in search of the next signature.
void StepOver(EvtCursor& cursor, std::uint32_t length) {
  cursor.offset += length == 0 ? kStep : length;
}

bool StopAtTornRecord(EvtCursor& cursor) {
  cursor.account.torn_record = true;
  cursor.account.torn_offset = cursor.offset;
  return Stop(cursor);
}

}  // namespace

bool BeginEvtWalk(Bytes log, EvtCursor& cursor) {
  cursor = {};
  std::uint32_t header_size = 0;
  std::uint32_t signature = 0;
  if (!ReadAt(log, 0, header_size) || !ReadAt(log, 4, signature)) return false;
  if (signature != kEvtSignature) return false;
  cursor.log = log;
  cursor.offset = header_size;
  return true;
}

bool NextEvtRecord(EvtCursor& cursor, EvtRecord& record) {
  while (Fits(cursor.log, cursor.offset, kEvtFixedSize)) {
    const std::uint8_t* at = cursor.log.data() + cursor.offset;
    const auto mark = Load<std::uint32_t>(at + 4);
    if (mark == kEvtSignature) {
      if (!ReadEvtRecord(cursor.log, cursor.offset, record)) return StopAtTornRecord(cursor);
      StepOver(cursor, record.length);
      ++cursor.account.records;
      return true;
    }
    if (mark == kEvtEndMark) {
      StepOver(cursor, Load<std::uint32_t>(at));
      ++cursor.account.end_marks;
    } else {
      SkipBytes(cursor);
    }
  }
  return Stop(cursor);
}

}  // namespace tarnlex
