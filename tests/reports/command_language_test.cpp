#include "reports/command_language.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/put_bytes.h"

namespace tarnlex {
namespace {

using support::Filetime;
using Texts = std::vector<std::string>;

LogInfo SecurityLog(bool is_evtx, LogKind kind = "security") {
  return {.path = "/case/Logs/Security.evtx",
          .is_evtx = is_evtx,
          .format_unknown = false,
          .kind = std::move(kind)};
}

QueryList Queries(const Texts& lines, const LogInfo& log, const RunOptions& options = {}) {
  std::vector<TokenList> token_lists;
  for (const std::string& line : lines) {
    TokenList tokens;
    if (SplitCommandLine(line, tokens)) token_lists.push_back(tokens);
  }
  QueryList queries;
  const bool any = BuildQueries(token_lists, log, options, false, queries);
  EXPECT_EQ(any, !queries.empty());
  return queries;
}

bool Dropped(const std::string& line, const LogInfo& log) { return Queries({line}, log).empty(); }

// The one query of a line that must make one.
QuerySpec Query(const std::string& line, const LogInfo& log, const RunOptions& options = {}) {
  const QueryList queries = Queries({line}, log, options);
  EXPECT_EQ(queries.size(), 1U) << line;
  return queries.empty() ? QuerySpec{} : queries[0];
}

QuerySpec EvtxQuery(const std::string& options_text) {
  return Query("!cmd, -enum_evtxlog, " + options_text, SecurityLog(true));
}

QuerySpec EvtLine(const std::string& options_text) {
  return Query("!cmd, -enum_evtlog, " + options_text, SecurityLog(false));
}

TEST(SplitCommandLine, TrimsTokens) {
  TokenList tokens;
  ASSERT_TRUE(SplitCommandLine("!cmd, -id,\t4624 ,-all_data\r\n", tokens));
  EXPECT_EQ(tokens, (Texts{"-id", "4624", "-all_data"}));
  ASSERT_TRUE(SplitCommandLine("!cmd,-id,4624,-all_data", tokens));
  EXPECT_EQ(tokens, (Texts{"-id", "4624", "-all_data"}));
  ASSERT_TRUE(SplitCommandLine("!cmd, -all_data", tokens));
  EXPECT_EQ(tokens, (Texts{"-all_data"}));
}

TEST(SplitCommandLine, TakesACommandBehindOtherText) {
  TokenList tokens;
  EXPECT_TRUE(SplitCommandLine("  logons: !cmd, -id, 4624", tokens));
  EXPECT_EQ(tokens, (Texts{"-id", "4624"}));
}

TEST(SplitCommandLine, PassesOverCommentsAndOtherLines) {
  TokenList tokens;
  EXPECT_FALSE(SplitCommandLine("// !cmd, -id, 4624", tokens));
  EXPECT_FALSE(SplitCommandLine("!run-now, something", tokens));
  EXPECT_FALSE(SplitCommandLine("!cmd -id, 4624", tokens));
  EXPECT_FALSE(SplitCommandLine("!CMD, -id, 4624", tokens));
  EXPECT_FALSE(SplitCommandLine("", tokens));
  EXPECT_TRUE(SplitCommandLine(" // !cmd, -id, 4624", tokens));
}

TEST(CommandLanguage, ReadsALineWithALabelledPull) {
  const QuerySpec query =
      Query("!cmd, -enum_evtlog, -id, 520, -name, The System Time was Changed, -pull, 1|Process ID",
            SecurityLog(false));
  EXPECT_EQ(query.format, LogFormat::EVT);
  EXPECT_EQ(query.event_id, 520U);
  EXPECT_EQ(query.name, "The System Time was Changed");
  EXPECT_EQ(query.pull, (Texts{"1|Process ID"}));
  EXPECT_EQ(query.log_path, "/case/Logs/Security.evtx");
  EXPECT_TRUE(query.emit_row);
  EXPECT_FALSE(query.all_data);
  EXPECT_FALSE(query.histogram);
  EXPECT_FALSE(query.event_lookup);
  EXPECT_EQ(query.start_time, 0U);
  EXPECT_EQ(query.stop_time, 0U);
}

TEST(CommandLanguage, ReadsEveryOption) {
  const QuerySpec query = EvtxQuery(
      "-id, 4624, -name, logon/interactive, -conditions, LogonType|2, -string_exists, Alice B, "
      "-all_data, -hist, TargetUserName | LogonType, -type, SECURITY, -start_time, "
      "03/07/2012 10:00:00, -stop_time, 03/08/2012, -event_lookup, -pull, IpAddress");
  EXPECT_EQ(query.event_id, 4624U);
  EXPECT_EQ(query.name, "logon/interactive");
  EXPECT_EQ(query.conditions, "LogonType|2");
  EXPECT_EQ(query.string_exists, "Alice B");
  EXPECT_TRUE(query.all_data);
  EXPECT_TRUE(query.histogram);
  EXPECT_EQ(query.histogram_fields, (Texts{"targetusername", "logontype"}));
  EXPECT_EQ(query.type, "security");
  EXPECT_EQ(query.start_time, Filetime(2012, 3, 7, 10));
  EXPECT_EQ(query.stop_time, Filetime(2012, 3, 8));
  EXPECT_TRUE(query.event_lookup);
  EXPECT_EQ(query.pull, (Texts{"IpAddress"}));
}

TEST(CommandLanguage, ReadsConditionsAndHeadersOfWhichThereMayBeMany) {
  const QuerySpec query = Query(
      "!cmd, -enum_evtxlog, -and, A|1, -not, B|2, -and, C, -not, D|x|y, -channel, Security, "
      "-provider, Some-Provider, -pull, A, -label, A = User Name, -label, B=b=c, -label, C, "
      "-label, =d, -label, A=later, -hist, a|z",
      SecurityLog(true));
  EXPECT_EQ(query.all_of, (Texts{"A|1", "C"}));
  EXPECT_EQ(query.none_of, (Texts{"B|2", "D|x|y"}));
  EXPECT_EQ(query.channel, "Security");
  EXPECT_EQ(query.provider, "Some-Provider");
  const std::map<std::string, std::string, std::less<>> headers = {{"A", "User Name"},
                                                                   {"B", "b=c"}};
  EXPECT_EQ(query.headers, headers);
  EXPECT_EQ(query.histogram_fields, (Texts{"user name", "z"}));
}

// Their names were plain text before they were options.
TEST(CommandLanguage, LeavesValuesAloneThatReadLikeNewerOptions) {
  const QuerySpec query = Query(
      "!cmd, -enum_evtxlog, -conditions, -not, -pull, -label, -pull, -and, -string_exists, "
      "-channel",
      SecurityLog(true));
  EXPECT_EQ(query.conditions, "-not");
  EXPECT_EQ(query.pull, (Texts{"-label", "-and"}));
  EXPECT_EQ(query.string_exists, "-channel");
  EXPECT_TRUE(query.all_of.empty() && query.none_of.empty() && query.headers.empty());
}

TEST(CommandLanguage, NeedsAFormat) { EXPECT_TRUE(Dropped("!cmd, -id, 4624", SecurityLog(true))); }

TEST(CommandLanguage, PrefersEvtxWhenBothFormatsAreNamed) {
  const std::string line = "!cmd, -enum_evtlog, -enum_evtxlog, -id, 1";
  EXPECT_EQ(Query(line, SecurityLog(true)).format, LogFormat::EVTX);
  EXPECT_TRUE(Dropped(line, SecurityLog(false)));
}

TEST(CommandLanguage, DropsLinesForTheOtherContainer) {
  EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -id, 1", SecurityLog(false)));
  EXPECT_TRUE(Dropped("!cmd, -enum_evtlog, -id, 1", SecurityLog(true)));
}

TEST(CommandLanguage, MatchesOptionNamesInAnyCase) {
  EXPECT_EQ(EvtxQuery("-ID, 5, -Name, x").event_id, 5U);
  EXPECT_FALSE(Dropped("!cmd, -ENUM_EVTXLOG", SecurityLog(true)));
}

TEST(CommandLanguage, TakesAnyIdWithoutOne) {
  EXPECT_EQ(EvtxQuery("-all_data").event_id, kAnyEventId);
}

TEST(CommandLanguage, ReadsIdsInTheFormsOfTheCommandLine) {
  EXPECT_EQ(EvtxQuery("-id, 0x1210").event_id, 4624U);
  EXPECT_EQ(EvtxQuery("-id, 0o17").event_id, 15U);
  EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -id, abc", SecurityLog(true)));
  EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -id, , -all_data", SecurityLog(true)));
}

TEST(CommandLanguage, KeepsPullsInOrderAndOnlyTheFirstOfOtherOptions) {
  const QuerySpec query =
      EvtxQuery("-pull, b, -conditions, first|1, -pull, a, -conditions, second|2, -id, 1, -id, 2");
  EXPECT_EQ(query.pull, (Texts{"b", "a"}));
  EXPECT_EQ(query.conditions, "first|1");
  EXPECT_EQ(query.event_id, 1U);
}

TEST(CommandLanguage, TakesAnOptionsNameAsAValue) {
  EXPECT_EQ(EvtLine("-id, 629, -pull, -pull, -pull, 2|Target Domain").pull,
            (Texts{"-pull", "2|Target Domain"}));
}

TEST(CommandLanguage, IgnoresAnOptionWithoutItsValue) {
  EXPECT_EQ(EvtxQuery("-id").event_id, kAnyEventId);
  EXPECT_EQ(EvtxQuery("-id, 7, -pull").pull, Texts{});
}

TEST(CommandLanguage, TakesTheFirstName) {
  EXPECT_EQ(EvtxQuery("-name, first, -all_data, -NAME, second").name, "first");
  EXPECT_EQ(EvtxQuery("-comment, one, -name, first, -comment, two, -name, second").name, "first");
}

TEST(CommandLanguage, AnOptionWithoutItsValueTakesNoOther) {
  EXPECT_EQ(EvtxQuery("-name, logons, -comment").name, "logons");
  EXPECT_EQ(EvtxQuery("-comment, why, -name").name, "");
  EXPECT_EQ(EvtxQuery("-name, logons, -id").event_id, kAnyEventId);
  EXPECT_EQ(EvtxQuery("-comment, why, -name, logons, -conditions").conditions, "");
  const QuerySpec query = EvtxQuery("-pull, a, -pull, -name, logons");
  EXPECT_EQ(query.pull, (Texts{"a"}));
  EXPECT_EQ(query.name, "logons");
}

TEST(CommandLanguage, NamesAndCommentsMayReadLikeOptions) {
  const QuerySpec query = EvtxQuery("-comment, -all_data, -name, -id, -id, 7");
  EXPECT_EQ(query.name, "-id");
  EXPECT_EQ(query.event_id, 7U);
  EXPECT_FALSE(query.all_data);
}

TEST(CommandLanguage, DropsALineWhoseStartTimeCannotBeRead) {
  const LogInfo log = SecurityLog(true);
  for (const std::string time : {"yesterday", "03/07/2012 25:00:00", ""}) {
    EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -start_time, " + time + ", -id, 1", log)) << time;
  }
}

TEST(CommandLanguage, KeepsALineWhoseStopTimeCannotBeRead) {
  EXPECT_EQ(EvtxQuery("-stop_time, tomorrow, -id, 1").stop_time, 0U);
}

TEST(CommandLanguage, TakesATimeThatIsNoInstantAsNoBound) {
  const QuerySpec query = EvtxQuery("-start_time, 01/01/1960, -stop_time, 01/01/1960");
  EXPECT_EQ(query.start_time, 0U);
  EXPECT_EQ(query.stop_time, 0U);
}

TEST(CommandLanguage, TakesADateThatTheCalendarDoesNotHaveAsNoBound) {
  for (const std::string date : {"02/30/2012", "02/29/2011", "04/31/2012", "13/01/2012",
                                 "00/07/2012", "03/32/2012", "00/Mar/2012"}) {
    const QuerySpec query = EvtxQuery("-start_time, " + date + ", -stop_time, " + date);
    EXPECT_EQ(query.start_time, 0U) << date;
    EXPECT_EQ(query.stop_time, 0U) << date;
  }
}

TEST(CommandLanguage, ReadsTimesWithoutSecondsOrWithMonthNames) {
  EXPECT_EQ(EvtxQuery("-start_time, 03/07/2012 10:30").start_time, Filetime(2012, 3, 7, 10, 30));
  EXPECT_EQ(EvtxQuery("-start_time, Mar-07-2012").start_time, Filetime(2012, 3, 7));
  EXPECT_EQ(EvtxQuery("-start_time, 07/Mar/2012").start_time, Filetime(2012, 3, 7));
  EXPECT_EQ(EvtxQuery("-start_time, 03/07/2012 10:30:00.0123456789").start_time,
            Filetime(2012, 3, 7, 10, 30));
}

TEST(CommandLanguage, KeepsLinesWhoseTypeOccursInTheKind) {
  const LogInfo log = SecurityLog(true, "microsoft-windows-driverframeworks-usermode");
  EXPECT_FALSE(Dropped("!cmd, -enum_evtxlog, -type, DriverFrameworks", log));
  EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -type, security", log));
}

TEST(CommandLanguage, KeepsALineWithALogForThatLogOnly) {
  const LogInfo log = SecurityLog(true);
  EXPECT_EQ(Query("!cmd, -enum_evtxlog, -log, /CASE/logs/security.EVTX", log).log_path,
            "/CASE/logs/security.EVTX");
  EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -log, /case/Logs/System.evtx", log));
  EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -log, /no/such/file.evtx", log));
}

TEST(CommandLanguage, NeedsALogBeingProcessed) {
  EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -id, 1", LogInfo{}));
  EXPECT_TRUE(Dropped("!cmd, -enum_evtxlog, -log, x.evtx", LogInfo{}));
}

TEST(CommandLanguage, WritesSuccessTypesAsConditions) {
  EXPECT_EQ(EvtLine("-success_type, error").success_condition, "success_type|1");
  EXPECT_EQ(EvtLine("-success_type, warning").success_condition, "success_type|2");
  EXPECT_EQ(EvtLine("-success_type, information").success_condition, "success_type|4");
  EXPECT_EQ(EvtLine("-success_type, 16").success_condition, "success_type|16");
  EXPECT_EQ(EvtxQuery("-success_type, Error").success_condition, "Level|2");
  EXPECT_EQ(EvtxQuery("-success_type, warning").success_condition, "Level|3");
  EXPECT_EQ(EvtxQuery("-success_type, information").success_condition, "Level|4");
  EXPECT_EQ(EvtxQuery("-success_type, Audit").success_condition, "Level|Audit");
  EXPECT_EQ(EvtxQuery("-id, 1").success_condition, "");
}

TEST(CommandLanguage, NumbersTheQueriesThatKeepAHistogram) {
  const QueryList queries =
      Queries({"!cmd, -enum_evtxlog, -hist, LogonType", "!cmd, -enum_evtlog, -hist, dropped",
               "!cmd, -enum_evtxlog, -id, 1", "!cmd, -enum_evtxlog, -hist, A|B|"},
              SecurityLog(true));
  ASSERT_EQ(queries.size(), 3U);
  EXPECT_EQ(queries[0].histogram_number, 0U);
  EXPECT_EQ(queries[0].histogram_fields, (Texts{"logontype"}));
  EXPECT_FALSE(queries[1].histogram);
  EXPECT_EQ(queries[2].histogram_number, 1U);
  EXPECT_EQ(queries[2].histogram_fields, (Texts{"a", "b"}));
}

TEST(CommandLanguage, KeepsTheRunsHistogramOnLinesWithoutOne) {
  RunOptions options;
  options.hist_ids = {"LogonType", "IpAddress"};
  const QueryList queries = Queries({"!cmd, -enum_evtxlog", "!cmd, -enum_evtxlog, -hist, Own"},
                                    SecurityLog(true), options);
  ASSERT_EQ(queries.size(), 2U);
  EXPECT_EQ(queries[0].histogram_fields, (Texts{"logontype", "ipaddress"}));
  EXPECT_EQ(queries[1].histogram_fields, (Texts{"own"}));
}

TEST(CommandLanguage, PutsTheRunsSettingsBeforeALinesOwn) {
  RunOptions options;
  options.start_time = Filetime(2013, 1, 1);
  options.substring = "needle";
  const QuerySpec query = Query(
      "!cmd, -enum_evtxlog, -start_time, 03/07/2012, -stop_time, 03/08/2012, -string_exists, own",
      SecurityLog(true), options);
  EXPECT_EQ(query.start_time, Filetime(2013, 1, 1));
  EXPECT_EQ(query.stop_time, Filetime(2012, 3, 8));
  EXPECT_EQ(query.string_exists, "needle");
}

TEST(BuildQueries, KeepsTheOrderOfTheLines) {
  const QueryList queries =
      Queries({"!cmd, -enum_evtxlog, -name, b", "!cmd, -enum_evtxlog, -name, a",
               "!cmd, -enum_evtxlog, -name, c"},
              SecurityLog(true));
  ASSERT_EQ(queries.size(), 3U);
  EXPECT_EQ(queries[0].name + queries[1].name + queries[2].name, "bac");
}

TEST(BuildQueries, OrdersByLogPathAndAppendsOnDemand) {
  const std::vector<TokenList> line = {{"-enum_evtxlog", "-hist", "x"}};
  QueryList queries;
  const RunOptions options;
  LogInfo log = SecurityLog(true);
  log.path = "B.evtx";
  EXPECT_TRUE(BuildQueries(line, log, options, true, queries));
  log.path = "a.evtx";
  EXPECT_TRUE(BuildQueries(line, log, options, true, queries));
  log.path = "b.EVTX";
  EXPECT_TRUE(BuildQueries(line, log, options, true, queries));
  ASSERT_EQ(queries.size(), 3U);
  EXPECT_EQ(queries[0].log_path, "a.evtx");
  EXPECT_EQ(queries[1].log_path, "B.evtx");
  EXPECT_EQ(queries[2].log_path, "b.EVTX");
  EXPECT_EQ(queries[1].histogram_number, 0U);
  EXPECT_EQ(queries[2].histogram_number, 2U);
  EXPECT_TRUE(BuildQueries({}, log, options, true, queries));
  EXPECT_FALSE(BuildQueries({}, log, options, false, queries));
  EXPECT_TRUE(queries.empty());
}

TEST(PlainQueries, TakeEverythingOfEveryIdInListOrder) {
  const LogInfo log = SecurityLog(false);
  RunOptions options;
  options.event_ids = {4625, 4624};
  options.stop_time = 9;
  options.substring = "alice";
  const QueryList queries = PlainQueries(log, options);
  ASSERT_EQ(queries.size(), 2U);
  EXPECT_EQ(queries[0].event_id, 4625U);
  EXPECT_EQ(queries[1].event_id, 4624U);
  EXPECT_TRUE(queries[0].all_data);
  EXPECT_TRUE(queries[0].emit_row);
  EXPECT_EQ(queries[0].name, "");
  EXPECT_EQ(queries[0].format, LogFormat::EVT);
  EXPECT_EQ(queries[0].log_path, log.path);
  EXPECT_EQ(queries[0].stop_time, 9U);
  EXPECT_EQ(queries[0].string_exists, "alice");
  EXPECT_FALSE(queries[0].histogram);
}

TEST(PlainQueries, AreNoneWithoutIds) { EXPECT_TRUE(PlainQueries(SecurityLog(true), {}).empty()); }

TEST(PlainQueries, KeepTheRunsHistogram) {
  RunOptions options;
  options.event_ids = {1, 2};
  options.hist_ids = {"A"};
  const QueryList queries = PlainQueries(SecurityLog(true), options);
  EXPECT_EQ(queries[1].histogram_fields, (Texts{"a"}));
  EXPECT_EQ(queries[1].histogram_number, 1U);
}

}  // namespace
}  // namespace tarnlex
