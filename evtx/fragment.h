// Binary XML as it stands in a value or a record: what it begins with, and what follows a template
// instance in it.
#pragma once

#include <cstdint>

#include "event/policy.h"
#include "logs/bytes.h"

namespace tarnlex {

// What a binary XML value or a whole record's binary XML begins with; a processing instruction is
// text.
enum class FragmentStart : std::uint8_t { kInstance, kElement, kText, kOther };

// Looks at the stream at `offset` of `size` bytes; `first` gets the offset of its first token,
// behind the fragment header if there is one.
FragmentStart LookAtFragment(Bytes chunk, std::uint32_t offset, std::uint32_t size,
                             std::uint32_t& first);

// The same behind an instance that ended at `pos` of a value that reaches to `end`: a value may
// hold several instances and elements, and an end token stands between those that bring a fragment
// header of their own. kOther where nothing follows.
FragmentStart LookBehindInstance(Bytes chunk, std::uint32_t pos, std::uint32_t end,
                                 std::uint32_t& first);

// Whether values come of what begins so. Text without an element has no name in the tables.
constexpr bool GivesValues(FragmentStart start, Policy policy) {
  return start == FragmentStart::kInstance || start == FragmentStart::kElement ||
         (start == FragmentStart::kText && policy == Policy::kComplete);
}

// Whether something stands there at all, as a first look tells: in most values nothing does.
inline bool MayFollowInstance(Bytes chunk, std::uint32_t pos, std::uint32_t end) {
  return pos < end && pos < chunk.size() && (chunk[pos] != 0 || pos + 1 < end);
}

}  // namespace tarnlex
