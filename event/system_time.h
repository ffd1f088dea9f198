// When an event happened, by what it says itself.
#pragma once

#include <cstdint>

#include "event/plan.h"
#include "event/structure.h"

namespace tarnlex {

// The FILETIME of the attribute "SystemTime" of "TimeCreated": a typed time, or an ISO 8601 text as
// forwarded events carry it. 0 where there is none, or none that can be read.
std::uint64_t SystemTimeOf(const EventStructure& event, const Plan& plan);

// The same where it is a typed time, as in nearly all events; false where it is none.
inline bool TimeOfSlot(const EventStructure& event, const Plan& plan, std::uint64_t& time) {
  if (plan.time_slot < 0) return false;
  const SubstitutionValue& slot = event.slots[static_cast<std::size_t>(plan.time_slot)];
  if (slot.type != kEvtVarTypeFileTime) return false;
  // What is stated of a slot lies inside of the bytes.
  time = slot.size < sizeof time ? 0 : Load<std::uint64_t>(event.bytes.data() + slot.offset);
  return true;
}

}  // namespace tarnlex
