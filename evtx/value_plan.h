// A shortcut for the records that make up nearly all of a log: a known template, with at most one
// other known template inside. Which names they give, in which order and out of which slots,
// depends only on those two and on how many slots there are. So it is found out once, by decoding a
// record, and kept.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "evtx/names.h"
#include "evtx/substitution.h"

namespace tarnlex {

struct TemplateProgram;
struct EvtxDecoder;
struct DecodedEvent;

// Where a value comes from, as ValuePart::origin tells: nothing a plan can use, a literal that
// lives as long as its kept template, or a slot of the record's own array or of the array nested in
// it.
inline constexpr std::uint8_t kOriginUnknown = 0;
inline constexpr std::uint8_t kOriginLiteral = 0x20;
inline constexpr std::uint8_t kOriginOwnSlot = 0x40;
inline constexpr std::uint8_t kOriginNestedSlot = 0x80;
inline constexpr std::uint8_t kOriginSlotMask = 0x1F;

// The binary XML value among the record's own values, when it is the only one and holds a template
// instance whose array could be parsed and nests no further.
struct NestedValues {
  bool usable = false;
  std::uint32_t definition = 0;
  std::uint32_t definition_size = 0;
  SubstitutionArray array;
};

struct PlannedValue {
  const Name* name = nullptr;
  std::uint8_t origin = kOriginUnknown;
  bool optional = false;  // an empty slot leaves the value unresolved
  std::string_view literal;
};

struct ValuePlan {
  std::uint32_t id = 0;  // position in the order of making, from 0
  std::vector<PlannedValue> values;
  std::size_t literal_text = 0;
  std::uint32_t tokens = 0;
};

struct PlanKey {
  const TemplateProgram* own = nullptr;
  const TemplateProgram* nested = nullptr;
  std::uint32_t own_count = 0;
  std::uint32_t nested_count = 0;
  std::uint32_t binary_xml = 0;
  auto operator<=>(const PlanKey&) const = default;
};

// A null plan stands for records that have to be decoded one by one.
struct PlanTable {
  std::map<PlanKey, std::unique_ptr<ValuePlan>> plans;
  PlanKey last_key;  // neighbouring records are mostly alike
  const ValuePlan* last = nullptr;
  std::uint32_t made = 0;
  std::size_t values = 0;  // of all plans
};

// The plan that gives the values of the record framed last, or null. Without one the record's
// values have been decoded when this returns. With one, event.max_text bounds the text of its
// values.
const ValuePlan* PlanFor(EvtxDecoder& decoder, DecodedEvent& event);

// The text of a value of the present record's plan, empty when it is unresolved; `scratch` holds it
// if it has to be made.
std::string_view PlannedText(const EvtxDecoder& decoder, const PlannedValue& value,
                             std::string& scratch);

// Whether half of what the table may hold is taken.
bool IsHalfFull(const PlanTable& table);

void ClearPlans(PlanTable& table);

}  // namespace tarnlex
