// One EVT record: its fixed part as it stands, and its texts as stretches of the log's bytes, which
// are found only when somebody asks for them.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "event/plan.h"
#include "event/recovery.h"
#include "event/structure.h"
#include "event/tree.h"
#include "evt/evt_format.h"
#include "evt/evt_log.h"
#include "logs/bytes.h"

namespace tarnlex {

// What a record may have beyond its share by length.
struct EvtSpare {
  std::uint64_t text = kEvtSpareText;  // bytes of UTF-8
  std::uint64_t strings = kEvtSpareStrings;
};

// What all records share that have as many strings.
template <typename T>
struct ByStrings {
  std::map<std::uint32_t, T> kept;  // by the number of strings, or one made of it
  std::size_t strings = 0;          // of all that are kept
  T loose;                          // for one record, where no more are kept
};

// Views reach into the part of the log that was in memory when the record was read, or into the
// record's own room, and are valid until the next record. One record is reused for all of a log.
struct EvtRecord {
  std::uint32_t length = 0;
  std::uint32_t record_number = 0;
  std::uint32_t time_generated = 0;  // Unix seconds
  std::uint32_t time_written = 0;
  std::uint32_t event_code = 0;  // with severity and qualifiers; see event_id
  std::uint16_t event_type = 0;
  std::uint16_t string_count = 0;  // as stored; `strings` may hold fewer
  std::uint16_t category = 0;
  std::uint16_t flags = 0;
  std::uint32_t closing_record = 0;
  std::uint32_t string_offset = 0;
  std::uint32_t sid_length = 0;
  std::uint32_t sid_offset = 0;
  std::uint32_t data_length = 0;
  std::uint32_t data_offset = 0;

  Recovery recovery = {};      // of a record that the log does not have
  std::uint64_t offset = 0;    // of the record in the log
  std::uint64_t filetime = 0;  // of time_generated; 0 when that is 0
  std::uint16_t event_id = 0;  // the low half of event_code
  EvtLog log;                  // damaged records are read past their own end
  Bytes sid;                   // empty when the record has none; no more of it than a SID can use
  Bytes data;                  // empty also where it is not in memory, as in no real record

  // UTF-16LE without terminators; filled by CutTexts.
  bool texts_cut = false;
  Bytes source_name;
  Bytes computer_name;
  std::vector<Bytes> strings;

  // As an event: see structure.h. The values lie in `event_bytes`.
  EventStructure structure;
  bool slots_filled = false;
  std::size_t max_text = 0;  // upper bound of the bytes of all its texts, each once
  std::vector<std::uint8_t> event_bytes;

  // Of all records of the log so far.
  ByStrings<Tree> trees;
  ByStrings<Plan> plans;
  EvtSpare spare;
  std::uint64_t cut_records = 0;  // had more texts than a record may have

  // Room for what a record of many megabytes has outside of the part in memory.
  FileBytes sid_room;
  FileBytes names_room;
  FileBytes strings_room;
};

// The FILETIME of a time as records state it, in Unix seconds; 0 for 0.
std::uint64_t EvtFiletime(std::uint32_t seconds);

// Reads the fixed part at `offset`, which must be in memory, and places SID and data. False when
// the log ends before the fixed part or before the record does.
bool ReadEvtRecord(const EvtLog& log, std::uint64_t offset, EvtRecord& record);
inline bool ReadEvtRecord(Bytes log, std::uint64_t offset, EvtRecord& record) {
  return ReadEvtRecord(WholeEvtLog(log), offset, record);
}

// How much of the log the walk keeps in memory from a record's first byte on, for a record of
// `length`: enough for all its texts when it is no longer than records are.
std::uint64_t EvtRecordReach(std::uint32_t length);

// Finds the names and the insertion strings of a record, once. Fields that point outside of the
// record are left out, and what passes the bounds of evt_format.h on a record's texts.
void CutTexts(EvtRecord& record);

}  // namespace tarnlex
