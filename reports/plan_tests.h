// The tests that queries make on the named values of an event, by its plan.
#pragma once

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

// Whether the event passes all conditions; `places` has the fields of each, in the same order.
bool PassesAll(std::span<const Condition> conditions, const EventStructure& event, const Plan& plan,
               std::vector<FieldPlaces>& places, std::string& scratch);

// Whether one of those values of the plan contains a text, which is given in lower case.
bool AnyTextContains(const EventStructure& event, const Plan& plan,
                     std::span<const PlanValue> values, std::string_view lowered,
                     std::string& scratch);

}  // namespace tarnlex
