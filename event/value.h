// One typed value of a substitution array, and its text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "logs/bytes.h"

namespace tarnlex {

// Value types ([MS-EVEN6] 2.2.12, BinXmlValueType).
enum EvtVarType : std::uint8_t {
  kEvtVarTypeNull = 0x00,
  kEvtVarTypeString = 0x01,
  kEvtVarTypeAnsiString = 0x02,
  kEvtVarTypeSByte = 0x03,
  kEvtVarTypeByte = 0x04,
  kEvtVarTypeInt16 = 0x05,
  kEvtVarTypeUInt16 = 0x06,
  kEvtVarTypeInt32 = 0x07,
  kEvtVarTypeUInt32 = 0x08,
  kEvtVarTypeInt64 = 0x09,
  kEvtVarTypeUInt64 = 0x0A,
  kEvtVarTypeSingle = 0x0B,
  kEvtVarTypeDouble = 0x0C,
  kEvtVarTypeBoolean = 0x0D,
  kEvtVarTypeBinary = 0x0E,
  kEvtVarTypeGuid = 0x0F,
  kEvtVarTypeSizeT = 0x10,
  kEvtVarTypeFileTime = 0x11,
  kEvtVarTypeSysTime = 0x12,
  kEvtVarTypeSid = 0x13,
  kEvtVarTypeHexInt32 = 0x14,
  kEvtVarTypeHexInt64 = 0x15,
  kEvtVarTypeEvtHandle = 0x20,
  kEvtVarTypeEvtBXml = 0x21,
  kEvtVarTypeEvtXml = 0x23,
  kEvtVarTypeMultiWideString = 0x81,
  kEvtVarTypeArrayHexInt32 = 0x94,
  kEvtVarTypeArrayHexInt64 = 0x95,
};

// Set in the types of lists of values.
inline constexpr std::uint8_t kArrayBit = 0x80;

// One slot of a substitution array. Its text is rendered only when somebody asks for it.
struct SubstitutionValue {
  std::uint32_t offset = 0;  // of the value's bytes in those of the event
  std::uint32_t size = 0;    // in bytes
  std::uint8_t type = kEvtVarTypeNull;
};

// The type's name as traces give it; "unknown type" for a code without one.
std::string_view TypeName(std::uint8_t type);

// The length of the text of a single-byte string.
std::size_t AnsiTextSize(Bytes chunk, const SubstitutionValue& value);

// No number, instant or GUID has a longer text.
inline constexpr std::size_t kMaxNumberRoom = 64;

// An upper bound of the text of a value, in bytes of UTF-8: three bytes a unit for strings, the
// digits of the widest number for the rest.
inline constexpr std::size_t kLiteralTextPerByte = 3;
inline std::size_t MaxValueText(Bytes chunk, const SubstitutionValue& value) {
  if (value.type == kEvtVarTypeAnsiString) return AnsiTextSize(chunk, value);
  return kMaxNumberRoom + kLiteralTextPerByte * value.size;
}

// The same without what every number is given: a bound of what a value says in proportion to its
// bytes.
inline std::size_t MaxProportionalText(Bytes chunk, const SubstitutionValue& value) {
  if (value.type == kEvtVarTypeAnsiString) return AnsiTextSize(chunk, value);
  return kLiteralTextPerByte * value.size;
}

// A closer bound, exact for texts and lists of texts; it takes a look at them.
std::size_t ValueTextBound(Bytes chunk, const SubstitutionValue& value);

// Writes the text of a value at `out`, which has room for MaxValueText; returns the end. A value
// that is too small for its type, does not lie inside the chunk, or is no valid instant or SID, and
// every type without a text of its own, gives an empty text.
char* WriteValueText(Bytes chunk, const SubstitutionValue& value, char* out);

// Whether the text of such a value may hold any character. All others consist of letters, digits,
// blanks and "-./:".
inline bool IsFreeText(std::uint8_t type) {
  return type == kEvtVarTypeString || type == kEvtVarTypeAnsiString || type == kEvtVarTypeEvtXml ||
         type == kEvtVarTypeMultiWideString;
}

// Whether such a value is a text or plain bytes, of which there is one way to read them.
inline bool HasPlainText(std::uint8_t type) {
  return type == kEvtVarTypeString || type == kEvtVarTypeEvtXml || type == kEvtVarTypeBinary ||
         type == kEvtVarTypeMultiWideString;
}

// The text of a value in a string of its own.
std::string ValueText(Bytes chunk, const SubstitutionValue& value);

}  // namespace tarnlex
