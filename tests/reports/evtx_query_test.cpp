#include "reports/evtx_query.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "event/names.h"
#include "reports/command_language.h"
#include "tests/evtx/decoding.h"
#include "tests/output/row_maker.h"

namespace tarnlex {
namespace {

using support::Event;
using support::EvtxBuilder;
using Cells = std::map<std::string, std::string>;

// The queries of command lines, ready for EVTX.
struct Prepared {
  QueryList list;
  EvtxQueries all;
};
Prepared Prepare(const std::vector<std::string>& lines) {
  const LogInfo log{.path = "Security.evtx", .is_evtx = true, .kind = "security"};
  std::vector<TokenList> token_lists;
  for (const std::string& line : lines) {
    token_lists.emplace_back();
    SplitCommandLine("!cmd, -enum_evtxlog, " + line, token_lists.back());
  }
  Prepared prepared;
  BuildQueries(token_lists, log, {}, false, prepared.list);
  EXPECT_EQ(prepared.list.size(), lines.size());
  prepared.all = PrepareEvtxQueries(prepared.list);
  return prepared;
}

struct Row {
  EventRecord record;
  std::string provider;
  std::string query;
  Cells cells;
};

// The row that a query makes of an event; none when it does not take it.
std::vector<Row> RowsOf(Prepared& prepared, const std::vector<Event>& events) {
  EvtxBuilder log;
  for (const Event& event : events) log.AddEvent(event);
  EvtxDecoder decoder;
  EventRows rows;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    for (EvtxQuery& query : prepared.all.queries) {
      if (!EvtxQueryTakes(prepared.all, query, with, event)) continue;
      AddEvtxRow(rows, prepared.all, query, with, event);
      return;
    }
  };
  const support::ByteString chunks = log.BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
  std::vector<Row> result;
  for (const EventRecord& record : rows.rows) {
    Row row{
        record, std::string(ProviderOf(rows, record)), std::string(QueryNameOf(rows, record)), {}};
    if (record.columns != nullptr) {
      std::vector<std::string_view> texts;
      ReadCells(record, texts);
      for (std::size_t i = 0; i < texts.size(); ++i) {
        row.cells.emplace(record.columns->names[i], texts[i]);
      }
    }
    result.push_back(row);
  }
  return result;
}

// The first record of a kind is decoded value by value, later ones go by its plan: whatever a query
// makes of the first it has to make of them.
std::vector<Row> RowsOf(const std::string& line, const Event& event) {
  Prepared prepared = Prepare({line});
  std::vector<Row> rows = RowsOf(prepared, {event, event, event});
  EXPECT_TRUE(rows.empty() || rows.size() == 3) << line;
  for (Row& row : rows) {
    Cells planned = row.cells;
    for (const char* own : {"EventRecordID", "SystemTime"}) {  // every record has another
      if (planned.contains(own)) planned[own] = rows[0].cells.at(own);
    }
    EXPECT_EQ(planned, rows[0].cells) << line;
    EXPECT_EQ(row.provider, rows[0].provider) << line;
    EXPECT_EQ(row.record.level, rows[0].record.level) << line;
  }
  if (!rows.empty()) rows.resize(1);
  return rows;
}

bool Takes(const std::string& line, const Event& event) { return !RowsOf(line, event).empty(); }

Cells Taken(const std::string& line, const Event& event) {
  const std::vector<Row> rows = RowsOf(line, event);
  EXPECT_EQ(rows.size(), 1U) << line;
  return rows.empty() ? Cells{} : rows[0].cells;
}

Event Logon() {
  return {.event_id = 4624,
          .level = 4,
          .data = {{"TargetUserName", "Alice"}, {"LogonType", support::UInt32Value(10)}}};
}

TEST(EvtxQuery, TakesTheEventsOfItsIdentifier) {
  EXPECT_TRUE(Takes("-id, 4624", Logon()));
  EXPECT_FALSE(Takes("-id, 4625", Logon()));
  EXPECT_TRUE(Takes("-name, any", Logon()));
}

TEST(EvtxQuery, TestsAndPullsByThePlanOfARecord) {
  Prepared prepared = Prepare({"-conditions, TargetUserName|bob, -pull, LogonType, -pull, None",
                               "-string_exists, carol, -pull, TargetUserName"});
  const auto logon_of = [](const char* user, std::uint32_t type) {
    Event event = Logon();
    event.data = {{"TargetUserName", user}, {"LogonType", support::UInt32Value(type)}};
    return event;
  };
  const std::vector<Row> rows =
      RowsOf(prepared, {logon_of("alice", 1), logon_of("bob", 2), logon_of("carol, of 5|6\r\n", 3),
                        logon_of("bob", 4)});
  ASSERT_EQ(rows.size(), 3U);
  const std::string provider = "Microsoft-Windows-Security-Auditing";
  EXPECT_EQ(rows[0].cells, (Cells{{"LogonType", "2"}, {"None", ""}, {"Provider Name", provider}}));
  EXPECT_EQ(rows[1].cells,
            (Cells{{"TargetUserName", "carol, of 5|6\r\n"}, {"Provider Name", provider}}));
  EXPECT_EQ(rows[2].cells.at("LogonType"), "4");
  EXPECT_EQ(rows[1].record.queryIndex, 1U);
}

// Finished cells lie as joined rows have them, and a row that is too large to be joined is packed.
TEST(PlanRows, OfRecordsThatMayBecomeTooLargeHaveNoFinishedCells) {
  EvtxBuilder log;
  log.AddEvent(Logon()).AddEvent(Logon());
  EvtxDecoder decoder;
  EventRows rows;
  rows.joined = {CellForm::kJoined, ',', MakeCellCleaner({',', ' '}, true)};
  QuerySpec spec;
  spec.all_data = true;
  const QueryList queries = {spec};
  EvtxQueries all = PrepareEvtxQueries(queries);
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    PlanOf(with, event);
    const std::size_t bound = event.max_text;
    for (const std::size_t max_text : {bound, kMostJoined, bound}) {
      event.max_text = max_text;
      AddEvtxRow(rows, all, all.queries[0], with, event);
    }
  };
  const support::ByteString chunks = log.BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
  ASSERT_EQ(rows.rows.size(), 6U);
  for (std::size_t i = 0; i < rows.rows.size(); ++i) {
    const EventRecord& row = rows.rows[i];
    EXPECT_EQ(IsJoined(row), i % 3 != 1);
    EXPECT_EQ(row.provider, rows.rows[0].provider);
    std::string_view user;
    if (!IsJoined(row)) {
      ASSERT_TRUE(FindCell(row, "TargetUserName", false, user));
      EXPECT_EQ(user, "Alice");
    } else {
      EXPECT_NE(OwnCells(row).find(",Alice,"), std::string::npos);
    }
  }
}

TEST(EvtxQuery, BothEndsOfTheTimeWindowBelongToIt) {
  Event event = Logon();
  event.time = support::Filetime(2016, 7, 8, 12, 0, 0);
  EXPECT_TRUE(Takes("-start_time, 07/08/2016 12:00:00", event));
  EXPECT_FALSE(Takes("-start_time, 07/08/2016 12:00:01", event));
  EXPECT_TRUE(Takes("-stop_time, 07/08/2016 12:00:00", event));
  EXPECT_FALSE(Takes("-stop_time, 07/08/2016 11:59:59", event));
  event.time = support::Filetime(2300, 1, 1);
  EXPECT_TRUE(Takes("-start_time, 07/08/2016 12:00:00", event));
}

TEST(EvtxQuery, ConditionsLookForAPartInAnyCase) {
  EXPECT_TRUE(Takes("-conditions, TargetUserName|LIC", Logon()));
  EXPECT_TRUE(Takes("-conditions, targetusername|alice", Logon()));
  EXPECT_TRUE(Takes("-conditions, LogonType|1", Logon()));
  EXPECT_FALSE(Takes("-conditions, LogonType|2", Logon()));
  EXPECT_FALSE(Takes("-conditions, NoSuchName|a", Logon()));
  EXPECT_TRUE(Takes("-conditions, Provider Name|security-auditing", Logon()));
}

TEST(EvtxQuery, AConditionWithoutWantedTextAsksForAnyText) {
  Event event = Logon();
  event.data.emplace_back("Empty", "");
  event.provider_guid = "";
  EXPECT_TRUE(Takes("-conditions, TargetUserName", event));
  EXPECT_FALSE(Takes("-conditions, Empty", event));
  EXPECT_FALSE(Takes("-conditions, Missing", event));
  EXPECT_FALSE(Takes("-conditions, Provider Guid", event));
  EXPECT_FALSE(Takes("-conditions, Provider Guid|null", event));
}

TEST(EvtxQuery, ConditionsPreferTheNameInItsOwnCase) {
  Event event = Logon();
  event.data = {{"NAME", "upper"}, {"name", "lower"}};
  EXPECT_TRUE(Takes("-conditions, name|lower", event));
  EXPECT_TRUE(Takes("-conditions, NAME|upper", event));
  EXPECT_TRUE(Takes("-conditions, Name|upper", event));
}

TEST(EvtxQuery, EveryOneOfSeveralConditionsHasToHold) {
  EXPECT_TRUE(Takes("-and, TargetUserName|alice, -and, LogonType|10", Logon()));
  EXPECT_FALSE(Takes("-and, TargetUserName|alice, -and, LogonType|3", Logon()));
  EXPECT_FALSE(Takes("-and, LogonType|3, -and, TargetUserName|alice", Logon()));
  EXPECT_FALSE(Takes("-conditions, LogonType|10, -and, TargetUserName|bob", Logon()));
  EXPECT_FALSE(Takes("-and, NoSuchName", Logon()));
}

TEST(EvtxQuery, NoForbiddenConditionMayHold) {
  EXPECT_TRUE(Takes("-not, TargetUserName|bob, -not, LogonType|3", Logon()));
  EXPECT_FALSE(Takes("-not, TargetUserName|bob, -not, LogonType|10", Logon()));
  EXPECT_FALSE(Takes("-not, TargetUserName", Logon()));
  EXPECT_TRUE(Takes("-not, NoSuchName", Logon()));
  EXPECT_FALSE(Takes("-and, LogonType|10, -not, TargetUserName|ALI", Logon()));
}

TEST(EvtxQuery, AProviderOrChannelIsNamedInFullInAnyCase) {
  EXPECT_TRUE(Takes("-provider, microsoft-windows-security-auditing", Logon()));
  EXPECT_FALSE(Takes("-provider, security-auditing", Logon()));
  EXPECT_TRUE(Takes("-channel, SECURITY", Logon()));
  EXPECT_FALSE(Takes("-channel, Secur", Logon()));
  Event event = Logon();
  event.channel = "System";
  event.data.emplace_back("Channel", "Security");
  EXPECT_FALSE(Takes("-channel, Security", event));
}

TEST(EvtxQuery, SuccessTypeTestsTheLevel) {
  EXPECT_TRUE(Takes("-success_type, information", Logon()));
  EXPECT_FALSE(Takes("-success_type, error", Logon()));
  Event event = Logon();
  event.level = 2;
  EXPECT_TRUE(Takes("-success_type, error", event));
}

TEST(EvtxQuery, StringExistsSearchesEveryValueOnItsOwn) {
  EXPECT_TRUE(Takes("-string_exists, aLICe", Logon()));
  EXPECT_TRUE(Takes("-string_exists, wks-alpha", Logon()));
  EXPECT_FALSE(Takes("-string_exists, Alice10", Logon()));
  EXPECT_FALSE(Takes("-string_exists, TargetUserName", Logon()));
  EXPECT_FALSE(Takes("-string_exists, [null]", Logon()));
}

TEST(EvtxQuery, FillsTheRowFromRecordAndQuery) {
  Event event = Logon();
  event.id = 77;
  event.time = support::Filetime(2016, 7, 8);
  const std::vector<Row> rows = RowsOf("-id, 4624, -name, Logons, -all_data", event);
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].record.eventRecordId, 77U);
  EXPECT_EQ(rows[0].record.eventId, 4624U);
  EXPECT_EQ(rows[0].record.timeCreated, support::Filetime(2016, 7, 8));
  EXPECT_EQ(rows[0].record.level, 4U);
  EXPECT_EQ(rows[0].query, "Logons");
  EXPECT_EQ(rows[0].provider, "Microsoft-Windows-Security-Auditing");
}

TEST(EvtxQuery, AllDataTakesEveryValueUnderItsOwnName) {
  Event event = Logon();
  event.data.emplace_back("Nothing", support::NullValue());
  event.data.emplace_back("Empty", "");
  event.data.emplace_back("", "unnamed");
  const Cells cells = Taken("-all_data", event);
  EXPECT_EQ(cells.at("TargetUserName"), "Alice");
  EXPECT_EQ(cells.at("LogonType"), "10");
  EXPECT_EQ(cells.at("Nothing"), "0");
  EXPECT_EQ(cells.at("Empty"), "");
  EXPECT_EQ(cells.at("Data"), "unnamed");
  EXPECT_EQ(cells.at("Qualifiers"), "[null]");
  EXPECT_EQ(cells.at("UserID"), "[null]");
  EXPECT_EQ(cells.size(), 24U);
}

TEST(EvtxQuery, AllDataNamesAValueWithoutName) {
  Event event = Logon();
  support::Instance instance;
  instance.definition = support::MakeTemplate(
      "nameless", {support::Element("Data", {support::Attribute("Name", support::Text(""))},
                                    {support::Text("x")})});
  event.event_data = support::InstanceValue(instance);
  EXPECT_EQ(Taken("-all_data", event).at("<unnamed>"), "x");
}

TEST(EvtxQuery, PullsExactNamesAndTheProvider) {
  Event event = Logon();
  event.data.emplace_back("Nothing", support::NullValue());
  EXPECT_EQ(Taken("-pull, TargetUserName, -pull, targetusername, -pull, Missing, -pull, UserID,"
                  " -pull, Nothing",
                  event),
            (Cells{{"TargetUserName", "Alice"},
                   {"targetusername", ""},
                   {"Missing", ""},
                   {"UserID", ""},
                   {"Nothing", "0"},
                   {"Provider Name", "Microsoft-Windows-Security-Auditing"}}));
  const std::vector<Row> rows = RowsOf("-pull, Level", event);
  EXPECT_EQ(rows.at(0).provider, "Microsoft-Windows-Security-Auditing");
  EXPECT_EQ(rows.at(0).record.level, 4U);
  EXPECT_EQ(RowsOf("-pull, LogonType", event).at(0).record.level, 0U);
}

TEST(EvtxQuery, WritesAPullUnderItsHeader) {
  EXPECT_EQ(Taken("-pull, TargetUserName, -pull, LogonType, -label, TargetUserName=Who did it, "
                  "-label, logontype=no, -label, TargetUserName=second",
                  Logon()),
            (Cells{{"Who did it", "Alice"},
                   {"LogonType", "10"},
                   {"Provider Name", "Microsoft-Windows-Security-Auditing"}}));
  EXPECT_EQ(Taken("-pull, TargetUserName, -pull, LogonType, -label, TargetUserName=same, "
                  "-label, LogonType=same, -label, Provider Name=who",
                  Logon()),
            (Cells{{"same", "Alice"}, {"Provider Name", "Microsoft-Windows-Security-Auditing"}}));
}

// One line for events that call the same thing by different names.
TEST(EvtxQuery, OfNamesWithOneHeaderTheFirstThatIsThereCounts) {
  EXPECT_EQ(Taken("-pull, User, -pull, TargetUserName, -pull, LogonType, -label, User=who, "
                  "-label, TargetUserName=who, -label, LogonType=who",
                  Logon())
                .at("who"),
            "Alice");
}

TEST(EvtxQuery, EventLookupSkipsTheFirstOfEachNameWithAColumnOfItsOwn) {
  const std::string pulls = "-pull, EventRecordID, -pull, EventID, -pull, SystemTime, -pull, Level";
  EXPECT_EQ(Taken(pulls + ", -event_lookup", Logon()),
            (Cells{{"Level", "4"}, {"Provider Name", "Microsoft-Windows-Security-Auditing"}}));
  EXPECT_EQ(Taken(pulls + ", -pull, EventID, -event_lookup", Logon()),
            (Cells{{"EventID", "4624"},
                   {"Level", "4"},
                   {"Provider Name", "Microsoft-Windows-Security-Auditing"}}));
  EXPECT_EQ(Taken(pulls, Logon()).size(), 5U);
}

TEST(EvtxQuery, AQueryThatTakesNothingMakesARowWithoutCells) {
  const std::vector<Row> rows = RowsOf("-id, 4624, -name, bare", Logon());
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_TRUE(rows[0].cells.empty());
  EXPECT_EQ(rows[0].provider, "");
  EXPECT_EQ(rows[0].record.level, 0U);
}

TEST(EvtxQuery, TheFirstQueryThatTakesARecordOwnsIt) {
  Prepared prepared = Prepare({"-id, 1, -name, other", "-name, first", "-id, 4624, -name, second"});
  const std::vector<Row> rows = RowsOf(prepared, {Logon()});
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].query, "first");
  EXPECT_EQ(rows[0].record.queryIndex, 1U);
}

TEST(EvtxQuery, RowsOfDifferentShapesKeepTheirOwnColumns) {
  Prepared prepared = Prepare({"-all_data"});
  Event second = Logon();
  second.data = {{"LogonType", support::UInt32Value(3)}, {"TargetUserName", "bob"}};
  Event third = Logon();
  third.data = {{"Other", "o"}};
  const std::vector<Row> rows = RowsOf(prepared, {Logon(), second, third, Logon()});
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows[0].cells.at("TargetUserName"), "Alice");
  EXPECT_EQ(rows[1].cells.at("TargetUserName"), "bob");
  EXPECT_EQ(rows[1].cells.at("LogonType"), "3");
  EXPECT_EQ(rows[2].cells.at("Other"), "o");
  EXPECT_FALSE(rows[2].cells.contains("LogonType"));
  EXPECT_EQ(rows[3].cells.at("LogonType"), "10");
}

// Its column is there also where a query gives it under a header of its own.
TEST(PlanRows, HaveRoomForAProviderThatIsGivenTwice) {
  using support::Element;
  std::string provider;
  for (int i = 0; i < 15'000; ++i) provider += "\xE4\xB8\xAD";
  // No plan is kept where a slot stands in two places, and no cell is finished beforehand.
  const support::Node slot = support::Slot(0, support::kByte);
  EvtxBuilder log;
  log.AddRecord({.body = support::InstanceFragment(
                     support::MakeTemplate(
                         "t", {Element("Event", {},
                                       {Element("Provider", {support::Attribute("Name", provider)}),
                                        Element("A", {}, {slot}), Element("B", {}, {slot})})}),
                     {support::ByteValue(1)})});
  Prepared prepared = Prepare({"-pull, Provider Name, -label, Provider Name=who"});
  EvtxDecoder decoder;
  EventRows rows;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    AddEvtxRow(rows, prepared.all, prepared.all.queries[0], with, event);
  };
  const support::ByteString chunks = log.BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
  ASSERT_EQ(rows.rows.size(), 1U);
  std::vector<std::string_view> cells;
  ReadCells(rows.rows[0], cells);
  EXPECT_EQ(cells, (std::vector<std::string_view>{provider, provider}));
  const RowBytes& block = rows.blocks.back();
  EXPECT_LE(cells.at(1).data() + cells[1].size(), block.bytes.get() + block.size);
}

// A log of records without templates, each with the elements of one of these names, in this order.
support::ByteString LogOfNames(const std::vector<std::vector<std::string>>& names) {
  EvtxBuilder log;
  for (const std::vector<std::string>& each : names) {
    std::vector<support::Node> nodes;
    for (const std::string& name : each) {
      nodes.push_back(support::Element(name, {}, {support::Text("of " + name)}));
    }
    log.AddRecord({.body = support::ElementsFragment({support::Element("Event", {}, nodes)})});
  }
  return log.BuildChunks();
}

void TakeAll(Prepared& prepared, const support::ByteString& chunks, EventRows& rows) {
  EvtxDecoder decoder;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    AddEvtxRow(rows, prepared.all, prepared.all.queries[0], with, event);
  };
  WalkSlots(decoder, chunks, 4096, handlers);
}

// They share their columns, but which value each of these has is kept for every order.
TEST(PlanRows, CountWhatIsKeptOfEveryOrderOfNames) {
  std::vector<std::vector<std::string>> orders;
  std::vector<std::string> names{"A", "B", "C", "D", "E", "F"};
  do {
    orders.push_back(names);
  } while (std::next_permutation(names.begin(), names.end()));
  Prepared prepared = Prepare({"-all_data"});
  ASSERT_TRUE(prepared.list.at(0).all_data);
  EventRows rows;
  TakeAll(prepared, LogOfNames(orders), rows);
  ASSERT_EQ(rows.rows.size(), 720U);
  EXPECT_EQ(rows.column_sets.size(), 1U);
  EXPECT_GT(rows.set_bytes, 720U * 128U);
}

constexpr std::uint64_t Inverse(std::uint64_t odd) {
  std::uint64_t inverse = 1;  // each step doubles the bits that fit
  for (int i = 0; i < 6; ++i) inverse *= 2 - odd * inverse;
  return inverse;
}

// Undoes `bits ^= bits >> shift`.
std::uint64_t UndoShift(std::uint64_t bits, int shift) {
  for (; shift < 64; shift *= 2) bits ^= bits >> shift;
  return bits;
}

// The name of eight bytes that has this hash.
std::string NameOfHash(std::uint64_t hash) {
  hash = UndoShift(hash, 32) * Inverse(0x9E3779B97F4A7C15U);
  hash = (UndoShift(hash, 29) - 8) * Inverse(0xFF51AFD7ED558CCDU);
  hash = UndoShift(hash, 32);
  std::string name(sizeof hash, '\0');
  std::memcpy(name.data(), &hash, sizeof hash);
  return name;
}

// Two names, the second made so that the hash of both is that of all other such pairs.
std::vector<std::vector<std::string>> PairsOfOneHash(std::size_t count) {
  std::vector<std::vector<std::string>> pairs;
  for (std::uint64_t number = 0; pairs.size() < count; ++number) {
    std::string first = "a" + std::to_string(10'000'000 + number).substr(1);
    std::uint64_t hash = (2 ^ HashName(first)) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 29;
    const std::string second = NameOfHash(hash ^ 12345);
    const bool is_plain = std::all_of(second.begin(), second.end(),
                                      [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (is_plain && IsXmlName(second)) pairs.push_back({std::move(first), second});
  }
  return pairs;
}

// Each record would be compared with all before it.
TEST(PlanRows, LookAtFewNamesThatAreMadeToMeet) {
  const auto pairs = PairsOfOneHash(40);
  Prepared prepared = Prepare({"-all_data"});
  EventRows rows;
  TakeAll(prepared, LogOfNames(pairs), rows);
  ASSERT_EQ(rows.rows.size(), pairs.size());
  ASSERT_EQ(prepared.all.columns.size(), 1U);
  EXPECT_LE(prepared.all.columns.begin()->second.size(), 16U);
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    std::vector<std::string_view> cells;
    ReadCells(rows.rows[i], cells);
    ASSERT_EQ(cells.size(), 2U);
    EXPECT_EQ(cells[0], "of " + std::string(rows.rows[i].columns->names[0]));
    EXPECT_EQ(cells[1], "of " + std::string(rows.rows[i].columns->names[1]));
    EXPECT_EQ(FindColumn(*rows.rows[i].columns, pairs[i][0], false) < 0, false);
  }
}

}  // namespace
}  // namespace tarnlex
