// What the header of an EVT file says of the log. Nothing of it decides what is read: the service
// that writes the log brings it up to date when it ends.
#pragma once

#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

struct EvtFileHeader {
  bool found = false;
  std::uint32_t next_record = 0;    // the number that the next record will get
  std::uint32_t oldest_record = 0;  // 0: none
  bool dirty = false;               // the log was open when it was written last
  bool wrapped = false;
  bool full = false;
};

// Reads it from the first bytes of a file; not found where they are too few or no header.
EvtFileHeader ReadEvtFileHeader(Bytes head);

}  // namespace tarnlex
