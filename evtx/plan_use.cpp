#include "evtx/plan_use.h"

#include "event/slot_text.h"
#include "evtx/resolve.h"

namespace tarnlex {
namespace {

// What the values cost shows in looking at them.
bool HasLooseTexts(const DecodedEvent& event) {
  return event.array.has_ansi || (event.nested.usable && event.nested.array.has_ansi);
}

bool OutlivesChunk(const Tree* tree) { return tree && tree->kept; }

}  // namespace

PlanCost CostOf(const Plan& plan) {
  return {plan.literal_text, plan.parts.size() * kMaxNumberRoom, plan.document.fixed_cost,
          plan.work};
}

std::uint64_t CountedText(const DecodedEvent& event, const PlanCost& cost) {
  std::uint64_t bytes = event.array.bytes;
  if (event.nested.usable) bytes += event.nested.array.bytes;
  return cost.literal_text + TextPerByte(event.structure) * bytes;
}

PlanKey UsedKey(EvtxDecoder& decoder, DecodedEvent& event) {
  const NestedValues& nested = event.nested;
  if (!decoder.keeps || !OutlivesChunk(event.tree) || event.array.binary_xml_beyond ||
      HasLooseTexts(event)) {
    return {};
  }
  PlanKey key{event.tree, nullptr, event.array.count, 0, event.array.binary_xml};
  if (key.binary_xml == 0) return key;
  if (!nested.usable || nested.tree || nested.array.cut) return {};
  key.nested = TemplateTree(decoder, event, nested.definition, nested.definition_size);
  key.nested_count = nested.array.count;
  return OutlivesChunk(key.nested) ? key : PlanKey{};
}

PlanUse UseOf(EvtxDecoder& decoder, DecodedEvent& event) {
  const Plan* const plan = event.plan;
  if (!plan || plan->id == kUnkeptPlan || plan->numbered_text > 0) return {};
  return {UsedKey(decoder, event), CostOf(*plan)};
}

}  // namespace tarnlex
