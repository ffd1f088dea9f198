#include "evtx/nested_scan.h"

#include <bit>
#include <vector>

#include "evtx/fragment.h"

namespace tarnlex {
namespace {

// The definitions that a record brings along, as they are met.
struct NestedScan {
  EvtxDecoder& decoder;
  DecodedEvent& event;
  std::vector<TemplateRef> met;
  std::uint32_t work_left;
  bool only_instances_alone = true;  // nothing follows an instance among the record's own values
};

std::uint32_t Origin(std::uint64_t record_id, std::uint32_t source) {
  return static_cast<std::uint32_t>(record_id) + source;
}

bool ScanArray(NestedScan& scan, const SubstitutionArray& array, int depth);

// Whether an instance gets its names from the definition that it names: not, to the complete
// policy, from one that was overwritten, whatever others of that definition had.
bool HasDefinition(const NestedScan& scan, std::uint32_t token, const DefinitionHead& head) {
  return scan.decoder.policy == Policy::kLiteral ||
         IsInstanceOf(scan.decoder.chunk.data, token, head);
}

// `end` gets where the instance ends, when that is known.
bool ScanInstance(NestedScan& scan, std::uint32_t token, int depth, std::uint32_t& end) {
  EvtxChunk& chunk = scan.decoder.chunk;
  TemplateInstance instance;
  DefinitionHead head;
  SubstitutionArray array;
  // At its bounds the scan ends quietly: what it has listed by then is sound.
  if (depth == kMaxNesting || scan.work_left == 0) return true;
  if (!LocateInstance(chunk.data, token, instance) ||
      !ReadDefinitionHead(chunk.data, instance.definition, head) ||
      !ParseSubstitutionArray(chunk.data, instance.array, scan.decoder.policy,
                              scan.event.structure.slots, array)) {
    return false;
  }
  if (array.count > scan.work_left) {
    scan.work_left = 0;
    return true;
  }
  scan.work_left -= array.count;
  end = array.end;
  if (depth == 0) {
    const bool only = HoldsOneBinaryXml(scan.event.array) && !HoldsBinaryXml(array) &&
                      HasDefinition(scan, token, head);
    scan.event.nested = {only, nullptr, instance.definition, head.size, array};
  }
  if (!Find(chunk.resolved, instance.definition)) {
    scan.met.push_back({chunk.file_offset + instance.definition, chunk.file_offset,
                        instance.definition, Origin(scan.event.record_id, kOriginNested), head.next,
                        head.guid, head.size});
  }
  return ScanArray(scan, array, depth + 1);
}

// One binary XML value: the instance that it begins with and those right behind it.
inline bool ScanValue(NestedScan& scan, const SubstitutionValue& value, int depth) {
  const Bytes chunk = scan.decoder.chunk.data;
  const std::uint32_t value_end = value.offset + value.size;
  std::uint32_t token = 0;
  FragmentStart start = LookAtFragment(chunk, value.offset, value.size, token);
  while (start == FragmentStart::kInstance) {
    std::uint32_t end = value_end;
    if (!ScanInstance(scan, token, depth, end)) return false;
    if (!MayFollowInstance(chunk, end, value_end)) return true;
    start = LookBehindInstance(chunk, end, value_end, token);
    if (depth == 0 && GivesValues(start, scan.decoder.policy)) scan.only_instances_alone = false;
    // The first instance of a value is paid for with the value.
    if (scan.work_left > 0) --scan.work_left;
  }
  return true;
}

// The values that have no bit.
[[gnu::noinline]] bool ScanBeyond(NestedScan& scan, const SubstitutionArray& array, int depth) {
  for (std::uint32_t i = kSlotBits; i < array.count; ++i) {
    const SubstitutionValue value = scan.event.structure.slots[array.first + i];
    if (value.type == kEvtVarTypeEvtBXml && !ScanValue(scan, value, depth)) return false;
  }
  return true;
}

bool ScanArray(NestedScan& scan, const SubstitutionArray& array, int depth) {
  for (std::uint64_t left = array.binary_xml; left != 0; left &= left - 1) {
    const auto slot = static_cast<std::uint32_t>(std::countr_zero(left));
    // Copied, as the values move when more are found.
    const SubstitutionValue value = scan.event.structure.slots[array.first + slot];
    if (!ScanValue(scan, value, depth)) return false;
  }
  return !array.binary_xml_beyond || ScanBeyond(scan, array, depth);
}

}  // namespace

void RegisterNestedTemplates(EvtxDecoder& decoder, std::uint32_t record, const DefinitionHead& own,
                             bool known, DecodedEvent& event) {
  EvtxChunk& chunk = decoder.chunk;
  // The values are decoded after the scan. They count once, or arrays that multiply would use up
  // all work before the first value of the event is reached.
  NestedScan scan{decoder, event, {}, event.work_left, true};
  const bool walked = ScanArray(scan, event.array, 0);
  // A plan is kept for a value that is one instance. Its values stay.
  event.nested.usable &= scan.only_instances_alone;
  const std::uint32_t nested = event.nested.usable ? event.nested.array.count : 0;
  event.structure.slots.count = event.array.count + nested;
  if (!walked) return;
  if (!known) {
    // The record's own entry carries the place of its binary XML instead of the definition's: later
    // records find it and no values, until one brings the definition along.
    RegisterTemplate(chunk, {kUnknownDefinition, kUnknownDefinition, record + kRecordHeaderSize,
                             Origin(event.record_id, kOriginRecord), own.next, own.guid, own.size});
  }
  for (const TemplateRef& nested_template : scan.met) {
    const TemplateRef& kept = RegisterTemplate(chunk, nested_template);
    Add<const TemplateRef*>(chunk.resolved, nested_template.chunk_offset, &kept);
  }
}

}  // namespace tarnlex
