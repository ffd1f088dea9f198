// Which records are the first of their event in a run, when each event is to be given once.
#pragma once

#include <cstdint>
#include <optional>

#include "evt/record.h"
#include "evtx/event_identity.h"
#include "logs/read_file.h"
#include "logs/sip_hash.h"
#include "reports/event_marks.h"

namespace tarnlex {

// The events of a run that go through one report.
struct UniqueEvents {
  HashKey key = RandomHashKey();
  MarkedEvents marks;
};

// What a record may be done with once.
enum class EventUse : std::uint8_t { kCount, kGive };

// What a pass over a log remembers for it.
struct UniquePass {
  UniqueEvents* events = nullptr;  // null: every record is the first
  bool only_notes = false;         // the pass is to give nothing: what a later one will is noted
  IdentityRoom room;
  FileBytes evt_room;
  std::optional<Hash128> event;  // that the record at hand is of, once it has been asked for
};

void BeginUniquePass(UniquePass& pass, UniqueEvents& events, bool only_notes);

// Forgets the record before.
inline void BeginRecord(UniquePass& pass) { pass.event.reset(); }

// The event of the record at hand; to be asked for only where events are told apart.
const Hash128& EventOf(UniquePass& pass, const EvtxDecoder& decoder, const DecodedEvent& event);
const Hash128& EventOf(UniquePass& pass, EvtRecord& record);

// Whether nothing else has been put to that use of the event, nor, for a recovered record, will be
// by a record that a log still has. From then on something has.
bool TakeUse(UniquePass& pass, const Hash128& event, EventUse use, bool recovered);

}  // namespace tarnlex
