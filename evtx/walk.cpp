#include "evtx/walk.h"

#include <algorithm>
#include <cstring>

#include "evtx/find_record.h"
#include "evtx/record.h"
#include "evtx/record_check.h"
#include "evtx/recover.h"
#include "evtx/survey.h"
#include "evtx/trace.h"
#include "logs/date_time.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

void LeaveChunk(EvtxDecoder& decoder, std::uint32_t offset, std::uint64_t expected) {
  const EvtxChunk& chunk = decoder.chunk;
  AddLeftChunk(decoder.account,
               {chunk.file_offset, chunk.file_offset + offset, chunk.last_number - expected + 1});
  if (!decoder.trace) return;
  TraceLine(*decoder.trace, "chunk left at file offset 0x" + HexText(chunk.file_offset + offset));
}

void HandleRecord(EvtxDecoder& decoder, const EvtxHandlers& handlers, std::uint32_t offset,
                  std::uint64_t expected, DecodedEvent& event) {
  if (handlers.progress) {
    handlers.progress(Load<std::uint64_t>(decoder.chunk.data.data() + offset + kRecordIdField));
  }
  if (!FrameRecord(decoder, offset, expected, event)) return;
  if (decoder.notes) NoteLiveRecord(*decoder.notes, event.record_id, event.written_time);
  if (decoder.checks_records) CheckRecord(decoder, event);
  handlers.record(decoder, event);
  decoder.account.undated += !IsValidFiletime(event.time);
  if (decoder.surveys) SurveyRecord(decoder, event);
}

// Whole records behind the last that the chunk's header counts, in what it says is used.
void CountUncounted(EvtxDecoder& decoder, std::uint32_t offset) {
  const Bytes data = decoder.chunk.data;
  std::uint32_t free_space = 0;
  ReadAt(data, kChunkFreeSpace, free_space);
  while (offset < std::min(free_space, kChunkSize)) {
    const std::uint32_t size = WholeRecordSize(data, offset);
    if (size == 0) return;
    ++decoder.account.uncounted;
    offset += size;
  }
}

// The chunk's header bounds how many records are tried; each record's size leads to the next.
void WalkRecords(EvtxDecoder& decoder, const EvtxHandlers& handlers, DecodedEvent& event) {
  const EvtxChunk& chunk = decoder.chunk;
  std::uint32_t offset = kFirstRecord;
  for (std::uint64_t expected = chunk.first_number; expected <= chunk.last_number; ++expected) {
    std::uint32_t size = 0;
    ReadAt(chunk.data, std::uint64_t{offset} + kRecordSizeField, size);
    if (size == 0 || !Fits(chunk.data, offset, kRecordHeaderSize)) {
      LeaveChunk(decoder, offset, expected);
      return;
    }
    HandleRecord(decoder, handlers, offset, expected, event);
    // A size that leads out of the chunk must not wrap on its way.
    offset = size > kChunkSize - offset ? kChunkSize : offset + size;
  }
  CountUncounted(decoder, offset);
}

// How far the chunk's numbers and the sizes of records alone would lead.
struct SizeChain {
  Bytes data;
  std::uint64_t offset = kFirstRecord;
  std::uint64_t promised = 0;
};

// Whether they lead to the record at `offset`; asked in order of place.
bool LeadsTo(SizeChain& chain, std::uint32_t offset) {
  std::uint32_t size = 0;
  while (chain.promised > 0 && chain.offset < offset) {
    --chain.promised;
    ReadAt(chain.data, chain.offset + kRecordSizeField, size);
    if (size == 0) chain.promised = 0;
    chain.offset += size;
  }
  ReadAt(chain.data, std::uint64_t{offset} + kRecordSizeField, size);
  return chain.promised > 0 && chain.offset == offset && size > 0;
}

// A record of which nothing says where it ends has no bytes of the next one.
void HandleDamaged(EvtxDecoder& decoder, const EvtxHandlers& handlers, const RecordPlace& place,
                   std::uint64_t expected, DecodedEvent& event) {
  EvtxChunk& chunk = decoder.chunk;
  const Bytes whole = chunk.data;
  chunk.data = whole.first(place.offset + place.size);
  chunk.found_size = place.size;
  AddFault(decoder.account, {RecordFault::kUnknownSize,
                             Load<std::uint64_t>(whole.data() + place.offset + kRecordIdField),
                             chunk.file_offset + place.offset});
  HandleRecord(decoder, handlers, place.offset, expected, event);
  decoder.account.partial += !IsPartial(event);
  chunk.found_size = 0;
  chunk.data = whole;
}

Regained WhyRegained(Bytes slot) {
  if (slot.size() < kChunkSize) return Regained::kCutSlot;
  return HasChunkSignature(slot, 0) ? Regained::kBehindBreak : Regained::kNoSignature;
}

// Every record that can be found in what the chunk uses.
void WalkAllRecords(EvtxDecoder& decoder, const EvtxHandlers& handlers, DecodedEvent& event) {
  const EvtxChunk& chunk = decoder.chunk;
  const Bytes data = chunk.data;
  const Regained why = WhyRegained(data);
  RecordSearch search = SearchRecords(data);
  SizeChain chain{data, kFirstRecord, why == Regained::kBehindBreak ? search.promised : 0};
  std::uint64_t regained = 0;
  for (RecordPlace place; NextRecord(search, place);) {
    const bool led_to = LeadsTo(chain, place.offset);
    const std::uint64_t before = decoder.account.records;
    const std::uint64_t expected = chunk.first_number + search.given - 1;
    if (place.whole) {
      HandleRecord(decoder, handlers, place.offset, expected, event);
    } else {
      HandleDamaged(decoder, handlers, place, expected, event);
    }
    if (!led_to) regained += decoder.account.records - before;
  }
  AddRegained(decoder.account, {why, chunk.file_offset, regained});
  if (decoder.notes) {
    NotePlace(*decoder.notes, data,
              {chunk.file_offset, static_cast<std::uint32_t>(data.size()),
               std::max(search.at, search.end), search.last_id, FoundIn::kSlack});
  }
  if (search.given < search.promised) {
    LeaveChunk(decoder, search.at, chunk.first_number + search.given);
  }
}

// Records whose chunk is gone or cut: a signature, and a size that is repeated where it leads.
std::uint64_t CountRecordHeads(Bytes bytes) {
  std::uint64_t heads = 0;
  std::size_t at = 0;
  while (at < bytes.size()) {
    const void* const mark = std::memchr(bytes.data() + at, '*', bytes.size() - at);
    if (mark == nullptr) break;
    at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(mark) - bytes.data());
    const std::uint32_t size = WholeRecordSize(bytes, at);
    heads += size > 0;
    at += std::max(size, std::uint32_t{1});
  }
  return heads;
}

void TraceChunk(EvtxDecoder& decoder) {
  if (!decoder.trace) return;
  const EvtxChunk& chunk = decoder.chunk;
  TraceLine(*decoder.trace, "chunk at file offset 0x" + HexText(chunk.file_offset) + ", records " +
                                std::to_string(chunk.first_number) + " to " +
                                std::to_string(chunk.last_number) + ", names " +
                                std::to_string(chunk.names.size()) + ", templates " +
                                std::to_string(chunk.templates.size()));
}

// Whether a slot is a chunk to the decoder's policy. The complete one takes those that are cut, and
// any that holds a record, unless these are to be recovered, and judged.
bool IsChunk(const EvtxDecoder& decoder, Bytes slot) {
  const bool complete = decoder.policy == Policy::kComplete;
  if (HasChunkSignature(slot, 0)) return complete || slot.size() == kChunkSize;
  return complete && !decoder.notes && HoldsWholeRecord(slot);
}

void PassOver(EvtxDecoder& decoder, Bytes slot, std::uint64_t file_offset, FoundIn from) {
  if (!decoder.notes) return;
  NotePlace(*decoder.notes, slot,
            {file_offset, static_cast<std::uint32_t>(slot.size()), 0, 0, from});
}

void WalkChunk(EvtxDecoder& decoder, Bytes slot, std::uint64_t file_offset,
               const EvtxHandlers& handlers, DecodedEvent& event) {
  BeginChunk(decoder, slot, file_offset);
  if (decoder.surveys) CheckChecksums(slot, file_offset, decoder.account);
  ++decoder.account.chunks;
  decoder.account.empty_chunks += decoder.chunk.last_number == kNoRecords;
  TraceChunk(decoder);
  if (decoder.policy == Policy::kComplete) {
    WalkAllRecords(decoder, handlers, event);
  } else if (decoder.chunk.last_number != kNoRecords) {
    WalkRecords(decoder, handlers, event);
  }
  EndChunk(decoder);
}

}  // namespace

void WalkSlots(EvtxDecoder& decoder, Bytes block, std::uint64_t file_offset,
               const EvtxHandlers& handlers) {
  DecodedEvent event;
  std::size_t offset = 0;
  for (; Fits(block, offset, kChunkSize); offset += kChunkSize) {
    const Bytes slot = block.subspan(offset, kChunkSize);
    if (IsChunk(decoder, slot)) {
      WalkChunk(decoder, slot, file_offset + offset, handlers, event);
    } else {
      AddSkippedSlot(decoder.account, file_offset + offset, CountRecordHeads(slot));
      PassOver(decoder, slot, file_offset + offset, FoundIn::kUnsigned);
    }
  }
  const Bytes rest = block.subspan(offset);
  const bool walked = IsChunk(decoder, rest);
  if (walked) WalkChunk(decoder, rest, file_offset + offset, handlers, event);
  if (!walked) PassOver(decoder, rest, file_offset + offset, FoundIn::kTail);
  decoder.account.trailing_bytes = rest.size();
  decoder.account.trailing_heads = walked ? 0 : CountRecordHeads(rest);
}

}  // namespace tarnlex
