#include "evtx/plan_of.h"

#include <algorithm>

#include "event/slot_text.h"
#include "evtx/element_kind.h"
#include "evtx/plan_use.h"
#include "evtx/resolve.h"

namespace tarnlex {
namespace {

// Whether the record is of a kind that a plan can be kept for; fills what the plan goes by.
bool MakeKey(EvtxDecoder& decoder, DecodedEvent& event, PlanKey& key) {
  if (!event.tree || !event.tree->keepable) return false;
  if (event.array.binary_xml_beyond) return false;
  key = {event.tree, nullptr, event.array.count, 0, event.array.binary_xml};
  if (event.array.binary_xml == 0) return true;
  const NestedValues& nested = event.nested;
  if (!nested.usable || nested.array.cut) return false;
  key.nested = nested.tree
                   ? nested.tree
                   : TemplateTree(decoder, event, nested.definition, nested.definition_size);
  key.nested_count = nested.array.count;
  return key.nested && key.nested->keepable;
}

const std::unique_ptr<Plan>* FindIn(const PlanTable& table, const PlanKey& key) {
  const auto found = table.find(key);
  return found == table.end() ? nullptr : &found->second;
}

// The plan of the kind; `known` also where there is none to be kept.
const Plan* FindPlan(EvtxDecoder& decoder, const PlanKey& key, bool& known) {
  EvtxChunk& chunk = decoder.chunk;
  known = chunk.last_plan && chunk.last_key == key;
  if (known) return chunk.last_plan;
  const std::unique_ptr<Plan>* found = FindKept(decoder.store, key);
  if (!found) found = FindIn(chunk.new_plans, key);
  known = found != nullptr;
  if (!known || !*found) return nullptr;
  chunk.last_key = key;
  chunk.last_plan = found->get();
  return chunk.last_plan;
}

// What single-byte strings cost that reach to their zero byte, wherever that is.
struct LooseTexts {
  std::uint64_t text = 0;
  std::uint64_t work = 0;
};

// It has to be looked for before anything is known of such a string.
std::uint64_t SearchWork(std::size_t text_size) { return 1 + text_size / kSearchedPerToken; }

void AddLooseTexts(const DecodedEvent& event, const SubstitutionArray& array, LooseTexts& loose) {
  if (!array.has_ansi || IsComplete(event.structure)) return;
  for (std::uint32_t i = 0; i < array.count && loose.work <= event.work_bound; ++i) {
    const SubstitutionValue& value = event.structure.slots[array.first + i];
    if (value.type != kEvtVarTypeAnsiString) continue;
    const std::size_t size = AnsiTextSize(event.structure.bytes, value);
    loose.text += size;
    loose.work += SearchWork(size);
  }
}

LooseTexts LooseTextsOf(const DecodedEvent& event) {
  LooseTexts loose;
  AddLooseTexts(event, event.array, loose);
  if (event.nested.usable) AddLooseTexts(event, event.nested.array, loose);
  return loose;
}

// Whether a kept plan may serve the record, which then costs what its streams would.
bool Serves(EvtxDecoder& decoder, const Plan& plan, DecodedEvent& event) {
  const LooseTexts loose = LooseTextsOf(event);
  const PlanCost cost = CostOf(plan);
  const std::uint64_t counted = CountedText(event, cost) + loose.text;
  std::uint64_t& numbered_left = decoder.chunk.numbered_left;
  if (!CanPay(event, cost, counted, loose.work) || plan.numbered_text > numbered_left) return false;
  numbered_left -= plan.numbered_text;
  event.max_text = static_cast<std::size_t>(counted + cost.number_room);
  return true;
}

bool SameText(const EventStructure& event, const PlanPart& a, const PlanPart& b) {
  if (a.literal || b.literal) return a.literal == b.literal && a.size == b.size;
  const SubstitutionValue& left = event.slots[a.slot];
  const SubstitutionValue& right = event.slots[b.slot];
  return left.offset == right.offset && left.size == right.size && left.type == right.type;
}

// What is larger than any number may be given as its bytes where every value is told.
bool IsNumber(const EventStructure& event, const PlanPart& part) {
  if (part.literal) return false;
  const SubstitutionValue& value = event.slots[part.slot];
  constexpr std::size_t kMostNumberBytes = 16;
  if (IsComplete(event) && value.size > kMostNumberBytes) return false;
  return !IsFreeSlotText(event, value.type) && value.type != kEvtVarTypeBinary;
}

// What a plan's texts come to.
struct TextSize {
  std::uint64_t used = 0;
  std::uint64_t counted = 0;  // without what numbers take
};

// The most that the parts can say, found without looking at their bytes.
TextSize MostText(const EventStructure& event, const Plan& plan) {
  TextSize size;
  for (const PlanPart& part : plan.parts) {
    if (part.literal) {
      size.used += part.size;
      size.counted += part.size;
    } else if (!IsLeftOut(event, part)) {
      size.used += MaxSlotText(event, event.slots[part.slot]);
      size.counted += MaxProportionalText(event, event.slots[part.slot]);
    }
  }
  return size;
}

// Leaves out of a plan that serves one record what would pass the bound on a record's text, or
// `limit` on what it says beside numbers. The few records that come here are crafted, and even the
// effort of measuring their texts is bounded.
TextSize TrimText(EvtxDecoder& decoder, DecodedEvent& event, std::uint64_t limit) {
  const EventStructure& structure = event.structure;
  TextSize kept;
  std::uint64_t& measurable = decoder.chunk.measured_left;
  PlanPart measured{"", 0, 0, false};  // mostly one text stands in many elements
  std::size_t size = 0;
  for (PlanPart& part : event.own_plan.parts) {
    if (IsLeftOut(structure, part)) continue;
    const bool spent = kept.used >= kMaxRecordText || kept.counted >= limit || measurable == 0;
    if (!spent && !SameText(structure, part, measured)) {
      measured = part;
      size = part.literal ? part.size : SlotTextBound(structure, structure.slots[part.slot]);
      const std::size_t looked_at = part.literal ? 0 : structure.slots[part.slot].size / 2U;
      measurable -= std::min<std::uint64_t>(measurable, std::max(size, looked_at));
    }
    const std::size_t counts = IsNumber(structure, part) ? 0 : size;
    if (!spent && size > 0 && kept.used + size <= kMaxRecordText &&
        kept.counted + counts <= limit) {
      kept.used += size;
      kept.counted += counts;
      continue;
    }
    // What says nothing here may say something in the next event of the kind.
    if (!spent && size == 0) continue;
    NoteFault(decoder, event, RecordFault::kLimit);
    part = {"", 0, 0, false};
  }
  return kept;
}

// Holds a plan that serves one record to the bounds on text.
void BoundText(EvtxDecoder& decoder, DecodedEvent& event) {
  std::uint64_t& shared = decoder.chunk.text_left;
  const std::uint64_t free = FreeText(event);
  TextSize size = MostText(event.structure, event.own_plan);
  if (size.used > kMaxRecordText || size.counted > free + shared) {
    size = TrimText(decoder, event, free + shared);
  }
  if (size.counted > free) shared -= std::min(shared, size.counted - free);
  event.max_text = static_cast<std::size_t>(size.used);
}

// Holds the document of a plan that serves one record to the same bounds: it says again what
// repeats itself, and the names of elements with it.
void BoundDocument(EvtxDecoder& decoder, DecodedEvent& event) {
  const EventStructure& structure = event.structure;
  Document& document = event.own_plan.document;
  std::uint64_t& shared = decoder.chunk.text_left;
  const std::uint64_t free = FreeText(event);
  const std::uint64_t limit = std::min(free + shared, kMaxRecordText);
  std::uint64_t counted = 0;
  for (std::size_t i = 0; i < document.items.size(); ++i) {
    const Item& item = document.items[i];
    counted += ItemCost(item);
    if (item.kind == ItemKind::kSlot) {
      counted += MaxProportionalText(structure, structure.slots[item.slot]);
    }
    if (counted <= limit) continue;
    NoteFault(decoder, event, RecordFault::kLimit);
    CutDocument(document, i);
    break;
  }
  if (counted > free) shared -= std::min(shared, counted - free);
}

// Single-byte strings that the record cannot pay for any more are left out.
void ChargeSearches(EvtxDecoder& decoder, DecodedEvent& event) {
  const EventStructure& structure = event.structure;
  bool paid = true;
  for (PlanPart& part : event.own_plan.parts) {
    if (part.literal || structure.slots[part.slot].type != kEvtVarTypeAnsiString) continue;
    paid = paid &&
           Charge(event, SearchWork(AnsiTextSize(structure.bytes, structure.slots[part.slot])));
    if (!paid) part = {"", 0, 0, false};
  }
  if (!paid) NoteFault(decoder, event, RecordFault::kLimit);
}

void MakePlan(EvtxDecoder& decoder, DecodedEvent& event) {
  ResolveStreams(decoder, event);
  NameBudget budget{event.work_left, decoder.chunk.made_names_left, decoder.chunk.numbered_left,
                    false};
  Flatten(event.structure, budget, event.room, event.own_plan);
  event.work_left = budget.work_left;
  event.own_plan.work = event.work_bound - event.work_left;
  decoder.chunk.made_names_left = budget.text_left;
  decoder.chunk.numbered_left = budget.numbered_left;
  if (budget.spent) NoteFault(decoder, event, RecordFault::kLimit);
  if (event.own_plan.odd_names) NoteFault(decoder, event, RecordFault::kOddNames);
  if (!IsComplete(event.structure)) ChargeSearches(decoder, event);
  if (decoder.makes_documents) MakeDocument(event.structure, event.own_plan.document);
}

// Whether the streams are those that a plan is kept for, each once: then the slots lie as framing
// leaves those of every record of the kind.
bool IsSimple(const DecodedEvent& event) {
  const EventStructure& structure = event.structure;
  const std::size_t nested = event.nested.usable ? 1 : 0;
  return structure.streams.size() == 1 + nested &&
         structure.slots.count == event.array.count + nested * event.nested.array.count;
}

// Whether a slot says what a "Data" is called. Forms that keep an event's structure call it so even
// where it has no text, which tables then need no name for.
bool IsNamedByValue(const Document& document) {
  bool in_data = false;
  bool in_name = false;
  for (const Item& item : document.items) {
    if (item.kind == ItemKind::kElement) in_data = item.text == "Data";
    if (item.kind == ItemKind::kAttribute) in_name = in_data && item.text == "Name";
    if (item.kind == ItemKind::kSlot && item.in_start_tag && in_name) return true;
  }
  return false;
}

// Whether a plan just made serves every record of its kind.
bool IsWorthKeeping(const EvtxDecoder& decoder, const DecodedEvent& event) {
  const Plan& plan = event.own_plan;
  const EvtxChunk& chunk = decoder.chunk;
  return plan.keepable && plan.slots_once && event.faults == 0 && IsSimple(event) &&
         !IsNamedByValue(plan.document) &&
         HasRoomForPlan(decoder.store, chunk.new_plans.size(), chunk.new_plan_room + RoomOf(plan));
}

// A plan that stays takes no more memory than it needs.
std::unique_ptr<Plan> KeptPlan(Plan& made) {
  auto kept = std::make_unique<Plan>(std::move(made));
  kept->values.shrink_to_fit();
  kept->parts.shrink_to_fit();
  kept->document.items.shrink_to_fit();
  return kept;
}

}  // namespace

const Plan& PlanOf(EvtxDecoder& decoder, DecodedEvent& event) {
  if (event.plan) return *event.plan;
  FindNestedKind(decoder, event);
  PlanKey key;
  bool known = false;
  const bool has_kind = MakeKey(decoder, event, key) && decoder.keeps;
  const Plan* kept = has_kind ? FindPlan(decoder, key, known) : nullptr;
  if (kept && Serves(decoder, *kept, event)) return *(event.plan = kept);
  MakePlan(decoder, event);
  BoundText(decoder, event);
  if (decoder.makes_documents) BoundDocument(decoder, event);
  event.plan = &event.own_plan;
  // Kinds without a plan take room as well.
  if (has_kind && !known && HasRoomForPlan(decoder.store, decoder.chunk.new_plans.size(), 0)) {
    std::unique_ptr<Plan>& place = decoder.chunk.new_plans[key];
    if (IsWorthKeeping(decoder, event)) {
      const std::size_t made = decoder.chunk.new_plans.size() - 1;
      place = KeptPlan(event.own_plan);
      place->id = decoder.store.plans_made + static_cast<std::uint32_t>(made);
      event.plan = place.get();
      decoder.chunk.new_plan_room += RoomOf(*place);
    }
  }
  return *event.plan;
}

}  // namespace tarnlex
