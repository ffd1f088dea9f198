// Output that cannot be written: a full disk is said, a reader that has gone is not.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "tests/app/temp_directory.h"
#include "tests/end_to_end/in_process.h"
#include "tests/support/child_run.h"
#include "tests/support/console_input.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

constexpr const char* kFull = "/dev/full";
constexpr int kMinusOne = 255;  // as a process ends with it

std::string LogOf(int records) {
  support::EvtxBuilder log;
  for (int i = 0; i < records; ++i) {
    log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", "alice"}}});
  }
  const support::ByteString bytes = log.Build();
  return {bytes.begin(), bytes.end()};
}

bool SaysSo(const std::string& err) {
  constexpr std::string_view kText = "prob writing output, aborting\n";
  const std::size_t at = err.find(kText);
  return at != std::string::npos && err.find(kText, at + 1) == std::string::npos;
}

TEST(FailedWrite, OfStandardOutputEndsTheRun) {
  if (access(kFull, W_OK) != 0) GTEST_SKIP() << "no " << kFull;
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", LogOf(10));
  const support::ChildRun run = support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-log", log}, kFull);
  EXPECT_EQ(run.exit_code, kMinusOne);
  EXPECT_TRUE(SaysSo(run.err)) << run.err;
}

TEST(FailedWrite, OfAnyFileEndsTheRun) {
  if (access(kFull, W_OK) != 0) GTEST_SKIP() << "no " << kFull;
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", LogOf(10));
  for (const std::string option : {"-out", "-stats", "-diags"}) {
    const support::ChildRun run =
        support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-log", log, option, kFull});
    EXPECT_EQ(run.exit_code, kMinusOne) << option;
    EXPECT_TRUE(SaysSo(run.err)) << option << run.err;
  }
}

// What some file systems only say when a file is closed.
TEST(FailedWrite, IsNoticedAtTheClosingOfAnyFile) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer must be loaded first";
#else
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", LogOf(10));
  for (const std::string option : {"-out", "-stats", "-diags", "-outdir"}) {
    const std::vector<std::string> args = {"-quiet", "-log", log, option, directory.path + "/out"};
    EXPECT_EQ(support::RunChild(TARNLEX_PROGRAM, args).exit_code, 0) << option;
    ASSERT_EQ(setenv("LD_PRELOAD", TARNLEX_FAILING_CLOSE, 1), 0);
    const support::ChildRun run = support::RunChild(TARNLEX_PROGRAM, args);
    unsetenv("LD_PRELOAD");
    EXPECT_EQ(run.exit_code, kMinusOne) << option;
    EXPECT_TRUE(SaysSo(run.err)) << option << run.err;
    std::filesystem::remove_all(directory.path + "/out");
  }
#endif
}

TEST(FailedWrite, LeavesTheLogsBehindItUnread) {
  const TempDirectory directory;
  directory.AddFile("Security.evtx", LogOf(10));
  directory.AddFile("System.evtx", LogOf(10));
  std::string err;
  int written = 0;
  Console console;
  // The header goes through, the first log's records do not.
  console.out = MakeSink([&written](std::string_view) { return ++written < 2; });
  console.err = MakeStringSink(err);
  console.read_input =
      support::InputOf(directory.path + "/Security.evtx\n" + directory.path + "/System.evtx\n");
  EXPECT_EQ(RunApp({"tarnlex", "-pipe"}, console), -1);
  EXPECT_EQ(written, 2);
  EXPECT_TRUE(SaysSo(err));
  EXPECT_NE(err.find("processed log " + directory.path + "/Security.evtx"), std::string::npos);
  EXPECT_EQ(err.find("System.evtx"), std::string::npos);
}

// Runs a shell command; gives what it prints and how it ended.
std::string Shell(const std::string& command, int& status) {
  std::string text;
  FILE* pipe = popen(("exec 2>&1; " + command).c_str(), "r");
  char block[4096];
  for (std::size_t got = 0; (got = fread(block, 1, sizeof block, pipe)) > 0;) {
    text.append(block, got);
  }
  status = pclose(pipe);
  return text;
}

TEST(FailedWrite, ToAReaderThatHasSeenEnoughIsQuiet) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", LogOf(20'000));
  int status = -1;
  const std::string command = std::string("'" TARNLEX_PROGRAM "' -quiet -log '") + log + "'";
  const std::string text = Shell(
      "{ " + command + "; echo \"ended with $?\" >'" + directory.path + "/end'; } | head -n 10",
      status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text.find("prob"), std::string::npos);
  EXPECT_EQ(text.find("roken"), std::string::npos);
  EXPECT_EQ(ReadFile(directory.path + "/end"), "ended with 0\n");
}

// Runs a shell command whose standard output nobody reads any more; how it ended stands in "end".
std::string ShellUnread(const TempDirectory& directory, const std::string& command) {
  int status = -1;
  // What is printed first fails as soon as the reader has gone.
  return Shell("cd '" + directory.path +
                   "' && { (trap '' PIPE; while printf x; do :; done) 2>/dev/null; " + command +
                   "; echo \"ended with $?\" >end; } | true",
               status);
}

TEST(FailedWrite, OfARunHeaderThatNobodyReadsChangesNothingInFiles) {
  const TempDirectory directory;
  directory.AddFile("a.evtx", LogOf(10));
  const std::string files = " -stats stats -diags diags";
  for (const auto& [option, path] :
       {std::pair{" -out out", "/out"}, {" -outdir dir", "/dir/a.evtx.txt"}}) {
    const std::string command = std::string("'" TARNLEX_PROGRAM "' -quiet -log a.evtx") + option;
    int status = -1;
    Shell("cd '" + directory.path + "' && " + command, status);
    const std::string expected = ReadFile(directory.path + path);
    EXPECT_EQ(std::count(expected.begin(), expected.end(), '\n'), 12) << expected;
    directory.AddFile(std::string(path).substr(1), "left by an older run");
    const std::string text = ShellUnread(directory, command + files);
    EXPECT_EQ(text.find("prob"), std::string::npos) << text;
    EXPECT_EQ(ReadFile(directory.path + "/end"), "ended with 0\n");
    EXPECT_EQ(ReadFile(directory.path + path), expected);
    EXPECT_NE(ReadFile(directory.path + "/stats").find("\n     all |          10 | "),
              std::string::npos);
    EXPECT_NE(ReadFile(directory.path + "/diags").find("--- account of"), std::string::npos);
  }
}

TEST(FailedWrite, OfARunHeaderThatHasNowhereToGoIsNone) {
  const TempDirectory directory;
  directory.AddFile("a.evtx", LogOf(10));
  const std::string command =
      "cd '" + directory.path + "' && '" TARNLEX_PROGRAM "' -quiet -log a.evtx";
  int status = -1;
  EXPECT_EQ(Shell(command + " -out out >&-", status).find("prob"), std::string::npos);
  EXPECT_EQ(status, 0);
  EXPECT_NE(ReadFile(directory.path + "/out").find("| alice"), std::string::npos);
  EXPECT_TRUE(SaysSo(Shell(command + " >&-", status)));
  EXPECT_NE(status, 0);
}

TEST(FailedWrite, OfAllRecordsEndsTheRunWithMinusOne) {
  const TempDirectory directory;
  directory.AddFile("a.evtx", LogOf(10));
  const std::string command = "'" TARNLEX_PROGRAM "' -quiet -log a.evtx";
  for (const std::string option : {"", " -stats stats", " -diags diags"}) {
    const std::string text = ShellUnread(directory, command + option);
    EXPECT_TRUE(SaysSo(text)) << text;
    EXPECT_EQ(ReadFile(directory.path + "/end"), "ended with 255\n") << option;
  }
}

// A run over `logs` whose reader leaves when it has taken `writes` of the blocks that came.
Outcome RunWithReader(int writes, const std::string& logs, const std::vector<std::string>& more) {
  Outcome outcome;
  Console console;
  console.out = MakeSink([&](std::string_view text) {
    if (writes-- > 0) outcome.out.append(text);
    return writes >= 0;
  });
  console.err = MakeStringSink(outcome.err);
  console.reader_gone = [&writes] { return writes < 0; };
  std::vector<std::string> args = {"tarnlex", "-quiet", "-log", logs};
  args.insert(args.end(), more.begin(), more.end());
  outcome.code = RunApp(args, console);
  return outcome;
}

TEST(FailedWrite, IsAFailureOnlyToAReaderThatGotNoRecord) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", LogOf(100));
  const Outcome header_only = RunWithReader(1, log, {});
  EXPECT_EQ(header_only.code, -1);
  EXPECT_TRUE(SaysSo(header_only.err)) << header_only.err;
  EXPECT_EQ(BehindRunHeader(header_only.out), "");
  const Outcome cut = RunWithReader(2, log, {});
  EXPECT_EQ(cut.code, 0);
  EXPECT_EQ(cut.err.find("prob"), std::string::npos) << cut.err;
  EXPECT_TRUE(BehindRunHeader(cut.out).starts_with(" Record#")) << cut.out;
  EXPECT_EQ(RunWithReader(1, log, {"-eventid", "1"}).code, 0);
}

TEST(FailedWrite, ToAReaderThatLeavesKeepsNoOtherFileFromBeingWhole) {
  const TempDirectory directory;
  const std::string logs =
      directory.AddFile("a.evtx", LogOf(10)) + "|" + directory.AddFile("b.evtx", LogOf(100));
  const std::string stats = directory.path + "/stats";
  const std::string diags = directory.path + "/diags";
  const auto behind_head = [](const std::string& path, const std::string& begin) {
    const std::string text = ReadFile(path);
    const std::size_t at = text.find("\n" + begin);
    return at == std::string::npos ? "no " + begin : text.substr(at);
  };
  EXPECT_EQ(RunWithReader(1000, logs, {"-stats", stats, "-diags", diags}).code, 0);
  const std::string counts = behind_head(stats, "log: ");
  const std::string accounts = behind_head(diags, "");
  EXPECT_NE(counts.find("\n     all |         100 | "), std::string::npos) << counts;
  EXPECT_NE(accounts.find("--- account of " + directory.path + "/b.evtx"), std::string::npos);
  for (const int writes : {0, 1, 2}) {
    EXPECT_EQ(RunWithReader(writes, logs, {"-stats", stats}).code, writes == 2 ? 0 : -1);
    EXPECT_EQ(behind_head(stats, "log: "), counts) << writes;
    EXPECT_EQ(RunWithReader(writes, logs, {"-diags", diags}).code, writes == 2 ? 0 : -1);
    EXPECT_TRUE(behind_head(diags, "") == accounts) << writes;
  }
}

}  // namespace
}  // namespace tarnlex
