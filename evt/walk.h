// The walk over an EVT log: straight from the end of the header to the end of the file, taking up
// the trail again at the next signature, so that wrapped, dirty and damaged logs give all they
// hold.
#pragma once

#include <cstdint>

#include "evt/record.h"
#include "logs/bytes.h"

namespace tarnlex {

// What a walk met, for whoever wants to know how much of a log was not records.
struct EvtAccount {
  std::uint64_t records = 0;
  std::uint64_t end_marks = 0;       // end-of-file records
  std::uint64_t skipped_bytes = 0;   // passed over in steps of four: slack, torn records
  std::uint64_t unwalked_bytes = 0;  // behind the last step, too short for a record
  bool torn_record = false;          // the last record runs past the end of the log...
  std::uint64_t torn_offset = 0;     // ...from here
};

struct EvtCursor {
  Bytes log;
  std::uint64_t offset = 0;
  EvtAccount account;
};

// Starts a walk over the bytes of a whole log, which must stay as they are while the cursor is
// used. False when they do not carry the signature; then there is nothing to walk.
bool BeginEvtWalk(Bytes log, EvtCursor& cursor);

// The next record, in file order; false at the end of the walk. `record` is overwritten; what it
// views stays valid as long as the log's bytes. The time is linear in the log.
bool NextEvtRecord(EvtCursor& cursor, EvtRecord& record);

}  // namespace tarnlex
