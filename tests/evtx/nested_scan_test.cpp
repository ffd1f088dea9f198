#include "evtx/nested_scan.h"

#include <gtest/gtest.h>

#include "tests/evtx/decoding.h"
#include "tests/evtx/nesting.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Element;
using support::EvtxBuilder;
using support::Fragment;
using support::Instance;
using support::InstanceFragment;
using support::InstanceValue;
using support::MakeTemplate;
using support::OptionalSlot;
using support::Slot;
using support::StringValue;
using support::Template;
using support::Value;

Template Inner() { return MakeTemplate("inner", {Element("I", {}, {Slot(0, support::kString)})}); }
Template Outer() {
  return MakeTemplate("outer", {Element("O", {}, {OptionalSlot(0, support::kBinaryXml)})});
}
Instance InnerInstance(std::string_view text) {
  Instance instance;
  instance.definition = Inner();
  instance.values = {StringValue(text)};
  return instance;
}

// A log whose chunk names no template; the first record holds `first`, the second is an instance of
// the inner template, whose definition stands in the first.
DecodedLog DecodeSecondByTheFirst(std::vector<Value> first, Template outer = Outer()) {
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(std::move(outer), std::move(first))});
  log.AddRecord({.body = InstanceFragment(Inner(), {StringValue("second")})});
  ByteString chunks = log.BuildChunks();
  ClearTemplateTable(chunks);
  return DecodeChunks(chunks, true);
}

TEST(NestedScan, MakesNestedTemplatesKnownToLaterRecords) {
  for (const bool header : {true, false}) {
    const DecodedLog decoded =
        DecodeSecondByTheFirst({InstanceValue(InnerInstance("first"), header)});
    ASSERT_EQ(decoded.records.size(), 2U);
    EXPECT_EQ(decoded.records[0].values, (Values{{"I", "first"}}));
    EXPECT_EQ(decoded.records[1].values, (Values{{"I", "second"}}));
    EXPECT_EQ(CountFaults(decoded.account), 0U);
  }
}

TEST(NestedScan, ReachesTemplatesAtAnyDepth) {
  Instance middle;
  middle.definition = MakeTemplate("middle", {Element("M", {}, {Slot(0, support::kBinaryXml)})});
  middle.values = {InstanceValue(InnerInstance("first"))};
  const DecodedLog decoded = DecodeSecondByTheFirst({InstanceValue(middle)});
  EXPECT_EQ(decoded.records.at(1).values, (Values{{"I", "second"}}));
}

TEST(NestedScan, RegistersNothingWhenAnArrayCannotBeWalked) {
  Instance broken = InnerInstance("x");
  broken.definition = MakeTemplate("broken", {Element("B")});
  broken.values.assign(29, support::ByteValue(1));
  const DecodedLog decoded =
      DecodeSecondByTheFirst({InstanceValue(InnerInstance("first")), InstanceValue(broken)});
  ASSERT_EQ(decoded.records.size(), 2U);
  EXPECT_EQ(decoded.records[0].values.at("I"), "first");
  EXPECT_EQ(decoded.records[1].values, Values{});
  EXPECT_TRUE(Contains(decoded.trace, "prob accessing template, aborting\n"));
}

TEST(NestedScan, PassesOverBinaryXmlThatIsNoInstance) {
  const DecodedLog decoded =
      DecodeSecondByTheFirst({support::ElementsValue({Element("P", {}, {support::Text("p")})}),
                              support::RawValue(support::kBinaryXml, {}),
                              support::RawValue(support::kBinaryXml, {0x05, 0x0C}),
                              InstanceValue(InnerInstance("first"))});
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"P", "p"}, {"I", "first"}}));
  EXPECT_EQ(decoded.records.at(1).values, (Values{{"I", "second"}}));
}

TEST(NestedScan, KeepsWhatItListedAboveTheBoundOnNesting) {
  EvtxBuilder log;
  log.AddRecord({.body = NestedFragment(18)});
  Fragment known;
  known.instance.push_back(NestedInstances(1, 1));
  log.AddRecord({.body = known});
  ByteString chunks = log.BuildChunks();
  ClearTemplateTable(chunks);
  const DecodedLog decoded = DecodeChunks(chunks);
  ASSERT_EQ(decoded.records.size(), 2U);
  EXPECT_EQ(decoded.records[1].values, (Values{{"L1", "x"}, {"W", kUnresolvedText}}));
}

TEST(NestedScan, NumbersWhatItRegistersByTheRecord) {
  EvtxBuilder log;
  log.AddRecord({.id = 0x500000003,
                 .body = InstanceFragment(Outer(), {InstanceValue(InnerInstance("first"))})});
  ByteString chunks = log.BuildChunks();
  ClearTemplateTable(chunks);
  EvtxDecoder decoder;
  EvtxHandlers handlers;
  handlers.record = [](EvtxDecoder&, DecodedEvent&) {};
  WalkSlots(decoder, chunks, 4096, handlers);
  ASSERT_EQ(decoder.chunk.templates.size(), 2U);
  const TemplateRef& outer = decoder.chunk.templates.at(Outer().guid);
  EXPECT_EQ(outer.origin_index, 0x10000000U + 1);  // the number that the walk counts
  EXPECT_EQ(outer.chunk_offset, 512U + 38);
  EXPECT_EQ(outer.definition_file_offset, 4096U + 512 + 38);
  EXPECT_EQ(outer.chunk_file_offset, 4096U);
  const TemplateRef& inner = decoder.chunk.templates.at(Inner().guid);
  EXPECT_EQ(inner.origin_index, 0x20000000U + 3);  // the record's identifier, its low half
  EXPECT_EQ(inner.data_size, support::GetU32(chunks, inner.chunk_offset + 20));
}

void PutInstance(ByteString& to, std::uint32_t definition) {
  support::PutBytes(to, {0x0C, 0x01, 0, 0, 0, 0});
  support::PutU32(to, definition);
}

void PutDescriptor(ByteString& to, std::size_t size, std::uint8_t type) {
  support::PutU16(to, static_cast<std::uint16_t>(size));
  support::PutBytes(to, {type, 0});
}

// Whether the scan comes to the last of a record's values, where each of the others leads to the
// same stretch of so many instances, which have no values.
bool ReachesTheLast(std::size_t instances) {
  constexpr std::uint32_t kDefinition = 60'000;
  constexpr std::uint32_t kOfLast = 60'100;
  constexpr std::uint32_t kLeading = 27;
  constexpr std::size_t kLeadingSize = 22;
  constexpr std::size_t kEmptySize = 14;
  ByteString body = support::Hex("0F010100");
  PutInstance(body, kDefinition);
  support::PutU32(body, kLeading + 1);
  for (std::uint32_t i = 0; i < kLeading; ++i) {
    PutDescriptor(body, kLeadingSize, support::kBinaryXml);
  }
  PutDescriptor(body, kEmptySize, support::kBinaryXml);
  for (std::size_t left = kLeading; left-- > 0;) {
    PutInstance(body, kDefinition);
    support::PutU32(body, 2);
    PutDescriptor(body, left * kLeadingSize + kEmptySize, support::kBinary);
    PutDescriptor(body, instances * kEmptySize, support::kBinaryXml);
  }
  for (std::size_t i = 0; i <= instances; ++i) {
    PutInstance(body, i == 0 ? kOfLast : kDefinition);
    support::PutU32(body, 0);
  }
  body.resize(body.size() + 8);
  EvtxBuilder log;
  log.AddRecord({.raw_body = body});
  ByteString chunks = log.BuildChunks();
  const Guid guid = support::GuidFor("last");
  support::SetBytes(chunks, kOfLast + kDefinitionGuidField, {guid.begin(), guid.end()});
  EvtxDecoder decoder;
  EvtxHandlers handlers;
  handlers.record = [](EvtxDecoder&, DecodedEvent&) {};
  WalkSlots(decoder, chunks, 4096, handlers);
  return decoder.chunk.templates.contains(guid);
}

TEST(NestedScan, InstancesWithoutValuesCostToo) {
  EXPECT_TRUE(ReachesTheLast(100));
  EXPECT_FALSE(ReachesTheLast(4000));  // more than 65,536 of them in all
}

}  // namespace
}  // namespace tarnlex
