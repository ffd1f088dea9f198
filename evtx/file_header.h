// What the header of an EVTX file says of the log. Nothing of it decides what is read: the service
// that writes the log brings it up to date only now and then.
#pragma once

#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

struct EvtxFileHeader {
  bool found = false;
  std::uint64_t next_record = 0;  // the identifier that the next record will get
  std::uint16_t chunks = 0;
  bool dirty = false;  // the log was open, or its service was ended, when it was written last
  bool full = false;
  bool checksum_holds = false;
};

// Reads it from the first bytes of a file; not found where they are too few or no header.
EvtxFileHeader ReadEvtxFileHeader(Bytes head);

}  // namespace tarnlex
