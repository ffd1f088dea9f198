// EVT records and headers wherever they lie in a raw image.
#pragma once

#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

// Whether the header of a file stands at the head of `bytes`.
bool IsEvtHeader(Bytes bytes);

// The length of the record that begins with `bytes`, if a whole one does: its fixed part can be
// one's, and its length stands at its end too. Else 0.
std::uint32_t WholeEvtLength(Bytes bytes);

}  // namespace tarnlex
