#include "evtx/nested_scan.h"

#include <bit>

namespace tarnlex {
namespace {

std::uint32_t Origin(std::uint64_t record_id, std::uint32_t source) {
  return static_cast<std::uint32_t>(record_id) + source;
}

bool ScanArray(EvtxDecoder& decoder, const SubstitutionArray& array, std::uint64_t record_id,
               int depth);

// `end` gets where the instance ends, when that is known.
bool ScanInstance(EvtxDecoder& decoder, std::uint32_t token, std::uint64_t record_id, int depth,
                  std::uint32_t& end) {
  const Bytes chunk = decoder.chunk.data;
  TemplateInstance instance;
  DefinitionHead head;
  // Who plans the values of a record with one array in it need not parse that one again.
  SubstitutionArray deeper;
  SubstitutionArray& nested = depth == 0 ? decoder.nested.array : deeper;
  // At its bounds the scan ends quietly: what it has listed by then is sound.
  if (depth == kMaxNesting) return true;
  if (!LocateInstance(chunk, token, instance) ||
      !ReadDefinitionHead(chunk, instance.definition, head) ||
      !ParseSubstitutionArray(chunk, instance.array, nested)) {
    return false;
  }
  if (!Charge(decoder, nested.count)) return true;
  end = nested.end;
  if (depth == 0) {
    decoder.nested.usable = std::has_single_bit(decoder.array.binary_xml) && nested.binary_xml == 0;
    decoder.nested.definition = instance.definition;
    decoder.nested.definition_size = head.size;
  }
  if (!decoder.chunk.resolved.contains(instance.definition)) {
    decoder.scanned.push_back({decoder.chunk.file_offset + instance.definition,
                               decoder.chunk.file_offset, instance.definition,
                               Origin(record_id, kOriginNested), head.next, head.guid, head.size});
  }
  return ScanArray(decoder, nested, record_id, depth + 1);
}

// One binary XML value: the instance that it begins with and those right behind it.
bool ScanValue(EvtxDecoder& decoder, const SubstitutionValue& value, std::uint64_t record_id,
               int depth) {
  const Bytes chunk = decoder.chunk.data;
  const std::uint32_t value_end = value.offset + value.size;
  std::uint32_t token = 0;
  FragmentStart start = LookAtFragment(chunk, value.offset, value.size, token);
  while (start == FragmentStart::kInstance) {
    std::uint32_t end = value_end;
    if (!ScanInstance(decoder, token, record_id, depth, end)) return false;
    start = LookBehindInstance(chunk, end, value_end, token);
    // A plan is made for a value that is one instance.
    if (depth == 0 && start != FragmentStart::kOther) decoder.nested.usable = false;
  }
  return true;
}

bool ScanArray(EvtxDecoder& decoder, const SubstitutionArray& array, std::uint64_t record_id,
               int depth) {
  for (std::uint32_t i = 0; array.binary_xml >> i != 0; ++i) {
    if ((array.binary_xml >> i & 1) == 0) continue;
    if (!ScanValue(decoder, array.values[i], record_id, depth)) return false;
  }
  return true;
}

}  // namespace

void RegisterNestedTemplates(EvtxDecoder& decoder, std::uint32_t record, std::uint64_t record_id,
                             const DefinitionHead& own) {
  decoder.scanned.clear();
  // The values are decoded after the scan. They count once, or arrays that multiply would use up
  // all work before the first value of the event is reached.
  const std::uint32_t work_left = decoder.work_left;
  const bool walked = ScanArray(decoder, decoder.array, record_id, 0);
  decoder.work_left = work_left;
  if (!walked) return;
  if (!decoder.reference) {
    // The record's own entry carries the place of its binary XML instead of the definition's: later
    // records find it and no values, until one brings the definition along.
    RegisterTemplate(decoder.chunk,
                     {kUnknownDefinition, kUnknownDefinition, record + kRecordHeaderSize,
                      Origin(record_id, kOriginRecord), own.next, own.guid, own.size});
  }
  for (const TemplateRef& nested : decoder.scanned) {
    const TemplateRef& kept = RegisterTemplate(decoder.chunk, nested);
    decoder.chunk.resolved.emplace(nested.chunk_offset, &kept);
  }
}

}  // namespace tarnlex
