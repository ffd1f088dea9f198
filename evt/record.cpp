#include "evt/record.h"

#include <algorithm>

#include "evt/evt_format.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kUnixEpochSeconds = 11'644'473'600;  // 1970 counted from 1601
constexpr std::uint64_t kTicks = 10'000'000;

// Finds terminators ahead of a position that only moves forward. What was searched once is not
// searched again, so that a record without terminators costs no more than its own bytes.
struct TerminatorFinder {
  Bytes log;
  std::uint64_t searched_to = 0;  // no terminator between the last position and here...
  bool found = false;             // ...and one exactly here
};

// Units from `at` to the next terminator, at most `limit` and at most what the log still holds;
// `terminated` says whether a terminator was met among the first `limit` units.
std::size_t UnitsBefore(TerminatorFinder& finder, std::uint64_t at, std::size_t limit,
                        bool& terminated) {
  const std::uint64_t left = at < finder.log.size() ? (finder.log.size() - at) / 2 : 0;
  const std::uint64_t end = at + 2 * std::min<std::uint64_t>(limit, left);
  if (finder.searched_to < at) {
    finder.searched_to = at;
    finder.found = false;
  }
  while (!finder.found && finder.searched_to < end) {
    if (Load<std::uint16_t>(finder.log.data() + finder.searched_to) == 0) {
      finder.found = true;
    } else {
      finder.searched_to += 2;
    }
  }
  terminated = finder.found && finder.searched_to < end;
  return static_cast<std::size_t>((std::min(finder.searched_to, end) - at) / 2);
}

// The text at `at` of at most `limit` units.
Bytes TextAt(TerminatorFinder& finder, std::uint64_t at, std::size_t limit) {
  bool terminated = false;
  const std::size_t units = UnitsBefore(finder, at, limit, terminated);
  return Clip(finder.log, at, 2 * units);
}

// Units that the position moves over a text, its terminator not counted.
std::size_t MeasureAt(TerminatorFinder& finder, std::uint64_t at) {
  bool terminated = false;
  const std::size_t units = UnitsBefore(finder, at, kEvtMeasuredUnits, terminated);
  return terminated ? units : 0;
}

void CutNames(EvtRecord& record) {
  const auto fixed = static_cast<std::int32_t>(kEvtFixedSize);
  if (static_cast<std::int32_t>(record.length) <= fixed) return;
  if (static_cast<std::int32_t>(record.data_offset) <= fixed) return;
  TerminatorFinder finder{record.log};
  std::uint64_t at = record.offset + kEvtFixedSize;
  record.source_name = TextAt(finder, at, (record.length - kEvtFixedSize) / 2);
  at += 2 * (MeasureAt(finder, at) + 1);
  record.computer_name = TextAt(finder, at, kEvtUnboundedUnits);
}

void CutStrings(EvtRecord& record) {
  if (record.string_offset >= record.length) return;
  TerminatorFinder finder{record.log};
  std::uint64_t at = record.offset + record.string_offset;
  std::int64_t remaining = std::int64_t{record.length} - record.string_offset;
  const std::size_t count = std::min<std::size_t>(record.string_count, record.length / 2);
  while (record.strings.size() < count && remaining >= 1) {
    record.strings.push_back(TextAt(finder, at, static_cast<std::size_t>(remaining / 2)));
    const std::size_t units = MeasureAt(finder, at);
    // Terminators are deliberately not taken off: where the strings of a damaged record end depends
    // on it.
    remaining -= static_cast<std::int64_t>(2 * units);
    at += 2 * (units + 1);
  }
}

// Leaves out strings from the first that takes the record's text past its bound. Real records stay
// so far below that their texts need not be measured.
void BoundStrings(EvtRecord& record) {
  const std::uint64_t names = record.source_name.size() + record.computer_name.size();
  std::uint64_t units = names / 2;
  for (const Bytes string : record.strings) units += string.size() / 2;
  if (units * kMaxUtf8PerUnit <= kEvtMaxRecordText) return;
  std::uint64_t total = names / 2 * kMaxUtf8PerUnit;
  std::size_t kept = 0;
  for (; kept < record.strings.size(); ++kept) {
    total += Utf16ToUtf8(record.strings[kept]).size();
    if (total > kEvtMaxRecordText) break;
  }
  record.strings.resize(kept);
}

// The bytes of a field of the record; empty when they do not lie inside it.
Bytes FieldBytes(const EvtRecord& record, std::uint32_t offset, std::uint32_t length) {
  if (!Fits(record.length, offset, length)) return {};
  return Clip(record.log, record.offset + offset, length);
}

}  // namespace

bool ReadEvtRecord(Bytes log, std::uint64_t offset, EvtRecord& record) {
  if (!Fits(log, offset, kEvtFixedSize)) return false;
  const std::uint8_t* at = log.data() + offset;
  record.length = Load<std::uint32_t>(at);
  if (!Fits(log, offset, record.length)) return false;
  record.record_number = Load<std::uint32_t>(at + 8);
  record.time_generated = Load<std::uint32_t>(at + 12);
  record.time_written = Load<std::uint32_t>(at + 16);
  record.event_code = Load<std::uint32_t>(at + 20);
  record.event_type = Load<std::uint16_t>(at + 24);
  record.string_count = Load<std::uint16_t>(at + 26);
  record.category = Load<std::uint16_t>(at + 28);
  record.flags = Load<std::uint16_t>(at + 30);
  record.closing_record = Load<std::uint32_t>(at + 32);
  record.string_offset = Load<std::uint32_t>(at + 36);
  record.sid_length = Load<std::uint32_t>(at + 40);
  record.sid_offset = Load<std::uint32_t>(at + 44);
  record.data_length = Load<std::uint32_t>(at + 48);
  record.data_offset = Load<std::uint32_t>(at + 52);
  record.offset = offset;
  record.log = log;
  record.event_id = static_cast<std::uint16_t>(record.event_code);
  const std::uint64_t seconds = record.time_generated;
  record.filetime = seconds == 0 ? 0 : (seconds + kUnixEpochSeconds) * kTicks;
  record.data = FieldBytes(record, record.data_offset, record.data_length);
  record.sid = FieldBytes(record, record.sid_offset, record.sid_length);
  record.texts_cut = false;
  record.source_name = {};
  record.computer_name = {};
  record.strings.clear();
  return true;
}

void CutTexts(EvtRecord& record) {
  if (record.texts_cut) return;
  record.texts_cut = true;
  CutNames(record);
  CutStrings(record);
  BoundStrings(record);
}

}  // namespace tarnlex
