// EVT records and headers wherever they lie in a raw image.
#pragma once

#include <cstdint>

#include "event/recovery.h"
#include "logs/bytes.h"

namespace tarnlex {

// Records are not looked for beyond this size; real ones are far smaller.
inline constexpr std::uint64_t kLargestCarvedEvt = 0x40000;

// Whether the header of a file stands at the head of `bytes`.
bool IsEvtHeader(Bytes bytes);

// The length of the record that begins with `bytes`, if a whole one does: it states its length in
// front and behind, a number, a kind that there is, and times from 1990 to before 2100. Else 0.
std::uint32_t SoundEvtLength(Bytes bytes);

// What of a whole record is proved: all of it, when its names end and its strings, its SID and its
// data lie one behind the other between them and its end; else its head alone.
Checked CheckEvtRecord(Bytes record);

}  // namespace tarnlex
