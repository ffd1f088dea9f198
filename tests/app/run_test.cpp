#include "app/run.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/usage.h"
#include "logs/status_line.h"
#include "tests/app/temp_directory.h"
#include "tests/support/console_input.h"

namespace tarnlex {
namespace {

struct Outcome {
  int code = 0;
  std::string out;
  std::string err;
};

Outcome RunWith(std::vector<std::string> args, std::string input = {}) {
  Outcome outcome;
  Console console;
  console.out = MakeStringSink(outcome.out);
  console.err = MakeStringSink(outcome.err);
  console.read_input = support::InputOf(std::move(input));
  args.insert(args.begin(), "tarnlex");
  outcome.code = RunApp(args, console);
  return outcome;
}

// What is said before anything else, by the rights that the tests run with.
std::string Warning() { return geteuid() == 0 ? "" : "... running w/o admin privileges ...\n"; }

TEST(Run, AnswersACallWithoutArgumentsWithTheUsage) {
  const Outcome outcome = RunWith({});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, Warning() + UsageText());
}

TEST(Run, AnswersHelpWhateverElseIsAsked) {
  const Outcome outcome = RunWith({"-log", "x.evtx", "/?", "-sqlite", "x"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, Warning() + UsageText());
}

TEST(Usage, StandsLineForLine) {
  const std::string text = UsageText();
  EXPECT_EQ(text.substr(0, text.find("  tarnlex -livesys")),
            std::string(77, '-') +
                "\n\ntarnlex ver: 0.33\n\nUsage:\n\n"
                "  tarnlex -log \"log1 | log2 | ..\"   = pull data from extracted logs\n");
  EXPECT_NE(text.find("= pull data from Volume Shadow \n"), std::string::npos);
  EXPECT_NE(text.find("  dir c:\\somedir\\*.evtx /b /s | tarnlex -pipe\n\n Report options\n"),
            std::string::npos);
  EXPECT_NE(text.find("  -eventid \"id1, id2, .\" = \n  -string <substring>    = \n"),
            std::string::npos);
  EXPECT_TRUE(
      text.ends_with("  -csv_separator \"|\"     = use a pipe char for csv separator\n"
                     "  -stats <file>          = generate summary statistics\n"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 43);
}

TEST(Run, NeedsALog) {
  const Outcome outcome = RunWith({"-csv"});
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(outcome.err,
            Warning() + "need to specify a log file, via the -log <event log> option\n");
  EXPECT_TRUE(outcome.out.starts_with("tarnlex ver: 0.33\nrun time: "));
  EXPECT_TRUE(outcome.out.ends_with("\n\"cmdline: tarnlex -csv\"\n\n"));
}

TEST(Run, EndsWhenTheOptionsCannotBeParsed) {
  const Outcome outcome = RunWith({"-alias", "odd", "-pipe"});
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(outcome.err, Warning() + "inbalanced alias to true pathfiles, aborting\n");
}

TEST(Run, WithNothingPipedSaysOnlyItsHeader) {
  const Outcome outcome = RunWith({"-pipe", "-quiet"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, Warning() + "\n");
  EXPECT_TRUE(outcome.out.ends_with("\"cmdline: <filelist> ... | tarnlex -pipe -quiet\"\n\n"));
  EXPECT_EQ(RunWith({"-pipe"}).err, Warning() + "\n" + StatusLine(" \n"));
}

TEST(Run, ProcessesPipedLogs) {
  const TempDirectory directory;
  const std::string system = directory.AddFile("System.evtx", EmptyEvtx());
  const Outcome outcome = RunWith({"-pipe"}, system + "\r\n");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_NE(outcome.err.find(StatusLine(AnalyzingText(system))), std::string::npos);
  EXPECT_NE(outcome.err.find("processed log " + system + "\n"), std::string::npos);
}

TEST(Run, KeepsTheHeaderOnStandardOutputWithOut) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("System.evtx", EmptyEvtx());
  const std::string out = directory.AddFile("out.txt", "old");
  const Outcome outcome = RunWith({"-log", log, "-out", out});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_TRUE(outcome.out.starts_with("tarnlex ver: 0.33\n"));
  EXPECT_EQ(ReadFile(out), "");
}

TEST(Run, PutsItsHeaderInFrontOfTheStatistics) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("System.evtx", EmptyEvtx());
  const std::string stats = directory.path + "/stats.txt";
  const Outcome outcome = RunWith({"-log", log, "-stats", stats});
  EXPECT_EQ(outcome.code, 0);
  ASSERT_FALSE(outcome.out.empty());
  EXPECT_TRUE(ReadFile(stats).starts_with(outcome.out));
}

TEST(Run, EndsWhenTheStatisticsFileCannotBeCreated) {
  const Outcome outcome = RunWith({"-pipe", "-stats", "/none/such/stats.txt"});
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(outcome.err,
            Warning() + "\nprob creating stats file: /none/such/stats.txt, aborting\n");
}

}  // namespace
}  // namespace tarnlex
