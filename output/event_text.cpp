#include "output/event_text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "event/complete_value.h"
#include "event/slot_text.h"
#include "logs/iso_time.h"
#include "logs/text.h"
#include "output/json_text.h"

namespace tarnlex {
namespace {

// Digits of a number around a decimal point that stands behind the first `whole` of them.
char* WriteFixed(std::string_view digits, int whole, char* out) {
  if (whole <= 0) {
    out = CopyText("0.", out);
    out = std::fill_n(out, -whole, '0');
    return CopyText(digits, out);
  }
  const auto count = static_cast<std::size_t>(whole);
  if (digits.size() > count) {
    out = CopyText(digits.substr(0, count), out);
    *out++ = '.';
    return CopyText(digits.substr(count), out);
  }
  out = CopyText(digits, out);
  out = std::fill_n(out, count - digits.size(), '0');
  return CopyText(".0", out);
}

// Exponents of ten between which a number is written without one.
struct FixedRange {
  int least;
  int most;
};

// A number that std::to_chars has written with an exponent.
char* RewriteNumber(std::string_view text, FixedRange range, char* out) {
  if (text.starts_with('-')) {
    *out++ = '-';
    text.remove_prefix(1);
  }
  const std::size_t e = text.find('e');
  std::string_view power = text.substr(e + 1);
  if (power.starts_with('+')) power.remove_prefix(1);
  int exponent = 0;
  std::from_chars(power.data(), power.data() + power.size(), exponent);
  if (exponent >= range.least && exponent <= range.most) {
    char digits[kMaxNumberRoom];
    const char* const end = std::remove_copy(text.begin(), text.begin() + e, digits, '.');
    return WriteFixed({digits, static_cast<std::size_t>(end - digits)}, exponent + 1, out);
  }
  out = CopyText(text.substr(0, e + 1), out);
  if (exponent > 0) *out++ = '+';
  return WriteDecimal(std::int64_t{exponent}, out);
}

template <typename T>
char* WriteFloat(Bytes bytes, FixedRange range, char* out) {
  T number = 0;
  if (!ReadAt(bytes, 0, number)) return out;
  if (std::isnan(number)) return CopyText("NaN", out);
  if (std::isinf(number)) return CopyText(number < 0 ? "-inf" : "inf", out);
  char text[kMaxNumberRoom];
  const char* const end =
      std::to_chars(text, text + sizeof text, number, std::chars_format::scientific).ptr;
  return RewriteNumber({text, static_cast<std::size_t>(end - text)}, range, out);
}

// Without leading zeros.
char* WriteHexNumber(Bytes bytes, char* out) {
  if (bytes.size() != 4 && bytes.size() != 8) return out;
  const std::uint64_t number =
      bytes.size() == 4 ? Load<std::uint32_t>(bytes.data()) : Load<std::uint64_t>(bytes.data());
  out = CopyText("0x", out);
  char digits[2 * sizeof number];
  WriteHex16(number, digits);
  const auto zeros = std::min<std::size_t>(static_cast<std::size_t>(std::countl_zero(number)) / 4,
                                           sizeof digits - 1);
  std::memcpy(out, digits + zeros, sizeof digits - zeros);
  return out + sizeof digits - zeros;
}

// What is neither true nor false is the number that it is.
char* WriteTruth(Bytes bytes, char* out) {
  std::int32_t number = 0;
  if (!ReadAt(bytes, 0, number)) {
    if (bytes.empty()) return out;
    number = bytes[0];
  }
  if (number == 0 || number == 1) return CopyText(number == 0 ? "false" : "true", out);
  return WriteDecimal(std::int64_t{number}, out);
}

char* WriteGuid(Bytes bytes, char* out) {
  if (bytes.size() < 16) return out;
  char* const end = WriteGuidText(bytes.data(), out);
  const auto upper = [](char c) { return c >= 'a' ? static_cast<char>(c - 32) : c; };
  std::transform(out, end, out, upper);
  return end;
}

char* WriteBracedGuid(Bytes bytes, char* out) {
  if (bytes.size() < 16) return out;
  *out = '{';
  char* const end = WriteGuidText(bytes.data(), out + 1);
  *end = '}';
  return end + 1;
}

char* WriteLongTime(std::uint64_t filetime, char* out) {
  return filetime >> 63 == 0 ? WriteIsoTime(filetime, out) : out;
}

// As WriteOwn.
char* WriteOwnXml(std::uint8_t type, Bytes bytes, char* out) {
  std::uint64_t filetime = 0;
  switch (type) {
    case kEvtVarTypeSizeT:
    case kEvtVarTypeHexInt32:
    case kEvtVarTypeHexInt64: return WriteHexNumber(bytes, out);
    case kEvtVarTypeGuid: return WriteBracedGuid(bytes, out);
    case kEvtVarTypeFileTime:
      return ReadAt(bytes, 0, filetime) ? WriteLongTime(filetime, out) : out;
    case kEvtVarTypeSysTime:
      return ReadSystemTime(bytes, filetime) ? WriteLongTime(filetime, out) : out;
    default: return out;
  }
}

// Of types whose texts are not those of tables; nothing where the bytes are too few.
char* WriteOwn(std::uint8_t type, Bytes bytes, char* out) {
  std::uint64_t filetime = 0;
  switch (type) {
    case kEvtVarTypeSizeT:
    case kEvtVarTypeHexInt32:
    case kEvtVarTypeHexInt64: return WriteHexNumber(bytes, out);
    case kEvtVarTypeSingle: return WriteFloat<float>(bytes, {-6, 12}, out);
    case kEvtVarTypeDouble: return WriteFloat<double>(bytes, {-5, 15}, out);
    case kEvtVarTypeBoolean: return WriteTruth(bytes, out);
    case kEvtVarTypeGuid: return WriteGuid(bytes, out);
    case kEvtVarTypeFileTime:
      return ReadAt(bytes, 0, filetime) ? WriteEventTime(filetime, out) : out;
    case kEvtVarTypeSysTime:
      return ReadSystemTime(bytes, filetime) ? WriteEventTime(filetime, out) : out;
    default: return out;
  }
}

constexpr std::uint32_t kOwnTexts =
    TypeBit(kEvtVarTypeSizeT) | TypeBit(kEvtVarTypeSingle) | TypeBit(kEvtVarTypeDouble) |
    TypeBit(kEvtVarTypeBoolean) | TypeBit(kEvtVarTypeGuid) | TypeBit(kEvtVarTypeFileTime) |
    TypeBit(kEvtVarTypeSysTime) | TypeBit(kEvtVarTypeHexInt32) | TypeBit(kEvtVarTypeHexInt64);
constexpr std::uint32_t kBare =
    TypeBit(kEvtVarTypeSByte) | TypeBit(kEvtVarTypeByte) | TypeBit(kEvtVarTypeInt16) |
    TypeBit(kEvtVarTypeUInt16) | TypeBit(kEvtVarTypeInt32) | TypeBit(kEvtVarTypeUInt32) |
    TypeBit(kEvtVarTypeInt64) | TypeBit(kEvtVarTypeUInt64) | TypeBit(kEvtVarTypeBoolean);

bool IsIn(std::uint32_t types, std::uint8_t type) {
  return type < kTypeBits && (types >> type & 1) != 0;
}

}  // namespace

char* WriteEventTime(std::uint64_t filetime, char* out) {
  if (filetime >> 63 != 0) return out;
  char* const end = WriteIsoTime(filetime, out);
  end[-2] = 'Z';
  return end - 1;
}

char* WriteEventText(const EventStructure& event, const SubstitutionValue& value, char* out) {
  if (IsIn(kOwnTexts, value.type)) {
    char* const end = WriteOwn(value.type, Clip(event.bytes, value.offset, value.size), out);
    if (end != out) return end;
  }
  return WriteCompleteText(event.bytes, value, out);
}

namespace {

char* WriteBare(const EventStructure& event, const SubstitutionValue& value, char* out) {
  char* end = WriteJsonInteger(event, value, out);
  if (end != out) return end;
  end = WriteEventText(event, value, out);
  return end == out || value.type == kEvtVarTypeBoolean ? end : QuoteJson(out, end);
}

}  // namespace

char* WriteXmlValue(const EventStructure& event, const SubstitutionValue& value, char* out) {
  if (IsIn(kOwnTexts, value.type)) {
    char* const end = WriteOwnXml(value.type, Clip(event.bytes, value.offset, value.size), out);
    if (end != out) return end;
  }
  return WriteCompleteText(event.bytes, value, out);
}

std::string EventTextOf(const EventStructure& event, std::span<const Item> parts) {
  std::string text;
  for (const Item& part : parts) {
    if (part.kind != ItemKind::kSlot) {
      text += part.text;
      continue;
    }
    const SubstitutionValue& value = event.slots[part.slot];
    std::string room(MaxSlotText(event, value), '\0');
    text.append(room.data(), WriteEventText(event, value, room.data()));
  }
  return text;
}

char* WriteEventJsonValue(const EventStructure& event, const SubstitutionValue& value, char* out) {
  char* end = nullptr;
  if (value.type == kEvtVarTypeString) {
    end = WriteJsonText(event.bytes, value, out + 1);
  } else if (IsIn(kBare, value.type)) {
    return WriteBare(event, value, out);
  } else {
    end = WriteEventText(event, value, out + 1);
    if (IsFreeCompleteText(value.type)) end = EscapeJson(out + 1, end);
  }
  if (end == out + 1) return out;
  *out = *end = '"';
  return end + 1;
}

}  // namespace tarnlex
