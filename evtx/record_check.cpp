#include "evtx/record_check.h"

#include <string>

#include "event/names.h"
#include "evtx/plan_of.h"
#include "logs/parse_number.h"

namespace tarnlex {
namespace {

// Empty for a value that is missing. A slot that holds nothing reads as "0" in a row, and is no
// text here.
std::string_view TextOfName(const DecodedEvent& event, const Plan& plan, std::string_view name,
                            std::string& scratch) {
  const PlanValue* value = FindValue(plan, name);
  if (!value) return {};
  const PlanPart& part = plan.parts[value->first_part];
  const bool is_null = value->part_count == 1 && !part.literal &&
                       event.structure.slots[part.slot].type == kEvtVarTypeNull;
  return is_null ? std::string_view() : TextOf(event.structure, plan, *value, scratch);
}

}  // namespace

void CheckRecord(EvtxDecoder& decoder, DecodedEvent& event) {
  const Plan& plan = PlanOf(decoder, event);
  std::string scratch;
  const std::string_view own_id = TextOfName(event, plan, "EventRecordID", scratch);
  if (!own_id.empty() && own_id != std::to_string(event.record_id)) {
    NoteFault(decoder, event, RecordFault::kOtherIdentifier);
  }
  if (!IsDecimal(TextOfName(event, plan, "EventID", scratch))) {
    NoteFault(decoder, event, RecordFault::kNoEventId);
  }
  const std::string_view provider = TextOfName(event, plan, "Provider Name", scratch);
  if (provider.empty() || !IsPrintable(provider)) {
    NoteFault(decoder, event, RecordFault::kNoProvider);
  }
}

}  // namespace tarnlex
