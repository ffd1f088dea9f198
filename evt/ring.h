// Which part of an EVT file the log uses: a ring of records, from the oldest one to the end-of-file
// record behind the latest. What lies outside of it was left by records before them.
#pragma once

#include <cstdint>

#include "evt/evt_log.h"

namespace tarnlex {

struct EvtRing {
  bool known = false;       // false: nothing says what the log uses
  std::uint64_t begin = 0;  // of the oldest record
  std::uint64_t end = 0;    // of the end-of-file record; may lie in front of the oldest
  std::uint32_t oldest_record = 0;
  std::uint32_t next_record = 0;  // the number behind the latest one's
};

// By the end-of-file record that the header names where the log was closed, else by the only one
// that has none of the others in its ring: one that was left by a log before this one has, or its
// ring was overwritten from the start. Not known when none or several do.
EvtRing FindEvtRing(EvtLog log);

// Whether what begins at `offset` is the log's. In a ring that is not known everything is.
constexpr bool IsInRing(const EvtRing& ring, std::uint64_t offset) {
  if (!ring.known) return true;
  const bool behind_begin = offset >= ring.begin;
  const bool before_end = offset < ring.end;
  return ring.begin <= ring.end ? behind_begin && before_end : behind_begin || before_end;
}

}  // namespace tarnlex
