#include "evtx/walk.h"

#include <algorithm>
#include <cstring>

#include "evtx/record.h"
#include "evtx/record_check.h"
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

// The size of the record at `at`, if a whole one begins there, else 0.
std::uint32_t WholeRecordSize(Bytes bytes, std::size_t at) {
  std::uint32_t signature = 0;
  std::uint32_t size = 0;
  std::uint32_t copy = 0;
  ReadAt(bytes, at, signature);
  if (signature != kRecordSignature || !ReadAt(bytes, at + kRecordSizeField, size)) return 0;
  if (size < kRecordHeaderSize + kRecordSizeCopy || !Fits(bytes, at, size)) return 0;
  ReadAt(bytes, at + size - kRecordSizeCopy, copy);
  return copy == size ? size : 0;
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
    if (handlers.progress) {
      handlers.progress(Load<std::uint64_t>(chunk.data.data() + offset + kRecordIdField));
    }
    if (FrameRecord(decoder, offset, expected, event)) {
      if (decoder.checks_records) CheckRecord(decoder, event);
      handlers.record(decoder, event);
    }
    // A size that leads out of the chunk must not wrap on its way.
    offset = size > kChunkSize - offset ? kChunkSize : offset + size;
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

}  // namespace

void WalkSlots(EvtxDecoder& decoder, Bytes block, std::uint64_t file_offset,
               const EvtxHandlers& handlers) {
  DecodedEvent event;
  std::size_t offset = 0;
  for (; Fits(block, offset, kChunkSize); offset += kChunkSize) {
    if (!HasChunkSignature(block, offset)) {
      AddSkippedSlot(decoder.account, file_offset + offset,
                     CountRecordHeads(block.subspan(offset, kChunkSize)));
      continue;
    }
    BeginChunk(decoder, block.subspan(offset, kChunkSize), file_offset + offset);
    ++decoder.account.chunks;
    TraceChunk(decoder);
    if (decoder.chunk.last_number == kNoRecords) {
      ++decoder.account.empty_chunks;
    } else {
      WalkRecords(decoder, handlers, event);
    }
    EndChunk(decoder);
  }
  decoder.account.trailing_bytes = block.size() - offset;
  decoder.account.trailing_heads = CountRecordHeads(block.subspan(offset));
}

}  // namespace tarnlex
