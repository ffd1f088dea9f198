// Whether bytes can be what they are taken for. What is sound passes; of what was overwritten
// nearly nothing does.
#pragma once

#include "logs/bytes.h"

namespace tarnlex {

// Whether UTF-16LE is text: no half of a surrogate pair, nothing for private use, no character
// that is none, and no control characters but tabs and line breaks.
bool IsSoundText(Bytes units);

// Whether a security identifier is one, and fills its bytes.
bool IsSoundSid(Bytes sid);

}  // namespace tarnlex
