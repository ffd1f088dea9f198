// Room for the texts of slots, found without looking at them.
#pragma once

#include <cstddef>

#include "event/document.h"
#include "event/slot_text.h"
#include "event/structure.h"

namespace tarnlex {

// A bound of the texts of all slots that a document has, each as often as it stands there.
inline std::size_t RoomForSlots(const EventStructure& event, const Document& document) {
  std::size_t size = 0;
  if (document.slots_once) {
    for (std::size_t i = 0; i < event.slots.count; ++i) size += MaxSlotText(event, event.slots[i]);
    return size;
  }
  for (const Item& item : document.items) {
    if (item.kind == ItemKind::kSlot) size += MaxSlotText(event, event.slots[item.slot]);
  }
  return size;
}

}  // namespace tarnlex
