// Text that reaches the program from outside of a log: command files, lists of paths, arguments.
#include <gtest/gtest.h>

#include <string>

#include "tests/app/temp_directory.h"
#include "tests/end_to_end/in_process.h"
#include "tests/support/child_run.h"
#include "tests/support/evtx_builder.h"

namespace tarnlex {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kCountsCost = false;  // the sanitizer's own would be counted
#else
constexpr bool kCountsCost = true;
#endif

std::string SmallLog() {
  support::EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", "alice"}}});
  const support::ByteString bytes = log.Build();
  return {bytes.begin(), bytes.end()};
}

TEST(CraftedText, ACommandFileOfAMillionLinesIsRead) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("Security.evtx", SmallLog());
  std::string lines;
  for (int i = 0; i < 999'999; ++i) {
    lines += "!cmd,-enum_evtxlog,-id," + std::to_string(i % 60'000 + 5000) + ",-all_data\n";
  }
  lines += "!cmd, -enum_evtxlog, -name, the last, -all_data\n";
  const std::string commands = directory.AddFile("commands.txt", lines);
  const std::string out = directory.path + "/out.csv";
  const support::ChildRun run = support::RunChild(
      TARNLEX_PROGRAM, {"-quiet", "-csvgen", "-log", log, "-cmdfile", commands}, out);
  EXPECT_EQ(run.exit_code, 0) << run.err;
  EXPECT_NE(ReadFile(out).find(",alice,"), std::string::npos);
  if (!kCountsCost) return;
  EXPECT_LT(run.seconds, 20);
  EXPECT_LT(run.peak_kib, 2 << 20);
}

TEST(CraftedText, APipedLineOfAMegabyteHidesNoOther) {
  const TempDirectory directory;
  const std::string log = directory.AddFile("Security.evtx", SmallLog());
  const std::string list = directory.AddFile("list", std::string(1 << 20, 'x') + "\n" + log + "\n" +
                                                         std::string(1 << 20, '%') + "\n" + log);
  const std::string out = directory.path + "/out.csv";
  const support::ChildRun run =
      support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-csvgen", "-pipe"}, out, list);
  EXPECT_EQ(run.exit_code, 0) << run.err;
  const std::string text = ReadFile(out);
  const std::size_t first = text.find(",alice,");
  ASSERT_NE(first, std::string::npos);
  EXPECT_NE(text.find(",alice,", first + 1), std::string::npos);
}

TEST(CraftedText, ZeroBytesInPathsFindNoFile) {
  const TempDirectory directory;
  directory.AddFile("Security.evtx", SmallLog());
  const std::string path = std::string("Security.evtx").append(1, '\0').append(".txt");
  const Outcome piped = RunIn(directory.path, {"-pipe", "-quiet"}, path + "\n");
  EXPECT_EQ(piped.code, 0);
  EXPECT_EQ(BehindRunHeader(piped.out), "");
  const Outcome listed = RunIn(directory.path, {"-log", path, "-quiet"});
  EXPECT_NE(listed.err.find("prob opening log Security.evtx"), std::string::npos);
  const Outcome written = RunIn(directory.path, {"-log", "Security.evtx", "-out", path, "-quiet"});
  EXPECT_EQ(written.code, -1);
}

}  // namespace
}  // namespace tarnlex
