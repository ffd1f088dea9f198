#include "reports/unique.h"

#include "evt/event_identity.h"

namespace tarnlex {
namespace {

struct Marks {
  std::uint8_t done;
  std::uint8_t to_come;
};

constexpr Marks MarksOf(EventUse use) {
  return use == EventUse::kCount ? Marks{kCounted, kCountedLive} : Marks{kGiven, kGivenLive};
}

}  // namespace

void BeginUniquePass(UniquePass& pass, UniqueEvents& events, bool only_notes) {
  pass.events = &events;
  pass.only_notes = only_notes;
  pass.room.key = events.key;
}

const Hash128& EventOf(UniquePass& pass, const EvtxDecoder& decoder, const DecodedEvent& event) {
  if (!pass.event) pass.event = IdentityOf(pass.room, decoder, event);
  return *pass.event;
}

const Hash128& EventOf(UniquePass& pass, EvtRecord& record) {
  if (!pass.event) pass.event = IdentityOf(pass.events->key, record, pass.evt_room);
  return *pass.event;
}

bool TakeUse(UniquePass& pass, const Hash128& event, EventUse use, bool recovered) {
  const auto [done, to_come] = MarksOf(use);
  MarkedEvents& marks = pass.events->marks;
  if (pass.only_notes) {
    if (!recovered) AddMarks(marks, event, to_come, 0);
    return false;
  }
  const auto unless = static_cast<std::uint8_t>(recovered ? done | to_come : done);
  return AddMarks(marks, event, done, unless);
}

}  // namespace tarnlex
