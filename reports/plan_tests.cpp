#include "reports/plan_tests.h"

#include <algorithm>
#include <cstddef>

#include "logs/text.h"

namespace tarnlex {
namespace {

const PlanValue* FieldOf(const Plan& plan, const std::string& name, FieldPlaces& fields) {
  if (plan.id == kUnkeptPlan) return FindValueNoCase(plan, name);
  if (fields.size() <= plan.id) fields.resize(plan.id + std::size_t{1});
  PlannedField& field = fields[plan.id];
  if (!field.known) {
    const PlanValue* value = FindValueNoCase(plan, name);
    field = {true, value ? static_cast<std::int32_t>(value - plan.values.data()) : -1};
  }
  return field.position < 0 ? nullptr : &plan.values[static_cast<std::size_t>(field.position)];
}

// The slot that is all of a value's text; null for any other value.
const SubstitutionValue* OnlySlot(const EventStructure& event, const Plan& plan,
                                  const PlanValue& value) {
  const PlanPart& part = plan.parts[value.first_part];
  return value.part_count == 1 && !part.literal ? &event.slots[part.slot] : nullptr;
}

}  // namespace

bool Holds(const Condition& condition, const EventStructure& event, const Plan& plan,
           FieldPlaces& fields, std::string& scratch) {
  const PlanValue* value = FieldOf(plan, condition.field, fields);
  if (!value) return false;
  if (ConditionHolds(condition, TextOf(event, plan, *value, scratch))) return true;
  if (condition.first_only) return false;
  // A name may have several values, of which any will do.
  for (std::uint32_t i = value->first_later; i != 0; i = plan.values[i].next_of_name) {
    if (ConditionHolds(condition, TextOf(event, plan, plan.values[i], scratch))) return true;
  }
  return false;
}

bool AnyTextContains(const EventStructure& event, const Plan& plan,
                     std::span<const PlanValue> values, std::string_view lowered,
                     std::string& scratch) {
  // A text that stands in many elements, one behind the other, is searched once.
  const SubstitutionValue* searched = nullptr;
  return std::any_of(values.begin(), values.end(), [&](const PlanValue& value) {
    const SubstitutionValue* slot = OnlySlot(event, plan, value);
    if (slot && slot == searched) return false;
    searched = slot;
    return ContainsNoCase(TextOf(event, plan, value, scratch), lowered);
  });
}

}  // namespace tarnlex
