#include "evtx/value_plan.h"

#include <algorithm>

#include "evtx/decoded_event.h"
#include "evtx/decoder.h"
#include "evtx/expand.h"
#include "evtx/record.h"

namespace tarnlex {
namespace {

constexpr std::size_t kMaxPlans = 4096;
constexpr std::size_t kMaxPlannedValues = std::size_t{1} << 18;  // of all plans

// Whether the record is of the simple kind; fills what its plan goes by.
bool MakeKey(EvtxDecoder& decoder, PlanKey& key) {
  const SubstitutionArray& own = decoder.array;
  const NestedValues& nested = decoder.nested;
  if (decoder.trace || !decoder.program || !decoder.program->cached || own.has_ansi) return false;
  key = {decoder.program, nullptr, own.count, 0, own.binary_xml};
  if (own.binary_xml == 0) return true;
  if (!nested.usable || nested.array.has_ansi || nested.array.cut) return false;
  key.nested = PreparedTemplate(decoder, nested.definition, nested.definition_size);
  key.nested_count = nested.array.count;
  return key.nested->cached;
}

std::uint64_t ValueBytes(const SubstitutionArray& array) {
  return array.count == 0 ? 0 : array.end - array.values[0].offset;
}

// A bound of all texts but for what numbers take: every slot is used once at most, and no text is
// longer than three times its bytes.
std::uint64_t CountedText(const EvtxDecoder& decoder, const ValuePlan& plan) {
  std::uint64_t bytes = ValueBytes(decoder.array);
  if (decoder.nested.usable) bytes += ValueBytes(decoder.nested.array);
  return plan.literal_text + 3 * bytes;
}

// A slot used twice would break the bound of the text; it is also rare enough to decode.
bool UsesSlotsOnce(const ValuePlan& plan) {
  std::uint64_t used = 0;
  for (const PlannedValue& value : plan.values) {
    if (value.origin == kOriginLiteral) continue;
    const int base = (value.origin & kOriginNestedSlot) != 0 ? 32 : 0;
    const std::uint64_t bit = std::uint64_t{1} << (base + (value.origin & kOriginSlotMask));
    if ((used & bit) != 0) return false;
    used |= bit;
  }
  return true;
}

// The plan behind a record that has just been decoded; null when one of its values cannot be
// planned.
std::unique_ptr<ValuePlan> MakePlan(const EvtxDecoder& decoder, const DecodedEvent& event,
                                    const PlanKey& key) {
  if (!event.plannable || decoder.faults != 0) return nullptr;
  auto plan = std::make_unique<ValuePlan>();
  for (const NamedValue& value : event.values) {
    const ValuePart& part = value.part;
    if (part.origin == kOriginUnknown || value.more_count != 0) return nullptr;
    PlannedValue planned{value.name, part.origin, part.optional, {}};
    if (part.literal) planned.literal = {part.literal, part.offset};
    plan->literal_text += planned.literal.size();
    plan->values.push_back(planned);
  }
  plan->tokens = key.own->tokens + (key.nested ? key.nested->tokens + key.nested_count : 0);
  return UsesSlotsOnce(*plan) ? std::move(plan) : nullptr;
}

const ValuePlan* FindPlan(PlanTable& table, const PlanKey& key, bool& known) {
  known = table.last && table.last_key == key;
  if (known) return table.last;
  const auto found = table.plans.find(key);
  known = found != table.plans.end();
  if (!known || !found->second) return nullptr;
  table.last_key = key;
  table.last = found->second.get();
  return table.last;
}

// The slot that a value of the present record's plan comes from; not for literals.
const SubstitutionValue& SlotOf(const EvtxDecoder& decoder, const PlannedValue& value) {
  const bool nested = (value.origin & kOriginNestedSlot) != 0;
  const SubstitutionArray& array = nested ? decoder.nested.array : decoder.array;
  return array.values[value.origin & kOriginSlotMask];
}

}  // namespace

const ValuePlan* PlanFor(EvtxDecoder& decoder, DecodedEvent& event) {
  PlanKey key;
  if (event.values_decoded || !MakeKey(decoder, key)) {
    DecodeValues(decoder, event);
    return nullptr;
  }
  PlanTable& table = decoder.plans;
  bool known = false;
  const ValuePlan* plan = FindPlan(table, key, known);
  const std::uint64_t counted = plan ? CountedText(decoder, *plan) : 0;
  const std::uint64_t bound = plan ? counted + plan->values.size() * kMaxNumberRoom : 0;
  if (plan && plan->tokens <= decoder.work_left && bound <= kMaxRecordText &&
      counted <= FreeText(decoder)) {
    Charge(decoder, plan->tokens);
    event.max_text = static_cast<std::size_t>(bound);
    return plan;
  }
  DecodeValues(decoder, event);
  if (!known && table.plans.size() < kMaxPlans &&
      table.values + event.values.size() <= kMaxPlannedValues) {
    auto made = MakePlan(decoder, event, key);
    if (made) made->id = table.made++;
    if (made) table.values += made->values.size();
    table.plans.emplace(key, std::move(made));
  }
  return nullptr;
}

std::string_view PlannedText(const EvtxDecoder& decoder, const PlannedValue& value,
                             std::string& scratch) {
  if (value.origin == kOriginLiteral) return value.literal;
  const SubstitutionValue& slot = SlotOf(decoder, value);
  if (value.optional && slot.type == kEvtVarTypeNull) return {};
  const std::size_t room = MaxValueText(decoder.chunk.data, slot);
  if (scratch.size() < room) scratch.resize(room);
  const char* end = WriteValueText(decoder.chunk.data, slot, scratch.data());
  return {scratch.data(), static_cast<std::size_t>(end - scratch.data())};
}

bool IsHalfFull(const PlanTable& table) {
  return table.plans.size() > kMaxPlans / 2 || table.values > kMaxPlannedValues / 2;
}

void ClearPlans(PlanTable& table) { table = {}; }

}  // namespace tarnlex
