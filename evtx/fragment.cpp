#include "evtx/fragment.h"

#include "evtx/binary_xml.h"

namespace tarnlex {

FragmentStart LookAtFragment(Bytes chunk, std::uint32_t offset, std::uint32_t size,
                             std::uint32_t& first) {
  first = FirstToken(chunk, offset, offset + size);
  std::uint8_t token = 0;
  if (!ReadAt(Clip(chunk, 0, std::uint64_t{offset} + size), first, token)) {
    return FragmentStart::kOther;
  }
  if ((token & 0x1F) == 0x0C) return FragmentStart::kInstance;
  const std::uint8_t kind = token & 0x0F;
  if (kind == 0x01) return FragmentStart::kElement;
  const bool is_text = kind == 0x05 || (kind >= 0x07 && kind <= 0x0A);
  return is_text ? FragmentStart::kText : FragmentStart::kOther;
}

FragmentStart LookBehindInstance(Bytes chunk, std::uint32_t pos, std::uint32_t end,
                                 std::uint32_t& first) {
  if (pos >= end || pos >= chunk.size()) return FragmentStart::kOther;
  if (chunk[pos] == 0) {
    ++pos;
    if (FirstToken(chunk, pos, end) == pos) return FragmentStart::kOther;
  }
  return LookAtFragment(chunk, pos, end - pos, first);
}

}  // namespace tarnlex
