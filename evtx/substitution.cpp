#include "evtx/substitution.h"

#include <algorithm>

namespace tarnlex {
namespace {

constexpr std::uint8_t kListType = 0x80;

// The descriptors of an array and where its values begin.
struct ArrayHead {
  const std::uint8_t* descriptors = nullptr;
  std::uint32_t count = 0;
  std::uint32_t values = 0;
};

bool ReadArrayHead(Bytes chunk, std::uint32_t offset, Policy policy, ArrayHead& head) {
  if (!Fits(chunk, offset, 8)) return false;
  head.count = Load<std::uint32_t>(chunk.data() + offset);
  if (head.count > MostArrayValues(policy)) return false;
  const std::uint32_t descriptors = offset + 4;
  const std::uint32_t size = kDescriptorSize * head.count;
  if (!Fits(chunk, descriptors, size)) return false;
  head.descriptors = chunk.data() + descriptors;
  head.values = descriptors + size;
  return true;
}

// What the types of an array's values say of it.
void LookAtTypes(const SubstitutionValue* values, SubstitutionArray& array) {
  array.binary_xml = 0;
  array.has_ansi = array.has_lists = false;
  for (std::uint32_t i = 0; i < array.count; ++i) {
    array.has_ansi |= values[i].type == kEvtVarTypeAnsiString;
    array.has_lists |= (values[i].type & kListType) != 0;
    if (values[i].type != kEvtVarTypeEvtBXml) continue;
    if (i < kSlotBits) array.binary_xml |= std::uint64_t{1} << i;
    array.binary_xml_beyond |= i >= kSlotBits;
  }
}

// Leaves out the values that would run past the chunk.
void CutArray(const SubstitutionValue* values, std::size_t chunk_size, SubstitutionArray& array) {
  while (array.end > chunk_size) array.end = values[--array.count].offset;
  array.cut = true;
}

}  // namespace

bool ParseSubstitutionArray(Bytes chunk, std::uint32_t offset, Policy policy, SlotList& slots,
                            SubstitutionArray& array) {
  array = {};
  array.first = static_cast<std::uint32_t>(slots.count);
  array.end = offset;
  ArrayHead head;
  if (!ReadArrayHead(chunk, offset, policy, head)) return false;
  SubstitutionValue* const values = MoreSlots(slots, head.count);
  const std::uint8_t* descriptor = head.descriptors;
  std::uint32_t at = head.values;
  // Kept out of `array`, which the bytes that are read might otherwise be a part of.
  std::uint64_t binary_xml = 0;
  bool has_ansi = false;
  std::uint32_t any = 0;
  for (std::uint32_t i = 0; i < head.count; ++i, descriptor += kDescriptorSize) {
    const std::uint32_t fields = Load<std::uint32_t>(descriptor);
    const std::uint32_t size = fields & 0xFFFF;
    const auto type = static_cast<std::uint8_t>(fields >> 16);
    values[i] = {at, size, type};
    any |= fields;
    if (type == kEvtVarTypeEvtBXml) binary_xml |= std::uint64_t{1} << i % kSlotBits;
    if (type == kEvtVarTypeAnsiString) has_ansi = true;
    at += size;
  }
  array.count = head.count;
  array.end = at;
  array.binary_xml = binary_xml;
  array.has_ansi = has_ansi;
  array.has_lists = (any >> 16 & kListType) != 0;
  if (at > chunk.size()) CutArray(values, chunk.size(), array);
  if (array.cut || (array.count > kSlotBits && binary_xml != 0)) LookAtTypes(values, array);
  array.bytes = array.end - head.values;
  slots.count += array.count;
  return true;
}

bool FindArrayEnd(Bytes chunk, std::uint32_t offset, Policy policy, std::uint32_t& end) {
  ArrayHead head;
  if (!ReadArrayHead(chunk, offset, policy, head)) return false;
  end = head.values;
  for (std::uint32_t i = 0; i < head.count; ++i) {
    const auto size = Load<std::uint16_t>(head.descriptors + std::size_t{kDescriptorSize} * i);
    if (size > chunk.size() - end) break;
    end += size;
  }
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

bool IsInstanceOf(Bytes chunk, std::uint32_t token, const DefinitionHead& head) {
  std::uint32_t id = 0;
  return ReadAt(chunk, std::uint64_t{token} + kInstanceIdField, id) && head.size > 0 &&
         id == Load<std::uint32_t>(head.guid.data());
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

}  // namespace tarnlex
