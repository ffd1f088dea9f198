// What somebody sees who waits at a terminal.
#include <gtest/gtest.h>

#include "tests/end_to_end/in_process.h"
#include "tests/end_to_end/sample_files.h"
#include "tests/support/child_run.h"
#include "tests/support/screen.h"

namespace tarnlex {
namespace {

struct WatchedTest : testing::Test {
  TempDirectory directory;
  std::string folder = directory.path + "/logs";
  WatchedTest() { WriteSampleFiles(folder); }

  std::string Watch(const std::vector<std::string>& args, unsigned short columns,
                    const std::string& in = "/dev/null") const {
    std::string shown;
    const support::ChildRun run =
        support::RunWatched(TARNLEX_PROGRAM, args, columns, shown, "/dev/null", in);
    EXPECT_EQ(run.exit_code, 0);
    return shown;
  }
};

std::string WithoutWarning(const std::string& text) {
  const std::string warning = "... running w/o admin privileges ...\n";
  return text.starts_with(warning) ? text.substr(warning.size()) : text;
}

TEST_F(WatchedTest, StatusIsDrawnAndGoneWhenTheRunEnds) {
  const std::string shown =
      Watch({"-log", folder + "/Security.evtx|" + folder + "/SysEvent.Evt"}, 120);
  EXPECT_NE(shown.find("log 1 of 2, 0%: " + folder + "/Security.evtx"), std::string::npos) << shown;
  EXPECT_EQ(WithoutWarning(support::ScreenOf(shown, 120)), "\n");
}

TEST_F(WatchedTest, StatusKeepsToTheWidthOfTheTerminal) {
  for (const auto columns : std::initializer_list<unsigned short>{20, 40, 79, 80}) {
    const std::string shown = Watch({"-log", folder + "/Security.evtx"}, columns);
    EXPECT_NE(shown.find("log 1 of 1"), std::string::npos);
    EXPECT_EQ(support::ScreenOf(shown.substr(shown.find("\nlog 1")), columns), "\n");
  }
}

// What reads the records may be a pager, or "head", on the same screen.
TEST_F(WatchedTest, StatusIsWipedBeforeRecordsGoDownAPipe) {
  std::string screen;
  std::string at_first_record;
  Console console;
  console.err = MakeStringSink(screen);
  console.err_is_terminal = true;
  console.err_columns = [] { return std::size_t{120}; };
  console.out = MakeSink([&](std::string_view text) {
    if (text.starts_with("Record#")) at_first_record = screen;
    return true;
  });
  EXPECT_EQ(RunApp({"tarnlex", "-log", folder + "/Security.evtx", "-csvgen"}, console), 0);
  EXPECT_NE(at_first_record.find("log 1 of 1, 0%"), std::string::npos) << at_first_record;
  EXPECT_TRUE(at_first_record.ends_with(" \r")) << at_first_record;
}

TEST_F(WatchedTest, StatusIsNotDrawnOfQuietRuns) {
  EXPECT_EQ(WithoutWarning(Watch({"-quiet", "-log", folder + "/Security.evtx"}, 80)), "\n");
}

TEST_F(WatchedTest, PipedLogsAreNamedAsEver) {
  const std::string list = directory.AddFile("list", folder + "/Security.evtx\n");
  const std::string shown = Watch({"-pipe"}, 200, list);
  EXPECT_NE(shown.find(("analyzing: " + folder + "/Security.evtx").substr(0, 56)),
            std::string::npos)
      << shown;
  EXPECT_NE(shown.find(" log 1"), std::string::npos) << shown;
  EXPECT_EQ(WithoutWarning(support::ScreenOf(shown, 200)),
            "\nprocessed log " + folder + "/Security.evtx\n");
}

}  // namespace
}  // namespace tarnlex
