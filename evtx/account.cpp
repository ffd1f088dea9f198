#include "evtx/account.h"

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
};
static_assert(std::size(kFaultTexts) == static_cast<std::size_t>(RecordFault::kCount));

void Line(TextSink& out, std::string_view label, std::uint64_t value) {
  Append(out, label);
  Append(out, ": " + std::to_string(value) + "\n");
}

std::string HeadsText(std::uint64_t heads) {
  return heads == 0 ? std::string() : ", record heads: " + std::to_string(heads);
}

void ListFaulty(TextSink& out, const WalkAccount& account, RecordFault fault) {
  for (const FaultyRecord& record : account.faulty) {
    if (record.fault != fault) continue;
    Append(out, "  record " + std::to_string(record.record_id) + " at file offset 0x" +
                    HexText(record.file_offset) + "\n");
  }
}

}  // namespace

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

void AddLeftChunk(WalkAccount& account, const LeftChunk& left) {
  ++account.chunks_left;
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
  for (std::size_t i = 0; i < account.faults.size(); ++i) {
    Line(out, kFaultTexts[i], account.faults[i]);
    ListFaulty(out, account, static_cast<RecordFault>(i));
  }
  // Nothing is known of these unless every time is looked at.
  if (account.other_times > 0) {
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
