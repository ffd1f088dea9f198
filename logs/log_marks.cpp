#include "logs/log_marks.h"

#include <algorithm>

namespace tarnlex {
namespace {

constexpr std::size_t kMarkSize = 4;
constexpr std::size_t kBlock = 256;
constexpr std::uint32_t kChunkMark = 0x43666C45;
constexpr std::uint32_t kRecordMark = 0x00002A2A;
constexpr std::uint32_t kEvtMark = 0x654C664C;

LogMark MarkAt(const std::uint8_t* at) {
  switch (Load<std::uint32_t>(at)) {
    case kChunkMark: return LogMark::kChunk;
    case kRecordMark: return LogMark::kRecord;
    case kEvtMark: return LogMark::kEvtMessage;
    default: return LogMark::kNone;
  }
}

// Whether a mark may begin among the bytes of a block, by three of its four bytes. Without a branch
// for each byte, so that compilers look at many of them at once.
bool MayHoldMark(const std::uint8_t* at) {
  std::uint8_t found = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const std::uint8_t first = at[i];
    const std::uint8_t second = at[i + 1];
    const std::uint8_t third = at[i + 2];
    const auto chunk = static_cast<std::uint8_t>((first == 'E') & (second == 'l') & (third == 'f'));
    const auto record = static_cast<std::uint8_t>((first == '*') & (second == '*') & (third == 0));
    const auto evt = static_cast<std::uint8_t>((first == 'L') & (second == 'f') & (third == 'L'));
    found = static_cast<std::uint8_t>(found | chunk | record | evt);
  }
  return found != 0;
}

}  // namespace

MarkPlace NextMark(Bytes bytes, std::size_t from) {
  const std::size_t end = bytes.size() < kMarkSize ? 0 : bytes.size() - kMarkSize + 1;
  while (from < end) {
    const bool whole = end - from >= kBlock;
    const std::size_t stop = whole ? from + kBlock : end;
    if (!whole || MayHoldMark(bytes.data() + from)) {
      for (; from < stop; ++from) {
        const LogMark mark = MarkAt(bytes.data() + from);
        if (mark != LogMark::kNone) return {mark, from};
      }
    }
    from = stop;
  }
  return {LogMark::kNone, bytes.size()};
}

}  // namespace tarnlex
