#include "event/plan.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "event/slot_text.h"
#include "logs/plain_ascii.h"

namespace tarnlex {
namespace {

std::span<const PlanPart> PartsOf(const Plan& plan, const PlanValue& value) {
  return {plan.parts.data() + value.first_part, value.part_count};
}

// Most texts are plain, and written faster by themselves.
char* WriteSlot(const EventStructure& event, const PlanPart& part, char* out) {
  if (IsLeftOut(event, part)) return out;
  const SubstitutionValue& slot = event.slots[part.slot];
  if (slot.type == kEvtVarTypeString) {
    char* const end = WritePlainAscii(event.bytes, slot.offset, slot.size / 2, out);
    if (end) return end;
  }
  return WriteSlotText(event, slot, out);
}

char* WritePart(const EventStructure& event, const PlanPart& part, char* out) {
  if (!part.literal) return WriteSlotText(event, event.slots[part.slot], out);
  std::memcpy(out, part.literal, part.size);
  return out + part.size;
}

}  // namespace

void ClearPlan(Plan& plan) {
  plan.values.clear();
  plan.parts.clear();
  plan.texts.clear();
  ClearDocument(plan.document);
  plan.literal_text = 0;
  plan.numbered_text = 0;
  plan.work = 0;
  plan.event_id = -1;
  plan.system_time = -1;
  plan.time_slot = -1;
  plan.keepable = true;
  plan.slots_once = true;
  plan.odd_names = false;
  plan.id = kUnkeptPlan;
}

bool IsUnresolved(const EventStructure& event, const Plan& plan, const PlanValue& value) {
  const auto parts = PartsOf(plan, value);
  return std::all_of(parts.begin(), parts.end(),
                     [&event](const PlanPart& part) { return IsLeftOut(event, part); });
}

std::size_t MaxTextSize(const EventStructure& event, const Plan& plan, const PlanValue& value) {
  std::size_t size = 0;
  for (const PlanPart& part : PartsOf(plan, value)) {
    size += part.literal ? part.size : MaxSlotText(event, event.slots[part.slot]);
  }
  return size;
}

char* WriteText(const EventStructure& event, const Plan& plan, const PlanValue& value, char* out) {
  for (const PlanPart& part : PartsOf(plan, value)) {
    if (!IsLeftOut(event, part)) out = WritePart(event, part, out);
  }
  return out;
}

std::string_view TextOf(const EventStructure& event, const Plan& plan, const PlanValue& value,
                        std::string& scratch) {
  const PlanPart& first = plan.parts[value.first_part];
  const bool is_one = value.part_count == 1;
  if (is_one && first.literal) return {first.literal, first.size};
  const std::size_t room =
      is_one ? MaxSlotText(event, event.slots[first.slot]) : MaxTextSize(event, plan, value);
  if (scratch.size() < room) scratch.resize(room);
  char* const text = scratch.data();
  const char* const end =
      is_one ? WriteSlot(event, first, text) : WriteText(event, plan, value, text);
  return {text, static_cast<std::size_t>(end - text)};
}

const PlanValue* FindValue(const Plan& plan, std::string_view name) {
  const auto found = std::find_if(plan.values.begin(), plan.values.end(),
                                  [name](const PlanValue& value) { return value.name == name; });
  return found == plan.values.end() ? nullptr : &*found;
}

const PlanValue* FindValueNoCase(const Plan& plan, std::string_view name) {
  if (const PlanValue* exact = FindValue(plan, name)) return exact;
  const PlanValue* found = nullptr;
  for (const PlanValue& value : plan.values) {
    if (!EqualsNoCase(value.name, name)) continue;
    if (!found || value.name < found->name) found = &value;
  }
  return found;
}

}  // namespace tarnlex
