// The checksum that event logs carry: CRC-32 as in zip files.
#pragma once

#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

// The checksum of `bytes`, or of what stood before, whose checksum is `before`, and `bytes`.
std::uint32_t Crc32(Bytes bytes, std::uint32_t before = 0);

}  // namespace tarnlex
