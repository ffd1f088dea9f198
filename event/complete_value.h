// The texts of typed values as they are, where the tables' own (value.h) leave something out or
// bend it: numbers keep their sign, times their century, single-byte strings their size, and arrays
// of any type are lists. What cannot be read as its type is given as its bytes in hexadecimal.
#pragma once

#include <array>
#include <cstddef>

#include "event/number_text.h"
#include "event/value.h"
#include "logs/bytes.h"

namespace tarnlex {

// Bytes of text that one byte of a value becomes at most, beside kMaxNumberRoom.
inline constexpr std::size_t kCompleteTextPerByte = 6;

// Sets of types, as bits.
constexpr std::uint32_t TypeBit(EvtVarType type) { return std::uint32_t{1} << type; }
inline constexpr unsigned kTypeBits = 0x20;

// The long way of WriteCompleteText, for values of any type; nothing to be put into the short ones.
[[gnu::noinline]] char* WriteUncommonText(Bytes bytes, const SubstitutionValue& value, char* out);

// The same for a number that mostly has the bytes that its type asks for.
template <std::size_t kSize, NumberWriter kWrite>
char* WriteCompleteNumber(Bytes bytes, const SubstitutionValue& value, char* out) {
  char* const end = WriteNumber<kSize, kWrite>(bytes, value, out);
  return end != out ? end : WriteUncommonText(bytes, value, out);
}

// How values of each type are written.
extern const std::array<ValueWriter, kTypeBits> kCompleteWriters;

// Writes the text of a value at `out`, which has room for kMaxNumberRoom and kCompleteTextPerByte
// for each of its bytes; returns the end. Always UTF-8. A value that does not lie inside of `bytes`
// gives an empty text, as does one of type null.
inline char* WriteCompleteText(Bytes bytes, const SubstitutionValue& value, char* out) {
  return value.type < kTypeBits ? kCompleteWriters[value.type](bytes, value, out)
                                : WriteUncommonText(bytes, value, out);
}

// Whether a number has the bytes that its type asks for, so that its text is that of a number.
bool IsReadable(const SubstitutionValue& value);

// Whether the text of such a value may hold any character; see IsFreeText.
constexpr bool IsFreeCompleteText(std::uint8_t type) {
  constexpr std::uint32_t kFree = TypeBit(kEvtVarTypeString) | TypeBit(kEvtVarTypeAnsiString) |
                                  TypeBit(kEvtVarTypeSingle) | TypeBit(kEvtVarTypeDouble);
  return type >= kTypeBits || (kFree >> type & 1) != 0;
}

// Whether a value is a list of values.
constexpr bool IsArray(const SubstitutionValue& value) { return (value.type & kArrayBit) != 0; }

// Steps through the values of an array, each as a value of its own.
struct ArrayElements {
  Bytes bytes;
  std::uint32_t at = 0;
  std::uint32_t end = 0;
  std::uint8_t type = kEvtVarTypeNull;  // of the elements
  std::size_t width = 0;                // of each in bytes; 0 when they differ
};
ArrayElements ElementsOf(Bytes bytes, const SubstitutionValue& array);

// The next value; false behind the last. Bytes that are too few for one are one all the same.
bool NextElement(ArrayElements& elements, SubstitutionValue& element);

}  // namespace tarnlex
