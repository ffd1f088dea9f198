// Text and typed values as JSON.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "event/number_text.h"
#include "event/value.h"
#include "logs/plain_ascii.h"
#include "logs/text.h"

namespace tarnlex {

// Bytes that a character may take in a JSON string for each one that it has ("\u001f").
inline constexpr std::size_t kJsonPerByte = 6;

// Escapes what stands from `begin` to `end`, UTF-8, in place; returns the new end. There is room
// for kJsonPerByte times the text. Characters that only some readers take for the end of a line
// (U+0085, U+2028, U+2029) are escaped too.
char* EscapeJson(char* begin, char* end);

// The long way of WriteJsonString.
char* WriteUncommonJsonString(Bytes bytes, const SubstitutionValue& text, bool keep_empty,
                              char* out);

// Writes a value of type kEvtVarTypeString as a JSON string; returns the end. There is room for
// kJsonPerByte times its bytes, two blocks of kPlainAsciiBlock, and the quotes. Without
// `kKeepsEmpty` an empty text gives nothing. The long way is not come back from, so that nothing is
// kept for it.
template <bool kKeepsEmpty>
char* WriteJsonString(Bytes bytes, const SubstitutionValue& text, char* out) {
  char* const end = WriteQuotableAscii(bytes, text.offset, text.size / 2, out + 1);
  if (!end) return WriteUncommonJsonString(bytes, text, kKeepsEmpty, out);
  if (!kKeepsEmpty && end == out + 1) return out;
  *out = *end = '"';
  return end + 1;
}

// Writes the number that a value holds in as many bytes as its type asks for; one that has fewer is
// what `kElse` makes of it.
template <typename T, ValueWriter kElse>
char* WriteJsonInteger(Bytes bytes, const SubstitutionValue& value, char* out) {
  const bool is_whole = value.size >= sizeof(T) && Fits(bytes, value.offset, sizeof(T));
  return is_whole ? WriteInteger<T>(bytes.data() + value.offset, out) : kElse(bytes, value, out);
}

// A text as it stands between quotes.
std::string EscapedJson(std::string_view text);
void AppendEscapedJson(std::string& to, std::string_view text);

// A text as a JSON string, quotes included, and `behind`.
std::string JsonString(std::string_view text, std::string_view behind = {});

// Puts a text that needs no escapes into quotes, in place; returns the new end.
char* QuoteJson(char* begin, char* end);

// What a JSON value takes beside its text at most: quotes, and what is put between members.
inline constexpr std::size_t kJsonOverhead = 8;

// How values of each type are written, arrays among them.
extern const std::array<ValueWriter, 0x100> kJsonWriters;

// Writes a slot's value at `out`, which has room for MaxSlotText and kJsonOverhead; returns the
// end. Integers, floating point numbers and truth values are JSON's own. The hexadecimal types are
// texts ("0x8020000000000000"), as are identifiers, binary data and numbers that JSON does not
// know. Times are ISO 8601 in UTC with seven digits; arrays are lists. A value without any text is
// "".
inline char* WriteJsonValue(Bytes bytes, const SubstitutionValue& value, char* out) {
  return kJsonWriters[value.type](bytes, value, out);
}

// The entries of an array without the brackets around them.
char* WriteJsonEntries(Bytes bytes, const SubstitutionValue& array, char* out);

// Writes a time as text in quotes, "2023-03-14T09:26:53.5897932Z"; nothing for a number that is no
// instant (above 2^63 - 1). Room for 40 characters.
char* WriteJsonTime(std::uint64_t filetime, char* out);

}  // namespace tarnlex
