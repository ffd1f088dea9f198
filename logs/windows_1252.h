// Single-byte text of Western Windows systems.
#pragma once

#include <cstddef>

#include "logs/bytes.h"

namespace tarnlex {

// Bytes of UTF-8 that one byte can become at most.
inline constexpr std::size_t kMaxUtf8PerByte = 3;

// Writes text in Windows-1252 as UTF-8 at `out`, which has room for kMaxUtf8PerByte a byte; returns
// the end. Zeros at the end are dropped, a zero inside becomes a blank, and the five bytes without
// a character are the control characters of their numbers.
char* WriteWindows1252(Bytes text, char* out);

}  // namespace tarnlex
