// The tests that queries make on the named values of an event, by its plan.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "event/plan.h"
#include "reports/filter.h"

namespace tarnlex {

// Where a plan has the field that a query tests.
struct PlannedField {
  bool known = false;
  std::int32_t position = -1;  // in the plan's values; -1 when none has that name
};
using FieldPlaces = std::vector<PlannedField>;  // of kept plans, by their identifier

// Whether the value of the condition's field satisfies it; `fields` is the condition's own.
bool Holds(const Condition& condition, const EventStructure& event, const Plan& plan,
           FieldPlaces& fields, std::string& scratch);

// Whether the event passes all conditions; `places` has as many, each for the field of one.
inline bool PassesAll(const std::vector<Condition>& conditions, const EventStructure& event,
                      const Plan& plan, std::vector<FieldPlaces>& places, std::string& scratch) {
  for (std::size_t i = 0; i < conditions.size(); ++i) {
    if (Holds(conditions[i], event, plan, places[i], scratch) == conditions[i].forbidden) {
      return false;
    }
  }
  return true;
}

// Whether one of those values of the plan contains a text, which is given in lower case.
bool AnyTextContains(const EventStructure& event, const Plan& plan,
                     std::span<const PlanValue> values, std::string_view lowered,
                     std::string& scratch);

}  // namespace tarnlex
