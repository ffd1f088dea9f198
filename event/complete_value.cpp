#include "event/complete_value.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "logs/date_time.h"
#include "logs/hex_text.h"
#include "logs/text.h"
#include "logs/windows_1252.h"

namespace tarnlex {
namespace {

constexpr std::size_t kFixedSidPart = 8;

// The shortest text that reads back as the same number.
template <typename T>
char* WriteFloat(const std::uint8_t* at, char* out) {
  return std::to_chars(out, out + kMaxNumberRoom / 2, Load<T>(at)).ptr;
}

char* WriteHexNumber(Bytes number, char* out) {
  out = CopyText("0x", out);
  return number.size() == 4 ? WriteHex8(Load<std::uint32_t>(number.data()), out)
                            : WriteHex16(Load<std::uint64_t>(number.data()), out);
}

char* WriteHexBytes(Bytes bytes, char* out) {
  return WriteValueText(bytes, {0, static_cast<std::uint32_t>(bytes.size()), kEvtVarTypeBinary},
                        out);
}

char* WriteTruth(Bytes bytes, char* out) {
  const bool is_true =
      std::any_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
  return CopyText(is_true ? "true" : "false", out);
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

// Types whose texts in tables are not what they are.
constexpr bool IsBent(std::uint8_t type) {
  constexpr std::uint32_t kBent = TypeBit(kEvtVarTypeNull) | TypeBit(kEvtVarTypeAnsiString) |
                                  TypeBit(kEvtVarTypeSByte) | TypeBit(kEvtVarTypeUInt64) |
                                  TypeBit(kEvtVarTypeSingle) | TypeBit(kEvtVarTypeDouble) |
                                  TypeBit(kEvtVarTypeBoolean) | TypeBit(kEvtVarTypeSizeT);
  return type < kTypeBits ? (kBent >> type & 1) != 0 : type == kEvtVarTypeEvtHandle;
}

// One value that is no array.
char* WriteOne(Bytes bytes, const SubstitutionValue& value, char* out) {
  const Bytes own = bytes.subspan(value.offset, value.size);
  char* const end =
      IsBent(value.type) ? WriteBent(value.type, own, out) : WriteValueText(bytes, value, out);
  const bool is_said = end != out || own.empty() || IsText(value.type);
  return is_said ? end : WriteLeftOver(value.type, own, out);
}

// Bytes up to the first zero, and with it.
std::size_t TerminatedSize(Bytes text, std::size_t unit) {
  std::size_t size = 0;
  while (size + unit <= text.size()) {
    size += unit;
    const bool is_zero = text[size - unit] == 0 && (unit == 1 || text[size - 1] == 0);
    if (is_zero) return size;
  }
  return text.size();
}

// The bytes of every element of an array; 0 when they differ. Of pointers the array tells how wide
// they are.
std::size_t ElementWidth(std::uint8_t type, std::size_t array_size) {
  if (HasSystemWidth(type)) return array_size % 8 == 0 ? 8 : 4;
  return WidthOf(type);
}

// The bytes of the first element of what is left of an array whose elements differ; all of them
// when it cannot be told.
std::size_t ElementSize(std::uint8_t type, Bytes array) {
  switch (type) {
    case kEvtVarTypeString: return TerminatedSize(array, 2);
    case kEvtVarTypeAnsiString: return TerminatedSize(array, 1);
    case kEvtVarTypeSid:
      return array.size() < kFixedSidPart
                 ? array.size()
                 : std::min(array.size(), kFixedSidPart + std::size_t{4} * array[1]);
    default: return array.size();
  }
}

// A list of the elements, as lists of texts are written.
char* WriteArray(Bytes bytes, const SubstitutionValue& array, char* out) {
  ArrayElements elements = ElementsOf(bytes, array);
  SubstitutionValue element;
  for (bool first = true; NextElement(elements, element); first = false) {
    if (!first) out = CopyText(", ", out);
    out = WriteOne(bytes, element, out);
  }
  return out;
}

// As in tables, where there is anything.
char* WriteUnbent(Bytes bytes, const SubstitutionValue& value, char* out) {
  char* const end = WriteValueText(bytes, value, out);
  return end != out ? end : WriteUncommonText(bytes, value, out);
}

char* WriteText(Bytes bytes, const SubstitutionValue& value, char* out) {
  if (!Fits(bytes, value.offset, value.size)) return out;
  return WriteUtf8(bytes.data() + value.offset, value.size / 2, out);
}

}  // namespace

constinit const std::array<ValueWriter, kTypeBits> kCompleteWriters = [] {
  std::array<ValueWriter, kTypeBits> writers{};
  for (std::uint8_t type = 0; type < kTypeBits; ++type) {
    writers[type] = IsBent(type) ? WriteUncommonText : WriteUnbent;
  }
  SetIntegers(writers, [](auto number) -> ValueWriter {
    return WriteCompleteNumber<sizeof number, WriteInteger<decltype(number)>>;
  });
  writers[kEvtVarTypeString] = WriteText;
  writers[kEvtVarTypeGuid] = WriteCompleteNumber<16, WriteSmallGuid>;
  writers[kEvtVarTypeFileTime] = WriteCompleteNumber<8, WriteFiletime>;
  writers[kEvtVarTypeHexInt32] = WriteCompleteNumber<4, WriteHexInt32>;
  writers[kEvtVarTypeHexInt64] = WriteCompleteNumber<8, WriteHexInt64>;
  return writers;
}();

char* WriteUncommonText(Bytes bytes, const SubstitutionValue& value, char* out) {
  if (value.type == kEvtVarTypeNull || !Fits(bytes, value.offset, value.size)) return out;
  if (!IsArray(value)) return WriteOne(bytes, value, out);
  return value.type == kEvtVarTypeMultiWideString ? WriteValueText(bytes, value, out)
                                                  : WriteArray(bytes, value, out);
}

bool IsReadable(const SubstitutionValue& value) {
  if (HasSystemWidth(value.type)) return value.size == 4 || value.size == 8;
  if (value.type == kEvtVarTypeBoolean) return value.size > 0;
  const std::size_t width = WidthOf(value.type);
  return width > 0 && value.size >= width;
}

ArrayElements ElementsOf(Bytes bytes, const SubstitutionValue& array) {
  ArrayElements elements{bytes, array.offset, array.offset,
                         static_cast<std::uint8_t>(array.type & ~kArrayBit), 0};
  if (!Fits(bytes, array.offset, array.size)) return elements;
  Bytes own = bytes.subspan(array.offset, array.size);
  // A list of single-byte texts may end in a zero of its own; one of the others does not.
  if (elements.type == kEvtVarTypeAnsiString) {
    while (!own.empty() && own.back() == 0) own = own.first(own.size() - 1);
  }
  elements.end += static_cast<std::uint32_t>(own.size());
  elements.width = ElementWidth(elements.type, own.size());
  return elements;
}

bool NextElement(ArrayElements& elements, SubstitutionValue& element) {
  if (elements.at >= elements.end) return false;
  const Bytes rest = elements.bytes.subspan(elements.at, elements.end - elements.at);
  const std::size_t size = elements.width == 0 ? ElementSize(elements.type, rest)
                                               : std::min(elements.width, rest.size());
  element = {elements.at, static_cast<std::uint32_t>(size), elements.type};
  elements.at += static_cast<std::uint32_t>(size);
  return true;
}

}  // namespace tarnlex
