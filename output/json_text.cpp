#include "output/json_text.h"

#include <algorithm>
#include <cstring>

#include "event/slot_text.h"
#include "logs/iso_time.h"
#include "logs/plain_ascii.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::uint8_t kArrayBit = 0x80;

bool NeedsEscape(char c) { return static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\'; }

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

// Which kind of JSON value a type is.
enum class JsonKind : std::uint8_t { kString, kBare, kTime, kFloat };

JsonKind KindOf(std::uint8_t type) {
  switch (type) {
    case kEvtVarTypeSByte:
    case kEvtVarTypeByte:
    case kEvtVarTypeInt16:
    case kEvtVarTypeUInt16:
    case kEvtVarTypeInt32:
    case kEvtVarTypeUInt32:
    case kEvtVarTypeInt64:
    case kEvtVarTypeUInt64:
    case kEvtVarTypeSizeT:
    case kEvtVarTypeBoolean: return JsonKind::kBare;
    case kEvtVarTypeSingle:
    case kEvtVarTypeDouble: return JsonKind::kFloat;
    case kEvtVarTypeFileTime:
    case kEvtVarTypeSysTime: return JsonKind::kTime;
    default: return JsonKind::kString;
  }
}

bool IsFinite(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789+-.e") == text.npos;
}

char* WriteString(const EventStructure& event, const SubstitutionValue& value, char* out) {
  *out = '"';
  if (value.type == kEvtVarTypeString) {
    char* const end = WriteQuotableAscii(event.bytes, value.offset, value.size / 2, out + 1);
    if (end) {
      *end = '"';
      return end + 1;
    }
  }
  char* end = WriteCompleteText(event.bytes, value, out + 1);
  if (IsFreeCompleteText(value.type)) end = EscapeJson(out + 1, end);
  *end = '"';
  return end + 1;
}

char* WriteTime(const EventStructure& event, const SubstitutionValue& value, char* out) {
  const Bytes bytes = Clip(event.bytes, value.offset, value.size);
  std::uint64_t filetime = 0;
  const bool is_time = value.type == kEvtVarTypeFileTime ? ReadAt(bytes, 0, filetime)
                                                         : ReadSystemTime(bytes, filetime);
  char* const end = is_time ? WriteJsonTime(filetime, out) : out;
  return end != out ? end : WriteString(event, value, out);
}

// What could not be read as its type has become its bytes, which are a text.
char* WriteBare(const EventStructure& event, const SubstitutionValue& value, char* out) {
  char* const end = WriteCompleteText(event.bytes, value, out);
  return IsReadable(value) ? end : QuoteJson(out, end);
}

char* WriteFloat(const EventStructure& event, const SubstitutionValue& value, char* out) {
  char* const end = WriteCompleteText(event.bytes, value, out);
  const bool is_number = IsReadable(value) && IsFinite({out, end});
  return is_number ? end : QuoteJson(out, end);
}

char* WriteOne(const EventStructure& event, const SubstitutionValue& value, char* out) {
  switch (KindOf(value.type)) {
    case JsonKind::kTime: return WriteTime(event, value, out);
    case JsonKind::kBare: return WriteBare(event, value, out);
    case JsonKind::kFloat: return WriteFloat(event, value, out);
    case JsonKind::kString: break;
  }
  return WriteString(event, value, out);
}

char* WriteList(const EventStructure& event, const SubstitutionValue& array, char* out) {
  *out++ = '[';
  ArrayElements elements = ElementsOf(event.bytes, array);
  SubstitutionValue element;
  for (bool first = true; NextElement(elements, element); first = false) {
    if (!first) *out++ = ',';
    out = WriteOne(event, element, out);
  }
  *out++ = ']';
  return out;
}

}  // namespace

char* EscapeJson(char* begin, char* end) {
  // Most texts need nothing; this loop has no way out early, so that it runs many bytes at a time.
  const auto size = static_cast<std::size_t>(end - begin);
  unsigned any = 0;
  for (std::size_t i = 0; i < size; ++i) any |= NeedsEscape(begin[i]) ? 1U : 0U;
  if (any == 0) return end;
  char* const first = std::find_if(begin, end, NeedsEscape);
  const std::string rest(first, end);
  char* out = first;
  for (const char c : rest) {
    if (NeedsEscape(c)) {
      out = WriteEscape(c, out);
    } else {
      *out++ = c;
    }
  }
  return out;
}

std::string JsonString(std::string_view text) {
  std::string string(2 + kJsonPerByte * text.size(), '"');
  char* const begin = string.data() + 1;
  std::copy(text.begin(), text.end(), begin);
  char* const end = EscapeJson(begin, begin + text.size());
  *end = '"';
  string.resize(static_cast<std::size_t>(end + 1 - string.data()));
  return string;
}

char* QuoteJson(char* begin, char* end) {
  std::memmove(begin + 1, begin, static_cast<std::size_t>(end - begin));
  *begin = '"';
  end[1] = '"';
  return end + 2;
}

char* WriteJsonValue(const EventStructure& event, const SubstitutionValue& value, char* out) {
  return (value.type & kArrayBit) == 0 ? WriteOne(event, value, out) : WriteList(event, value, out);
}

char* WriteJsonTime(std::uint64_t filetime, char* out) {
  if (filetime >> 63 != 0) return out;
  *out = '"';
  char* const end = WriteIsoTime(filetime, out + 1);
  *end = '"';
  return end + 1;
}

}  // namespace tarnlex
