#include "evtx/chunk_checksum.h"

#include "evtx/evtx_format.h"
#include "logs/crc32.h"

namespace tarnlex {

bool HeaderHolds(Bytes chunk) {
  std::uint32_t stated = 0;
  if (!ReadAt(chunk, kChunkChecksum, stated) || chunk.size() < kFirstRecord) return false;
  const std::uint32_t first = Crc32(chunk.first(kChunkCheckedFirst));
  return stated == Crc32(chunk.subspan(kChunkNameTable, kFirstRecord - kChunkNameTable), first);
}

bool RecordsHold(Bytes chunk) {
  std::uint32_t stated = 0;
  std::uint32_t free_space = 0;
  if (!ReadAt(chunk, kChunkRecordsChecksum, stated) || !ReadAt(chunk, kChunkFreeSpace, free_space))
    return false;
  if (free_space < kFirstRecord || free_space > chunk.size()) return false;
  return stated == Crc32(chunk.subspan(kFirstRecord, free_space - kFirstRecord));
}

}  // namespace tarnlex
