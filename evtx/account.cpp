#include "evtx/account.h"

#include <algorithm>
#include <string>

#include "evtx/evtx_format.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

constexpr std::string_view kFaultTexts[] = {
    "records skipped, template offset out of the chunk",
    "records without values, no template",
    "records without values, template not where it was registered",
    "records with unreadable values",
    "records with values cut at the end of the chunk",
    "records with unreadable nested values",
    "records with a fragment stopped at a token that is not decoded",
    "records with a fragment cut inside a token",
    "records cut at a limit of nesting, work or text",
    "doubtful records, the event states another identifier (normal in an exported log)",
    "doubtful records, event identifier missing or no number",
    "doubtful records, provider missing or not printable",
    "doubtful records, names that are no names",
    "records with values without names, no template",
    "records whose size is damaged, taken up to the next one",
};
constexpr std::string_view kFaultNames[] = {
    "template_offset", "no_template",       "template_mismatch", "unreadable_values",
    "values_cut",      "nested_unreadable", "stopped",           "cut",
    "limit",           "other_identifier",  "no_event_id",       "no_provider",
    "odd_names",       "no_names",          "unknown_size",
};
static_assert(std::size(kFaultNames) == static_cast<std::size_t>(RecordFault::kCount));

constexpr std::string_view kRegainedTexts[] = {
    "records regained, behind a break of their chunk or beyond its last number",
    "records regained, in slots without a chunk signature",
    "records regained, in a last chunk that is cut",
};
static_assert(std::size(kRegainedTexts) == static_cast<std::size_t>(Regained::kCount));
static_assert(std::size(kFaultTexts) == static_cast<std::size_t>(RecordFault::kCount));

void Line(TextSink& out, std::string_view label, std::uint64_t value) {
  Append(out, label);
  Append(out, ": " + std::to_string(value) + "\n");
}

std::string HeadsText(std::uint64_t heads) {
  return heads == 0 ? std::string() : ", record heads: " + std::to_string(heads);
}

// Faults that a walk by the literal policy never notes.
bool IsOfCompletePolicy(RecordFault fault) {
  return fault == RecordFault::kNoNames || fault == RecordFault::kUnknownSize;
}

void WriteRegained(TextSink& out, const WalkAccount& account) {
  for (std::size_t i = 0; i < account.regained.size(); ++i) {
    if (account.regained[i] == 0) continue;
    Line(out, kRegainedTexts[i], account.regained[i]);
    for (const RegainedRecords& records : account.regained_from) {
      if (records.why != static_cast<Regained>(i)) continue;
      Append(out, "  slot at file offset 0x" + HexText(records.file_offset) + ": " +
                      std::to_string(records.count) + "\n");
    }
  }
}

void WriteRecovered(TextSink& out, const RecoveryCounts& counts) {
  constexpr std::string_view kFrom[] = {"", "in slack", "in slots without a chunk signature",
                                        "behind the last whole slot", "in a raw image"};
  constexpr std::string_view kChecked[] = {"everything checked", "system values checked",
                                           "nothing checked"};
  std::uint64_t all = 0;
  for (const std::uint64_t count : counts.checked) all += count;
  Line(out, "records recovered", all);
  for (std::size_t i = 1; i < counts.from.size(); ++i) {
    // An image has no others, and no log has these.
    const bool carved = static_cast<FoundIn>(i) == FoundIn::kCarved;
    if (carved == (counts.from[static_cast<std::size_t>(FoundIn::kCarved)] == 0)) continue;
    Line(out, "  " + std::string(kFrom[i]), counts.from[i]);
  }
  for (std::size_t i = 0; i < counts.checked.size(); ++i) {
    Line(out, "  " + std::string(kChecked[i]), counts.checked[i]);
  }
  Line(out, "copies of records of the log, not recovered", counts.copies);
  if (counts.not_compared > 0) {
    Line(out, "records of the log that recovered ones were not compared with", counts.not_compared);
  }
}

void ListFaulty(TextSink& out, const WalkAccount& account, RecordFault fault) {
  for (const FaultyRecord& record : account.faulty) {
    if (record.fault != fault) continue;
    Append(out, "  record " + std::to_string(record.record_id) + " at file offset 0x" +
                    HexText(record.file_offset) + "\n");
  }
}

}  // namespace

std::string_view FaultName(RecordFault fault) {
  return kFaultNames[static_cast<std::size_t>(fault)];
}

void AddSkippedSlot(WalkAccount& account, std::uint64_t file_offset, std::uint64_t record_heads) {
  ++account.skipped_slots;
  account.skipped_heads += record_heads;
  if (!account.skipped.empty()) {
    SkippedSlots& last = account.skipped.back();
    if (last.file_offset + last.count * kChunkSize == file_offset) {
      ++last.count;
      last.record_heads += record_heads;
      return;
    }
  }
  if (account.skipped.size() < kMaxListed) {
    account.skipped.push_back({file_offset, 1, record_heads});
  }
}

void AddFault(WalkAccount& account, const FaultyRecord& record) {
  const std::uint64_t number = ++account.faults[static_cast<std::size_t>(record.fault)];
  if (number <= kMaxListed) account.faulty.push_back(record);
}

void AddRegained(WalkAccount& account, const RegainedRecords& records) {
  if (records.count == 0) return;
  account.regained[static_cast<std::size_t>(records.why)] += records.count;
  if (account.regained_from.size() < kMaxListed) account.regained_from.push_back(records);
}

void AddLeftChunk(WalkAccount& account, const LeftChunk& left) {
  ++account.chunks_left;
  // A header that is damaged promises any number.
  const std::uint64_t used = left.record_offset - left.file_offset;
  const std::uint64_t room = used < kChunkSize ? (kChunkSize - used) / kRecordHeaderSize : 0;
  account.records_left += std::max(std::min(left.missing, room), std::uint64_t{1});
  if (account.left.size() < kMaxListed) account.left.push_back(left);
}

void WriteAccount(TextSink& out, const WalkAccount& account) {
  Line(out, "chunks walked", account.chunks);
  Line(out, "chunks without records", account.empty_chunks);
  Line(out, "slots skipped, no chunk signature", account.skipped_slots);
  for (const SkippedSlots& run : account.skipped) {
    Append(out, "  at file offset 0x" + HexText(run.file_offset) + ": " +
                    std::to_string(run.count) + HeadsText(run.record_heads) + "\n");
  }
  Line(out, "record heads in skipped slots", account.skipped_heads);
  Line(out, "records decoded", account.records);
  WriteRegained(out, account);
  if (account.recovered.asked) WriteRecovered(out, account.recovered);
  for (std::size_t i = 0; i < account.faults.size(); ++i) {
    if (account.faults[i] == 0 && IsOfCompletePolicy(static_cast<RecordFault>(i))) continue;
    Line(out, kFaultTexts[i], account.faults[i]);
    ListFaulty(out, account, static_cast<RecordFault>(i));
  }
  // Nothing is known of these unless every time is looked at.
  if (account.own_times && account.other_times > 0) {
    Line(out, "records whose own time is a second or more from their header's",
         account.other_times);
  }
  Line(out, "chunks left before their last record", account.chunks_left);
  for (const LeftChunk& chunk : account.left) {
    Append(out, "  chunk at file offset 0x" + HexText(chunk.file_offset) +
                    ", left at file offset 0x" + HexText(chunk.record_offset) +
                    ", records not found: " + std::to_string(chunk.missing) + "\n");
  }
  Line(out, "bytes behind the last whole chunk", account.trailing_bytes);
  Line(out, "record heads behind the last whole chunk", account.trailing_heads);
}

}  // namespace tarnlex
