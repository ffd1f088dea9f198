// Plans under the complete policy: every value, each under a name of its own.
#include <gtest/gtest.h>

#include "event/flatten.h"
#include "tests/evtx/decoding.h"
#include "tests/support/utf8.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::CData;
using support::CharacterReference;
using support::Element;
using support::EntityReference;
using support::EvtxBuilder;
using support::Instance;
using support::InstanceFragment;
using support::InstanceValue;
using support::MakeTemplate;
using support::Node;
using support::NullValue;
using support::OptionalSlot;
using support::ProcessingData;
using support::ProcessingTarget;
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
// The text of an element that holds `nodes`.
std::string TextOfNodes(std::vector<Node> nodes) {
  return CompleteValuesOf({Element("E", {}, std::move(nodes))}).at("E");
}

TEST(Complete, NumbersLaterValuesOfANameInDocumentOrder) {
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("t", {Data("A", "1"), TextElement("A", "2"), Data("B", "b"),
                              Element("E", {Attribute("A", "3")}, {TextElement("A", "4")})}),
           {})});
  const DecodedRecord record = DecodeComplete(log).records.at(0);
  EXPECT_EQ(record.names, (std::vector<std::string>{"A", "A_02", "B", "A_03", "A_04"}));
  EXPECT_EQ(record.values,
            (Values{{"A", "1"}, {"A_02", "2"}, {"B", "b"}, {"A_03", "3"}, {"A_04", "4"}}));
}

TEST(Complete, NumbersWithTwoDigitsAtLeast) {
  const Values values = CompleteValuesOf(std::vector<Node>(101, TextElement("A", "x")));
  for (const char* name : {"A", "A_02", "A_09", "A_10", "A_99", "A_100", "A_101"}) {
    EXPECT_TRUE(values.contains(name)) << name;
  }
  EXPECT_EQ(values.size(), 101U);
}

TEST(Complete, NumberedNamesGiveWayToThoseThatAreTakenAlready) {
  EXPECT_EQ(CompleteValuesOf({TextElement("X_02", "own"), TextElement("X", "1"),
                              TextElement("X", "2"), TextElement("X", "3")}),
            (Values{{"X_02", "own"}, {"X", "1"}, {"X_03", "2"}, {"X_04", "3"}}));
}

TEST(Complete, AValueWhoseNameANumberedOneHasIsNumberedItself) {
  EXPECT_EQ(
      CompleteValuesOf({TextElement("X", "1"), TextElement("X", "2"), TextElement("X_02", "own"),
                        TextElement("X", "3"), TextElement("X_02", "other")}),
      (Values{{"X", "1"}, {"X_02", "2"}, {"X_02_02", "own"}, {"X_03", "3"}, {"X_02_03", "other"}}));
}

// The texts that a search under a name sees, in order.
std::vector<std::string> TextsUnder(const EvtxBuilder& log, std::string_view name) {
  std::vector<std::string> texts;
  EvtxDecoder decoder;
  decoder.policy = Policy::kComplete;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    const Plan& plan = PlanOf(with, event);
    const PlanValue* value = FindValue(plan, name);
    ASSERT_NE(value, nullptr) << name;
    std::string scratch;
    texts.emplace_back(TextOf(event.structure, plan, *value, scratch));
    for (std::uint32_t i = value->first_later; i != 0; i = plan.values[i].next_of_name) {
      texts.emplace_back(TextOf(event.structure, plan, plan.values[i], scratch));
    }
  };
  WalkSlots(decoder, log.BuildChunks(), 4096, handlers);
  return texts;
}

TEST(Complete, TheValuesOfANameLeadFromOneToTheNextAndToNoOthers) {
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("t", {TextElement("X", "1"), TextElement("Y", "y"), TextElement("X", "2"),
                              TextElement("X_02", "own"), TextElement("X", "3"),
                              TextElement("X_02", "other"), TextElement("X", "4")}),
           {})});
  using Texts = std::vector<std::string>;
  EXPECT_EQ(TextsUnder(log, "X"), (Texts{"1", "2", "3", "4"}));
  EXPECT_EQ(TextsUnder(log, "X_02"), (Texts{"2", "own", "other"}));
  EXPECT_EQ(TextsUnder(log, "X_03"), (Texts{"3"}));
  EXPECT_EQ(TextsUnder(log, "Y"), (Texts{"y"}));
}

TEST(Complete, ValuesWithoutANameAreKeptApart) {
  EXPECT_EQ(CompleteValuesOf({Data("", "1"), Data("", "2"), TextElement("", "3"),
                              Element("E", {Attribute("", "4")})}),
            (Values{{"<unnamed>", "1"},
                    {"<unnamed>_02", "2"},
                    {"<unnamed>_03", "3"},
                    {"<unnamed>_04", "4"}}));
}

TEST(Complete, TellsNamespacesOfEveryElement) {
  EXPECT_EQ(CompleteValuesOf({Element("Event", {Attribute("xmlns", "a")},
                                      {Element("UserData", {Attribute("xmlns", "b")})})}),
            (Values{{"xmlns", "a"}, {"xmlns_02", "b"}}));
}

TEST(Complete, NumbersProvidersToo) {
  EXPECT_EQ(
      CompleteValuesOf({Element("Provider", {Attribute("Name", "p")}),
                        Element("UserData", {}, {Element("Provider", {Attribute("Name", "q")})})}),
      (Values{{"Provider Name", "p"}, {"Provider Name_02", "q"}}));
}

TEST(Complete, GivesAllDataOfAListBelowUserData) {
  EXPECT_EQ(CompleteValuesOf({Element("UserData", {},
                                      {Element("List", {},
                                               {TextElement("Data", "a"), Data("N", "b"),
                                                TextElement("Data", "c"), Data("N", "d")})})}),
            (Values{{"Data", "a"}, {"N", "b"}, {"Data_02", "c"}, {"N_02", "d"}}));
}

TEST(Complete, UnnamedDataAndDataOfTheSameNamesDoNotHideEachOther) {
  EXPECT_EQ(CompleteValuesOf({Data("Data_02", "named"), Data("Data", "named too"),
                              TextElement("Data", "first"), TextElement("Data", "second")}),
            (Values{{"Data_02", "named"},
                    {"Data", "named too"},
                    {"Data_03", "first"},
                    {"Data_02_02", "second"}}));
}

TEST(Complete, NumbersNamesThatAreMadeOfValues) {
  const Node named =
      Element("Data", {Attribute("Name", Slot(0, support::kString))}, {Slot(1, support::kByte)});
  EXPECT_EQ(CompleteValuesOf({named, named}, {StringValue("N"), support::ByteValue(5)}),
            (Values{{"N", "5"}, {"N_02", "5"}}));
}

TEST(Complete, AValueLeftOutIsAValueOfItsNameToo) {
  EXPECT_EQ(CompleteValuesOf(
                {Element("A", {}, {OptionalSlot(0, support::kString)}), TextElement("A", "second")},
                {NullValue()}),
            (Values{{"A", kUnresolvedText}, {"A_02", "second"}}));
}

TEST(Complete, TheEventIdIsTheFirstOfItsName) {
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(
                     MakeTemplate("t", {Element("EventID", {}, {Slot(0, support::kUInt16)}),
                                        TextElement("EventID", "9")}),
                     {support::UInt16Value(7)})});
  const DecodedRecord record = DecodeComplete(log).records.at(0);
  EXPECT_EQ(record.event_id, 7U);
  EXPECT_EQ(record.values, (Values{{"EventID", "7"}, {"EventID_02", "9"}}));
}

TEST(Complete, EntitiesGiveTheirCharacter) {
  EXPECT_EQ(
      TextOfNodes({Text("a"), EntityReference("amp"), EntityReference("lt"), EntityReference("gt"),
                   EntityReference("quot"), EntityReference("apos"), Text("b")}),
      "a&<>\"'b");
  EXPECT_EQ(CompleteValuesOf(
                {Element("E", {Attribute("A", {Text("x"), EntityReference("amp"), Text("y")})})}),
            (Values{{"A", "x&y"}}));
}

TEST(Complete, EntitiesAreReplacedOnce) {
  EXPECT_EQ(TextOfNodes({EntityReference("amp"), Text("amp;amp;")}), "&amp;amp;");
  EXPECT_EQ(TextOfNodes({Text("&lt;")}), "&lt;");
}

TEST(Complete, EntitiesThatAreNotKnownStayAsTheyAreWritten) {
  EXPECT_EQ(TextOfNodes({Text("a"), EntityReference("nbsp"), Text("b")}), "a&nbsp;b");
  EXPECT_EQ(TextOfNodes({EntityReference("AMP")}), "&AMP;");
  EXPECT_EQ(TextOfNodes({EntityReference("")}), "&;");
}

TEST(Complete, CharacterReferencesGiveTheirCharacter) {
  EXPECT_EQ(TextOfNodes({Text("a"), CharacterReference(0xE4), CharacterReference(0x20AC)}),
            "a\xC3\xA4\xE2\x82\xAC");
  EXPECT_EQ(TextOfNodes({Text("a"), CharacterReference(0), Text("b")}), "a b");
}

TEST(Complete, TwoCharacterReferencesMayBeOneCharacter) {
  const std::string none = "\xEF\xBF\xBD";
  const std::string smile = "\xF0\x9F\x98\x80";
  const Node high = CharacterReference(0xD83D);
  const Node low = CharacterReference(0xDE00);
  EXPECT_EQ(TextOfNodes({high, low}), smile);
  EXPECT_EQ(TextOfNodes({high, high, low, low}), none + smile + none);
  EXPECT_EQ(TextOfNodes({low, high}), none + none);
  EXPECT_EQ(TextOfNodes({high, Text("x"), low}), none + "x" + none);
  EXPECT_EQ(TextOfNodes({high}), none);
}

TEST(Complete, CharacterDataAndProcessingInstructionsGiveTheirTexts) {
  EXPECT_EQ(CompleteValuesOf({Element("E", {},
                                      {Text("a"), CData("<b>&amp;"), ProcessingTarget("target"),
                                       ProcessingData(" data"), Text("c")}),
                              TextElement("F", "behind")}),
            (Values{{"E", "a<b>&amp; datac"}, {"F", "behind"}}));
}

TEST(Complete, SpecialTokensCountAsNoFault) {
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(
                     MakeTemplate("t", {Element("E", {}, {EntityReference("amp")})}), {})});
  EXPECT_EQ(CountFaults(DecodeComplete(log).account), 0U);
  EXPECT_EQ(Count(Decode(log).account, RecordFault::kFragmentStopped), 1U);
}

TEST(Complete, WhatIsNoTokenEndsAStreamAndIsAccountedFor) {
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("t", {TextElement("A", "a"),
                              Element("B", {}, {Text("b"), support::Raw({0x1F}), Text("never")})}),
           {})});
  const DecodedLog decoded = DecodeComplete(log);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"A", "a"}, {"B", "b"}}));
  EXPECT_EQ(Count(decoded.account, RecordFault::kFragmentStopped), 1U);
}

// Binary XML that holds `nodes` as the only content of an element E beside "[" and "]".
Values ValuesAround(std::vector<Node> nodes, bool header) {
  return CompleteValuesOf({Element("E", {}, {Text("["), Slot(0, support::kBinaryXml), Text("]")})},
                          {support::ElementsValue(std::move(nodes), header)});
}

TEST(Complete, TextOutsideOfAnyElementBelongsToTheElementItsStreamStandsIn) {
  for (const bool header : {true, false}) {
    EXPECT_EQ(ValuesAround({Text("text")}, header), (Values{{"E", "[text]"}}));
    EXPECT_EQ(ValuesAround({CData("data")}, header), (Values{{"E", "[data]"}}));
    EXPECT_EQ(ValuesAround({EntityReference("lt"), Text("x")}, header), (Values{{"E", "[<x]"}}));
    EXPECT_EQ(ValuesAround({CharacterReference(65)}, header), (Values{{"E", "[A]"}}));
    EXPECT_EQ(ValuesAround({TextElement("F", "f"), Text("behind")}, header),
              (Values{{"F", "f"}, {"E", "[behind]"}}));
  }
}

TEST(Complete, AValueThatBeginsWithAProcessingInstructionKeepsItsElements) {
  for (const bool header : {true, false}) {
    EXPECT_EQ(
        ValuesAround({ProcessingTarget("t"), ProcessingData("d"), TextElement("F", "f")}, header),
        (Values{{"F", "f"}, {"E", "[d]"}}));
  }
}

TEST(Complete, TextOfAnInstanceOutsideOfAnyElementGoesUpAsFarAsItMust) {
  const Instance inner = InstanceOf("inner", {Slot(0, support::kString)}, {StringValue("deep")});
  const Instance middle =
      InstanceOf("middle", {Slot(0, support::kBinaryXml)}, {InstanceValue(inner)});
  EXPECT_EQ(
      CompleteValuesOf({Element("E", {}, {Text("<"), Slot(0, support::kBinaryXml), Text(">")})},
                       {InstanceValue(middle)}),
      (Values{{"E", "<deep>"}}));
  EXPECT_EQ(
      CompleteValuesOf(
          {Element("E", {Attribute("A", {Text("a"), Slot(0, support::kBinaryXml)})}, {Text("e")})},
          {InstanceValue(middle)}),
      (Values{{"A", "adeep"}, {"E", "e"}}));
}

TEST(Complete, TextThatNoElementHoldsHasNoName) {
  EXPECT_EQ(CompleteValuesOf({Text("stray"), TextElement("E", "e")}), (Values{{"E", "e"}}));
}

TEST(Complete, EveryTextIsUtf8) {
  const Values values =
      CompleteValuesOf({Element("E", {},
                                {CharacterReference(0xDC00), support::WideText(u"\xD800"),
                                 Slot(0, support::kAnsiString), Slot(1, support::kString)})},
                       {support::RawValue(support::kAnsiString, {0xE4, 0x80, 0xFF}),
                        support::RawValue(support::kString, support::Hex("00DC"))});
  EXPECT_TRUE(support::IsUtf8(values.at("E")));
  EXPECT_EQ(values.at("E"), "\xEF\xBF\xBD\xEF\xBF\xBD\xC3\xA4\xE2\x82\xAC\xC3\xBF\xEF\xBF\xBD");
}

TEST(Complete, KeptPlansGiveWhatFreshOnesDo) {
  const support::Template own = MakeTemplate(
      "own", {Element("Event", {},
                      {TextElement("A", "1"), Element("A", {}, {Slot(0, support::kString)}),
                       Element("A_02", {}, {EntityReference("amp"), Slot(1, support::kUInt64)}),
                       Element("N", {}, {Slot(2, support::kBinaryXml)})})});
  EvtxBuilder log;
  for (int i = 0; i < 5; ++i) {
    const std::string text = std::to_string(i);
    const Instance inner = InstanceOf(
        "inner", {Slot(0, support::kString), Element("A", {}, {Slot(0, support::kString)})},
        {StringValue("in" + text)});
    log.AddRecord(
        {.body = InstanceFragment(own, {StringValue(text), support::UInt64Value(0xFFFFFFFFFFFFFFFF),
                                        InstanceValue(inner)})});
  }
  const std::vector<Values> all = KeptAndFresh(log, Policy::kComplete);
  ASSERT_EQ(all.size(), 20U);
  for (std::size_t i = 0; i < all.size(); ++i) {
    const std::string text = std::to_string(i % 5);
    EXPECT_EQ(all[i], (Values{{"A", "1"},
                              {"A_02", text},
                              {"A_02_02", "&18446744073709551615"},
                              {"N", "in" + text},
                              {"A_03", "in" + text}}))
        << i;
  }
}

}  // namespace
}  // namespace tarnlex
