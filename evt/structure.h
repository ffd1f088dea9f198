// An EVT record as every event is: a tree, which is the same for all records with as many strings,
// and the values of its slots. It has the elements under which Windows shows events of old sources.
#pragma once

#include <cstddef>
#include <cstdint>

#include "evt/record.h"

namespace tarnlex {

// Positions of a record's values. The strings are followed by the data; those that the record does
// not have, and the time where it has none, are of the type kEvtVarTypeNull.
enum EvtSlot : std::uint32_t {
  kEvtSourceName,
  kEvtQualifiers,
  kEvtEventId,
  kEvtLevel,
  kEvtTask,
  kEvtKeywords,
  kEvtTimeCreated,
  kEvtRecordNumber,
  kEvtComputerName,
  kEvtUserSid,
  kEvtEventType,  // as stored; the tree has level and keywords made of it
  kEvtFirstString,
};

// The slots alone, which is what plans need. Valid until the next record is read.
const EventStructure& EvtSlotsOf(EvtRecord& record);

// The whole structure: one stream over all slots. Valid until the next record is read.
const EventStructure& EvtStructureOf(EvtRecord& record);

// What is kept under `key`, or made for so many strings: `make` fills what it is given and learns
// whether that is kept. As crafted records may have any number of strings, no more is kept than
// real logs need.
template <typename T, typename Make>
const T& KeptOrMade(ByStrings<T>& list, std::uint32_t key, std::size_t strings, Make make) {
  constexpr std::size_t kMostStrings = 0x10000;
  const auto known = list.kept.find(key);
  if (known != list.kept.end()) return known->second;
  const bool keep = strings < kMostStrings - list.strings;
  if (keep) list.strings += strings + 1;
  T& made = keep ? list.kept[key] : list.loose;
  made = {};
  make(made, keep);
  return made;
}

}  // namespace tarnlex
