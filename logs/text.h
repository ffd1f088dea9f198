// Text helpers shared by every folder. Text is UTF-8 in std::string; UTF-16 exists only in the
// bytes of the logs. Case folding is ASCII only, as in all tests that the program makes on text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "logs/bytes.h"

namespace tarnlex {

// Bytes of UTF-8 that one UTF-16 unit can become at most.
inline constexpr std::size_t kMaxUtf8PerUnit = 3;

// Writes `count` UTF-16LE units as UTF-8 at `out`, which must have room for kMaxUtf8PerUnit bytes a
// unit; returns the end. A lone surrogate becomes U+FFFD, zero units at the end are dropped, a zero
// unit inside becomes a blank.
char* WriteUtf8(const std::uint8_t* units, std::size_t count, char* out);

// The same for texts with a zero unit between two of them, which becomes a comma and a blank. Zero
// units at the end stay.
char* WriteUtf8List(const std::uint8_t* units, std::size_t count, char* out);

// How many of `count` units stand before the first zero unit; `count` without one.
std::size_t UnitsBeforeZero(const std::uint8_t* units, std::size_t count);

// How many of `count` units are left when zero units at the end are not counted.
inline std::size_t UnitsWithoutZerosAtEnd(const std::uint8_t* units, std::size_t count) {
  while (count > 0 && Load<std::uint16_t>(units + 2 * (count - 1)) == 0) --count;
  return count;
}

// The bytes that WriteUtf8 makes of `count` units, counted without making them.
std::size_t Utf8Size(const std::uint8_t* units, std::size_t count);

// The same into a string of its own; an odd last byte is ignored.
std::string Utf16ToUtf8(Bytes utf16);

constexpr char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
std::string ToLowerAscii(std::string_view text);
bool EqualsNoCase(std::string_view a, std::string_view b);

// True when `needle`, which the caller has lower-cased already, occurs in `text` in any ASCII case.
// An empty needle occurs everywhere.
bool ContainsNoCase(std::string_view text, std::string_view lowered_needle);

// `text` without blanks, tabs, carriage returns and line feeds at both ends.
std::string_view Trim(std::string_view text);

// Cuts `text` at every `delimiter` into `pieces` (cleared first). With `trim`, pieces are trimmed
// and empty ones dropped. False only for an empty text.
bool SplitList(std::string_view text, char delimiter, bool trim, std::vector<std::string>& pieces);

// `text` with every `from` turned into `to`.
std::string ReplaceChar(std::string_view text, char from, char to);

// The number that the leading decimal digits of `text` spell; 0 without any, the largest value when
// it does not fit.
std::uint64_t LeadingNumber(std::string_view text);

// Decimal text of a number, written at `out` (room for 20 characters, all of which may be written
// over); returns the end.
char* WriteManyDigits(std::uint64_t value, char* out);
inline char* WriteDecimal(std::uint64_t value, char* out) {
  if (value >= 10) return WriteManyDigits(value, out);
  *out = static_cast<char>('0' + value);
  return out + 1;
}
inline char* WriteDecimal(std::int64_t value, char* out) {
  if (value >= 0) return WriteDecimal(static_cast<std::uint64_t>(value), out);
  *out = '-';
  return WriteDecimal(~static_cast<std::uint64_t>(value) + 1, out + 1);
}

// Exactly `digits` hexadecimal digits of `value`, zero-filled; returns the end.
char* WriteHex(std::uint64_t value, int digits, char* out);

// Hexadecimal text without leading zeros.
std::string HexText(std::uint64_t value);

// Copies a text to `out`, which has room for it; returns the end.
inline char* CopyText(std::string_view text, char* out) {
  if (!text.empty()) std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

// Bytes behind a text, and behind the place where it goes, that CopyPadded may read and overwrite.
inline constexpr std::size_t kCopyBlock = 32;

// The same for texts of which most are shorter than a block, and which have one behind them.
inline char* CopyPadded(std::string_view text, char* out) {
  std::memcpy(out, text.data(), kCopyBlock);
  if (text.size() > kCopyBlock) {
    std::memcpy(out + kCopyBlock, text.data() + kCopyBlock, text.size() - kCopyBlock);
  }
  return out + text.size();
}

// Number of code points in UTF-8 text: bytes that do not continue a character.
std::size_t CountCodePoints(std::string_view text);

}  // namespace tarnlex
