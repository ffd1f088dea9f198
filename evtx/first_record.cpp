#include "evtx/first_record.h"

#include "evtx/plan_of.h"
#include "evtx/record.h"
#include "evtx/walk.h"

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
  BeginLog(decoder, nullptr, Policy::kComplete);
  channel.clear();
  EvtxHandlers handlers;
  handlers.record = [&channel](EvtxDecoder& inner, DecodedEvent& event) {
    if (channel.empty() && !ChannelOf(inner, event, channel)) channel.clear();
  };
  WalkSlots(decoder, slots, file_offset, handlers);
  return !channel.empty();
}

}  // namespace tarnlex
