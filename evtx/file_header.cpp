#include "evtx/file_header.h"

#include "evtx/evtx_format.h"
#include "logs/crc32.h"
#include "logs/read_file.h"

namespace tarnlex {

EvtxFileHeader ReadEvtxFileHeader(Bytes head) {
  EvtxFileHeader header;
  if (head.size() < kFileHeaderUsed || !BeginsWith(head, kEvtxFileSignature)) return header;
  const std::uint8_t* const at = head.data();
  const auto flags = Load<std::uint32_t>(at + kFileFlags);
  header.found = true;
  header.next_record = Load<std::uint64_t>(at + kFileNextRecord);
  header.chunks = Load<std::uint16_t>(at + kFileChunkCount);
  header.dirty = (flags & kFileDirty) != 0;
  header.full = (flags & kFileFull) != 0;
  header.checksum_holds =
      Crc32(head.first(kFileChecked)) == Load<std::uint32_t>(at + kFileChecksum);
  return header;
}

}  // namespace tarnlex
