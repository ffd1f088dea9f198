#include "output/event_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

TEST(ColumnSet, SortsNamesAndKeepsEachOnce) {
  EventRows rows;
  std::vector<int> position_of;
  const ColumnSet* set = AddColumnSet(rows, {"b", "Level", "a", "b", "Provider Name"}, position_of);
  EXPECT_EQ(set->names, (std::vector<std::string_view>{"Level", "Provider Name", "a", "b"}));
  EXPECT_EQ(position_of, (std::vector<int>{3, 0, 2, -1, 1}));
  EXPECT_EQ(set->level, 0);
  EXPECT_EQ(set->provider_name, 1);
}

TEST(ColumnSet, EqualSetsAreOneInAnyOrder) {
  EventRows rows;
  EXPECT_EQ(AddColumns(rows, {"x", "y"}), AddColumns(rows, {"y", "x", "x"}));
  EXPECT_NE(AddColumns(rows, {"x", "y"}), AddColumns(rows, {"x"}));
  EXPECT_EQ(AddColumns(rows, {"x"})->provider_name, -1);
}

TEST(ColumnSet, NamesOutliveTheCallersText) {
  EventRows rows;
  const ColumnSet* set = nullptr;
  {
    std::string name = "a name too long for a small string";
    set = AddColumns(rows, {name});
    name.assign(name.size(), '?');
  }
  EXPECT_EQ(set->names.front(), "a name too long for a small string");
}

TEST(InternText, GivesTheSameBytesForEqualTexts) {
  EventRows rows;
  const std::string_view first = InternText(rows, std::string("security"));
  for (int i = 0; i < 1000; ++i) InternText(rows, std::to_string(i));
  EXPECT_EQ(InternText(rows, "security").data(), first.data());
  EXPECT_EQ(first, "security");
  EXPECT_EQ(InternText(rows, ""), "");
}

TEST(RowLayout, GivesTheCellsThatRowsDoNotHave) {
  EventRows rows;
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b", "c"});
  record.layout = AddLayout(rows, 3, {{0, ""}, {2, "always the same"}});
  AddRow(rows, record, {"own"});
  std::vector<std::string_view> cells;
  ReadCells(rows.rows[0], cells);
  EXPECT_EQ(cells, (std::vector<std::string_view>{"", "own", "always the same"}));
  std::string_view text;
  EXPECT_TRUE(FindCell(rows.rows[0], "c", false, text));
  EXPECT_EQ(text, "always the same");
}

TEST(FindCell, ComparesExactlyOrWithoutCase) {
  EventRows rows;
  EventRecord record;
  record.columns = AddColumns(rows, {"Computer", "LogonType", "logontype"});
  AddRow(rows, record, {"HOST", "2", "3"});
  std::string_view text;
  EXPECT_TRUE(FindCell(rows.rows[0], "LogonType", false, text));
  EXPECT_EQ(text, "2");
  EXPECT_TRUE(FindCell(rows.rows[0], "logontype", true, text));
  EXPECT_EQ(text, "3");  // an exact name comes before one that differs in case
  EXPECT_TRUE(FindCell(rows.rows[0], "COMPUTER", true, text));
  EXPECT_EQ(text, "HOST");
  EXPECT_FALSE(FindCell(rows.rows[0], "COMPUTER", false, text));
  EXPECT_EQ(text.data(), nullptr);
  EXPECT_FALSE(FindCell(EventRecord{}, "Computer", true, text));
}

TEST(ClearRows, KeepsColumnSetsAndTextsForTheRestOfTheLog) {
  EventRows rows;
  EventRecord record;
  record.columns = AddColumns(rows, {"a"});
  const std::string_view name = InternText(rows, "a provider with a rather long name");
  for (int i = 0; i < 10; ++i) AddRow(rows, record, {std::string(500'000, 'x')});
  EXPECT_GT(rows.blocks.size(), 1U);
  ClearRows(rows);
  EXPECT_TRUE(rows.rows.empty());
  EXPECT_EQ(rows.blocks.size(), 1U);
  EXPECT_EQ(AddColumns(rows, {"a"}), record.columns);
  EXPECT_EQ(name, "a provider with a rather long name");
  AddRow(rows, record, {"again"});
  std::string_view text;
  EXPECT_TRUE(FindCell(rows.rows[0], "a", false, text));
  EXPECT_EQ(text, "again");
}

TEST(ClearRows, IsHarmlessOnAnEmptyCollection) {
  EventRows rows;
  ClearRows(rows);
  EXPECT_TRUE(rows.rows.empty());
}

TEST(MemoryOf, CountsTextsThatOutliveTheirRows) {
  EventRows rows;
  std::string text(100'000, 'x');
  for (char c = 'a'; c <= 'z'; ++c) {
    text.front() = c;
    EXPECT_EQ(InternText(rows, text), InternText(rows, text));
  }
  EXPECT_GT(MemoryOf(rows), 2'600'000U);
  EXPECT_LT(MemoryOf(rows), 2'700'000U);
}

}  // namespace
}  // namespace tarnlex
