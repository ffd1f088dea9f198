#include "tests/support/breakers.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarnlex::support {
namespace {

bool IsChunk(const ByteString& file, std::size_t at) {
  static constexpr std::uint8_t kMagic[] = {'E', 'l', 'f', 'C', 'h', 'n', 'k'};
  return at + kEvtxChunkSize <= file.size() &&
         std::equal(std::begin(kMagic), std::end(kMagic),
                    file.begin() + static_cast<std::ptrdiff_t>(at));
}

void FixChunk(ByteString& file, std::size_t at) {
  const std::size_t free =
      std::clamp<std::size_t>(GetU32(file, at + 48), kEvtxFirstRecord, kEvtxChunkSize);
  SetU32(file, at + 52, Crc32(file, {{at + kEvtxFirstRecord, free - kEvtxFirstRecord}}));
  SetU32(file, at + 124, Crc32(file, {{at, 120}, {at + 128, 384}}));
}

}  // namespace

std::size_t ChunkOffset(std::size_t slot) { return kEvtxHeaderSize + slot * kEvtxChunkSize; }

std::size_t RecordOffset(const ByteString& file, std::size_t slot, std::size_t record) {
  std::size_t offset = kEvtxFirstRecord;
  for (; record > 0; --record) {
    const std::uint32_t size = GetU32(file, ChunkOffset(slot) + offset + 4);
    if (size == 0 || size > kEvtxChunkSize - offset) throw std::out_of_range("no such record");
    offset += size;
  }
  return ChunkOffset(slot) + offset;
}

void Truncate(ByteString& file, std::size_t size) { file.resize(std::min(size, file.size())); }

void FlipByte(ByteString& file, std::size_t offset) { file.at(offset) ^= 0xFF; }

void FixChecksums(ByteString& file) {
  if (file.size() >= 128) SetU32(file, 124, Crc32(file, {{0, 120}}));
  for (std::size_t at = kEvtxHeaderSize; at < file.size(); at += kEvtxChunkSize) {
    if (IsChunk(file, at)) FixChunk(file, at);
  }
}

void RemoveChunkMagic(ByteString& file, std::size_t slot) { SetU64(file, ChunkOffset(slot), 0); }

void InsertSlot(ByteString& file, std::size_t slot, ByteString bytes) {
  bytes.resize(kEvtxChunkSize);
  if (ChunkOffset(slot) > file.size()) throw std::out_of_range("no such slot");
  const auto at = file.begin() + static_cast<std::ptrdiff_t>(ChunkOffset(slot));
  file.insert(at, bytes.begin(), bytes.end());
}

void ForgetRecords(ByteString& file, std::size_t slot, std::size_t kept) {
  constexpr std::uint64_t kNone = ~std::uint64_t{0};
  const std::size_t chunk = ChunkOffset(slot);
  const std::size_t free = RecordOffset(file, slot, kept);
  SetU64(file, chunk + 16, kept == 0 ? kNone : GetU64(file, chunk + 8) + kept - 1);
  SetU64(file, chunk + 32, kept == 0 ? kNone : GetU64(file, chunk + 24) + kept - 1);
  SetU32(file, chunk + 48, static_cast<std::uint32_t>(free - chunk));
  FixChecksums(file);
}

void CutLastChunk(ByteString& file, std::size_t kept) {
  Truncate(file, file.size() - kEvtxChunkSize + kept);
}

void SetRecordSize(ByteString& file, std::size_t slot, std::size_t record, std::uint32_t size) {
  SetU32(file, RecordOffset(file, slot, record) + 4, size);
}

}  // namespace tarnlex::support
