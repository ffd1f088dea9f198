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

// A text that says nothing is not left out of the plan of a record whose texts are measured: later
// records of its kind have one in that place.
TEST(Bounds, EmptyTextsOfARecordThatIsMeasuredAreNotThoseOfItsKind) {
  const auto repeats = MakeTemplate("repeats", Repeating(100, 20, support::kString));
  const auto shared = MakeTemplate("shared", {Element("A", {}, {Slot(0, support::kString)}),
                                              Element("B", {}, {Slot(1, support::kString)})});
  const auto far_reaching = [](std::uint16_t size) {
    support::Value value = support::RawValue(support::kString, ByteString(2, 'x'));
    value.stated_size = size;
    return value;
  };
  EvtxBuilder log;
  log.AddTemplate(repeats);
  log.AddTemplate(shared);
  for (int i = 0; i < 2; ++i) {  // all that the chunk has for repetitions
    log.AddRecord({.body = InstanceFragment(repeats, {far_reaching(20'000)})});
  }
  log.AddRecord({.body = InstanceFragment(shared, {StringValue(""), far_reaching(40'000)})});
  log.AddRecord({.body = InstanceFragment(
                     MakeTemplate("long", {Element("L", {}, {Slot(0, support::kBinary)})}),
                     {support::RawValue(support::kBinary, ByteString(48'000, 'x'))})});
  log.AddChunk();
  log.AddRecord({.body = InstanceFragment(shared, {StringValue("a"), StringValue("b")})});
  const DecodedLog decoded = Decode(log);
  EXPECT_GT(decoded.records.at(2).values.at("B").size(), 20'000U);
  EXPECT_EQ(decoded.records.at(4).values, (Values{{"A", "a"}, {"B", "b"}}));
}

// What a record has taken of the text that those of its chunk share, and what it gives.
struct Taken {
  std::uint64_t text = 0;
  Values values;
};

Taken TakenBySecond(Bytes chunks, bool keeps) {
  EvtxDecoder decoder;
  decoder.keeps = keeps;
  Taken taken;
  EvtxHandlers handlers;
  handlers.record = [&taken](EvtxDecoder& with, DecodedEvent& event) {
    if (event.record_id > 2) return;
    taken.values = Collect(with, event).values;
    taken.text = kMaxChunkText - with.chunk.text_left;
  };
  WalkSlots(decoder, chunks, 4096, handlers);
  return taken;
}

// Single-byte texts have no size of their own: those of the second record begin in the third, and
// say far more than there are bytes of it.
TEST(Bounds, TextsThatReachFarTakeTheSameWhetherAPlanIsKeptOrNot) {
  std::vector<Node> body{Element("First", {}, {Slot(0, support::kBinary)})};
  for (std::uint16_t i = 1; i <= 10; ++i) {
    body.push_back(Element("n" + std::to_string(i), {}, {Slot(i, support::kAnsiString)}));
  }
  const auto shared = MakeTemplate("shared", {Element("Event", {}, body)});
  EvtxBuilder log;
  for (const std::uint16_t skipped : {std::uint16_t{1}, std::uint16_t{30'000}}) {
    std::vector<support::Value> values{support::RawValue(support::kBinary, {0x01})};
    values[0].stated_size = skipped;
    for (int i = 0; i < 10; ++i) values.push_back(support::AnsiStringValue({"a", 2}));
    log.AddRecord({.body = InstanceFragment(shared, std::move(values))});
  }
  log.AddRecord({.body = InstanceFragment(
                     MakeTemplate("long", {Element("L", {}, {Slot(0, support::kBinary)})}),
                     {support::RawValue(support::kBinary, ByteString(50'000, 'x'))})});
  const ByteString chunks = log.BuildChunks();
  const Taken kept = TakenBySecond(chunks, true);
  const Taken fresh = TakenBySecond(chunks, false);
  EXPECT_GT(fresh.text, 50'000U);
  EXPECT_EQ(kept.text, fresh.text);
  EXPECT_EQ(kept.values, fresh.values);
  EXPECT_GT(kept.values.at("n10").size(), 10'000U);
}

// The body of a record at 512: an event with the identifier 7 and an array of 500 instances, each
// of which leads to one and the same array of 10,000 values.
ByteString WideBody() {
  constexpr std::uint32_t kInstances = 500;
  constexpr std::uint32_t kValues = 10'000;
  constexpr std::uint32_t kInstanceSize = 35;
  support::ChunkImage image;
  image.bytes.resize(512 + 24);
  support::Fragment own;
  own.instance.push_back(
      {.definition = MakeTemplate("own", {Element("EventID", {}, {Text("7")})})});
  support::WriteFragment(image, own);
  ByteString& bytes = image.bytes;
  bytes.erase(bytes.end() - 4, bytes.end());  // its empty array
  support::PutU32(bytes, kInstances);
  for (std::uint32_t i = 0; i < kInstances; ++i) {
    support::PutBytes(bytes, {kInstanceSize, 0, support::kBinaryXml, 0});
  }
  const std::size_t array = bytes.size() + std::size_t{kInstances} * kInstanceSize;
  for (std::uint32_t i = 0; i < kInstances; ++i) {
    // A definition that stands inline, whose body reaches to the array.
    support::PutBytes(bytes, {0x0C, 0x01, 0, 0, 0, 0});
    support::PutU32(bytes, static_cast<std::uint32_t>(bytes.size() + 4));
    support::PutBytes(bytes, ByteString(20));
    support::PutU32(bytes, static_cast<std::uint32_t>(array - bytes.size() - 4));
    support::PutU8(bytes, 0x00);
  }
  support::PutU32(bytes, kValues);
  bytes.resize(bytes.size() + std::size_t{4} * kValues);
  return {bytes.begin() + 512 + 24, bytes.end()};
}

TEST(Bounds, ArraysOfAnyLengthTakeNoMoreRoomThanARecordMayCost) {
  EvtxBuilder log;
  log.AddRecord({.raw_body = WideBody()});
  EvtxDecoder decoder;
  decoder.policy = Policy::kComplete;
  EvtxHandlers handlers;
  std::size_t room = 0;
  handlers.record = [&room](EvtxDecoder& with, DecodedEvent& event) {
    PlanOf(with, event);
    room = event.structure.slots.room.size();
    EXPECT_EQ(event.event_id, 7U);
  };
  WalkSlots(decoder, log.BuildChunks(), 4096, handlers);
  EXPECT_GT(room, 10'000U);
  EXPECT_LT(room, std::size_t{6} * kMaxRecordWork);
  EXPECT_EQ(Count(decoder.account, RecordFault::kLimit), 1U);
}

// What is no number of its type is given as bytes, which are as many as the log likes.
TEST(Bounds, BytesInPlaceOfNumbersCountAsText) {
  const support::Template greedy =
      MakeTemplate("greedy", {Element("Event", {}, Repeating(100, 1, support::kFileTime))});
  for (const std::uint8_t type :
       {support::kFileTime, support::kSid, support::kGuid, support::kSizeT, support::kNull}) {
    support::Value claim = support::RawValue(type, ByteString(8, 0xFF));
    claim.stated_size = type == support::kGuid ? 15 : 9000;
    EvtxBuilder log;
    for (int i = 0; i < 150; ++i) log.AddRecord({.body = InstanceFragment(greedy, {claim})});
    const DecodedLog decoded = DecodeComplete(log);
    std::size_t text = 0;
    for (const DecodedRecord& record : decoded.records) text += TotalText(record.values);
    EXPECT_LT(text, kMaxChunkText + 150 * (kTextSaidOnce + kTextPerByte * 100)) << int{type};
  }
}

// Two levels of repetition in front of an element of the record's own name: a thousand columns for
// some hundred bytes.
TEST(Bounds, NamesByANumberAreSoMuchInAChunk) {
  const auto nest = [](const char* name, std::size_t times, support::Instance inner) {
    support::Instance instance;
    instance.definition = MakeTemplate(
        name, {Element("E", {}, std::vector<Node>(times, Slot(0, support::kBinaryXml)))});
    instance.values = {support::InstanceValue(std::move(inner))};
    return instance;
  };
  EvtxBuilder log;
  constexpr std::size_t kRecords = 100;
  for (std::size_t i = 0; i < kRecords; ++i) {
    const std::string name = "aNameOfThisRecordAlone" + std::to_string(i + 100);
    support::Instance inner;
    inner.definition = MakeTemplate(name, {Element(name, {}, {Text("x")})});
    support::Fragment body;
    body.instance.push_back(nest("outer", 32, nest("middle", 32, std::move(inner))));
    log.AddRecord({.body = body});
  }
  ASSERT_EQ(log.BuildChunks().size(), support::kEvtxChunkSize);
  const DecodedLog decoded = DecodeComplete(log);
  std::size_t names = 0;
  for (const DecodedRecord& record : decoded.records) {
    for (const std::string& name : record.names) names += name.size();
    EXPECT_GE(record.names.size(), 1U);  // the first of the name costs nothing
  }
  EXPECT_EQ(decoded.records.at(0).names.size(), 1024U);
  EXPECT_LT(names, kMaxChunkNumberedText + kRecords * 32);
  EXPECT_GT(Count(decoded.account, RecordFault::kLimit), 50U);
  const std::vector<Values> all = KeptAndFresh(log, Policy::kComplete);
  for (std::size_t i = 0; i < all.size(); ++i) {
    ASSERT_EQ(all[i], decoded.records[i % kRecords].values) << i;
  }
}

TEST(Bounds, NumberedNamesOfAKeptPlanCostTheirChunkAsMuchAsFreshOnes) {
  const auto shared = MakeTemplate(
      "shared", {Element("Event", {},
                         std::vector<Node>(600, Element("aNameOfSomeLength", {}, {Text("x")})))});
  EvtxBuilder log;
  for (int chunk = 0; chunk < 2; ++chunk) {
    log.AddChunk();
    for (int i = 0; i < 100; ++i) {
      log.AddRecord({.body = InstanceFragment(shared, {})});
    }
  }
  const std::vector<Values> all = KeptAndFresh(log, Policy::kComplete);
  ASSERT_EQ(all.size(), 800U);
  EXPECT_EQ(all[0].size(), 600U);
  EXPECT_EQ(all[99].size(), 1U);
  for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], all[i % 100]) << i;
}

// What is kept of a log whose records are all of one template, and of a kind of their own each: how
// many values they have differs, and which of them is an instance that has values of its own.
TemplateStore KeptOfKinds(const support::Template& shared, int records,
                          Policy policy = Policy::kLiteral) {
  const auto inner = MakeTemplate("inner", {Element("I", {}, {Text("i")})});
  EvtxBuilder log;
  for (int i = 0; i < records; ++i) {
    const auto count = static_cast<std::size_t>(1 + i % 28);
    const auto place = static_cast<std::size_t>(i / 28) % count;
    std::vector<support::Value> values(count, support::NullValue());
    values[place] = support::InstanceValue(
        {inner,
         std::vector<support::Value>(static_cast<std::size_t>(i / 784), support::NullValue())});
    log.AddRecord({.body = InstanceFragment(shared, values)});
  }
  EvtxDecoder decoder;
  decoder.policy = policy;
  decoder.makes_documents = policy == Policy::kComplete;
  EvtxHandlers handlers;
  handlers.record = [](EvtxDecoder& with, DecodedEvent& event) { PlanOf(with, event); };
  const ByteString chunks = log.BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
  return std::move(decoder.store);
}

std::vector<Node> WithInstances(std::vector<Node> texts) {
  std::vector<Node> nodes{Element("A", {}, std::move(texts))};
  for (std::uint16_t slot = 0; slot < 28; ++slot) {
    nodes.push_back(support::OptionalSlot(slot, support::kBinaryXml));
  }
  return {Element("Event", {}, nodes)};
}

// A plan of few values may be large.
TEST(Bounds, PlansOfManyPartsAreFew) {
  const auto shared = MakeTemplate("shared", WithInstances(std::vector<Node>(5'000, Text("x"))));
  const TemplateStore store = KeptOfKinds(shared, 2'000);
  std::size_t parts = 0;
  for (const auto& [key, plan] : store.plans) parts += plan ? plan->parts.size() : 0;
  EXPECT_GT(parts, 100'000U);
  EXPECT_LE(parts, std::size_t{1} << 20);
}

// Layouts say names as often as their documents do.
TEST(Bounds, PlansOfLongDocumentsAreFew) {
  const auto shared =
      MakeTemplate("shared", WithInstances(std::vector<Node>(500, Element(std::string(40, 'n')))));
  const TemplateStore store = KeptOfKinds(shared, 2'000, Policy::kComplete);
  std::uint64_t cost = 0;
  for (const auto& [key, plan] : store.plans) cost += plan ? plan->document.fixed_cost : 0;
  EXPECT_GT(cost, std::uint64_t{1} << 20);
  EXPECT_LE(cost, std::uint64_t{44} << 20);
}

// That no plan is kept for a kind is known of so many kinds only.
TEST(Bounds, KindsThatHaveNoPlanAreCountedToo) {
  const Node twice = Slot(27, support::kString);
  const auto shared = MakeTemplate("shared", WithInstances({twice, twice}));
  EXPECT_LE(KeptOfKinds(shared, 12'000).plans.size(), 4'096U);
}

TEST(Bounds, NamesOfManyLiteralPartsHaveABound) {
  const std::string long_name(10'000, 'n');
  std::vector<Node> parts(2000, support::EntityReference(long_name));
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("t", {Element("Data", {support::Attribute("Name", parts)}, {Text("x")}),
                              Element("Z", {}, {Text("last")})}),
           {})});
  const DecodedLog decoded = DecodeComplete(log);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"Z", "last"}}));
  EXPECT_EQ(Count(decoded.account, RecordFault::kLimit), 1U);
}

}  // namespace
}  // namespace tarnlex
