// Rows share the cells that are the same in them, and tables do not show it.
#include <gtest/gtest.h>

#include <algorithm>

#include "output/table.h"
#include "reports/evt_query.h"
#include "reports/evtx_query.h"
#include "tests/evtx/decoding.h"
#include "tests/output/row_maker.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::DataField;
using support::Event;
using support::EvtxBuilder;

Event With(std::uint32_t id, std::vector<DataField> data) {
  Event event;
  event.event_id = id;
  event.data = std::move(data);
  return event;
}

struct Walked {
  EventRows rows;
  EvtxQueries all;
};

// The rows of all values of the events, which come one second after the other. Cells may be joined
// and shared as the options have it, or lie one by one in each row.
void Walk(const std::vector<Event>& events, const RunOptions& options, bool share, Walked& walked) {
  EvtxBuilder log;
  for (const Event& event : events) log.AddEvent(event);
  static const QueryList queries = [] {
    QuerySpec spec;
    spec.all_data = true;
    return QueryList{spec};
  }();
  walked.rows.joined = JoinedForm(options);
  if (share) ExpectRepeated(walked.rows.repeated);
  walked.all = PrepareEvtxQueries(queries);
  EvtxDecoder decoder;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    AddEvtxRow(walked.rows, walked.all, walked.all.queries[0], with, event);
  };
  const support::ByteString chunks = log.BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
}

std::string TableOf(const std::vector<Event>& events, const RunOptions& options, bool share) {
  Walked walked;
  Walk(events, options, share, walked);
  EXPECT_EQ(walked.rows.rows.size(), events.size());
  std::string text;
  bool header_pending = true;
  TextSink sink = MakeStringSink(text);
  WriteLogResults(sink, walked.rows, LogAt("a.evtx"), options, header_pending);
  Flush(sink);
  return text;
}

RunOptions Csv(bool csvgen) {
  RunOptions options;
  options.separator = ",";
  options.separator_class = {',', ' '};
  options.delimited = true;
  options.csv_form = !csvgen;
  options.csvgen_form = csvgen;
  return options;
}

const std::string kPath = "C:\\Windows\\System32\\a program, with | signs.exe";
const std::string kBroken =
    "SeSecurityPrivilege\r\n\t\t\tSeBackupPrivilege\r\n\t\t\tSeTcbPrivilege";
const std::string kGuid = "54849625-5478-4994-a5ba-3e3b0328c30d";
const std::string kSid = "S-1-5-21-1111111111-2222222222-3333333333-1001";

// Events of four kinds with long and short values that repeat, change, and change places.
std::vector<Event> Events() {
  std::vector<Event> events;
  for (std::uint32_t i = 0; i < 60; ++i) {
    const std::string own = "a text of its own, number " + std::to_string(i);
    const std::string& some = i % 3 == 0 ? kPath : i % 3 == 1 ? kBroken : own;
    std::vector<DataField> data = {{"A", some},
                                   {"B", support::GuidValue(kGuid)},
                                   {"C", std::to_string(i)},
                                   {"D", support::SidValue(kSid)},
                                   {"E", i % 2 == 0 ? kBroken : ""},
                                   {"F", some}};
    if (i % 4 == 1) data.erase(data.begin() + 2);
    if (i % 4 == 2) data.insert(data.begin(), {"0", "the first column"});
    if (i % 4 == 3) data = {{"F", kPath}};
    events.push_back(With(i % 4, data));
  }
  return events;
}

TEST(SharedCells, DoNotShowInAnyTable) {
  RunOptions padded;
  for (const RunOptions& options : {Csv(false), Csv(true), padded}) {
    const std::string table = TableOf(Events(), options, true);
    EXPECT_EQ(table, TableOf(Events(), options, false));
    EXPECT_NE(table.find("[CRLF]"), std::string::npos);
    EXPECT_NE(table.find(kSid), std::string::npos);
    EXPECT_NE(table.find("number 56"), std::string::npos);
  }
}

// A value as it lies in a record.
std::vector<std::uint8_t> Units(std::string_view text) {
  std::vector<std::uint8_t> units;
  for (const char c : text) units.insert(units.end(), {static_cast<std::uint8_t>(c), 0});
  return units;
}

// A text that is remembered at the same place as another.
std::string ThatShares(std::string_view other) {
  RepeatedCells cells;
  ExpectRepeated(cells);
  const auto place_of = [&cells](std::string_view text) {
    const std::vector<std::uint8_t> units = Units(text);
    PlaceOf(cells, units);
    return PlaceOf(cells, units);
  };
  std::string text;
  for (int i = 0; text.empty() || place_of(text) != place_of(other); ++i) {
    text = "one of many texts, number " + std::to_string(i);
  }
  return text;
}

TEST(SharedCells, AreNotMixedUpWhenTwoOfARowHaveOnePlace) {
  for (const std::size_t length : {16U, 100U, 1022U, 1023U, 1024U}) {
    const std::string breaks(length, '\n');
    const std::string first = ThatShares(breaks);
    const std::vector<Event> events = {
        With(1, {{"A", first}}),  With(1, {{"A", first}, {"B", breaks}, {"C", breaks}}),
        With(1, {{"A", breaks}}), With(1, {{"A", first}}),
        With(1, {{"A", breaks}}),
    };
    EXPECT_EQ(TableOf(events, Csv(true), true), TableOf(events, Csv(true), false)) << length;
  }
}

// What comes before a long text moves when that has ended.
TEST(SharedCells, MayStandNextToALongText) {
  const std::string large(6'000, 'x');
  const Event event = With(1, {{"A", kPath}, {"B", large}, {"C", kSid}});
  const std::vector<Event> events(4, event);
  const std::string table = TableOf(events, Csv(true), true);
  EXPECT_EQ(table, TableOf(events, Csv(true), false));
  EXPECT_NE(table.find(large + "," + kSid), std::string::npos);
}

TEST(SharedCells, LieWhereTheSecondRowHasThem) {
  Walked walked;
  const Event event = With(1, {{"A", kPath}, {"B", support::SidValue(kSid)}});
  Walk({event, event, event}, RunOptions{}, true, walked);
  for (const char* name : {"A", "B"}) {
    std::string_view second;
    std::string_view third;
    ASSERT_TRUE(FindCell(walked.rows.rows.at(1), name, false, second));
    ASSERT_TRUE(FindCell(walked.rows.rows.at(2), name, false, third));
    EXPECT_EQ(third, name[0] == 'A' ? kPath : kSid);
    EXPECT_EQ(third.data(), second.data());
  }
}

TEST(SharedCells, AreOfOneType) {
  // Sixteen bytes are a GUID, and behind them so many a text.
  support::ByteString bytes;
  for (int i = 0; i < 16; ++i) bytes.insert(bytes.end(), {'a', 0});
  const auto text = [&](std::uint8_t type) {
    const Event event = With(1, {{"A", support::RawValue(type, bytes)}});
    Walked walked;
    const Event first = With(1, {{"A", support::RawValue(kEvtVarTypeString, bytes)}});
    Walk({first, first, event}, RunOptions{}, true, walked);
    std::string_view cell;
    EXPECT_TRUE(FindCell(walked.rows.rows.at(2), "A", false, cell));
    return std::string(cell);
  };
  EXPECT_EQ(text(kEvtVarTypeString), "aaaaaaaaaaaaaaaa");
  EXPECT_EQ(text(kEvtVarTypeGuid), "00610061-0061-0061-6100-610061006100");
}

TEST(SharedCells, AreNotMadeOfTextsThatGoOnBehindTheirBytes) {
  // A single-byte text ends at the next zero, wherever that is.
  const std::string head(20, 'x');
  const auto event = [&](const std::string& rest) {
    const support::ByteString begin(head.begin(), head.end());
    const support::ByteString end(rest.begin(), rest.end());
    return With(1, {{"A", support::RawValue(kEvtVarTypeAnsiString, begin)},
                    {"B", support::RawValue(kEvtVarTypeAnsiString, end)}});
  };
  Walked walked;
  Walk({event("one"), event("one"), event("two")}, RunOptions{}, true, walked);
  std::string_view first;
  std::string_view second;
  ASSERT_TRUE(FindCell(walked.rows.rows.at(1), "A", false, first));
  ASSERT_TRUE(FindCell(walked.rows.rows.at(2), "A", false, second));
  EXPECT_TRUE(first.starts_with(head + "one"));
  EXPECT_TRUE(second.starts_with(head + "two"));
}

// Numbers, instants and what is left out become texts when the row is made or when it is written.
TEST(JoinedRows, ShowWhatOthersDo) {
  const auto raw = [](std::uint8_t type, std::size_t size) {
    support::ByteString bytes;
    for (std::size_t i = 0; i < size; ++i)
      bytes.push_back(static_cast<std::uint8_t>(0xC1 - 0x18 * i));
    return support::RawValue(type, bytes);
  };
  std::vector<Event> events;
  for (const std::size_t size : {0U, 4U, 7U, 8U, 9U, 16U}) {
    for (const std::uint8_t type : {kEvtVarTypeHexInt64, kEvtVarTypeFileTime, kEvtVarTypeNull}) {
      const DataField value{"A", raw(type, size)};
      events.push_back(With(1, {value, {"B", raw(type, size)}, {"C", "text"}, {"D", "next"}}));
      events.push_back(With(2, {value, {"E", raw(type, size)}}));
    }
  }
  Walked plain;
  Walk(events, RunOptions{}, false, plain);
  EXPECT_FALSE(IsJoined(plain.rows.rows.at(0)));
  std::string text;
  bool header_pending = true;
  TextSink sink = MakeStringSink(text);
  WriteLogResults(sink, plain.rows, LogAt("a.evtx"), Csv(true), header_pending);
  Flush(sink);
  EXPECT_EQ(TableOf(events, Csv(true), true), text);
  EXPECT_NE(text.find("0x19314961"), std::string::npos);
  EXPECT_NE(text.find(",[null],"), std::string::npos);
}

// A row that is too large to be joined lies among others that are.
TEST(SharedCells, AreOfOneForm) {
  QuerySpec spec;
  spec.all_data = true;
  QueryList queries{spec};
  EvtQueries all = PrepareEvtQueries(queries);
  const RunOptions options = Csv(true);
  EventRows rows;
  rows.joined = JoinedForm(options);
  ExpectRepeated(rows.repeated);
  const std::string large(kMostJoined, 'x');
  for (const std::string& own : {std::string("1"), large, std::string("3"), large}) {
    const support::ByteString bytes = support::EvtEntryBytes({.strings = {kPath, own, kBroken}});
    EvtRecord record;
    record.structure.policy = Policy::kComplete;
    ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
    AddEvtRow(rows, all, all.queries.at(0), record);
  }
  EXPECT_FALSE(IsJoined(rows.rows.at(1)));
  std::string text;
  bool header_pending = true;
  TextSink sink = MakeStringSink(text);
  WriteLogResults(sink, rows, LogAt("a.evt", false), options, header_pending);
  Flush(sink);
  const std::string path = "C:\\Windows\\System32\\a program; with | signs.exe,";
  EXPECT_NE(text.find(path + "1,"), std::string::npos);
  EXPECT_NE(text.find(path + "3,"), std::string::npos);
}

TEST(SharedCells, AreForgottenWithTheRows) {
  Walked walked;
  const Event event = With(1, {{"A", kPath}});
  Walk({event, event, event}, RunOptions{}, true, walked);
  const auto has_text = [](const RepeatedCell& place) { return place.text.data() != nullptr; };
  const std::vector<RepeatedCell>& places = walked.rows.repeated.places;
  EXPECT_TRUE(std::any_of(places.begin(), places.end(), has_text));
  ClearRows(walked.rows);
  for (const RepeatedCell& place : walked.rows.repeated.places) {
    EXPECT_EQ(place.text.data(), nullptr);
  }
}

}  // namespace
}  // namespace tarnlex
