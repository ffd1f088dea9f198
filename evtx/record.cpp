#include "evtx/record.h"

#include <algorithm>

#include "evtx/expand.h"
#include "evtx/nested_scan.h"
#include "evtx/trace.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::size_t kKeptFragments = 64;  // more than any real record has

void ReadHeader(EvtxDecoder& decoder, std::uint32_t offset, DecodedEvent& event) {
  const std::uint8_t* record = decoder.chunk.data.data() + offset;
  event.chunk = decoder.chunk.data;
  event.signature = Load<std::uint32_t>(record);
  event.size = Load<std::uint32_t>(record + kRecordSizeField);
  event.record_id = Load<std::uint64_t>(record + kRecordIdField);
  event.written_time = Load<std::uint64_t>(record + kRecordTimeField);
  event.chunk_file_offset = decoder.chunk.file_offset;
  event.record_file_offset = decoder.chunk.file_offset + offset;
  decoder.record_id = event.record_id;
  decoder.record_file_offset = event.record_file_offset;
  event.event_id = 0;
  event.serial = ++decoder.serial;
  event.values.clear();
  event.parts.clear();
  event.max_text = 0;
  event.counted_text = 0;
  event.values_decoded = false;
  event.plannable = true;
}

void BeginRecord(EvtxDecoder& decoder) {
  decoder.faults = 0;
  decoder.reference = nullptr;
  decoder.program = nullptr;
  decoder.array.count = 0;
  decoder.array.binary_xml = 0;
  decoder.nested.usable = false;
  decoder.unnamed_data = 0;
  decoder.counted_data.clear();
  decoder.fragments_used = 0;
  if (decoder.fragments.size() > kKeptFragments) decoder.fragments.resize(kKeptFragments);
}

// Sizes of records lead from one to the next, so they add up to no more than the chunk.
void ShareOutWork(EvtxDecoder& decoder, std::uint32_t offset, DecodedEvent& event) {
  decoder.record_share = std::min(event.size, kChunkSize - offset);
  decoder.work_left = kMaxRecordWork;
  if (decoder.record_share >= kLeastInstanceRecord) return;
  const std::uint64_t work =
      std::max<std::uint64_t>(decoder.chunk.work_left, kWorkPerByte * decoder.record_share);
  decoder.work_left = static_cast<std::uint32_t>(std::min<std::uint64_t>(kMaxRecordWork, work));
}

// A definition is known by its GUID. One that the chunk has not registered counts only when it
// stands in this very record.
const TemplateRef* FindTemplate(EvtxChunk& chunk, std::uint32_t record, std::uint32_t definition,
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
    chunk.resolved.emplace(definition, found);
  }
  return found;
}

// What is registered for a template may lie where there is none (see RegisterNestedTemplates).
const TemplateProgram* RegisteredProgram(EvtxDecoder& decoder, const TemplateRef& reference) {
  DefinitionHead stored;
  ReadDefinitionHead(decoder.chunk.data, reference.chunk_offset, stored);
  if (stored.size == reference.data_size) {
    return PreparedTemplate(decoder, reference.chunk_offset, reference.data_size);
  }
  NoteFault(decoder, RecordFault::kTemplateMismatch);
  if (decoder.trace) {
    TraceLine(*decoder.trace, "mismatch of offsets: elf: 0x" +
                                  HexText(reference.definition_file_offset) + ", chnk: 0x" +
                                  HexText(reference.chunk_file_offset) + ", offset: 0x" +
                                  HexText(reference.chunk_offset));
    TraceLine(*decoder.trace, "sizeof record: 0x" + HexText(stored.size) + ", vs: 0x" +
                                  HexText(reference.data_size));
  }
  return nullptr;
}

void NoteNoTemplate(EvtxDecoder& decoder) {
  NoteFault(decoder, RecordFault::kNoTemplate);
  if (decoder.trace) TraceLine(*decoder.trace, "prob accessing template, aborting");
  decoder.array.count = 0;
  decoder.array.binary_xml = 0;
}

void NoteUnreadableValues(EvtxDecoder& decoder) {
  NoteFault(decoder, RecordFault::kUnreadableValues);
  if (decoder.trace) TraceLine(*decoder.trace, "prob parsing slot data first, continuing");
}

// A record that instantiates the template defined at `definition`.
void FrameInstance(EvtxDecoder& decoder, std::uint32_t record, std::uint32_t definition,
                   std::uint64_t expected_number, std::uint64_t record_id) {
  EvtxChunk& chunk = decoder.chunk;
  DefinitionHead head;
  if (!ReadDefinitionHead(chunk.data, definition, head)) {
    NoteNoTemplate(decoder);
    return;
  }
  const auto known = chunk.resolved.find(definition);
  decoder.reference = known != chunk.resolved.end()
                          ? known->second
                          : FindTemplate(chunk, record, definition, head, expected_number);
  const std::uint32_t here = record + kRecordInlinePosition;
  std::uint64_t array = here;
  if (definition == here) array += kDefinitionHeadSize + std::uint64_t{head.size};
  const bool readable = ParseSubstitutionArray(
      chunk.data, static_cast<std::uint32_t>(std::min<std::uint64_t>(array, kChunkSize)),
      decoder.array);
  Charge(decoder, decoder.array.count);
  if (readable && (decoder.array.binary_xml != 0 || !decoder.reference)) {
    RegisterNestedTemplates(decoder, record, record_id, head);
  }
  if (!decoder.reference) {
    NoteNoTemplate(decoder);
    return;
  }
  if (!readable) NoteUnreadableValues(decoder);
  if (decoder.array.cut) NoteFault(decoder, RecordFault::kValuesCut);
  decoder.program = RegisteredProgram(decoder, *decoder.reference);
}

// A record whose binary XML is plain elements, as forwarded and re-exported logs hold them.
void FrameElements(EvtxDecoder& decoder, std::uint32_t record, std::uint32_t size) {
  constexpr std::uint32_t kHeaders = kRecordHeaderSize + kFragmentHeaderSize;
  // Behind the elements stands a copy of the size, which must not be read as a token.
  const std::uint64_t body_end = std::max(size, kHeaders + kRecordSizeCopy) - kRecordSizeCopy;
  const std::uint64_t end = std::min<std::uint64_t>(record + body_end, kChunkSize);
  decoder.program = PreparedFragment(decoder, record + kHeaders, static_cast<std::uint32_t>(end));
}

bool IsElementRecord(Bytes chunk, std::uint32_t record) {
  std::uint32_t header = 0;
  std::uint8_t token = 0;
  const std::uint32_t stream = record + kRecordHeaderSize;
  return ReadAt(chunk, stream, header) && header == kFragmentHeader &&
         ReadAt(chunk, stream + kFragmentHeaderSize, token) && (token & 0x0F) == 0x01;
}

// The identifier without decoding the record, where its template allows that.
bool QuickEventId(const EvtxDecoder& decoder, DecodedEvent& event) {
  const TemplateProgram* program = decoder.program;
  if (!program || program->event_id_step < 0 ||
      (decoder.array.binary_xml & program->slots_before_event_id) != 0) {
    return false;
  }
  const Step& step = program->steps[static_cast<std::size_t>(program->event_id_step)];
  if (step.kind != StepKind::kSlotValue || step.slot >= decoder.array.count ||
      step.tokens > decoder.work_left) {
    return false;
  }
  const SubstitutionValue& value = decoder.array.values[step.slot];
  if (value.type == kEvtVarTypeNull) return true;  // "0" or unresolved: no identifier
  if (value.type == kEvtVarTypeUInt16 && value.size >= 2) {
    event.event_id = Load<std::uint16_t>(event.chunk.data() + value.offset);
    return true;
  }
  if (value.size > 64) return false;
  event.event_id = LeadingNumber(ValueText(event.chunk, value));
  return true;
}

void SettleEventId(EvtxDecoder& decoder, DecodedEvent& event) {
  if (!decoder.trace && QuickEventId(decoder, event)) return;
  DecodeValues(decoder, event);
  std::string scratch;
  const NamedValue* value = FindValue(event, InternName(decoder.names, "EventID"));
  if (value) event.event_id = LeadingNumber(TextOf(event, *value, scratch));
}

void ForgetTemplates(EvtxDecoder& decoder) {
  ClearPlans(decoder.plans);
  ClearCache(decoder.cache);
}

}  // namespace

void BeginLog(EvtxDecoder& decoder, TextSink* trace) {
  decoder.account = {};
  decoder.trace = trace;
  decoder.checks_records = trace != nullptr;
  // What is left must do for all kinds of events that this log may hold.
  if (IsHalfFull(decoder.cache) || IsHalfFull(decoder.plans)) ForgetTemplates(decoder);
}

void BeginChunk(EvtxDecoder& decoder, Bytes data, std::uint64_t file_offset) {
  BeginChunkNames(decoder.names);
  if (decoder.cache.generation != decoder.names.generation) {
    ForgetTemplates(decoder);
    decoder.cache.generation = decoder.names.generation;
  }
  LoadChunk(data, file_offset, decoder.trace != nullptr, decoder.chunk);
}

bool FrameRecord(EvtxDecoder& decoder, std::uint32_t offset, std::uint64_t expected_number,
                 DecodedEvent& event) {
  BeginRecord(decoder);
  ReadHeader(decoder, offset, event);
  ShareOutWork(decoder, offset, event);
  const Bytes chunk = decoder.chunk.data;
  if (decoder.trace) {
    TraceLine(*decoder.trace, "record " + std::to_string(event.record_id) + " at file offset 0x" +
                                  HexText(event.record_file_offset));
  }
  std::uint32_t definition = 0;
  if (IsElementRecord(chunk, offset)) {
    FrameElements(decoder, offset, event.size);
  } else if (!ReadAt(chunk, offset + kRecordDefinitionField, definition)) {
    NoteNoTemplate(decoder);
  } else if (definition > kMaxDefinitionOffset) {
    NoteFault(decoder, RecordFault::kTemplateOffset);
    return false;
  } else {
    FrameInstance(decoder, offset, definition, expected_number, event.record_id);
  }
  ++decoder.account.records;
  SettleEventId(decoder, event);
  return true;
}

void DecodeValues(EvtxDecoder& decoder, DecodedEvent& event) {
  if (event.values_decoded) return;
  event.values_decoded = true;
  event.max_text = 0;  // a plan that was not used may have left its own
  event.counted_text = 0;
  ExpandRecord(decoder, event);
}

}  // namespace tarnlex
