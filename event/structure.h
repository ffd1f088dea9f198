// What a record holds, taken apart but not interpreted: trees, the values of their slots, and which
// stream stands inside of which.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "event/policy.h"
#include "event/tree.h"
#include "event/value.h"
#include "logs/bytes.h"

namespace tarnlex {

// Values that are parsed anew for every record: the room stays, and nothing of it is cleared.
struct SlotList {
  std::vector<SubstitutionValue> room;  // of which `count` are in use
  std::size_t count = 0;

  const SubstitutionValue& operator[](std::size_t slot) const { return room[slot]; }
};

// Room for `more` values behind those in use; whoever fills it raises the count.
inline SubstitutionValue* MoreSlots(SlotList& slots, std::size_t more) {
  if (slots.room.size() < slots.count + more) slots.room.resize(2 * (slots.count + more));
  return slots.room.data() + slots.count;
}

// Streams that stand one behind the other in one place.
struct StreamGroup {
  std::uint32_t first = 0;  // in EventStructure::streams
  std::uint32_t count = 0;
};

// A tree and the slots that it is run over.
struct Stream {
  const Tree* tree = nullptr;
  std::uint32_t nodes = 0;       // of the tree; fewer than it has where a bound was met
  std::uint32_t first_slot = 0;  // in EventStructure::slots
  std::uint32_t slot_count = 0;
  // For each node, in order, that leads to other streams (a slot of binary XML, an instance) one
  // group; then those of slots that no node reaches.
  std::uint32_t first_group = 0;
  std::uint32_t group_count = 0;
};

// Valid as long as `bytes` and the trees.
struct EventStructure {
  Policy policy = Policy::kLiteral;  // what is made of it
  Bytes bytes;                       // what the values' offsets count in
  SlotList slots;                    // of all arrays, the record's own first
  std::vector<Stream> streams;       // the record's own first; empty until resolved
  std::vector<StreamGroup> groups;
};

}  // namespace tarnlex
