// What references in texts stand for.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "event/tree.h"

namespace tarnlex {

// The text of a reference to an entity, in parts of which some may be empty: the character of the
// five that XML knows ("amp", "lt", "gt", "quot", "apos"), else the reference as it is written.
std::array<std::string_view, 3> EntityParts(std::string_view name);

// The text, in UTF-8, of the character reference at `i`, which gives a UTF-16 unit. Two references
// may be a pair: the first one gives their character then, and the second one nothing. A surrogate
// alone is U+FFFD, a zero a blank.
std::string CharacterText(std::span<const Node> nodes, std::size_t i);

}  // namespace tarnlex
