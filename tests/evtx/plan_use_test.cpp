#include "evtx/plan_use.h"

#include <gtest/gtest.h>

#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::Element;
using support::EvtxBuilder;
using support::InstanceFragment;
using support::MakeTemplate;
using support::Slot;
using support::StringValue;
using support::Value;

support::Record WithText(Value value) {
  const auto shared = MakeTemplate(
      "shared", {Element("Event", {}, {Element("A", {}, {Slot(0, support::kString)})})});
  return {.body = InstanceFragment(shared, {std::move(value)})};
}

// For each record of a log that is read again, whether it uses the plan as the first one does.
std::vector<bool> LikeTheFirst(const EvtxBuilder& log, bool keeps = true) {
  EvtxDecoder decoder;
  decoder.keeps = keeps;
  std::vector<bool> like;
  PlanUse use;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    PlanOf(with, event);
    if (event.record_id == 1) use = UseOf(with, event);
    const bool is_alike = use.key.own && UsedKey(with, event) == use.key && IsUsedBy(use, event);
    EXPECT_FALSE(is_alike && event.plan == &event.own_plan);
    like.push_back(is_alike);
  };
  const support::ByteString chunks = log.BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
  like.clear();
  WalkSlots(decoder, chunks, 4096, handlers);
  return like;
}

TEST(PlanUse, IsThatOfRecordsOfTheSameKind) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .data = {{"User", "alice"}}});
  log.AddEvent({.event_id = 4625, .data = {{"User", "a much longer name"}}});
  log.AddEvent({.event_id = 4624, .data = {{"Host", "alice"}}});
  log.AddRecord(WithText(StringValue("alice")));
  EXPECT_EQ(LikeTheFirst(log), (std::vector<bool>{true, true, false, false}));
  EXPECT_EQ(LikeTheFirst(log, false), (std::vector<bool>(4)));
}

// What a text costs that ends at its zero byte shows in looking at it.
TEST(PlanUse, IsNotToldOfRecordsWithSingleByteTexts) {
  EvtxBuilder log;
  log.AddRecord(WithText(StringValue("alice")));
  log.AddRecord(WithText(support::AnsiStringValue("alice")));
  log.AddRecord(WithText(StringValue("bob")));
  EXPECT_EQ(LikeTheFirst(log), (std::vector<bool>{true, false, true}));
}

// The second record's text reaches into the third, and is more than it may say for itself.
TEST(PlanUse, IsNotThatOfARecordThatCannotPayForIt) {
  EvtxBuilder log;
  Value far = StringValue("x");
  far.stated_size = 50'000;
  log.AddRecord(WithText(StringValue("alice")));
  log.AddRecord(WithText(far));
  log.AddRecord(WithText(StringValue(std::string(26'000, 'x'))));
  EXPECT_EQ(LikeTheFirst(log), (std::vector<bool>{true, false, true}));
}

// A name that a value gives belongs to one record.
TEST(PlanUse, IsNoneOfAPlanThatServesOneRecord) {
  EvtxBuilder log;
  const auto named = MakeTemplate(
      "named", {Element("Data", {support::Attribute("Name", Slot(0, support::kString))},
                        {Slot(0, support::kString)})});
  log.AddRecord({.body = InstanceFragment(named, {StringValue("a")})});
  log.AddRecord({.body = InstanceFragment(named, {StringValue("a")})});
  EXPECT_EQ(LikeTheFirst(log), (std::vector<bool>(2)));
}

}  // namespace
}  // namespace tarnlex
