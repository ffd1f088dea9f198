// Finding the records of a chunk that is damaged: the walk by sizes alone ends at the first size
// that leads nowhere, though the records behind it are mostly whole.
#pragma once

#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

// Where a record was found.
struct RecordPlace {
  std::uint32_t offset = 0;
  std::uint32_t size = 0;
  bool whole = false;  // it states that size in front and behind; else it ends where another begins
};

// A search through one chunk, record by record. It takes time in proportion to the chunk.
struct RecordSearch {
  Bytes data;
  std::uint32_t end = 0;         // of what the chunk uses: no record is looked for behind it
  std::uint32_t at = 0;          // where the next record should begin
  std::uint64_t promised = 0;    // records that the chunk's header counts...
  std::uint64_t given = 0;       // ...and those that were found
  std::uint64_t last_id = 0;     // the identifier of the last one
  std::uint32_t next_head = 0;   // the first head at or behind the place last asked for...
  std::uint32_t heads_from = 0;  // ...which this is
};

// Starts a search over a chunk, or over as much of it as is there. Free space begins where the
// chunk's header says, and with the chunk's end when it says nothing that can be.
RecordSearch SearchRecords(Bytes data);

// The next record in order of place, none twice; false when there is none. A record in its place,
// directly behind the one before, needs two witnesses: its signature, a plausible identifier and
// time, the copy of its size, another record right behind it. Elsewhere it needs its signature, a
// plausible identifier and time, and the copy of its size or a place that records begin at. Behind
// the search's end stand records that were deleted, unless the header counts more than there were
// before: then whole ones are taken as long as each has a greater identifier than the one before.
bool NextRecord(RecordSearch& search, RecordPlace& place);

// The first record from `begin` on of which nothing is known but what it says itself: a whole one
// on a place that records begin at, with a plausible identifier, and a plausible time that is not
// missing. False when there is none. The next one is to be looked for behind it, as what stands
// inside of a record is a part of its values.
bool NextWholeRecord(Bytes bytes, std::uint32_t begin, RecordPlace& place);

// Whether a FILETIME lies in the years that records are from.
bool IsPlausibleTime(std::uint64_t time);

// The size of the record at `at`, if a whole one begins there, else 0.
std::uint32_t WholeRecordSize(Bytes bytes, std::size_t at);

// The same for a record with a plausible identifier, and a plausible time that is not missing.
std::uint32_t SoundRecordSize(Bytes bytes, std::size_t at);

// Whether a whole record with a plausible identifier and time stands anywhere in a chunk.
bool HoldsWholeRecord(Bytes data);

}  // namespace tarnlex
