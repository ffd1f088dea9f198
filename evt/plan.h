// Which named values tables and conditions have of an EVT record, and how the texts of its rows are
// cleaned. All of these rules are here.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "event/plan.h"
#include "event/policy.h"
#include "evt/record.h"

namespace tarnlex {

inline constexpr std::string_view kEvtSourceColumn = "source name";
inline constexpr std::string_view kEvtComputerColumn = "computer name";
inline constexpr std::string_view kEvtParameter = "param_";

// "param_01" for the first string: at least two digits.
std::string EvtParameterName(std::uint64_t number);

// The plan of the record, kept for all that have as many strings; valid until the next record is
// read. A record of which nothing is proved but its head has no values. Otherwise its values are
// the columns ("source name", "computer name", "param_01" and so on, in this order), then
// "user_sid", "success_type" (the event type), "string" (all strings, joined with nothing) and the
// text that stands for a value that is not there.
const Plan& EvtPlanOf(EvtRecord& record);

// The values that become columns.
std::span<const PlanValue> EvtColumnValues(const Plan& plan);

// The values that a text is looked for in: the columns and "user_sid".
std::span<const PlanValue> EvtSearchedValues(const Plan& plan);

// What a report's column of that name gives, "-" for what is not there. Under the literal policy
// that is never the record's last string.
const PlanValue& EvtPulledValue(const Plan& plan, Policy policy, std::string_view column);

// The name in plans of what a condition calls `field`: "source_name", "user_sid", "success_type",
// "string", or the decimal number of a string, counted from 1. Empty for any other.
std::string EvtConditionName(std::string_view field);

// Takes line breaks and tabs out of a finished text, as a row is one line of values; returns its
// new end.
char* CleanEvtText(char* begin, char* end);

}  // namespace tarnlex
