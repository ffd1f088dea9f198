// Whether a stream is one from its first token to its last, with every name proved by its hash:
// definitions that were overwritten in part mostly still read as something.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "evtx/substitution.h"
#include "logs/bytes.h"

namespace tarnlex {

// A chunk whose records were not all written at one time: whoever began to fill it anew left what
// was there behind. Stretches of one time lie one behind the other; here is where each of them
// ends.
struct Stretches {
  std::vector<std::uint32_t> ends;
};

// The number of the stretch that a place belongs to.
std::size_t StretchOf(const Stretches& stretches, std::uint32_t offset);

// A slot that a definition names, and the type that it states for it.
struct SlotUse {
  std::uint16_t slot = 0;
  std::uint8_t type = 0;
};

struct SoundDefinition {
  bool sound = false;
  std::vector<SlotUse> slots;
};

// What the checks of one chunk share. Their work is bounded; what is left at the bound is not
// sound.
struct SoundChecks {
  Bytes chunk;
  Stretches stretches;
  std::map<std::uint32_t, SoundDefinition> definitions = {};  // by their offset
  std::uint32_t work_left = 0;
};

// Whether the instance whose token stands at `token`, with those values, is one of the template
// that it names: the definition begins with what the instance repeats of it, is sound, and states
// the types that the values have.
//
// A definition is sound when its elements end in order and with it, all of its names satisfy their
// hash, and its texts are text. A name proves nothing where it is empty, or where it was written
// later than the definition, unless it is one that every event has in that place.
bool IsSoundInstance(SoundChecks& checks, std::uint32_t token, const SlotList& slots,
                     const SubstitutionArray& array);

// The same of elements without a template, from `begin` to `end`, where up to eight bytes
// may fill the place up.
bool IsSoundFragment(SoundChecks& checks, std::uint32_t begin, std::uint32_t end);

}  // namespace tarnlex
