// One EVT record: its fixed part as it stands, and its texts as stretches of the log's bytes, which
// are found only when somebody asks for them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "logs/bytes.h"

namespace tarnlex {

// Views reach into the log's bytes. One record is reused for all records of a log.
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

  std::uint64_t offset = 0;    // of the record in the log
  std::uint64_t filetime = 0;  // of time_generated; 0 when that is 0
  std::uint16_t event_id = 0;  // the low half of event_code
  Bytes log;                   // the whole log: damaged records are read past their own end
  Bytes sid;                   // empty when the record has none
  Bytes data;

  // UTF-16LE without terminators; filled by CutTexts.
  bool texts_cut = false;
  Bytes source_name;
  Bytes computer_name;
  std::vector<Bytes> strings;
};

// Reads the fixed part at `offset` and places SID and data. False when the log ends before the
// fixed part or before the record does.
bool ReadEvtRecord(Bytes log, std::uint64_t offset, EvtRecord& record);

// Finds the names and the insertion strings of a record, once. Fields that point outside of the
// record are left out; a record gives at most as many strings as it has room for, and at most
// kEvtMaxRecordText bytes of UTF-8.
void CutTexts(EvtRecord& record);

}  // namespace tarnlex
