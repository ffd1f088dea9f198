#include "event/references.h"

#include "logs/text.h"

namespace tarnlex {
namespace {

std::string_view EntityText(std::string_view name) {
  if (name == "amp") return "&";
  if (name == "lt") return "<";
  if (name == "gt") return ">";
  if (name == "quot") return "\"";
  if (name == "apos") return "'";
  return {};
}

// The unit of the character reference at `i`; 0 when there is none.
std::uint16_t UnitAt(std::span<const Node> nodes, std::size_t i) {
  const bool is_character = i < nodes.size() && nodes[i].kind == NodeKind::kCharacter;
  return is_character ? static_cast<std::uint16_t>(nodes[i].slot) : std::uint16_t{0};
}

constexpr bool IsHighSurrogate(std::uint16_t unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool IsLowSurrogate(std::uint16_t unit) { return (unit & 0xFC00) == 0xDC00; }

}  // namespace

std::array<std::string_view, 3> EntityParts(std::string_view name) {
  const std::string_view text = EntityText(name);
  if (!text.empty()) return {text, {}, {}};
  return {"&", name, ";"};
}

std::string CharacterText(std::span<const Node> nodes, std::size_t i) {
  const std::uint16_t unit = UnitAt(nodes, i);
  const std::uint16_t next = UnitAt(nodes, i + 1);
  if (unit == 0) return " ";
  if (IsLowSurrogate(unit) && i > 0 && IsHighSurrogate(UnitAt(nodes, i - 1))) return {};
  const std::uint16_t units[] = {unit, next};
  const bool is_pair = IsHighSurrogate(unit) && IsLowSurrogate(next);
  return Utf16ToUtf8({reinterpret_cast<const std::uint8_t*>(units), is_pair ? 4U : 2U});
}

}  // namespace tarnlex
