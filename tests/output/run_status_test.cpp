#include "output/run_status.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

const std::string kName = "/evidence/host 1/Windows/System32/winevt/Logs/Security.evtx";

RunStatus Status() {
  return {
      .log = 3, .logs = 12, .name = kName, .part = 45, .megabytes_per_second = 210, .left = 3672};
}

TEST(RunStatus, TellsPlacePartRateAndName) {
  EXPECT_EQ(StatusText(Status(), 200), "log 3 of 12, 45%, 1:01:12 left, 210 MB/s: " + kName);
}

TEST(RunStatus, IsNeverWiderThanTheTerminal) {
  for (std::size_t columns = 0; columns < 120; ++columns) {
    EXPECT_LE(TextColumns(StatusText(Status(), columns)), columns);
    EXPECT_LE(TextColumns(PipedStatusText(Status(), columns)), columns);
  }
}

TEST(RunStatus, ShowsTheEndOfALongNameAndNothingWithoutItsMiddle) {
  EXPECT_EQ(StatusText(Status(), 79),
            "log 3 of 12, 45%, 1:01:12 left, 210 MB/s: ../System32/winevt/Logs/Security.evtx");
  for (std::size_t columns = 40; columns < 120; ++columns) {
    const std::string text = StatusText(Status(), columns);
    std::string name = text.substr(text.find(": ") + 2);
    if (name.starts_with("..")) name.erase(0, 2);
    EXPECT_TRUE(kName.ends_with(name)) << text;
    EXPECT_GE(name.size(), 15U) << text;
  }
}

TEST(RunStatus, LeavesOutWhatMattersLeastForTheName) {
  EXPECT_EQ(StatusText(Status(), 60),
            "log 3 of 12, 45%, 1:01:12 left: ../winevt/Logs/Security.evtx");
  EXPECT_EQ(StatusText(Status(), 45), "log 3 of 12, 45%: ..winevt/Logs/Security.evtx");
  EXPECT_EQ(StatusText(Status(), 8), "log 3 of");
}

TEST(RunStatus, SaysWhichReportOfSeveral) {
  RunStatus status = Status();
  status.report = 1;
  status.reports = 1;
  EXPECT_TRUE(StatusText(status, 80).starts_with("log 3 of 12, "));
  status.reports = 2;
  EXPECT_TRUE(StatusText(status, 80).starts_with("report 1 of 2, log 3 of 12, "));
}

TEST(RunStatus, MeasuresCharactersAsTerminalsShowThem) {
  EXPECT_EQ(TextColumns("\xC3\xA4\xE2\x82\xAC"), 2U);
  EXPECT_EQ(TextColumns("\xE6\x97\xA5\xE6\x9C\xAC"), 4U);
  const RunStatus status{.log = 1, .logs = 1, .name = "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E.evtx"};
  EXPECT_EQ(StatusText(status, 23), "log 1 of 1: " + status.name);
  EXPECT_EQ(StatusText(status, 22), "log 1 of 1: ..\xE8\xAA\x9E.evtx");
}

TEST(RunStatus, ShowsControlsInNames) {
  const RunStatus status{.log = 1, .logs = 1, .name = "a\x1B[2J\xE2\x80"};
  const std::string text = StatusText(status, 60);
  EXPECT_TRUE(text.starts_with("log 1 of 1: a\\x1b[2J")) << text;
  for (const char c : text) EXPECT_TRUE(c >= 0x20 && c < 0x7F) << text;
}

TEST(RunStatus, StandsBehindTheTextForPipedLogs) {
  RunStatus status = Status();
  status.logs = 0;
  status.left.reset();
  const std::string analyzing = "analyzing: /evidence/host 1/Windows/System32/winevt/Logs";
  EXPECT_EQ(PipedStatusText(status, 100), analyzing + "    log 3, 45% of it, 210 MB/s");
  EXPECT_EQ(PipedStatusText(status, 79), analyzing + "    log 3, 45% of it");
  EXPECT_EQ(PipedStatusText(status, 40), analyzing.substr(0, 40));
}

}  // namespace
}  // namespace tarnlex
