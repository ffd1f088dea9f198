// The texts of numbers of a fixed width, small enough to be put into what writes values of a type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "event/value.h"
#include "logs/bytes.h"
#include "logs/date_time.h"
#include "logs/hex_text.h"
#include "logs/text.h"

namespace tarnlex {

// Writes a value's text at `out`, which has room for it; returns the end.
using ValueWriter = char* (*)(Bytes bytes, const SubstitutionValue& value, char* out);

// The same for a number whose bytes are all there.
using NumberWriter = char* (*)(const std::uint8_t* at, char* out);

template <typename T>
char* WriteInteger(const std::uint8_t* at, char* out) {
  using Widest = std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>;
  return WriteDecimal(static_cast<Widest>(Load<T>(at)), out);
}

inline char* WriteHexInt32(const std::uint8_t* at, char* out) {
  return WriteHex8(Load<std::uint32_t>(at), CopyText("0x", out));
}

inline char* WriteHexInt64(const std::uint8_t* at, char* out) {
  return WriteHex16(Load<std::uint64_t>(at), CopyText("0x", out));
}

inline char* WriteSmallGuid(const std::uint8_t* at, char* out) { return WriteGuidText(at, out); }

// Nothing for what is no valid instant.
inline char* WriteFiletime(const std::uint8_t* at, char* out) {
  return WriteFiletimeFull(Load<std::uint64_t>(at), out);
}

// Nothing for a value that has fewer than `kSize` bytes, or does not lie inside of `bytes`.
template <std::size_t kSize, NumberWriter kWrite>
char* WriteNumber(Bytes bytes, const SubstitutionValue& value, char* out) {
  const bool is_whole = value.size >= kSize && Fits(bytes, value.offset, value.size);
  return is_whole ? kWrite(bytes.data() + value.offset, out) : out;
}

// Sets the rows of all types of integers in a table of writers by type; `writer_of` gives the
// writer for integers like its argument.
template <typename Writers, typename WriterOf>
constexpr void SetIntegers(Writers& writers, WriterOf writer_of) {
  writers[kEvtVarTypeSByte] = writer_of(std::int8_t{});
  writers[kEvtVarTypeByte] = writer_of(std::uint8_t{});
  writers[kEvtVarTypeInt16] = writer_of(std::int16_t{});
  writers[kEvtVarTypeUInt16] = writer_of(std::uint16_t{});
  writers[kEvtVarTypeInt32] = writer_of(std::int32_t{});
  writers[kEvtVarTypeUInt32] = writer_of(std::uint32_t{});
  writers[kEvtVarTypeInt64] = writer_of(std::int64_t{});
  writers[kEvtVarTypeUInt64] = writer_of(std::uint64_t{});
}

}  // namespace tarnlex
