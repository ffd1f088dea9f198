#include "event/value.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "event/number_text.h"
#include "logs/date_time.h"
#include "logs/sid.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

// Number texts are cut where a 32-character buffer with its final zero would end.
constexpr std::ptrdiff_t kMaxNumberText = 31;

// Nothing of one that has too few bytes.
template <std::size_t kSize, NumberWriter kWrite>
char* WriteWhole(Bytes value, char* out) {
  return value.size() < kSize ? out : kWrite(value.data(), out);
}

template <typename T>
char* WriteWholeInteger(Bytes value, char* out) {
  return WriteWhole<sizeof(T), WriteInteger<T>>(value, out);
}

// The text of a number so large that its point lies behind what is kept: only the digits before are
// made, and some more to be sure that those kept were not rounded. Null when they may have been.
char* WriteHugeFloat(double number, char* out) {
  constexpr double kHuge = 1e31;
  constexpr int kMore = 4;
  if (!(std::fabs(number) >= kHuge && std::isfinite(number))) return nullptr;
  char digits[64];  // "-d.ddde+308"
  const auto end = std::to_chars(digits, digits + sizeof digits, number,
                                 std::chars_format::scientific, kMaxNumberText + kMore - 1)
                       .ptr;
  char* const point = std::find(digits, end, '.');
  std::copy(point + 1, end, point);
  const std::string_view made(digits, kMaxNumberText + kMore);
  if (made.substr(kMaxNumberText) == "0000") return nullptr;
  std::memcpy(out, digits, kMaxNumberText);
  return out + kMaxNumberText;
}

template <typename T>
[[gnu::noinline]] char* WriteFloat(Bytes value, char* out) {
  if (value.size() < sizeof(T)) return out;
  const double number = static_cast<double>(Load<T>(value.data()));
  if (char* huge_end = WriteHugeFloat(number, out)) return huge_end;
  char digits[400];  // the largest double has 309 digits before its point
  const auto end =
      std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, 6).ptr;
  const auto size = static_cast<std::size_t>(std::min(end - digits, kMaxNumberText));
  std::memcpy(out, digits, size);
  return out + size;
}

// Single-byte strings carry their own end; the size in the descriptor does not bound them.
std::string_view AnsiText(Bytes chunk, const SubstitutionValue& value) {
  if (value.size == 0) return {};
  const Bytes rest = Clip(chunk, value.offset, chunk.size());
  if (rest.empty()) return {};
  const void* zero = std::memchr(rest.data(), 0, rest.size());
  const std::size_t length =
      zero ? static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - rest.data())
           : rest.size();
  return {reinterpret_cast<const char*>(rest.data()), length};
}

char* WriteMultiString(Bytes value, char* out) {
  return WriteUtf8List(value.data(), UnitsWithoutZerosAtEnd(value.data(), value.size() / 2), out);
}

// The two digits of every byte.
constexpr auto kByteDigits = [] {
  std::array<std::array<char, 2>, 256> digits{};
  for (std::size_t byte = 0; byte < digits.size(); ++byte) {
    digits[byte] = {"0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 0xF]};
  }
  return digits;
}();

char* WriteBinary(Bytes value, char* out) {
  for (const std::uint8_t byte : value) {
    std::memcpy(out, kByteDigits[byte].data(), 2);
    out += 2;
  }
  return out;
}

[[gnu::noinline]] char* WriteSystemTime(Bytes value, char* out) {
  std::uint16_t fields[8];
  if (value.size() < sizeof fields) return out;
  std::memcpy(fields, value.data(), sizeof fields);
  return CopyText(FormatSystemTime(fields), out);
}

}  // namespace

std::string_view TypeName(std::uint8_t type) {
  switch (type) {
    case kEvtVarTypeNull: return "EvtVarTypeNull";
    case kEvtVarTypeString: return "EvtVarTypeString";
    case kEvtVarTypeAnsiString: return "EvtVarTypeAnsiString";
    case kEvtVarTypeSByte: return "EvtVarTypeSByte";
    case kEvtVarTypeByte: return "EvtVarTypeByte";
    case kEvtVarTypeInt16: return "EvtVarTypeInt16";
    case kEvtVarTypeUInt16: return "EvtVarTypeUInt16";
    case kEvtVarTypeInt32: return "EvtVarTypeInt32";
    case kEvtVarTypeUInt32: return "EvtVarTypeUInt32";
    case kEvtVarTypeInt64: return "EvtVarTypeInt64";
    case kEvtVarTypeUInt64: return "EvtVarTypeUInt64";
    case kEvtVarTypeSingle: return "EvtVarTypeSingle";
    case kEvtVarTypeDouble: return "EvtVarTypeDouble";
    case kEvtVarTypeBoolean: return "EvtVarTypeBoolean";
    case kEvtVarTypeBinary: return "EvtVarTypeBinary";
    case kEvtVarTypeGuid: return "EvtVarTypeGuid";
    case kEvtVarTypeSizeT: return "EvtVarTypeSizeT";
    case kEvtVarTypeFileTime: return "EvtVarTypeFileTime";
    case kEvtVarTypeSysTime: return "EvtVarTypeSysTime";
    case kEvtVarTypeSid: return "EvtVarTypeSid";
    case kEvtVarTypeHexInt32: return "EvtVarTypeHexInt32";
    case kEvtVarTypeHexInt64: return "EvtVarTypeHexInt64";
    case kEvtVarTypeEvtHandle: return "EvtVarTypeEvtHandle";
    case kEvtVarTypeEvtBXml: return "EvtVarTypeEvtBXml";
    case kEvtVarTypeEvtXml: return "EvtVarTypeEvtXml";
    case kEvtVarTypeMultiWideString: return "EvtVarTypeMultiWideString";
    case kEvtVarTypeArrayHexInt32: return "EvtVarTypeArrayHexInt32";
    case kEvtVarTypeArrayHexInt64: return "EvtVarTypeArrayHexInt64";
    default: return "unknown type";
  }
}

std::size_t ValueTextBound(Bytes chunk, const SubstitutionValue& value) {
  if (value.type == kEvtVarTypeAnsiString) return AnsiTextSize(chunk, value);
  if (!Fits(chunk, value.offset, value.size)) return 0;
  const std::uint8_t* bytes = chunk.data() + value.offset;
  switch (value.type) {
    case kEvtVarTypeString:
    case kEvtVarTypeEvtXml: return Utf8Size(bytes, value.size / 2);
    case kEvtVarTypeBinary: return std::size_t{2} * value.size;
    case kEvtVarTypeMultiWideString: {
      const std::size_t units = UnitsWithoutZerosAtEnd(bytes, value.size / 2);
      std::size_t zeros = 0;
      for (std::size_t i = 0; i < units; ++i) zeros += Load<std::uint16_t>(bytes + 2 * i) == 0;
      return Utf8Size(bytes, units) + zeros;  // a zero gives a comma and a blank
    }
    case kEvtVarTypeSid: return MaxValueText(chunk, value);
    default: return kMaxNumberRoom;
  }
}

std::size_t AnsiTextSize(Bytes chunk, const SubstitutionValue& value) {
  return AnsiText(chunk, value).size();
}

char* WriteValueText(Bytes chunk, const SubstitutionValue& value, char* out) {
  if (value.type == kEvtVarTypeNull) return CopyText("0", out);
  if (value.type == kEvtVarTypeAnsiString) return CopyText(AnsiText(chunk, value), out);
  if (!Fits(chunk, value.offset, value.size)) return out;
  const Bytes bytes = chunk.subspan(value.offset, value.size);
  switch (value.type) {
    case kEvtVarTypeString:
    case kEvtVarTypeEvtXml: return WriteUtf8(bytes.data(), bytes.size() / 2, out);
    case kEvtVarTypeSByte:  // read as unsigned, like Byte
    case kEvtVarTypeByte: return WriteWholeInteger<std::uint8_t>(bytes, out);
    case kEvtVarTypeInt16: return WriteWholeInteger<std::int16_t>(bytes, out);
    case kEvtVarTypeUInt16: return WriteWholeInteger<std::uint16_t>(bytes, out);
    case kEvtVarTypeInt32: return WriteWholeInteger<std::int32_t>(bytes, out);
    case kEvtVarTypeUInt32:
    case kEvtVarTypeSizeT: return WriteWholeInteger<std::uint32_t>(bytes, out);
    case kEvtVarTypeInt64:
    case kEvtVarTypeUInt64:  // prints negative above the signed range
      return WriteWholeInteger<std::int64_t>(bytes, out);
    case kEvtVarTypeSingle: return WriteFloat<float>(bytes, out);
    case kEvtVarTypeDouble: return WriteFloat<double>(bytes, out);
    case kEvtVarTypeBoolean:
      return bytes.empty() ? out : CopyText(bytes[0] != 0 ? "true" : "false", out);
    case kEvtVarTypeBinary: return WriteBinary(bytes, out);
    case kEvtVarTypeGuid: return WriteWhole<16, WriteSmallGuid>(bytes, out);
    case kEvtVarTypeFileTime: return WriteWhole<8, WriteFiletime>(bytes, out);
    case kEvtVarTypeSysTime: return WriteSystemTime(bytes, out);
    case kEvtVarTypeSid: return WriteSidText(bytes, out);
    case kEvtVarTypeHexInt32:
    case kEvtVarTypeEvtHandle: return WriteWhole<4, WriteHexInt32>(bytes, out);
    case kEvtVarTypeHexInt64: return WriteWhole<8, WriteHexInt64>(bytes, out);
    case kEvtVarTypeMultiWideString: return WriteMultiString(bytes, out);
    default: return out;  // arrays and everything unknown have no text
  }
}

std::string ValueText(Bytes chunk, const SubstitutionValue& value) {
  std::string text(MaxValueText(chunk, value), '\0');
  text.resize(static_cast<std::size_t>(WriteValueText(chunk, value, text.data()) - text.data()));
  return text;
}

}  // namespace tarnlex
