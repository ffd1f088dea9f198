// One EVTX record, framed: its header, its place, its arrays and where they lead. With the bytes of
// its chunk it is complete by itself; its values come out of its plan (plan_of.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "event/flatten.h"
#include "event/plan.h"
#include "event/recovery.h"
#include "event/structure.h"
#include "evtx/substitution.h"

namespace tarnlex {

// The binary XML value among the record's own values, when it is the only one and holds either one
// template instance whose array could be parsed and nests no further, or elements of a kind. Its
// values stand behind the own ones; those of elements once the plan has been asked for.
struct NestedValues {
  bool usable = false;
  const Tree* tree = nullptr;  // of the elements' kind; null: of the template
  std::uint32_t definition = 0;
  std::uint32_t definition_size = 0;
  SubstitutionArray array;
};

// Room for telling kinds of elements apart (see element_kind.h).
struct KindRoom {
  std::string key;                   // room for what the stream holds beside texts
  std::vector<std::uint32_t> nodes;  // the nodes whose texts are the event's own
};

// One of these serves all records of a walk. What it views stays valid until the next record is
// framed into it; the chunk must outlive that.
struct DecodedEvent {
  std::uint32_t signature = 0;
  std::uint32_t size = 0;
  std::uint64_t record_id = 0;
  std::uint64_t written_time = 0;  // FILETIME, as the header has it
  std::uint64_t time = 0;          // when the event happened, as far as the policy tells it
  std::uint64_t own_time = 0;      // what the event itself states; 0: nothing, or not looked for
  std::uint64_t chunk_file_offset = 0;
  std::uint64_t record_file_offset = 0;
  std::uint64_t event_id = 0;
  Recovery recovery;

  const Tree* tree = nullptr;  // what its values come from; null: nothing
  SubstitutionArray array;
  NestedValues nested;
  EventStructure structure;
  bool resolved = false;  // the structure has all streams

  std::uint32_t faults = 0;      // bits of RecordFault noted for it
  std::uint32_t share = 0;       // its bytes in the chunk
  std::uint32_t work_bound = 0;  // tokens and slot values that its streams may cost
  std::uint32_t work_left = 0;   // of these, as far as its streams have been resolved
  const Plan* plan = nullptr;    // null: not asked for yet
  std::size_t max_text = 0;      // upper bound of the bytes of all texts of the plan

  // Room for what no chunk keeps.
  Plan own_plan;
  FlattenRoom room;
  KindRoom kind_room;
  std::vector<std::unique_ptr<Tree>> fragments;  // streams that belong to no definition
  std::size_t fragments_used = 0;
};

}  // namespace tarnlex
