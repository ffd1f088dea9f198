#include "event/plan.h"

#include <gtest/gtest.h>

#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::Element;
using support::EvtxBuilder;
using support::InstanceFragment;
using support::MakeTemplate;
using support::OptionalSlot;
using support::Slot;
using support::Text;
using support::Value;

// A record of every kind that a plan is kept for, and of some that need one each.
EvtxBuilder Mixed() {
  EvtxBuilder log;
  const auto joined = MakeTemplate(
      "joined", {Element("A", {}, {Text("a "), OptionalSlot(0, support::kString), Text(" z")}),
                 Element("B", {}, {OptionalSlot(0, support::kString), Slot(1, support::kByte)}),
                 Element("C", {}, {OptionalSlot(0, support::kString)}),
                 Element("Data", {Attribute("Name", Slot(1, support::kByte))}, {Text("made")})});
  const auto parts = MakeTemplate(
      "parts",
      {Element("A", {}, {Text("a "), OptionalSlot(0, support::kString)}),
       Element("B", {}, {OptionalSlot(1, support::kString), OptionalSlot(2, support::kString)})});
  for (int i = 0; i < 6; ++i) {
    const Value text = i % 2 == 0 ? support::StringValue("text") : support::NullValue();
    log.AddEvent({.event_id = 4624, .data = {{"User", std::to_string(i)}}});
    log.AddRecord({.body = InstanceFragment(joined, {text, support::ByteValue(5)})});
    log.AddRecord({.body = InstanceFragment(parts, {text, text, support::NullValue()})});
    log.AddRecord({.body = support::ElementsFragment({Element("E", {}, {Text("x")})})});
    log.AddEvent({.event_id = 7, .data = {{"Single", support::AnsiStringValue("single")}}});
  }
  return log;
}

std::vector<Values> ValuesOfAll(const EvtxBuilder& log, bool keeps, std::size_t& plans) {
  EvtxDecoder decoder;
  decoder.keeps = keeps;
  std::vector<Values> all;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    all.push_back(Collect(with, event).values);
  };
  const support::ByteString chunks = log.BuildChunks();
  for (int i = 0; i < 2; ++i) WalkSlots(decoder, chunks, 4096, handlers);
  plans = 0;
  for (const auto& [key, plan] : decoder.store.plans) plans += plan != nullptr;
  return all;
}

TEST(Plan, KeptForAKindGivesWhatEachRecordGivesByItself) {
  std::size_t kept = 0;
  std::size_t none = 0;
  EXPECT_EQ(ValuesOfAll(Mixed(), true, kept), ValuesOfAll(Mixed(), false, none));
  // Those of the events, which differ in a name, that of "parts", and that of the elements.
  EXPECT_EQ(kept, 4U);
  EXPECT_EQ(none, 0U);
}

TEST(Plan, JoinsThePartsThatAreThereAndIsUnresolvedWithoutAny) {
  std::size_t kept = 0;
  const std::vector<Values> all = ValuesOfAll(Mixed(), true, kept);
  EXPECT_EQ(all.at(2), (Values{{"A", "a text"}, {"B", "text"}}));
  EXPECT_EQ(all.at(7), (Values{{"A", "a "}, {"B", kUnresolvedText}}));
  EXPECT_EQ(all.at(6), (Values{{"A", "a  z"}, {"B", "5"}, {"C", kUnresolvedText}, {"5", "made"}}));
}

// Of few values each, they would take a gigabyte and more with what is laid out after them.
TEST(Plan, KeptOnesHaveDocumentsOfBoundedSizeTogether) {
  std::vector<support::Node> many(2000, Element("E"));
  many.push_back(Element("N", {}, {Slot(0, support::kBinaryXml)}));
  const auto own = support::MakeTemplate("own", {Element("Event", {}, many)});
  EvtxBuilder log;
  for (int i = 0; i < 400; ++i) {
    const auto inner = support::MakeTemplate("inner" + std::to_string(i), {Element("D")});
    log.AddRecord({.body = InstanceFragment(own, {support::InstanceValue({inner, {}})})});
  }
  EvtxDecoder decoder;
  decoder.makes_documents = true;
  EvtxHandlers handlers;
  handlers.record = [](EvtxDecoder& with, DecodedEvent& event) { Collect(with, event); };
  WalkSlots(decoder, log.BuildChunks(), 4096, handlers);
  std::size_t plans = 0;
  std::size_t items = 0;
  for (const auto& [key, plan] : decoder.store.plans) {
    if (!plan) continue;
    ++plans;
    items += plan->document.items.size();
  }
  EXPECT_GT(plans, 100U);
  EXPECT_LE(items, std::size_t{1} << 20);
}

TEST(Plan, FindsTheExactNameBeforeOneThatDiffersInCase) {
  Plan plan;
  plan.values = {{"level", 0, 0}, {"LEVEL", 0, 0}, {"Level", 0, 0}};
  EXPECT_EQ(FindValue(plan, "Level"), &plan.values[2]);
  EXPECT_EQ(FindValue(plan, "lEVEL"), nullptr);
  EXPECT_EQ(FindValueNoCase(plan, "Level"), &plan.values[2]);
  EXPECT_EQ(FindValueNoCase(plan, "lEVEL"), &plan.values[1]);  // the first in name order
}

}  // namespace
}  // namespace tarnlex
