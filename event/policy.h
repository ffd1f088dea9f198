// How much of an event its named values tell.
#pragma once

#include <cstdint>

namespace tarnlex {

enum class Policy : std::uint8_t {
  kLiteral,   // the tables as they have always been: first of a name, texts up to what is not plain
  kComplete,  // every value, as it is
};

}  // namespace tarnlex
