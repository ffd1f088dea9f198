// Tells the records of an EVT log that are exact copies of others: a ring that has turned, or
// grown, keeps old ones in what it does not use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "evt/evt_log.h"
#include "logs/bytes.h"

namespace tarnlex {

// The records so far, as places in a hash table.
struct EvtCopies {
  std::vector<std::uint64_t> places;  // half a hash, and the record's offset; 0: free
  std::size_t count = 0;
  std::uint64_t not_kept = 0;  // records that the table had no place for
  FileBytes room;
};

// Whether the record at `offset`, whose bytes are `record`, is the copy of one that was asked for
// before; if not, it is kept. Copies are told by all of their bytes. Memory and the work for one
// record are bounded, whatever the log holds.
bool IsCopy(EvtCopies& copies, const EvtLog& log, std::uint64_t offset, Bytes record);

}  // namespace tarnlex
