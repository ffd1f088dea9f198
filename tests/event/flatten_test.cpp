#include "event/flatten.h"

#include <gtest/gtest.h>

#include "tests/evtx/decoding.h"
#include "tests/evtx/nesting.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::Element;
using support::EvtxBuilder;
using support::Instance;
using support::InstanceFragment;
using support::InstanceValue;
using support::MakeTemplate;
using support::Node;
using support::NullValue;
using support::OptionalSlot;
using support::Slot;
using support::StringValue;
using support::Text;
using support::Value;

Node TextElement(std::string_view name, std::string_view text) {
  return Element(name, {}, {Text(text)});
}
Node Data(std::string_view name, std::string_view text) {
  return Element("Data", {Attribute("Name", name)}, {Text(text)});
}
Instance InstanceOf(std::string_view name, std::vector<Node> body, std::vector<Value> values = {}) {
  Instance instance;
  instance.definition = MakeTemplate(name, std::move(body));
  instance.values = std::move(values);
  return instance;
}

TEST(Literal, KeysTextsByTheirElementAtAnyDepth) {
  EXPECT_EQ(ValuesOf({Element(
                "A", {},
                {Element("B", {}, {Element("C", {}, {Text("deep")})}), TextElement("D", "near")})}),
            (Values{{"C", "deep"}, {"D", "near"}}));
}

TEST(Literal, KeysAttributesByTheirNameAndThoseOfAProviderWithAPrefix) {
  EXPECT_EQ(
      ValuesOf({Element("Provider", {Attribute("Name", "p"), Attribute("Guid", "g")}),
                Element("TimeCreated", {Attribute("SystemTime", "t")}),
                Element("Other", {Attribute("Name", "o")})}),
      (Values{{"Provider Name", "p"}, {"Provider Guid", "g"}, {"SystemTime", "t"}, {"Name", "o"}}));
}

TEST(Literal, TextOfAnElementThatIsNotDataIsApartFromItsAttributes) {
  EXPECT_EQ(ValuesOf({Element("EventID", {Attribute("Qualifiers", "1")}, {Text("7")})}),
            (Values{{"Qualifiers", "1"}, {"EventID", "7"}}));
}

TEST(Literal, KeysNamedDataByTheirNameWhichIsNoValueItself) {
  EXPECT_EQ(ValuesOf({Data("LogonType", "3"),
                      Element("Data", {Attribute("Name", "Typed"), Attribute("Type", "t")},
                              {Text("x")})}),
            (Values{{"LogonType", "3"}, {"Type", "t"}, {"Typed", "x"}}));
}

TEST(Literal, NamesDataByComputedTexts) {
  const Node computed =
      Element("Data", {Attribute("Name", {Text("pre"), Slot(0, support::kString)})}, {Text("x")});
  EXPECT_EQ(ValuesOf({computed}, {StringValue("Fix")}), (Values{{"preFix", "x"}}));
  EXPECT_EQ(ValuesOf({Element("Data", {Attribute("Name", Slot(0, support::kByte))}, {Text("x")})},
                     {support::ByteValue(5)}),
            (Values{{"5", "x"}}));
  EXPECT_EQ(ValuesOf({Element("Data", {Attribute("Name", Text(""))}, {Text("x")})}),
            (Values{{"", "x"}}));
}

TEST(Literal, DecodesBinaryXmlInTheNameOfADataElementWhereItStands) {
  EXPECT_EQ(
      ValuesOf({Element("Data", {Attribute("Name", {Text("n"), Slot(0, support::kBinaryXml)})},
                        {Text("x")}),
                TextElement("Data", "second")},
               {InstanceValue(
                   InstanceOf("inner", {TextElement("Data", "first"), TextElement("Q", "q")}))}),
      (Values{{"Data", "first"}, {"Data_02", "second"}, {"Q", "q"}, {"n", "x"}}));
}

TEST(Literal, NumbersUnnamedDataInDocumentOrder) {
  EXPECT_EQ(ValuesOf({TextElement("Data", "a"), Data("Named", "n"), TextElement("Data", "b"),
                      TextElement("Data", "c")}),
            (Values{{"Data", "a"}, {"Named", "n"}, {"Data_02", "b"}, {"Data_03", "c"}}));
}

TEST(Literal, CountsUnnamedDataWithoutText) {
  EXPECT_EQ(ValuesOf({Element("Data"), TextElement("Data", "b"),
                      Element("Data", {}, {Slot(9, support::kString)}), TextElement("Data", "d")}),
            (Values{{"Data_02", "b"}, {"Data_04", "d"}}));
}

TEST(Literal, NumbersUnnamedDataAcrossNestedInstances) {
  EXPECT_EQ(ValuesOf({TextElement("Data", "a"), Element("N", {}, {Slot(0, support::kBinaryXml)}),
                      TextElement("Data", "d")},
                     {InstanceValue(InstanceOf(
                         "inner", {TextElement("Data", "b"), TextElement("Data", "c")}))}),
            (Values{{"Data", "a"}, {"Data_02", "b"}, {"Data_03", "c"}, {"Data_04", "d"}}));
}

TEST(Literal, NumbersAnUnnamedDataBeforeItsChildren) {
  EXPECT_EQ(ValuesOf({Element("Data", {}, {Text("a"), TextElement("Data", "b"), Text("c")}),
                      TextElement("Data", "d")}),
            (Values{{"Data", "ac"}, {"Data_02", "b"}, {"Data_03", "d"}}));
}

TEST(Literal, FirstValueOfANameStays) {
  EXPECT_EQ(ValuesOf({Data("A", "first"), Data("A", "second"), TextElement("A", "third"),
                      Element("E", {Attribute("A", "fourth")})}),
            (Values{{"A", "first"}}));
  // An unresolved value is a value too.
  EXPECT_EQ(
      ValuesOf({Element("A", {}, {OptionalSlot(0, support::kString)}), TextElement("A", "second")},
               {NullValue()}),
      (Values{{"A", kUnresolvedText}}));
}

TEST(Literal, JoinsLiteralsAndSlotsOfOneElementWithNothing) {
  EXPECT_EQ(
      ValuesOf({Element("E", {Attribute("A", {Text("<"), Slot(0, support::kByte), Text(">")})},
                        {Text("a", true), Slot(0, support::kByte), Text("b"),
                         OptionalSlot(1, support::kString), Slot(1, support::kString),
                         Slot(7, support::kString)})},
               {support::ByteValue(5), NullValue()}),
      (Values{{"A", "<5>"}, {"E", "a5b0"}}));
}

TEST(Literal, KeepsTextAroundChildElementsTogether) {
  EXPECT_EQ(ValuesOf({Element("E", {}, {Text("a"), TextElement("C", "c"), Text("b")})}),
            (Values{{"C", "c"}, {"E", "ab"}}));
}

TEST(Literal, EachOccurrenceOfAnElementHasItsOwnText) {
  EXPECT_EQ(ValuesOf({TextElement("E", "one"), TextElement("E", "two")}), (Values{{"E", "one"}}));
}

TEST(Literal, AnElementWithoutTextAndSubstitutionGivesNothing) {
  EXPECT_EQ(ValuesOf({Element("E"), Element("F", {}, {TextElement("G", "g")}),
                      Element("Data", {Attribute("Name", "N")})}),
            (Values{{"G", "g"}}));
}

TEST(Literal, OptionalSubstitutionOverNullIsPresentButUnresolved) {
  EXPECT_EQ(ValuesOf({Element("E", {Attribute("A", OptionalSlot(0, support::kString))},
                              {OptionalSlot(0, support::kString)})},
                     {NullValue()}),
            (Values{{"A", kUnresolvedText}, {"E", kUnresolvedText}}));
}

TEST(Literal, NormalSubstitutionOverNullIsZero) {
  EXPECT_EQ(ValuesOf({Element("E", {}, {Slot(0, support::kString)})}, {NullValue()}),
            (Values{{"E", "0"}}));
}

TEST(Literal, AZeroLengthStringIsAnEmptyText) {
  EXPECT_EQ(ValuesOf({Element("E", {}, {OptionalSlot(0, support::kString)}),
                      Element("F", {}, {Slot(0, support::kString)})},
                     {StringValue("")}),
            (Values{{"E", ""}, {"F", ""}}));
}

TEST(Literal, ASlotPastTheCountGivesNoValue) {
  EXPECT_EQ(ValuesOf({Element("E", {Attribute("A", Slot(1, support::kString))},
                              {OptionalSlot(0xFFFF, support::kString)}),
                      Element("F", {}, {Slot(0, support::kString)})},
                     {StringValue("f")}),
            (Values{{"F", "f"}}));
}

TEST(Literal, TheTypeOfTheSlotCountsNotThatOfTheSubstitution) {
  EXPECT_EQ(ValuesOf({Element("E", {}, {Slot(0, support::kString)})}, {support::UInt32Value(65)}),
            (Values{{"E", "65"}}));
}

TEST(Literal, DecodesANestedInstanceWhereItStands) {
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("t",
                        {TextElement("A", "a"), Element("N", {}, {Slot(0, support::kBinaryXml)}),
                         TextElement("B", "late"), TextElement("C", "c")}),
           {InstanceValue(InstanceOf("inner", {Element("B", {}, {Slot(0, support::kByte)})},
                                     {support::ByteValue(5)}))})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"A", "a"}, {"B", "5"}, {"C", "c"}}));
  EXPECT_EQ(decoded.records[0].names, (std::vector<std::string>{"A", "B", "C"}));
}

TEST(Literal, FindsANestedDefinitionByTheOffsetThatItCarries) {
  EvtxBuilder log;
  Instance second = InstanceOf("same", {TextElement("Second", "2")});
  second.repeat_definition = true;
  const auto outer = MakeTemplate("outer", {Element("N", {}, {Slot(0, support::kBinaryXml)})});
  log.AddRecord({.body = InstanceFragment(
                     outer, {InstanceValue(InstanceOf("same", {TextElement("First", "1")}))})});
  log.AddRecord({.body = InstanceFragment(outer, {InstanceValue(second)})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"First", "1"}}));
  EXPECT_EQ(decoded.records.at(1).values, (Values{{"Second", "2"}}));
}

TEST(Literal, DecodesNestedInstancesThatNoSubstitutionNames) {
  EXPECT_EQ(ValuesOf({TextElement("A", "a")},
                     {InstanceValue(InstanceOf("inner", {TextElement("B", "b")}))}),
            (Values{{"A", "a"}, {"B", "b"}}));
}

TEST(Literal, DecodesInstancesInsideTemplateBodies) {
  EXPECT_EQ(ValuesOf({TextElement("A", "a"),
                      support::InstanceNode(
                          InstanceOf("inner", {Element("B", {}, {Slot(0, support::kByte)})},
                                     {support::ByteValue(5)})),
                      TextElement("C", "c")}),
            (Values{{"A", "a"}, {"B", "5"}, {"C", "c"}}));
}

TEST(Literal, DecodesValuesOfPlainElements) {
  for (const bool header : {true, false}) {
    EXPECT_EQ(ValuesOf({Element("N", {}, {Slot(0, support::kBinaryXml)})},
                       {support::ElementsValue({Element("P", {Attribute("A", "a")}, {Text("p")})},
                                               header)}),
              (Values{{"A", "a"}, {"P", "p"}}));
  }
}

// Rendered texts and the like stand behind the event's own data.
TEST(Literal, DecodesAllInstancesAndElementsOfOneValue) {
  const support::Fragment first{.instance = {InstanceOf("first", {TextElement("A", "a")})},
                                .end_token = false};
  const support::Fragment second{.instance = {InstanceOf("second", {TextElement("B", "b")})}};
  const support::Fragment elements{.nodes = {TextElement("C", "c"), TextElement("D", "d")}};
  support::Fragment ended = first;
  ended.end_token = true;
  support::Fragment bare = elements;
  bare.header = false;
  const Values all{{"A", "a"}, {"B", "b"}, {"C", "c"}, {"D", "d"}};
  for (const auto& fragments :
       std::vector<std::vector<support::Fragment>>{{first, second, elements},
                                                   {ended, second, elements},
                                                   {first, elements},
                                                   {first, bare}}) {
    Value value;
    value.type = support::kBinaryXml;
    value.nested = fragments;
    Values expected = all;
    if (fragments.size() == 2) expected.erase("B");
    EvtxBuilder log;
    const auto outer = MakeTemplate(
        "outer", {Element("N", {}, {Slot(0, support::kBinaryXml)}), TextElement("Z", "z")});
    // The second record is of a kind that is known by then.
    for (int i = 0; i < 2; ++i) log.AddRecord({.body = InstanceFragment(outer, {value})});
    const DecodedLog decoded = Decode(log);
    expected.emplace("Z", "z");
    EXPECT_EQ(decoded.records.at(0).values, expected);
    EXPECT_EQ(decoded.records.at(1).values, expected);
    EXPECT_EQ(CountFaults(decoded.account), 0U);
  }
}

// Records of one template whose value holds one instance or two, in any order.
TEST(Literal, TakesEachValueOutOfTheInstanceItStandsIn) {
  const auto instance = [](std::string_view text) {
    return support::Fragment{
        .instance = {InstanceOf("inner",
                                {Element("Data", {}, {Slot(0, support::kString)}),
                                 Element("Data", {}, {Slot(1, support::kString)})},
                                {StringValue(text), StringValue(std::string(text) + "'")})},
        .end_token = false};
  };
  const auto outer = MakeTemplate("outer", {Element("N", {}, {Slot(0, support::kBinaryXml)})});
  for (const std::string order : {"12121", "21212"}) {
    EvtxBuilder log;
    for (std::size_t i = 0; i < order.size(); ++i) {
      Value value;
      value.type = support::kBinaryXml;
      value.nested = {instance("a" + std::to_string(i))};
      if (order[i] == '2') value.nested.push_back(instance("b" + std::to_string(i)));
      log.AddRecord({.body = InstanceFragment(outer, {value})});
    }
    const std::vector<Values> all = KeptAndFresh(log);
    for (std::size_t i = 0; i < all.size(); ++i) {
      const std::string number = std::to_string(i % order.size());
      Values expected{{"Data", "a" + number}, {"Data_02", "a" + number + "'"}};
      if (order[i % order.size()] == '2') {
        expected.emplace("Data_03", "b" + number);
        expected.emplace("Data_04", "b" + number + "'");
      }
      EXPECT_EQ(all[i], expected) << i;
    }
  }
}

// A slot that several elements name is decoded in each.
TEST(Literal, TakesTheValuesOfASlotThatStandsInSeveralPlaces) {
  const Node again = Element("N", {}, {Slot(0, support::kBinaryXml)});
  EvtxBuilder log;
  for (int i = 0; i < 4; ++i) {
    log.AddRecord(
        {.body = InstanceFragment(
             MakeTemplate("outer", {again, again, again}),
             {InstanceValue(InstanceOf("inner", {Element("Data", {}, {Slot(0, support::kString)})},
                                       {StringValue(std::to_string(i))}))})});
  }
  const std::vector<Values> all = KeptAndFresh(log);
  for (std::size_t i = 0; i < all.size(); ++i) {
    const std::string number = std::to_string(i % 4);
    EXPECT_EQ(all[i], (Values{{"Data", number}, {"Data_02", number}, {"Data_03", number}})) << i;
  }
}

TEST(Literal, TheEventIdIsTheFirstValueOfThatNameAlsoWhereItsNameIsMadeOfTexts) {
  const Node named = Element("Data", {Attribute("Name", "Event"), Text("ID")}, {Text("4242")});
  const Node own = Element("EventID", {}, {Slot(0, support::kUInt16)});
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(MakeTemplate("t", {named, own}), {support::UInt16Value(7)})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(decoded.records.at(0).event_id,
            LeadingNumber(decoded.records.at(0).values.at("EventID")));
}

TEST(Literal, ABinaryXmlValueIsNoNamedValue) {
  EXPECT_EQ(ValuesOf({Element("N", {}, {Text("n"), Slot(0, support::kBinaryXml)}),
                      Element("M", {}, {Slot(0, support::kBinaryXml)}),
                      Element("Z", {}, {Slot(1, support::kBinaryXml)})},
                     {InstanceValue(InstanceOf("inner", {TextElement("B", "b")})),
                      support::RawValue(support::kBinaryXml, {})}),
            (Values{{"B", "b"}, {"N", "n"}}));
}

TEST(Literal, ANestedArrayOfTooManyValuesLeavesTheParentGoingOn) {
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("t", {Element("N", {}, {Slot(0, support::kBinaryXml)}),
                              Element("A", {}, {Slot(1, support::kByte)})}),
           {InstanceValue(InstanceOf(
                "inner", {TextElement("L", "l"), Element("B", {}, {Slot(0, support::kByte)})},
                std::vector<Value>(29, support::ByteValue(1)))),
            support::ByteValue(2)})});
  const DecodedLog decoded = Decode(log);
  const Values& values = decoded.records.at(0).values;
  EXPECT_EQ(values.at("A"), "2");
  EXPECT_FALSE(values.contains("B"));
  EXPECT_EQ(Count(decoded.account, RecordFault::kNestedUnreadable), 1U);
}

TEST(Literal, ANestedDefinitionOutsideTheChunkIsNone) {
  EvtxBuilder log;
  Instance inner = InstanceOf("inner", {TextElement("B", "b")});
  inner.definition_offset = 0xFFFFFFFF;
  log.AddRecord(
      {.body = InstanceFragment(MakeTemplate("t", {Element("N", {}, {Slot(0, support::kBinaryXml)}),
                                                   TextElement("A", "a")}),
                                {InstanceValue(inner)})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"A", "a"}}));
  EXPECT_EQ(Count(decoded.account, RecordFault::kNestedUnreadable), 1U);
}

TEST(Literal, AStoppingTokenKeepsWhatWasGatheredInOpenElements) {
  for (const Node& stop :
       {support::CData("x"), support::CharacterReference(65), support::EntityReference("amp"),
        support::ProcessingTarget("p"), support::ProcessingData("d"), support::Raw({0x0F})}) {
    EvtxBuilder log;
    log.AddRecord(
        {.body = InstanceFragment(
             MakeTemplate("t", {TextElement("A", "a"),
                                Element("B", {Attribute("At", "t")},
                                        {Text("b"), Slot(0, support::kByte), stop, Text("never")}),
                                TextElement("C", "never")}),
             {support::ByteValue(5)})});
    const DecodedLog decoded = Decode(log);
    EXPECT_EQ(decoded.records.at(0).values, (Values{{"A", "a"}, {"At", "t"}, {"B", "b5"}}));
    EXPECT_EQ(Count(decoded.account, RecordFault::kFragmentStopped), 1U);
  }
}

TEST(Literal, AStoppingTokenInsideAnAttributeKeepsItsText) {
  EXPECT_EQ(ValuesOf({Element("E", {Attribute("A", {Text("a"), support::EntityReference("amp")})},
                              {Text("never")})}),
            (Values{{"A", "a"}}));
}

TEST(Literal, AStoppingTokenInANestedFragmentEndsThatFragmentOnly) {
  EXPECT_EQ(ValuesOf({Element("N", {}, {Slot(0, support::kBinaryXml)}), TextElement("A", "a")},
                     {InstanceValue(InstanceOf("inner", {TextElement("B", "b"), support::CData("x"),
                                                         TextElement("C", "never")}))}),
            (Values{{"A", "a"}, {"B", "b"}}));
}

TEST(Literal, FollowsSixteenNestedInstancesAndNoMore) {
  for (const int levels : {15, 16, 17, 40}) {
    EvtxBuilder log;
    log.AddRecord({.body = NestedFragment(levels)});
    const DecodedLog decoded = Decode(log);
    Values expected;
    for (int level = 0; level <= std::min(levels, 16); ++level) {
      expected["L" + std::to_string(level)] = "x";
    }
    if (levels <= 16) expected["W"] = kUnresolvedText;
    EXPECT_EQ(decoded.records.at(0).values, expected) << levels;
    EXPECT_EQ(Count(decoded.account, RecordFault::kLimit), levels > 16 ? 1U : 0U) << levels;
  }
}

TEST(Literal, FollowsInstancesInTemplateBodiesSixteenDeepToo) {
  Instance instance = InstanceOf("L30", {TextElement("L30", "x")});
  for (int level = 29; level >= 0; --level) {
    const std::string name = "L" + std::to_string(level);
    instance = InstanceOf(name, {TextElement(name, "x"), support::InstanceNode(instance)});
  }
  support::Fragment body;
  body.instance.push_back(instance);
  const Values values = ValuesOf(body);
  EXPECT_TRUE(values.contains("L16"));
  EXPECT_FALSE(values.contains("L17"));
}

TEST(Literal, ATemplateThatContainsItselfEnds) {
  // The instance inside the body names the body's own definition.
  Instance self = InstanceOf("self", {});
  self.definition_offset = 512 + 38;
  EXPECT_EQ(ValuesOf({TextElement("A", "a"), support::InstanceNode(self), TextElement("B", "b")}),
            (Values{{"A", "a"}, {"B", "b"}}));
}

}  // namespace
}  // namespace tarnlex
