// The hash that a name record stores beside its name.
#pragma once

#include <cstddef>
#include <cstdint>

#include "logs/bytes.h"

namespace tarnlex {

// The hash of a name in UTF-16LE: its units, read as a number to the base of 65599, of which the
// lowest 16 bits are stored. No name at all has 0, and so have bytes that are all zero.
inline std::uint16_t NameHash(Bytes units) {
  constexpr std::uint32_t kBase = 65599;
  std::uint32_t hash = 0;
  for (std::size_t i = 0; i + 1 < units.size(); i += 2) {
    hash = hash * kBase + Load<std::uint16_t>(units.data() + i);
  }
  return static_cast<std::uint16_t>(hash);
}

}  // namespace tarnlex
