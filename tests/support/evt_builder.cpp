#include "tests/support/evt_builder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarnlex::support {
namespace {

constexpr std::uint32_t kSignature = 0x654C664C;  // "LfLe"
constexpr std::uint32_t kEndRecordSize = 40;

std::uint32_t Size(const ByteString& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

void PutTerminated(ByteString& out, std::string_view utf8) {
  PutWide(out, Wide(utf8));
  PutU16(out, 0);
}

ByteString HeaderBytes(const EvtLayout& layout, std::uint32_t end, std::uint32_t next,
                       std::uint32_t oldest, std::uint32_t file_size) {
  ByteString header;
  for (const std::uint32_t field : {kEvtHeaderSize, kSignature, 1U, 1U, layout.start, end, next,
                                    oldest, file_size, layout.flags, 0U, kEvtHeaderSize}) {
    PutU32(header, field);
  }
  return header;
}

ByteString EndRecord(std::uint32_t start, std::uint32_t end, std::uint32_t next,
                     std::uint32_t oldest) {
  ByteString record;
  for (const std::uint32_t field : {kEndRecordSize, 0x11111111U, 0x22222222U, 0x33333333U,
                                    0x44444444U, start, end, next, oldest, kEndRecordSize}) {
    PutU32(record, field);
  }
  return record;
}

// Lays pieces behind one another from `position` on, round the end of the file.
struct Ring {
  ByteString file;
  std::size_t position = 0;
  std::size_t room = 0;
};

void Put(Ring& ring, const ByteString& bytes) {
  if (bytes.size() > ring.room) throw std::length_error("log full");
  ring.room -= bytes.size();
  for (const std::uint8_t byte : bytes) {
    if (ring.position == ring.file.size()) ring.position = kEvtHeaderSize;
    ring.file[ring.position++] = byte;
  }
}

// A record's fixed part is never split: the service fills a shorter rest of the file with 0x27.
void SkipShortRest(Ring& ring, std::size_t needed) {
  const std::size_t rest = ring.file.size() - ring.position;
  if (rest >= needed) return;
  ByteString filler(rest);
  for (std::size_t i = 0; i < rest; i += 4) filler[i] = 0x27;
  Put(ring, filler);
  ring.position = kEvtHeaderSize;
}

void PutFixedPart(ByteString& out, const EvtEntry& entry) {
  PutU32(out, 0);
  PutU32(out, entry.signature.value_or(kSignature));
  PutU32(out, entry.number);
  PutU32(out, entry.time.value_or(0));
  PutU32(out, entry.time_written.value_or(entry.time.value_or(0)));
  PutU32(out, entry.event_id);
  PutU16(out, entry.type);
  PutU16(out, entry.string_count.value_or(static_cast<std::uint16_t>(entry.strings.size())));
  PutU16(out, entry.category);
  PutU16(out, entry.reserved);
  PutU32(out, entry.closing_number);
  out.resize(kEvtFixedSize);
}

}  // namespace

ByteString EvtEntryBytes(const EvtEntry& entry) {
  const ByteString sid = entry.sid.empty() ? ByteString{} : SidBytes(entry.sid);
  ByteString out;
  PutFixedPart(out, entry);
  PutTerminated(out, entry.source);
  PutTerminated(out, entry.computer);
  while (out.size() % 4 != 0) PutU8(out, 0);
  SetU32(out, 40, entry.sid_length.value_or(Size(sid)));
  SetU32(out, 44, entry.sid_offset.value_or(Size(out)));
  PutBytes(out, sid);
  SetU32(out, 36, entry.string_offset.value_or(Size(out)));
  for (const std::string& text : entry.strings) PutTerminated(out, text);
  SetU32(out, 48, entry.data_length.value_or(Size(entry.data)));
  SetU32(out, 52, entry.data_offset.value_or(Size(out)));
  PutBytes(out, entry.data);
  // One to four bytes of padding; the service pads an aligned record too.
  out.resize(out.size() + 4 - out.size() % 4);
  const std::uint32_t length = Size(out) + 4;
  PutU32(out, entry.length_copy.value_or(length));
  SetU32(out, 0, entry.length.value_or(length));
  return out;
}

EvtBuilder& EvtBuilder::AddEntry(EvtEntry entry) {
  if (entry.number == 0) entry.number = next_number_;
  if (!entry.time) {
    entry.time = UnixTime(2011, 7, 27, 6, 0, 0) + 60 * entry.number;
  }
  if (oldest_number_ == 0) oldest_number_ = entry.number;
  next_number_ = entry.number + 1;
  pieces_.push_back(EvtEntryBytes(entry));
  return *this;
}

EvtBuilder& EvtBuilder::AddRaw(ByteString bytes) {
  pieces_.push_back(std::move(bytes));
  return *this;
}

ByteString EvtBuilder::Build(const EvtLayout& layout) const {
  std::size_t total = layout.end_record ? kEndRecordSize : 0;
  for (const ByteString& piece : pieces_) total += piece.size();
  const std::size_t file_size = layout.file_size == 0 ? layout.start + total : layout.file_size;
  Ring ring;
  ring.file.assign(file_size, layout.slack);
  ring.position = layout.start;
  ring.room = file_size - kEvtHeaderSize;
  for (const ByteString& piece : pieces_) {
    SkipShortRest(ring, std::min<std::size_t>(piece.size(), kEvtFixedSize));
    Put(ring, piece);
  }
  if (layout.end_record) SkipShortRest(ring, kEndRecordSize);
  const auto end = static_cast<std::uint32_t>(
      ring.position == file_size && layout.end_record ? kEvtHeaderSize : ring.position);
  if (layout.end_record) Put(ring, EndRecord(layout.start, end, next_number_, oldest_number_));
  SetBytes(ring.file, 0, HeaderBytes(layout, end, next_number_, oldest_number_, Size(ring.file)));
  return ring.file;
}

void TearRecord(ByteString& file, std::size_t offset, std::size_t kept) {
  const std::size_t length = GetU32(file, offset);
  for (std::size_t i = kept; i < length; ++i) file.at(offset + i) = 0;
}

}  // namespace tarnlex::support
