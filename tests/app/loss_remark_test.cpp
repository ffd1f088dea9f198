#include "app/loss_remark.h"

#include <gtest/gtest.h>

namespace tarnlex {
namespace {

TEST(LossRemark, IsNoneOnARunThatReadAll) {
  RunAccount run;
  run.logs = run.read = 3;
  run.losses.records = 1000;
  run.losses.regained = 4;
  run.losses.copies = 2;
  EXPECT_EQ(LossRemark(run, {}), "");
}

TEST(LossRemark, SaysEverythingInOneLine) {
  RunAccount run;
  run.not_opened = {1, {"gone.evtx"}};
  run.passed_over = {2, {"a.evtx", "b.evtx"}};
  run.losses = {
      .records = 9, .partial = 1, .undated = 2, .other_times = 3, .skipped = 4, .left = 5};
  EXPECT_EQ(LossRemark(run, {}),
            "not opened: 1 log (gone.evtx); passed over: 2 logs (a.evtx, b.evtx); not read: 9 "
            "records; read in part: 1 record; without a time: 2 records; with another time than "
            "their events: 3 records; -complete reads more of them, -account FILE names them\n");
}

TEST(LossRemark, NamesTenLogsAndCountsTheOthers) {
  RunAccount run;
  for (int i = 0; i < 12; ++i) {
    AddUnread(run, {.path = std::to_string(i), .kind = {}}, LogOutcome::kNoEventLog);
  }
  EXPECT_EQ(LossRemark(run, {}),
            "passed over: 12 logs (0, 1, 2, 3, 4, 5, 6, 7, 8, 9 and 2 more); -account FILE names "
            "them\n");
}

TEST(LossRemark, OffersNothingThatWouldNotHelp) {
  RunAccount run;
  run.losses.left = 1;
  EXPECT_EQ(LossRemark(run, {}),
            "not read: 1 record; -complete reads more of them, -account FILE names them\n");
  RunOptions options;
  options.complete = true;
  EXPECT_EQ(LossRemark(run, options), "not read: 1 record; -account FILE names them\n");
  options.account_on = true;
  options.account_file = "a.jsonl";
  EXPECT_EQ(LossRemark(run, options), "not read: 1 record; a.jsonl names them\n");
}

TEST(LossRemark, OffersToReadLogsThatWereOnlyNotJudged) {
  RunAccount run;
  AddUnread(run, {.path = "x", .kind = {}}, LogOutcome::kNotJudged);
  EXPECT_EQ(LossRemark(run, {}),
            "passed over: 1 log (x); -complete reads more of them, -account FILE names them\n");
}

TEST(LossRemark, NamesFoldersAndOffersToReadWhatHasLostItsHeader) {
  RunAccount run;
  AddUnread(run, {.path = "shut", .kind = {}}, LogOutcome::kNotSearched);
  EXPECT_EQ(LossRemark(run, {}), "not searched: 1 folder (shut); -account FILE names them\n");
  AddUnread(run, {.path = "x", .kind = {}}, LogOutcome::kDamagedHeader);
  EXPECT_EQ(LossRemark(run, {}),
            "not searched: 1 folder (shut); passed over: 1 log (x); -complete reads more of them, "
            "-account FILE names them\n");
  EXPECT_EQ(run.logs, 1U);
  EXPECT_TRUE(HasLosses(run));
}

// Rows of -complete have the time of their events.
TEST(LossRemark, LeavesTimesAloneThatAreNotShown) {
  RunAccount run;
  run.losses.other_times = 7;
  RunOptions options;
  options.complete = true;
  EXPECT_EQ(LossRemark(run, options), "");
}

}  // namespace
}  // namespace tarnlex
