#include "output/event_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

#include "event/complete_value.h"
#include "event/slot_text.h"
#include "logs/hex_text.h"
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
char* WriteHexNumber(std::uint64_t number, char* out) {
  constexpr int kDigits = 2 * sizeof number;
  const int zeros = std::countl_zero(number | 1) / 4;
  out = CopyText("0x", out);
  // The first digit comes first; what is behind the last is written over.
  WriteHex16(number << 4 * zeros, out);
  return out + (kDigits - zeros);
}

char* WriteHexBytes(Bytes bytes, char* out) {
  if (bytes.size() == 4) return WriteHexNumber(Load<std::uint32_t>(bytes.data()), out);
  if (bytes.size() == 8) return WriteHexNumber(Load<std::uint64_t>(bytes.data()), out);
  return out;
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
  return bytes.size() < 16 ? out : WriteGuidText<kCapitalTen>(bytes.data(), out);
}

char* WriteBracedGuid(Bytes bytes, char* out) {
  if (bytes.size() < 16) return out;
  *out = '{';
  char* const end = WriteGuidText(bytes.data(), out + 1);
  *end = '}';
  return end + 1;
}

char* WriteEventTimeOf(Bytes bytes, char* out) {
  std::uint64_t filetime = 0;
  return ReadAt(bytes, 0, filetime) ? WriteEventTime(filetime, out) : out;
}

char* WriteEventSystemTime(Bytes bytes, char* out) {
  std::uint64_t filetime = 0;
  return ReadSystemTime(bytes, filetime) ? WriteEventTime(filetime, out) : out;
}

char* WriteLongTime(Bytes bytes, char* out) {
  std::uint64_t filetime = 0;
  return ReadAt(bytes, 0, filetime) && filetime >> 63 == 0 ? WriteIsoTime(filetime, out) : out;
}

char* WriteLongSystemTime(Bytes bytes, char* out) {
  std::uint64_t filetime = 0;
  return ReadSystemTime(bytes, filetime) && filetime >> 63 == 0 ? WriteIsoTime(filetime, out) : out;
}

using Writers = std::array<ValueWriter, 0x100>;

char* WriteNothing(Bytes, const SubstitutionValue&, char* out) { return out; }

// A text of another form than tables have; where the bytes are too few for it, theirs.
template <char* (*kWriteOwn)(Bytes, char*)>
char* WriteOwn(Bytes bytes, const SubstitutionValue& value, char* out) {
  char* const end = kWriteOwn(Clip(bytes, value.offset, value.size), out);
  return end != out ? end : WriteCompleteText(bytes, value, out);
}

// A number in hexadecimal that mostly has the bytes that its type asks for.
template <typename T>
char* WriteHex(Bytes bytes, const SubstitutionValue& value, char* out) {
  const bool is_whole = value.size == sizeof(T) && Fits(bytes, value.offset, sizeof(T));
  return is_whole ? WriteHexNumber(Load<T>(bytes.data() + value.offset), out)
                  : WriteOwn<WriteHexBytes>(bytes, value, out);
}

constexpr Writers MakeXmlWriters() {
  Writers writers{};
  writers.fill(WriteCompleteText);
  writers[kEvtVarTypeNull] = WriteNothing;
  SetIntegers(writers, [](auto number) -> ValueWriter {
    return WriteCompleteNumber<sizeof number, WriteInteger<decltype(number)>>;
  });
  writers[kEvtVarTypeSizeT] = WriteHex<std::uint64_t>;
  writers[kEvtVarTypeHexInt32] = WriteHex<std::uint32_t>;
  writers[kEvtVarTypeHexInt64] = WriteHex<std::uint64_t>;
  writers[kEvtVarTypeGuid] = WriteOwn<WriteBracedGuid>;
  writers[kEvtVarTypeFileTime] = WriteOwn<WriteLongTime>;
  writers[kEvtVarTypeSysTime] = WriteOwn<WriteLongSystemTime>;
  return writers;
}

char* WriteSingle(Bytes bytes, char* out) { return WriteFloat<float>(bytes, {-6, 12}, out); }
char* WriteDouble(Bytes bytes, char* out) { return WriteFloat<double>(bytes, {-5, 15}, out); }

constexpr Writers kTextWriters = [] {
  Writers writers = MakeXmlWriters();
  writers[kEvtVarTypeSingle] = WriteOwn<WriteSingle>;
  writers[kEvtVarTypeDouble] = WriteOwn<WriteDouble>;
  writers[kEvtVarTypeBoolean] = WriteOwn<WriteTruth>;
  writers[kEvtVarTypeGuid] = WriteOwn<WriteGuid>;
  writers[kEvtVarTypeFileTime] = WriteOwn<WriteEventTimeOf>;
  writers[kEvtVarTypeSysTime] = WriteOwn<WriteEventSystemTime>;
  return writers;
}();

// Nothing for an empty text.
template <ValueWriter kWriteText>
char* WriteQuoted(Bytes bytes, const SubstitutionValue& value, char* out) {
  char* const end = kWriteText(bytes, value, out + 1);
  if (end == out + 1) return out;
  *out = *end = '"';
  return end + 1;
}

template <ValueWriter kWriteText>
char* WriteEscaped(Bytes bytes, const SubstitutionValue& value, char* out) {
  return EscapeJson(out, kWriteText(bytes, value, out));
}

}  // namespace

constinit const Writers kXmlWriters = MakeXmlWriters();

constinit const Writers kEventJsonWriters = [] {
  Writers writers{};
  writers.fill(WriteQuoted<WriteEscaped<WriteCompleteText>>);
  std::fill_n(writers.begin(), kTypeBits, WriteQuoted<WriteCompleteText>);
  writers[kEvtVarTypeNull] = WriteNothing;
  SetIntegers(writers, [](auto number) -> ValueWriter {
    return WriteJsonInteger<decltype(number), WriteQuoted<WriteCompleteText>>;
  });
  writers[kEvtVarTypeString] = WriteJsonString<false>;
  writers[kEvtVarTypeAnsiString] = WriteQuoted<WriteEscaped<WriteCompleteText>>;
  writers[kEvtVarTypeSingle] = WriteQuoted<WriteEscaped<WriteOwn<WriteSingle>>>;
  writers[kEvtVarTypeDouble] = WriteQuoted<WriteEscaped<WriteOwn<WriteDouble>>>;
  writers[kEvtVarTypeBoolean] = WriteOwn<WriteTruth>;
  writers[kEvtVarTypeGuid] = WriteQuoted<WriteOwn<WriteGuid>>;
  writers[kEvtVarTypeSizeT] = WriteQuoted<WriteHex<std::uint64_t>>;
  writers[kEvtVarTypeFileTime] = WriteQuoted<WriteOwn<WriteEventTimeOf>>;
  writers[kEvtVarTypeSysTime] = WriteQuoted<WriteOwn<WriteEventSystemTime>>;
  writers[kEvtVarTypeHexInt32] = WriteQuoted<WriteHex<std::uint32_t>>;
  writers[kEvtVarTypeHexInt64] = WriteQuoted<WriteHex<std::uint64_t>>;
  return writers;
}();

char* WriteEventTime(std::uint64_t filetime, char* out) {
  if (filetime >> 63 != 0) return out;
  char* const end = WriteIsoTime(filetime, out);
  end[-2] = 'Z';
  return end - 1;
}

char* WriteEventText(Bytes bytes, const SubstitutionValue& value, char* out) {
  return kTextWriters[value.type](bytes, value, out);
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
    text.append(room.data(), WriteEventText(event.bytes, value, room.data()));
  }
  return text;
}

}  // namespace tarnlex
