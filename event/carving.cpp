#include "event/carving.h"

#include <algorithm>

#include "logs/text.h"

namespace tarnlex {

std::string SourceText(std::uint64_t offset) {
  constexpr std::size_t kDigits = 12;
  const std::string digits = HexText(offset);
  const std::size_t missing = kDigits - std::min(kDigits, digits.size());
  return "@0x" + std::string(missing, '0') + digits;
}

}  // namespace tarnlex
