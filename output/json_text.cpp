#include "output/json_text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "event/slot_text.h"
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

char* WriteEscape(char c, char* out) {
  *out++ = '\\';
  switch (c) {
    case '"':
    case '\\': *out++ = c; return out;
    case '\n': *out++ = 'n'; return out;
    case '\r': *out++ = 'r'; return out;
    case '\t': *out++ = 't'; return out;
    default: break;
  }
  *out++ = 'u';
  return WriteHex(static_cast<unsigned char>(c), 4, out);
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

char* WriteBlank(char* out) {
  *out = ' ';
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

// What does not stand for itself between quotes.
char* WriteSpecial(std::uint16_t unit, char* out) {
  if (unit == 0) return WriteBlank(out);
  if (unit < 0x80) return WriteEscape(static_cast<char>(unit), out);
  *out++ = '\\';
  *out++ = 'u';
  return WriteHex(unit, 4, out);
}

// Units at `at` of which the first is special: those come in runs too, as between the lines of a
// list. Returns how many of `count` were written.
std::size_t WriteSpecials(const std::uint8_t* at, std::size_t count, char*& out) {
  auto unit = Load<std::uint16_t>(at);
  std::size_t done = 0;
  do {
    out = WriteSpecial(unit, out);
    if (++done == count) break;
    unit = Load<std::uint16_t>(at + 2 * done);
  } while (unit < ' ');
  return done;
}

// A text of UTF-16 units at the beginning of `from`, escaped as it is converted.
char* WriteEscaped(Bytes from, std::size_t count, char* out) {
  count = UnitsWithoutZerosAtEnd(from.data(), count);
  while (true) {
    std::size_t done = CopyQuotableAscii(from, count, out);
    out += done;
    if (done == count) return out;
    const std::uint8_t* const at = from.data() + 2 * done;
    const auto unit = Load<std::uint16_t>(at);
    if (unit < 0x80 || EndsLine(unit)) {
      done += WriteSpecials(at, count - done, out);
    } else {
      const std::size_t beyond = UnitsBeyondAscii(at, count - done);
      out = WriteUtf8(at, beyond, out);
      done += beyond;
    }
    from = from.subspan(2 * done);
    count -= done;
  }
}

// What could not be read as its type has become its bytes, which are a text.
char* WriteBare(const EventStructure& event, const SubstitutionValue& value, char* out) {
  char* const end = WriteCompleteText(event.bytes, value, out);
  return IsReadable(value) ? end : QuoteJson(out, end);
}

char* WriteString(const EventStructure& event, const SubstitutionValue& value, char* out) {
  *out = '"';
  char* const end = WriteJsonText(event.bytes, value, out + 1);
  *end = '"';
  return end + 1;
}

// A text of any other type, with no character that has to be escaped.
char* WriteQuoted(const EventStructure& event, const SubstitutionValue& value, char* out) {
  *out = '"';
  char* const end = WriteCompleteText(event.bytes, value, out + 1);
  *end = '"';
  return end + 1;
}

char* WriteEscapedText(const EventStructure& event, const SubstitutionValue& value, char* out) {
  *out = '"';
  char* const end = EscapeJson(out + 1, WriteCompleteText(event.bytes, value, out + 1));
  *end = '"';
  return end + 1;
}

template <bool (*kReadTime)(Bytes, std::uint64_t&)>
char* WriteTime(const EventStructure& event, const SubstitutionValue& value, char* out) {
  std::uint64_t filetime = 0;
  const bool is_time = kReadTime(Clip(event.bytes, value.offset, value.size), filetime);
  char* const end = is_time ? WriteJsonTime(filetime, out) : out;
  return end != out ? end : WriteQuoted(event, value, out);
}

bool ReadFiletime(Bytes bytes, std::uint64_t& filetime) { return ReadAt(bytes, 0, filetime); }

char* WriteFloat(const EventStructure& event, const SubstitutionValue& value, char* out) {
  char* const end = WriteCompleteText(event.bytes, value, out);
  const bool is_number = IsReadable(value) && IsFinite({out, end});
  return is_number ? end : QuoteJson(out, end);
}

template <typename T>
char* WriteInteger(const EventStructure& event, const SubstitutionValue& value, char* out) {
  char* const end = WriteJsonInteger<T>(event, value, out);
  return end != out ? end : WriteBare(event, value, out);
}

// How values of each type are written.
using Writer = char* (*)(const EventStructure&, const SubstitutionValue&, char*);

constexpr auto kWriters = [] {
  std::array<Writer, kTypeBits> writers{};
  writers.fill(WriteQuoted);
  writers[kEvtVarTypeString] = WriteString;
  writers[kEvtVarTypeAnsiString] = WriteEscapedText;
  writers[kEvtVarTypeSByte] = WriteInteger<std::int8_t>;
  writers[kEvtVarTypeByte] = WriteInteger<std::uint8_t>;
  writers[kEvtVarTypeInt16] = WriteInteger<std::int16_t>;
  writers[kEvtVarTypeUInt16] = WriteInteger<std::uint16_t>;
  writers[kEvtVarTypeInt32] = WriteInteger<std::int32_t>;
  writers[kEvtVarTypeUInt32] = WriteInteger<std::uint32_t>;
  writers[kEvtVarTypeInt64] = WriteInteger<std::int64_t>;
  writers[kEvtVarTypeUInt64] = WriteInteger<std::uint64_t>;
  writers[kEvtVarTypeSingle] = WriteFloat;
  writers[kEvtVarTypeDouble] = WriteFloat;
  writers[kEvtVarTypeBoolean] = WriteBare;
  writers[kEvtVarTypeSizeT] = WriteBare;
  writers[kEvtVarTypeFileTime] = WriteTime<ReadFiletime>;
  writers[kEvtVarTypeSysTime] = WriteTime<ReadSystemTime>;
  return writers;
}();

char* WriteOne(const EventStructure& event, const SubstitutionValue& value, char* out) {
  return value.type < kTypeBits ? kWriters[value.type](event, value, out)
                                : WriteEscapedText(event, value, out);
}

[[gnu::noinline]] char* WriteList(const EventStructure& event, const SubstitutionValue& array,
                                  char* out) {
  *out = '[';
  char* const end = WriteJsonEntries(event, array, out + 1);
  *end = ']';
  return end + 1;
}

}  // namespace

char* WriteUncommonJsonText(Bytes bytes, const SubstitutionValue& text, char* out) {
  if (!Fits(bytes, text.offset, text.size)) return out;
  return WriteEscaped(bytes.subspan(text.offset), text.size / 2, out);
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

char* WriteJsonValue(const EventStructure& event, const SubstitutionValue& value, char* out) {
  if (!IsArray(value)) return WriteOne(event, value, out);
  return WriteList(event, value, out);
}

char* WriteJsonEntries(const EventStructure& event, const SubstitutionValue& array, char* out) {
  SubstitutionValue own = array;
  // Texts at the end that are empty are none.
  if (array.type == kEvtVarTypeMultiWideString && Fits(event.bytes, array.offset, array.size)) {
    const std::uint8_t* const units = event.bytes.data() + array.offset;
    own.size = static_cast<std::uint32_t>(2 * UnitsWithoutZerosAtEnd(units, array.size / 2));
  }
  ArrayElements elements = ElementsOf(event.bytes, own);
  SubstitutionValue element;
  for (bool first = true; NextElement(elements, element); first = false) {
    if (!first) *out++ = ',';
    out = WriteOne(event, element, out);
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
