#include "evt/structure.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "event/flatten.h"
#include "event/value.h"
#include "logs/text.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using Texts = std::vector<std::string>;
using Values = std::vector<std::pair<std::string, std::string>>;

ByteString Sample() {
  return support::EvtEntryBytes({.number = 77,
                                 .time = support::UnixTime(2012, 3, 7, 10, 20, 30),
                                 .event_id = 0x80001770,
                                 .type = 2,
                                 .category = 9,
                                 .source = "Service",
                                 .computer = "WKS",
                                 .sid = "S-1-5-18",
                                 .strings = {"ab", "", "c"},
                                 .data = support::Hex("01 FF")});
}

// The structure as text: tags, with the values where they stand; what is left out is marked.
std::string Outline(const EventStructure& event) {
  std::string text;
  const Stream& stream = event.streams.at(0);
  for (std::uint32_t i = 0; i < stream.nodes; ++i) {
    const Node& node = stream.tree->nodes[i];
    switch (node.kind) {
      case NodeKind::kElement: text += "<" + std::string(node.text); break;
      case NodeKind::kAttribute: text += " " + std::string(node.text) + "="; break;
      case NodeKind::kStartEnd: text += ">"; break;
      case NodeKind::kElementEnd: text += "/>"; break;
      case NodeKind::kText: text += "ns"; break;
      case NodeKind::kSlot: {
        const SubstitutionValue& value = event.slots[stream.first_slot + node.slot];
        const bool left_out = node.optional && value.type == kEvtVarTypeNull;
        text += left_out ? "()" : ValueText(event.bytes, value);
        break;
      }
      case NodeKind::kStreamEnd: text += "."; break;
      default: text += "?"; break;
    }
  }
  return text;
}

std::string OutlineOf(const ByteString& bytes) {
  EvtRecord record;
  EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
  return Outline(EvtStructureOf(record));
}

TEST(EvtStructure, HasTheElementsOfAnEventInTheirOrder) {
  EXPECT_EQ(OutlineOf(Sample()),
            "<Event xmlns=ns><System><Provider Name=Service/><EventID Qualifiers=32768>6000/>"
            "<Level>3/><Task>9/><Keywords>0x0080000000000000/>"
            "<TimeCreated SystemTime=03/07/2012 10:20:30.000000000/><EventRecordID>77/>"
            "<Computer>WKS/><Security UserID=S-1-5-18/>/>"
            "<EventData><Data>ab/><Data>/><Data>c/><Binary>01FF/>/>/>.");
}

TEST(EvtStructure, LeavesOutWhatTheRecordHasNot) {
  EXPECT_EQ(OutlineOf(support::EvtEntryBytes({.time = 0, .source = "", .computer = ""})),
            "<Event xmlns=ns><System><Provider Name=/><EventID Qualifiers=0>0/><Level>4/>"
            "<Task>0/><Keywords>0x0080000000000000/><TimeCreated SystemTime=()/>"
            "<EventRecordID>0/><Computer>/><Security UserID=()/>/><EventData>/>/>.");
}

TEST(EvtStructure, TellsAuditsByKeywords) {
  const auto level_and_keywords = [](std::uint16_t type) {
    EvtRecord record;
    const ByteString bytes = support::EvtEntryBytes({.type = type});
    EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
    const EventStructure& event = EvtSlotsOf(record);
    return ValueText(event.bytes, event.slots[kEvtLevel]) + " " +
           ValueText(event.bytes, event.slots[kEvtKeywords]).substr(4, 3);
  };
  EXPECT_EQ(level_and_keywords(0), "0 800");
  EXPECT_EQ(level_and_keywords(1), "2 800");
  EXPECT_EQ(level_and_keywords(2), "3 800");
  EXPECT_EQ(level_and_keywords(4), "4 800");
  EXPECT_EQ(level_and_keywords(8), "0 a00");
  EXPECT_EQ(level_and_keywords(16), "0 900");
  EXPECT_EQ(level_and_keywords(0x1234), "4660 800");
}

// What the tables of EVTX would make of it.
TEST(EvtStructure, FlattensAsAnyEvent) {
  EvtRecord record;
  const ByteString bytes = Sample();
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  const EventStructure& event = EvtStructureOf(record);
  NameBudget budget;
  FlattenRoom room;
  Plan plan;
  Flatten(event, budget, room, plan);
  Values values;
  std::string scratch;
  for (const PlanValue& value : plan.values) {
    values.emplace_back(value.name, TextOf(event, plan, value, scratch));
  }
  values.erase(values.begin());  // the name space
  EXPECT_EQ(values, (Values{{"Provider Name", "Service"},
                            {"Qualifiers", "32768"},
                            {"EventID", "6000"},
                            {"Level", "3"},
                            {"Task", "9"},
                            {"Keywords", "0x0080000000000000"},
                            {"SystemTime", "03/07/2012 10:20:30.000000000"},
                            {"EventRecordID", "77"},
                            {"Computer", "WKS"},
                            {"UserID", "S-1-5-18"},
                            {"Data", "ab"},
                            {"Data_02", ""},
                            {"Data_03", "c"},
                            {"Binary", "01FF"}}));
}

TEST(EvtStructure, SharesTreesAmongRecordsOfOneShape) {
  EvtRecord record;
  const auto tree_of = [&](const support::EvtEntry& entry) {
    const ByteString bytes = support::EvtEntryBytes(entry);
    EXPECT_TRUE(ReadEvtRecord(bytes, 0, record));
    return EvtStructureOf(record).streams.at(0).tree;
  };
  const Tree* tree = tree_of({.strings = {"a", "b"}});
  EXPECT_EQ(tree_of({.sid = "S-1-5-18", .strings = {"c", ""}}), tree);
  EXPECT_NE(tree_of({.strings = {"a"}}), tree);
  EXPECT_NE(tree_of({.strings = {"a", "b"}, .data = support::Hex("00")}), tree);
}

TEST(EvtStructure, CarriesTextsLongerThanAnyOfEvtx) {
  const std::string text(100'000, 'x');
  EvtRecord record;
  const ByteString bytes = support::EvtEntryBytes({.strings = {"first", text}});
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  const EventStructure& event = EvtSlotsOf(record);
  EXPECT_TRUE(ValueText(event.bytes, event.slots[kEvtFirstString + 1]) == text);
}

TEST(EvtStructure, HasAPlaceForEachOfSixtyFiveThousandStrings) {
  ByteString bytes = support::EvtEntryBytes(
      {.strings = std::vector<std::string>(0xFFFF, "s"), .data = support::Hex("AB")});
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  const EventStructure& event = EvtStructureOf(record);
  const Tree& tree = *event.streams.at(0).tree;
  std::size_t data = 0;
  for (const Node& node : tree.nodes) data += node.text == "Data";
  EXPECT_EQ(data, 0xFFFFU);
  const Node& last = tree.nodes.at(tree.nodes.size() - 5);
  ASSERT_EQ(last.kind, NodeKind::kSlot);
  EXPECT_EQ(ValueText(event.bytes, event.slots[last.slot]), "AB");
}

// Strings of a damaged record run on behind it.
TEST(EvtStructure, TakesInTextsThatLieOutsideOfTheRecord) {
  ByteString bytes = support::EvtEntryBytes({.source = "src", .strings = {"inside", "behind"}});
  const std::size_t behind = bytes.size() - 4 - 2 * 7;  // of "behind"; the length follows
  support::SetU32(bytes, 0, static_cast<std::uint32_t>(behind + 4));
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  const EventStructure& event = EvtSlotsOf(record);
  EXPECT_EQ(ValueText(event.bytes, event.slots[kEvtSourceName]), "src");
  Texts strings;
  for (std::size_t i = 0; i < record.strings.size(); ++i) {
    strings.push_back(ValueText(event.bytes, event.slots[kEvtFirstString + i]));
    EXPECT_EQ(strings.back(), Utf16ToUtf8(record.strings[i])) << i;
  }
  EXPECT_EQ(strings.at(0), "inside");
}

TEST(EvtStructure, ReadsTheFixedPartOfARecordThatClaimsNoLength) {
  ByteString bytes = Sample();
  support::SetU32(bytes, 0, 0);
  EvtRecord record;
  ASSERT_TRUE(ReadEvtRecord(bytes, 0, record));
  const EventStructure& event = EvtSlotsOf(record);
  EXPECT_EQ(ValueText(event.bytes, event.slots[kEvtRecordNumber]), "77");
  EXPECT_EQ(ValueText(event.bytes, event.slots[kEvtTask]), "9");
}

}  // namespace
}  // namespace tarnlex
