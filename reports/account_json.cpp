#include "reports/account_json.h"

#include <algorithm>
#include <concepts>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "logs/iso_time.h"
#include "logs/run_options.h"
#include "output/json_text.h"

namespace tarnlex {
namespace {

// Members are put in one after the other; what stands in front tells whether a comma is due.
void PutName(std::string& line, std::string_view name) {
  if (!line.empty() && line.back() != '{' && line.back() != '[') line += ',';
  if (!name.empty()) line.append(JsonString(name)) += ':';
}

void Begin(std::string& line, std::string_view name, char bracket) {
  PutName(line, name);
  line += bracket;
}

// A list of objects: `put` puts in the members of one.
template <typename Entries, typename PutEntry>
void PutEach(std::string& line, std::string_view name, const Entries& entries, PutEntry put) {
  Begin(line, name, '[');
  for (const auto& entry : entries) {
    Begin(line, {}, '{');
    put(entry);
    line += '}';
  }
  line += ']';
}

template <std::unsigned_integral T>
void Put(std::string& line, std::string_view name, T number) {
  PutName(line, name);
  line += std::to_string(number);
}

void PutText(std::string& line, std::string_view name, std::string_view text) {
  PutName(line, name);
  line += JsonString(text);
}

void PutTruth(std::string& line, std::string_view name, bool truth) {
  PutName(line, name);
  line += truth ? "true" : "false";
}

void PutTime(std::string& line, std::string_view name, std::uint64_t filetime) {
  PutName(line, name);
  char text[32];
  line += filetime == 0
              ? std::string("null")
              : JsonString({text, static_cast<std::size_t>(WriteIsoTime(filetime, text) - text)});
}

void PutRecord(std::string& line, const SurveyedRecord& record) {
  Put(line, "record", record.id);
  Put(line, "at", record.file_offset);
}

void PutRecovered(std::string& line, const RecoveryCounts& counts) {
  Begin(line, "recovered", '{');
  for (std::size_t i = 0; i < counts.checked.size(); ++i) {
    Put(line, NameOf(static_cast<Checked>(i)), counts.checked[i]);
  }
  Put(line, "copies", counts.copies);
  line += '}';
}

void PutUnique(std::string& line, const UniqueCounts& counts) {
  Put(line, "duplicates", counts.duplicates);
  if (counts.not_compared > 0) Put(line, "not_compared", counts.not_compared);
}

void PutLosses(std::string& line, const Losses& losses) {
  Begin(line, "records", '{');
  Put(line, "decoded", losses.records);
  Put(line, "in_part", losses.partial);
  Put(line, "skipped", losses.skipped);
  Put(line, "left", losses.left);
  Put(line, "regained", losses.regained);
  Put(line, "copies", losses.copies);
  Put(line, "undated", losses.undated);
  Put(line, "other_time", losses.other_times);
  line += '}';
  if (losses.recovered.asked) PutRecovered(line, losses.recovered);
  if (losses.unique.asked) PutUnique(line, losses.unique);
}

void PutFault(std::string& line, const WalkAccount& account, RecordFault fault) {
  const std::uint64_t count = account.faults[static_cast<std::size_t>(fault)];
  if (count == 0) return;
  Begin(line, {}, '{');
  PutText(line, "reason", FaultName(fault));
  PutTruth(line, "loss", IsLoss(fault) || fault == RecordFault::kTemplateOffset);
  Put(line, "records", count);
  std::vector<FaultyRecord> records;
  std::copy_if(account.faulty.begin(), account.faulty.end(), std::back_inserter(records),
               [fault](const FaultyRecord& record) { return record.fault == fault; });
  PutEach(line, "places", records, [&](const FaultyRecord& record) {
    PutRecord(line, {record.record_id, record.file_offset});
  });
  line += '}';
}

void PutFaults(std::string& line, const WalkAccount& account) {
  Begin(line, "faults", '[');
  for (std::size_t i = 0; i < account.faults.size(); ++i) {
    PutFault(line, account, static_cast<RecordFault>(i));
  }
  line += ']';
}

void PutLeft(std::string& line, const WalkAccount& account) {
  PutEach(line, "chunks_left", account.left, [&](const LeftChunk& left) {
    Put(line, "chunk_at", left.file_offset);
    Put(line, "at", left.record_offset);
    Put(line, "promised", left.missing);
  });
}

void PutSkipped(std::string& line, const WalkAccount& account) {
  PutEach(line, "slots_skipped", account.skipped, [&](const SkippedSlots& run) {
    Put(line, "at", run.file_offset);
    Put(line, "slots", run.count);
    Put(line, "records", run.record_heads);
  });
}

void PutChunks(std::string& line, const WalkAccount& account) {
  Begin(line, "chunks", '{');
  Put(line, "walked", account.chunks);
  Put(line, "empty", account.empty_chunks);
  Put(line, "left", account.chunks_left);
  Put(line, "slots_skipped", account.skipped_slots);
  Put(line, "bytes_behind", account.trailing_bytes);
  line += '}';
}

void PutChecksums(std::string& line, const WalkAccount& account) {
  Begin(line, "checksums", '{');
  Put(line, "broken", account.broken_checksums);
  PutEach(line, "places", account.broken, [&](const BrokenChecksum& broken) {
    Put(line, "chunk_at", broken.file_offset);
    PutText(line, "of", broken.of == ChecksumOf::kChunkHeader ? "header" : "records");
  });
  line += '}';
}

// Of a part there is no telling whether the header's numbers agree with the log.
void PutEvtxHeader(std::string& line, const WalkAccount& account, bool whole) {
  const EvtxFileHeader& header = account.header;
  PutName(line, "header");
  if (!header.found) {
    line += "null";
    return;
  }
  const auto& ids = account.survey.ids;
  const std::uint64_t next = ids.empty() ? 1 : ids.rbegin()->second + 1;
  line += '{';
  PutTruth(line, "dirty", header.dirty);
  PutTruth(line, "full", header.full);
  PutTruth(line, "checksum_holds", header.checksum_holds);
  Put(line, "chunks", header.chunks);
  if (whole) {
    PutTruth(line, "chunks_agree", header.chunks == static_cast<std::uint16_t>(account.chunks));
  }
  Put(line, "next_record", header.next_record);
  if (whole) PutTruth(line, "next_record_agrees", header.next_record == next);
  line += '}';
}

void PutEvtHeader(std::string& line, const EvtAccount& account) {
  const EvtFileHeader& header = account.header;
  PutName(line, "header");
  if (!header.found) {
    line += "null";
    return;
  }
  const auto& ids = account.survey.ids;
  const std::uint64_t next = ids.empty() ? header.next_record : ids.rbegin()->second + 1;
  const std::uint64_t oldest = ids.empty() ? 0 : ids.begin()->first;
  line += '{';
  PutTruth(line, "dirty", header.dirty);
  PutTruth(line, "wrapped", header.wrapped);
  PutTruth(line, "full", header.full);
  Put(line, "oldest_record", header.oldest_record);
  PutTruth(line, "oldest_record_agrees", header.oldest_record == oldest);
  Put(line, "next_record", header.next_record);
  PutTruth(line, "next_record_agrees", header.next_record == next);
  line += '}';
}

void PutIdentifiers(std::string& line, const RecordSurvey& survey) {
  const IdGaps gaps = GapsOf(survey);
  Begin(line, "identifiers", '{');
  if (!survey.ids.empty()) {
    Put(line, "from", survey.ids.begin()->first);
    Put(line, "to", survey.ids.rbegin()->second);
  }
  Put(line, "gaps", gaps.count);
  Put(line, "missing", gaps.missing);
  Put(line, "repeated", survey.repeated);
  Put(line, "unplaced", survey.unplaced);
  PutEach(line, "places", gaps.gaps, [&](const IdGap& gap) {
    Put(line, "behind", gap.behind);
    Put(line, "before", gap.before);
  });
  line += '}';
}

void PutTimes(std::string& line, const RecordSurvey& survey) {
  Begin(line, "times", '{');
  PutTime(line, "first", survey.first_time);
  PutTime(line, "last", survey.last_time);
  Put(line, "back", survey.steps);
  PutEach(line, "places", survey.steps_back, [&](const StepBack& step) {
    PutRecord(line, step.record);
    PutTime(line, "time", step.record.time);
    PutTime(line, "time_before", step.time_before);
  });
  line += '}';
}

void PutCleared(std::string& line, const RecordSurvey& survey) {
  Begin(line, "cleared", '{');
  Put(line, "events", survey.clears);
  PutEach(line, "places", survey.cleared, [&](const ClearedLog& cleared) {
    Put(line, "event_id", cleared.event_id);
    PutRecord(line, cleared.record);
    PutTime(line, "time", cleared.record.time);
  });
  line += '}';
}

void PutSurvey(std::string& line, const RecordSurvey& survey) {
  PutTimes(line, survey);
  PutIdentifiers(line, survey);
  PutCleared(line, survey);
}

void PutEvtx(std::string& line, const WalkAccount& account, bool whole) {
  PutEvtxHeader(line, account, whole);
  PutChunks(line, account);
  PutChecksums(line, account);
  PutSkipped(line, account);
  PutLeft(line, account);
  PutFaults(line, account);
  PutSurvey(line, account.survey);
}

void PutEvt(std::string& line, const EvtAccount& account) {
  PutEvtHeader(line, account);
  Begin(line, "bytes", '{');
  Put(line, "skipped", account.skipped_bytes);
  Put(line, "behind", account.unwalked_bytes);
  line += '}';
  PutName(line, "torn_at");
  line += account.torn_record ? std::to_string(account.torn_offset) : "null";
  PutSurvey(line, account.survey);
}

// What was found in an image, and where.
void PutImage(std::string& line, const LogAccount& account) {
  const CarveCounts& counts = account.carved;
  PutLosses(line, LossesOf(account));
  Begin(line, "carved", '{');
  Put(line, "chunks", counts.chunks);
  Put(line, "sound_chunks", counts.sound_chunks);
  Put(line, "in_chunks", counts.in_chunks);
  Put(line, "outside", counts.outside);
  Put(line, "evt_headers", counts.evt_headers);
  Put(line, "evt_records", counts.evt_records);
  PutEach(line, "places", counts.list, [&](const CarvedChunk& chunk) {
    Put(line, "chunk_at", chunk.offset);
    Put(line, "records", chunk.records);
    PutTruth(line, "sound", chunk.sound);
  });
  if (counts.kept > 0) {
    Put(line, "kept", counts.kept);
    PutText(line, "file_headers", "made anew");
  }
  line += '}';
  Begin(line, "bytes", '{');
  Put(line, "searched", counts.searched);
  Put(line, "holes", counts.holes);
  Put(line, "unread", counts.unread);
  line += '}';
}

std::string_view TypeOf(const LogAccount& account) {
  if (account.outcome == LogOutcome::kNotSearched) return "folder";
  return account.is_image ? "image" : "log";
}

std::string_view OutcomeText(LogOutcome outcome) {
  switch (outcome) {
    case LogOutcome::kNotReached: return "not reached";
    case LogOutcome::kInterrupted: return "interrupted";
    case LogOutcome::kNoReport: return "no report for it";
    case LogOutcome::kOtherPart: return "in part 1";
    case LogOutcome::kNotOpened: return "not opened";
    case LogOutcome::kUnreadable: return "not readable";
    case LogOutcome::kNotSearched: return "not searched";
    case LogOutcome::kDamagedHeader: return "damaged header";
    case LogOutcome::kNoEventLog: return "no event log";
    case LogOutcome::kNotJudged: return "kind not known";
    case LogOutcome::kTooLarge: return "too large";
    case LogOutcome::kBrokenOff: return "broken off";
    case LogOutcome::kRead: break;
  }
  return "read";
}

}  // namespace

std::string LogLine(const LogAccount& account) {
  const LogInfo& log = account.log;
  const bool read = account.outcome == LogOutcome::kRead;
  std::string line;
  Begin(line, {}, '{');
  PutText(line, "type", TypeOf(account));
  PutText(line, "path", log.path);
  PutText(line, "outcome", OutcomeText(account.outcome));
  if (account.size > 0) Put(line, "size", account.size);
  if (account.parts > 1) {
    Put(line, "part", account.part);
    Put(line, "parts", account.parts);
  }
  if (account.is_image) {
    if (read) PutImage(line, account);
    return line + "}\n";
  }
  if (read || !log.format_unknown) PutText(line, "format", log.is_evtx ? "EVTX" : "EVT");
  if (log.kind_from != KindFrom::kNothing) {
    PutText(line, "kind", log.kind);
    PutText(line, "kind_from", log.kind_from == KindFrom::kRecords ? "records" : "file name");
  }
  if (read) {
    PutLosses(line, LossesOf(account));
    log.is_evtx ? PutEvtx(line, account.evtx, account.parts == 1) : PutEvt(line, account.evt);
  }
  return line + "}\n";
}

std::string RunLine(const RunAccount& run, const RunFacts& facts) {
  std::string line;
  Begin(line, {}, '{');
  PutText(line, "type", "run");
  PutText(line, "program", kProgramName);
  PutText(line, "version", std::string_view(kVersion).substr(std::string_view("ver: ").size()));
  Begin(line, "arguments", '[');
  for (const std::string& argument : facts.arguments) PutText(line, {}, argument);
  line += ']';
  PutTime(line, "began", facts.began);
  PutTime(line, "ended", facts.ended);
  Begin(line, "logs", '{');
  Put(line, "all", run.logs);
  Put(line, "read", run.read);
  Put(line, "not_opened", run.not_opened.count);
  Put(line, "passed_over", run.passed_over.count);
  line += '}';
  Put(line, "folders_not_searched", run.not_searched.count);
  PutLosses(line, run.losses);
  PutName(line, "exit");
  return line + std::to_string(facts.exit) + "}\n";
}

}  // namespace tarnlex
