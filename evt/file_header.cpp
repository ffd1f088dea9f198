#include "evt/file_header.h"

#include "evt/evt_format.h"

namespace tarnlex {

EvtFileHeader ReadEvtFileHeader(Bytes head) {
  EvtFileHeader header;
  std::uint32_t signature = 0;
  if (head.size() < kEvtHeaderUsed || !ReadAt(head, 4, signature) || signature != kEvtSignature) {
    return header;
  }
  const std::uint8_t* const at = head.data();
  const auto flags = Load<std::uint32_t>(at + 36);
  header.found = true;
  header.next_record = Load<std::uint32_t>(at + 24);
  header.oldest_record = Load<std::uint32_t>(at + 28);
  header.dirty = (flags & kEvtHeaderDirty) != 0;
  header.wrapped = (flags & kEvtHeaderWrapped) != 0;
  header.full = (flags & kEvtHeaderFull) != 0;
  return header;
}

}  // namespace tarnlex
