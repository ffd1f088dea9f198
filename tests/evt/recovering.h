// Walks built EVT logs and recovers what they do not use any more, for the tests of this folder.
#pragma once

#include <string>
#include <vector>

#include "evt/recover.h"
#include "logs/text.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {

// What is given of a record, in one line.
struct FoundEvt {
  Recovery recovery;
  std::uint32_t number = 0;
  std::uint64_t offset = 0;
  std::uint32_t time = 0;
  std::string text;  // all that class none does not tell
};

struct RecoveredEvt {
  std::vector<FoundEvt> live;
  std::vector<FoundEvt> found;  // with records that the log has, behind the walk
  EvtAccount account;
};

inline FoundEvt TellEvt(EvtRecord& record) {
  FoundEvt told{record.recovery, record.record_number, record.offset, record.time_generated, {}};
  if (!record.recovery.has_values) return told;
  CutTexts(record);
  told.text = std::to_string(record.event_code) + ' ' + std::to_string(record.event_type) + ' ' +
              std::to_string(record.category) + ' ' + std::to_string(record.time_written) + ' ' +
              Utf16ToUtf8(record.source_name) + ' ' + Utf16ToUtf8(record.computer_name);
  for (const Bytes string : record.strings) told.text += '|' + Utf16ToUtf8(string);
  told.text += '|' + std::string(record.sid.begin(), record.sid.end()) +
               std::string(record.data.begin(), record.data.end());
  return told;
}

inline RecoveredEvt RecoverEvt(EvtCursor& cursor) {
  RecoveredEvt log;
  EvtRecord record;
  BeginEvtNotes(cursor);
  while (NextEvtRecord(cursor, record)) log.live.push_back(TellEvt(record));
  EvtRecovery recovery{cursor};
  while (NextRecoveredEvtRecord(recovery, record)) log.found.push_back(TellEvt(record));
  log.account = cursor.account;
  return log;
}

inline RecoveredEvt RecoverEvt(const support::ByteString& file) {
  EvtCursor cursor;
  if (!BeginEvtWalk(file, cursor, Policy::kComplete)) return {};
  return RecoverEvt(cursor);
}

// "2 slack/all 3 log/all 4": live records, then the others with where they are from.
inline std::string Summary(const RecoveredEvt& log) {
  std::string text = std::to_string(log.live.size());
  for (const FoundEvt& found : log.found) {
    text += ' ' + std::string(NameOf(found.recovery.from)) + '/' +
            std::string(NameOf(found.recovery.checked)) + ' ' + std::to_string(found.number);
  }
  return text;
}

}  // namespace tarnlex
