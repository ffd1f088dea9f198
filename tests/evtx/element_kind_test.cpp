#include "evtx/element_kind.h"

#include <gtest/gtest.h>

#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::Element;
using support::ElementsFragment;
using support::ElementsValue;
using support::EvtxBuilder;
using support::InstanceFragment;
using support::MakeTemplate;
using support::Node;
using support::Slot;
using support::Text;

// What forwarded logs hold: an event without a template.
std::vector<Node> Forwarded(const std::string& id, const std::string& name,
                            const std::string& text) {
  return {Element(
      "Event", {},
      {Element("System", {}, {Element("EventID", {}, {Text(id)})}),
       Element("EventData", {}, {Element("Data", {Attribute("Name", name)}, {Text(text)})})})};
}

struct Kept {
  std::vector<Values> values;
  std::size_t kinds = 0;
  std::size_t plans = 0;
};

Kept Read(const EvtxBuilder& log, Policy policy = Policy::kLiteral) {
  EvtxDecoder decoder;
  decoder.policy = policy;
  Kept kept;
  EvtxHandlers handlers;
  handlers.record = [&kept](EvtxDecoder& with, DecodedEvent& event) {
    kept.values.push_back(Collect(with, event).values);
  };
  const support::ByteString chunks = log.BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
  kept.kinds = decoder.store.kinds.size();
  for (const auto& [key, plan] : decoder.store.plans) kept.plans += plan != nullptr;
  return kept;
}

TEST(ElementKind, RecordsThatDifferInTextsShareOneAndItsPlan) {
  EvtxBuilder log;
  log.AddRecord({.body = ElementsFragment(Forwarded("4624", "User", "a"))});
  log.AddRecord({.body = ElementsFragment(Forwarded("7", "User", "a much longer text"))});
  const Kept kept = Read(log);
  EXPECT_EQ(kept.kinds, 1U);
  EXPECT_EQ(kept.plans, 1U);
  EXPECT_EQ(kept.values.at(0), (Values{{"EventID", "4624"}, {"User", "a"}}));
  EXPECT_EQ(kept.values.at(1), (Values{{"EventID", "7"}, {"User", "a much longer text"}}));
}

TEST(ElementKind, OutlivesItsChunk) {
  EvtxBuilder log;
  log.AddRecord({.body = ElementsFragment(Forwarded("1", "User", "a"))});
  log.AddChunk();
  log.AddRecord({.body = ElementsFragment(Forwarded("2", "User", "b"))});
  const Kept kept = Read(log);
  EXPECT_EQ(kept.kinds, 1U);
  EXPECT_EQ(kept.values.at(1), (Values{{"EventID", "2"}, {"User", "b"}}));
}

// What a "Data" is called decides which column its text belongs to.
TEST(ElementKind, NamesOfDataArePartOfIt) {
  EvtxBuilder log;
  log.AddRecord({.body = ElementsFragment(Forwarded("1", "User", "a"))});
  log.AddRecord({.body = ElementsFragment(Forwarded("1", "Host", "a"))});
  const Kept kept = Read(log);
  EXPECT_EQ(kept.kinds, 2U);
  EXPECT_EQ(kept.values.at(1), (Values{{"EventID", "1"}, {"Host", "a"}}));
}

TEST(ElementKind, IsFoundInAValueToo) {
  EvtxBuilder log;
  const auto event = MakeTemplate("event", {Element("Event", {}, {Slot(0, support::kBinaryXml)})});
  for (const char* text : {"a", "b"}) {
    log.AddRecord({.body = InstanceFragment(
                       event, {ElementsValue({Element("X", {Attribute("y", text)},
                                                      {Text(std::string(text) + " text")})})})});
  }
  const Kept kept = Read(log);
  EXPECT_EQ(kept.kinds, 1U);
  EXPECT_EQ(kept.plans, 1U);
  EXPECT_EQ(kept.values.at(1), (Values{{"X", "b text"}, {"y", "b"}}));
}

TEST(ElementKind, OfAValueIsNotLookedForBeforeItsPlanIsAskedFor) {
  support::Event stated;
  stated.event_id = 4624;
  stated.event_data = ElementsValue({Element("UserData", {}, {Text("text")})});
  EvtxBuilder log;
  log.AddEvent(stated);
  EvtxDecoder decoder;
  EvtxHandlers handlers;
  handlers.record = [](EvtxDecoder& with, DecodedEvent& event) {
    EXPECT_EQ(event.event_id, 4624U);
    EXPECT_TRUE(with.chunk.new_kinds.empty());
    PlanOf(with, event);
    EXPECT_EQ(with.chunk.new_kinds.size(), 1U);
  };
  const support::ByteString chunks = log.BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
  EXPECT_EQ(decoder.account.records, 1U);
}

TEST(ElementKind, IsNotLookedForWhereMoreThanTextsWouldBeTheEventsOwn) {
  const std::vector<std::vector<Node>> streams = {
      {Element("X", {}, {support::CData("c")})},
      {Element("X", {}, {support::CharacterReference('r')})},
      {Element("X", {}, {support::EntityReference("amp")})},
      {Element("X", {}, {Slot(0, support::kString)})},
      {Element("X", {}, {support::ProcessingTarget("t"), support::ProcessingData("d")})},
      {Element("X", {}, {support::InstanceNode({MakeTemplate("t", {Element("I")}), {}})})},
  };
  for (const std::vector<Node>& stream : streams) {
    EvtxBuilder log;
    log.AddRecord({.body = ElementsFragment(stream)});
    EXPECT_EQ(Read(log).kinds, 0U);
  }
}

// A trace, which tells of every token, has each stream compiled by itself.
TEST(ElementKind, GivesWhatTheStreamGivesByItself) {
  const std::vector<std::vector<Node>> streams = {
      Forwarded("4624", "User", "a"),
      Forwarded("", "", ""),
      Forwarded(" ", "\t", "\r\n"),
      {Element("X", {Attribute("a", ""), Attribute("b", {Text("1"), Text("2")})},
               {Text("t"), Element("Y"), Text("u"), Text("v")})},
      {Element("Data", {}, {Text("first")}), Element("Data", {}, {Text("second")})},
      {Element("Data", {Attribute("Name", {Text("two "), Text("parts")})}, {Text("t")})},
      {Element("Provider", {Attribute("Name", "p"), Attribute("Guid", "g")})},
      {Element("EventID", {Attribute("Qualifiers", "5")}, {Text("17")})},
      {Element("TimeCreated", {Attribute("SystemTime", "2023-03-14T09:26:53.5897932Z")})},
      {Element("X", {}, {support::WideText(u"a\0b\xD800\x2028")})},
      {Text("outside"), Element("X", {}, {Text("t")}), Text("behind")},
      {Element("X", {}, {Text("t")}), support::CData("c")},
  };
  EvtxBuilder log;
  for (int i = 0; i < 2; ++i) {
    for (const std::vector<Node>& stream : streams) {
      log.AddRecord({.body = ElementsFragment(stream)});
      log.AddRecord(
          {.body = InstanceFragment(
               MakeTemplate("event", {Element("Event", {}, {Slot(0, support::kBinaryXml)}),
                                      Element("Last", {}, {Slot(1, support::kString)})}),
               {ElementsValue(stream), support::StringValue("l")})});
    }
  }
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    const Kept kept = Read(log, policy);
    EXPECT_GT(kept.kinds, 8U);
    const DecodedLog traced = Decode(log, true, policy);
    ASSERT_EQ(kept.values.size(), traced.records.size());
    for (std::size_t i = 0; i < kept.values.size(); ++i) {
      EXPECT_EQ(kept.values[i], traced.records[i].values) << i;
    }
  }
}

// Elements may refer to one long name over and over.
TEST(ElementKind, IsNotLookedForInWhatIsTooLargeToBeOne) {
  EvtxBuilder log;
  const std::string name(1000, 'n');
  std::vector<Node> many;
  for (int i = 0; i < 20; ++i) many.push_back(Element(name, {}, {Text(std::to_string(i))}));
  log.AddRecord({.body = ElementsFragment(many)});
  const Kept kept = Read(log);
  EXPECT_EQ(kept.kinds, 0U);
  EXPECT_EQ(kept.values.at(0), (Values{{name, "0"}}));
}

// Behind an empty name that ends with the chunk there is nothing to be read.
TEST(ElementKind, ANameMayBeEmptyAtTheEndOfItsChunk) {
  EvtxBuilder log;
  log.AddRecord({.raw_body = support::Hex("0F010100 01 00000000 F8FF0000 03 00 0000000000")});
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    const Kept kept = Read(log, policy);
    EXPECT_EQ(kept.kinds, 1U);
    EXPECT_EQ(kept.values.at(0), Values{});
  }
}

}  // namespace
}  // namespace tarnlex
