#include "output/table.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "output/row_order.h"
#include "output/table_columns.h"
#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

RunOptions TableOptions() { return {}; }

RunOptions CsvOptions() {
  RunOptions options;
  options.csv_form = true;
  options.separator = ",";
  options.separator_class = {',', ' '};
  options.delimited = true;
  return options;
}

std::string PrintRows(const EventRows& rows, const RunOptions& options, const LogInfo& log) {
  std::string text;
  bool header_pending = true;
  TextSink sink = MakeStringSink(text);
  WriteLogResults(sink, rows, log, options, header_pending);
  Flush(sink);
  return text;
}

// What is written must not depend on how the cells are kept.
std::string Print(const EventRows& rows, const RunOptions& options,
                  const LogInfo& log = LogAt("a.evtx")) {
  std::string text = PrintRows(rows, options, log);
  EventRows joined;
  joined.joined = JoinedForm(options);
  joined.providers = rows.providers;
  joined.query_names = rows.query_names;
  std::vector<std::string_view> cells;
  for (const EventRecord& row : rows.rows) {
    ReadCells(row, cells);
    AddRow(joined, row, cells);
  }
  EXPECT_EQ(PrintRows(joined, options, log), text);
  return text;
}

TEST(JoinedForm, IsForTablesWhoseSeparatorNoCellHolds) {
  EXPECT_EQ(JoinedForm(CsvOptions()).separator, ',');
  EXPECT_EQ(JoinedForm(TableOptions()).separator, 0);  // padded
  RunOptions options = TableOptions();
  options.delimited = true;
  EXPECT_EQ(JoinedForm(options).separator, 0);  // " | "
  options.separator = "|";
  EXPECT_EQ(JoinedForm(options).separator, '|');
  options.separator = "\t";
  options.separator_class = {0, 0};
  EXPECT_EQ(JoinedForm(options).separator, 0);  // a tab stays in a cell
  for (bool RunOptions::*form :
       {&RunOptions::multiline_form, &RunOptions::bodyfile_form, &RunOptions::l2t_form}) {
    options = CsvOptions();
    options.*form = true;
    EXPECT_EQ(JoinedForm(options).separator, 0);
  }
}

// One CSV line of one value, without header.
std::string PrintValue(std::string_view value, const RunOptions& options = CsvOptions()) {
  EventRows rows;
  AddRow(rows, {.values = {{"v", value}}});
  const std::string text = Print(rows, options);
  const std::size_t line = text.find('\n') + 1;
  return text.substr(line, text.size() - line - 2);
}

TEST(Table, WritesNothingForALogWithoutRows) {
  EventRows rows;
  EXPECT_EQ(Print(rows, TableOptions()), "");
  EXPECT_EQ(Print(rows, CsvOptions()), "");
}

TEST(Table, PadsColumnsAndSeparatesThemWithBars) {
  EventRows rows;
  AddRow(rows, {.record = 7,
                .level = 1,
                .provider = "Microsoft-Windows-Security",
                .name = "logon",
                .values = {{"LogonType", "2"}, {"User", "someone"}}});
  AddRow(rows, {.record = 8, .provider = "Microsoft-Windows-Security", .values = {{"User", "é"}}});
  EXPECT_EQ(Print(rows, TableOptions()),
            " Record#   |  EventID   | Date       | Time-UTC     | Level  | name  | "
            "Provider Name              | LogonType | User    | event log  \n"
            "7          | 4624       | 03/07/2012 |  14:05:09.123 | crit   | logon | "
            "Microsoft-Windows-Security | 2 | someone | a.evtx     \n"
            "8          | 4624       | 03/07/2012 |  14:05:09.123 | info   |       | "
            "Microsoft-Windows-Security |   | é       | a.evtx     \n"
            "\n");
}

TEST(Table, CentresTheNameColumnOverALongerName) {
  EventRows rows;
  AddRow(rows, {.name = "logon/interactive"});
  const std::string text = Print(rows, TableOptions());
  EXPECT_NE(text.find("|       name        | "), std::string::npos) << text;
}

TEST(Table, GivesEveryEventIdentifierATableOfItsOwn) {
  EventRows rows;
  AddRow(rows, {.record = 1, .event = 4634, .values = {{"b", "2"}}});
  AddRow(rows, {.record = 2, .event = 0x11, .values = {{"a", "1"}}});
  AddRow(rows, {.record = 3, .event = 4634, .values = {{"c", "3"}}});
  EXPECT_EQ(Print(rows, CsvOptions()),
            "Record#,EventID,Date,Time-UTC,Level,Provider Name,a,event log\n"
            "2,17,03/07/2012, 14:05:09.123,info,,1,a.evtx\n"
            "\n"
            "Record#,EventID,Date,Time-UTC,Level,Provider Name,b,c,event log\n"
            "1,4634,03/07/2012, 14:05:09.123,info,,2,,a.evtx\n"
            "3,4634,03/07/2012, 14:05:09.123,info,,,3,a.evtx\n"
            "\n");
}

TEST(Table, SeparatesProvidersOfOneEventIdentifier) {
  EventRows rows;
  AddRow(rows, {.record = 1, .event = 7, .provider = "b"});
  AddRow(rows, {.record = 2, .event = 7, .provider = "a"});
  EXPECT_EQ(Print(rows, CsvOptions()),
            "Record#,EventID,Date,Time-UTC,Level,Provider Name,event log\n"
            "2,7,03/07/2012, 14:05:09.123,info,a,a.evtx\n"
            "\n"
            "Record#,EventID,Date,Time-UTC,Level,Provider Name,event log\n"
            "1,7,03/07/2012, 14:05:09.123,info,b,a.evtx\n"
            "\n");
}

TEST(Table, OrdersRowsByTimeThenRecord) {
  EventRows rows;
  AddRow(rows, {.record = 5, .time = kMarch2012 + kTickSecond});
  AddRow(rows, {.record = 9});
  AddRow(rows, {.record = 6});
  const std::string text = Print(rows, CsvOptions());
  EXPECT_LT(text.find("\n6,"), text.find("\n9,"));
  EXPECT_LT(text.find("\n9,"), text.find("\n5,"));
}

TEST(Table, CsvgenKeepsAllRowsInOneTable) {
  EventRows rows;
  AddRow(rows, {.record = 1, .event = 7, .provider = "p", .values = {{"b", "2"}}});
  AddRow(rows, {.record = 2, .event = 3, .name = "n", .values = {{"a", "1"}, {"c", "4"}}});
  RunOptions options = CsvOptions();
  options.csv_form = false;
  options.csvgen_form = true;
  EXPECT_EQ(Print(rows, options),
            "Record#,EventID,Date,Time-UTC,Level,name,Provider Name,a,b,c,event log\n"
            "1,7,03/07/2012, 14:05:09.123,info,,p,,2,,a.evtx\n"
            "2,3,03/07/2012, 14:05:09.123,info,n,,1,,4,a.evtx\n");
}

TEST(Table, MultilineWritesACellALine) {
  EventRows rows;
  AddRow(rows, {.record = 1, .event = 7, .provider = "p", .values = {{"value", "a|b"}}});
  AddRow(rows, {.record = 2, .event = 7, .provider = "p", .values = {{"value", "c"}}});
  RunOptions options;
  options.multiline_form = true;
  options.separator = "";
  options.separator_class = {0, 0};
  EXPECT_EQ(Print(rows, options),
            " Record#   EventID  Date      Time-UTC    Level Provider Namevalueevent log  \n"
            "1         \n7         \n03/07/2012\n 14:05:09.123\ninfo  \np            \n"
            "a|b\na.evtx     \n"
            "2         \n7         \n03/07/2012\n 14:05:09.123\ninfo  \np            \n"
            "c  \na.evtx     \n"
            "\n");
}

TEST(Table, XmlFormIsTheTableWithItsEmptySeparator) {
  EventRows rows;
  AddRow(rows, {.record = 1, .event = 7, .values = {{"value", "a|b"}}});
  RunOptions options;
  options.xml_form = true;
  options.separator = "";
  options.separator_class = {0, 0};
  EXPECT_EQ(Print(rows, options, LogAt("x.evt", false)),
            " Record#   EventID  Date      Time-UTC    Level valueevent log  \n"
            "1         7         03/07/2012 14:05:09.123info  a|bx.evt      \n"
            "\n");
}

TEST(Table, PairsDateAndTimeInOneColumn) {
  EventRows rows;
  AddRow(rows, {.event = 7});
  AddRow(rows, {.event = 7, .time = 0});
  RunOptions options = CsvOptions();
  options.pair_datetime = true;
  EXPECT_EQ(Print(rows, options),
            "Record#,EventID,Date [UTC],Level,Provider Name,event log\n"
            "1,7, ,info,,a.evtx\n"
            "1,7,03/07/2012 14:05:09.123,info,,a.evtx\n"
            "\n");
  options = TableOptions();
  options.pair_datetime = true;
  const std::string text = Print(rows, options);
  EXPECT_NE(text.find(" | Date [UTC]              | Level  | "), std::string::npos) << text;
  EXPECT_NE(text.find(" | 03/07/2012 14:05:09.123 | info   | "), std::string::npos) << text;
  EXPECT_NE(text.find(" |                         | info   | "), std::string::npos) << text;
}

TEST(Table, LeavesDateAndTimeOfAnInvalidInstantEmpty) {
  EventRows rows;
  AddRow(rows, {.event = 7, .time = 0});
  const std::string text = Print(rows, CsvOptions());
  EXPECT_NE(text.find("\n1,7,, ,info,"), std::string::npos) << text;
}

TEST(Table, NoWhitespaceMeansBareBarsAndNoPadding) {
  EventRows rows;
  AddRow(rows, {.event = 7, .provider = "p", .values = {{"v", "x"}}});
  RunOptions options = TableOptions();
  options.delimited = true;
  options.pad_separator = false;
  options.separator = "|";
  EXPECT_EQ(Print(rows, options),
            "Record#|EventID|Date|Time-UTC|Level|Provider Name|v|event log\n"
            "1|7|03/07/2012|14:05:09.123|info|p|x|a.evtx\n"
            "\n");
}

TEST(Table, LegacyLogsHaveNoProviderColumn) {
  EventRows rows;
  AddRow(rows, {.event = 7, .level = 16, .provider = "p"});
  EXPECT_EQ(Print(rows, CsvOptions(), LogAt("x.evt", false)),
            "Record#,EventID,Date,Time-UTC,Level,event log\n"
            "1,7,03/07/2012, 14:05:09.123,unk,x.evt\n"
            "\n");
}

TEST(Table, KeepsAPulledProviderNameBesideTheFixedColumn) {
  EventRows rows;
  AddRow(rows, {.event = 7, .provider = "p", .values = {{"Provider Name", "p"}}});
  EXPECT_EQ(Print(rows, CsvOptions()),
            "Record#,EventID,Date,Time-UTC,Level,Provider Name,Provider Name,event log\n"
            "1,7,03/07/2012, 14:05:09.123,info,p,p,a.evtx\n"
            "\n");
}

TEST(Table, DoesNotWidenAFieldOfSixHundredCharacters) {
  const auto header_of = [](std::size_t length) {
    EventRows rows;
    AddRow(rows, {.event = 7, .values = {{"v", std::string(length, 'x')}, {"w", "1"}}});
    const std::string text = Print(rows, TableOptions());
    return text.substr(0, text.find('\n'));
  };
  EXPECT_NE(header_of(599).find(" | v" + std::string(598, ' ') + " | w | "), std::string::npos);
  EXPECT_NE(header_of(600).find(" | v" + std::string(19, ' ') + " | w | "), std::string::npos);
}

TEST(Table, CountsCharactersOfTheValueAsTaken) {
  EventRows rows;
  AddRow(rows, {.record = 1, .event = 7, .values = {{"v", "a\r\nb"}}});
  AddRow(rows, {.record = 2, .event = 7, .values = {{"v", "äöüßx"}}});
  AddRow(rows, {.record = 3, .event = 7, .values = {{"v", "\n"}}});
  const std::string text = Print(rows, TableOptions());
  EXPECT_NE(text.find("| v     | event log"), std::string::npos) << text;
  EXPECT_NE(text.find("| a[CRLF]b | a.evtx"), std::string::npos) << text;
  EXPECT_NE(text.find("| äöüßx | a.evtx"), std::string::npos) << text;
  EXPECT_NE(text.find("| [LF]  | a.evtx"), std::string::npos) << text;
}

TEST(Table, CutsNothingThatIsLongerThanItsColumn) {
  EventRows rows;
  AddRow(rows, {.record = 123456789012, .event = 7});
  const std::string text = Print(rows, TableOptions(), LogAt("C:/logs/security.evtx"));
  EXPECT_NE(text.find("\n123456789012 | 7          | "), std::string::npos) << text;
  EXPECT_NE(text.find(" | C:/logs/security.evtx\n"), std::string::npos) << text;
}

TEST(CellCleaning, ReplacesTheSeparatorCharacter) {
  const auto cell = [](RunOptions options, std::string_view value) {
    options.delimited = true;
    EventRows rows;
    AddRow(rows, {.event = 7, .name = value, .values = {{"v", value}}});
    const std::string text = Print(rows, options);
    const std::size_t line = text.find("info") + 4;
    return text.substr(line, text.find("a.evtx") - line);
  };
  EXPECT_EQ(cell(TableOptions(), "a|b,c"), " | a;b,c |  | a;b;c | ");
  EXPECT_EQ(cell(CsvOptions(), "a|b,c"), ",a|b c,,a|b;c,");
  RunOptions tab = TableOptions();
  tab.separator = "\t";
  tab.separator_class = {0, 0};
  EXPECT_EQ(cell(tab, "a|b,c"), "\ta|b,c\t\ta|b;c\t");
}

TEST(CellCleaning, ReplacesASeparatorOfSeveralBytes) {
  RunOptions options = CsvOptions();
  options.separator = "§";
  options.separator_class = {0, 0, "§"};
  EventRows rows;
  AddRow(rows, {.event = 7, .provider = "§", .values = {{"v§", "0123456789abcde§§f,\n¨§"}}});
  const std::string text = Print(rows, options);
  EXPECT_NE(text.find("§v §event log\n"), std::string::npos) << text;
  EXPECT_NE(text.find("§ §0123456789abcde  f;[LF]¨ §a.evtx\n"), std::string::npos) << text;
}

TEST(CellCleaning, ReplacesTheSeparatorInTimesAndLevelsOfACompleteTable) {
  RunOptions options = CsvOptions();
  options.complete = true;
  const auto line = [&options](char separator) {
    options.separator.assign(1, separator);
    options.separator_class = {separator, ' '};
    EventRows rows;
    AddRow(rows, {.event = 7});
    const std::string text = Print(rows, options);
    return text.substr(text.find('\n') + 1);
  };
  EXPECT_EQ(line(':'), "1:7:03/07/2012: 14 05 09.123:info::a.evtx\n\n");
  EXPECT_EQ(line('n'), "1n7n03/07/2012n 14:05:09.123ni fonna.evtx\n\n");
}

TEST(CellCleaning, MarksLineBreaksLongestFirst) {
  const auto value = [](std::string_view text) {
    const std::string line = PrintValue(text);
    const std::size_t from = line.find("info,,") + 6;
    return line.substr(from, line.rfind(',') - from);
  };
  EXPECT_EQ(value("one\r\ntwo"), "one[CRLF]two");
  EXPECT_EQ(value("\n\r"), "[LFCR]");
  EXPECT_EQ(value("\n\n\r\r"), "[LF][LFCR][CR]");
  EXPECT_EQ(value("\r\n\r\n"), "[CRLF][CRLF]");
  EXPECT_EQ(value("\r\r\n"), "[CR][CRLF]");
  EXPECT_EQ(value("\r"), "[CR]");
  EXPECT_EQ(value("0123456789abcde\r\nf"), "0123456789abcde[CRLF]f");
  EXPECT_EQ(value("0123456789abcd\r\nf"), "0123456789abcd[CRLF]f");
  EXPECT_EQ(value("0123456789abcdef\n"), "0123456789abcdef[LF]");
}

TEST(CellCleaning, TreatsTextsOfEveryLengthAlike) {
  for (std::size_t length = 0; length < 70; ++length) {
    for (std::size_t at = 0; at < length; ++at) {
      std::string text(length, 'x');
      text[at] = ',';
      std::string expected = text;
      expected[at] = ';';
      const std::string line = PrintValue(text);
      ASSERT_NE(line.find("," + expected + ",a.evtx"), std::string::npos) << line;
    }
  }
}

TEST(CellCleaning, TakesTextsFarLargerThanTheBuffer) {
  std::string value;
  std::string expected;
  for (int i = 0; i < 400'000; ++i) {
    value += "\r\n\r\r,";
    expected += "[CRLF][CR][CR];";
  }
  const std::string line = PrintValue(value);
  EXPECT_EQ(line.size(),
            std::string("1,4624,03/07/2012, 14:05:09.123,info,,,a.evtx").size() + expected.size());
  EXPECT_NE(line.find(expected), std::string::npos);
}

TEST(CellCleaning, CoversHeaderNamesAndTheLogsName) {
  EventRows rows;
  AddRow(rows, {.event = 7, .values = {{"a,b\nc", "1"}}});
  EXPECT_EQ(Print(rows, CsvOptions(), LogAt("x,y.evtx")),
            "Record#,EventID,Date,Time-UTC,Level,Provider Name,a b[LF]c,event log\n"
            "1,7,03/07/2012, 14:05:09.123,info,,1,x y.evtx\n"
            "\n");
}

TEST(CellCleaning, KeepsADateWithACommaInItsCell) {
  EventRows rows;
  AddRow(rows, {.event = 7});
  RunOptions options = CsvOptions();
  options.date_format = "mmm dd, yy";
  EXPECT_NE(Print(rows, options).find("\n1,7,Mar 07  12, 14:05:09.123,"), std::string::npos);
}

// Identifiers can be chosen so that a hash table has all of them in one place.
TEST(GroupRows, TakesNoLongerForIdentifiersThatAreMadeUp) {
  constexpr std::uint64_t kInverse = [] {
    std::uint64_t inverse = 1;  // of the usual multiplier; each step doubles the bits that fit
    for (int i = 0; i < 6; ++i) inverse *= 2 - 0x9E3779B97F4A7C15U * inverse;
    return inverse;
  }();
  constexpr std::uint64_t kSizes = std::uint64_t{42043} * 85229;  // of such tables as they grow
  EventRows rows;
  for (std::uint64_t i = 1; i <= 85'000; ++i) {
    rows.rows.push_back({.eventId = i * kSizes * kInverse, .eventRecordId = i});
  }
  const RowNumbers order = OrderRows(rows);
  const std::clock_t began = std::clock();
  const RowGroups groups = GroupRows(rows, order);
  EXPECT_LT(std::clock() - began, CLOCKS_PER_SEC);
  ASSERT_EQ(groups.ends.size(), rows.rows.size());
  for (std::size_t i = 1; i < groups.order.size(); ++i) {
    ASSERT_LT(rows.rows[groups.order[i - 1]].eventId, rows.rows[groups.order[i]].eventId);
  }
}

// More of them than are looked up at once, each again and again.
TEST(GroupRows, FindsEveryGroupAgain) {
  EventRows rows;
  for (std::uint64_t i = 0; i < 5000; ++i) {
    rows.rows.push_back({.eventId = i % 1000, .eventRecordId = i, .provider = 0});
  }
  const RowGroups groups = GroupRows(rows, OrderRows(rows));
  ASSERT_EQ(groups.ends.size(), 1000U);
  for (std::size_t i = 0; i < groups.order.size(); ++i) {
    ASSERT_EQ(groups.order[i], i / 5 + 1000 * (i % 5));
  }
}

}  // namespace
}  // namespace tarnlex
