#include "reports/builtin_reports.h"

#include <gtest/gtest.h>

#include <map>
#include <span>
#include <string>
#include <vector>

#include "logs/text.h"
#include "reports/evt_query.h"
#include "reports/report_lines.h"
#include "tests/reports/builtin_lines.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

const BuiltinReport& ReportOf(bool RunOptions::*selected) {
  for (const BuiltinReport& report : BuiltinReports()) {
    if (report.selected == selected) return report;
  }
  throw std::logic_error("no such report");
}

LogInfo Log(std::string path, LogKind kind, bool is_evtx) {
  return {.path = std::move(path),
          .is_evtx = is_evtx,
          .format_unknown = false,
          .kind = std::move(kind)};
}

void ExpectLines(bool RunOptions::*selected, std::span<const std::string_view> expected) {
  const BuiltinReport& report = ReportOf(selected);
  ASSERT_EQ(report.queries.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(CommandLineOf(report.queries[i]), expected[i]);
  }
}

TEST(BuiltinReports, HaveTheirLinesWordForWord) {
  ExpectLines(&RunOptions::report_pw, kPasswordLines);
  ExpectLines(&RunOptions::report_time, kTimeLines);
  ExpectLines(&RunOptions::report_logon, kLogonLines);
  ExpectLines(&RunOptions::report_startstop, kStartStopLines);
  ExpectLines(&RunOptions::report_creds, kCredentialsLines);
  ExpectLines(&RunOptions::report_usb, kUsbLines);
}

TEST(BuiltinReports, RunInTheirFixedOrder) {
  std::vector<bool RunOptions::*> order;
  for (const BuiltinReport& report : BuiltinReports()) order.push_back(report.selected);
  EXPECT_EQ(order, (std::vector<bool RunOptions::*>{
                       &RunOptions::report_pw, &RunOptions::report_time, &RunOptions::report_logon,
                       &RunOptions::report_startstop, &RunOptions::report_creds,
                       &RunOptions::report_usb}));
}

TEST(BuiltinReports, HaveAsManyLinesAsTheyPromise) {
  const auto size = [](bool RunOptions::*selected) { return ReportOf(selected).queries.size(); };
  EXPECT_EQ(size(&RunOptions::report_logon), 26U);
  EXPECT_EQ(size(&RunOptions::report_time), 6U);
  EXPECT_EQ(size(&RunOptions::report_startstop), 10U);
  EXPECT_EQ(size(&RunOptions::report_pw), 8U);
  EXPECT_EQ(size(&RunOptions::report_creds), 35U);
  EXPECT_EQ(size(&RunOptions::report_usb), 17U);
}

// Every line must come out of the language as the query that its table entry describes.
TEST(BuiltinReports, MakeOneQueryOfEveryLine) {
  for (const BuiltinReport& report : BuiltinReports()) {
    for (const LogFormat format : {LogFormat::EVT, LogFormat::EVTX}) {
      const LogInfo log = Log("x", "security", format == LogFormat::EVTX);
      QueryList queries;
      BuildQueries(ReportLines(report, format), log, {}, false, queries);
      std::size_t at = 0;
      for (const BuiltinQuery& line : report.queries) {
        if (line.format != format) continue;
        ASSERT_LT(at, queries.size());
        const QuerySpec& query = queries[at++];
        std::vector<std::string> pulls;
        SplitList(line.pulls, ',', true, pulls);
        EXPECT_EQ(query.event_id, line.event_id);
        EXPECT_EQ(query.name, Trim(line.name));
        EXPECT_EQ(query.conditions, line.condition);
        EXPECT_EQ(query.all_data, line.all_data);
        EXPECT_EQ(query.pull, pulls) << line.name;
        EXPECT_EQ(query.format, format);
        EXPECT_TRUE(query.emit_row);
        EXPECT_EQ(query.string_exists + query.success_condition + query.type, "");
        EXPECT_EQ(query.start_time + query.stop_time, 0U);
      }
      EXPECT_EQ(at, queries.size());
    }
  }
}

// The columns that a line's pulls must give, worked out from its text.
std::map<std::string, std::string> ExpectedCells(const BuiltinQuery& line,
                                                 const std::vector<std::string>& strings) {
  std::map<std::string, std::string> cells{{"source name", "Security"},
                                           {"computer name", "WKS-ALPHA"}};
  std::vector<std::string> pulls;
  SplitList(line.pulls, ',', true, pulls);
  std::vector<bool> numbers_seen(100);
  for (const std::string& pull : pulls) {
    const std::uint64_t number = LeadingNumber(pull);
    if (numbers_seen[number]) continue;  // only the first label of a string counts
    numbers_seen[number] = true;
    const std::size_t bar = pull.find('|');
    const std::string name =
        bar == std::string::npos ? "param_00" : ToLowerAscii(pull.substr(bar + 1));
    cells.emplace(name, number == 0 ? "-" : strings[number - 1]);
  }
  return cells;
}

TEST(BuiltinReports, GiveTheirNameAndLabelsToEvtRecords) {
  std::size_t lines = 0;
  for (const BuiltinReport& report : BuiltinReports()) {
    QueryList queries;
    BuildQueries(ReportLines(report, LogFormat::EVT), Log("log", "security", false), {}, false,
                 queries);
    EvtQueries prepared = PrepareEvtQueries(queries);
    EvtRecord record;
    for (const BuiltinQuery& line : report.queries) {
      if (line.format != LogFormat::EVT) continue;
      ++lines;
      std::vector<std::string> strings;
      for (int i = 1; i <= 30; ++i) strings.push_back("value " + std::to_string(i));
      if (!line.condition.empty()) {
        strings.back() = ToLowerAscii(line.condition.substr(line.condition.find('|') + 1));
      }
      const support::ByteString bytes =
          support::EvtEntryBytes({.event_id = line.event_id, .strings = strings});
      ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
      EventRows rows;
      ForgetRows(prepared);
      for (EvtQuery& query : prepared.queries) {
        if (!EvtQueryTakes(prepared, query, record)) continue;
        AddEvtRow(rows, prepared, query, record);
        break;
      }
      ASSERT_EQ(rows.rows.size(), 1U) << line.name;
      const EventRecord& row = rows.rows[0];
      EXPECT_EQ(QueryNameOf(rows, row), Trim(line.name));
      std::vector<std::string_view> texts;
      ReadCells(row, texts);
      std::map<std::string, std::string> cells;
      for (std::size_t i = 0; i < texts.size(); ++i) cells.emplace(row.columns->names[i], texts[i]);
      EXPECT_EQ(cells, ExpectedCells(line, strings)) << line.name;
    }
  }
  EXPECT_EQ(lines, 14U + 3 + 5 + 4 + 17);
}

bool Fits(bool RunOptions::*selected, const LogInfo& log) {
  return ReportFits(ReportOf(selected), log, false);
}

TEST(ReportSelection, TakesSecurityLogsByKindWhateverTheirName) {
  for (const auto selected :
       {&RunOptions::report_pw, &RunOptions::report_logon, &RunOptions::report_creds}) {
    EXPECT_TRUE(Fits(selected, Log("/case/Security.evtx", "security", true)));
    EXPECT_TRUE(Fits(selected, Log("/case/copy1.evtx", "security", true)));
    EXPECT_TRUE(Fits(selected, Log("C:\\logs\\SecEvent.Evt", "security", false)));
    EXPECT_FALSE(Fits(selected, Log("/case/System.evtx", "system", true)));
    EXPECT_FALSE(Fits(selected, Log("/case/security.evtx", "unk", true)));
  }
}

TEST(ReportSelection, TakesClockChangesByKindAndName) {
  const auto time = &RunOptions::report_time;
  EXPECT_TRUE(Fits(time, Log("C:\\logs\\sysevent.evt", "system", false)));
  EXPECT_TRUE(Fits(time, Log("/case/SYSTEM.EVTX", "system", true)));
  EXPECT_TRUE(Fits(time, Log("/case/old-security-log.evtx", "security", true)));
  EXPECT_TRUE(Fits(time, Log("SecEvent.Evt", "security", false)));
  EXPECT_FALSE(Fits(time, Log("/case/copy1.evtx", "security", true)));
  EXPECT_FALSE(Fits(time, Log("/security/copy1.evtx", "security", true)));  // a folder's name
  EXPECT_FALSE(Fits(time, Log("/case/security.evtx", "application", true)));
}

TEST(ReportSelection, TakesStartsAndStopsFromSystemLogs) {
  const auto startstop = &RunOptions::report_startstop;
  EXPECT_TRUE(Fits(startstop, Log("sysevent.evt", "system", false)));
  EXPECT_TRUE(Fits(startstop, Log("copy2.evtx", "system", true)));
  EXPECT_FALSE(Fits(startstop, Log("secevent.evt", "security", false)));
}

TEST(ReportSelection, TakesUsbEventsFromEvtxLogsOnly) {
  const auto usb = &RunOptions::report_usb;
  EXPECT_TRUE(Fits(usb, Log("System.evtx", "system", true)));
  EXPECT_TRUE(Fits(usb, Log("x.evtx", "driverframeworks", true)));
  EXPECT_TRUE(
      Fits(usb, Log("x.evtx", "microsoft-windows-driverframeworks-usermode%4operational", true)));
  EXPECT_FALSE(Fits(usb, Log("SysEvent.Evt", "system", false)));
  EXPECT_FALSE(Fits(usb, Log("Security.evtx", "security", true)));
  EXPECT_FALSE(Fits(usb, Log("x.evtx", "systematic", true)));
}

}  // namespace
}  // namespace tarnlex
