// The two checksums of a chunk.
#pragma once

#include "logs/bytes.h"

namespace tarnlex {

// Whether that of a chunk's header holds; of a chunk that is cut at least the header must be there.
bool HeaderHolds(Bytes chunk);

// Whether that of its records holds, up to where its header says that free space begins.
bool RecordsHold(Bytes chunk);

}  // namespace tarnlex
