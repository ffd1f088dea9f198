#include "reports/evt_query.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "reports/command_language.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtEntry;
using Cells = std::map<std::string, std::string>;
using Texts = std::vector<std::string>;

// The query of one command line, ready for EVT.
struct Prepared {
  QueryList list;
  EvtQueries evt;
};
Prepared Prepare(const std::vector<std::string>& lines) {
  const LogInfo log{.path = "SecEvent.Evt", .is_evtx = false, .kind = "security"};
  std::vector<TokenList> token_lists;
  for (const std::string& line : lines) {
    token_lists.emplace_back();
    SplitCommandLine("!cmd, -enum_evtlog, " + line, token_lists.back());
  }
  Prepared prepared;
  BuildQueries(token_lists, log, {}, false, prepared.list);
  prepared.evt = PrepareEvtQueries(prepared.list);
  return prepared;
}

bool Takes(const std::string& line, const EvtEntry& entry) {
  Prepared prepared = Prepare({line});
  EXPECT_EQ(prepared.evt.queries.size(), 1U) << line;
  const ByteString bytes = support::EvtEntryBytes(entry);
  EvtRecord record;
  EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
  return EvtQueryTakes(prepared.evt, prepared.evt.queries.at(0), record);
}

Cells CellsOf(const EventRecord& row) {
  std::vector<std::string_view> texts;
  ReadCells(row, texts);
  Cells cells;
  for (std::size_t i = 0; i < texts.size(); ++i) cells.emplace(row.columns->names[i], texts[i]);
  return cells;
}

// The values that the line takes from a record with source "src" and computer "host".
Cells Taken(const std::string& line, const Texts& strings) {
  Prepared prepared = Prepare({line});
  EXPECT_EQ(prepared.evt.queries.size(), 1U) << line;
  const ByteString bytes =
      support::EvtEntryBytes({.source = "src", .computer = "host", .strings = strings});
  EvtRecord record;
  EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
  EventRows rows;
  AddEvtRow(rows, prepared.evt, prepared.evt.queries.at(0), record);
  Cells cells = CellsOf(rows.rows.at(0));
  EXPECT_EQ(cells["source name"], "src");
  EXPECT_EQ(cells["computer name"], "host");
  cells.erase("source name");
  cells.erase("computer name");
  return cells;
}

TEST(PrepareForEvt, RewritesPullsAndLabels) {
  QuerySpec query;
  query.pull = {"1|UserName", "10", "123|Big", "7|A|B", "1|Second"};
  PrepareForEvt(query);
  EXPECT_EQ(query.pull, (Texts{"source name", "computer name", "param_01", "param_10", "param_123",
                               "param_07", "param_01"}));
  EXPECT_EQ(query.labels,
            (std::map<std::uint16_t, std::string>{{1, "username"}, {7, "a|b"}, {123, "big"}}));
}

TEST(PrepareForEvt, TakesWhatIsNoNumberForStringZero) {
  QuerySpec query;
  query.pull = {"-pull", "UserName|Label", "", "70000"};
  PrepareForEvt(query);
  EXPECT_EQ(query.pull, (Texts{"source name", "computer name", "param_00", "param_00", "param_00",
                               "param_00"}));
  EXPECT_EQ(query.labels, (std::map<std::uint16_t, std::string>{{0, "label"}}));
}

TEST(PrepareForEvt, RewritesHistogramFields) {
  QuerySpec query;
  query.histogram = true;
  query.pull = {"1|UserName"};
  query.histogram_fields = {"1", "2", "14", "source name"};
  PrepareForEvt(query);
  EXPECT_EQ(query.histogram_columns, (Texts{"username", "param_02", "param_14", "source name"}));
}

TEST(PrepareForEvt, HistogramsFindColumnsByTheirHeaders) {
  QuerySpec query;
  query.pull = {"1|User", "2|Other"};
  query.headers = {{"1", "Account"}};
  query.histogram_fields = {"1", "2"};
  PrepareForEvt(query);
  EXPECT_EQ(query.histogram_columns, (Texts{"Account", "other"}));
}

TEST(EvtQuery, ComparesTheLowHalfOfTheEventId) {
  EXPECT_TRUE(Takes("-id, 6000", {.event_id = 0x40001770}));
  EXPECT_FALSE(Takes("-id, 0x40001770", {.event_id = 0x40001770}));
  EXPECT_FALSE(Takes("-id, 6001", {.event_id = 0x40001770}));
  EXPECT_TRUE(Takes("-all_data", {.event_id = 77}));
}

TEST(EvtQuery, IncludesBothEndsOfItsWindow) {
  const std::string line = "-start_time, 03/07/2012 10:00:00, -stop_time, 03/07/2012 11:00:00";
  const auto at = [](int hour, int minute, int second) {
    return EvtEntry{.time = support::UnixTime(2012, 3, 7, hour, minute, second)};
  };
  EXPECT_FALSE(Takes(line, at(9, 59, 59)));
  EXPECT_TRUE(Takes(line, at(10, 0, 0)));
  EXPECT_TRUE(Takes(line, at(11, 0, 0)));
  EXPECT_FALSE(Takes(line, at(11, 0, 1)));
  EXPECT_TRUE(Takes("-start_time, 03/07/2012", {.time = 0xFFFFFFFF}));
  EXPECT_FALSE(Takes("-start_time, 03/07/2012", {.time = 0}));
}

TEST(EvtQuery, TestsConditionsOnItsFields) {
  const EvtEntry entry{.type = 8, .source = "Security", .strings = {"SeSystem", "timePrivilege"}};
  // The strings are joined with nothing between them.
  EXPECT_TRUE(Takes("-conditions, string|SeSystemtimePrivilege", entry));
  EXPECT_FALSE(Takes("-conditions, STRING|x", {.strings = {"x"}}));
  EXPECT_TRUE(Takes("-conditions, source_name|SECUR", entry));
  EXPECT_FALSE(Takes("-conditions, source_name|system", entry));
  EXPECT_TRUE(Takes("-conditions, 2|privilege", entry));
  EXPECT_FALSE(Takes("-conditions, 1|privilege", entry));
  EXPECT_TRUE(Takes("-conditions, 2", entry));
  EXPECT_FALSE(Takes("-conditions, 3", entry));
  EXPECT_FALSE(Takes("-conditions, nonsense", entry));
}

TEST(EvtQuery, FindsTheLastStringByConditionButNotByPull) {
  const Texts strings = {"one", "two", "three"};
  EXPECT_TRUE(Takes("-conditions, 3|three", {.strings = strings}));
  EXPECT_EQ(Taken("-pull, 1, -pull, 2, -pull, 3, -pull, 4, -pull, 0", strings),
            (Cells{{"param_00", "-"},
                   {"param_01", "one"},
                   {"param_02", "two"},
                   {"param_03", "-"},
                   {"param_04", "-"}}));
}

TEST(EvtQuery, FailsAConditionOnTheSidOfARecordWithoutOne) {
  EXPECT_FALSE(Takes("-conditions, user_sid", {.strings = {"S-1-5-18"}}));
  EXPECT_TRUE(Takes("-conditions, user_sid", {.sid = "S-1-5-18"}));
  EXPECT_TRUE(Takes("-conditions, user_sid|s-1-5", {.sid = "S-1-5-18"}));
}

TEST(EvtQuery, TakesWhatPassesAllConditions) {
  const EvtEntry entry{.source = "Service Control Manager", .strings = {"alpha", "beta"}};
  EXPECT_TRUE(Takes("-and, 1|alp, -and, 2|bet, -not, 1|beta", entry));
  EXPECT_FALSE(Takes("-and, 1|alp, -and, 2|alp", entry));
  EXPECT_FALSE(Takes("-and, 1|alp, -not, string|beta", entry));
  EXPECT_TRUE(Takes("-provider, service control manager", entry));
  EXPECT_FALSE(Takes("-provider, Service", entry));
  EXPECT_FALSE(Takes("-channel, System", entry));
}

TEST(EvtQuery, AcceptsTypesThatContainTheWantedDigit) {
  for (const std::uint16_t type : std::vector<std::uint16_t>{1, 10, 16}) {
    EXPECT_TRUE(Takes("-success_type, error", {.type = type})) << type;
  }
  for (const std::uint16_t type : std::vector<std::uint16_t>{0, 2, 4, 8}) {
    EXPECT_FALSE(Takes("-success_type, error", {.type = type})) << type;
  }
  EXPECT_TRUE(Takes("-success_type, 8", {.type = 8}));
}

TEST(EvtQuery, NeedsConditionAndSuccessTypeBoth) {
  const std::string line = "-conditions, 1|a, -success_type, warning";
  EXPECT_TRUE(Takes(line, {.type = 2, .strings = {"a"}}));
  EXPECT_FALSE(Takes(line, {.type = 4, .strings = {"a"}}));
  EXPECT_FALSE(Takes(line, {.type = 2, .strings = {"b"}}));
}

TEST(EvtQuery, LooksForATextInEachOfARecordsTexts) {
  const EvtEntry entry{.source = "Source", .computer = "HostName", .strings = {"abc", "def"}};
  EXPECT_TRUE(Takes("-string_exists, SOUR", entry));
  EXPECT_TRUE(Takes("-string_exists, hostn", entry));
  EXPECT_TRUE(Takes("-string_exists, DEF", entry));
  EXPECT_FALSE(Takes("-string_exists, cd", entry));  // never across two strings
  EXPECT_FALSE(Takes("-string_exists, S-1-5", entry));
  EXPECT_TRUE(Takes("-string_exists, s-1-5-18", {.sid = "S-1-5-18"}));
}

TEST(EvtRow, TakesAllDataUnderNumberedNames) {
  EXPECT_EQ(Taken("-all_data", {"a", "", "c"}),
            (Cells{{"param_01", "a"}, {"param_02", ""}, {"param_03", "c"}}));
  Texts hundred;
  for (int i = 1; i <= 100; ++i) hundred.push_back(std::to_string(i));
  const Cells cells = Taken("-all_data", hundred);
  EXPECT_EQ(cells.size(), 100U);
  EXPECT_EQ(cells.at("param_09"), "9");
  EXPECT_EQ(cells.at("param_100"), "100");
  EXPECT_TRUE(Taken("-all_data", {}).empty());
}

TEST(EvtRow, UsesLabelsForAllDataToo) {
  EXPECT_EQ(Taken("-all_data, -pull, 2|Domain", {"a", "b"}),
            (Cells{{"param_01", "a"}, {"domain", "b"}}));
}

TEST(EvtRow, WritesAPullUnderItsLoweredLabel) {
  EXPECT_EQ(Taken("-pull, 1|UserName", {"alice", "x"}), (Cells{{"username", "alice"}}));
}

TEST(EvtRow, WritesAPullUnderItsHeader) {
  EXPECT_EQ(Taken("-pull, 1|User, -pull, 2, -label, 1=Account, -label, 2=Second", {"a", "b", "c"}),
            (Cells{{"Account", "a"}, {"Second", "b"}}));
}

// Lines from before -label never gave it, and must not begin to.
TEST(EvtRow, GivesTheLastStringWhereItHasAHeader) {
  EXPECT_EQ(Taken("-pull, 1, -pull, 2, -label, 2=Last", {"a", "b"}),
            (Cells{{"param_01", "a"}, {"Last", "b"}}));
  EXPECT_EQ(Taken("-pull, 1, -pull, 2, -label, 1=First", {"a", "b"}),
            (Cells{{"First", "a"}, {"param_02", "-"}}));
  EXPECT_EQ(Taken("-pull, 3, -label, 3=Third", {"a", "b"}), (Cells{{"Third", "-"}}));
}

TEST(EvtRow, KeepsTheFirstLabelOfAString) {
  // The second label of string 3 is lost, and the column of that name comes once.
  EXPECT_EQ(Taken("-pull, 3|by User Name, -pull, 3|by Domain", {"1", "2", "3", "4"}),
            (Cells{{"by user name", "3"}}));
}

TEST(EvtRow, KeepsTheFirstValueOfAColumn) {
  EXPECT_EQ(Taken("-pull, 2|Same, -pull, 1|same", {"1", "2", "3"}), (Cells{{"same", "2"}}));
  EXPECT_EQ(Taken("-pull, 1|source name", {"1", "2"}), Cells{});
}

TEST(EvtRow, HasOnlyTheNamesWithoutPulls) { EXPECT_EQ(Taken("-id, 12", {"a", "b"}), Cells{}); }

TEST(EvtRow, CleansLineBreaksAndTabs) {
  EXPECT_EQ(Taken("-all_data", {"a\r\nb\tc", "\r\n\t", "plain", "\xC3\xA9\n\xE2\x82\xAC"}),
            (Cells{{"param_01", "a,bc"},
                   {"param_02", ","},
                   {"param_03", "plain"},
                   {"param_04", "\xC3\xA9,\xE2\x82\xAC"}}));
}

TEST(EvtRow, CarriesTheRecordsOwnFields) {
  Prepared prepared = Prepare({"-id, 1", "-id, 528, -name, logon, -all_data"});
  const ByteString bytes = support::EvtEntryBytes(
      {.number = 77, .time = support::UnixTime(2012, 3, 7), .event_id = 0x80000210, .type = 16});
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  EXPECT_FALSE(EvtQueryTakes(prepared.evt, prepared.evt.queries[0], record));
  ASSERT_TRUE(EvtQueryTakes(prepared.evt, prepared.evt.queries[1], record));
  EventRows rows;
  AddEvtRow(rows, prepared.evt, prepared.evt.queries[1], record);
  const EventRecord& row = rows.rows[0];
  EXPECT_EQ(row.queryIndex, 1U);
  EXPECT_EQ(row.timeCreated, support::Filetime(2012, 3, 7));
  EXPECT_EQ(row.eventId, 528U);
  EXPECT_EQ(row.eventRecordId, 77U);
  EXPECT_EQ(row.level, 16U);
  EXPECT_EQ(QueryNameOf(rows, row), "logon");
  EXPECT_EQ(ProviderOf(rows, row), "");
}

TEST(EvtRow, SharesColumnsAmongRecordsOfOneShape) {
  Prepared prepared = Prepare({"-all_data"});
  EventRows rows;
  std::vector<ByteString> records;
  for (const Texts& strings : {Texts{"a"}, Texts{"b"}, Texts{"c", "d"}}) {
    records.push_back(support::EvtEntryBytes({.strings = strings}));
  }
  EvtRecord record;
  for (const ByteString& bytes : records) {
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    AddEvtRow(rows, prepared.evt, prepared.evt.queries[0], record);
  }
  EXPECT_EQ(rows.rows[0].columns, rows.rows[1].columns);
  EXPECT_NE(rows.rows[0].columns, rows.rows[2].columns);
  EXPECT_EQ(rows.column_sets.size(), 2U);
}

TEST(EvtRow, StaysValidAfterTheRowsWereCleared) {
  Prepared prepared = Prepare({"-all_data"});
  EventRows rows;
  const ByteString bytes = support::EvtEntryBytes({.strings = {"kept"}});
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  AddEvtRow(rows, prepared.evt, prepared.evt.queries[0], record);
  ClearRows(rows);
  AddEvtRow(rows, prepared.evt, prepared.evt.queries[0], record);
  EXPECT_EQ(CellsOf(rows.rows.at(0)).at("param_01"), "kept");
}

}  // namespace
}  // namespace tarnlex
