#include "output/row_builder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "logs/text.h"
#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

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

// A cell of another row: behind it stands its separator, and then may be read what is kept there.
std::string_view KnownText() {
  static const std::string cell =
      std::string("a text that another row has,") + std::string(kReadableBehind, '\0');
  return std::string_view(cell).substr(0, cell.find(','));
}

TEST(KnownCells, AreReadWhereTheyLieFirst) {
  EventRows rows;
  const std::string_view known = KnownText();
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
  const std::string_view known = KnownText();
  const EventRecord row = AddStretches(rows, known, true);
  EXPECT_EQ(OwnCells(row), "one,a text that another row has,two,");
  EXPECT_EQ(OwnCells(AddStretches(rows, known, false)), "a text that another row has,one,two,");
  EXPECT_GE(row.dataSize, OwnCells(row).size());
  const char* at = row.dataItems;
  const std::uint16_t first = TakePieceHead(at);
  EXPECT_EQ(TakeCells(first, at), "one,");
  EXPECT_EQ(first & kLastPiece, 0);
  const std::uint16_t second = TakePieceHead(at);
  EXPECT_EQ(KindOfPiece(second), PieceKind::kKnown);
  EXPECT_NE(second & kLastPiece, 0);  // no empty piece behind it
  EXPECT_EQ(TakeNumber<const char*>(at), known.data());
}

// A row of one stretch: 'h' is a hexadecimal number, 'i' an instant, 'n' a value that is left out
// and 't' a text.
std::string CellsOf(std::string_view kinds, EventRows& rows) {
  EventRecord record;
  record.columns = AddColumns(rows, {"a"});
  RowBuilder builder = BeginRow(rows, (kInstantCell + kMaxCellOverhead) * kinds.size());
  char* at = BeginStretch(builder, builder.start);
  for (const char kind : kinds) {
    if (kind == 'h') at = AddNumberCell(builder, at, PieceKind::kHex, 0x3E7);
    if (kind == 'i') at = AddNumberCell(builder, at, PieceKind::kInstant, kMarch2012);
    if (kind == 'n') at = AddUnresolvedCell(builder, at);
    if (kind == 't') at = EndPlainCell(builder, CopyText("text", BeginCell(builder, at)));
  }
  EndRow(rows, builder, EndStretch(builder, at), record);
  return OwnCells(rows.rows.back());
}

TEST(JoinedCells, OfNumbersAndOfNothingAreMadeInTheEnd) {
  EventRows rows = JoinedRows();
  const std::string hex = "0x00000000000003e7,";
  const std::string instant = "03/07/2012 14:05:09.123456700,";
  const std::string none = "[null],";
  EXPECT_EQ(CellsOf("h", rows), hex);
  EXPECT_EQ(CellsOf("hth", rows), hex + "text," + hex);
  EXPECT_EQ(CellsOf("tiit", rows), "text," + instant + instant + "text,");
  EXPECT_EQ(CellsOf("n", rows), none);
  EXPECT_EQ(CellsOf("nn", rows), none + none);
  EXPECT_EQ(CellsOf("nnntnn", rows), none + none + none + "text," + none + none);
  EXPECT_EQ(CellsOf("tnnnt", rows), "text," + none + none + none + "text,");
  EXPECT_EQ(CellsOf("nhnnin", rows), none + hex + none + none + instant + none);
  for (const EventRecord& row : rows.rows) EXPECT_GE(row.dataSize, OwnCells(row).size());
}

TEST(JoinedCells, OfNothingAreCountedHoweverMany) {
  for (const std::size_t count : {1U, 2U, 3U, 584U, 585U, 4095U, 4096U, 4097U, 9000U}) {
    EventRows rows = JoinedRows();
    std::string expected;
    for (std::size_t i = 0; i < count; ++i) expected += "[null],";
    EXPECT_EQ(CellsOf(std::string(count, 'n'), rows), expected) << count;
  }
}

TEST(JoinedCells, OfNothingAreNotCountedAcrossStretches) {
  EventRows rows = JoinedRows();
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b", "c"});
  record.layout = AddLayout(rows, 3, {{1, "shared"}});
  for (const int count : {1, 2}) {
    RowBuilder builder = BeginRow(rows, 200);
    char* at = builder.start;
    for (int stretch = 0; stretch < 2; ++stretch) {
      at = BeginStretch(builder, at);
      for (int i = 0; i < count; ++i) at = AddUnresolvedCell(builder, at);
      at = EndStretch(builder, at);
    }
    EndRow(rows, builder, at, record);
    EXPECT_EQ(OwnCells(rows.rows.back()),
              count == 1 ? "[null],[null]," : "[null],[null],[null],[null],");
  }
}

TEST(JoinedCells, StayTogetherAtAnyLength) {
  EventRows rows = JoinedRows();
  EventRecord record;
  record.columns = AddColumns(rows, {"a", "b", "c"});
  for (const std::size_t length : {4000U, 4090U, 4091U, 4092U, 4093U, 5000U, 100'000U}) {
    const std::string text(length, 'x');
    AddRow(rows, record, {"1", text, "3"});
    EXPECT_EQ(OwnCells(rows.rows.back()), "1," + text + ",3,") << length;
  }
}

}  // namespace
}  // namespace tarnlex
