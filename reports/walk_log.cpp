#include "reports/walk_log.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "evt/account.h"
#include "evt/evt_format.h"
#include "evt/file_header.h"
#include "evt/recover.h"
#include "evt/survey.h"
#include "evt/walk.h"
#include "evtx/evtx_format.h"
#include "evtx/file_header.h"
#include "evtx/record.h"
#include "evtx/recover.h"
#include "evtx/trace.h"
#include "evtx/walk.h"
#include "logs/log_content.h"
#include "logs/messages.h"
#include "logs/paths.h"
#include "logs/platform.h"
#include "logs/read_file.h"
#include "logs/status_line.h"
#include "logs/text.h"

namespace tarnlex {
namespace {

Policy PolicyOf(const RunOptions& options) {
  return options.complete ? Policy::kComplete : Policy::kLiteral;
}

constexpr std::uint64_t kLargeFile = 0x10000001;  // from this size on, rows are written in between
constexpr std::size_t kRowsOfLargeFile = 200'000;
constexpr std::uint64_t kLargestEvt = 0x100000000;
constexpr std::uint64_t kProgressEvery = 17;
constexpr std::size_t kProgressName = 15;

// The name that stands before the record numbers of the progress line.
std::string ProgressName(const std::string& path) {
  std::string directory;
  std::string name;
  if (!SplitPath(path, directory, name)) name = path;
  name = ReplaceChar(ToLowerAscii(name), '%', ' ');
  if (CountCodePoints(name) <= kProgressName) return name;
  // The byte that begins the first character too many ends the part that is shown.
  std::size_t end = 0;
  while (CountCodePoints(std::string_view(name).substr(0, end + 1)) <= kProgressName) ++end;
  return name.substr(0, end) + "..";
}

// `in_block` counts the records of a block; whoever begins a block sets it to 0.
EvtxHandlers MakeHandlers(LogPass& pass, std::uint64_t& in_block) {
  EvtxHandlers handlers;
  handlers.record = [&pass](EvtxDecoder& decoder, DecodedEvent& event) {
    RouteEvtxRecord(pass, decoder, event);
  };
  if (!pass.options.show_status || pass.run.progress.show) return handlers;
  const std::string head = ProgressName(pass.log.path) + ": ";
  handlers.progress = [&pass, &in_block, head](std::uint64_t record_id) {
    if (in_block++ % kProgressEvery != 0) return;
    Say(pass.run.messages, StatusLine(head + std::to_string(static_cast<std::int64_t>(record_id))));
  };
  return handlers;
}

// Nothing is known of these unless XML is written.
void TraceReplaced(const LogPass& pass, TextSink& trace) {
  const std::uint64_t count = pass.stream.replaced;
  if (count > 0) TraceLine(trace, "characters that XML cannot hold: " + std::to_string(count));
}

void TraceDuplicates(const LogPass& pass, TextSink& trace) {
  const UniqueCounts& unique = pass.account.unique;
  if (!unique.asked) return;
  TraceLine(trace, "events given before, left out: " + std::to_string(unique.duplicates));
}

void TraceAccountHead(const LogPass& pass, TextSink& trace) {
  TraceLine(trace, "--- account of " + pass.log.path);
  const RunOptions& options = pass.options;
  if (options.parts == 1) return;
  TraceLine(trace, "part " + std::to_string(options.part) + " of " + std::to_string(options.parts));
}

void WriteEvtxAccount(LogPass& pass, const EvtxDecoder& decoder) {
  if (!decoder.trace) return;
  TraceAccountHead(pass, *decoder.trace);
  WriteAccount(*decoder.trace, decoder.account);
  TraceReplaced(pass, *decoder.trace);
  TraceDuplicates(pass, *decoder.trace);
  Flush(*decoder.trace);
}

void WriteEvtAccount(LogPass& pass, const EvtAccount& account) {
  TextSink* const trace = TraceOf(pass.run);
  if (!trace) return;
  TraceAccountHead(pass, *trace);
  WriteAccount(*trace, account);
  TraceReplaced(pass, *trace);
  TraceDuplicates(pass, *trace);
  Flush(*trace);
}

std::vector<std::uint8_t> HeadOf(const InputFile& file, std::size_t size) {
  std::vector<std::uint8_t> head(size);
  head.resize(ReadFully(file, 0, head));
  return head;
}

// The bytes of a log that are walked.
struct Stretch {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
};

// Reads and walks one block piece by piece: a piece still lies in the processor's cache when it is
// decoded. Returns how much could be read before the run was interrupted.
std::uint64_t WalkBlock(EvtxDecoder& decoder, const EvtxHandlers& handlers, const InputFile& file,
                        std::uint64_t offset, std::uint64_t size, const Stretch& part,
                        FileBytes& buffer, Progress& progress) {
  constexpr std::uint64_t kPiece = 4 * std::uint64_t{kChunkSize};
  std::uint64_t done = 0;
  while (done < size && !StopsHere(progress)) {
    Advance(progress, offset + done - part.begin, part.end - part.begin);
    const std::uint64_t wanted = std::min(kPiece, size - done);
    const Bytes bytes = ReadInto(file, offset + done, wanted, buffer);
    WalkSlots(decoder, bytes, offset + done, handlers);
    done += bytes.size();
    if (bytes.size() < wanted) break;
  }
  return done;
}

// Most records are larger than this; a log of nothing but smaller ones lets its rows move.
constexpr std::uint64_t kSmallEvtxRecord = 384;
constexpr std::uint64_t kSmallEvtRecord = 192;

std::size_t RowsToExpect(std::uint64_t log_size, std::uint64_t small_record) {
  return static_cast<std::size_t>(std::min(log_size, kLargeFile) / small_record);
}

// The run's part of a log whose first slot lies at `start`: whole slots, as many in each part but
// for one; what is behind the last whole slot counts as one more.
Stretch PartOf(const RunOptions& options, std::uint64_t start, std::uint64_t log_size) {
  if (log_size <= start) return {};
  const std::uint64_t slots = (log_size - start + kChunkSize - 1) / kChunkSize;
  const auto cut = [&](std::uint64_t part) {
    return std::min(start + part * slots / options.parts * kChunkSize, log_size);
  };
  return {cut(options.part - 1), cut(options.part)};
}

// The records of those parts of the log that other runs read: copies are told by all of them.
void NoteRecordsOfOthers(const EvtxDecoder& decoder, RecoveryNotes& notes, const InputFile& file,
                         Stretch others, Progress& progress) {
  EvtxDecoder other;
  BeginLog(other, nullptr, decoder.policy);
  RecoveryNotes own;
  other.notes = &own;
  EvtxHandlers none;
  none.record = [](EvtxDecoder&, DecodedEvent&) {};
  FileBytes buffer;
  for (std::uint64_t at = others.begin; at < others.end && !StopsHere(progress);) {
    const Bytes bytes = ReadInto(file, at, std::min(kBlockSize, others.end - at), buffer);
    if (bytes.empty()) break;
    WalkSlots(other, bytes, at, none);
    at += bytes.size();
  }
  for (const auto& [id, time] : own.live) NoteLiveRecord(notes, id, time);
}

// What the walk has noted; behind it, when it is known which records the log has. Of a log that was
// not walked to its end nothing tells copies from records of their own.
void RecoverNoted(EvtxDecoder& decoder, RecoveryNotes& notes, const EvtxHandlers& handlers,
                  const InputFile& file, Progress& progress) {
  decoder.notes = nullptr;
  FinishNotes(notes);
  decoder.account.recovered.not_compared = notes.not_kept;
  FileBytes buffer;
  for (const RecoveryPlace& place : notes.places) {
    if (progress.stopped || StopsHere(progress)) return;
    const Bytes slot = ReadInto(file, place.file_offset, place.size, buffer);
    if (slot.size() == place.size) RecoverPlace(decoder, notes, slot, place, handlers);
  }
}

// Has the walk note what there is to recover.
void BeginNotes(const LogPass& pass, EvtxDecoder& decoder, RecoveryNotes& notes) {
  decoder.notes = pass.options.recover ? &notes : nullptr;
  decoder.account.recovered.asked = pass.options.recover;
}

void WalkEvtxFile(LogPass& pass, const InputFile& file, std::uint64_t start,
                  std::uint64_t block_size) {
  const Stretch part = PartOf(pass.options, start, file.size);
  const std::uint64_t part_size = part.end - part.begin;
  EvtxDecoder& decoder = pass.run.evtx_decoder;
  const bool surveys = pass.account.surveyed;
  BeginLog(decoder, TraceOf(pass.run), PolicyOf(pass.options), surveys);
  if (surveys) decoder.account.header = ReadEvtxFileHeader(HeadOf(file, kFileHeaderUsed));
  pass.log.is_evtx = true;
  PrepareEvtxPass(pass);
  decoder.makes_documents = IsStream(pass.options);
  if (!IsStream(pass.options)) ExpectRows(pass.rows, RowsToExpect(part_size, kSmallEvtxRecord));
  std::uint64_t in_block = 0;
  const EvtxHandlers handlers = MakeHandlers(pass, in_block);
  RecoveryNotes notes;
  BeginNotes(pass, decoder, notes);
  FileBytes buffer;
  for (std::uint64_t offset = part.begin; offset < part.end;) {
    const std::uint64_t size = std::min(block_size, part.end - offset);
    in_block = 0;
    const std::uint64_t read =
        WalkBlock(decoder, handlers, file, offset, size, part, buffer, pass.run.progress);
    if (handlers.progress) Say(pass.run.messages, StatusLine(" "));
    const bool write = part_size >= kLargeFile && pass.rows.rows.size() >= kRowsOfLargeFile;
    if (write) WriteRows(pass);
    if (read < size || HasFailed(pass.run.records)) break;
    offset += size;
  }
  if (!notes.places.empty()) {
    NoteRecordsOfOthers(decoder, notes, file, {start, part.begin}, pass.run.progress);
    NoteRecordsOfOthers(decoder, notes, file, {part.end, file.size}, pass.run.progress);
  }
  RecoverNoted(decoder, notes, handlers, file, pass.run.progress);
  if (!pass.run.progress.stopped) Advance(pass.run.progress, part_size, part_size);
  WriteRows(pass);
  WriteEvtxAccount(pass, decoder);
  pass.account.evtx = std::move(decoder.account);
  pass.account.outcome = LogOutcome::kRead;
}

// What the walk has not given; behind it, as records of the log go before their copies.
void RecoverEvt(LogPass& pass, EvtCursor& cursor, EvtRecord& record) {
  EvtRecovery recovery{cursor};
  while (!StopsHere(pass.run.progress) && NextRecoveredEvtRecord(recovery, record)) {
    RouteEvtRecord(pass, record);
    if (pass.account.surveyed && !IsRecovered(record.recovery)) {
      SurveyRecord(cursor.account, record);
    }
  }
}

void WalkEvtFile(LogPass& pass, const InputFile& file) {
  // Where its records begin shows only in walking it, and it is small: the first part has it all.
  if (pass.options.part > 1) {
    pass.account.outcome = LogOutcome::kOtherPart;
    return;
  }
  EvtCursor cursor;
  pass.account.outcome = LogOutcome::kTooLarge;
  if (file.size > kLargestEvt || !BeginEvtFileWalk(file, cursor, PolicyOf(pass.options))) return;
  const bool surveys = pass.account.surveyed;
  if (surveys) cursor.account.header = ReadEvtFileHeader(HeadOf(file, kEvtHeaderUsed));
  if (pass.options.recover) BeginEvtNotes(cursor);
  pass.log.is_evtx = false;
  PrepareEvtPass(pass);
  if (!IsStream(pass.options)) ExpectRows(pass.rows, RowsToExpect(file.size, kSmallEvtRecord));
  EvtRecord record;
  record.structure.policy = PolicyOf(pass.options);
  Progress& progress = pass.run.progress;
  for (std::uint64_t count = 0; !StopsHere(progress) && NextEvtRecord(cursor, record); ++count) {
    if (count % kProgressEvery == 0) Advance(progress, cursor.offset, file.size);
    RouteEvtRecord(pass, record);
    if (surveys) SurveyRecord(cursor.account, record);
  }
  if (pass.options.recover && !progress.stopped) RecoverEvt(pass, cursor, record);
  if (!progress.stopped) Advance(progress, file.size, file.size);
  WriteRows(pass);
  cursor.account.cut_records = record.cut_records;
  WriteEvtAccount(pass, cursor.account);
  pass.account.evt = std::move(cursor.account);
  pass.account.outcome = LogOutcome::kRead;
}

// Walks a file that is not empty.
void WalkContent(LogPass& pass, const InputFile& file) {
  switch (ContentOf(file, pass.options.complete)) {
    case LogContent::kEvtx: WalkEvtxFile(pass, file, kEvtxFileHeaderSize, kBlockSize); break;
    case LogContent::kChunks: WalkEvtxFile(pass, file, 0, file.size); break;  // one block
    case LogContent::kEvt: WalkEvtFile(pass, file); break;
    case LogContent::kNone:
      if (ContentOf(file, true) != LogContent::kNone) {
        pass.account.outcome = LogOutcome::kDamagedHeader;
      }
      break;
  }
}

}  // namespace

bool WalkLog(LogPass& pass) {
  const std::optional<InputFile> file = OpenInput(pass.log.path);
  if (file) return WalkLogFile(pass, *file);
  pass.account.log = pass.log;
  pass.account.outcome = LogOutcome::kNotOpened;
  AddWalk(pass.run.account, pass.account);
  return false;
}

// The rows of real logs take a few times the log's size.
std::size_t MemoryFor(std::uint64_t log_size) {
  constexpr std::uint64_t kLeast = std::uint64_t{40} << 20;
  constexpr std::uint64_t kMost = std::uint64_t{512} << 20;
  return static_cast<std::size_t>(std::clamp(std::min(log_size, kMost) * 64, kLeast, kMost));
}

bool WalkLogFile(LogPass& pass, const InputFile& file) {
  pass.most_memory = MemoryFor(file.size);
  Advance(pass.run.progress, 0, file.size);
  pass.account.outcome = LogOutcome::kNoEventLog;
  pass.account.size = file.size;
  pass.account.part = pass.options.part;
  pass.account.parts = pass.options.parts;
  pass.account.surveyed = IsToSurvey(pass.run.account, pass.log);
  std::uint8_t first = 0;
  const bool is_empty = ReadFully(file, 0, {&first, 1}) == 0;
  if (is_empty && file.size > 0) pass.account.outcome = LogOutcome::kUnreadable;
  if (!is_empty) WalkContent(pass, file);
  if (pass.run.progress.stopped) pass.account.outcome = LogOutcome::kInterrupted;
  pass.account.log = pass.log;
  AddWalk(pass.run.account, pass.account);
  return !is_empty;
}

}  // namespace tarnlex
