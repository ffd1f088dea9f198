#include "event/system_time.h"

#include <string>

#include "logs/iso_time.h"

namespace tarnlex {

std::uint64_t SystemTimeOf(const EventStructure& event, const Plan& plan) {
  if (plan.system_time < 0) return 0;
  std::uint64_t time = 0;
  if (TimeOfSlot(event, plan, time)) return time;
  const PlanValue& value = plan.values[static_cast<std::size_t>(plan.system_time)];
  std::string scratch;
  return ParseIsoTime(TextOf(event, plan, value, scratch), time) ? time : 0;
}

}  // namespace tarnlex
