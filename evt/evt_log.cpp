#include "evt/evt_log.h"

#include <algorithm>

namespace tarnlex {
namespace {

// Several times what a record may reach for, so that few bytes are read twice, and little enough
// for a cache.
constexpr std::uint64_t kWindow = std::uint64_t{1} << 20;

bool InPart(const EvtLog& log, std::uint64_t offset, std::uint64_t size) {
  return offset >= log.begin && Fits(log.part, offset - log.begin, size);
}

std::uint64_t CutAtEnd(const EvtLog& log, std::uint64_t offset, std::uint64_t size) {
  return offset >= log.size ? 0 : std::min(size, log.size - offset);
}

}  // namespace

Bytes Stretch(const EvtLog& log, std::uint64_t offset, std::uint64_t size, FileBytes& room) {
  size = CutAtEnd(log, offset, size);
  if (size == 0) return {};
  if (InPart(log, offset, size)) return Clip(log.part, offset - log.begin, size);
  if (log.file == nullptr) return {};
  return ReadInto(*log.file, offset, size, room);
}

void ShowInWindow(EvtLog& log, std::uint64_t offset, std::uint64_t size, FileBytes& window) {
  size = CutAtEnd(log, offset, size);
  if (log.file == nullptr || size == 0 || InPart(log, offset, size)) return;
  const std::uint64_t wanted = CutAtEnd(log, offset, std::max(size, kWindow));
  log.begin = offset;
  log.part = ReadInto(*log.file, offset, wanted, window);
  if (log.part.size() < wanted) log.size = offset + log.part.size();
}

}  // namespace tarnlex
