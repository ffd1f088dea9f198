#include "output/event_json.h"

#include <gtest/gtest.h>

#include "output/event_text.h"
#include "tests/output/streamed.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::Element;
using support::Node;
using support::OptionalSlot;
using support::Slot;
using support::Text;
using support::Value;

std::string Data(std::vector<Node> nodes, std::vector<Value> values = {}) {
  return Between(
      Streamed(EventDataLog(std::move(nodes), std::move(values)), &RunOptions::event_json_form),
      R"({"Event":{"EventData":)", "}}\n");
}

// The value of an element that is the slot alone.
std::string Typed(const Value& value) {
  return Between(Data({Element("V", {}, {OptionalSlot(0, value.type)})}, {value}), R"({"V":)", "}");
}

Node Named(std::string_view name, std::uint16_t slot) {
  return Element("Data", {Attribute("Name", name)}, {Slot(slot, support::kString)});
}

Node Unnamed(std::uint16_t slot) { return Element("Data", {}, {Slot(slot, support::kString)}); }

TEST(EventJson, IntegersAndTruthValuesAreBare) {
  EXPECT_EQ(Typed(support::SByteValue(-3)), "-3");
  EXPECT_EQ(Typed(support::UInt64Value(~std::uint64_t{0})), "18446744073709551615");
  EXPECT_EQ(Typed(support::BooleanValue(true)), "true");
  EXPECT_EQ(Typed(support::BooleanValue(false)), "false");
}

TEST(EventJson, ATruthValueThatIsNoneIsItsNumber) {
  EXPECT_EQ(Typed(support::RawValue(support::kBoolean, support::Hex("02 00 00 00"))), "2");
  EXPECT_EQ(Typed(support::RawValue(support::kBoolean, support::Hex("00 00 00 80"))),
            "-2147483648");
}

TEST(EventJson, OtherTypesAreTexts) {
  EXPECT_EQ(Typed(support::GuidValue("54849625-5478-4994-a5ba-3e3b0328c30d")),
            R"("54849625-5478-4994-A5BA-3E3B0328C30D")");
  EXPECT_EQ(Typed(support::HexInt64Value(0x3e7)), R"("0x3e7")");
  EXPECT_EQ(Typed(support::HexInt32Value(0)), R"("0x0")");
  EXPECT_EQ(Typed(support::HexInt64Value(~std::uint64_t{0})), R"("0xffffffffffffffff")");
  EXPECT_EQ(Typed(support::SizeTValue(4096)), R"("0x1000")");
  EXPECT_EQ(Typed(support::BinaryValue(support::Hex("DE AD"))), R"("DEAD")");
  EXPECT_EQ(Typed(support::FileTimeValue(support::Filetime(2012, 3, 7, 14, 5, 9, 1234567))),
            R"("2012-03-07T14:05:09.123456Z")");
  EXPECT_EQ(Typed(support::SysTimeValue({2012, 3, 3, 7, 14, 5, 9, 7})),
            R"("2012-03-07T14:05:09.007000Z")");
}

TEST(EventJson, FloatingPointNumbersTurnToExponentsWhereTheyGetLong) {
  EXPECT_EQ(Typed(support::DoubleValue(3)), R"("3.0")");
  EXPECT_EQ(Typed(support::DoubleValue(-0.0)), R"("-0.0")");
  EXPECT_EQ(Typed(support::DoubleValue(1e15)), R"("1000000000000000.0")");
  EXPECT_EQ(Typed(support::DoubleValue(1.234e16)), R"("1.234e+16")");
  EXPECT_EQ(Typed(support::DoubleValue(0.00001)), R"("0.00001")");
  EXPECT_EQ(Typed(support::DoubleValue(1.5e-6)), R"("1.5e-6")");
  EXPECT_EQ(Typed(support::DoubleValue(123456789.125)), R"("123456789.125")");
  EXPECT_EQ(Typed(support::SingleValue(1e-6F)), R"("0.000001")");
  EXPECT_EQ(Typed(support::SingleValue(1e12F)), R"("1000000000000.0")");
  EXPECT_EQ(Typed(support::SingleValue(1e13F)), R"("1e+13")");
  EXPECT_EQ(Typed(support::RawValue(support::kSingle, support::Hex("00 00 80 FF"))), R"("-inf")");
}

TEST(EventJson, WhatIsTooShortForItsTypeIsItsBytes) {
  EXPECT_EQ(Typed(support::RawValue(support::kUInt32, support::Hex("01 02"))), R"("0102")");
  EXPECT_EQ(Typed(support::RawValue(support::kGuid, support::Hex("0A"))), R"("0A")");
}

TEST(EventJson, AnElementWithoutAnyTextIsNullAndANamedValueIsEmpty) {
  EXPECT_EQ(Typed(support::NullValue()), "null");
  EXPECT_EQ(Typed(support::StringValue("")), "null");
  EXPECT_EQ(Data({Element("E")}), R"({"E":null})");
  EXPECT_EQ(
      Data({Named("X", 0), Element("Data", {Attribute("Name", "Y")})}, {support::NullValue()}),
      R"({"X":"","Y":""})");
  EXPECT_EQ(Data({}), "null");
}

TEST(EventJson, TextsAreEscaped) {
  EXPECT_EQ(Typed(support::WideStringValue(u"a\"b\\c\x01\r\n\x1f")),
            R"("a\"b\\c\u0001\r\n\u001f")");
  EXPECT_EQ(Data({Element("a\"b", {Attribute("c\\d", "\n")})}),
            R"({"a\"b":{"#attributes":{"c\\d":"\n"}}})");
}

TEST(EventJson, ALoneSurrogateIsReplaced) {
  EXPECT_EQ(Typed(support::WideStringValue(std::u16string(u"a") + char16_t{0xD800} + u"b")),
            "\"a\xEF\xBF\xBD"
            "b\"");
}

TEST(EventJson, AttributesWithoutATextAreLeftOut) {
  const Node one = Element("A",
                           {Attribute("k", OptionalSlot(0, support::kString)),
                            Attribute("l", OptionalSlot(1, support::kUInt32))},
                           {OptionalSlot(0, support::kString)});
  EXPECT_EQ(Data({one}, {support::StringValue("x"), support::UInt32Value(7)}),
            R"({"A":{"#attributes":{"k":"x","l":7},"#text":"x"}})");
  EXPECT_EQ(Data({one}, {support::NullValue(), support::UInt32Value(7)}),
            R"({"A":{"#attributes":{"l":7}}})");
  EXPECT_EQ(Data({one}, {support::StringValue("x"), support::NullValue()}),
            R"({"A":{"#attributes":{"k":"x"},"#text":"x"}})");
  EXPECT_EQ(Data({one}, {support::NullValue(), support::NullValue()}), R"({"A":null})");
}

TEST(EventJson, LiteralAttributesStayWhateverIsLeftOutBesideThem) {
  const auto slot = [](std::string_view name) {
    return Attribute(name, OptionalSlot(0, support::kString));
  };
  const std::vector<Node> nodes = {
      Element("First", {Attribute("k", "1"), slot("l"), slot("m"), Attribute("n", "4")}),
      Element("Last", {slot("k"), Attribute("l", "2")}, {Text("t")}),
      Element("Middle", {slot("k"), Attribute("l", "2"), slot("m")}, {Element("B")}),
      Element("Only", {Attribute("k", "1")}, {OptionalSlot(0, support::kString)}),
  };
  EXPECT_EQ(Data(nodes, {support::NullValue()}), R"({"First":{"#attributes":{"k":"1","n":"4"}},)"
                                                 R"("Last":{"#attributes":{"l":"2"},"#text":"t"},)"
                                                 R"("Middle":{"#attributes":{"l":"2"},"B":null},)"
                                                 R"("Only":{"#attributes":{"k":"1"}}})");
  EXPECT_EQ(Data(nodes, {support::StringValue("x")}),
            R"({"First":{"#attributes":{"k":"1","l":"x","m":"x","n":"4"}},)"
            R"("Last":{"#attributes":{"k":"x","l":"2"},"#text":"t"},)"
            R"("Middle":{"#attributes":{"k":"x","l":"2","m":"x"},"B":null},)"
            R"("Only":{"#attributes":{"k":"1"},"#text":"x"}})");
}

TEST(EventJson, AnElementWhoseAttributesAreGoneKeepsWhatItHolds) {
  const Node one = Element("A", {Attribute("k", OptionalSlot(0, support::kString))},
                           {Text("t"), Element("B", {}, {Text("u")})});
  EXPECT_EQ(Data({one}, {support::NullValue()}), R"({"A":{"#text":"t","B":"u"}})");
  EXPECT_EQ(Data({one}, {support::StringValue("x")}),
            R"({"A":{"#attributes":{"k":"x"},"#text":"t","B":"u"}})");
}

TEST(EventJson, RepeatedNamesAreNumbered) {
  EXPECT_EQ(Data({Element("X", {}, {Text("a")}), Element("X"), Named("X", 0),
                  Element("X_1", {}, {Text("b")})},
                 {support::StringValue("c")}),
            R"({"X":"a","X_1":null,"X_2":"c","X_1_1":"b"})");
}

TEST(EventJson, AMemberNeverHidesAttributesOrText) {
  EXPECT_EQ(Data({Element("X", {Attribute("k", "v")},
                          {Text("t"), Element("#text", {}, {Text("u")}), Element("#attributes")})}),
            R"({"X":{"#attributes":{"k":"v"},"#text":"t","#text_1":"u","#attributes_1":null}})");
}

TEST(EventJson, DataWithoutNamesAreOneList) {
  const std::vector<Value> values = {support::StringValue("a"), support::UInt32Value(5),
                                     support::NullValue()};
  EXPECT_EQ(Data({Unnamed(0), Unnamed(1), Unnamed(2)}, values), R"({"Data":{"#text":["a",5,""]}})");
  EXPECT_EQ(Data({Unnamed(0), Element("Binary", {}, {OptionalSlot(2, support::kBinary)})}, values),
            R"({"Data":{"#text":"a"},"Binary":null})");
  EXPECT_EQ(Data({Unnamed(0), Named("N", 1)}, values), R"({"Data":{"#text":"a"},"N":5})");
}

TEST(EventJson, AListOfTextsIsAsManyData) {
  const Value list = support::StringArrayValue({"a", "", "b", ""});
  EXPECT_EQ(Data({Unnamed(0), Unnamed(1)}, {list, support::StringValue("c")}),
            R"({"Data":{"#text":["a","","b","","c"]}})");
  EXPECT_EQ(Data({Unnamed(0)}, {support::StringArrayValue({"a"})}), R"({"Data":{"#text":"a"}})");
  EXPECT_EQ(Data({Unnamed(0)}, {support::StringArrayValue({})}), R"({"Data":{"#text":""}})");
}

TEST(EventJson, AnElementStandsForEachValueOfItsArray) {
  const Value list = support::HexInt32ArrayValue({1, 2});
  EXPECT_EQ(Data({Element("X", {Attribute("k", "v")}, {Text("p"), Slot(0, 0x94)}), Named("N", 0)},
                 {list}),
            R"({"X":{"#attributes":{"k":"v"},"#text":"p0x1"},)"
            R"("X_1":{"#attributes":{"k":"v"},"#text":"p0x2"},"N":"0x1","N_1":"0x2"})");
}

TEST(EventJson, SeveralArraysInOneElementAreTexts) {
  EXPECT_EQ(Data({Element("X", {}, {Slot(0, 0x94), Slot(0, 0x94)})},
                 {support::HexInt32ArrayValue({1, 2})}),
            R"({"X":"0x1, 0x20x1, 0x2"})");
}

TEST(EventJson, AnArrayThatWouldRepeatTooMuchIsOneText) {
  const std::string long_text(4000, 'x');
  const Value list = support::HexInt32ArrayValue(std::vector<std::uint32_t>(5000, 7));
  const std::string line =
      Data({Element("X", {Attribute("k", long_text)}, {Slot(0, 0x94)})}, {list});
  EXPECT_LT(line.size(), 40'000U);
  EXPECT_NE(line.find("\"0x7, 0x7, "), std::string::npos);
}

// All that lies in an element is said again with it.
TEST(EventJson, AnArrayInsideOfAnElementCountsAsOftenAsThatIsRepeated) {
  const std::string line = Streamed(ArrayInsideOfRepeatedLog(), &RunOptions::event_json_form);
  EXPECT_LT(line.size(), 100'000U);
  EXPECT_NE(line.find("7, 7, 7"), line.npos);
}

// What a value names in one event another of its kind may call otherwise.
TEST(EventJson, NamesThatValuesGiveAreThoseOfTheirEvent) {
  const std::string lines = Streamed(NamedByValuesLog(), &RunOptions::event_json_form);
  EXPECT_NE(lines.find(R"("EventData":{"a":{"X":"v"}})"), lines.npos) << lines;
  EXPECT_NE(lines.find(R"("EventData":{"b":{"X":"v"}})"), lines.npos) << lines;
}

TEST(EventJson, ProcessingInstructionsAreMembers) {
  EXPECT_EQ(
      Data({Element(
          "X", {}, {support::ProcessingTarget("pi"), support::ProcessingData("said"), Text("t")})}),
      R"({"X":{"#text":"t","?pi":"said"}})");
}

TEST(EventJson, ARecordWithoutAnEventSaysWhatItsHeaderSays) {
  support::EvtxBuilder log;
  log.AddRecord({.id = 7,
                 .time = support::Filetime(2012, 3, 7, 14, 5, 9, 1234567),
                 .body = support::ElementsFragment({})});
  EXPECT_EQ(Streamed(log.Build(), &RunOptions::event_json_form),
            R"({"Event":{"System":{"TimeCreated":{"#attributes":)"
            R"({"SystemTime":"2012-03-07T14:05:09.123456Z"}},"EventRecordID":7}}})"
            "\n");
}

TEST(EventJson, AValueThatIsRepeatedTooOftenIsLeftOutAndCounted) {
  std::string trace;
  const std::vector<Node> nodes(2000, Element("D", {}, {Slot(0, support::kString)}));
  const auto log = EventDataLog(nodes, {support::StringValue(std::string(8000, '<'))});
  const std::string line = Streamed(log, &RunOptions::event_json_form, &trace);
  EXPECT_LT(line.size(), std::size_t{4} << 20);
  EXPECT_TRUE(line.ends_with("}}}\n")) << line.substr(line.size() - 20);
  EXPECT_NE(trace.find("records cut at a limit of nesting, work or text: 1\n"), std::string::npos);
}

TEST(EventJson, DeepNestingEndsBesideWhatItIsIn) {
  Node node = Element("E", {}, {Text("deepest")});
  for (int i = 0; i < 200; ++i) node = Element("E", {}, {node});
  const std::string line = Data({node});
  EXPECT_NE(line.find("\"deepest\""), std::string::npos);
  EXPECT_EQ(std::count(line.begin(), line.end(), '{'), std::count(line.begin(), line.end(), '}'));
}

}  // namespace
}  // namespace tarnlex
