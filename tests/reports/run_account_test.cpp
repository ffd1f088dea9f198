#include "reports/run_account.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include "fuzz/strict_forms.h"

namespace tarnlex {
namespace {

LogAccount ReadLog(const std::string& path, std::uint64_t records, std::uint64_t partial) {
  LogAccount account;
  account.log = {.path = path, .kind = {}};
  account.outcome = LogOutcome::kRead;
  account.evtx.records = records;
  account.evtx.partial = partial;
  return account;
}

LogTable TableOf(std::initializer_list<LogInfo> logs) {
  LogTable table;
  for (const LogInfo& log : logs) table[log.path] = log;
  return table;
}

// Reports walk a log again, and may ask for values that the first did not ask for.
TEST(RunAccount, CountsALogOnceHoweverOftenItIsWalked) {
  RunAccount run;
  AddWalk(run, ReadLog("a", 10, 1));
  AddWalk(run, ReadLog("a", 10, 3));
  AddWalk(run, ReadLog("a", 10, 2));
  EndLogs(run, TableOf({{.path = "a", .kind = {}}}), Unwalked::kUnasked);
  EXPECT_EQ(run.logs, 1U);
  EXPECT_EQ(run.read, 1U);
  EXPECT_EQ(run.losses.records, 10U);
  EXPECT_EQ(run.losses.partial, 3U);
  EXPECT_TRUE(HasLosses(run));
}

TEST(RunAccount, TakesALogThatNoReportAskedForAsNoLoss) {
  RunAccount run;
  EndLogs(run, TableOf({{.path = "a", .kind = "system"}}), Unwalked::kByKind);
  EXPECT_EQ(run.passed_over.count, 0U);
  EXPECT_FALSE(HasLosses(run));
}

TEST(RunAccount, NamesLogsOfWhichNobodyKnowsWhetherAReportAsksForThem) {
  RunAccount run;
  EndLogs(run,
          TableOf({{.path = "gone", .kind = {}, .opened = OpenResult::kCannotOpen},
                   {.path = "notes", .kind = {}, .opened = OpenResult::kNoEventLog},
                   {.path = "small", .kind = {}, .opened = OpenResult::kUnjudged}}),
          Unwalked::kByKind);
  EXPECT_EQ(run.not_opened.names, std::vector<std::string>{"gone"});
  EXPECT_EQ(run.passed_over.names, (std::vector<std::string>{"notes", "small"}));
  EXPECT_TRUE(run.complete_helps);
}

// As by an -eventid that no event can have.
TEST(RunAccount, DoesNotBlameALogThatNothingAsksFor) {
  RunAccount run;
  EndLogs(run, TableOf({{.path = "a", .kind = {}, .opened = OpenResult::kUnjudged}}),
          Unwalked::kUnasked);
  EXPECT_FALSE(HasLosses(run));
}

TEST(RunAccount, DoesNotBlameLogsThatARunCutShortDidNotReach) {
  RunAccount run;
  EndLogs(run, TableOf({{.path = "a", .kind = {}}}), Unwalked::kCutShort);
  EXPECT_EQ(run.logs, 1U);
  EXPECT_EQ(run.read, 0U);
  EXPECT_FALSE(HasLosses(run));
}

TEST(RunAccount, NamesTheLogThatItBrokeOffAt) {
  std::string text;
  RunAccount run;
  run.out = MakeStringSink(text);
  AddWalk(run, ReadLog("a", 1, 0));
  const LogTable table =
      TableOf({{.path = "a", .kind = {}}, {.path = "b", .kind = {}}, {.path = "c", .kind = {}}});
  BreakOff(run, table, &table.at("b"));
  EXPECT_EQ(run.logs, 3U);
  EXPECT_EQ(run.read, 1U);
  EXPECT_EQ(run.passed_over.names, std::vector<std::string>{"b"});
  EndAccount(run, {{"tarnlex"}, 0, 0, -1});
  EXPECT_TRUE(IsJsonLines(text)) << text;
  EXPECT_NE(text.find("\"path\":\"b\",\"outcome\":\"broken off\""), std::string::npos) << text;
  EXPECT_NE(text.find("\"path\":\"c\",\"outcome\":\"not reached\""), std::string::npos) << text;
  EXPECT_NE(text.find("\"exit\":-1}\n"), std::string::npos) << text;
}

TEST(RunAccount, SurveysALogInItsFirstWalkOnly) {
  std::string text;
  RunAccount run;
  const LogInfo log{.path = "a", .kind = {}};
  EXPECT_FALSE(IsToSurvey(run, log));
  run.out = MakeStringSink(text);
  EXPECT_TRUE(IsToSurvey(run, log));
  AddWalk(run, ReadLog("a", 1, 0));
  EXPECT_FALSE(IsToSurvey(run, log));
  AddWalk(run, ReadLog("a", 1, 0));
  Flush(*run.out);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
}

TEST(RunAccount, TellsWhatWasRecoveredOfAllLogsWhereThatWasAsked) {
  std::string text;
  RunAccount run;
  run.out = MakeStringSink(text);
  for (const char* path : {"a", "b"}) {
    LogAccount account = ReadLog(path, 1, 0);
    account.log.is_evtx = true;
    account.evtx.recovered = {.asked = true, .checked = {4, 3, 2}, .copies = 1};
    AddWalk(run, account);
  }
  EndLogs(run, TableOf({{.path = "a", .kind = {}}, {.path = "b", .kind = {}}}), Unwalked::kUnasked);
  EndAccount(run, {{"tarnlex"}, 0, 0, 0});
  EXPECT_NE(text.find("\"recovered\":{\"all\":4,\"system\":3,\"none\":2,\"copies\":1}"),
            std::string::npos);
  EXPECT_NE(text.find("\"recovered\":{\"all\":8,\"system\":6,\"none\":4,\"copies\":2},\"exit\""),
            std::string::npos);
}

TEST(RunAccount, SaysNothingOfRecoveringWhereItWasNotAsked) {
  std::string text;
  RunAccount run;
  run.out = MakeStringSink(text);
  AddWalk(run, ReadLog("a", 1, 0));
  EndAccount(run, {{"tarnlex"}, 0, 0, 0});
  EXPECT_EQ(text.find("recovered"), std::string::npos) << text;
}

TEST(RunAccount, WritesAnyPathAndAnyNumberAsJson) {
  std::string text;
  RunAccount run;
  run.out = MakeStringSink(text);
  LogAccount account = ReadLog("a\"\\\n\x01", ~std::uint64_t{0}, 1);
  account.surveyed = true;
  AddRecord(account.evtx.survey, {~std::uint64_t{0}, 1, 130'000'000'000'000'000});
  AddRecord(account.evtx.survey, {1, 2, 0});
  AddFault(account.evtx, {RecordFault::kNoTemplate, 1, 2});
  AddWalk(run, account);
  account.log.is_evtx = false;
  account.log.path = "b";
  account.evt.torn_record = true;
  AddWalk(run, account);
  EndAccount(run, {{"tarnlex", "-log", "\""}, 1, 2, 0});
  EXPECT_TRUE(IsJsonLines(text)) << text;
}

}  // namespace
}  // namespace tarnlex
