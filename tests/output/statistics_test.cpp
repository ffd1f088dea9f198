#include "output/statistics.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

struct StatisticsTest : testing::Test {
  Statistics statistics;
  LogTable logs;
  RunOptions options;
  EventRows rows;

  LogInfo AddLog(const std::string& path, const std::string& kind, bool is_evtx = true) {
    LogInfo log = LogAt(path, is_evtx);
    log.kind = kind;
    logs[path] = log;
    return log;
  }

  const EventRecord& Row(const RowSpec& spec) {
    AddRow(rows, spec);
    return rows.rows.back();
  }

  std::string Print() {
    std::string text;
    TextSink sink = MakeStringSink(text);
    WriteStatistics(sink, statistics, logs, options);
    return text;
  }
};

TEST_F(StatisticsTest, ALogWithoutEventsHasAShortBlock) {
  const LogInfo log = AddLog("old.evt", "", false);
  BeginWalk(statistics, log, 1, true);
  EXPECT_EQ(Print(),
            "log: old.evt\n"
            "format: evt [older XP format]\n"
            "No events found in log OR log skipped based on filter selected\n");
}

TEST_F(StatisticsTest, EveryLogOfTheTableGetsABlockInPathOrder) {
  AddLog("b.evtx", "system");
  AddLog("a.evt", kKindUnknown, false);
  EXPECT_EQ(Print(),
            "log: a.evt\n"
            "format: evt [older XP format]\n"
            "No events found in log OR log skipped based on filter selected\n"
            "log: b.evtx\n"
            "format: evtx [newer Vista/Win7 format]\n"
            "type: system\n"
            "No events found in log OR log skipped based on filter selected\n");
}

TEST_F(StatisticsTest, SaysSoWhenNoRecordPassedAQuery) {
  const LogInfo log = AddLog("a.evtx", "security");
  BeginWalk(statistics, log, 1, true);
  CountRecord(statistics, 4624, kMarch2012);
  EXPECT_EQ(Print(),
            "log: a.evtx\n"
            "format: evtx [newer Vista/Win7 format]\n"
            "type: security\n"
            "No events found in log OR log skipped based on filter selected\n");
}

TEST_F(StatisticsTest, ListsTheMostFrequentEventsFirst) {
  const LogInfo log = AddLog("a.evtx", "security");
  BeginWalk(statistics, log, 1, false);
  for (std::uint64_t i = 0; i < 5; ++i) CountRecord(statistics, 1, kMarch2012 + i * kTickSecond);
  for (std::uint64_t i = 0; i < 12; ++i) CountRecord(statistics, 70000, kMarch2012);
  for (int i = 0; i < 5; ++i) CountRecord(statistics, 0, kMarch2012 - kTickSecond);
  CountMatch(statistics, 0, {}, Row({}));
  EXPECT_EQ(Print(),
            "log: a.evtx\n"
            "format: evtx [newer Vista/Win7 format]\n"
            "type: security\n"
            "\n"
            "--- overall log stats ----\n"
            "event id | occurrences | from date  | from time    | to date    | to time     \n"
            "     all |          22 | 03/07/2012 | 14:05:08.123 | 03/07/2012 | 14:05:13.123\n"
            "   70000 |          12 | 03/07/2012 | 14:05:09.123 | 03/07/2012 | 14:05:09.123\n"
            "       0 |           5 | 03/07/2012 | 14:05:08.123 | 03/07/2012 | 14:05:08.123\n"
            "       1 |           5 | 03/07/2012 | 14:05:09.123 | 03/07/2012 | 14:05:13.123\n");
}

TEST_F(StatisticsTest, TimeColumnsAreNineWideAtLeast) {
  const LogInfo log = AddLog("a.evtx", "");
  options.separator = ",";
  options.date_format = "dd/mm/yy";
  options.time_format = "hh:mm:ss";
  BeginWalk(statistics, log, 1, false);
  CountRecord(statistics, 7, kMarch2012);
  CountMatch(statistics, 0, {}, Row({}));
  const std::string text = Print();
  EXPECT_NE(text.find("\nevent id,occurrences,from date,from time,to date  ,to time  \n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("\n       7,          1, 07/03/12, 14:05:09, 07/03/12, 14:05:09\n"),
            std::string::npos)
      << text;
}

TEST_F(StatisticsTest, AnInvalidInstantCountsButGivesNoTime) {
  const LogInfo log = AddLog("a.evtx", "");
  options.separator = ",";
  BeginWalk(statistics, log, 1, false);
  CountRecord(statistics, 7, 0);
  CountRecord(statistics, 8, 0);
  CountRecord(statistics, 8, kMarch2012);
  CountMatch(statistics, 0, {}, Row({}));
  const std::string text = Print();
  EXPECT_NE(text.find("\n       7,          1,          ,            ,          ,            \n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("\n       8,          2,03/07/2012,14:05:09.123,03/07/2012,14:05:09.123\n"),
            std::string::npos)
      << text;
}

// Before 1970 and behind the last second that can be written, whatever comes first.
TEST_F(StatisticsTest, FirstAndLastAreValidInstantsInEveryTable) {
  const LogInfo log = AddLog("a.evtx", "");
  options.separator = ",";
  BeginWalk(statistics, log, 1, true);
  for (const std::uint64_t time : {std::uint64_t{1}, kMarch2012, ~std::uint64_t{0}}) {
    CountRecord(statistics, 7, time);
    CountMatch(statistics, 0, {}, Row({.event = 7, .time = time}));
  }
  const std::string text = Print();
  const std::string counts = ",          3,03/07/2012,14:05:09.123,03/07/2012,14:05:09.123";
  EXPECT_NE(text.find("\n     all" + counts + "\n       7" + counts + "\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\n       7" + counts + ",       1,,\n"), std::string::npos) << text;
}

TEST_F(StatisticsTest, CountsARecordOnceHoweverManyReportsWalkItsLog) {
  const LogInfo log = AddLog("a.evtx", "");
  for (int walk = 0; walk < 3; ++walk) {
    BeginWalk(statistics, log, 2, true);
    CountRecord(statistics, 7, kMarch2012);
    CountMatch(statistics, 1, {}, Row({.event = 7}));
  }
  const std::string text = Print();
  EXPECT_NE(text.find("\n     all |           1 | "), std::string::npos) << text;
  // Filters are numbered on through all walks.
  EXPECT_EQ(text.substr(text.find("\n\n--- filter")),
            "\n\n--- filter stats --- [refer to filter# for details]\n"
            "event id | occurrences | from date  | from time    | to date    | to time      | "
            "filter#  | key values | key fields\n"
            "       7 |           1 | 03/07/2012 | 14:05:09.123 | 03/07/2012 | 14:05:09.123 | "
            "       2 |  | \n"
            "       7 |           1 | 03/07/2012 | 14:05:09.123 | 03/07/2012 | 14:05:09.123 | "
            "       4 |  | \n"
            "       7 |           1 | 03/07/2012 | 14:05:09.123 | 03/07/2012 | 14:05:09.123 | "
            "       6 |  | \n");
}

TEST_F(StatisticsTest, AFilterListsItsKeyValues) {
  const LogInfo log = AddLog("a.evtx", "");
  options.separator = ",";
  const std::vector<std::string> fields{"logontype", "user"};
  BeginWalk(statistics, log, 1, true);
  CountRecord(statistics, 7, kMarch2012);
  const auto take = [&](std::uint64_t event, std::uint64_t time,
                        std::vector<std::pair<std::string_view, std::string_view>> values) {
    CountMatch(statistics, 0, fields, Row({.event = event, .time = time, .values = values}));
  };
  take(9, kMarch2012, {{"LogonType", "2"}, {"User", "x"}});
  take(7, kMarch2012, {{"LogonType", "3"}, {"User", "a,b"}});
  take(7, kMarch2012 + kTickSecond, {{"LogonType", "2"}, {"User", ""}});
  take(7, kMarch2012, {{"LogonType", "2"}, {"User", ""}});
  take(7, kMarch2012, {{"User", "x"}});
  const std::string text = Print();
  EXPECT_EQ(text.substr(text.find("key fields\n") + 11),
            "       7,          2,03/07/2012,14:05:09.123,03/07/2012,14:05:10.123,       1,"
            "2; ,logontype; user\n"
            "       7,          1,03/07/2012,14:05:09.123,03/07/2012,14:05:09.123,       1,"
            "3; a,b,logontype; user\n"
            "       7,          1,03/07/2012,14:05:09.123,03/07/2012,14:05:09.123,       1,"
            "<null>; x,logontype; user\n"
            "       9,          1,03/07/2012,14:05:09.123,03/07/2012,14:05:09.123,       1,"
            "2; x,logontype; user\n");
}

TEST_F(StatisticsTest, APlainDumpHasNoFilterTable) {
  const LogInfo log = AddLog("a.evtx", "");
  BeginWalk(statistics, log, 1, false);
  CountRecord(statistics, 7, kMarch2012);
  CountMatch(statistics, 0, {}, Row({.event = 7}));
  EXPECT_EQ(Print().find("filter stats"), std::string::npos);
}

TEST_F(StatisticsTest, StartsAnewAfterWriting) {
  const LogInfo log = AddLog("a.evtx", "");
  BeginWalk(statistics, log, 1, false);
  CountRecord(statistics, 7, kMarch2012);
  CountMatch(statistics, 0, {}, Row({.event = 7}));
  EXPECT_NE(Print().find("overall"), std::string::npos);
  EXPECT_EQ(Print().find("overall"), std::string::npos);
}

}  // namespace
}  // namespace tarnlex
