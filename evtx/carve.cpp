#include "evtx/carve.h"

#include <algorithm>
#include <cstring>

#include "evtx/chunk_checksum.h"
#include "evtx/evtx_format.h"
#include "evtx/find_record.h"
#include "evtx/judge_record.h"
#include "evtx/plan_of.h"
#include "evtx/record.h"
#include "evtx/recover.h"

namespace tarnlex {
namespace {

constexpr std::uint32_t kAlignment = 8;

// What the records of a slot may cost grows with their bytes: slots overlap, and a crafted image
// has one for every few bytes.
constexpr std::uint32_t kFirstGrant = kChunkSize / 64;

void Grant(EvtxCarver& carver, std::uint32_t bytes) {
  EvtxChunk& chunk = carver.decoder.chunk;
  const auto grant = [bytes](auto& left, std::uint64_t most) {
    const std::uint64_t more = left + most / kChunkSize * bytes;
    left = static_cast<std::remove_reference_t<decltype(left)>>(std::min(more, most));
  };
  grant(chunk.text_left, kMaxChunkText);
  grant(chunk.made_names_left, kMaxChunkNameText);
  grant(chunk.numbered_left, kMaxChunkNumberedText);
  grant(chunk.prepared_left, kMaxChunkPrepared);
  grant(chunk.measured_left, kMaxChunkMeasured);
  grant(chunk.traced_left, kMaxChunkTraced);
  grant(carver.checks.work_left, kMaxChunkPrepared);
}

void BeginSlot(EvtxCarver& carver, bool keeps) {
  carver.decoder.keeps = keeps;
  BeginChunk(carver.decoder, carver.slot.bytes, carver.slot.begin);
  EvtxChunk& chunk = carver.decoder.chunk;
  chunk.text_left = chunk.made_names_left = chunk.numbered_left = chunk.measured_left = 0;
  chunk.prepared_left = chunk.traced_left = 0;
  carver.checks = {carver.slot.bytes, {}, {}, 0};
  Grant(carver, kFirstGrant);
}

void LeaveSlot(EvtxCarver& carver) {
  CarveSlot& slot = carver.slot;
  if (slot.known) EndChunk(carver.decoder);
  carver.decoder.keeps = true;
  if (slot.has_head) {
    std::vector<CarvedChunk>& list = carver.counts.list;
    if (list.size() < kMostCarvedListed) list.push_back({slot.source, slot.records, slot.sound});
    if (carver.left) carver.left(slot);
  }
  slot.known = slot.has_head = slot.sound = false;
  slot.records = 0;
  slot.live.clear();
}

// What lies before the image, or is not in memory any more, is taken for zeros.
void FillSlot(CarveSlot& slot, const ImagePart& part, std::uint64_t begin) {
  const std::uint64_t image_end = part.begin + part.bytes.size();
  slot.begin = begin;
  slot.bytes.assign(std::min<std::uint64_t>(kChunkSize, image_end - begin), 0);
  const std::uint64_t missing = part.begin - begin;  // wraps where nothing is
  const std::uint64_t skipped = missing < kChunkSize ? missing : 0;
  const Bytes there = From(part, begin + skipped);
  const std::size_t size =
      std::min<std::size_t>(there.size(), slot.bytes.size() - static_cast<std::size_t>(skipped));
  std::copy_n(there.data(), size, slot.bytes.data() + skipped);
}

// Makes the 64 KiB at `begin` those that records are read by, the first of which, or whose header,
// stands at `source`.
void EnterSlot(EvtxCarver& carver, const ImagePart& part, std::uint64_t begin, std::uint64_t source,
               bool has_head) {
  CarveSlot& slot = carver.slot;
  if (has_head && begin - slot.begin < slot.bytes.size()) {
    slot.cut = static_cast<std::uint32_t>(begin - slot.begin);
  }
  LeaveSlot(carver);
  FillSlot(slot, part, begin);
  slot.cut = static_cast<std::uint32_t>(slot.bytes.size());
  slot.known = true;
  slot.has_head = has_head;
  slot.source = source;
  slot.end = has_head ? kFirstRecord : static_cast<std::uint32_t>(source - begin);
  slot.last_id = 0;
}

bool HasChunkStructure(Bytes head) {
  constexpr std::uint32_t kHeaderSizeField = 40;
  constexpr std::uint32_t kHeaderSize = 128;
  const std::uint8_t* const at = head.data();
  const auto free_space = Load<std::uint32_t>(at + kChunkFreeSpace);
  const auto first = Load<std::uint64_t>(at + kChunkFirstNumber);
  const auto last = Load<std::uint64_t>(at + kChunkLastNumber);
  return at[kEvtxChunkSignature.size()] == 0 &&
         Load<std::uint32_t>(at + kHeaderSizeField) == kHeaderSize && free_space >= kFirstRecord &&
         free_space <= kChunkSize && (first <= last || last == kNoRecords);
}

// Whether a chunk begins with these bytes: its header has the structure of one, and its checksum
// holds or a record follows.
bool IsChunkHead(Bytes bytes) {
  return HasChunkSignature(bytes, 0) && bytes.size() >= kFirstRecord && HasChunkStructure(bytes) &&
         (HeaderHolds(bytes) || SoundRecordSize(bytes, kFirstRecord) > 0);
}

void CountGiven(EvtxCarver& carver) {
  CountRecovered(carver.decoder.account.recovered, carver.event.recovery);
  ++carver.slot.records;
  ++(carver.slot.has_head ? carver.counts.in_chunks : carver.counts.outside);
}

void HandOn(EvtxCarver& carver) {
  CountGiven(carver);
  carver.handlers.record(carver.decoder, carver.event);
}

// Notes where records of one time end, as the names that they use must not be of a later one.
void NoteStretch(EvtxCarver& carver, std::uint32_t at, std::uint32_t size, std::uint64_t id) {
  CarveSlot& slot = carver.slot;
  if (at < slot.end || !Follows(id, slot.last_id, at - slot.end)) {
    carver.checks.stretches.ends.push_back(std::min(at, slot.end));
  }
  slot.end = at + size;
  slot.last_id = id;
}

// Frames the record at `at` of the slot with what is proved of it. One of a sound chunk has all
// that it says, if its chunk has it.
void FrameInSlot(EvtxCarver& carver, std::uint32_t at, std::uint32_t size, bool is_sound) {
  const Recovery judged = JudgeRecord(carver.checks, FoundIn::kCarved, at, size);
  if (is_sound) {
    carver.event.recovery = {FoundIn::kCarved};
    FrameRecord(carver.decoder, at, 0, carver.event);
    if (judged.checked == Checked::kAll) return;
    PlanOf(carver.decoder, carver.event);
    if (!IsPartial(carver.event)) return;
  }
  FrameJudged(carver.decoder, judged, at, carver.event);
}

void GiveRecord(EvtxCarver& carver, std::uint32_t at, std::uint32_t size, bool is_sound) {
  Grant(carver, size);
  FrameInSlot(carver, at, size, is_sound);
  HandOn(carver);
}

// The records that a sound chunk counts.
std::uint32_t GiveSoundRecords(EvtxCarver& carver) {
  CarveSlot& slot = carver.slot;
  const auto free_space = Load<std::uint32_t>(slot.bytes.data() + kChunkFreeSpace);
  std::uint32_t at = kFirstRecord;
  while (at < free_space) {
    const std::uint32_t size = WholeRecordSize(slot.bytes, at);
    if (size == 0 || size > free_space - at) break;
    GiveRecord(carver, at, size, true);
    slot.live.emplace_back(carver.event.record_id, at);
    at += size;
  }
  std::sort(slot.live.begin(), slot.live.end());
  slot.end = at;
  slot.last_id = at > kFirstRecord ? carver.event.record_id : 0;
  return at;
}

// Where a record stood in its chunk, told by a definition that an instance in it brings along: the
// place that the instance states for the definition is right behind itself. 0: not told.
std::uint32_t PlaceByInstance(Bytes record, std::uint32_t token) {
  const std::uint32_t definition = token + kInstanceTokenSize;
  std::uint32_t id = 0;
  std::uint32_t guid = 0;
  std::uint32_t stated = 0;
  if (!ReadAt(record, std::uint64_t{definition} + kDefinitionGuidField, guid) ||
      (record[token] & 0x1F) != 0x0C) {
    return 0;
  }
  ReadAt(record, token + kInstanceIdField, id);
  ReadAt(record, definition - sizeof stated, stated);
  if (id != guid || stated < kFirstRecord + definition || stated > kChunkSize) return 0;
  const std::uint32_t at = stated - definition;
  return at % kAlignment == 0 && record.size() <= kChunkSize - at ? at : 0;
}

std::uint32_t PlaceByOwn(Bytes record) {
  std::uint32_t header = 0;
  ReadAt(record, kRecordHeaderSize, header);
  return header == kFragmentHeader
             ? PlaceByInstance(record, kRecordHeaderSize + kFragmentHeaderSize)
             : 0;
}

// The same by its own definition or by those in its values, behind a fragment header each.
std::uint32_t PlaceInChunk(Bytes record) {
  const auto size = static_cast<std::uint32_t>(record.size());
  for (std::uint32_t at = kRecordHeaderSize; at + kFragmentHeaderSize < size; ++at) {
    const void* const mark = std::memchr(record.data() + at, 0x0F, size - at);
    if (mark == nullptr) return 0;
    at = static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(mark) - record.data());
    std::uint32_t header = 0;
    if (!ReadAt(record, at, header) || header != kFragmentHeader) continue;
    const std::uint32_t place = PlaceByInstance(record, at + kFragmentHeaderSize);
    if (place != 0) return place;
  }
  return 0;
}

// Whether a record can be one of the slot.
bool Covers(const CarveSlot& slot, std::uint64_t at, std::uint32_t size) {
  const std::uint64_t inside = at - slot.begin;
  return slot.known && inside >= kFirstRecord && inside % kAlignment == 0 &&
         Fits(slot.bytes, inside, size);
}

// A record of which nothing is known but its own bytes.
void EnterAlone(EvtxCarver& carver, Bytes record, std::uint64_t at) {
  LeaveSlot(carver);
  CarveSlot& slot = carver.slot;
  slot.known = true;
  slot.source = at;
  // Not where the record would seem to bring a definition along.
  std::uint32_t stated = 0;
  ReadAt(record, kRecordDefinitionField, stated);
  const bool is_there = stated == kFirstRecord + kRecordInlinePosition;
  const std::uint32_t place = is_there ? 2 * kFirstRecord : kFirstRecord;
  slot.begin = at - place;
  slot.bytes.assign(place + record.size(), 0);
  std::copy(record.begin(), record.end(), slot.bytes.begin() + place);
  slot.end = place;
  slot.last_id = 0;
  BeginSlot(carver, false);
}

// Makes the slot that a record belongs to the one at hand.
void EnterSlotOf(EvtxCarver& carver, const ImagePart& part, Bytes record, std::uint64_t at) {
  const CarveSlot& slot = carver.slot;
  const bool covered = Covers(slot, at, static_cast<std::uint32_t>(record.size()));
  const std::uint32_t place = covered ? PlaceByOwn(record) : PlaceInChunk(record);
  if (place != 0 && !(covered && slot.begin == at - place)) {
    EnterSlot(carver, part, at - place, at, false);
    BeginSlot(carver, false);
  } else if (place == 0 && !covered) {
    EnterAlone(carver, record, at);
  }
}

// Whether the chunk counts a record of the same bytes. Others of its identifier may be of another
// log: a chunk that is cut is followed by anything.
bool IsCopy(const CarveSlot& slot, Bytes record) {
  const auto id = Load<std::uint64_t>(record.data() + kRecordIdField);
  auto at = std::lower_bound(slot.live.begin(), slot.live.end(), std::pair(id, std::uint32_t{0}));
  for (; at != slot.live.end() && at->first == id; ++at) {
    const Bytes live = Clip(slot.bytes, at->second, record.size());
    if (std::equal(live.begin(), live.end(), record.begin(), record.end())) return true;
  }
  return false;
}

}  // namespace

std::uint64_t CarveChunk(EvtxCarver& carver, const ImagePart& part, std::uint64_t at) {
  const Bytes bytes = Clip(From(part, at), 0, kChunkSize);
  if (!IsChunkHead(bytes)) return at + 1;
  EnterSlot(carver, part, at, at, true);
  CarveSlot& slot = carver.slot;
  slot.sound = HeaderHolds(bytes) && RecordsHold(bytes);
  ++carver.counts.chunks;
  carver.counts.sound_chunks += slot.sound;
  BeginSlot(carver, slot.sound);
  if (!slot.sound) return at + kFirstRecord;
  const std::uint32_t end = GiveSoundRecords(carver);
  // What the chunk does not use is of another time, and nothing of it is kept.
  EndChunk(carver.decoder);
  BeginSlot(carver, false);
  return at + end;
}

std::uint64_t CarveRecord(EvtxCarver& carver, const ImagePart& part, std::uint64_t at) {
  const Bytes bytes = Clip(From(part, at), 0, kChunkSize - kFirstRecord);
  const std::uint32_t size = SoundRecordSize(bytes, 0);
  if (size == 0) return at + 1;
  const Bytes record = bytes.first(size);
  EnterSlotOf(carver, part, record, at);
  const auto inside = static_cast<std::uint32_t>(at - carver.slot.begin);
  NoteStretch(carver, inside, size, Load<std::uint64_t>(record.data() + kRecordIdField));
  if (IsCopy(carver.slot, record)) {
    ++carver.decoder.account.recovered.copies;
    return at + size;
  }
  GiveRecord(carver, inside, size, false);
  return at + size;
}

void EndCarving(EvtxCarver& carver) { LeaveSlot(carver); }

}  // namespace tarnlex
