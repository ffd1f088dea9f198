// Records under the complete policy: long arrays, the event's own time, and templates where records
// say they are.
#include <gtest/gtest.h>

#include <algorithm>

#include "evtx/record.h"
#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::ByteString;
using support::Element;
using support::ElementsFragment;
using support::EvtxBuilder;
using support::Filetime;
using support::FileTimeValue;
using support::Instance;
using support::InstanceFragment;
using support::InstanceValue;
using support::MakeTemplate;
using support::Node;
using support::OptionalSlot;
using support::Slot;
using support::StringValue;
using support::Text;
using support::Value;

// Elements "v0", "v1", ..., one for each of `count` slots.
std::vector<Node> SlotElements(std::size_t count) {
  std::vector<Node> body;
  for (std::size_t i = 0; i < count; ++i) {
    body.push_back(Element("v" + std::to_string(i), {},
                           {Slot(static_cast<std::uint16_t>(i), support::kString)}));
  }
  return body;
}

TEST(CompleteRecord, TakesArraysOfAnyLength) {
  for (const std::size_t count : {28U, 29U, 63U, 64U, 65U, 1000U}) {
    std::vector<Value> values;
    for (std::size_t i = 0; i < count; ++i) values.push_back(StringValue("t" + std::to_string(i)));
    EvtxBuilder log;
    log.AddTemplate(MakeTemplate("t", {Element("Event", {}, SlotElements(count))}));
    for (int i = 0; i < 2; ++i) {
      log.AddRecord({.body = InstanceFragment(
                         MakeTemplate("t", {Element("Event", {}, SlotElements(count))}), values)});
    }
    const std::vector<Values> all = KeptAndFresh(log, Policy::kComplete);
    ASSERT_EQ(all.size(), 8U);
    for (const Values& found : all) {
      ASSERT_EQ(found.size(), count);
      for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        ASSERT_EQ(found.at("v" + number), "t" + number);
      }
    }
    EXPECT_EQ(CountFaults(DecodeComplete(log).account), 0U);
    EXPECT_EQ(Decode(log).records.at(0).values.empty(), count > 28);
  }
}

TEST(CompleteRecord, FindsBinaryXmlWhereverItStandsInALongArray) {
  for (const std::size_t at : {0U, 28U, 63U, 64U, 65U, 127U, 128U, 499U}) {
    Instance inner;
    inner.definition = MakeTemplate("inner", {Element("In", {}, {Slot(0, support::kString)}),
                                              Element("EventID", {}, {Text("9")})});
    inner.values = {StringValue("nested")};
    std::vector<Value> values(500, support::ByteValue(1));
    values[at] = InstanceValue(inner);
    std::vector<Node> body = {
        Element("X", {}, {Slot(static_cast<std::uint16_t>(at), support::kBinaryXml)}),
        Element("EventID", {}, {Slot(at == 3 ? 4 : 3, support::kUInt16)}),
        Element("Last", {}, {Slot(at == 498 ? 497 : 498, support::kByte)})};
    EvtxBuilder log;
    for (int i = 0; i < 2; ++i) {
      log.AddRecord({.body = InstanceFragment(MakeTemplate("t", body), values)});
    }
    for (const Values& found : KeptAndFresh(log, Policy::kComplete)) {
      // The nested identifier stands in front of the own one.
      EXPECT_EQ(found,
                (Values{{"In", "nested"}, {"EventID", "9"}, {"EventID_02", "1"}, {"Last", "1"}}))
          << at;
    }
    EXPECT_EQ(DecodeComplete(log).records.at(1).event_id, 9U) << at;
  }
}

TEST(CompleteRecord, TwoBinaryXmlValuesWhoseBitsWouldMeetAreTwo) {
  const auto instance = [](const char* text) {
    Instance inner;
    inner.definition = MakeTemplate("inner", {Element("In", {}, {Slot(0, support::kString)})});
    inner.values = {StringValue(text)};
    return InstanceValue(inner);
  };
  std::vector<Value> values(70, support::ByteValue(1));
  values[1] = instance("one");
  values[65] = instance("two");
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(
                     MakeTemplate("t", {Element("A", {}, {Slot(1, support::kBinaryXml)}),
                                        Element("B", {}, {Slot(65, support::kBinaryXml)})}),
                     values)});
  for (const Values& found : KeptAndFresh(log, Policy::kComplete)) {
    EXPECT_EQ(found, (Values{{"In", "one"}, {"In_02", "two"}}));
  }
}

TEST(CompleteRecord, NestedArraysMayBeLongToo) {
  Instance inner;
  inner.definition = MakeTemplate("inner", SlotElements(40));
  inner.values = std::vector<Value>(40, StringValue("x"));
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(
                     MakeTemplate("t", {Element("N", {}, {Slot(0, support::kBinaryXml)})}),
                     {InstanceValue(inner)})});
  EXPECT_EQ(DecodeComplete(log).records.at(0).values.size(), 40U);
  EXPECT_EQ(Decode(log).records.at(0).values.size(), 0U);
}

// An event that states `time`, in a record whose header says 2016-07-08 18:12:52.
DecodedRecord RecordOf(Node time, std::vector<Value> values,
                       std::uint64_t header = Filetime(2016, 7, 8, 18, 12, 52)) {
  EvtxBuilder log;
  const Node event =
      Element("Event", {}, {Element("TimeCreated", {Attribute("SystemTime", time)})});
  log.AddRecord({.time = header, .body = InstanceFragment(MakeTemplate("t", {event}), values)});
  return DecodeComplete(log).records.at(0);
}

TEST(CompleteRecord, TheTimeIsTheEventsOwn) {
  const std::uint64_t own = Filetime(2015, 1, 2, 3, 4, 5);
  const DecodedRecord record = RecordOf(Slot(0, support::kFileTime), {FileTimeValue(own)});
  EXPECT_EQ(record.time, own);
  EXPECT_EQ(record.written_time, Filetime(2016, 7, 8, 18, 12, 52));
  EXPECT_EQ(RecordOf(Text("2015-01-02T03:04:05.0000000Z"), {}).time, own);
  EXPECT_EQ(RecordOf(Slot(0, support::kString), {StringValue("2015-01-02T03:04:05Z")}).time, own);
}

TEST(CompleteRecord, WithoutATimeOfItsOwnTheHeadersIsTaken) {
  const std::uint64_t header = Filetime(2016, 7, 8, 18, 12, 52);
  EXPECT_EQ(RecordOf(OptionalSlot(0, support::kFileTime), {support::NullValue()}).time, header);
  EXPECT_EQ(RecordOf(Slot(5, support::kFileTime), {FileTimeValue(1)}).time, header);
  EXPECT_EQ(RecordOf(Slot(0, support::kFileTime), {FileTimeValue(0)}).time, header);
  EXPECT_EQ(RecordOf(Slot(0, support::kFileTime), {FileTimeValue(~std::uint64_t{0})}).time, header);
  EXPECT_EQ(
      RecordOf(Slot(0, support::kFileTime), {support::RawValue(support::kFileTime, {1, 2, 3})})
          .time,
      header);
  EXPECT_EQ(RecordOf(Text("yesterday"), {}).time, header);
  EXPECT_EQ(RecordOf(Text(""), {}).time, header);
}

TEST(CompleteRecord, AHeaderWithoutATimeDoesNotMatter) {
  ByteString chunks;
  {
    EvtxBuilder log;
    log.AddEvent({.event_id = 1, .time = Filetime(2015, 1, 2, 3, 4, 5)});
    chunks = log.BuildChunks();
  }
  support::SetU64(chunks, 512 + 16, 0);
  const DecodedLog complete = DecodeChunks(chunks, false, 4096, false, Policy::kComplete);
  EXPECT_EQ(complete.records.at(0).time, Filetime(2015, 1, 2, 3, 4, 5));
  EXPECT_EQ(complete.account.other_times, 1U);
  EXPECT_EQ(DecodeChunks(chunks).records.at(0).time, 0U);
}

TEST(CompleteRecord, TimesThatAreASecondApartAreCounted) {
  const std::uint64_t header = Filetime(2016, 7, 8, 18, 12, 52);
  constexpr std::uint64_t kSecond = 10'000'000;
  for (const std::uint64_t own : {header, header + kSecond - 1, header - kSecond + 1}) {
    EvtxBuilder log;
    log.AddEvent({.event_id = 1, .time = own});
    ByteString chunks = log.BuildChunks();
    support::SetU64(chunks, 512 + 16, header);
    EXPECT_EQ(DecodeChunks(chunks, false, 4096, false, Policy::kComplete).account.other_times, 0U);
  }
  for (const std::uint64_t own : {header + kSecond, header - kSecond}) {
    EvtxBuilder log;
    log.AddEvent({.event_id = 1, .time = own});
    ByteString chunks = log.BuildChunks();
    support::SetU64(chunks, 512 + 16, header);
    EXPECT_EQ(DecodeChunks(chunks, false, 4096, false, Policy::kComplete).account.other_times, 1U);
    EXPECT_EQ(DecodeChunks(chunks).account.other_times, 0U);
  }
}

TEST(CompleteRecord, TheTimeOfANestedEventIsNotTakenForTheOwnOne) {
  const std::uint64_t own = Filetime(2015, 1, 2, 3, 4, 5);
  Instance inner;
  inner.definition = MakeTemplate(
      "inner", {Element("Other", {Attribute("SystemTime", Slot(0, support::kFileTime))})});
  inner.values = {FileTimeValue(Filetime(2001, 1, 1, 0, 0, 0))};
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("t", {Element("N", {}, {Slot(0, support::kBinaryXml)}),
                              Element("TimeCreated",
                                      {Attribute("SystemTime", Slot(1, support::kFileTime))})}),
           {InstanceValue(inner), FileTimeValue(own)})});
  EXPECT_EQ(DecodeComplete(log).records.at(0).time, own);
}

TEST(CompleteRecord, EventsWithoutATemplateHaveTheirTimeToo) {
  EvtxBuilder log;
  log.AddRecord(
      {.body = ElementsFragment({Element(
           "Event", {},
           {Element("TimeCreated", {Attribute("SystemTime", "2015-01-02T03:04:05.5Z")})})})});
  EXPECT_EQ(DecodeComplete(log).records.at(0).time, Filetime(2015, 1, 2, 3, 4, 5) + 5'000'000);
}

// The chunk's table names another definition of the same GUID; the record states where its own is.
TEST(CompleteRecord, TheTemplateIsTheOneThatTheRecordStates) {
  EvtxBuilder log;
  support::Template other =
      MakeTemplate("same", {Element("Other", {}, {Text("longer than that")})});
  log.AddTemplate(other);
  Instance own;
  own.definition = MakeTemplate("same", {Element("Own", {}, {Text("own")})});
  own.repeat_definition = true;
  support::Fragment body;
  body.instance.push_back(own);
  log.AddRecord({.body = body});
  EXPECT_EQ(DecodeComplete(log).records.at(0).values, (Values{{"Own", "own"}}));
  EXPECT_EQ(CountFaults(DecodeComplete(log).account), 0U);
}

TEST(CompleteRecord, ATemplateThatNoTableNamesIsFoundByItsOffset) {
  const support::Template definition =
      MakeTemplate("t", {Element("E", {}, {Slot(0, support::kString)})});
  EvtxBuilder log;
  log.AddTemplate(definition, false);
  log.AddRecord({.body = InstanceFragment(definition, {StringValue("x")})});
  ByteString chunks = log.BuildChunks();
  ClearTemplateTable(chunks);
  EXPECT_EQ(DecodeChunks(chunks, false, 4096, false, Policy::kComplete).records.at(0).values,
            (Values{{"E", "x"}}));
}

// A definition that has been overwritten has another beginning than the record states. What it
// called the values is gone, the values are not.
TEST(CompleteRecord, AForeignDefinitionAtTheStatedOffsetIsNotTaken) {
  const support::Template definition =
      MakeTemplate("t", {Element("E", {}, {Slot(0, support::kString)})});
  EvtxBuilder log;
  const std::uint32_t offset = log.AddTemplate(definition, false);
  log.AddRecord({.body = InstanceFragment(definition, {StringValue("x")})});
  ByteString chunks = log.BuildChunks();
  ClearTemplateTable(chunks);
  support::FlipByte(chunks, offset + 4);
  const DecodedLog decoded = DecodeChunks(chunks, false, 4096, false, Policy::kComplete);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"Data", "x"}}));
  EXPECT_EQ(Count(decoded.account, RecordFault::kNoNames), 1U);
}

// The same of an instance inside of the values, however many records before it were of the kind.
TEST(CompleteRecord, AForeignDefinitionInsideOfValuesIsNotTakenForThoseBefore) {
  const support::Template outer =
      MakeTemplate("o", {Element("Event", {}, {OptionalSlot(0, support::kBinaryXml)})});
  const support::Template inner =
      MakeTemplate("i", {Element("E", {}, {Slot(0, support::kString)})});
  EvtxBuilder log;
  for (const char* text : {"one", "two"}) {
    log.AddRecord({.body = InstanceFragment(outer, {support::InstanceValue(support::Instance{
                                                       inner, {StringValue(text)}})})});
  }
  ByteString chunks = log.BuildChunks();
  // The instance of the second record states another beginning.
  const ByteString id(inner.guid.begin(), inner.guid.begin() + 4);
  const auto last = std::find_end(chunks.begin(), chunks.end(), id.begin(), id.end());
  support::FlipByte(chunks, static_cast<std::size_t>(last - chunks.begin()));
  for (const bool keeps : {true, false}) {
    EvtxDecoder decoder;
    decoder.keeps = keeps;
    decoder.policy = Policy::kComplete;
    std::vector<Values> values;
    EvtxHandlers handlers;
    handlers.record = [&values](EvtxDecoder& with, DecodedEvent& event) {
      values.push_back(Collect(with, event).values);
    };
    WalkSlots(decoder, chunks, 4096, handlers);
    EXPECT_EQ(values, (std::vector<Values>{{{"E", "one"}}, {{"Data", "two"}}}));
    EXPECT_EQ(Count(decoder.account, RecordFault::kNoNames), 1U);
  }
}

}  // namespace
}  // namespace tarnlex
