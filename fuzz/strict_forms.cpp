#include "fuzz/strict_forms.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace tarnlex {
namespace {

struct Input {
  std::string_view text;
  std::size_t depth = 0;
};

constexpr std::size_t kMostDepth = 200;

bool Take(Input& in, std::string_view wanted) {
  if (!in.text.starts_with(wanted)) return false;
  in.text.remove_prefix(wanted.size());
  return true;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Takes one character of valid UTF-8.
bool TakeCharacter(Input& in, char32_t& c) {
  if (in.text.empty()) return false;
  const auto lead = static_cast<unsigned char>(in.text[0]);
  const std::size_t size = lead < 0x80   ? 1
                           : lead < 0xC2 ? 0
                           : lead < 0xE0 ? 2
                           : lead < 0xF0 ? 3
                                         : 4;
  if (size == 0 || lead > 0xF4 || in.text.size() < size) return false;
  c = size == 1 ? lead : lead & (0x7FU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(in.text[i]);
    if ((byte & 0xC0) != 0x80) return false;
    c = c << 6 | (byte & 0x3F);
  }
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (c < kLeast[size] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return false;
  in.text.remove_prefix(size);
  return true;
}

bool TakeJsonEscape(Input& in) {
  if (in.text.empty()) return false;
  const char c = in.text[0];
  in.text.remove_prefix(1);
  if (c != 'u') return std::string_view("\"\\/bfnrt").find(c) != std::string_view::npos;
  if (in.text.size() < 4) return false;
  const bool is_hex =
      in.text.substr(0, 4).find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
  in.text.remove_prefix(4);
  return is_hex;
}

bool TakeJsonString(Input& in, std::string_view& string) {
  const std::string_view whole = in.text;
  if (!Take(in, "\"")) return false;
  while (!Take(in, "\"")) {
    char32_t c = 0;
    if (!TakeCharacter(in, c) || c < ' ') return false;
    if (c == '\\' && !TakeJsonEscape(in)) return false;
  }
  string = whole.substr(0, whole.size() - in.text.size());
  return true;
}

std::size_t TakeDigits(Input& in) {
  std::size_t count = 0;
  for (; !in.text.empty() && IsDigit(in.text[0]); ++count) in.text.remove_prefix(1);
  return count;
}

bool TakeJsonNumber(Input& in) {
  Take(in, "-");
  const bool is_zero = in.text.starts_with("0");
  const std::size_t digits = TakeDigits(in);
  if (digits == 0 || (is_zero && digits > 1)) return false;
  if (Take(in, ".") && TakeDigits(in) == 0) return false;
  if (!Take(in, "e") && !Take(in, "E")) return true;
  if (!Take(in, "+")) Take(in, "-");
  return TakeDigits(in) > 0;
}

bool TakeJson(Input& in);

bool TakeJsonMembers(Input& in) {
  std::set<std::string_view> names;
  if (Take(in, "}")) return true;
  do {
    std::string_view name;
    if (!TakeJsonString(in, name) || !names.insert(name).second) return false;
    if (!Take(in, ":") || !TakeJson(in)) return false;
  } while (Take(in, ","));
  return Take(in, "}");
}

bool TakeJsonEntries(Input& in) {
  if (Take(in, "]")) return true;
  do {
    if (!TakeJson(in)) return false;
  } while (Take(in, ","));
  return Take(in, "]");
}

bool TakeJson(Input& in) {
  if (in.text.empty() || in.depth == kMostDepth) return false;
  ++in.depth;
  bool good = false;
  std::string_view string;
  if (Take(in, "{")) {
    good = TakeJsonMembers(in);
  } else if (Take(in, "[")) {
    good = TakeJsonEntries(in);
  } else if (in.text[0] == '"') {
    good = TakeJsonString(in, string);
  } else {
    good = Take(in, "true") || Take(in, "false") || Take(in, "null") || TakeJsonNumber(in);
  }
  --in.depth;
  return good;
}

bool IsXmlCharacter(char32_t c) {
  return c == '\t' || c == '\n' || c == '\r' || (c >= ' ' && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || c >= 0x10000;
}

// Beyond ASCII only what the program takes for letters would pass every parser; here any passes.
bool TakeXmlName(Input& in, std::string_view& name) {
  const std::string_view whole = in.text;
  while (!in.text.empty()) {
    const char c = in.text[0];
    const bool begins = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c & 0x80);
    const bool first = in.text.size() == whole.size();
    const bool continues = IsDigit(c) || c == '-' || c == '.' || c == ':';
    if (!begins && (first || !continues)) break;
    char32_t character = 0;
    if (!TakeCharacter(in, character)) return false;
  }
  name = whole.substr(0, whole.size() - in.text.size());
  const std::size_t colon = name.find(':');
  return !name.empty() && (colon == name.npos || name.find(':', colon + 1) == name.npos);
}

bool TakeReference(Input& in) {
  for (const char* name : {"amp;", "lt;", "gt;", "quot;", "#9;", "#10;", "#13;"}) {
    if (Take(in, name)) return true;
  }
  return false;
}

// Text up to `stop`, which stays.
bool TakeXmlText(Input& in, char stop) {
  while (!in.text.empty() && in.text[0] != stop) {
    char32_t c = 0;
    if (in.text[0] == '<' || in.text.starts_with("]]>") || !TakeCharacter(in, c)) return false;
    if (!IsXmlCharacter(c) || (c == '&' && !TakeReference(in))) return false;
  }
  return true;
}

struct OpenElement {
  std::string_view name;
  std::vector<std::string_view> prefixes;
};

bool IsDeclared(const std::vector<OpenElement>& open, std::string_view name) {
  const std::size_t colon = name.find(':');
  if (colon == name.npos || name.starts_with("xmlns:")) return true;
  for (const OpenElement& element : open) {
    for (const std::string_view prefix : element.prefixes) {
      if (prefix == name.substr(0, colon)) return true;
    }
  }
  return false;
}

bool TakeAttributes(Input& in, std::vector<OpenElement>& open) {
  std::set<std::string_view> names;
  while (Take(in, " ")) {
    std::string_view name;
    if (!TakeXmlName(in, name) || !names.insert(name).second || !Take(in, "=\"")) return false;
    if (!TakeXmlText(in, '"') || !Take(in, "\"")) return false;
    if (name.starts_with("xmlns:")) open.back().prefixes.push_back(name.substr(6));
  }
  names.insert(open.back().name);
  for (const std::string_view name : names) {
    if (!IsDeclared(open, name)) return false;
  }
  return true;
}

bool TakeInstruction(Input& in) {
  std::string_view target;
  if (!TakeXmlName(in, target) || target == "xml" || !Take(in, " ")) return false;
  while (!Take(in, "?>")) {
    char32_t c = 0;
    if (!TakeCharacter(in, c) || !IsXmlCharacter(c)) return false;
  }
  return true;
}

bool TakeTag(Input& in, std::vector<OpenElement>& open) {
  std::string_view name;
  if (Take(in, "?")) return TakeInstruction(in);
  if (Take(in, "/")) {
    if (open.empty() || !Take(in, open.back().name) || !Take(in, ">")) return false;
    open.pop_back();
    return true;
  }
  if (!TakeXmlName(in, name)) return false;
  open.push_back({name, {}});
  if (!TakeAttributes(in, open)) return false;
  if (!Take(in, "/>")) return Take(in, ">");
  open.pop_back();
  return true;
}

}  // namespace

bool IsJsonLines(std::string_view text) {
  Input in{text};
  while (!in.text.empty()) {
    if (!TakeJson(in) || !Take(in, "\n")) return false;
  }
  return true;
}

bool IsXmlDocument(std::string_view text) {
  Input in{text};
  std::vector<OpenElement> open;
  if (!in.text.starts_with("<")) return false;
  do {
    if (!Take(in, "<") || !TakeTag(in, open)) return false;
    if (!open.empty() && !TakeXmlText(in, '<')) return false;
  } while (!open.empty());
  return in.text == "\n";
}

}  // namespace tarnlex
