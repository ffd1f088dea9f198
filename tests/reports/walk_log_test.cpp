#include "reports/walk_log.h"

#include <gtest/gtest.h>

#include "evtx/walk.h"
#include "output/record_output.h"
#include "output/statistics.h"
#include "reports/command_language.h"
#include "tests/app/temp_directory.h"
#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtxBuilder;

struct Walked {
  bool opened = false;
  bool wrote = false;
  bool is_evtx = false;
  std::string out;
  std::string messages;
  std::string trace;
};

// Walks a file of that name and content with queries for the given identifiers.
Walked Walk(const std::string& name, const ByteString& content,
            const std::vector<std::uint64_t>& ids = {kAnyEventId}, bool show_status = false) {
  const TempDirectory directory;
  const std::string path = directory.AddFile(name, std::string(content.begin(), content.end()));
  Walked walked;
  TextSink out = MakeStringSink(walked.out);
  TextSink messages = MakeStringSink(walked.messages);
  RunState run{messages, MakeRecordOutput(out, messages)};
  run.diags = MakeStringSink(walked.trace);
  RunOptions options;
  options.show_status = show_status;
  QueryList queries;
  for (const std::uint64_t id : ids) {
    QuerySpec query;
    query.event_id = id;
    query.name = "query" + std::to_string(queries.size());
    query.pull = {"EventRecordID"};
    queries.push_back(query);
  }
  LogInfo log;
  log.path = path;
  LogPass pass{options, run, log, queries};
  walked.opened = WalkLog(pass);
  walked.wrote = pass.wrote;
  walked.is_evtx = pass.log.is_evtx;
  CloseRecordOutput(run.records);
  Flush(out);
  Flush(messages);
  Flush(*run.diags);
  return walked;
}

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

EvtxBuilder Chunks(int chunks) {
  EvtxBuilder log;
  for (int i = 0; i < chunks; ++i) {
    log.AddChunk();
    log.AddEvent({.event_id = 4624}).AddEvent({.event_id = 4634});
  }
  return log;
}

TEST(WalkLog, ReadsALogOfMoreChunksThanOneBlock) {
  const Walked walked = Walk("x.evtx", Chunks(103).Build());
  EXPECT_TRUE(walked.opened);
  EXPECT_EQ(CountOf(walked.out, "query0"), 206U);
  EXPECT_NE(walked.trace.find("chunks walked: 103\n"), std::string::npos);
  EXPECT_NE(walked.trace.find("records decoded: 206\n"), std::string::npos);
}

// A run that writes into a text.
struct TextRun {
  std::string written;
  TextSink out = MakeStringSink(written);
  RunState run{out, MakeRecordOutput(out, out)};
};

// All values of the logs, read one after the other.
std::string Dump(const std::vector<EvtxBuilder>& logs, TextRun& text) {
  const TempDirectory directory;
  text.written.clear();
  RunOptions options;
  options.show_status = false;
  for (std::size_t i = 0; i < logs.size(); ++i) {
    const ByteString file = logs[i].Build();
    LogInfo log;
    log.path = directory.AddFile("log", std::string(file.begin(), file.end()));
    QueryList queries(1);
    queries.front().all_data = true;
    LogPass pass{options, text.run, log, queries};
    WalkLog(pass);
    for (std::size_t at; (at = text.written.find(log.path)) != std::string::npos;) {
      text.written.erase(at, log.path.size());
    }
  }
  return text.written;
}

TEST(WalkLog, WhatALogTeachesChangesNothingInTheNext) {
  // The same GUID stands for another definition in the second log, and the third has both names.
  std::vector<EvtxBuilder> logs(3);
  for (int i = 0; i < 3; ++i) {
    logs[0].AddEvent({.event_id = 1, .data = {{"User", "a"}, {"Type", "b"}}});
    logs[1].AddEvent({.event_id = 1, .data = {{"Type", "c"}, {"Host", "d"}, {"User", "e"}}});
    logs[2].AddEvent({.event_id = 1, .data = {{"Type", "f"}, {"User", "g"}}});
    logs[2].AddEvent({.event_id = 2, .data = {{"User", "h"}}});
  }
  TextRun text;
  const EvtxDecoder& decoder = text.run.evtx_decoder;
  const std::string together = Dump(logs, text);
  EXPECT_EQ(CountOf(together, "Microsoft-Windows-Security-Auditing"), 2 * 12U);
  std::string alone;
  for (const EvtxBuilder& log : logs) {
    TextRun fresh;
    alone += Dump({log}, fresh);
  }
  EXPECT_EQ(together, alone);
  EXPECT_GT(decoder.store.plans_made, 0U);

  // A cache that earlier logs have filled makes room for the next one.
  const std::size_t learnt = decoder.store.bytes;
  text.run.evtx_decoder.store.bytes += std::size_t{8} << 20;
  EXPECT_EQ(Dump(logs, text), together);
  EXPECT_EQ(decoder.store.bytes, learnt);
}

// Rows that take more memory than they may go out early, and with them their column sets, whose
// addresses the next ones may get.
TEST(LogPass, CountsKeyValuesBehindRowsThatWentOutEarly) {
  EvtxBuilder log;
  for (int i = 0; i < 40; ++i) {
    log.AddEvent({.event_id = 1, .data = {{"Key", "k"}, {"Other", "o"}}});
    log.AddEvent({.event_id = 2, .data = {{"A", "a"}, {"B", "b"}, {"Key", "k"}}});
  }
  TextRun text;
  Statistics& statistics = text.run.statistics;
  RunOptions options;
  options.stats_on = true;
  options.hist_ids = {"key"};
  options.event_ids = {kAnyEventId};
  const LogInfo read{.path = "x.evtx"};
  QueryList queries = PlainQueries(read, options);
  LogPass pass{options, text.run, read, queries};
  BeginWalk(statistics, pass.log, queries.size(), true);
  PrepareEvtxPass(pass);
  pass.most_memory = 1;
  EvtxHandlers handlers;
  handlers.record = [&pass](EvtxDecoder& decoder, DecodedEvent& event) {
    RouteEvtxRecord(pass, decoder, event);
  };
  const ByteString chunks = log.BuildChunks();
  EvtxDecoder decoder;
  WalkSlots(decoder, chunks, 4096, handlers);
  WriteRows(pass);
  const FilterCounts& counts = statistics.logs.at("x.evtx").filters.at(0);
  ASSERT_EQ(counts.entries.size(), 2U);
  for (const auto& [key, span] : counts.entries) {
    EXPECT_EQ(key.substr(8), std::string("\0k", 2));
    EXPECT_EQ(span.count, 40U);
  }
}

TEST(WalkLog, ReadsAFileThatBeginsWithAChunk) {
  ByteString file = Chunks(2).BuildChunks();
  file.resize(file.size() + 1000);
  const Walked walked = Walk("carved.bin", file);
  EXPECT_TRUE(walked.is_evtx);
  EXPECT_EQ(CountOf(walked.out, "query0"), 4U);
  EXPECT_NE(walked.trace.find("bytes behind the last whole chunk: 1000\n"), std::string::npos);
}

TEST(WalkLog, TriesEverySlotOfALogWhoseFirstChunkIsLost) {
  ByteString file = Chunks(53).Build();
  support::RemoveChunkMagic(file, 0);
  support::RemoveChunkMagic(file, 50);  // the first of the second block
  EXPECT_EQ(CountOf(Walk("x.evtx", file).out, "query0"), 102U);
}

TEST(WalkLog, ALogShorterThanOneChunkHasNoRecordsAndNoMessage) {
  ByteString file = Chunks(1).Build();
  for (const std::size_t size : {file.size() - 1, std::size_t{4096}, std::size_t{7}}) {
    support::Truncate(file, size);
    const Walked walked = Walk("x.evtx", file);
    EXPECT_TRUE(walked.opened);
    EXPECT_FALSE(walked.wrote);
    EXPECT_EQ(walked.out + walked.messages, "");
  }
}

TEST(WalkLog, AnythingElseGoesToTheEvtWalk) {
  support::EvtBuilder log;
  log.AddEntry({.event_id = 528});
  const Walked walked = Walk("x.bin", log.Build());
  EXPECT_FALSE(walked.is_evtx);
  EXPECT_EQ(CountOf(walked.out, "query0"), 1U);
  EXPECT_FALSE(Walk("x.bin", ByteString(5000, 'x')).wrote);
}

TEST(WalkLog, SaysWhenThereIsNothingToRead) { EXPECT_FALSE(Walk("x.evtx", {}).opened); }

TEST(WalkLog, TheFirstQueryThatTakesARecordOwnsIt) {
  const Walked walked = Walk("x.evtx", Chunks(1).Build(), {4634, kAnyEventId, 4624});
  EXPECT_EQ(CountOf(walked.out, "query0"), 1U);
  EXPECT_EQ(CountOf(walked.out, "query1"), 1U);
  EXPECT_EQ(CountOf(walked.out, "query2"), 0U);
}

TEST(WalkLog, ShowsProgressAtTheFirstAndEverySeventeenthRecordOfABlock) {
  EvtxBuilder log;
  for (int i = 0; i < 40; ++i) log.AddEvent({.event_id = 1});
  const Walked walked = Walk("A%4Log.evtx", log.Build(), {kAnyEventId}, true);
  for (const char* part : {"a 4log.evtx: 1 ", "a 4log.evtx: 18 ", "a 4log.evtx: 35 "}) {
    EXPECT_EQ(CountOf(walked.messages, part), 1U) << part;
  }
  EXPECT_EQ(CountOf(walked.messages, "a 4log.evtx: "), 3U);
}

TEST(WalkLog, ShowsFifteenCharactersOfALongName) {
  const Walked plain = Walk("0123456789abcdef.evtx", Chunks(1).Build(), {kAnyEventId}, true);
  EXPECT_EQ(CountOf(plain.messages, "0123456789abcde..: 1 "), 1U);
  EXPECT_EQ(CountOf(Walk("0123456789.evtx", Chunks(1).Build(), {kAnyEventId}, true).messages,
                    "0123456789.evtx: 1 "),
            1U);
  // Characters, not bytes: none may be cut in two.
  const Walked wide =
      Walk("0123456789abcd\xC3\xA4xyz.evtx", Chunks(1).Build(), {kAnyEventId}, true);
  EXPECT_EQ(CountOf(wide.messages, "0123456789abcd\xC3\xA4..: 1 "), 1U);
}

// What a part of a log makes of a file in memory, and how much of it was read.
struct PartWalk {
  std::string out;
  std::uint64_t read = 0;
};

PartWalk WalkPart(const ByteString& content, std::uint64_t part, std::uint64_t parts) {
  PartWalk walked;
  const InputFile file{content.size(), [&](std::uint64_t offset, std::span<std::uint8_t> to) {
                         const std::size_t from = std::min<std::size_t>(offset, content.size());
                         const std::size_t size = std::min(to.size(), content.size() - from);
                         std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(from), size,
                                     to.begin());
                         walked.read += size;
                         return size;
                       }};
  TextRun text;
  RunOptions options;
  options.show_status = false;
  options.csvgen_form = true;
  options.delimited = true;
  options.part = part;
  options.parts = parts;
  QueryList queries(1);
  queries.front().pull = {"EventRecordID"};
  LogPass pass{options, text.run, {.path = "x.evtx"}, queries};
  WalkLogFile(pass, file);
  walked.out = text.written;
  return walked;
}

TEST(WalkLog, PartsHaveEachRecordOnce) {
  ByteString file = Chunks(53).Build();
  support::RemoveChunkMagic(file, 20);
  const ByteString bare(file.begin() + support::kEvtxHeaderSize, file.end());
  for (const ByteString& log : {file, bare}) {
    for (const std::uint64_t parts : {1U, 2U, 3U, 7U, 52U, 53U, 54U, 300U}) {
      std::string rows;
      for (std::uint64_t part = 1; part <= parts; ++part) {
        const std::string out = WalkPart(log, part, parts).out;
        if (!out.empty()) rows += out.substr(out.find('\n') + 1);
      }
      const std::string whole = WalkPart(log, 1, 1).out;
      EXPECT_EQ(CountOf(whole, "\n"), 105U);
      EXPECT_EQ(rows, whole.substr(whole.find('\n') + 1)) << parts;
    }
  }
}

TEST(WalkLog, PartsAreReadByThemselves) {
  const ByteString file = Chunks(40).Build();
  for (std::uint64_t part = 1; part <= 8; ++part) {
    const PartWalk walked = WalkPart(file, part, 8);
    EXPECT_GE(walked.read, 5 * support::kEvtxChunkSize);
    EXPECT_LE(walked.read, 6 * support::kEvtxChunkSize) << "and the beginning, to know the format";
  }
}

}  // namespace
}  // namespace tarnlex
