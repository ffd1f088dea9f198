// A short way for the texts that make up nearly all of an event log: UTF-16 units that are plain
// ASCII and hold nothing that their form would have to look at again. One look at
// sixteen units converts and judges them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

// Bytes behind the text's own that these may overwrite.
inline constexpr std::size_t kPlainAsciiBlock = 16;

// Writes the `count` UTF-16LE units at `offset` of `bytes`, where they lie whole, at `out`, a byte
// each and zero units at the end left out; returns the end. Null when one of them is no printable
// ASCII character, is a comma or a bar, or when the text ends too close to the end of `bytes` to be
// read in blocks: such a text has to be written the long way.
char* WritePlainAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out);

// The same for texts of XML, which hold no character that markup has a meaning for.
char* WriteXmlAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out);

// The same for texts between quotes, which hold no quote and no backslash.
char* WriteQuotableAscii(Bytes bytes, std::size_t offset, std::size_t count, char* out);

// Writes units at the beginning of `from`, which holds `count` of them at least, up to the first
// that is not plain between quotes: a quote, a backslash, and what is no printable ASCII character.
// Commas and bars are plain there. Returns how many were written at `out`, which has room for
// `count` and kPlainAsciiBlock more.
std::size_t CopyQuotableAscii(Bytes from, std::size_t count, char* out);

}  // namespace tarnlex
