#include "output/repeated_array.h"

#include "event/slot_text.h"

namespace tarnlex {
namespace {

std::size_t CountValues(const EventStructure& event, const SubstitutionValue& array) {
  ArrayElements elements = ElementsOf(event.bytes, array);
  SubstitutionValue element;
  std::size_t count = 0;
  while (NextElement(elements, element)) ++count;
  return count;
}

// Where the array of several values is that an element's own texts hold; null without one, or with
// more.
const Item* ArrayOf(const EventStructure& event, const Document& document, std::uint32_t at) {
  const Item* found = nullptr;
  const std::uint32_t end = document.items[at].next;
  for (std::uint32_t i = at + 1; i < end; ++i) {
    const Item& item = document.items[i];
    if (item.kind == ItemKind::kElement) i = item.next - 1;
    if (item.kind != ItemKind::kSlot) continue;
    const SubstitutionValue& value = event.slots[item.slot];
    if (!IsArray(value) || CountValues(event, value) < 2) continue;
    if (found) return nullptr;
    found = &item;
  }
  return found;
}

// A bound of what an element takes to say, all that lies in it included, but for the array of which
// it says one value each time.
std::size_t CostOf(const EventStructure& event, const Document& document, std::uint32_t at,
                   const Item* array) {
  constexpr std::size_t kPerItem = 64;
  constexpr std::size_t kPerByte = 6;
  std::size_t cost = 0;
  for (std::uint32_t i = at; i < document.items[at].next; ++i) {
    const Item& item = document.items[i];
    cost += kPerItem + kPerByte * item.text.size();
    const bool is_whole = item.kind == ItemKind::kSlot && &item != array;
    if (is_whole) cost += MaxSlotText(event, event.slots[item.slot]);
  }
  return cost;
}

}  // namespace

std::vector<OneOfArray> RepeatedFor(const EventStructure& event, const Document& document,
                                    std::uint32_t at, std::size_t& repeatable) {
  const Item* const place = repeatable > 0 ? ArrayOf(event, document, at) : nullptr;
  if (!place) return {OneOfArray()};
  const SubstitutionValue& array = event.slots[place->slot];
  const std::size_t cost = CountValues(event, array) * CostOf(event, document, at, place);
  if (cost > repeatable) return {OneOfArray()};
  repeatable -= cost;
  std::vector<OneOfArray> values;
  ArrayElements elements = ElementsOf(event.bytes, array);
  SubstitutionValue element;
  while (NextElement(elements, element)) values.emplace_back(element);
  return values;
}

}  // namespace tarnlex
