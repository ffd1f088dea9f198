#include "output/json_text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "event/complete_value.h"
#include "logs/escaped_units.h"
#include "logs/find_special.h"
#include "logs/iso_time.h"
#include "logs/plain_ascii.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

// Characters that JSON allows between quotes, but that many readers of lines take for their ends.
constexpr std::string_view kLineEnds[] = {"\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};
constexpr std::string_view kEscapedLineEnds[] = {"\\u0085", "\\u2028", "\\u2029"};

constexpr bool EndsLine(std::uint16_t unit) {
  return unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

// The first byte that may have to be written otherwise: it begins a line end, or must.
const char* FindToEscape(const char* begin, const char* end) {
  return FindSpecial<'"', '\\', '\xC2', '\xE2'>(begin, end);
}

// Characters below 0x80 that do not stand for themselves between quotes.
constexpr auto kEscapes = [] {
  Escapes escapes{};
  for (char c = 0; c < ' '; ++c) {
    const char code[] = {
        '\\', 'u', '0', '0', static_cast<char>('0' + c / 16), "0123456789abcdef"[c % 16]};
    SetEscape(escapes, c, {code, sizeof code});
  }
  SetEscape(escapes, '"', "\\\"");
  SetEscape(escapes, '\\', "\\\\");
  SetEscape(escapes, '\n', "\\n");
  SetEscape(escapes, '\r', "\\r");
  SetEscape(escapes, '\t', "\\t");
  return escapes;
}();

constexpr Escapes kUnitEscapes = ForUnits(kEscapes);

char* WriteEscape(char c, char* out) {
  const Escape& escape = kEscapes[static_cast<std::size_t>(c)];
  return CopyText({escape.text.data(), escape.size}, out);
}

// Takes the first character, or byte of one, which FindToEscape has found, off `rest` and writes
// it.
char* EscapeFirst(std::string_view& rest, char* out) {
  const char c = rest.front();
  const bool is_ascii = static_cast<unsigned char>(c) < 0x80;
  for (std::size_t i = 0; i < std::size(kLineEnds) && !is_ascii; ++i) {
    if (!rest.starts_with(kLineEnds[i])) continue;
    rest.remove_prefix(kLineEnds[i].size());
    return std::copy(kEscapedLineEnds[i].begin(), kEscapedLineEnds[i].end(), out);
  }
  rest.remove_prefix(1);
  if (is_ascii) return WriteEscape(c, out);
  *out = c;
  return out + 1;
}

bool IsFinite(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789+-.e") == text.npos;
}

std::size_t UnitsBeyondAscii(const std::uint8_t* units, std::size_t count) {
  std::size_t size = 0;
  for (; size < count; ++size) {
    const auto unit = Load<std::uint16_t>(units + 2 * size);
    if (unit < 0x80 || EndsLine(unit)) break;
  }
  return size;
}

// Units at `at` of which the first is beyond ASCII; returns how many of `count` were written.
std::size_t WriteBeyondAscii(const std::uint8_t* at, std::size_t count, char*& out) {
  const auto unit = Load<std::uint16_t>(at);
  if (EndsLine(unit)) {
    out = WriteHex(unit, 4, CopyText("\\u", out));
    return 1;
  }
  const std::size_t beyond = UnitsBeyondAscii(at, count);
  out = WriteUtf8(at, beyond, out);
  return beyond;
}

// A text of UTF-16 units at the beginning of `from`, escaped as it is converted.
char* WriteEscaped(Bytes from, std::size_t count, char* out) {
  count = UnitsWithoutZerosAtEnd(from.data(), count);
  while (true) {
    std::size_t done = WriteEscapedUnits<'"', '\\'>(from, count, kUnitEscapes, out);
    if (done == count) return out;
    done += WriteBeyondAscii(from.data() + 2 * done, count - done, out);
    from = from.subspan(2 * done);
    count -= done;
  }
}

// What could not be read as its type has become its bytes, which are a text.
char* WriteBare(Bytes bytes, const SubstitutionValue& value, char* out) {
  char* const end = WriteCompleteText(bytes, value, out);
  return IsReadable(value) ? end : QuoteJson(out, end);
}

// A text, with no character that has to be escaped.
template <ValueWriter kWriteText>
char* WriteQuoted(Bytes bytes, const SubstitutionValue& value, char* out) {
  char* const end = kWriteText(bytes, value, out + 1);
  *out = *end = '"';
  return end + 1;
}

template <std::size_t kSize, NumberWriter kWrite>
char* WriteQuotedNumber(Bytes bytes, const SubstitutionValue& value, char* out) {
  char* const end = WriteNumber<kSize, kWrite>(bytes, value, out + 1);
  if (end == out + 1) return WriteQuoted<WriteUncommonText>(bytes, value, out);
  *out = *end = '"';
  return end + 1;
}

char* WriteEscapedText(Bytes bytes, const SubstitutionValue& value, char* out) {
  return EscapeJson(out, WriteCompleteText(bytes, value, out));
}

template <bool (*kReadTime)(Bytes, std::uint64_t&)>
char* WriteTime(Bytes bytes, const SubstitutionValue& value, char* out) {
  std::uint64_t filetime = 0;
  const bool is_time = kReadTime(Clip(bytes, value.offset, value.size), filetime);
  char* const end = is_time ? WriteJsonTime(filetime, out) : out;
  return end != out ? end : WriteQuoted<WriteCompleteText>(bytes, value, out);
}

bool ReadFiletime(Bytes bytes, std::uint64_t& filetime) { return ReadAt(bytes, 0, filetime); }

char* WriteFloat(Bytes bytes, const SubstitutionValue& value, char* out) {
  char* const end = WriteCompleteText(bytes, value, out);
  const bool is_number = IsReadable(value) && IsFinite({out, end});
  return is_number ? end : QuoteJson(out, end);
}

char* WriteList(Bytes bytes, const SubstitutionValue& array, char* out) {
  *out = '[';
  char* const end = WriteJsonEntries(bytes, array, out + 1);
  *end = ']';
  return end + 1;
}

}  // namespace

constinit const std::array<ValueWriter, 0x100> kJsonWriters = [] {
  std::array<ValueWriter, 0x100> writers{};
  writers.fill(WriteList);
  std::fill_n(writers.begin(), 0x80, WriteQuoted<WriteEscapedText>);
  std::fill_n(writers.begin(), kTypeBits, WriteQuoted<WriteCompleteText>);
  SetIntegers(writers, [](auto number) -> ValueWriter {
    return WriteJsonInteger<decltype(number), WriteBare>;
  });
  writers[kEvtVarTypeString] = WriteJsonString<true>;
  writers[kEvtVarTypeAnsiString] = WriteQuoted<WriteEscapedText>;
  writers[kEvtVarTypeSingle] = WriteFloat;
  writers[kEvtVarTypeDouble] = WriteFloat;
  writers[kEvtVarTypeBoolean] = WriteBare;
  writers[kEvtVarTypeGuid] = WriteQuotedNumber<16, WriteSmallGuid>;
  writers[kEvtVarTypeSizeT] = WriteBare;
  writers[kEvtVarTypeFileTime] = WriteTime<ReadFiletime>;
  writers[kEvtVarTypeSysTime] = WriteTime<ReadSystemTime>;
  writers[kEvtVarTypeHexInt32] = WriteQuotedNumber<4, WriteHexInt32>;
  writers[kEvtVarTypeHexInt64] = WriteQuotedNumber<8, WriteHexInt64>;
  return writers;
}();

char* WriteUncommonJsonString(Bytes bytes, const SubstitutionValue& text, bool keep_empty,
                              char* out) {
  char* end = out + 1;
  if (Fits(bytes, text.offset, text.size)) {
    end = WriteEscaped(bytes.subspan(text.offset), text.size / 2, end);
  }
  if (!keep_empty && end == out + 1) return out;
  *out = *end = '"';
  return end + 1;
}

char* EscapeJson(char* begin, char* end) {
  char* out = begin + (FindToEscape(begin, end) - begin);
  if (out == end) return end;
  const std::string copy(out, end);
  for (std::string_view rest = copy; !rest.empty();) {
    out = EscapeFirst(rest, out);
    const char* const next = FindToEscape(rest.data(), rest.data() + rest.size());
    out = std::copy(rest.data(), next, out);
    rest.remove_prefix(static_cast<std::size_t>(next - rest.data()));
  }
  return out;
}

std::string EscapedJson(std::string_view text) {
  std::string escaped;
  AppendEscapedJson(escaped, text);
  return escaped;
}

void AppendEscapedJson(std::string& to, std::string_view text) {
  if (FindToEscape(text.data(), text.data() + text.size()) == text.data() + text.size()) {
    to += text;
    return;
  }
  const std::size_t at = to.size();
  to.resize(at + kJsonPerByte * text.size());
  char* const begin = to.data() + at;
  std::copy(text.begin(), text.end(), begin);
  to.resize(static_cast<std::size_t>(EscapeJson(begin, begin + text.size()) - to.data()));
}

std::string JsonString(std::string_view text, std::string_view behind) {
  const std::string escaped = EscapedJson(text);
  std::string string;
  string.reserve(escaped.size() + behind.size() + 2);
  return string.append(1, '"').append(escaped).append(1, '"').append(behind);
}

char* QuoteJson(char* begin, char* end) {
  std::memmove(begin + 1, begin, static_cast<std::size_t>(end - begin));
  *begin = '"';
  end[1] = '"';
  return end + 2;
}

char* WriteJsonEntries(Bytes bytes, const SubstitutionValue& array, char* out) {
  SubstitutionValue own = array;
  // Texts at the end that are empty are none.
  if (array.type == kEvtVarTypeMultiWideString && Fits(bytes, array.offset, array.size)) {
    const std::uint8_t* const units = bytes.data() + array.offset;
    own.size = static_cast<std::uint32_t>(2 * UnitsWithoutZerosAtEnd(units, array.size / 2));
  }
  ArrayElements elements = ElementsOf(bytes, own);
  SubstitutionValue element;
  for (bool first = true; NextElement(elements, element); first = false) {
    if (!first) *out++ = ',';
    out = WriteJsonValue(bytes, element, out);
  }
  return out;
}

char* WriteJsonTime(std::uint64_t filetime, char* out) {
  if (filetime >> 63 != 0) return out;
  *out = '"';
  char* const end = WriteIsoTime(filetime, out + 1);
  *end = '"';
  return end + 1;
}

}  // namespace tarnlex
