#include "evtx/find_record.h"

#include <algorithm>
#include <cstring>

#include "evtx/evtx_format.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kTimeOf1990 = 122'756'256'000'000'000;  // FILETIME
constexpr std::uint64_t kTimeOf2100 = 157'469'184'000'000'000;
constexpr std::uint64_t kMostIdentifier = ~std::uint64_t{0} >> 1;
constexpr std::uint32_t kRecordAlignment = 8;
constexpr std::uint32_t kLeastRecord = kRecordHeaderSize + kRecordSizeCopy;
constexpr int kWitnesses = 2;

// What a record's head says, as far as it lies inside of the bytes.
struct Head {
  bool signature = false;
  bool plausible = false;  // its identifier and time
  bool timed = false;      // plausible, and the time is not 0
  std::uint64_t id = 0;
  std::uint32_t size = 0;  // as stated, where a record of it fits; else 0
  bool copied = false;     // the size is repeated where it leads
};

Head ReadHead(Bytes bytes, std::uint64_t at) {
  Head head;
  if (!Fits(bytes, at, kLeastRecord)) return head;
  const std::uint8_t* const record = bytes.data() + at;
  head.signature = Load<std::uint32_t>(record) == kRecordSignature;
  head.id = Load<std::uint64_t>(record + kRecordIdField);
  const auto time = Load<std::uint64_t>(record + kRecordTimeField);
  const bool dated = IsPlausibleTime(time);
  head.plausible = head.id > 0 && head.id <= kMostIdentifier && (time == 0 || dated);
  head.timed = head.plausible && dated;
  const auto size = Load<std::uint32_t>(record + kRecordSizeField);
  if (size < kLeastRecord || !Fits(bytes, at, size)) return head;
  head.size = size;
  head.copied = Load<std::uint32_t>(record + size - kRecordSizeCopy) == size;
  return head;
}

bool IsWhole(const Head& head) { return head.signature && head.plausible && head.copied; }

// Whether a record begins here, where nothing but what it says speaks for it.
bool IsHead(const Head& head, std::uint32_t at) {
  return head.signature && head.plausible &&
         (head.copied || (head.timed && at % kRecordAlignment == 0));
}

// The first place from `at` on, before `end`, that `takes`; `end` when there is none.
template <typename Takes>
std::uint32_t FindHead(Bytes bytes, std::uint32_t at, std::uint32_t end, Takes takes) {
  while (at < end) {
    const void* const mark = std::memchr(bytes.data() + at, '*', end - at);
    if (mark == nullptr) return end;
    at = static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(mark) - bytes.data());
    if (takes(ReadHead(bytes, at), at)) return at;
    ++at;
  }
  return end;
}

// The same for any head, and found once for all places up to it.
std::uint32_t NextHead(RecordSearch& search, std::uint32_t from) {
  from = std::min(from, search.end);
  if (from < search.heads_from || from > search.next_head) {
    search.next_head =
        FindHead(search.data, from, search.end, [&](const Head& head, std::uint32_t at) {
          return IsHead(head, at) && (head.copied || search.end - at >= kLeastRecord);
        });
    search.heads_from = from;
  }
  return search.next_head;
}

bool IsInPlace(const RecordSearch& search, const Head& head) {
  if (!head.copied && search.end - search.at < kLeastRecord) return false;
  const int own = head.signature + head.plausible + head.copied;
  if (own >= kWitnesses || head.size == 0) return own >= kWitnesses;
  const std::uint32_t behind = search.at + head.size;
  const bool leads = behind == search.end || IsHead(ReadHead(search.data, behind), behind);
  return own + leads >= kWitnesses;
}

std::uint64_t PromisedRecords(Bytes data) {
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  ReadAt(data, kChunkFirstNumber, first);
  ReadAt(data, kChunkLastNumber, last);
  return last == kNoRecords || first > last ? 0 : last - first + 1;
}

// Whether free space can begin there.
bool IsFreeSpace(std::uint32_t offset, std::uint64_t promised) {
  return offset <= kChunkSize &&
         (offset > kFirstRecord || (offset == kFirstRecord && promised == 0));
}

// The head of the next record; false when there is none.
bool FindNext(RecordSearch& search, Head& head) {
  head = ReadHead(search.data, search.at);
  if (search.at >= search.end) {
    return search.given < search.promised && IsWhole(head) && head.id > search.last_id;
  }
  if (IsInPlace(search, head)) return true;
  search.at = NextHead(search, search.at + 1);
  head = ReadHead(search.data, search.at);
  return search.at < search.end;
}

}  // namespace

RecordSearch SearchRecords(Bytes data) {
  RecordSearch search;
  search.data = data;
  search.at = kFirstRecord;
  search.promised = PromisedRecords(data);
  std::uint32_t free = 0;
  ReadAt(data, kChunkFreeSpace, free);
  search.end = static_cast<std::uint32_t>(data.size());
  if (IsFreeSpace(free, search.promised)) search.end = std::min(free, search.end);
  return search;
}

bool NextRecord(RecordSearch& search, RecordPlace& place) {
  Head head;
  if (!FindNext(search, head)) return false;
  place = {search.at, head.size, head.copied};
  if (!place.whole) place.size = NextHead(search, search.at + kLeastRecord) - search.at;
  search.at += place.size;
  ++search.given;
  search.last_id = head.id;
  return true;
}

bool NextWholeRecord(Bytes bytes, std::uint32_t begin, RecordPlace& place) {
  const auto end = static_cast<std::uint32_t>(bytes.size());
  const std::uint32_t at = FindHead(bytes, begin, end, [](const Head& head, std::uint32_t offset) {
    return IsWhole(head) && head.timed && offset % kRecordAlignment == 0;
  });
  if (at >= end) return false;
  place = {at, ReadHead(bytes, at).size, true};
  return true;
}

bool IsPlausibleTime(std::uint64_t time) { return time >= kTimeOf1990 && time < kTimeOf2100; }

std::uint32_t WholeRecordSize(Bytes bytes, std::size_t at) {
  const Head head = ReadHead(bytes, at);
  return head.signature && head.copied ? head.size : 0;
}

std::uint32_t SoundRecordSize(Bytes bytes, std::size_t at) {
  const Head head = ReadHead(bytes, at);
  return IsWhole(head) && head.timed ? head.size : 0;
}

bool HoldsWholeRecord(Bytes data) {
  const auto size = static_cast<std::uint32_t>(data.size());
  return FindHead(data, kFirstRecord, size,
                  [](const Head& head, std::uint32_t) { return IsWhole(head); }) < size;
}

}  // namespace tarnlex
