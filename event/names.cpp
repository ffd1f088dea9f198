#include "event/names.h"

#include <algorithm>

namespace tarnlex {
namespace {

constexpr std::string_view kNoCharacter = "\xEF\xBF\xBD";  // U+FFFD

bool IsNameCharacter(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == ':' || c == '.' || c == '-' || byte >= 0x80;
}

}  // namespace

bool IsXmlName(std::string_view text) {
  if (text.empty() || (text[0] >= '0' && text[0] <= '9') || text[0] == '.' || text[0] == '-') {
    return false;
  }
  return std::all_of(text.begin(), text.end(), IsNameCharacter) &&
         text.find(kNoCharacter) == std::string_view::npos;
}

bool IsPrintable(std::string_view text) {
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; };
  return std::none_of(text.begin(), text.end(), is_control) &&
         text.find(kNoCharacter) == std::string_view::npos;
}

std::string NumberedName(std::string_view name, std::uint32_t number) {
  return std::string(name).append(number < 10 ? "_0" : "_").append(std::to_string(number));
}

std::string UnnamedDataName(std::uint32_t number) {
  return number == 1 ? "Data" : NumberedName("Data", number);
}

}  // namespace tarnlex
