#include "evtx/record.h"

#include <gtest/gtest.h>

#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::Attribute;
using support::ByteString;
using support::Element;
using support::ElementsFragment;
using support::EvtxBuilder;
using support::InstanceFragment;
using support::MakeTemplate;
using support::OptionalSlot;
using support::Slot;
using support::StringValue;
using support::Text;
using support::Value;

std::uint64_t EventIdOf(std::vector<support::Node> body, std::vector<Value> values = {}) {
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(MakeTemplate("t", std::move(body)), std::move(values))});
  return Decode(log).records.at(0).event_id;
}

std::uint64_t EventIdText(const Value& value) {
  return EventIdOf({Element("EventID", {}, {Slot(0, value.type)})}, {value});
}

TEST(Record, GivesTheNamedValuesOfAnEvent) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 4624,
                .version = 2,
                .level = 4,
                .user_sid = "S-1-5-18",
                .data = {{"TargetUserName", "alice"}, {"LogonType", support::UInt32Value(3)}}});
  const DecodedLog decoded = Decode(log);
  ASSERT_EQ(decoded.records.size(), 1U);
  const DecodedRecord& record = decoded.records[0];
  EXPECT_EQ(record.event_id, 4624U);
  EXPECT_EQ(record.record_id, 1U);
  EXPECT_EQ(record.written_time, support::Filetime(2016, 7, 8, 18, 12, 52));
  EXPECT_EQ(record.file_offset, 4096U + 512);
  Values expected = {{"xmlns", "http://schemas.microsoft.com/win/2004/08/events/event"},
                     {"Provider Name", "Microsoft-Windows-Security-Auditing"},
                     {"Provider Guid", "54849625-5478-4994-a5ba-3e3b0328c30d"},
                     {"EventID", "4624"},
                     {"Qualifiers", kUnresolvedText},
                     {"Version", "2"},
                     {"Level", "4"},
                     {"Task", "0"},
                     {"Opcode", "0"},
                     {"Keywords", "0x8020000000000000"},
                     {"SystemTime", "07/08/2016 18:12:52.000000000"},
                     {"EventRecordID", "1"},
                     {"ActivityID", kUnresolvedText},
                     {"RelatedActivityID", kUnresolvedText},
                     {"ProcessID", "456"},
                     {"ThreadID", "460"},
                     {"Channel", "Security"},
                     {"Computer", "WKS-ALPHA"},
                     {"UserID", "S-1-5-18"},
                     {"TargetUserName", "alice"},
                     {"LogonType", "3"}};
  EXPECT_EQ(record.values, expected);
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

TEST(Record, SignatureAndSizeCopyAreNotChecked) {
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(MakeTemplate("t", {Element("E", {}, {Text("x")})}), {}),
                 .signature = 0xDEADBEEF,
                 .size_copy = 7});
  EXPECT_EQ(Decode(log).records.at(0).values, (Values{{"E", "x"}}));
}

TEST(Record, EventIdIsTheLeadingDigitsOfItsText) {
  EXPECT_EQ(EventIdText(support::UInt16Value(4624)), 4624U);
  EXPECT_EQ(EventIdText(support::UInt32Value(0x12345678)), 0x12345678U);
  EXPECT_EQ(EventIdText(StringValue("12ab")), 12U);
  EXPECT_EQ(EventIdText(StringValue("ab12")), 0U);
  EXPECT_EQ(EventIdText(support::HexInt32Value(0x1F)), 0U);
  EXPECT_EQ(EventIdText(support::Int16Value(-5)), 0U);
  EXPECT_EQ(EventIdText(support::NullValue()), 0U);
  EXPECT_EQ(EventIdText(support::RawValue(support::kUInt16, {7})), 0U);
}

TEST(Record, EventIdMayBeLiteralMixedOrMissing) {
  EXPECT_EQ(EventIdOf({Element("EventID", {}, {Text("77")})}), 77U);
  EXPECT_EQ(EventIdOf({Element("EventID", {}, {Text("7"), Slot(0, support::kByte)})},
                      {support::ByteValue(8)}),
            78U);
  EXPECT_EQ(
      EventIdOf({Element("EventID", {}, {Slot(5, support::kUInt16)})}, {support::UInt16Value(9)}),
      0U);
  EXPECT_EQ(EventIdOf({Element("Other", {}, {Text("77")})}), 0U);
  EXPECT_EQ(EventIdOf({Element("EventID", {}, {OptionalSlot(0, support::kUInt16)})},
                      {support::NullValue()}),
            0U);
}

TEST(Record, EventIdIsTheFirstValueOfThatNameWhereverItStands) {
  // Inside a nested instance that stands before the element.
  support::Instance inner;
  inner.definition = MakeTemplate("inner", {Element("EventID", {}, {Text("5")})});
  EXPECT_EQ(EventIdOf({Element("A", {}, {Slot(0, support::kBinaryXml)}),
                       Element("EventID", {}, {Slot(1, support::kUInt16)})},
                      {support::InstanceValue(inner), support::UInt16Value(6)}),
            5U);
  // Under a name that is made of slots.
  EXPECT_EQ(EventIdOf({Element("Data", {Attribute("Name", Slot(0, support::kString))}, {Text("4")}),
                       Element("EventID", {}, {Slot(1, support::kUInt16)})},
                      {StringValue("EventID"), support::UInt16Value(6)}),
            4U);
  // As an attribute.
  EXPECT_EQ(EventIdOf({Element("A", {Attribute("EventID", "3")}),
                       Element("EventID", {}, {Slot(0, support::kUInt16)})},
                      {support::UInt16Value(6)}),
            3U);
}

TEST(Record, TakesTwentyEightValuesAndNotOneMore) {
  const std::vector<support::Node> body = {Element("L", {}, {Text("literal")}),
                                           Element("E", {}, {Slot(27, support::kByte)})};
  EXPECT_EQ(ValuesOf(body, std::vector<Value>(28, support::ByteValue(9))),
            (Values{{"L", "literal"}, {"E", "9"}}));
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(MakeTemplate("t", body),
                                          std::vector<Value>(29, support::ByteValue(9)))});
  const DecodedLog decoded = Decode(log, true);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"L", "literal"}}));
  EXPECT_TRUE(Contains(decoded.trace, "prob parsing slot data first, continuing\n"));
  EXPECT_EQ(Count(decoded.account, RecordFault::kUnreadableValues), 1U);
}

TEST(Record, ValuesThatPassTheChunkAreLeftOut) {
  EvtxBuilder log;
  Value passing = StringValue("b");
  passing.stated_size = 0xFFFF;
  log.AddRecord(
      {.body = InstanceFragment(MakeTemplate("t", {Element("A", {}, {Slot(0, support::kString)}),
                                                   Element("B", {}, {Slot(1, support::kString)})}),
                                {StringValue("a"), passing})});
  const DecodedLog decoded = Decode(log, true);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"A", "a"}}));
  EXPECT_FALSE(Contains(decoded.trace, "prob parsing"));
  EXPECT_EQ(Count(decoded.account, RecordFault::kValuesCut), 1U);
}

TEST(Record, OfPlainElementsIsWalkedAsElements) {
  EvtxBuilder log;
  log.AddRecord({.body = ElementsFragment({Element(
                     "Event", {Attribute("xmlns", "u")},
                     {Element("EventID", {}, {Text("20")}), Element("Data", {}, {Text("x")})})})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(decoded.records.at(0).values,
            (Values{{"xmlns", "u"}, {"EventID", "20"}, {"Data", "x"}}));
  EXPECT_EQ(decoded.records[0].event_id, 20U);
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

TEST(Record, OfPlainElementsIsNotSubjectToTheTemplateOffset) {
  // What would be the template offset is part of the element and of its name here.
  EvtxBuilder log;
  ByteString body = support::Hex("0F010100 01 20000000");
  support::PutU32(body, 512 + 24 + 13);
  support::PutBytes(body, support::Hex("EE000000 0000 0100 4500 0000"
                                       "02 05 01 0100 7800 04 00"));
  log.AddRecord({.raw_body = body});
  ByteString chunks = log.BuildChunks();
  EXPECT_GT(support::GetU32(chunks, 512 + 34), 0x10000U);
  EXPECT_EQ(DecodeChunks(chunks).records.at(0).values, (Values{{"E", "x"}}));
}

TEST(Record, OfPlainElementsEndsBeforeTheCopyOfItsSize) {
  // Without an end token the last element is followed by the size's copy. Read as a token it would
  // be one that is not decoded, and an intact record would count as damaged.
  for (std::size_t letters = 1; letters < 40; ++letters) {
    EvtxBuilder log;
    support::ChunkImage image = log.chunk();
    image.bytes.resize(512 + 24);
    support::Fragment fragment =
        ElementsFragment({Element("E", {}, {Text(std::string(letters, 'x'))})});
    fragment.end_token = false;
    support::WriteFragment(image, fragment);
    log.AddRecord({.raw_body = ByteString(image.bytes.begin() + 512 + 24, image.bytes.end())});
    const DecodedLog decoded = Decode(log);
    EXPECT_EQ(decoded.records.at(0).values, (Values{{"E", std::string(letters, 'x')}}));
    EXPECT_EQ(CountFaults(decoded.account), 0U) << letters;
  }
}

TEST(Record, OfPlainElementsWithATinySizeHasNothingAndIsNoLimitReached) {
  EvtxBuilder log;
  log.AddRecord({.body = ElementsFragment({Element("E", {}, {Text("x")})}), .stated_size = 16});
  const DecodedLog decoded = Decode(log);
  ASSERT_GE(decoded.records.size(), 1U);
  EXPECT_EQ(decoded.records[0].values, Values{});
  EXPECT_EQ(Count(decoded.account, RecordFault::kLimit), 0U);
}

TEST(Record, WhoseSizePassesTheChunkIsDecodedWithWhatIsThere) {
  for (const bool plain : {false, true}) {
    EvtxBuilder log;
    const support::Node element = Element("E", {}, {Text("x")});
    log.AddRecord({.body = plain ? ElementsFragment({element})
                                 : InstanceFragment(MakeTemplate("t", {element}), {}),
                   .stated_size = 0xFFFFFFF0});
    log.AddEvent({.event_id = 1});
    const DecodedLog decoded = Decode(log);
    ASSERT_EQ(decoded.records.size(), 1U);
    EXPECT_EQ(decoded.records[0].values, (Values{{"E", "x"}}));
    EXPECT_EQ(decoded.account.chunks_left, 1U);
  }
}

TEST(Record, KeepsNothingOfTheRecordBefore) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .data = {{"", "one"}, {"", "two"}}});
  log.AddTemplate(MakeTemplate("hidden", {}), false);
  log.AddRecord({.body = InstanceFragment(MakeTemplate("hidden", {}), {})});
  log.AddEvent({.event_id = 4625, .data = {{"", "three"}}});
  const DecodedLog decoded = Decode(log);
  ASSERT_EQ(decoded.records.size(), 3U);
  EXPECT_EQ(decoded.records[1].values, Values{});
  EXPECT_EQ(decoded.records[1].event_id, 0U);
  EXPECT_EQ(decoded.records[2].values.at("Data"), "three");
  EXPECT_FALSE(decoded.records[2].values.contains("Data_02"));
}

TEST(Record, DecodesTheSameWithAndWithoutATrace) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 1, .data = {{"A", "1"}, {"", "2"}}});
  log.AddEvent({.provider_guid = "", .event_id = 2, .data = {{"B", support::NullValue()}}});
  log.AddRecord({.body = ElementsFragment({Element("EventID", {}, {Text("3")})})});
  const DecodedLog plain = Decode(log);
  const DecodedLog traced = Decode(log, true);
  ASSERT_EQ(plain.records.size(), 3U);
  ASSERT_EQ(traced.records.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(plain.records[i].event_id, traced.records[i].event_id);
    EXPECT_EQ(plain.records[i].values, traced.records[i].values);
  }
  EXPECT_EQ(plain.account.faults, traced.account.faults);
  EXPECT_TRUE(plain.trace.empty());
}

}  // namespace
}  // namespace tarnlex
