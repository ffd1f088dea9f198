#include "evtx/walk.h"

#include "evtx/record.h"
#include "evtx/trace.h"
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

// The chunk's header bounds how many records are tried; each record's size leads to the next.
void WalkRecords(EvtxDecoder& decoder, const EvtxHandlers& handlers) {
  const EvtxChunk& chunk = decoder.chunk;
  DecodedEvent event;
  std::uint32_t offset = kFirstRecord;
  for (std::uint64_t expected = chunk.first_number; expected <= chunk.last_number; ++expected) {
    std::uint32_t size = 0;
    ReadAt(chunk.data, std::uint64_t{offset} + kRecordSizeField, size);
    if (size == 0 || !Fits(chunk.data, offset, kRecordHeaderSize)) {
      LeaveChunk(decoder, offset, expected);
      return;
    }
    if (handlers.progress) {
      handlers.progress(Load<std::uint64_t>(chunk.data.data() + offset + kRecordIdField));
    }
    if (FrameRecord(decoder, offset, expected, event)) handlers.record(decoder, event);
    // A size that leads out of the chunk must not wrap on its way.
    offset = size > kChunkSize - offset ? kChunkSize : offset + size;
  }
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

}  // namespace

void WalkSlots(EvtxDecoder& decoder, Bytes block, std::uint64_t file_offset,
               const EvtxHandlers& handlers) {
  std::size_t offset = 0;
  for (; Fits(block, offset, kChunkSize); offset += kChunkSize) {
    if (!HasChunkSignature(block, offset)) {
      AddSkippedSlot(decoder.account, file_offset + offset);
      continue;
    }
    BeginChunk(decoder, block.subspan(offset, kChunkSize), file_offset + offset);
    ++decoder.account.chunks;
    TraceChunk(decoder);
    if (decoder.chunk.last_number == kNoRecords) {
      ++decoder.account.empty_chunks;
    } else {
      WalkRecords(decoder, handlers);
    }
  }
  decoder.account.trailing_bytes = block.size() - offset;
}

}  // namespace tarnlex
