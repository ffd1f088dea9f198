// A run that is interrupted leaves whole rows, and says how far it came.
#include <gtest/gtest.h>

#include <csignal>
#include <utility>

#include "tests/end_to_end/in_process.h"
#include "tests/support/child_run.h"
#include "tests/support/console_input.h"
#include "tests/support/evt_builder.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

// Several chunks, of which a few are read at a time.
std::string LongLog(int chunks, int records_per_chunk, std::string_view text = "x") {
  support::EvtxBuilder log;
  for (int chunk = 0; chunk < chunks; ++chunk) {
    log.AddChunk();
    for (int i = 0; i < records_per_chunk; ++i) {
      log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", text}}});
    }
  }
  const support::ByteString bytes = log.Build();
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

struct InterruptTest : testing::Test {
  TempDirectory directory;
  int asked = 0;

  // Interrupted when that has been asked for so many times.
  Outcome Run(std::vector<std::string> args, int after, std::string input = {}) {
    Outcome outcome;
    Console console;
    console.out = MakeStringSink(outcome.out);
    console.err = MakeStringSink(outcome.err);
    console.interrupted = [this, after] { return ++asked > after; };
    console.read_input = support::InputOf(std::move(input));
    args.insert(args.begin(), "tarnlex");
    asked = 0;
    outcome.code = RunApp(args, console);
    return outcome;
  }
};

std::size_t CountOf(std::string_view part, std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; ++at) ++count;
  return count;
}

std::string Behind(std::string_view mark, const std::string& text) {
  const std::size_t at = text.find(mark);
  return at == std::string::npos ? "" : text.substr(at);
}

TEST_F(InterruptTest, WritesTheRowsThatWereReadAndSaysWhereItEnded) {
  const std::string log = directory.AddFile("Security.evtx", LongLog(9, 2));
  const std::string stats = directory.path + "/stats";
  const std::string diags = directory.path + "/diags";
  // Once for the log, once for each four chunks.
  const Outcome run = Run({"-log", log, "-csvgen", "-quiet", "-stats", stats, "-diags", diags}, 3);
  EXPECT_EQ(run.code, kInterruptedRun);
  EXPECT_EQ(CountOf(",4624,0", run.out), 16U);
  EXPECT_EQ(run.out.back(), '\n');
  const std::string at = "interrupted in log 1 of 1, " + log + ", at 44% of it\n";
  EXPECT_EQ(Behind("interrupted", run.err), at + "what was read until then is written\n");
  EXPECT_EQ(Behind("interrupted", ReadFile(stats)), at);
  EXPECT_EQ(Behind("interrupted", ReadFile(diags)), at);
  EXPECT_NE(ReadFile(stats).find("    4624,         16,"), std::string::npos) << ReadFile(stats);
}

TEST_F(InterruptTest, CountsNothingOfLogsThatItDidNotRead) {
  const std::string a = directory.AddFile("a.evtx", LongLog(1, 2));
  const std::string b = directory.AddFile("b.evtx", LongLog(1, 2));
  const std::string stats = directory.path + "/stats";
  const Outcome run = Run({"-log", a + "|" + b, "-csvgen", "-quiet", "-stats", stats}, 2);
  EXPECT_EQ(run.code, kInterruptedRun);
  EXPECT_NE(run.err.find("interrupted after log 1 of 2, " + a + "\n"), std::string::npos);
  EXPECT_NE(ReadFile(stats).find("log: " + a), std::string::npos);
  EXPECT_EQ(ReadFile(stats).find("log: " + b), std::string::npos);
}

TEST_F(InterruptTest, ClosesWhatItHasBegun) {
  const std::string log = directory.AddFile("Security.evtx", LongLog(9, 2));
  const Outcome run = Run({"-log", log, "-event_xml", "-quiet"}, 2);
  EXPECT_EQ(run.code, kInterruptedRun);
  EXPECT_EQ(CountOf("<Event ", run.out), 8U);
  EXPECT_TRUE(run.out.ends_with("</Event>\n</Events>\n"));
}

TEST_F(InterruptTest, LeavesFilesOfEarlierRunsAlone) {
  const std::string log = directory.AddFile("Security.evtx", LongLog(9, 2));
  directory.AddFile("out/empty.evtx.csv", "old");
  const std::string empty = directory.AddFile("empty.evtx", EmptyEvtx());
  const std::vector<std::string> args = {"-log",   empty + "|" + log, "-csvgen",
                                         "-quiet", "-outdir",         directory.path + "/out"};
  EXPECT_EQ(Run(args, 3).code, kInterruptedRun);
  EXPECT_TRUE(std::filesystem::exists(directory.path + "/out/empty.evtx.csv"));
  EXPECT_EQ(Run(args, 1000).code, 0);
  EXPECT_FALSE(std::filesystem::exists(directory.path + "/out/empty.evtx.csv"));
}

TEST_F(InterruptTest, AccountsForTheLogAtHandAndThoseBehindIt) {
  const std::string a = directory.AddFile("a.evtx", LongLog(1, 2));
  const std::string b = directory.AddFile("b.evtx", LongLog(9, 2));
  const std::string c = directory.AddFile("c.evtx", LongLog(1, 2));
  const std::string account = directory.path + "/account";
  // Once for each log, once for each four chunks.
  const Outcome run = Run({"-log", a + "|" + b + "|" + c + "|" + directory.path + "/gone",
                           "-csvgen", "-quiet", "-strict", "-account", account},
                          4);
  EXPECT_EQ(run.code, kInterruptedRun);
  const std::string lines = ReadFile(account);
  EXPECT_EQ(CountOf("\n", lines), 5U);
  EXPECT_NE(lines.find(a + R"(","outcome":"read",)"), std::string::npos) << lines;
  EXPECT_NE(lines.find(b + R"(","outcome":"interrupted","size":593920,)"), std::string::npos);
  EXPECT_NE(lines.find(c + R"(","outcome":"not reached",)"), std::string::npos);
  EXPECT_NE(lines.find(R"(/gone","outcome":"not opened"})"), std::string::npos);
  EXPECT_NE(lines.find(R"("logs":{"all":4,"read":1,"not_opened":1,"passed_over":0})"),
            std::string::npos);
  EXPECT_TRUE(lines.ends_with("\"exit\":130}\n"));
  EXPECT_TRUE(Behind("interrupted", run.err)
                  .ends_with("what was read until then is written\nnot opened: 1 log (" +
                             directory.path + "/gone); " + account + " names them\n"))
      << run.err;
}

TEST_F(InterruptTest, AccountsForThePipedLogItWasInterruptedIn) {
  const std::string log = directory.AddFile("Security.evtx", LongLog(9, 2));
  const std::string account = directory.path + "/account";
  Run({"-pipe", "-csvgen", "-quiet", "-account", account}, 2, log + "\n" + log + "\n");
  const std::string lines = ReadFile(account);
  EXPECT_EQ(CountOf("\n", lines), 2U);
  EXPECT_NE(lines.find(log + R"(","outcome":"interrupted",)"), std::string::npos) << lines;
  EXPECT_TRUE(lines.ends_with("\"exit\":130}\n"));
}

TEST_F(InterruptTest, ReadsNoMorePipedPaths) {
  const std::string log = directory.AddFile("Security.evtx", LongLog(9, 2));
  const Outcome run = Run({"-pipe", "-csvgen"}, 2, log + "\n" + log + "\n");
  EXPECT_EQ(run.code, kInterruptedRun);
  EXPECT_EQ(CountOf(",4624,0", run.out), 8U);
  EXPECT_EQ(CountOf("processed log", run.err), 0U);
  EXPECT_NE(run.err.find("interrupted in log 1, " + log + ", at "), std::string::npos);
}

TEST_F(InterruptTest, EndsTheSearchForLogs) {
  directory.AddFile("a.evtx", EmptyEvtx());
  directory.AddFile("b.evtx", EmptyEvtx());
  const Outcome run = Run({"-dir", directory.path, "-out", directory.path + "/out"}, 1);
  EXPECT_EQ(run.code, kInterruptedRun);
  EXPECT_TRUE(run.err.ends_with("interrupted while looking for logs\n")) << run.err;
  EXPECT_FALSE(std::filesystem::exists(directory.path + "/out"));
}

TEST_F(InterruptTest, StopsBetweenRecordsOfOldLogs) {
  support::EvtBuilder builder;
  for (int i = 0; i < 9; ++i) builder.AddEntry({.event_id = 7});
  const support::ByteString bytes = builder.Build();
  const std::string log =
      directory.AddFile("a.evt", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  // Once for the log, once for each record.
  const Outcome run = Run({"-log", log, "-csvgen", "-quiet"}, 4);
  EXPECT_EQ(run.code, kInterruptedRun);
  EXPECT_EQ(CountOf(",7,", run.out), 3U);
}

// The row that a terminal is being sent is the last one.
TEST_F(InterruptTest, StopsATableOnATerminalBehindTheRow) {
  const std::string log =
      directory.AddFile("Security.evtx", LongLog(16, 50, std::string(900, 'x')));
  Outcome outcome;
  Console console;
  std::size_t writes = 0;
  console.out = MakeSink([&](std::string_view text) {
    ++writes;
    outcome.out += text;
    return true;
  });
  console.out_is_terminal = true;
  console.err = MakeStringSink(outcome.err);
  console.interrupted = [&writes] { return writes > 2; };
  outcome.code = RunApp({"tarnlex", "-log", log, "-csvgen", "-quiet"}, console);
  EXPECT_EQ(outcome.code, kInterruptedRun);
  EXPECT_LT(CountOf(",4624,0", outcome.out), 800U);
  EXPECT_TRUE(outcome.out.ends_with("/Security.evtx\n"));
  EXPECT_TRUE(outcome.err.ends_with("rows behind the last one shown are not written\n"))
      << outcome.err;
}

// As processes, which are interrupted while they wait for their reader.
struct InterruptedProgram : testing::Test {
  TempDirectory directory;
  std::string log = directory.AddFile("Security.evtx", LongLog(40, 50, std::string(900, 'x')));
};

TEST_F(InterruptedProgram, EndsByTheSignalWithWholeRecords) {
  std::string printed;
  const support::ChildRun run =
      support::RunAndInterrupt(TARNLEX_PROGRAM, {"-log", log, "-event_xml", "-quiet"}, 1, printed);
  EXPECT_EQ(run.signal, SIGINT);
  EXPECT_TRUE(printed.ends_with("</Event>\n</Events>\n"));
  EXPECT_LT(CountOf("<Event ", printed), 2000U);
  EXPECT_NE(run.err.find("interrupted in log 1 of 1, " + log), std::string::npos) << run.err;
}

TEST_F(InterruptedProgram, WritesAllRowsOfATableThatItHasRead) {
  std::string printed;
  const support::ChildRun run = support::RunAndInterrupt(
      TARNLEX_PROGRAM,
      {"-log", log + "|" + directory.AddFile("z.evtx", LongLog(1, 2)), "-csvgen", "-quiet"}, 1000,
      printed);
  EXPECT_EQ(run.signal, SIGINT);
  EXPECT_EQ(CountOf(",4624,0", printed), 2000U);
  EXPECT_EQ(printed.back(), '\n');
  EXPECT_NE(run.err.find("interrupted after log 1 of 2, " + log), std::string::npos) << run.err;
}

TEST_F(InterruptedProgram, EndsAtOnceWhenInterruptedAgain) {
  std::string printed;
  const support::ChildRun run = support::RunAndInterrupt(
      TARNLEX_PROGRAM, {"-log", log, "-event_xml", "-quiet"}, 1, printed, true);
  EXPECT_EQ(run.signal, SIGINT);
  EXPECT_EQ(run.err.find("interrupted"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace tarnlex
