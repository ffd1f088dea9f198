#include "evt/walk.h"

#include "evt/evt_format.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kHeader = 48;
constexpr std::uint64_t kStep = 4;  // records begin on multiples of four in whole logs

// Ends the walk where it stands.
bool Stop(EvtCursor& cursor) {
  if (cursor.offset < cursor.log.size) {
    cursor.account.unwalked_bytes += cursor.log.size - cursor.offset;
  }
  cursor.offset = cursor.log.size;
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

bool ReadHeader(EvtCursor& cursor) {
  std::uint32_t header_size = 0;
  std::uint32_t signature = 0;
  if (!ReadAt(cursor.log.part, 0, header_size) || !ReadAt(cursor.log.part, 4, signature)) {
    return false;
  }
  cursor.offset = header_size;
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

}  // namespace

bool BeginEvtWalk(Bytes log, EvtCursor& cursor) {
  cursor = {};
  cursor.log = WholeEvtLog(log);
  return ReadHeader(cursor);
}

bool BeginEvtFileWalk(const InputFile& file, EvtCursor& cursor) {
  cursor = {};
  cursor.log = {file.size, 0, {}, &file};
  ShowInWindow(cursor.log, 0, kHeader, cursor.window);
  return ReadHeader(cursor);
}

bool NextEvtRecord(EvtCursor& cursor, EvtRecord& record) {
  while (const std::uint8_t* at = FixedPart(cursor)) {
    const auto mark = Load<std::uint32_t>(at + 4);
    if (mark == kEvtSignature) {
      if (!ReadRecord(cursor, Load<std::uint32_t>(at), record)) return StopAtTornRecord(cursor);
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
