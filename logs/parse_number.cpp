#include "logs/parse_number.h"

#include <charconv>

#include "logs/text.h"

namespace tarnlex {

bool ParseNumber(std::string_view text, std::uint64_t& number) {
  text = Trim(text);
  int base = 10;
  if (const std::size_t x = text.find_first_of("xX"); x != std::string_view::npos) {
    base = 16;
    text.remove_prefix(x + 1);
  } else if (const std::size_t o = text.find_first_of("oO"); o != std::string_view::npos) {
    base = 8;
    text.remove_prefix(o + 1);
  }
  std::uint64_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (result.ec != std::errc{}) return false;
  number = value;
  return true;
}

bool IsDecimal(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool IsWholeNumber(std::string_view number) {
  const std::string lowered = ToLowerAscii(Trim(number));
  std::string_view text = lowered;
  if (text.starts_with('0') && text.find_first_of("xo") == 1) text.remove_prefix(1);
  if (text.starts_with('o')) return IsDecimal(text.substr(1));
  if (!text.starts_with('x')) return IsDecimal(text);
  return text.find_first_not_of("0123456789abcdef", 1) == std::string_view::npos;
}

}  // namespace tarnlex
