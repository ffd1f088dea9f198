// Tables of columns that were asked for.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "output/picked_columns.h"
#include "output/table.h"
#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

RunOptions Options(std::vector<std::string> columns, bool csv = true) {
  RunOptions options;
  options.columns = std::move(columns);
  if (!csv) return options;
  options.csvgen_form = true;
  options.separator = ",";
  options.separator_class = {',', ' '};
  options.delimited = true;
  return options;
}

std::string Print(const EventRows& rows, const RunOptions& options, bool is_evtx = true,
                  bool colored = false) {
  std::string text;
  bool header_pending = true;
  TextSink sink = MakeStringSink(text);
  if (colored) sink.paint = sink.write;
  WriteLogResults(sink, rows, LogAt("a.evtx", is_evtx), options, header_pending);
  Flush(sink);
  return text;
}

TEST(PickedTable, HasTheColumnsThatWereAskedForInTheirOrder) {
  EventRows rows;
  AddRow(rows, {.provider = "P", .name = "n", .values = {{"User", "x"}, {"Zone", "a,b"}}});
  EXPECT_EQ(Print(rows, Options({"zone", "EVENT LOG", "name", "Time-UTC", "Date", "level",
                                 "eventid", "Provider Name", "record#", "User", "User"})),
            "zone,EVENT LOG,name,Time-UTC,Date,level,eventid,Provider Name,record#,User,User\n"
            "a;b,a.evtx,n, 14:05:09.123,03/07/2012,info,4624,P,1,x,x\n");
}

TEST(PickedTable, KeepsAColumnThatNoRowHas) {
  EventRows rows;
  AddRow(rows, {.values = {{"User", "x"}}});
  AddRow(rows, {});
  EXPECT_EQ(Print(rows, Options({"Gone", "User", "name", "Date [UTC]"})),
            "Gone,User,name,Date [UTC]\n,x,,\n,,,\n");
}

TEST(PickedTable, TakesTheValueThatIsSpelledSoFirst) {
  EventRows rows;
  AddRow(rows, {.values = {{"USER", "capitals"}, {"user", "small"}}});
  AddRow(rows, {.values = {{"USER", "capitals"}}});
  EXPECT_EQ(Print(rows, Options({"user", "User"})),
            "user,User\nsmall,capitals\ncapitals,capitals\n");
}

TEST(PickedTable, MeansAValueWhereATableHasNoSuchColumn) {
  EventRows rows;
  AddRow(rows,
         {.provider = "P", .values = {{"Date [UTC]", "v"}, {"Provider Name", "Q"}, {"name", "N"}}});
  EXPECT_EQ(Print(rows, Options({"name", "date [utc]", "provider name"}), false),
            "name,date [utc],provider name\nN,v,Q\n");
  RunOptions paired = Options({"name", "date [utc]", "provider name"});
  paired.pair_datetime = true;
  EXPECT_EQ(Print(rows, paired), "name,date [utc],provider name\nN,03/07/2012 14:05:09.123,P\n");
}

TEST(PickedTable, IsPaddedToItsNamesAtLeast) {
  EventRows rows;
  AddRow(rows, {.values = {{"Name of this", "\xC3\xA4\n"}, {"v", "a longer value"}}});
  EXPECT_EQ(Print(rows, Options({"Name of this", "v", "Level"}, false)),
            "Name of this | v              | Level \n"
            "\xC3\xA4[LF]        | a longer value | info  \n\n");
}

TEST(PickedTable, ColoursItsHeaderAndGraveLevelsWhenItIsPadded) {
  EventRows rows;
  AddRow(rows, {.level = 1});
  EXPECT_EQ(Print(rows, Options({"Level"}, false), true, true),
            "\x1b[1mLevel \x1b[0m\n\x1b[31mcrit\x1b[0m  \n\n");
  EXPECT_EQ(Print(rows, Options({"Level"}), true, true), "Level\ncrit\n");
}

TEST(PickedColumns, NoteWhichNamesNoRowHas) {
  EventRows rows;
  AddRow(rows, {.values = {{"User", "x"}}});
  std::vector<std::string> missing = {"USER", "Gone", "eventid", "name", "Date [UTC]", "Date"};
  NoteColumns(rows, LogAt("a"), {}, missing);
  EXPECT_EQ(missing, (std::vector<std::string>{"Gone", "name", "Date [UTC]"}));
  EventRows named;
  AddRow(named, {.name = "n"});
  NoteColumns(named, LogAt("a"), {}, missing);
  EXPECT_EQ(missing, (std::vector<std::string>{"Gone", "Date [UTC]"}));
}

}  // namespace
}  // namespace tarnlex
