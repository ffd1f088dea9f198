// The walk over an EVT log: straight from the end of the header to the end of the file, taking up
// the trail again at the next signature, so that wrapped, dirty and damaged logs give all they
// hold.
#pragma once

#include <cstdint>
#include <vector>

#include "event/policy.h"
#include "event/recovery.h"
#include "evt/copies.h"
#include "evt/evt_log.h"
#include "evt/file_header.h"
#include "evt/record.h"
#include "evt/ring.h"
#include "logs/bytes.h"
#include "logs/record_survey.h"

namespace tarnlex {

// What a walk met, for whoever wants to know how much of a log was not records.
struct EvtAccount {
  std::uint64_t records = 0;
  std::uint64_t undated = 0;         // among them, without a time
  std::uint64_t end_marks = 0;       // end-of-file records
  std::uint64_t skipped_bytes = 0;   // passed over in steps of four: slack, torn records
  std::uint64_t unwalked_bytes = 0;  // behind the last step, too short for a record
  std::uint64_t cut_records = 0;     // had more texts than a record may have
  bool torn_record = false;          // the last record runs past the end of the log...
  std::uint64_t torn_offset = 0;     // ...from here
  // With the complete policy:
  std::uint64_t joined_records = 0;  // went on behind the header
  std::uint64_t copies = 0;          // of records that the log has elsewhere; not given
  std::uint64_t not_kept = 0;        // records that later ones were not compared with
  // Of a recovery (see recover.h):
  RecoveryCounts recovered = {};
  bool ring_known = false;             // it is known what the log uses of its file
  std::uint64_t regained_records = 0;  // of the log, behind lengths that lead past them
  std::uint64_t broken_outside = 0;    // outside of the ring, not whole, and not given
  std::uint64_t not_searched = 0;      // gaps beyond kMostEvtGaps
  // Gathered only for those who ask (see survey.h):
  EvtFileHeader header;
  RecordSurvey survey;
};

// A stretch of the file without whole records of the log, to be searched once the log is known.
struct EvtGap {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

// What a walk notes for a recovery (see recover.h).
struct EvtNotes {
  bool wanted = false;
  EvtRing ring = {};  // records outside of it are not given
  std::vector<EvtGap> gaps;
  std::uint64_t whole_to = 0;  // behind the last whole record of the log
};
inline constexpr std::size_t kMostEvtGaps = std::size_t{1} << 16;

struct EvtCursor {
  EvtLog log;
  FileBytes window;  // the part in memory of a log that is read as it is walked
  Policy policy = Policy::kLiteral;
  std::uint64_t header_size = 0;
  std::uint64_t offset = 0;
  std::uint64_t first_mark = 0;  // where the first record began, or an end-of-file record
  EvtCopies copies;
  EvtNotes notes;
  std::vector<std::uint8_t> joined;  // a record of which the log holds two pieces
  EvtAccount account;
};

// Starts a walk over the bytes of a whole log, which must stay as they are while the cursor is
// used. False when they do not carry the signature; then there is nothing to walk.
bool BeginEvtWalk(Bytes log, EvtCursor& cursor, Policy policy = Policy::kLiteral);

// The same over a file, which must stay open; a few megabytes of it are in memory at a time.
bool BeginEvtFileWalk(const InputFile& file, EvtCursor& cursor, Policy policy = Policy::kLiteral);

// The next record, in file order; false at the end of the walk. `record` is overwritten; what it
// views stays valid until the next call. The time is linear in the log. Under the complete policy
// exact copies of earlier records are left out, and a record that the end of the file cuts in two
// is joined with what lies of it behind the header, and comes last.
bool NextEvtRecord(EvtCursor& cursor, EvtRecord& record);

}  // namespace tarnlex
