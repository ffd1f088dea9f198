#include "event/references.h"

#include "logs/text.h"

namespace tarnlex {

std::string_view EntityText(std::string_view name) {
  if (name == "amp") return "&";
  if (name == "lt") return "<";
  if (name == "gt") return ">";
  if (name == "quot") return "\"";
  if (name == "apos") return "'";
  return {};
}

char* WriteCharacter(std::uint16_t unit, std::uint16_t low, char* out) {
  if (unit == 0) {
    *out = ' ';
    return out + 1;
  }
  const std::uint16_t units[] = {unit, low};
  const bool is_pair = IsHighSurrogate(unit) && IsLowSurrogate(low);
  return WriteUtf8(reinterpret_cast<const std::uint8_t*>(units), is_pair ? 2 : 1, out);
}

}  // namespace tarnlex
