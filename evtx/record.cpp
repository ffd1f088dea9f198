#include "evtx/record.h"

#include <algorithm>

#include "event/slot_text.h"
#include "event/system_time.h"
#include "evtx/element_kind.h"
#include "evtx/nested_scan.h"
#include "evtx/plan_of.h"
#include "evtx/resolve.h"
#include "evtx/trace.h"
#include "logs/date_time.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kKeptFragments = 64;  // more than any real record has

void ReadHeader(const EvtxChunk& chunk, std::uint32_t offset, DecodedEvent& event) {
  const std::uint8_t* record = chunk.data.data() + offset;
  event.signature = Load<std::uint32_t>(record);
  event.size =
      chunk.found_size > 0 ? chunk.found_size : Load<std::uint32_t>(record + kRecordSizeField);
  event.record_id = Load<std::uint64_t>(record + kRecordIdField);
  event.written_time = Load<std::uint64_t>(record + kRecordTimeField);
  event.time = event.written_time;
  event.own_time = 0;
  event.chunk = chunk.found_size > 0 ? 0 : chunk.serial;
  event.chunk_file_offset = chunk.file_offset;
  event.record_file_offset = chunk.file_offset + offset;
}

// Forgets the record before.
void BeginRecord(const EvtxDecoder& decoder, DecodedEvent& event) {
  event.event_id = 0;
  event.tree = nullptr;
  event.array = {};
  event.nested.usable = false;
  event.nested.tree = nullptr;
  event.structure.policy = decoder.policy;
  event.structure.bytes = decoder.chunk.data;
  event.structure.slots.count = 0;
  event.resolved = false;
  event.faults = 0;
  event.plan = nullptr;
  event.max_text = 0;
  event.fragments_used = 0;
  if (event.fragments.size() > kKeptFragments) event.fragments.resize(kKeptFragments);
}

// Sizes of records lead from one to the next, so they add up to no more than the chunk.
void ShareOutWork(std::uint32_t offset, DecodedEvent& event) {
  event.share = std::min(event.size, kChunkSize - offset);
  const bool is_whole = event.share >= kLeastInstanceRecord;
  event.work_bound = is_whole ? kMaxRecordWork : kWorkPerByte * event.share;
  event.work_left = event.work_bound;
}

// A definition is known by its GUID. One that the chunk has not registered counts only when it
// stands in this very record.
const TemplateRef* FindReference(EvtxChunk& chunk, std::uint32_t record, std::uint32_t definition,
                                 const DefinitionHead& head, std::uint64_t expected_number) {
  const std::uint32_t here = record + kRecordInlinePosition;
  const auto same = chunk.templates.find(head.guid);
  const TemplateRef* found = same == chunk.templates.end() ? nullptr : &same->second;
  if (!found && definition != here) return nullptr;
  if (definition == here) {
    const auto origin = static_cast<std::uint32_t>(expected_number + kOriginRecord);
    found = &RegisterTemplate(chunk, {chunk.file_offset + here, chunk.file_offset, here, origin,
                                      head.next, head.guid, head.size});
  }
  if (found->definition_file_offset != kUnknownDefinition) {
    Add(chunk.resolved, definition, found);
  }
  return found;
}

void SayMismatch(TextSink& trace, const TemplateRef& reference, const DefinitionHead& stored) {
  TraceLine(trace, "mismatch of offsets: elf: 0x" + HexText(reference.definition_file_offset) +
                       ", chnk: 0x" + HexText(reference.chunk_file_offset) + ", offset: 0x" +
                       HexText(reference.chunk_offset));
  TraceLine(trace,
            "sizeof record: 0x" + HexText(stored.size) + ", vs: 0x" + HexText(reference.data_size));
}

// What is registered for a template may lie where there is none (see RegisterNestedTemplates).
const Tree* RegisteredTree(EvtxDecoder& decoder, const TemplateRef& reference,
                           DecodedEvent& event) {
  DefinitionHead stored;
  const bool readable = ReadDefinitionHead(decoder.chunk.data, reference.chunk_offset, stored);
  if (!readable || stored.size != reference.data_size) {
    NoteFault(decoder, event, RecordFault::kTemplateMismatch);
    if (decoder.trace) SayMismatch(*decoder.trace, reference, stored);
    return nullptr;
  }
  TraceTemplate(decoder, reference.chunk_offset, reference.data_size);
  return TemplateTree(decoder, event, reference.chunk_offset, reference.data_size);
}

void NoteNoTemplate(EvtxDecoder& decoder, DecodedEvent& event) {
  NoteFault(decoder, event, RecordFault::kNoTemplate);
  if (decoder.trace) TraceLine(*decoder.trace, "prob accessing template, aborting");
  event.array = {};
  event.nested = {};
  event.structure.slots.count = 0;
}

void NoteUnreadableValues(EvtxDecoder& decoder, DecodedEvent& event) {
  NoteFault(decoder, event, RecordFault::kUnreadableValues);
  if (decoder.trace) TraceLine(*decoder.trace, "prob parsing slot data first, continuing");
}

// A record that instantiates the template defined at `definition`.
void FrameInstance(EvtxDecoder& decoder, std::uint32_t record, std::uint32_t definition,
                   std::uint64_t expected_number, DecodedEvent& event) {
  EvtxChunk& chunk = decoder.chunk;
  DefinitionHead head;
  if (!ReadDefinitionHead(chunk.data, definition, head)) {
    NoteNoTemplate(decoder, event);
    return;
  }
  const TemplateRef* const* const known = Find(chunk.resolved, definition);
  const TemplateRef* reference =
      known ? *known : FindReference(chunk, record, definition, head, expected_number);
  const std::uint32_t here = record + kRecordInlinePosition;
  std::uint64_t array = here;
  if (definition == here) array += kDefinitionHeadSize + std::uint64_t{head.size};
  const bool readable = ParseSubstitutionArray(
      chunk.data, static_cast<std::uint32_t>(std::min<std::uint64_t>(array, kChunkSize)),
      decoder.policy, event.structure.slots, event.array);
  Charge(event, event.array.count);
  if (readable && (HoldsBinaryXml(event.array) || !reference)) {
    RegisterNestedTemplates(decoder, record, head, reference != nullptr, event);
  }
  if (!reference) {
    NoteNoTemplate(decoder, event);
    return;
  }
  if (!readable) NoteUnreadableValues(decoder, event);
  if (event.array.cut) NoteFault(decoder, event, RecordFault::kValuesCut);
  event.tree = RegisteredTree(decoder, *reference, event);
}

bool IsInstanceToken(Bytes chunk, std::uint32_t token) {
  std::uint8_t byte = 0;
  return ReadAt(chunk, token, byte) && (byte & 0x1F) == 0x0C;
}

// The same where every value counts: the definition that the record names is the one, as long as it
// has not been overwritten; without it the values are given without names.
void FrameWhateverIsThere(EvtxDecoder& decoder, std::uint32_t record, std::uint32_t definition,
                          DecodedEvent& event) {
  const Bytes chunk = decoder.chunk.data;
  const std::uint32_t here = record + kRecordInlinePosition;
  const std::uint32_t token = here - kInstanceTokenSize;
  DefinitionHead head;
  const bool known =
      ReadDefinitionHead(chunk, definition, head) && IsInstanceOf(chunk, token, head);
  if (!known && !IsInstanceToken(chunk, token)) {
    NoteNoTemplate(decoder, event);
    return;
  }
  std::uint64_t array = here;
  if (definition == here) array += kDefinitionHeadSize + std::uint64_t{head.size};
  const bool readable = ParseSubstitutionArray(
      chunk, static_cast<std::uint32_t>(std::min<std::uint64_t>(array, kChunkSize)), decoder.policy,
      event.structure.slots, event.array);
  Charge(event, event.array.count);
  if (readable && HoldsBinaryXml(event.array)) {
    RegisterNestedTemplates(decoder, record, head, true, event);
  }
  if (!readable) NoteUnreadableValues(decoder, event);
  if (event.array.cut) NoteFault(decoder, event, RecordFault::kValuesCut);
  event.tree = InstanceTree(decoder, event, token, definition, head, event.array.count);
}

// Takes out of a recovered record what nothing vouches for.
[[gnu::noinline]] void LeaveOutUnproved(DecodedEvent& event) {
  event.nested.usable = false;  // no plan is kept for what is only partly told
  event.structure.slots.count = event.array.count;
  if (event.recovery.checked == Checked::kNone) event.tree = UnvouchedTree(event, event.array, 0);
}

// A record whose binary XML is plain elements, as forwarded and re-exported logs hold them.
void FrameElements(EvtxDecoder& decoder, std::uint32_t record, DecodedEvent& event) {
  constexpr std::uint32_t kHeaders = kRecordHeaderSize + kFragmentHeaderSize;
  // Behind the elements stands a copy of the size, which must not be read as a token.
  const std::uint64_t body_end = std::max(event.size, kHeaders + kRecordSizeCopy) - kRecordSizeCopy;
  const std::uint64_t end = std::min(record + body_end, std::uint64_t{decoder.chunk.data.size()});
  const std::uint32_t begin = record + kHeaders;
  const auto stream_end = static_cast<std::uint32_t>(end);
  event.tree = TreeOfKind(decoder, event, begin, stream_end, event.array);
  if (!event.tree) event.tree = FragmentTree(decoder, event, begin, stream_end);
}

bool IsElementRecord(Bytes chunk, std::uint32_t record) {
  std::uint32_t header = 0;
  std::uint8_t token = 0;
  const std::uint32_t stream = record + kRecordHeaderSize;
  return ReadAt(chunk, stream, header) && header == kFragmentHeader &&
         ReadAt(chunk, stream + kFragmentHeaderSize, token) && (token & 0x0F) == 0x01;
}

// Whether the slot at `place` holds what a plan would find.
bool IsCertain(const DecodedEvent& event, const SlotPlace& place, std::uint32_t work_left) {
  const SubstitutionArray& array = event.array;
  return place.slot >= 0 && static_cast<std::uint32_t>(place.slot) < array.count &&
         (array.binary_xml & place.slots_before) == 0 && !array.binary_xml_beyond &&
         place.nodes <= work_left;
}

// The identifier without a plan, where the record's tree allows that.
bool QuickEventId(DecodedEvent& event, std::uint32_t work_left) {
  if (!event.tree) return false;
  const SlotPlace& place = event.tree->extent.event_id;
  if (!IsCertain(event, place, work_left)) return false;
  const SubstitutionValue& value = event.structure.slots[static_cast<std::size_t>(place.slot)];
  if (value.type == kEvtVarTypeNull) return true;  // "0" or unresolved: no identifier
  const Bytes chunk = event.structure.bytes;
  if (value.type == kEvtVarTypeUInt16 && value.size >= 2) {
    event.event_id = Load<std::uint16_t>(chunk.data() + value.offset);
    return true;
  }
  constexpr std::size_t kMostIdBytes = 64;
  if (value.size > kMostIdBytes || value.type == kEvtVarTypeAnsiString) return false;
  char text[kMaxNumberRoom + kCompleteTextPerByte * kMostIdBytes];
  event.event_id = LeadingNumber({text, WriteSlotText(event.structure, value, text)});
  return true;
}

// `work_left` is what framing has left of the record's work.
void SettleEventId(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t work_left) {
  if (QuickEventId(event, work_left)) return;
  const Plan& plan = PlanOf(decoder, event);
  if (plan.event_id < 0) return;
  std::string scratch;
  const PlanValue& value = plan.values[static_cast<std::size_t>(plan.event_id)];
  event.event_id = LeadingNumber(TextOf(event.structure, plan, value, scratch));
}

// The time without a plan; 0 when the event states none.
bool QuickSystemTime(const DecodedEvent& event, std::uint32_t work_left, std::uint64_t& time) {
  if (!event.tree || !IsCertain(event, event.tree->extent.system_time, work_left)) return false;
  const auto slot = static_cast<std::size_t>(event.tree->extent.system_time.slot);
  const SubstitutionValue& value = event.structure.slots[slot];
  if (value.type != kEvtVarTypeFileTime) return value.type == kEvtVarTypeNull;
  ReadAt(event.structure.bytes.subspan(value.offset, value.size), 0, time);
  return true;
}

// Times of a live log differ by less.
void NoteOwnTime(EvtxDecoder& decoder, DecodedEvent& event, std::uint64_t time) {
  if (!IsValidFiletime(time)) return;
  event.own_time = time;
  const std::uint64_t apart =
      std::max(time, event.written_time) - std::min(time, event.written_time);
  decoder.account.other_times += apart >= kTicksPerSecond && !IsRecovered(event.recovery);
}

// The header states when a record was written to this log, which for one that was saved from
// another log need not be when the event happened.
void SettleTime(EvtxDecoder& decoder, DecodedEvent& event, std::uint32_t work_left) {
  std::uint64_t time = 0;
  if (!QuickSystemTime(event, work_left, time)) {
    time = SystemTimeOf(event.structure, PlanOf(decoder, event));
  }
  NoteOwnTime(decoder, event, time);
  if (event.own_time != 0) event.time = event.own_time;
}

}  // namespace

void BeginLog(EvtxDecoder& decoder, TextSink* trace, Policy policy, bool surveys) {
  // What is kept goes by the policy.
  if (decoder.policy != policy) decoder.store = {};
  decoder.policy = policy;
  decoder.account = {};
  decoder.account.own_times = policy == Policy::kComplete;
  decoder.trace = trace;
  decoder.checks_records = trace != nullptr || surveys;
  decoder.surveys = surveys;
  // What is left must do for all kinds of events that this log may hold.
  if (IsHalfFull(decoder.store)) decoder.store = {};
}

void BeginChunk(EvtxDecoder& decoder, Bytes data, std::uint64_t file_offset) {
  LoadChunk(data, file_offset, decoder.trace != nullptr, decoder.chunk);
}

void EndChunk(EvtxDecoder& decoder) {
  EvtxChunk& chunk = decoder.chunk;
  if (!decoder.keeps) return;
  for (StoredTemplate& stored : chunk.new_templates) KeepTemplate(decoder.store, stored);
  KeepKinds(decoder.store, chunk.new_kinds);
  decoder.store.plans_made += static_cast<std::uint32_t>(chunk.new_plans.size());
  KeepPlans(decoder.store, chunk.new_plans);
  chunk.new_plans.clear();
  chunk.last_plan = nullptr;
}

void CompareWithOwn(EvtxDecoder& decoder, DecodedEvent& event) {
  if (decoder.policy == Policy::kComplete || event.own_time != 0) return;
  NoteOwnTime(decoder, event, SystemTimeOf(event.structure, *event.plan));
}

bool FrameRecord(EvtxDecoder& decoder, std::uint32_t offset, std::uint64_t expected_number,
                 DecodedEvent& event) {
  const Bytes chunk = decoder.chunk.data;
  BeginRecord(decoder, event);
  ReadHeader(decoder.chunk, offset, event);
  ShareOutWork(offset, event);
  if (decoder.trace) {
    TraceLine(*decoder.trace, "record " + std::to_string(event.record_id) + " at file offset 0x" +
                                  HexText(event.record_file_offset));
  }
  std::uint32_t definition = 0;
  if (!event.recovery.has_values) {
    // Its head is all that is told.
  } else if (IsElementRecord(chunk, offset)) {
    FrameElements(decoder, offset, event);
  } else if (!ReadAt(chunk, offset + kRecordDefinitionField, definition)) {
    NoteNoTemplate(decoder, event);
  } else if (decoder.policy == Policy::kComplete) {
    FrameWhateverIsThere(decoder, offset, definition, event);
    if (event.recovery.checked != Checked::kAll) LeaveOutUnproved(event);
  } else if (definition > kMaxDefinitionOffset) {
    NoteFault(decoder, event, RecordFault::kTemplateOffset);
    return false;
  } else {
    FrameInstance(decoder, offset, definition, expected_number, event);
  }
  decoder.account.records += !IsRecovered(event.recovery);
  const std::uint32_t work_left = event.work_left;
  if (decoder.trace) ResolveStreams(decoder, event);
  SettleEventId(decoder, event, work_left);
  if (decoder.policy == Policy::kComplete) SettleTime(decoder, event, work_left);
  return true;
}

}  // namespace tarnlex
