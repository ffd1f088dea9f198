#include "evt/record.h"

#include <algorithm>

#include "evt/evt_format.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::uint64_t kUnixEpochSeconds = 11'644'473'600;  // 1970 counted from 1601
constexpr std::uint64_t kTicks = 10'000'000;

// No text of more units than this is kept, as every unit takes at least a byte of UTF-8.
constexpr std::uint64_t kMaxTextUnits = kEvtMaxRecordText + 1;

// Texts are read past the end of a record by at most this much: a terminator for each string, and
// the last measured text.
constexpr std::uint64_t kReachBehind = 2 * (0x10000 + 2 * kEvtMeasuredUnits);

// Records up to this length are in memory with all their texts.
constexpr std::uint32_t kUsualLength = std::uint32_t{1} << 20;

// Finds terminators ahead of a position that only moves forward. What was searched once is not
// searched again, so that a record without terminators costs no more than its own bytes.
struct TerminatorFinder {
  Bytes bytes;                    // a stretch of the log
  std::uint64_t searched_to = 0;  // no terminator between the last position and here...
  bool found = false;             // ...and one exactly here
};

// Units from `at` to the next terminator, at most `limit` and at most what the log still holds;
// `terminated` says whether a terminator was met among the first `limit` units.
std::size_t UnitsBefore(TerminatorFinder& finder, std::uint64_t at, std::size_t limit,
                        bool& terminated) {
  const std::uint64_t left = at < finder.bytes.size() ? (finder.bytes.size() - at) / 2 : 0;
  const std::uint64_t end = at + 2 * std::min<std::uint64_t>(limit, left);
  if (finder.searched_to < at) {
    finder.searched_to = at;
    finder.found = false;
  }
  if (!finder.found && finder.searched_to < end) {
    const std::uint64_t ahead = (end - finder.searched_to) / 2;
    const std::size_t units =
        UnitsBeforeZero(finder.bytes.data() + finder.searched_to, static_cast<std::size_t>(ahead));
    finder.found = units < ahead;
    finder.searched_to += 2 * units;
  }
  terminated = finder.found && finder.searched_to < end;
  return static_cast<std::size_t>((std::min(finder.searched_to, end) - at) / 2);
}

// The text at `at` of at most `limit` units.
Bytes TextAt(TerminatorFinder& finder, std::uint64_t at, std::size_t limit) {
  bool terminated = false;
  const std::size_t units = UnitsBefore(finder, at, limit, terminated);
  return Clip(finder.bytes, at, 2 * units);
}

// Units that the position moves over a text, its terminator not counted. Under the complete policy
// a text is as long as it is.
std::size_t MeasureAt(TerminatorFinder& finder, std::uint64_t at, Policy policy) {
  const bool complete = policy == Policy::kComplete;
  bool terminated = false;
  const std::size_t units =
      UnitsBefore(finder, at, complete ? kMaxTextUnits : kEvtMeasuredUnits, terminated);
  return terminated || complete ? units : 0;
}

void CutNames(EvtRecord& record) {
  const auto fixed = static_cast<std::int32_t>(kEvtFixedSize);
  if (static_cast<std::int32_t>(record.length) <= fixed) return;
  if (static_cast<std::int32_t>(record.data_offset) <= fixed) return;
  const std::uint64_t limit = (record.length - kEvtFixedSize) / 2;
  const std::uint64_t reach = 2 * std::min(limit, kMaxTextUnits) + kReachBehind;
  TerminatorFinder finder{
      Stretch(record.log, record.offset + kEvtFixedSize, reach, record.names_room)};
  record.source_name = TextAt(finder, 0, static_cast<std::size_t>(limit));
  const std::uint64_t at = 2 * (MeasureAt(finder, 0, record.structure.policy) + 1);
  record.computer_name = TextAt(finder, at, kEvtUnboundedUnits);
}

void TakeSpare(std::uint64_t used, std::uint64_t share, std::uint64_t& spare) {
  if (used > share) spare -= std::min(spare, used - share);
}

// Strings that begin inside the record cost bytes of its own, two at least, and are never too many.
// `cut` is set when more begin behind its end than it may have.
void CutStrings(EvtRecord& record, bool& cut) {
  if (record.string_offset >= record.length) return;
  const std::uint64_t own = record.length - record.string_offset;
  auto remaining = static_cast<std::int64_t>(own);
  // Before the text of all strings passes its bound the position has moved over no more than that,
  // and one text more shows that it does.
  const std::uint64_t reach = std::min(own, 4 * kMaxTextUnits) + kReachBehind;
  TerminatorFinder finder{
      Stretch(record.log, record.offset + record.string_offset, reach, record.strings_room)};
  std::uint64_t at = 0;
  const std::uint64_t share = record.length / kEvtBytesPerString;
  std::uint64_t behind = 0;
  while (record.strings.size() < record.string_count && remaining >= 1) {
    if (at >= own && behind++ == share + record.spare.strings) {
      cut = true;
      break;
    }
    record.strings.push_back(TextAt(finder, at, static_cast<std::size_t>(remaining / 2)));
    const std::size_t units = MeasureAt(finder, at, record.structure.policy);
    // Terminators are deliberately not taken off: where the strings of a damaged record end depends
    // on it.
    remaining -= static_cast<std::int64_t>(2 * units);
    at += 2 * (units + 1);
  }
  TakeSpare(behind, share, record.spare.strings);
}

std::uint64_t TextShare(const EvtRecord& record) {
  return std::min(kEvtMaxRecordText, kEvtTextPerByte * record.length);
}

void ReturnSpare(EvtRecord& record) {
  EvtSpare& spare = record.spare;
  spare.text = std::min(kEvtSpareText, spare.text + kEvtTextBackPerByte * record.length);
  spare.strings =
      std::min(kEvtSpareStrings, spare.strings + record.length / kEvtBytesPerStringBack);
}

// For each string whether the record holds all of it and no string before it gives any of its
// bytes.
std::vector<bool> OwnStrings(const EvtRecord& record) {
  std::vector<bool> own(record.strings.size(), true);
  const std::uint64_t own_end = record.length - record.string_offset;
  std::uint64_t covered = 0;  // how far the strings looked at reach
  for (std::size_t i = 0; i < own.size(); ++i) {
    const Bytes string = record.strings[i];
    if (string.empty()) continue;
    const auto begin = static_cast<std::uint64_t>(string.data() - record.strings.front().data());
    const std::uint64_t end = begin + string.size();
    own[i] = begin >= covered && end <= own_end;
    covered = std::max(covered, end);
  }
  return own;
}

// Texts as they are counted against a bound.
struct TextCount {
  std::uint64_t bound = 0;
  std::uint64_t used = 0;
};

// Keeps a text that the bound leaves room for, else empties it; false then.
bool KeepText(TextCount& count, Bytes& text) {
  const std::size_t units = text.size() / 2;
  // What is certainly too long is not looked through.
  const std::uint64_t size =
      units < kMaxTextUnits ? Utf8Size(text.data(), units) : std::uint64_t{kMaxTextUnits};
  const bool fits = size <= count.bound - count.used;
  if (fits) count.used += size;
  if (!fits) text = {};
  return fits;
}

// Leaves out the texts that would take the record past a bound, which sets `cut`; the strings
// behind them keep their numbers. Its own texts come first. Real records stay so far below that
// their texts need not be measured.
void BoundTexts(EvtRecord& record, bool& cut) {
  std::uint64_t units = (record.source_name.size() + record.computer_name.size()) / 2;
  for (const Bytes string : record.strings) units += string.size() / 2;
  if (units * kMaxUtf8PerUnit <= TextShare(record)) return;
  TextCount own{kEvtMaxRecordText, 0};
  cut |= !KeepText(own, record.source_name);
  cut |= !KeepText(own, record.computer_name);
  const std::vector<bool> is_own = OwnStrings(record);
  for (std::size_t i = 0; i < is_own.size(); ++i) {
    if (is_own[i]) cut |= !KeepText(own, record.strings[i]);
  }
  TextCount beyond{std::min(own.bound - own.used, TextShare(record) + record.spare.text), 0};
  std::size_t kept = 0;
  bool spent = false;
  for (std::size_t i = 0; i < is_own.size(); ++i) {
    Bytes& string = record.strings[i];
    if (!is_own[i]) {
      if (spent) string = {};
      spent |= !KeepText(beyond, string);
      if (spent) continue;
    }
    kept = i + 1;
  }
  cut |= spent;
  record.strings.resize(kept);
  TakeSpare(beyond.used, TextShare(record), record.spare.text);
}

// Where a field of `length` bytes lies in the log; false when it does not lie inside the record.
bool HasField(const EvtRecord& record, std::uint32_t offset, std::uint32_t length) {
  return length > 0 && Fits(record.length, offset, length);
}

void PlaceFields(EvtRecord& record) {
  constexpr std::uint64_t kLongestSid = 8 + 4 * 255;
  record.sid = {};
  record.data = {};
  if (HasField(record, record.sid_offset, record.sid_length)) {
    record.sid = Stretch(record.log, record.offset + record.sid_offset,
                         std::min<std::uint64_t>(record.sid_length, kLongestSid), record.sid_room);
  }
  const std::uint64_t data = record.offset + record.data_offset - record.log.begin;
  if (HasField(record, record.data_offset, record.data_length) &&
      Fits(record.log.part, data, record.data_length)) {
    record.data = Clip(record.log.part, data, record.data_length);
  }
}

}  // namespace

std::uint64_t EvtFiletime(std::uint32_t seconds) {
  return seconds == 0 ? 0 : (seconds + kUnixEpochSeconds) * kTicks;
}

bool ReadEvtRecord(const EvtLog& log, std::uint64_t offset, EvtRecord& record) {
  if (offset < log.begin || !Fits(log.part, offset - log.begin, kEvtFixedSize)) return false;
  const std::uint8_t* at = log.part.data() + (offset - log.begin);
  record.length = Load<std::uint32_t>(at);
  if (!Fits(log.size, offset, record.length)) return false;
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
  record.filetime = EvtFiletime(record.time_generated);
  PlaceFields(record);
  record.texts_cut = false;
  record.slots_filled = false;
  record.source_name = {};
  record.computer_name = {};
  record.strings.clear();
  return true;
}

std::uint64_t EvtRecordReach(std::uint32_t length) {
  return std::max<std::uint64_t>(std::min(length, kUsualLength), kEvtFixedSize) + kReachBehind;
}

void CutTexts(EvtRecord& record) {
  if (record.texts_cut) return;
  record.texts_cut = true;
  ReturnSpare(record);
  bool cut = false;
  CutNames(record);
  CutStrings(record, cut);
  BoundTexts(record, cut);
  if (cut) ++record.cut_records;
}

}  // namespace tarnlex
