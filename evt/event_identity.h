// What tells an event from all others wherever its record is stored.
#pragma once

#include "evt/record.h"
#include "logs/read_file.h"
#include "logs/sip_hash.h"

namespace tarnlex {

// The same for two records that agree in every byte and in what they say: of one that is damaged,
// texts may be read behind its end. Numbers, times, source and computer are among the bytes.
Hash128 IdentityOf(HashKey key, EvtRecord& record, FileBytes& room);

}  // namespace tarnlex
