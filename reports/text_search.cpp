#include "reports/text_search.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "logs/text.h"
#include "logs/unit_search.h"
#include "reports/plan_tests.h"

namespace tarnlex {
namespace {

constexpr std::uint32_t kAskedMuch = 16;

// Characters that stand in values as they do in texts: no zero unit becomes one of them, none
// separates the texts of a list, and none takes more than a unit.
bool IsTelling(char c) { return c > ' ' && c < 0x7F && c != ','; }

// The longest part of such characters.
std::string TellingPart(std::string_view text) {
  std::string_view longest;
  for (auto at = text.begin(); at != text.end();) {
    const auto begin = std::find_if(at, text.end(), IsTelling);
    at = std::find_if_not(begin, text.end(), IsTelling);
    const std::string_view part(begin, at);
    if (part.size() > longest.size()) longest = part;
  }
  return std::string(longest);
}

std::span<const PlanValue> ValueAt(const Plan& plan, std::uint32_t position) {
  return {plan.values.data() + position, 1};
}

PlanSearch LookAtPlan(const TextSearch& search, const DecodedEvent& event, const Plan& plan,
                      std::string& scratch) {
  PlanSearch found;
  found.known = true;
  for (std::uint32_t i = 0; i < plan.values.size(); ++i) {
    const PlanValue& value = plan.values[i];
    if (value.part_count > 1) {
      found.joined.push_back(i);
    } else if (plan.parts[value.first_part].literal) {
      found.in_literals |=
          AnyTextContains(event.structure, plan, ValueAt(plan, i), search.wanted, scratch);
    }
  }
  return found;
}

const PlanSearch& SearchOf(TextSearch& search, const DecodedEvent& event, const Plan& plan,
                           std::string& scratch) {
  if (search.plans.size() <= plan.id) search.plans.resize(plan.id + std::size_t{1});
  PlanSearch& place = search.plans[plan.id];
  if (!place.known) place = LookAtPlan(search, event, plan, scratch);
  return place;
}

// The bytes from an array's first value to its last: values follow one another.
Bytes BytesOf(const EventStructure& event, const SubstitutionArray& array) {
  if (array.count == 0) return {};
  const SubstitutionValue& first = event.slots[array.first];
  const SubstitutionValue& last = event.slots[array.first + array.count - 1];
  return event.bytes.subspan(first.offset, last.offset + last.size - first.offset);
}

void EnterChunk(TextSearch& search, std::uint64_t chunk) {
  search.was_asked_much = search.asked >= kAskedMuch;
  search.chunk = chunk;
  search.asked = 0;
  search.is_chunk_searched = false;
  search.in_chunk = true;
}

// Whether the bytes that the record lies in may hold the part of the text that tells. A chunk takes
// as long as many records: it is searched for a query that looks into most of them, not for one of
// hundreds that each look into a few.
bool MayBeInChunk(TextSearch& search, const DecodedEvent& event) {
  if (event.chunk == 0) return true;
  if (search.chunk != event.chunk) EnterChunk(search, event.chunk);
  ++search.asked;
  if (!search.is_chunk_searched && (search.was_asked_much || search.asked >= kAskedMuch)) {
    search.is_chunk_searched = true;
    search.in_chunk = HoldsTextNoCase(event.structure.bytes, search.telling);
  }
  return search.in_chunk;
}

bool IsSingleByte(std::uint8_t type) { return (type & ~kArrayBit) == kEvtVarTypeAnsiString; }

// Texts of a byte a character, which may go on behind their values.
bool MayBeInSingleBytes(const TextSearch& search, const EventStructure& event,
                        const SubstitutionArray& array) {
  if (!array.has_ansi && !array.has_lists) return false;
  for (std::uint32_t i = 0; i < array.count; ++i) {
    const SubstitutionValue& value = event.slots[array.first + i];
    if (!IsSingleByte(value.type)) continue;
    const std::size_t size = std::max<std::size_t>(value.size, AnsiTextSize(event.bytes, value));
    const Bytes text = event.bytes.subspan(value.offset, size);
    if (ContainsNoCase({reinterpret_cast<const char*>(text.data()), size}, search.telling)) {
      return true;
    }
  }
  return false;
}

bool Covers(Bytes outer, Bytes inner) {
  return outer.data() <= inner.data() && inner.data() + inner.size() <= outer.data() + outer.size();
}

bool HasLists(const DecodedEvent& event) {
  return event.array.has_lists || (event.nested.usable && event.nested.array.has_lists);
}

// What a record lacks because its chunk does, and no value of which is put together, all of its
// kind lack in such chunks.
void NoteLack(TextSearch& search, EvtxDecoder& decoder, DecodedEvent& event) {
  constexpr std::size_t kPlaces = 256;
  const PlanUse use = UseOf(decoder, event);
  if (!use.key.own) return;
  search.lacking.resize(kPlaces);
  search.lacking[PlaceOf(use.key, kPlaces)] = use;
}

// Whether the text may be in a slot; false is certain. The values of a list need not hold what the
// list does.
bool MayBeInSlots(TextSearch& search, const DecodedEvent& event) {
  const SubstitutionArray& own = event.array;
  const SubstitutionArray* nested = event.nested.usable ? &event.nested.array : nullptr;
  if (search.spans_values && HasLists(event)) return true;
  if (!MayBeInChunk(search, event)) return false;
  const EventStructure& structure = event.structure;
  const Bytes bytes = BytesOf(structure, own);
  if (HoldsUnitsNoCase(bytes, search.telling)) return true;
  if (MayBeInSingleBytes(search, structure, own)) return true;
  if (!nested) return false;
  const Bytes inner = BytesOf(structure, *nested);
  return (!Covers(bytes, inner) && HoldsUnitsNoCase(inner, search.telling)) ||
         MayBeInSingleBytes(search, structure, *nested);
}

}  // namespace

TextSearch MakeTextSearch(std::string_view lowered) {
  TextSearch search;
  search.wanted = lowered;
  if (!MayBeInNumbers(lowered)) search.telling = TellingPart(lowered);
  search.spans_values = lowered.find_first_of(", ") != std::string_view::npos;
  return search;
}

bool MayBeInNumbers(std::string_view lowered) {
  for (const std::string_view word : {"true", "false", "-inf", "-nan"}) {
    if (word.find(lowered) != std::string_view::npos) return true;
  }
  // A SID begins with an "S". No instant has two points, and nothing else has more than one.
  if (lowered.starts_with('s')) lowered.remove_prefix(1);
  return lowered.find_first_not_of("0123456789abcdefx+-./: ") == std::string_view::npos &&
         std::count(lowered.begin(), lowered.end(), '.') < 2;
}

bool IsKnownToLack(TextSearch& search, EvtxDecoder& decoder, DecodedEvent& event) {
  if (search.lacking.empty() || MayBeInChunk(search, event)) return false;
  if (search.spans_values && HasLists(event)) return false;
  const PlanKey key = UsedKey(decoder, event);
  const PlanUse& use = search.lacking[PlaceOf(key, search.lacking.size())];
  return key.own && use.key == key && IsUsedBy(use, event);
}

bool Finds(TextSearch& search, EvtxDecoder& decoder, DecodedEvent& event, const Plan& plan,
           std::string& scratch) {
  const EventStructure& structure = event.structure;
  if (!search.telling.empty() && plan.id != kUnkeptPlan) {
    const PlanSearch& known = SearchOf(search, event, plan, scratch);
    if (known.in_literals) return true;
    const bool in_joined =
        std::any_of(known.joined.begin(), known.joined.end(), [&](std::uint32_t position) {
          return AnyTextContains(structure, plan, ValueAt(plan, position), search.wanted, scratch);
        });
    if (in_joined) return true;
    if (!MayBeInSlots(search, event)) {
      if (!MayBeInChunk(search, event) && known.joined.empty()) NoteLack(search, decoder, event);
      return false;
    }
  }
  return AnyTextContains(structure, plan, plan.values, search.wanted, scratch);
}

}  // namespace tarnlex
