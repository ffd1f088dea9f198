#include "output/xml_text.h"

#include <algorithm>

#include "logs/escaped_units.h"
#include "logs/find_special.h"
#include "logs/text.h"
#include "logs/utf8.h"

namespace tarnlex {
namespace {

// The first byte of what cannot stand as it is in every place, and of two characters that are none.
const char* FindToEscape(const char* begin, const char* end) {
  return FindSpecial<'&', '<', '>', '"', '\xEF'>(begin, end);
}

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// U+FFFE and U+FFFF.
bool IsNoCharacter(std::string_view text) {
  return text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF");
}

constexpr auto kEscapes = [] {
  Escapes escapes{};
  SetEscape(escapes, '&', "&amp;");
  SetEscape(escapes, '<', "&lt;");
  SetEscape(escapes, '>', "&gt;");
  SetEscape(escapes, '"', "&quot;");
  SetEscape(escapes, '\t', "&#9;");
  SetEscape(escapes, '\n', "&#10;");
  SetEscape(escapes, '\r', "&#13;");
  return escapes;
}();

constexpr Escapes kUnitEscapes = ForUnits(kEscapes);

std::string_view EscapeOf(char c) {
  const Escape& escape = EscapeOf(kEscapes, static_cast<unsigned char>(c));
  return {escape.text.data(), escape.size};
}

// Takes the first character, or byte of one, off `rest` and writes it.
char* EscapeFirst(std::string_view& rest, std::uint64_t& replaced, char* out) {
  const bool is_no_character = rest[0] == '\xEF' && IsNoCharacter(rest);
  const std::string_view escape = EscapeOf(rest[0]);
  const bool is_control = static_cast<unsigned char>(rest[0]) < ' ' && escape.empty();
  const std::string_view own = rest.substr(0, is_no_character ? kReplacement.size() : 1);
  rest.remove_prefix(own.size());
  if (is_no_character || is_control) {
    ++replaced;
    return CopyText(kReplacement, out);
  }
  return CopyText(escape.empty() ? own : escape, out);
}

struct Range {
  char32_t first;
  char32_t last;
};

// Letters beyond ASCII that are letters in every edition of XML 1.0.
constexpr Range kLetters[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x131},    {0x401, 0x40C},
    {0x40E, 0x44F},   {0x451, 0x45C},   {0x45E, 0x481},   {0x3041, 0x3094},
    {0x30A1, 0x30FA}, {0x4E00, 0x9FA5}, {0xAC00, 0xD7A3},
};

bool IsLetter(char32_t c) {
  const bool is_ascii = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
  return is_ascii || std::any_of(std::begin(kLetters), std::end(kLetters),
                                 [c](Range range) { return c >= range.first && c <= range.last; });
}

bool Begins(char32_t c) { return c == '_' || IsLetter(c); }

bool Continues(char32_t c) { return Begins(c) || c == '-' || c == '.' || (c >= '0' && c <= '9'); }

}  // namespace

char* EscapeXml(char* begin, char* end, std::uint64_t& replaced) {
  char* out = begin + (FindToEscape(begin, end) - begin);
  if (out == end) return end;
  const std::string copy(out, end);
  for (std::string_view rest = copy; !rest.empty();) {
    out = EscapeFirst(rest, replaced, out);
    const char* const next = FindToEscape(rest.data(), rest.data() + rest.size());
    out = std::copy(rest.data(), next, out);
    rest.remove_prefix(static_cast<std::size_t>(next - rest.data()));
  }
  return out;
}

char* WriteUncommonXmlText(Bytes bytes, const SubstitutionValue& text, std::uint64_t& replaced,
                           char* out) {
  if (!Fits(bytes, text.offset, text.size)) return out;
  const Bytes from = bytes.subspan(text.offset);
  const std::size_t count = UnitsWithoutZerosAtEnd(from.data(), text.size / 2);
  const auto done = WriteEscapedUnits<'&', '<', '>', '"'>(from, count, kUnitEscapes, out);
  return EscapeXml(out, WriteUtf8(from.data() + 2 * done, count - done, out), replaced);
}

std::string XmlPlainText(std::string_view text, std::uint64_t& replaced) {
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_no_character = text[i] == '\xEF' && IsNoCharacter(text.substr(i));
    const bool is_control = static_cast<unsigned char>(text[i]) < ' ' && EscapeOf(text[i]).empty();
    if (is_control || is_no_character) {
      plain += kReplacement;
      ++replaced;
      i += is_no_character ? 2 : 0;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

std::string XmlText(std::string_view text, std::uint64_t& replaced) {
  std::string string(kXmlPerByte * text.size(), ' ');
  std::copy(text.begin(), text.end(), string.begin());
  const char* const end = EscapeXml(string.data(), string.data() + text.size(), replaced);
  string.resize(static_cast<std::size_t>(end - string.data()));
  return string;
}

std::string XmlName(std::string_view name) {
  std::string made;
  while (!name.empty()) {
    const Utf8Character next = NextUtf8(name);
    if (!Continues(next.code)) {
      made += '_';
    } else {
      if (made.empty() && !Begins(next.code)) made = "_";
      made += name.substr(0, next.size);
    }
    name.remove_prefix(next.size);
  }
  return made.empty() ? "_" : made;
}

}  // namespace tarnlex
