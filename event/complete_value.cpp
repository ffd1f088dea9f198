#include "event/complete_value.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "logs/date_time.h"
#include "logs/text.h"
#include "logs/windows_1252.h"

namespace tarnlex {
namespace {

constexpr std::uint8_t kArrayBit = 0x80;
constexpr std::size_t kFixedSidPart = 8;

char* WriteLiteral(std::string_view text, char* out) {
  std::memcpy(out, text.data(), text.size());
  return out + text.size();
}

// The shortest text that reads back as the same number.
template <typename T>
char* WriteFloat(const std::uint8_t* at, char* out) {
  return std::to_chars(out, out + kMaxNumberRoom / 2, Load<T>(at)).ptr;
}

char* WriteHexNumber(Bytes number, char* out) {
  out = WriteLiteral("0x", out);
  return number.size() == 4 ? WriteHex8(Load<std::uint32_t>(number.data()), out)
                            : WriteHex16(Load<std::uint64_t>(number.data()), out);
}

char* WriteHexBytes(Bytes bytes, char* out) {
  for (const std::uint8_t byte : bytes) {
    *out++ = "0123456789ABCDEF"[byte >> 4];
    *out++ = "0123456789ABCDEF"[byte & 0xF];
  }
  return out;
}

char* WriteTruth(Bytes bytes, char* out) {
  const bool is_true =
      std::any_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
  return WriteLiteral(is_true ? "true" : "false", out);
}

// The bytes that one number of the type takes; 0 when it is none, or may take several numbers of
// them.
std::size_t WidthOf(std::uint8_t type) {
  switch (type) {
    case kEvtVarTypeSByte:
    case kEvtVarTypeByte: return 1;
    case kEvtVarTypeInt16:
    case kEvtVarTypeUInt16: return 2;
    case kEvtVarTypeInt32:
    case kEvtVarTypeUInt32:
    case kEvtVarTypeSingle:
    case kEvtVarTypeBoolean:
    case kEvtVarTypeHexInt32: return 4;
    case kEvtVarTypeInt64:
    case kEvtVarTypeUInt64:
    case kEvtVarTypeDouble:
    case kEvtVarTypeFileTime:
    case kEvtVarTypeHexInt64: return 8;
    case kEvtVarTypeGuid:
    case kEvtVarTypeSysTime: return 16;
    default: return 0;
  }
}

// A pointer's width is the recording system's own.
bool HasSystemWidth(std::uint8_t type) {
  return type == kEvtVarTypeSizeT || type == kEvtVarTypeEvtHandle;
}

char* WritePointer(std::uint8_t type, Bytes bytes, char* out) {
  if (type == kEvtVarTypeEvtHandle) return WriteHexNumber(bytes, out);
  const std::uint8_t* at = bytes.data();
  return WriteDecimal(
      bytes.size() == 4 ? std::uint64_t{Load<std::uint32_t>(at)} : Load<std::uint64_t>(at), out);
}

// An empty text of these is one.
bool IsText(std::uint8_t type) {
  return type == kEvtVarTypeString || type == kEvtVarTypeAnsiString || type == kEvtVarTypeEvtXml;
}

// What the tables have no text for.
char* WriteLeftOver(std::uint8_t type, Bytes bytes, char* out) {
  std::uint64_t filetime = 0;
  if (type == kEvtVarTypeFileTime && ReadAt(bytes, 0, filetime)) {
    char* const end = WriteAnyFiletime(filetime, out);
    if (end != out) return end;
  }
  return WriteHexBytes(bytes, out);
}

// Of types whose texts in tables are not what they are; nothing where the bytes are too few.
char* WriteBent(std::uint8_t type, Bytes bytes, char* out) {
  const std::uint8_t* at = bytes.data();
  if (type == kEvtVarTypeAnsiString) return WriteWindows1252(bytes, out);
  if (type == kEvtVarTypeBoolean) return bytes.empty() ? out : WriteTruth(bytes, out);
  if (HasSystemWidth(type)) {
    return bytes.size() == 4 || bytes.size() == 8 ? WritePointer(type, bytes, out) : out;
  }
  if (bytes.size() < WidthOf(type)) return out;
  switch (type) {
    case kEvtVarTypeSByte: return WriteDecimal(std::int64_t{Load<std::int8_t>(at)}, out);
    case kEvtVarTypeUInt64: return WriteDecimal(Load<std::uint64_t>(at), out);
    case kEvtVarTypeSingle: return WriteFloat<float>(at, out);
    case kEvtVarTypeDouble: return WriteFloat<double>(at, out);
    default: return out;
  }
}

bool IsBent(std::uint8_t type) {
  return type < kTypeBits ? (kBentTypes >> type & 1) != 0 : type == kEvtVarTypeEvtHandle;
}

// One value that is no array.
char* WriteOne(Bytes bytes, const SubstitutionValue& value, char* out) {
  const Bytes own = bytes.subspan(value.offset, value.size);
  char* const end =
      IsBent(value.type) ? WriteBent(value.type, own, out) : WriteValueText(bytes, value, out);
  const bool is_said = end != out || own.empty() || IsText(value.type);
  return is_said ? end : WriteLeftOver(value.type, own, out);
}

// The bytes of the first element of an array; all of them when it cannot be told.
std::size_t ElementSize(std::uint8_t type, Bytes array) {
  if (HasSystemWidth(type)) return array.size() % 8 == 0 ? 8 : 4;
  if (type == kEvtVarTypeSid && array.size() >= kFixedSidPart) {
    return std::min(array.size(), kFixedSidPart + std::size_t{4} * array[1]);
  }
  if (type == kEvtVarTypeAnsiString) {
    const auto zero = std::find(array.begin(), array.end(), 0);
    return static_cast<std::size_t>(zero - array.begin()) + (zero == array.end() ? 0 : 1);
  }
  const std::size_t width = WidthOf(type);
  return width == 0 ? array.size() : std::min(width, array.size());
}

// A list of the elements, as lists of texts are written.
char* WriteArray(std::uint8_t type, Bytes array, char* out) {
  if (type == kEvtVarTypeAnsiString) {
    while (!array.empty() && array.back() == 0) array = array.first(array.size() - 1);
  }
  while (!array.empty()) {
    const std::size_t size = std::max<std::size_t>(ElementSize(type, array), 1);
    out = WriteOne(array, {0, static_cast<std::uint16_t>(size), type}, out);
    array = array.subspan(size);
    if (!array.empty()) out = WriteLiteral(", ", out);
  }
  return out;
}

}  // namespace

char* WriteUncommonText(Bytes bytes, const SubstitutionValue& value, char* out) {
  if (!Fits(bytes, value.offset, value.size)) return out;
  if ((value.type & kArrayBit) == 0) return WriteOne(bytes, value, out);
  if (value.type == kEvtVarTypeMultiWideString) return WriteValueText(bytes, value, out);
  return WriteArray(static_cast<std::uint8_t>(value.type & ~kArrayBit),
                    bytes.subspan(value.offset, value.size), out);
}

}  // namespace tarnlex
