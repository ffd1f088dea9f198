#include "evt/carve.h"

#include "evt/evt_format.h"
#include "evt/sound_record.h"

namespace tarnlex {
namespace {

std::uint32_t Number(Bytes bytes, std::uint64_t offset) {
  std::uint32_t number = 0;
  ReadAt(bytes, offset, number);
  return number;
}

}  // namespace

bool IsEvtHeader(Bytes bytes) {
  return bytes.size() >= kEvtHeaderUsed && Number(bytes, 0) == kEvtHeaderUsed &&
         Number(bytes, 4) == kEvtSignature &&
         Number(bytes, kEvtHeaderUsed - kEvtLengthCopy) == kEvtHeaderUsed;
}

std::uint32_t WholeEvtLength(Bytes bytes) {
  const std::uint32_t length = PlausibleEvtLength(Clip(bytes, 0, kEvtFixedSize));
  if (length == 0 || !Fits(bytes, 0, length)) return 0;
  return Number(bytes, length - kEvtLengthCopy) == length ? length : 0;
}

}  // namespace tarnlex
