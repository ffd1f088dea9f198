// Recovers what built logs do not use any more, for the tests of this folder.
#pragma once

#include <string>
#include <vector>

#include "evtx/recover.h"
#include "tests/evtx/decoding.h"

namespace tarnlex {

struct Found {
  Recovery recovery;
  DecodedRecord record;
};

struct RecoveredLog {
  std::vector<DecodedRecord> live;
  std::vector<Found> found;
  WalkAccount account;
};

inline RecoveredLog Recover(const support::ByteString& file) {
  RecoveredLog log;
  EvtxDecoder decoder;
  BeginLog(decoder, nullptr, Policy::kComplete);
  RecoveryNotes notes;
  decoder.notes = &notes;
  EvtxHandlers handlers;
  handlers.record = [&log](EvtxDecoder& with, DecodedEvent& event) {
    if (IsRecovered(event.recovery)) {
      log.found.push_back({event.recovery, Collect(with, event)});
    } else {
      log.live.push_back(Collect(with, event));
    }
  };
  constexpr std::size_t kHeader = support::kEvtxHeaderSize;
  WalkSlots(decoder, Clip(file, kHeader, file.size()), kHeader, handlers);
  decoder.notes = nullptr;
  FinishNotes(notes);
  for (const RecoveryPlace& place : notes.places) {
    RecoverPlace(decoder, notes, Clip(file, place.file_offset, place.size), place, handlers);
  }
  log.account = decoder.account;
  return log;
}

inline RecoveredLog Recover(const support::EvtxBuilder& log) { return Recover(log.Build()); }

// "slack/all 3 slack/none 4": how records were recovered, and which.
inline std::string Summary(const RecoveredLog& log) {
  std::string text;
  for (const Found& found : log.found) {
    if (!text.empty()) text += ' ';
    text += std::string(NameOf(found.recovery.from)) + '/' +
            std::string(NameOf(found.recovery.checked)) + ' ' +
            std::to_string(found.record.record_id);
  }
  return text;
}

}  // namespace tarnlex
