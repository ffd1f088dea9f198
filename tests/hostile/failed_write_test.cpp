// Output that cannot be written: a full disk is said, a reader that has gone is not.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "tests/app/temp_directory.h"
#include "tests/end_to_end/in_process.h"
#include "tests/support/child_run.h"
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
  console.read_input = [list =
                            directory.path + "/Security.evtx\n" + directory.path + "/System.evtx\n",
                        at = std::size_t{0}](std::span<char> to) mutable {
    const std::size_t size = std::min(to.size(), list.size() - at);
    std::copy_n(list.begin() + static_cast<std::ptrdiff_t>(at), size, to.begin());
    at += size;
    return size;
  };
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

TEST(FailedWrite, ToAReaderThatHasGoneIsQuiet) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("a.evtx", LogOf(20'000));
  int status = -1;
  const std::string command = std::string("'" TARNLEX_PROGRAM "' -quiet -log '") + log + "'";
  const std::string text = Shell(
      "{ " + command + "; echo \"ended with $?\" >'" + directory.path + "/end'; } | head -n 1",
      status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text.find("prob"), std::string::npos);
  EXPECT_EQ(text.find("roken"), std::string::npos);
  EXPECT_EQ(ReadFile(directory.path + "/end"), "ended with 0\n");
}

}  // namespace
}  // namespace tarnlex
