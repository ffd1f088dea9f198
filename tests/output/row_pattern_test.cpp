#include "output/row_pattern.h"

#include <gtest/gtest.h>

#include <numeric>

#include "logs/text.h"
#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

// Adds a row with the columns "a", "c" and so on: of those in `fixed` the layout has the cells, the
// others are its own.
void AddWith(EventRows& rows, const std::vector<std::string_view>& names,
             const std::vector<FixedText>& fixed, const std::vector<std::string_view>& own) {
  EventRecord row;
  std::vector<int> position_of;
  row.columns = AddColumnSet(rows, names, position_of);
  if (!fixed.empty()) row.layout = AddLayout(rows, names.size(), fixed);
  const auto is_own = [&](std::size_t column) {
    return column < names.size() && (!row.layout || !row.layout->cells[column].text);
  };
  RowBuilder builder = BeginRow(rows, 1000);
  char* at = builder.start;
  auto next = own.begin();
  for (std::size_t column = 0; column < names.size(); ++column) {
    if (!is_own(column)) continue;
    if (column == 0 || !is_own(column - 1)) at = BeginStretch(builder, at);
    char* const text = BeginCell(builder, at);
    std::memcpy(text, next->data(), next->size());
    at = EndCell(builder, text + next++->size());
    if (!is_own(column + 1)) at = EndStretch(builder, at);
  }
  EndRow(rows, builder, at, row);
}

// What is written of the rows in one table, a line each.
std::string Written(const EventRows& rows) {
  RowNumbers group(rows.rows.size());
  std::iota(group.begin(), group.end(), 0U);
  const TableColumns columns = MakeTableColumns(rows, group, false);
  std::string text;
  TextSink sink = MakeStringSink(text);
  CellWriter cells = BeginCells(sink);
  RowPatterns patterns;
  for (const EventRecord& row : rows.rows) {
    WriteJoinedCells(cells, PatternOf(patterns, columns, row, ','), row, ',');
    WriteCharacter(cells, '\n');
  }
  FinishCells(cells);
  Flush(sink);
  return text;
}

TEST(RowPattern, PutsCellsOfTheLayoutBetweenOthers) {
  EventRows rows = JoinedRows();
  AddWith(rows, {"a", "b", "c", "d"}, {{1, "fixed"}, {2, ""}}, {"1", "4"});
  AddWith(rows, {"a", "b", "c", "d"}, {{0, "first"}, {3, "last"}}, {"2", "3"});
  AddWith(rows, {"a", "b", "c", "d"}, {}, {"1", "2", "3", "4"});
  AddWith(rows, {"a", "b", "c", "d"}, {{0, "w"}, {1, "x"}, {2, "y"}, {3, "z"}}, {});
  EXPECT_EQ(Written(rows), "1,fixed,,4,\nfirst,2,3,last,\n1,2,3,4,\nw,x,y,z,\n");
}

TEST(RowPattern, LeavesColumnsEmptyThatTheRowLacks) {
  EventRows rows = JoinedRows();
  AddWith(rows, {"a", "b", "c", "d", "e"}, {}, {"1", "2", "3", "4", "5"});
  AddWith(rows, {"b", "d"}, {}, {"2", "4"});
  AddWith(rows, {"b", "d"}, {{0, "fixed"}}, {"4"});
  AddWith(rows, {"a", "e"}, {{0, "first"}, {1, "last"}}, {});
  AddWith(rows, {}, {}, {});
  EXPECT_EQ(Written(rows), "1,2,3,4,5,\n,2,,4,,\n,fixed,,4,,\nfirst,,,,last,\n,,,,,\n");
}

TEST(RowPattern, CopiesCellsOfAnyLength) {
  EventRows rows = JoinedRows();
  std::string expected;
  for (const std::size_t length : {0U, 1U, 14U, 15U, 16U, 17U, 31U, 32U, 33U, 150U}) {
    const std::string text(length, 'x');
    AddWith(rows, {"a", "b", "c"}, {{1, text}}, {text, text});
    AddWith(rows, {"a", "c"}, {}, {text, text});
    expected += text + "," + text + "," + text + ",\n" + text + ",," + text + ",\n";
  }
  EXPECT_EQ(Written(rows), expected);
}

TEST(RowPattern, MakesCellsOfNumbersAndOfNothing) {
  EventRows rows = JoinedRows();
  AddWith(rows, {"a", "b", "c", "d", "e", "f"}, {}, {"1", "2", "3", "4", "5", "6"});
  for (const std::vector<std::string_view>& names :
       {std::vector<std::string_view>{"a", "b", "c", "d", "e", "f"}, {"a", "c", "d", "e", "f"}}) {
    EventRecord row;
    row.columns = AddColumns(rows, names);
    RowBuilder builder = BeginRow(rows, 1000);
    char* at = AddUnresolvedCell(builder, BeginStretch(builder, builder.start));
    at = AddUnresolvedCell(builder, at);
    at = AddNumberCell(builder, at, PieceKind::kHex, 0xAB);
    at = EndPlainCell(builder, CopyText("text", BeginCell(builder, at)));
    if (names.size() == 6) at = AddNumberCell(builder, at, PieceKind::kInstant, kMarch2012);
    at = AddUnresolvedCell(builder, at);
    EndRow(rows, builder, EndStretch(builder, at), row);
  }
  EXPECT_EQ(Written(rows),
            "1,2,3,4,5,6,\n"
            "[null],[null],0x00000000000000ab,text,03/07/2012 14:05:09.123456700,[null],\n"
            "[null],,[null],0x00000000000000ab,text,[null],\n");
}

}  // namespace
}  // namespace tarnlex
