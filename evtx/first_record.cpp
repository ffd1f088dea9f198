#include "evtx/first_record.h"

#include "evtx/find_record.h"
#include "evtx/plan_of.h"
#include "evtx/record.h"

namespace tarnlex {
namespace {

// Here the template counts wherever it stands, since no earlier record can have registered it.
void RegisterFirstTemplate(EvtxChunk& chunk) {
  std::uint32_t offset = 0;
  DefinitionHead head;
  if (!ReadAt(chunk.data, kFirstRecord + kRecordDefinitionField, offset) ||
      !ReadDefinitionHead(chunk.data, offset, head)) {
    return;
  }
  std::uint64_t record_number = 0;
  ReadAt(chunk.data, kFirstRecord + kRecordIdField, record_number);
  const auto origin = static_cast<std::uint32_t>(record_number + kOriginRecord);
  RegisterTemplate(chunk, {chunk.file_offset + offset, chunk.file_offset, offset, origin, head.next,
                           head.guid, head.size});
}

bool ChannelOf(EvtxDecoder& decoder, DecodedEvent& event, std::string& channel) {
  const Plan& plan = PlanOf(decoder, event);
  const PlanValue* value = FindValue(plan, "Channel");
  if (!value || IsUnresolved(event.structure, plan, *value)) return false;
  std::string scratch;
  channel = TextOf(event.structure, plan, *value, scratch);
  return true;
}

}  // namespace

bool FirstRecordChannel(Bytes bytes, std::string& channel) {
  if (bytes.size() < kChunkSize || !HasChunkSignature(bytes, 0)) return false;
  EvtxDecoder decoder;
  DecodedEvent event;
  BeginChunk(decoder, bytes.first(kChunkSize), kEvtxFileHeaderSize);
  RegisterFirstTemplate(decoder.chunk);
  if (!FrameRecord(decoder, kFirstRecord, decoder.chunk.first_number, event)) return false;
  return ChannelOf(decoder, event, channel);
}

bool FirstNamedChannel(Bytes slots, std::uint64_t file_offset, std::string& channel) {
  EvtxDecoder decoder;
  DecodedEvent event;
  BeginLog(decoder, nullptr, Policy::kComplete);
  for (std::size_t offset = 0; offset < slots.size(); offset += kChunkSize) {
    const Bytes slot = Clip(slots, offset, kChunkSize);
    BeginChunk(decoder, slot, file_offset + offset);
    RecordSearch search = SearchRecords(slot);
    for (RecordPlace place; NextRecord(search, place);) {
      if (!place.whole || !FrameRecord(decoder, place.offset, 0, event)) continue;
      if (ChannelOf(decoder, event, channel) && !channel.empty()) return true;
    }
  }
  return false;
}

}  // namespace tarnlex
