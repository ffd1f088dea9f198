#include "evt/event_identity.h"

#include <algorithm>
#include <cstring>

namespace tarnlex {
namespace {

constexpr std::uint64_t kPiece = std::uint64_t{1} << 20;

void AddNumber(SipHash& hash, std::uint64_t number) {
  std::uint8_t bytes[sizeof number];
  std::memcpy(bytes, &number, sizeof number);
  AddBytes(hash, bytes);
}

void AddSized(SipHash& hash, Bytes bytes) {
  AddNumber(hash, bytes.size());
  AddBytes(hash, bytes);
}

// A record may be larger than what is in memory of its log.
void AddRecord(SipHash& hash, const EvtRecord& record, FileBytes& room) {
  AddNumber(hash, record.length);
  for (std::uint64_t done = 0; done < record.length; done += kPiece) {
    const std::uint64_t size = std::min<std::uint64_t>(kPiece, record.length - done);
    AddBytes(hash, Stretch(record.log, record.offset + done, size, room));
  }
}

}  // namespace

Hash128 IdentityOf(HashKey key, EvtRecord& record, FileBytes& room) {
  SipHash hash = BeginSipHash(key);
  AddRecord(hash, record, room);
  CutTexts(record);
  AddSized(hash, record.source_name);
  AddSized(hash, record.computer_name);
  AddSized(hash, record.sid);
  AddSized(hash, record.data);
  AddNumber(hash, record.strings.size());
  for (const Bytes string : record.strings) AddSized(hash, string);
  return EndSipHash(hash);
}

}  // namespace tarnlex
