#include "reports/unique.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "output/record_output.h"
#include "reports/command_language.h"
#include "reports/log_pass.h"
#include "reports/walk_log.h"
#include "tests/app/temp_directory.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

// A run over logs of one folder that gives each event once.
struct UniqueRun {
  TempDirectory directory;
  RunOptions options = {};
  std::string written;
  std::string said;
  TextSink out = MakeStringSink(written);
  TextSink messages = MakeStringSink(said);
  RunState run{messages, MakeRecordOutput(out, messages)};
  UniqueEvents events;

  // Walks a log of the events with these identifiers; gives how many lines that wrote.
  std::size_t Walk(std::uint64_t first, std::uint64_t last, bool only_notes = false) {
    support::EvtxBuilder log;
    for (std::uint64_t id = first; id <= last; ++id) log.AddEvent({.event_id = 1, .id = id});
    const support::ByteString bytes = log.Build();
    const LogInfo info{.path = directory.AddFile("log", std::string(bytes.begin(), bytes.end()))};
    options.event_json_form = options.complete = true;
    options.show_status = false;
    options.event_ids = {kAnyEventId};
    QueryList queries = PlainQueries(info, options);
    LogPass pass{options, run, info, queries};
    BeginUniquePass(pass.unique, events, only_notes);
    written.clear();
    WalkLog(pass);
    Flush(out);
    counts = pass.account.unique;
    return static_cast<std::size_t>(std::count(written.begin(), written.end(), '\n'));
  }
  UniqueCounts counts;  // of the log walked last
};

TEST(UniquePass, GivesWhatNoLogBeforeHasGiven) {
  UniqueRun run;
  EXPECT_EQ(run.Walk(1, 20), 20U);
  EXPECT_EQ(run.counts.duplicates, 0U);
  EXPECT_EQ(run.Walk(11, 30), 10U);
  EXPECT_EQ(run.counts.duplicates, 10U);
  EXPECT_EQ(run.Walk(1, 30), 0U);
  EXPECT_EQ(run.counts.duplicates, 30U);
}

TEST(UniquePass, GivesNothingWhereItOnlyTakesNotes) {
  UniqueRun run;
  EXPECT_EQ(run.Walk(1, 20, true), 0U);
  EXPECT_EQ(run.counts.duplicates, 0U);
  EXPECT_EQ(run.Walk(1, 20), 20U);
}

TEST(UniquePass, GoesOnWithoutMemoryAndSaysSoOnce) {
  UniqueRun run;
  run.events.marks.most_bytes = 16 * 1024;  // for a quarter of the tables
  EXPECT_EQ(run.Walk(1, 300), 300U);
  EXPECT_GT(run.counts.not_compared, 100U);
  EXPECT_EQ(run.counts.not_compared + run.events.marks.count, 300U);
  EXPECT_EQ(run.Walk(1, 300), run.counts.not_compared);
  EXPECT_EQ(run.counts.duplicates, run.events.marks.count);
  EXPECT_EQ(run.said.find("no memory to tell more than "), 0U) << run.said;
  EXPECT_TRUE(run.said.ends_with(" events apart: others may be given again\n"));
  EXPECT_EQ(std::count(run.said.begin(), run.said.end(), '\n'), 1);
}

TEST(UniquePass, PrefersRecordsOfLogsToRecoveredOnes) {
  const Hash128 event{16, 1};
  UniqueEvents events;
  UniquePass notes;
  BeginUniquePass(notes, events, true);
  UniquePass pass;
  BeginUniquePass(pass, events, false);
  EXPECT_FALSE(TakeUse(notes, event, EventUse::kGive, false));
  EXPECT_FALSE(TakeUse(pass, event, EventUse::kGive, true));
  EXPECT_TRUE(TakeUse(pass, event, EventUse::kCount, true));
  EXPECT_TRUE(TakeUse(pass, event, EventUse::kGive, false));
  EXPECT_FALSE(TakeUse(pass, event, EventUse::kGive, false));
  // One that is recovered in the walk before is no record of a log.
  const Hash128 other{32, 1};
  EXPECT_FALSE(TakeUse(notes, other, EventUse::kGive, true));
  EXPECT_TRUE(TakeUse(pass, other, EventUse::kGive, true));
  EXPECT_FALSE(TakeUse(pass, other, EventUse::kGive, true));
}

}  // namespace
}  // namespace tarnlex
