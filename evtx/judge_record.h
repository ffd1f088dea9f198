// What of a recovered record is proved: where the classes of recovered records are decided.
#pragma once

#include <cstdint>

#include "event/recovery.h"
#include "evtx/sound_stream.h"

namespace tarnlex {

// Judges the whole record of `size` bytes at `at`, found in a place of the kind `from`, whose head
// is known to be sound.
//
//   values, each what its type says, up to the record's end?   no: its head alone
//   its own definition sound, and one of its template?         no: class none, values without names
//   the same of every instance in its values?                  no: class system
//   all of that                                                class all
//
// A record of elements, without a template, is of class all or tells nothing but its head.
Recovery JudgeRecord(SoundChecks& checks, FoundIn from, std::uint32_t at, std::uint32_t size);

}  // namespace tarnlex
