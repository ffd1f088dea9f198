#include "evtx/substitution.h"

#include <algorithm>

#include "evtx/binary_xml.h"

namespace tarnlex {

bool ParseSubstitutionArray(Bytes chunk, std::uint32_t offset, SubstitutionArray& array) {
  array.count = 0;
  array.end = offset;
  array.binary_xml = 0;
  array.cut = false;
  array.has_ansi = false;
  if (!Fits(chunk, offset, 8)) return false;
  const std::uint32_t count = Load<std::uint32_t>(chunk.data() + offset);
  if (count > kMaxArrayValues) return false;
  const std::uint32_t descriptors = offset + 4;
  if (!Fits(chunk, descriptors, std::uint64_t{kDescriptorSize} * count)) return false;
  const std::uint8_t* descriptor = chunk.data() + descriptors;
  const auto chunk_end = static_cast<std::uint32_t>(chunk.size());
  std::uint32_t at = descriptors + kDescriptorSize * count;
  std::uint32_t taken = 0;
  // Kept out of `array`, which the bytes that are read might otherwise be a part of.
  std::uint32_t binary_xml = 0;
  bool has_ansi = false;
  for (; taken < count; ++taken, descriptor += kDescriptorSize) {
    const std::uint32_t fields = Load<std::uint32_t>(descriptor);
    const std::uint32_t size = fields & 0xFFFF;
    const auto type = static_cast<std::uint8_t>(fields >> 16);
    if (size > chunk_end - at) break;
    array.values[taken] = {at, static_cast<std::uint16_t>(size), type};
    if (type == kEvtVarTypeEvtBXml) binary_xml |= 1U << taken;
    if (type == kEvtVarTypeAnsiString) has_ansi = true;
    at += size;
  }
  array.cut = taken < count;
  array.binary_xml = binary_xml;
  array.has_ansi = has_ansi;
  array.count = taken;
  array.end = at;
  return true;
}

bool ReadDefinitionHead(Bytes chunk, std::uint32_t offset, DefinitionHead& head) {
  if (!Fits(chunk, offset, kDefinitionHeadSize)) return false;
  const std::uint8_t* at = chunk.data() + offset;
  head.next = Load<std::uint32_t>(at);
  std::copy_n(at + kDefinitionGuidField, head.guid.size(), head.guid.begin());
  head.size = Load<std::uint32_t>(at + kDefinitionSizeField);
  return true;
}

bool LocateInstance(Bytes chunk, std::uint32_t token, TemplateInstance& instance) {
  if (!Fits(chunk, token, kInstanceTokenSize)) return false;
  const std::uint32_t behind = token + kInstanceTokenSize;
  instance.definition = Load<std::uint32_t>(chunk.data() + behind - 4);
  instance.array = behind;
  if (instance.definition != behind) return true;
  DefinitionHead head;
  if (!ReadDefinitionHead(chunk, behind, head)) return false;
  const std::uint64_t array = std::uint64_t{behind} + kDefinitionHeadSize + head.size;
  instance.array = static_cast<std::uint32_t>(std::min<std::uint64_t>(array, chunk.size()));
  return true;
}

FragmentStart LookAtFragment(Bytes chunk, std::uint32_t offset, std::uint32_t size,
                             std::uint32_t& first) {
  first = FirstToken(chunk, offset, offset + size);
  std::uint8_t token = 0;
  if (!ReadAt(Clip(chunk, 0, std::uint64_t{offset} + size), first, token)) {
    return FragmentStart::kOther;
  }
  if ((token & 0x1F) == 0x0C) return FragmentStart::kInstance;
  return (token & 0x0F) == 0x01 ? FragmentStart::kElement : FragmentStart::kOther;
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
