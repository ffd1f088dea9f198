#include "evt/plan.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "evt/structure.h"
#include "logs/parse_number.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kUserSid = "user_sid";
constexpr std::string_view kSuccessType = "success_type";
constexpr std::string_view kAllStrings = "string";
constexpr std::string_view kNoValue = "-";

// Values that every plan has beside its strings, and where they stand.
constexpr std::size_t kValuesBefore = 2;
constexpr std::size_t kValuesBehind = 4;

void AddValue(Plan& plan, std::string_view name, std::uint32_t parts = 1) {
  plan.values.push_back({name, static_cast<std::uint32_t>(plan.parts.size()), parts});
}

void AddSlotValue(Plan& plan, std::string_view name, std::uint32_t slot, bool optional = false) {
  AddValue(plan, name);
  plan.parts.push_back({nullptr, 0, slot, optional});
}

void AddNoValue(Plan& plan) {
  AddValue(plan, kNoValue);
  plan.parts.push_back({kNoValue.data(), static_cast<std::uint32_t>(kNoValue.size()), 0, false});
}

void MakePlan(Plan& plan, std::uint32_t strings) {
  AddSlotValue(plan, kEvtSourceColumn, kEvtSourceName);
  AddSlotValue(plan, kEvtComputerColumn, kEvtComputerName);
  for (std::uint32_t i = 0; i < strings; ++i) {
    AddSlotValue(plan, plan.texts.emplace_back(EvtParameterName(i + 1)), kEvtFirstString + i);
  }
  AddSlotValue(plan, kUserSid, kEvtUserSid, true);
  AddSlotValue(plan, kSuccessType, kEvtEventType);
  AddValue(plan, kAllStrings, strings);
  for (std::uint32_t i = 0; i < strings; ++i) {
    plan.parts.push_back({nullptr, 0, kEvtFirstString + i, false});
  }
  AddNoValue(plan);
}

Plan PlanOfNothing() {
  Plan plan;
  AddNoValue(plan);
  return plan;
}

std::span<const PlanValue> WithoutBehind(const Plan& plan, std::size_t behind) {
  const std::span values(plan.values);
  return values.first(values.size() - std::min(values.size(), behind));
}

// Most texts have no line breaks at all, and others long stretches without, so that texts are
// looked at and moved a block at a time.
constexpr std::ptrdiff_t kBlock = 16;

bool IsClean(const char* block) {
  unsigned any = 0;
  for (std::ptrdiff_t i = 0; i < kBlock; ++i) any |= static_cast<unsigned char>(block[i]) <= '\r';
  return any == 0;
}

char* MoveBlock(const char* from, char* to) {
  char block[kBlock];
  std::memcpy(block, from, kBlock);
  std::memcpy(to, block, kBlock);
  return to + kBlock;
}

char* CleanEach(const char* from, const char* end, char* to) {
  for (; from != end; ++from) {
    const char c = *from;
    *to = c == '\n' ? ',' : c;
    to += c != '\r' && c != '\t' ? 1 : 0;
  }
  return to;
}

}  // namespace

std::string EvtParameterName(std::uint64_t number) {
  std::string name(kEvtParameter);
  if (number < 10) name += '0';
  return name + std::to_string(number);
}

const Plan& EvtPlanOf(EvtRecord& record) {
  static const Plan kNothing = PlanOfNothing();
  if (!record.recovery.has_values) return kNothing;
  EvtSlotsOf(record);
  const auto strings = static_cast<std::uint32_t>(record.strings.size());
  return KeptOrMade(record.plans, strings, strings, [&](Plan& plan, bool keep) {
    MakePlan(plan, strings);
    if (keep) plan.id = static_cast<std::uint32_t>(record.plans.kept.size() - 1);
  });
}

std::span<const PlanValue> EvtColumnValues(const Plan& plan) {
  return WithoutBehind(plan, kValuesBehind);
}

std::span<const PlanValue> EvtSearchedValues(const Plan& plan) {
  return WithoutBehind(plan, kValuesBehind - 1);
}

const PlanValue& EvtPulledValue(const Plan& plan, Policy policy, std::string_view column) {
  std::span<const PlanValue> values = EvtColumnValues(plan);
  const bool without_last = policy == Policy::kLiteral && values.size() > kValuesBefore;
  if (without_last) values = values.first(values.size() - 1);
  const auto found = std::find_if(values.begin(), values.end(), [column](const PlanValue& value) {
    return value.name == column;
  });
  return found == values.end() ? plan.values.back() : *found;
}

std::string EvtConditionName(std::string_view field) {
  if (field == "source_name") return std::string(kEvtSourceColumn);
  if (field == kUserSid || field == kSuccessType || field == kAllStrings) return std::string(field);
  return IsDecimal(field) ? EvtParameterName(LeadingNumber(field)) : std::string();
}

char* CleanEvtText(char* begin, char* end) {
  char* to = begin;
  const char* from = begin;
  for (; end - from >= kBlock; from += kBlock) {
    to = IsClean(from) ? MoveBlock(from, to) : CleanEach(from, from + kBlock, to);
  }
  return CleanEach(from, end, to);
}

}  // namespace tarnlex
