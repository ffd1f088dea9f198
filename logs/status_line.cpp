#include "logs/status_line.h"

#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kMaxMessage = 255;
constexpr std::size_t kBackspaces = 80;
constexpr std::size_t kMaxPath = 45;

// The first `count` characters of UTF-8 text, none of them cut in two.
std::string_view FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  while (end < text.size()) {
    const bool starts = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
    if (starts && count-- == 0) break;
    ++end;
  }
  return text.substr(0, end);
}

}  // namespace

std::string StatusLine(std::string_view message) {
  std::string shown(FirstCharacters(message, kMaxMessage));
  std::erase_if(shown, [](char c) { return c == '\n' || c == '\r'; });
  const std::size_t width = CountCodePoints(shown);
  if (width < kStatusColumns) shown.append(kStatusColumns - width, ' ');
  const std::string backspaces(kBackspaces, '\b');
  return backspaces + shown + backspaces;
}

std::string AnalyzingText(std::string_view path) {
  std::string shown(path);
  std::erase(shown, '%');
  return "analyzing: " + std::string(FirstCharacters(shown, kMaxPath));
}

}  // namespace tarnlex
