#include "tests/support/evtx_builder.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarnlex::support {
namespace {

constexpr std::uint64_t kNone = 0xFFFFFFFFFFFFFFFF;

void WriteRecord(ChunkImage& chunk, const Record& record) {
  const std::size_t start = chunk.bytes.size();
  PutU32(chunk.bytes, record.signature);
  PutU32(chunk.bytes, 0);
  PutU64(chunk.bytes, record.id);
  PutU64(chunk.bytes, record.time);
  if (record.raw_body) {
    PutBytes(chunk.bytes, *record.raw_body);
  } else {
    WriteFragment(chunk, record.body);
    // Records are whole multiples of eight bytes, the copy of the size included.
    while ((chunk.bytes.size() - start + 4) % 8 != 0) PutU8(chunk.bytes, 0);
  }
  const auto size = static_cast<std::uint32_t>(chunk.bytes.size() - start + 4);
  PutU32(chunk.bytes, record.size_copy.value_or(size));
  SetU32(chunk.bytes, start + 4, record.stated_size.value_or(size));
}

ByteString FileHeader(std::uint64_t chunks, std::uint64_t next_id) {
  ByteString header = {'E', 'l', 'f', 'F', 'i', 'l', 'e', 0};
  PutU64(header, 0);                             // first chunk
  PutU64(header, chunks == 0 ? 0 : chunks - 1);  // last chunk
  PutU64(header, next_id);
  PutU32(header, 128);  // header size
  PutU16(header, 1);    // version 3.1, minor number first
  PutU16(header, 3);
  PutU16(header, static_cast<std::uint16_t>(kEvtxHeaderSize));
  PutU16(header, static_cast<std::uint16_t>(chunks));
  header.resize(kEvtxHeaderSize);
  return header;
}

}  // namespace

Fragment InstanceFragment(Template definition, std::vector<Value> values, bool header) {
  Fragment fragment;
  Instance instance;
  instance.definition = std::move(definition);
  instance.values = std::move(values);
  fragment.instance.push_back(std::move(instance));
  fragment.header = header;
  return fragment;
}

Fragment ElementsFragment(std::vector<Node> nodes, bool header) {
  Fragment fragment;
  fragment.nodes = std::move(nodes);
  fragment.header = header;
  return fragment;
}

EvtxBuilder& EvtxBuilder::AddChunk(ChunkOptions options) {
  slots_.emplace_back();
  slots_.back().options = options;
  return *this;
}

EvtxBuilder& EvtxBuilder::AddSlot(ByteString bytes) {
  Slot slot;
  slot.is_chunk = false;
  slot.image.bytes = std::move(bytes);
  slot.image.bytes.resize(kEvtxChunkSize);
  slots_.push_back(std::move(slot));
  return *this;
}

EvtxBuilder::Slot& EvtxBuilder::LastChunk() {
  if (slots_.empty() || !slots_.back().is_chunk) AddChunk();
  return slots_.back();
}

ChunkImage& EvtxBuilder::chunk() { return LastChunk().image; }

std::uint32_t EvtxBuilder::NextRecordOffset() const {
  if (slots_.empty() || !slots_.back().is_chunk) return kEvtxFirstRecord;
  return static_cast<std::uint32_t>(slots_.back().image.bytes.size());
}

void EvtxBuilder::Append(Slot& slot, const Record& record) {
  const auto start = static_cast<std::uint32_t>(slot.image.bytes.size());
  ChunkImage grown = slot.image;
  WriteRecord(grown, record);
  if (grown.bytes.size() + slot.tail.size() > kEvtxChunkSize) throw std::length_error("chunk full");
  slot.image = std::move(grown);
  slot.last_record = start;
  if (slot.records == 0) slot.first_id = record.id;
  slot.last_id = record.id;
  ++slot.records;
}

EvtxBuilder& EvtxBuilder::AddRecord(const Record& record) {
  Record filled = record;
  if (filled.id == 0) filled.id = next_id_;
  if (filled.time == 0) filled.time = Filetime(2016, 7, 8, 18, 12, 51) + filled.id * 10'000'000;
  try {
    Append(LastChunk(), filled);
  } catch (const std::length_error&) {
    if (LastChunk().records == 0) throw;
    AddChunk();
    Append(LastChunk(), filled);
  }
  next_id_ = filled.id + 1;
  return *this;
}

EvtxBuilder& EvtxBuilder::AddEvent(Event event) {
  if (event.id == 0) event.id = next_id_;
  if (event.time == 0) event.time = Filetime(2016, 7, 8, 18, 12, 51) + event.id * 10'000'000;
  Record record;
  record.id = event.id;
  record.time = event.time;
  record.body = EventFragment(event);
  return AddRecord(record);
}

std::uint32_t EvtxBuilder::AddTemplate(const Template& definition, bool listed) {
  Slot& slot = LastChunk();
  const auto write_at = [&](std::size_t start) {
    ChunkImage image = slot.image;
    image.bytes.resize(start);
    WriteDefinition(image, definition);
    return image;
  };
  // The names written depend on the place only in their offsets, so a first try tells the size.
  const std::size_t start = slot.image.bytes.size();
  const std::size_t size = write_at(start).bytes.size() - start;
  if (start + size + slot.tail.size() > kEvtxChunkSize) throw std::length_error("chunk full");
  const std::size_t place = kEvtxChunkSize - slot.tail.size() - size;
  ChunkImage placed = write_at(place);
  const ByteString bytes(placed.bytes.begin() + static_cast<std::ptrdiff_t>(place),
                         placed.bytes.end());
  slot.tail.insert(slot.tail.begin(), bytes.begin(), bytes.end());
  placed.bytes.resize(start);
  if (!listed) {
    // The template table of the header stays as it was; the names are listed all the same.
    std::copy_n(slot.image.bytes.begin() + 384, 128, placed.bytes.begin() + 384);
  }
  slot.image = std::move(placed);
  return static_cast<std::uint32_t>(place);
}

ByteString EvtxBuilder::Finish(const Slot& slot, std::uint64_t first_number) const {
  ByteString bytes = slot.image.bytes;
  const auto free = static_cast<std::uint32_t>(bytes.size());
  bytes.resize(kEvtxChunkSize - slot.tail.size());
  PutBytes(bytes, slot.tail);
  if (!slot.is_chunk) return bytes;
  const bool empty = slot.records == 0;
  const std::uint64_t last_number = first_number + slot.records - 1;
  SetBytes(bytes, 0, {'E', 'l', 'f', 'C', 'h', 'n', 'k', 0});
  SetU64(bytes, 8, slot.options.first_number.value_or(empty ? kNone : first_number));
  SetU64(bytes, 16, slot.options.last_number.value_or(empty ? kNone : last_number));
  SetU64(bytes, 24, empty ? kNone : slot.first_id);
  SetU64(bytes, 32, empty ? kNone : slot.last_id);
  SetU32(bytes, 40, 128);
  SetU32(bytes, 44, slot.last_record);
  SetU32(bytes, 48, free);
  return bytes;
}

ByteString EvtxBuilder::BuildChunks() const {
  // Checksums are those of a whole file, so one is made around the chunks.
  const ByteString file = Build();
  return {file.begin() + static_cast<std::ptrdiff_t>(kEvtxHeaderSize), file.end()};
}

ByteString EvtxBuilder::Build() const {
  ByteString file = FileHeader(slots_.size(), next_id_);
  std::uint64_t number = 1;
  for (const Slot& slot : slots_) {
    PutBytes(file, Finish(slot, number));
    number += slot.records;
  }
  FixChecksums(file);
  return file;
}

}  // namespace tarnlex::support
