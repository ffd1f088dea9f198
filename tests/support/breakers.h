// Damage, done to finished logs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tests/support/put_bytes.h"

namespace tarnlex::support {

inline constexpr std::size_t kEvtxHeaderSize = 4096;
inline constexpr std::size_t kEvtxChunkSize = 65536;
inline constexpr std::size_t kEvtxFirstRecord = 512;

// Offsets in an EVTX file: of a 64 KiB slot, and of the n-th record of one (counted from 0; found
// by the sizes of the records before it; throws when there is none).
std::size_t ChunkOffset(std::size_t slot);
std::size_t RecordOffset(const ByteString& file, std::size_t slot, std::size_t record);

void Truncate(ByteString& file, std::size_t size);
void FlipByte(ByteString& file, std::size_t offset);
// Computes every checksum of an EVTX file anew: the file header's and those of the slots that carry
// a chunk's signature. The data end where the chunk header says.
void FixChecksums(ByteString& file);
// Zeroes the signature of a chunk.
void RemoveChunkMagic(ByteString& file, std::size_t slot);
// Puts 64 KiB in front of a slot: `bytes`, cut or zero-filled.
void InsertSlot(ByteString& file, std::size_t slot, ByteString bytes = {});
// Leaves `kept` bytes of the file's last slot.
void CutLastChunk(ByteString& file, std::size_t kept);
// Makes a chunk forget all but its first `kept` records, which stay where they are: what a log that
// was cleared, or whose chunk is filled anew, leaves behind.
void ForgetRecords(ByteString& file, std::size_t slot, std::size_t kept);
// Sets the size in front of a record; 0 ends a chunk.
void SetRecordSize(ByteString& file, std::size_t slot, std::size_t record, std::uint32_t size);

}  // namespace tarnlex::support
