#include "event/system_time.h"

#include <string>

#include "logs/iso_time.h"

namespace tarnlex {

std::uint64_t SystemTimeOf(const EventStructure& event, const Plan& plan) {
  if (plan.system_time < 0) return 0;
  const PlanValue& value = plan.values[static_cast<std::size_t>(plan.system_time)];
  const PlanPart& part = plan.parts[value.first_part];
  std::uint64_t time = 0;
  if (value.part_count == 1 && !part.literal &&
      event.slots[part.slot].type == kEvtVarTypeFileTime) {
    const SubstitutionValue& slot = event.slots[part.slot];
    ReadAt(Clip(event.bytes, slot.offset, slot.size), 0, time);
    return time;
  }
  std::string scratch;
  return ParseIsoTime(TextOf(event, plan, value, scratch), time) ? time : 0;
}

}  // namespace tarnlex
