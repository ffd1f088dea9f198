// What of a recovered record is proved: where the classes of recovered records are decided.
#pragma once

#include <cstdint>

#include "event/recovery.h"
#include "evtx/sound_stream.h"

namespace tarnlex {

// What may be told of a record.
struct Judgement {
  Checked checked = Checked::kNone;
  bool has_values = false;  // false: nothing but what its head says
};

// Judges the whole record of `size` bytes at `at`, whose head is known to be sound.
//
//   values, each what its type says, up to the record's end?   no: its head alone
//   its own definition sound, and one of its template?         no: class none, values without names
//   the same of every instance in its values?                  no: class system
//   all of that                                                class all
//
// A record of elements, without a template, is of class all or tells nothing but its head.
Judgement JudgeRecord(SoundChecks& checks, std::uint32_t at, std::uint32_t size);

}  // namespace tarnlex
