// What a walk has read of one log and what it has not: the account that -diags gives at its end, so
// that an examiner can vouch for it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "event/recovery.h"
#include "evtx/file_header.h"
#include "logs/record_survey.h"
#include "logs/text_sink.h"

namespace tarnlex {

// Why a record came out with less than it holds, or not at all. A record counts once for each.
enum class RecordFault : std::uint8_t {
  kTemplateOffset,    // its template offset points out of the chunk: skipped
  kNoTemplate,        // its template is not known: no values
  kTemplateMismatch,  // the template registered for it is not where it should be
  kUnreadableValues,  // its substitution array could not be read
  kValuesCut,         // values that would run past the chunk were left out
  kNestedUnreadable,  // the same of an array inside a binary XML value, or its definition is
                      // missing
  kFragmentStopped,   // a token that is not decoded ended a fragment early
  kFragmentCut,       // a fragment ended inside a token
  kLimit,             // a bound on nesting, work or text was reached
  // What speaks against a row that has its values:
  kOtherIdentifier,  // the event states another identifier than the record's header, which is
                     // normal where a log was exported: the header counts anew
  kNoEventId,        // its event identifier is missing or no number
  kNoProvider,       // its provider is missing or cannot be printed
  kOddNames,         // elements, attributes or data with names that are no names
  // Of the complete policy alone, and written only where there are any:
  kNoNames,      // the template of values is not known: they are given without names
  kUnknownSize,  // its sizes are damaged: it is taken to end where another begins
  kCount
};

// Slots that hold no chunk, as runs of neighbours.
struct SkippedSlots {
  std::uint64_t file_offset = 0;
  std::uint64_t count = 0;
  std::uint64_t record_heads = 0;  // records that stand in them whole (CountRecordHeads)
};

// A chunk that was left before its last record.
struct LeftChunk {
  std::uint64_t file_offset = 0;
  std::uint64_t record_offset = 0;  // in the file: where the walk stopped
  std::uint64_t missing = 0;        // records that the chunk's header still promised
};

// Why a walk by the sizes and numbers of chunks alone does not come to a record.
enum class Regained : std::uint8_t {
  kBehindBreak,  // a size before it leads nowhere, or the chunk's header does not count it
  kNoSignature,  // its slot has no chunk signature
  kCutSlot,      // its slot is the last one, and short
  kCount
};

// Such records of one slot.
struct RegainedRecords {
  Regained why = Regained::kCount;
  std::uint64_t file_offset = 0;  // of the slot
  std::uint64_t count = 0;
};

// A record that counts under a fault.
struct FaultyRecord {
  RecordFault fault = RecordFault::kCount;
  std::uint64_t record_id = 0;
  std::uint64_t file_offset = 0;
};

// What a checksum is of.
enum class ChecksumOf : std::uint8_t { kChunkHeader, kChunkRecords };

struct BrokenChecksum {
  std::uint64_t file_offset = 0;  // of the chunk
  ChecksumOf of = ChecksumOf::kChunkHeader;
};

struct WalkAccount {
  std::uint64_t chunks = 0;
  std::uint64_t empty_chunks = 0;  // among them, chunks that say they hold no records
  std::uint64_t skipped_slots = 0;
  std::uint64_t skipped_heads = 0;    // records that stand in them whole
  std::vector<SkippedSlots> skipped;  // at most kMaxListed runs
  std::uint64_t records = 0;          // handed on, whole or in part
  std::array<std::uint64_t, static_cast<std::size_t>(RecordFault::kCount)> faults{};
  std::vector<FaultyRecord> faulty;  // at most kMaxListed of each fault
  std::uint64_t partial = 0;         // records that came out with less than they hold
  std::uint64_t undated = 0;         // without a time to go by
  // The event states another time than the record's header, by a second or more. Under the literal
  // policy only of records that were given.
  std::uint64_t other_times = 0;
  bool own_times = false;  // records go by the time of their events
  std::array<std::uint64_t, static_cast<std::size_t>(Regained::kCount)> regained{};
  std::vector<RegainedRecords> regained_from;  // at most kMaxListed slots
  std::uint64_t chunks_left = 0;
  std::vector<LeftChunk> left;       // at most kMaxListed
  std::uint64_t records_left = 0;    // that these may hold
  std::uint64_t uncounted = 0;       // records behind the last that their chunk's header counts
  std::uint64_t trailing_bytes = 0;  // behind the last whole slot
  std::uint64_t trailing_heads = 0;  // records that stand in them whole
  RecoveryCounts recovered;          // not among `records`

  // Gathered only for those who ask (see survey.h).
  EvtxFileHeader header;
  std::uint64_t broken_checksums = 0;
  std::vector<BrokenChecksum> broken;  // at most kMaxListed
  RecordSurvey survey;
};

// Whether a record with that fault has lost something; else its row is doubtful, or it has none.
constexpr bool IsLoss(RecordFault fault) {
  return fault != RecordFault::kTemplateOffset &&
         (fault < RecordFault::kOtherIdentifier || fault > RecordFault::kOddNames);
}

// The fault in a word: "no_template".
std::string_view FaultName(RecordFault fault);

void AddSkippedSlot(WalkAccount& account, std::uint64_t file_offset, std::uint64_t record_heads);
void AddFault(WalkAccount& account, const FaultyRecord& record);
void AddRegained(WalkAccount& account, const RegainedRecords& records);
void AddLeftChunk(WalkAccount& account, const LeftChunk& left);

// Writes the account as lines of text.
void WriteAccount(TextSink& out, const WalkAccount& account);

}  // namespace tarnlex
