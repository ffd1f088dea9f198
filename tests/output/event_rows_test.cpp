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

const ColumnSet* AddColumns(EventRows& rows, const std::vector<std::string_view>& names) {
  std::vector<int> position_of;
  return AddColumnSet(rows, names, position_of);
}

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

TEST(PackedCells, KeepTextsOfEveryLengthClass) {
  EventRows rows;
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b", "c", "d", "e"});
  const std::string below(65534, 'b');
  const std::string at(65535, 'c');
  const std::string above(3'000'000, 'd');
  AddRow(rows, record, {"", below, at, above, "end"});
  AddRow(rows, record, {"1", "2", "3", "4", "5"});
  std::vector<std::string_view> cells;
  ReadCells(rows.rows[0], cells);
  EXPECT_EQ(cells, (std::vector<std::string_view>{"", below, at, above, "end"}));
  ReadCells(rows.rows[1], cells);
  EXPECT_EQ(cells, (std::vector<std::string_view>{"1", "2", "3", "4", "5"}));
}

TEST(PackedCells, SurviveManyBlocks) {
  EventRows rows;
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b"});
  for (std::uint64_t i = 0; i < 5000; ++i) {
    record.eventRecordId = i;
    AddRow(rows, record, {std::to_string(i), std::string(5 * (i % 3000), 'x')});
  }
  ASSERT_EQ(rows.rows.size(), 5000U);
  EXPECT_GE(rows.blocks.size(), 3U);
  std::vector<std::string_view> cells;
  for (const EventRecord& row : rows.rows) {
    ReadCells(row, cells);
    ASSERT_EQ(cells[0], std::to_string(row.eventRecordId));
    ASSERT_EQ(cells[1].size(), 5 * (row.eventRecordId % 3000));
  }
}

TEST(PackedCells, OfALargeRowStayWhereTheyWereBuilt) {
  EventRows rows;
  EventRecord record;
  record.columns = AddColumns(rows, {"a"});
  const std::vector<std::string> texts = {"before", std::string(5'000'000, 'x'), "between",
                                          std::string(6'000'000, 'y'), "behind"};
  for (int round = 0; round < 2; ++round) {
    std::size_t total = 0;
    for (const std::string& text : texts) {
      AddRow(rows, record, {text});
      total += text.size();
    }
    EXPECT_EQ(rows.scratch.size, 0U);
    EXPECT_LT(rows.block_bytes, total + (std::size_t{2} << 20));
    std::vector<std::string_view> cells;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      ReadCells(rows.rows[i], cells);
      EXPECT_EQ(cells, (std::vector<std::string_view>{texts[i]}));
    }
    ClearRows(rows);
  }
}

TEST(PackedCells, AGenerousBoundCostsNoMoreThanTheText) {
  EventRows rows;
  EventRecord record;
  record.columns = AddColumns(rows, {"a"});
  for (int i = 0; i < 100; ++i) {
    RowBuilder builder = BeginRow(rows, 700'000);
    char* text = BeginCell(builder, builder.start);
    std::memset(text, 'x', 10);
    EndRow(rows, builder, EndCell(builder, text + 10), record);
  }
  EXPECT_EQ(rows.blocks.size(), 1U);
  std::vector<std::string_view> cells;
  for (const EventRecord& row : rows.rows) {
    ReadCells(row, cells);
    ASSERT_EQ(cells[0], "xxxxxxxxxx");
  }
}

TEST(PackedCells, ARowThatIsNeverEndedLeavesNothing) {
  EventRows rows;
  EventRecord record;
  record.columns = AddColumns(rows, {"a"});
  AddRow(rows, record, {"kept"});
  RowBuilder builder = BeginRow(rows, 100);
  char* text = BeginCell(builder, builder.start);
  std::memcpy(text, "lost", 4);
  AddRow(rows, record, {"next"});
  ASSERT_EQ(rows.rows.size(), 2U);
  std::string_view found;
  EXPECT_TRUE(FindCell(rows.rows[0], "a", false, found));
  EXPECT_EQ(found, "kept");
  EXPECT_TRUE(FindCell(rows.rows[1], "a", false, found));
  EXPECT_EQ(found, "next");
}

EventRows JoinedRows() {
  EventRows rows;
  rows.joined = {CellForm::kJoined, ',', MakeCellCleaner({',', ' '}, true)};
  return rows;
}

TEST(JoinedCells, LieAsTheyWillBeWritten) {
  EventRows rows = JoinedRows();
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b", "c"});
  AddRow(rows, record, {"1", "", "two, three"});
  AddRow(rows, record, {"", "", ""});
  EXPECT_EQ(OwnCells(rows.rows[0]), "1,,two; three,");
  EXPECT_EQ(OwnCells(rows.rows[1]), ",,,");
}

TEST(JoinedCells, MarkLineBreaksWhereverTheyStand) {
  EventRows rows = JoinedRows();
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b"});
  AddRow(rows, record, {"\r\n", "\n\r,\r\r\n"});
  AddRow(rows, record, {"fifteen letters\n,behind a block\r\nand behind it", "plain"});
  EXPECT_EQ(OwnCells(rows.rows[0]), "[CRLF],[LFCR];[CR][CRLF],");
  EXPECT_EQ(OwnCells(rows.rows[1]), "fifteen letters[LF];behind a block[CRLF]and behind it,plain,");
}

TEST(JoinedCells, AreNotMadeOfWhatMayBecomeVeryLong) {
  EventRows rows = JoinedRows();
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b"});
  const std::string breaks(2'000'000, '\n');
  AddRow(rows, record, {breaks, ","});
  EXPECT_FALSE(IsJoined(rows.rows[0]));
  std::vector<std::string_view> cells;
  ReadCells(rows.rows[0], cells);
  EXPECT_EQ(cells, (std::vector<std::string_view>{breaks, ","}));
}

TEST(JoinedCells, GrowBeyondWhatWasPromised) {
  // Nothing but line breaks makes a text four times as long; the cells behind it keep their room.
  EventRows rows = JoinedRows();
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b", "c"});
  for (const std::size_t length : {1U, 15U, 16U, 17U, 5'000U, 170'000U}) {
    const std::string breaks(length, '\n');
    const std::string plain(length, 'x');
    std::string marked;
    for (std::size_t i = 0; i < length; ++i) marked += "[LF]";
    AddRow(rows, record, {breaks, plain, breaks});
    ASSERT_EQ(OwnCells(rows.rows.back()), marked + "," + plain + "," + marked + ",");
  }
  EXPECT_EQ(OwnCells(rows.rows.front()), "[LF],x,[LF],");
}

TEST(JoinedCells, OfARowTakeNoMoreThanItSays) {
  EventRows rows = JoinedRows();
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b"});
  AddRow(rows, record, {"0123456789\n", "x"});
  EXPECT_GE(rows.rows[0].dataSize, OwnCells(rows.rows[0]).size());
}

// Two stretches around a cell that the layout has: own cells "one" and a known one, then "two" or
// nothing.
EventRecord AddStretches(EventRows& rows, std::string_view known, bool ends_known) {
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b", "c", "d"});
  record.layout = AddLayout(rows, 4, {{2, "shared"}});
  RowBuilder builder = BeginRow(rows, 200);
  const auto add = [&](char* at, std::string_view text) {
    char* const begin = BeginCell(builder, at);
    std::memcpy(begin, text.data(), text.size());
    return EndCell(builder, begin + text.size());
  };
  char* at = BeginStretch(builder, builder.start);
  at = ends_known ? add(at, "one") : AddKnownCell(builder, at, known);
  at = ends_known ? AddKnownCell(builder, at, known) : add(at, "one");
  at = BeginStretch(builder, EndStretch(builder, at));
  EndRow(rows, builder, EndStretch(builder, add(at, "two")), record);
  return rows.rows.back();
}

constexpr std::string_view kKnownText = "a text that another row has,";

TEST(KnownCells, AreReadWhereTheyLieFirst) {
  EventRows rows;
  const std::string_view known = kKnownText.substr(0, kKnownText.size() - 1);
  for (const bool ends_known : {false, true}) {
    const EventRecord row = AddStretches(rows, known, ends_known);
    std::vector<std::string_view> cells;
    ReadCells(row, cells);
    const std::vector<std::string_view> expected =
        ends_known ? std::vector<std::string_view>{"one", known, "shared", "two"}
                   : std::vector<std::string_view>{known, "one", "shared", "two"};
    EXPECT_EQ(cells, expected);
    EXPECT_EQ(cells[ends_known ? 1 : 0].data(), known.data());
  }
}

TEST(KnownCells, ArePiecesOfStretches) {
  EventRows rows = JoinedRows();
  const std::string_view known = kKnownText.substr(0, kKnownText.size() - 1);
  const EventRecord row = AddStretches(rows, known, true);
  EXPECT_EQ(OwnCells(row), "one,a text that another row has,two,");
  EXPECT_EQ(OwnCells(AddStretches(rows, known, false)), "a text that another row has,one,two,");
  EXPECT_GE(row.dataSize, OwnCells(row).size());
  const char* at = row.dataItems;
  EXPECT_FALSE(NextPiece(at).is_last);
  const JoinedPiece piece = NextPiece(at);
  EXPECT_TRUE(piece.is_known);
  EXPECT_TRUE(piece.is_last);  // no empty piece behind it
  EXPECT_EQ(piece.cells.data(), known.data());
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

}  // namespace
}  // namespace tarnlex
