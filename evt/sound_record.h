// What an EVT record that no walk vouches for has to be. It carries no checksum: what can be held
// against it is how its parts fit together.
#pragma once

#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

// Larger records are not looked for; real ones stay far below.
inline constexpr std::uint32_t kEvtLargestRecord = std::uint32_t{1} << 20;

// The length of the record that begins with these bytes if its fixed part can be one's: the
// signature, a number that is not 0, times from 1990 to 2099, and fields that lie inside of it.
// 0 if not. That its length stands at its end too is for the caller to see.
std::uint32_t PlausibleEvtLength(Bytes fixed_part);

// Whether a whole record, whose fixed part is plausible, holds together from end to end: names and
// strings that are text and end where the next part begins, a SID that is one, and behind the data
// nothing but what fills records up.
bool IsSoundEvtRecord(Bytes record);

}  // namespace tarnlex
