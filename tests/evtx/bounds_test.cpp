// What a crafted record may cost, and what it still gives.
#include <gtest/gtest.h>

#include <chrono>

#include "evtx/record.h"
#include "tests/evtx/decoding.h"
#include "tests/evtx/nesting.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Element;
using support::EvtxBuilder;
using support::InstanceFragment;
using support::MakeTemplate;
using support::Node;
using support::Slot;
using support::StringValue;
using support::Text;

// Generous for a slow machine and for sanitizers; without its bound each of these tests would take
// minutes or ages.
constexpr auto kPatience = std::chrono::seconds(20);

struct Stopwatch {
  std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
  ~Stopwatch() { EXPECT_LT(std::chrono::steady_clock::now() - begin, kPatience); }
};

TEST(Bounds, ArraysThatMultiplyEndAndKeepTheEvent) {
  const Stopwatch watch;
  EvtxBuilder log;
  log.AddRecord({.raw_body = ExplodingBody(512, 16)});
  log.AddEvent({.event_id = 4624, .data = {{"A", "a"}}});
  const DecodedLog decoded = Decode(log);
  ASSERT_EQ(decoded.records.size(), 2U);
  EXPECT_EQ(decoded.records[0].values, (Values{{"EventID", "7"}}));
  EXPECT_EQ(decoded.records[0].event_id, 7U);
  EXPECT_EQ(decoded.records[1].values.at("A"), "a");
  EXPECT_EQ(Count(decoded.account, RecordFault::kLimit), 1U);
}

TEST(Bounds, ChunksFullOfMultiplyingArraysEndToo) {
  const Stopwatch watch;
  ByteString chunks;
  for (int i = 0; i < 20; ++i) {
    EvtxBuilder log;
    // Every eight bytes of the body serve as a record of their own.
    log.AddRecord({.raw_body = ExplodingBody(512, 16)});
    ByteString chunk = log.BuildChunks();
    support::SetU64(chunk, 16, 100'000);
    support::PutBytes(chunks, chunk);
  }
  EXPECT_EQ(DecodeChunks(chunks).account.chunks, 20U);
}

TEST(Bounds, FewArraysStayWithinTheWork) {
  EvtxBuilder log;
  log.AddRecord({.raw_body = ExplodingBody(512, 3)});  // 28 + 28^2 + 28^3 values
  EXPECT_EQ(Count(Decode(log).account, RecordFault::kLimit), 0U);
  EvtxBuilder more;
  more.AddRecord({.raw_body = ExplodingBody(512, 4)});
  EXPECT_EQ(Count(Decode(more).account, RecordFault::kLimit), 1U);
}

// Elements named "aaa", "aab", ... whose texts repeat slot 0 `repeats` times each.
std::vector<Node> Repeating(int elements, int repeats, std::uint8_t type) {
  std::vector<Node> body;
  for (int i = 0; i < elements; ++i) {
    const std::string name = {'a', static_cast<char>('a' + i / 16),
                              static_cast<char>('a' + i % 16)};
    body.push_back(
        Element(name, {}, std::vector<Node>(static_cast<std::size_t>(repeats), Slot(0, type))));
  }
  body.push_back(Element("Z", {}, {Text("last")}));
  return body;
}

std::size_t TotalText(const Values& values) {
  std::size_t total = 0;
  for (const auto& [name, text] : values) total += text.size();
  return total;
}

TEST(Bounds, TheTextOfOneRecordIsAtMost16MiB) {
  const std::string large(15'000, 'x');
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(MakeTemplate("t", Repeating(140, 8, support::kString)),
                                          {StringValue(large)})});
  const DecodedLog decoded = Decode(log);
  const Values& values = decoded.records.at(0).values;
  EXPECT_EQ(TotalText(values), 15'000 * (kMaxRecordText / 15'000) + 4);
  EXPECT_EQ(values.size(), 141U);
  EXPECT_EQ(values.at("aaa").size(), 120'000U);
  EXPECT_EQ(values.at("Z"), "last");
  EXPECT_EQ(Count(decoded.account, RecordFault::kLimit), 1U);
}

TEST(Bounds, TextBelow16MiBIsKeptWhole) {
  const std::string large(15'000, 'x');
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(MakeTemplate("t", Repeating(139, 8, support::kString)),
                                          {StringValue(large)})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(TotalText(decoded.records.at(0).values), 15'000U * 8 * 139 + 4);
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

TEST(Bounds, SingleByteTextBelow16MiBIsKeptWhole) {
  EvtxBuilder log;
  ByteString text(30'000, 'x');
  text.push_back(0);
  log.AddRecord(
      {.body = InstanceFragment(MakeTemplate("t", Repeating(100, 4, support::kAnsiString)),
                                {support::RawValue(support::kAnsiString, text)})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(TotalText(decoded.records.at(0).values), 30'000U * 4 * 100 + 4);
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

TEST(Bounds, ARecordMayHaveThousandsOfNamesMadeOfValues) {
  std::vector<Node> body(1700, Element("Data", {Attribute("Name", Slot(0, support::kByte))},
                                       {Slot(1, support::kByte)}));
  body.push_back(Element("Z", {}, {Text("last")}));
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(MakeTemplate("t", body),
                                          {support::ByteValue(5), support::ByteValue(6)})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"5", "6"}, {"Z", "last"}}));
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

// Far below what one record may have, but ten times as much as a chunk of other logs costs.
TEST(Bounds, AChunkFullOfRecordsOfThousandsOfTokensKeepsAllValues) {
  std::vector<Node> body;
  for (int i = 0; i < 600; ++i)
    body.push_back(Element("n" + std::to_string(i), {}, {Slot(0, support::kString)}));
  const auto shared = MakeTemplate("shared", {Element("Event", {}, body)});
  EvtxBuilder log;
  log.AddTemplate(shared);
  std::size_t records = 0;
  for (; log.NextRecordOffset() < 30'000; ++records) {
    log.AddRecord({.body = InstanceFragment(shared, {StringValue(std::to_string(records))})});
  }
  ASSERT_GT(records, 400U);
  const DecodedLog decoded = Decode(log);
  ASSERT_EQ(decoded.records.size(), records);
  for (std::size_t i = 0; i < records; ++i) {
    ASSERT_EQ(decoded.records[i].values.size(), 600U) << "record " << i;
    EXPECT_EQ(decoded.records[i].values.at("n599"), std::to_string(i));
  }
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

// A long text that stands in the template once is no repetition, however many records say it.
TEST(Bounds, AChunkFullOfRecordsKeepsTheTextThatTheirTemplateSays) {
  const std::string text(20'000, 'x');
  const auto shared = MakeTemplate("shared", {Element("A", {}, {Text(text)})});
  EvtxBuilder log;
  log.AddTemplate(shared);
  std::size_t records = 0;
  for (; log.NextRecordOffset() < 24'000; ++records) {
    log.AddRecord({.body = InstanceFragment(shared, {})});
  }
  ASSERT_GT(records, 400U);
  const DecodedLog decoded = Decode(log);
  for (const DecodedRecord& record : decoded.records) ASSERT_EQ(record.values.at("A"), text);
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

// A chunk full of small records that share a definition; each repeats one value of `size` bytes,
// most of which is what stands behind the record.
void DecodeRepeats(std::uint8_t type, std::uint16_t size) {
  const Stopwatch watch;
  EvtxBuilder log;
  const auto shared = MakeTemplate("shared", Repeating(150, 50, type));
  support::Value value = support::RawValue(type, ByteString(2, 'x'));
  value.stated_size = size;
  log.AddTemplate(shared);
  std::size_t records = 0;
  for (; log.NextRecordOffset() < 20'000; ++records) {
    log.AddRecord({.body = InstanceFragment(shared, {value})});
  }
  ByteString chunks = log.BuildChunks();
  for (std::size_t i = 512; i < support::kEvtxChunkSize; ++i) {
    if (chunks[i] == 0 && i > 20'100 && i < 25'000) chunks[i] = 'x';
  }
  const DecodedLog decoded = DecodeChunks(chunks);
  ASSERT_EQ(decoded.records.size(), records);
  EXPECT_GT(TotalText(decoded.records[0].values), 0U);
  for (const DecodedRecord& record : decoded.records) {
    EXPECT_LE(TotalText(record.values), kMaxRecordText);
  }
}

TEST(Bounds, ManyRecordsThatRepeatLongStringsEnd) { DecodeRepeats(support::kString, 20'000); }

TEST(Bounds, ManyRecordsThatRepeatUnboundedStringsEnd) { DecodeRepeats(support::kAnsiString, 1); }

}  // namespace
}  // namespace tarnlex
