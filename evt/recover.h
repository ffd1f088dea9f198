// Records of an EVT file that its log does not have any more, or that its walk does not come to:
// outside of the ring, and behind lengths that lead past them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "evt/record.h"
#include "evt/walk.h"

namespace tarnlex {

// Says where a whole record was found, whose bytes these are, and what of it is proved. One that is
// not sound is left with its number and times.
void JudgeEvtRecord(EvtRecord& record, FoundIn from, Bytes bytes);

// Has a walk that has not begun yet note what there is to recover. Finds out what the log uses of
// its file: records outside of that are not given by the walk.
void BeginEvtNotes(EvtCursor& cursor);

// A search through what the walk of `walked` has noted, once it is done. It takes little memory,
// and time in proportion to the file, which must stay.
struct EvtRecovery {
  EvtCursor& walked;
  EvtLog log = walked.log;
  FileBytes window = {};
  FileBytes room = {};
  std::size_t gap = 0;   // that is searched...
  std::uint64_t at = 0;  // ...from here on
};

// The next record that the walk did not give, in file order, with what is proved of it; false at
// the end. A record counts when it is whole; what stands inside of it is a part of its values.
// Copies of records that were given are counted, not given. One that the ring has, by its place and
// number, is a record of the log.
bool NextRecoveredEvtRecord(EvtRecovery& recovery, EvtRecord& record);

}  // namespace tarnlex
