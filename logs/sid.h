// Security identifiers, which both containers store in the same bytes.
#pragma once

#include <string>

#include "logs/bytes.h"

namespace tarnlex {

// Room that WriteSidText may need for `size` bytes of a SID.
constexpr std::size_t MaxSidText(std::size_t size) { return 32 + 3 * size; }

// Writes "S-1-5-21-..." at `out` and returns the end: the revision, the authority (decimal below
// 2^32, else 0x and twelve digits), then the parts. Nothing for bytes that are shorter than they
// claim.
char* WriteSidText(Bytes sid, char* out);

// The same into a string of its own.
std::string SidText(Bytes sid);

}  // namespace tarnlex
