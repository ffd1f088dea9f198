#include "output/cards.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

std::string Print(const EventRows& rows, const RunOptions& options, bool colored = false) {
  std::string text;
  TextSink sink = MakeStringSink(text);
  if (colored) sink.paint = sink.write;
  WriteCards(sink, rows, LogAt("a.evtx"), options);
  Flush(sink);
  return text;
}

TEST(WrapValue, CutsBehindABlankWhereThereIsOne) {
  EXPECT_EQ(WrapValue("one two three", 2, 22), "one two three");
  EXPECT_EQ(WrapValue("twenty characters 20 more", 2, 22), "twenty characters \n  20 more");
  EXPECT_EQ(WrapValue("twenty characters is that", 2, 22), "twenty characters \n  is that")
      << "no line begins with the blank that was cut at";
  EXPECT_EQ(WrapValue("abcdefghijklmnopqrstuvwxyz", 2, 22), "abcdefghijklmnopqrst\n  uvwxyz");
  EXPECT_EQ(WrapValue("", 2, 22), "");
}

TEST(WrapValue, CountsCharactersAndCutsNone) {
  std::string umlauts;
  for (int i = 0; i < 21; ++i) umlauts += "\xC3\xA4";
  EXPECT_EQ(WrapValue(umlauts, 0, 20), umlauts.substr(0, 40) + "\n\xC3\xA4");
}

TEST(WrapValue, CutsAtTheLineBreaksOfAValue) {
  EXPECT_EQ(WrapValue("a\r\nb\n\rc\nd\re\n\n", 1, 0), "a\n b\n c\n d\n e");
  EXPECT_EQ(WrapValue("a\n\nb", 1, 0), "a\n \n b");
}

TEST(WrapValue, LeavesRoomForAValueOnANarrowTerminal) {
  EXPECT_EQ(WrapValue("abcdefghijklmnopqrstuvwxyz", 30, 10).find('\n'), 20U);
  EXPECT_EQ(WrapValue(std::string(1000, 'x'), 30, 0), std::string(1000, 'x'));
}

TEST(Cards, GiveEachColumnOfARowALine) {
  EventRows rows;
  AddRow(rows, {.record = 2, .level = 2, .provider = "P", .values = {{"Other", "a,b|c"}}});
  AddRow(rows, {.record = 1, .provider = "P", .name = "logon", .values = {{"Empty", ""}}});
  EXPECT_EQ(Print(rows, {}),
            "Record#:       1\n"
            "EventID:       4624\n"
            "Date:          03/07/2012\n"
            "Time-UTC:      14:05:09.123\n"
            "Level:         info\n"
            "name:          logon\n"
            "Provider Name: P\n"
            "Empty:\n"
            "event log:     a.evtx\n"
            "\n"
            "Record#:       2\n"
            "EventID:       4624\n"
            "Date:          03/07/2012\n"
            "Time-UTC:      14:05:09.123\n"
            "Level:         error\n"
            "Provider Name: P\n"
            "Other:         a,b|c\n"
            "event log:     a.evtx\n"
            "\n");
}

TEST(Cards, PutTheValueOfALongNameBelowIt) {
  EventRows rows;
  const std::string name(40, 'n');
  AddRow(rows, {.values = {{name, "v"}, {"x", "y"}}});
  RunOptions options;
  options.columns = {name, "X", "gone", "date [utc]"};
  options.pair_datetime = true;
  const std::string blanks(30, ' ');
  EXPECT_EQ(Print(rows, options), name + ":\n" + blanks + "v\nX:" + blanks.substr(2) +
                                      "y\ngone:\ndate [utc]:" + blanks.substr(11) +
                                      "03/07/2012 14:05:09.123\n\n");
}

TEST(Cards, ColourTheirHeadAndGraveLevels) {
  EventRows rows;
  AddRow(rows, {.level = 3});
  AddRow(rows, {.level = 4});
  RunOptions options;
  options.columns = {"EventID", "Level"};
  EXPECT_EQ(Print(rows, options, true),
            "\x1b[1mEventID: 4624\x1b[0m\nLevel:   \x1b[33mwarn\x1b[0m\n\n"
            "\x1b[1mEventID: 4624\x1b[0m\nLevel:   info\n\n");
}

}  // namespace
}  // namespace tarnlex
