#include "output/record_json.h"

#include <gtest/gtest.h>

#include "tests/output/streamed.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::Element;
using support::Node;
using support::Slot;
using support::Text;
using support::Value;

std::string Line(std::vector<Node> nodes, std::vector<Value> values = {}) {
  return Streamed(EventDataLog(std::move(nodes), std::move(values)), &RunOptions::json_form);
}

// What the line has under "EventData".
std::string Data(std::vector<Node> nodes, std::vector<Value> values = {}) {
  const std::string line = Line(std::move(nodes), std::move(values));
  const std::size_t begin = line.find("\"EventData\":");
  const std::size_t end = line.find(",\"Offset\":");
  return begin == line.npos || end == line.npos ? line : line.substr(begin + 12, end - begin - 12);
}

TEST(RecordJson, RepeatedNamesAreAList) {
  const Node named = Element("Data", {Attribute("Name", "X")}, {Slot(0, support::kUInt32)});
  EXPECT_EQ(Data({named, named, Element("X", {}, {Text("t")})}, {support::UInt32Value(5)}),
            R"({"X":[5,5,"t"]})");
}

// What a value names in one event another of its kind may call otherwise.
TEST(RecordJson, NamesThatValuesGiveAreThoseOfTheirEvent) {
  const std::string lines = Streamed(NamedByValuesLog(), &RunOptions::json_form);
  EXPECT_NE(lines.find(R"("EventData":{"a":{"X":"v"}})"), lines.npos) << lines;
  EXPECT_NE(lines.find(R"("EventData":{"b":{"X":"v"}})"), lines.npos) << lines;
}

TEST(RecordJson, DataWithoutNamesAreAListEvenOfOne) {
  EXPECT_EQ(Data({Element("Data", {}, {Text("a")})}), R"({"Data":["a"]})");
  EXPECT_EQ(Data({Element("Data", {}, {Text("a")}), Element("Data", {}, {Text("b")})}),
            R"({"Data":["a","b"]})");
}

TEST(RecordJson, AnArrayEndsWithItsLastText) {
  EXPECT_EQ(Data({Element("X", {}, {Slot(0, support::kStringArray)})},
                 {support::StringArrayValue({"a", "", "b", ""})}),
            R"({"X":["a","","b"]})");
}

TEST(RecordJson, AnArrayInUnnamedDataGivesAnEntryForEachOfItsValues) {
  EXPECT_EQ(Data({Element("Data", {}, {Slot(0, support::kStringArray)}),
                  Element("Data", {}, {Text("c")})},
                 {support::StringArrayValue({"a", "b"})}),
            R"({"Data":["a","b","c"]})");
}

// Readers of lines cut at these, and what stands behind them would be hidden.
TEST(RecordJson, NoCharacterThatMayEndALineStandsForItself) {
  const std::string text =
      "a\xC2\x85"
      "b\xE2\x80\xA8"
      "c\xE2\x80\xA9"
      "d\xC2\xA0\xE2\x80\x99";
  const std::string written = "\"a\\u0085b\\u2028c\\u2029d\xC2\xA0\xE2\x80\x99\"";
  EXPECT_EQ(Data({Element("X", {}, {Slot(0, support::kString)}), Element("Y", {}, {Text(text)})},
                 {support::StringValue(text)}),
            "{\"X\":" + written + ",\"Y\":" + written + "}");
}

TEST(RecordJson, ElementsKeepTheirAttributesAndWhatTheyHold) {
  EXPECT_EQ(Data({Element("X", {Attribute("k", "v")}, {Text("t"), Element("Y", {}, {Text("u")})})}),
            R"({"X":{"k":"v","Y":"u","#text":"t"}})");
}

TEST(RecordJson, AValueOfTypeNullIsAbsent) {
  EXPECT_EQ(
      Line({Element("X", {}, {Slot(0, support::kString)})}, {support::NullValue()}).find("\"X\""),
      std::string::npos);
}

TEST(RecordJson, TextsAreEscaped) {
  EXPECT_EQ(Data({Element("a\"b", {}, {Slot(0, support::kString)})},
                 {support::WideStringValue(u"\"\\\x01\r\n\x1f\x7f")}),
            "{\"a\\\"b\":\"\\\"\\\\\\u0001\\r\\n\\u001f\x7f\"}");
}

// Every character of such a text takes six, and its plain text is looked at behind it.
TEST(RecordJson, ALevelOfManyControlCharactersHasRoom) {
  constexpr std::size_t kMany = 60'000;
  support::EvtxBuilder log;
  log.AddRecord(
      {.body = support::InstanceFragment(
           support::MakeTemplate(
               "event",
               {Element("Event", {},
                        {Element("System", {},
                                 {Element("Level", {}, {Slot(0, support::kAnsiString)})})})}),
           {support::AnsiStringValue(std::string(kMany, '\x01'))})});
  std::string level;
  for (std::size_t i = 0; i < kMany; ++i) level += "\\u0001";
  const std::string line = Streamed(log.Build(), &RunOptions::json_form);
  EXPECT_TRUE(line.starts_with("{\"Log\":\"log\",\"Level\":\"" + level + "\",\"EventRecordID\":"));
  EXPECT_EQ(line.find("LevelName"), line.npos);
}

// A line of a record that was written at `written`, of an event that states `created`.
std::string LineOfTimes(std::uint64_t written, std::uint64_t created) {
  support::EvtxBuilder log;
  log.AddRecord(
      {.time = written,
       .body = support::InstanceFragment(
           support::MakeTemplate(
               "event",
               {Element("Event", {},
                        {Element("System", {},
                                 {Element("TimeCreated",
                                          {Attribute("SystemTime", {Slot(0, support::kFileTime)})},
                                          {})})})}),
           {support::FileTimeValue(created)})});
  return Streamed(log.Build(), &RunOptions::json_form);
}

TEST(RecordJson, BothTimesAreSaidWhetherTheyAreTheSameOrNot) {
  constexpr std::uint64_t kTime = 133'232'596'135'897'932;
  constexpr std::string_view kText = "2023-03-14T09:26:53.5897932Z";
  const std::string created = "\"TimeCreated\":\"" + std::string(kText) + "\"";
  const std::string written = "\"TimeWritten\":\"" + std::string(kText) + "\"";
  const std::string same = LineOfTimes(kTime, kTime);
  EXPECT_NE(same.find(created), same.npos) << same;
  EXPECT_NE(same.find(written), same.npos) << same;
  const std::string later = LineOfTimes(kTime, kTime - 1);
  EXPECT_NE(later.find("\"TimeCreated\":\"2023-03-14T09:26:53.5897931Z\""), later.npos) << later;
  EXPECT_NE(later.find(written), later.npos) << later;
}

TEST(RecordJson, TimesOfFiveDigitYearsAreSaidTwiceToo) {
  constexpr std::uint64_t kLast = ~std::uint64_t{0} >> 1;
  const std::string line = LineOfTimes(kLast, kLast);
  EXPECT_NE(line.find("\"TimeCreated\":\"30828-09-14T02:48:05.4775807Z\""), line.npos) << line;
  EXPECT_NE(line.find("\"TimeWritten\":\"30828-09-14T02:48:05.4775807Z\""), line.npos) << line;
}

TEST(RecordJson, LiteralsOfSystemHaveTheTypesOfTheirMembers) {
  support::EvtxBuilder log;
  log.AddRecord(
      {.body = support::InstanceFragment(
           support::MakeTemplate(
               "event",
               {Element(
                   "Event", {},
                   {Element(
                       "System", {},
                       {Element("Provider",
                                {Attribute("Name", "a\"b"),
                                 Attribute("Guid", "{54849625-5478-4994-A5BA-3E3B0328C30D}")},
                                {}),
                        Element("EventID", {}, {Text("4624")}), Element("Level", {}, {Text("2")}),
                        Element("Task", {}, {Text("none")})})})}),
           {})});
  const std::string line = Streamed(log.Build(), &RunOptions::json_form);
  EXPECT_TRUE(line.starts_with(
      "{\"Log\":\"log\",\"Provider\":\"a\\\"b\","
      "\"ProviderGuid\":\"54849625-5478-4994-a5ba-3e3b0328c30d\",\"EventID\":4624,\"Level\":2,"
      "\"LevelName\":\"Error\",\"Task\":\"none\",\"EventRecordID\":"))
      << line;
}

// What a report pulls stands in the line a second time.
TEST(RecordJson, ATextOfManyControlCharactersThatIsPulledHasRoom) {
  constexpr std::size_t kMany = 60'000;
  support::EvtxBuilder log;
  log.AddRecord(
      {.body = support::InstanceFragment(
           support::MakeTemplate(
               "event",
               {Element("Event", {},
                        {Element("System", {},
                                 {Element("Computer", {}, {Slot(0, support::kAnsiString)})})})}),
           {support::AnsiStringValue(std::string(kMany, '\x01'))})});
  std::string computer;
  for (std::size_t i = 0; i < kMany; ++i) computer += "\\u0001";
  const std::string line = Streamed(log.Build(), &RunOptions::json_form, nullptr, {"Computer"});
  EXPECT_TRUE(line.starts_with("{\"Log\":\"log\",\"Computer\":\"" + computer + "\","));
  EXPECT_NE(line.find("\"EventData\":{\"Computer\":\"" + computer + "\"}"), line.npos);
}

}  // namespace
}  // namespace tarnlex
