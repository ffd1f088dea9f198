#include <gtest/gtest.h>

#include "evtx/template_store.h"
#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::Element;
using support::EvtxBuilder;
using support::InstanceFragment;
using support::MakeTemplate;
using support::Slot;
using support::StringValue;
using support::Template;
using support::Text;

Template Simple(std::string_view name = "simple", std::string_view element = "E") {
  return MakeTemplate(name, {Element(element, {}, {Slot(0, support::kString)})});
}

TEST(Template, DefinedInlineServesLaterRecordsOfTheChunk) {
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("a")})});
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("b")})});
  ByteString chunks = log.BuildChunks();
  ClearTemplateTable(chunks);
  const DecodedLog decoded = DecodeChunks(chunks);
  ASSERT_EQ(decoded.records.size(), 2U);
  EXPECT_EQ(decoded.records[0].values, (Values{{"E", "a"}}));
  EXPECT_EQ(decoded.records[1].values, (Values{{"E", "b"}}));
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

TEST(Template, ListedInTheChunkHeaderServesWithoutARecordThatDefinesIt) {
  EvtxBuilder log;
  log.AddTemplate(Simple());
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("a")})});
  EXPECT_EQ(Decode(log).records.at(0).values, (Values{{"E", "a"}}));
}

TEST(Template, KnownToNoTableAndNoRecordGivesARecordWithoutValues) {
  EvtxBuilder log;
  log.AddTemplate(Simple(), false);
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("a")})});
  log.AddEvent({.event_id = 4624});
  const DecodedLog decoded = Decode(log, true);
  ASSERT_EQ(decoded.records.size(), 2U);
  EXPECT_EQ(decoded.records[0].values, Values{});
  EXPECT_EQ(decoded.records[0].event_id, 0U);
  EXPECT_EQ(decoded.records[1].event_id, 4624U);
  EXPECT_TRUE(Contains(decoded.trace, "prob accessing template, aborting\n"));
  EXPECT_EQ(Count(decoded.account, RecordFault::kNoTemplate), 1U);
}

TEST(Template, NeverServesAnotherChunk) {
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("a")})});
  const std::uint32_t definition = 512 + 38;
  log.AddChunk();
  support::Fragment body = InstanceFragment(Simple(), {StringValue("b")});
  body.instance[0].definition_offset = definition;
  log.AddRecord({.body = InstanceFragment(Simple("other", "O"), {StringValue("o")})});
  log.AddRecord({.body = body});
  const DecodedLog decoded = Decode(log);
  ASSERT_EQ(decoded.records.size(), 3U);
  // At that offset the second chunk has a definition of its own.
  EXPECT_EQ(decoded.records[2].values, (Values{{"O", "b"}}));
}

TEST(Template, FirstDefinitionOfAGuidStays) {
  EvtxBuilder log;
  support::Fragment second = InstanceFragment(Simple("same", "Second"), {StringValue("b")});
  second.instance[0].repeat_definition = true;
  log.AddRecord({.body = InstanceFragment(Simple("same", "First"), {StringValue("a")})});
  log.AddRecord({.body = second});
  ByteString chunks = log.BuildChunks();
  ClearTemplateTable(chunks);
  const DecodedLog decoded = DecodeChunks(chunks);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"First", "a"}}));
  // Its values are found behind its own definition all the same.
  EXPECT_EQ(decoded.records.at(1).values, (Values{{"First", "b"}}));
}

TEST(Template, TheTableOfTheChunkComesBeforeItsRecords) {
  EvtxBuilder log;
  support::Fragment body = InstanceFragment(Simple("same", "InRecord"), {StringValue("a")});
  body.instance[0].repeat_definition = true;
  const std::uint32_t listed = log.AddTemplate(Simple("same", "InTable"));
  log.AddRecord({.body = body});
  ByteString chunks = log.BuildChunks();
  for (std::size_t bucket = 384; bucket < 512; bucket += 4) {
    if (support::GetU32(chunks, bucket) != 0) support::SetU32(chunks, bucket, listed);
  }
  EXPECT_EQ(DecodeChunks(chunks).records.at(0).values, (Values{{"InTable", "a"}}));
}

TEST(Template, OffsetAboveTheChunkSkipsTheRecordWithoutAWord) {
  EvtxBuilder log;
  support::Fragment body = InstanceFragment(Simple(), {StringValue("a")});
  body.instance[0].definition_offset = 0x10001;
  log.AddRecord({.body = body});
  log.AddEvent({.event_id = 1});
  const DecodedLog decoded = Decode(log, true);
  ASSERT_EQ(decoded.records.size(), 1U);
  EXPECT_EQ(decoded.records[0].event_id, 1U);
  EXPECT_EQ(decoded.account.records, 1U);
  EXPECT_EQ(Count(decoded.account, RecordFault::kTemplateOffset), 1U);
  EXPECT_FALSE(Contains(decoded.trace, "prob "));
}

TEST(Template, HeadThatDoesNotFitIntoTheChunkIsNoTemplate) {
  for (const std::uint32_t offset : {0x10000U, 0xFFFFU, 0x10000U - 23}) {
    EvtxBuilder log;
    support::Fragment body = InstanceFragment(Simple(), {StringValue("a")});
    body.instance[0].definition_offset = offset;
    log.AddRecord({.body = body});
    const DecodedLog decoded = Decode(log, true);
    ASSERT_EQ(decoded.records.size(), 1U) << offset;
    EXPECT_EQ(decoded.records[0].values, Values{});
    EXPECT_EQ(Count(decoded.account, RecordFault::kNoTemplate), 1U);
    EXPECT_TRUE(Contains(decoded.trace, "prob accessing template, aborting\n"));
  }
}

// A damaged record must not take the values of those that hold all they need.
TEST(Template, ThatIsNotKnownIsKnownOnceARecordBringsItAlong) {
  EvtxBuilder log;
  log.AddTemplate(Simple(), false);
  // Two that refer to where it is not registered, so that what stands for it is asked for.
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("a")})});
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("b")})});
  support::Fragment inline_body = InstanceFragment(Simple(), {StringValue("c")});
  inline_body.instance[0].repeat_definition = true;
  log.AddRecord({.body = inline_body});
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("d")})});
  ByteString chunks = log.BuildChunks();
  ClearTemplateTable(chunks);
  const DecodedLog decoded = DecodeChunks(chunks);
  ASSERT_EQ(decoded.records.size(), 4U);
  EXPECT_EQ(decoded.records[0].values, Values{});
  EXPECT_EQ(decoded.records[1].values, Values{});
  EXPECT_EQ(decoded.records[2].values.size(), 1U);
  EXPECT_EQ(decoded.records[2].values.begin()->second, "c");
  EXPECT_EQ(decoded.records[3].values.begin()->second, "d");
}

TEST(Template, ThatIsNotKnownIsKnownOnceTheRecordReferredToIsReached) {
  EvtxBuilder log;
  std::uint32_t ahead = 0;
  // The first pass finds out where the record with the definition comes to lie.
  ByteString chunks;
  for (int pass = 0; pass < 2; ++pass) {
    log = {};
    support::Fragment body = InstanceFragment(Simple(), {StringValue("a")});
    body.instance[0].definition_offset = ahead;
    log.AddRecord({.body = body});
    log.AddRecord({.body = body});
    ahead = log.NextRecordOffset() + kRecordInlinePosition;
    log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("c")})});
    chunks = log.BuildChunks();
  }
  ClearTemplateTable(chunks);
  const DecodedLog decoded = DecodeChunks(chunks);
  ASSERT_EQ(decoded.records.size(), 3U);
  EXPECT_EQ(decoded.records[1].values, Values{});
  ASSERT_EQ(decoded.records[2].values.size(), 1U);
  EXPECT_EQ(decoded.records[2].values.begin()->second, "c");
}

TEST(Template, RegisteredByAScanOfAnUnknownOneLeadsNowhere) {
  EvtxBuilder log;
  log.AddTemplate(Simple(), false);
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("a")})});
  log.AddRecord({.body = InstanceFragment(Simple(), {StringValue("b")})});
  const DecodedLog decoded = Decode(log, true);
  ASSERT_EQ(decoded.records.size(), 2U);
  EXPECT_EQ(decoded.records[1].values, Values{});
  EXPECT_EQ(Count(decoded.account, RecordFault::kNoTemplate), 1U);
  EXPECT_EQ(Count(decoded.account, RecordFault::kTemplateMismatch), 1U);
  // The scan knows neither the place of the definition nor that of its chunk.
  EXPECT_TRUE(Contains(decoded.trace,
                       "mismatch of offsets: elf: 0xffffffff, chnk: 0xffffffff, offset: 0x218\n"
                       "sizeof record: 0x"))
      << decoded.trace;
}

TEST(Template, BodyEndsAtItsStatedSize) {
  Template open = Simple();
  open.end_token = false;
  EvtxBuilder log;
  log.AddRecord({.body = InstanceFragment(open, {StringValue("a")})});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(decoded.records.at(0).values, (Values{{"E", "a"}}));
  EXPECT_EQ(CountFaults(decoded.account), 0U);
}

TEST(Template, BodyMayStandWithoutAFragmentHeader) {
  Template bare = Simple();
  bare.header = false;
  EXPECT_EQ(ValuesOf(InstanceFragment(bare, {StringValue("a")})), (Values{{"E", "a"}}));
}

TEST(Template, BodyThatPassesTheChunkIsReadAsFarAsItGoes) {
  EvtxBuilder log;
  Template large = Simple("large");
  large.stated_size = 0xFFFFFF00;
  log.AddTemplate(large);
  log.AddRecord({.body = InstanceFragment(large, {StringValue("a")})});
  EXPECT_EQ(Decode(log).records.at(0).values, (Values{{"E", "a"}}));
}

TEST(Template, BodyCutInsideATokenKeepsWhatCameBefore) {
  Template cut =
      MakeTemplate("cut", {Element("A", {}, {Text("x")}), Element("B", {}, {Text("y")})});
  EvtxBuilder whole;
  whole.AddRecord({.body = InstanceFragment(cut, {})});
  const std::uint32_t size = support::GetU32(whole.BuildChunks(), 512 + 38 + 20);
  for (std::uint32_t stated = 0; stated < size; ++stated) {
    cut.stated_size = stated;
    EvtxBuilder log;
    log.AddTemplate(cut);
    log.AddRecord({.body = InstanceFragment(cut, {})});
    const DecodedLog decoded = Decode(log);
    ASSERT_EQ(decoded.records.size(), 1U);
    Values expected;
    if (stated >= 4 + 11 + 12 + 1 + 6) expected["A"] = "x";
    if (stated >= size - 2) expected["B"] = "y";
    EXPECT_EQ(decoded.records[0].values, expected) << stated;
  }
}

TEST(Template, IsReadOnceAndServesEveryRecordOfTheChunk) {
  EvtxBuilder log;
  for (int i = 0; i < 50; ++i) {
    log.AddRecord({.body = InstanceFragment(Simple(), {StringValue(std::to_string(i))})});
  }
  EvtxDecoder decoder;
  const ByteString chunks = log.BuildChunks();
  EvtxHandlers handlers;
  int count = 0;
  handlers.record = [&count](EvtxDecoder& with, DecodedEvent& event) {
    EXPECT_EQ(Collect(with, event).values, (Values{{"E", std::to_string(count++)}}));
  };
  WalkSlots(decoder, chunks, 4096, handlers);
  EXPECT_EQ(count, 50);
  EXPECT_EQ(decoder.chunk.trees.used, 1U);
}

// Two records so close to the chunk's end that where the first one is registered, in place of its
// definition, no definition can stand; it states a size of 0, as a head that cannot be read does.
TEST(Template, RegisteredWhereNoHeadFitsLeadsNowhere) {
  constexpr std::uint32_t kFirst = 65'489;
  ByteString chunk(support::kEvtxChunkSize);
  support::SetBytes(chunk, 0, {'E', 'l', 'f', 'C', 'h', 'n', 'k', 0});
  support::SetU64(chunk, kChunkFirstNumber, 1);
  support::SetU64(chunk, kChunkLastNumber, 3);
  // Skipped, as its template offset leads out of the chunk.
  support::SetU32(chunk, kFirstRecord + kRecordSizeField, kFirst - kFirstRecord);
  support::SetU32(chunk, kFirstRecord + kRecordDefinitionField, 0x10001);
  // What the next two share makes their templates 0x9000 and 0x90, which have one identifier.
  support::SetU32(chunk, kFirst + kRecordSizeField, 1);
  support::SetU32(chunk, kFirst + 1 + kRecordSizeField, 0x01000000);
  support::SetU32(chunk, kFirst + kRecordDefinitionField, 0x9000);
  for (const std::uint32_t definition : {0x9000U, 0x90U}) {
    support::SetBytes(chunk, definition + kDefinitionGuidField, ByteString(16, 0x11));
  }
  const DecodedLog decoded = DecodeChunks(chunk);
  ASSERT_EQ(decoded.records.size(), 2U);
  EXPECT_EQ(decoded.records[1].values, Values{});
  EXPECT_EQ(Count(decoded.account, RecordFault::kNoTemplate), 1U);
  EXPECT_EQ(Count(decoded.account, RecordFault::kTemplateMismatch), 1U);
}

// Whether a zero unit ends a name that ends with its body is told by what stands behind the body.
TEST(Template, IsNotKnownByItsBodyWhereWhatFollowsSaysHowItEnds) {
  support::Template cut = MakeTemplate("cut", {Element("X")});
  cut.stated_size = 4 + 11 + 10;  // up to the last character of the name
  ByteString chunks;
  for (const bool terminated : {false, true}) {
    EvtxBuilder log;
    const std::uint32_t definition = log.AddTemplate(cut);
    log.AddRecord({.body = InstanceFragment(cut, {})});
    ByteString chunk = log.BuildChunks();
    const std::uint32_t behind = definition + kDefinitionHeadSize + *cut.stated_size;
    if (!terminated) support::SetBytes(chunk, behind, {1, 1});
    EXPECT_EQ(Count(DecodeChunks(chunk).account, RecordFault::kFragmentCut), terminated ? 1U : 0U);
    support::PutBytes(chunks, chunk);
  }
  EXPECT_EQ(Count(DecodeChunks(chunks).account, RecordFault::kFragmentCut), 1U);
}

}  // namespace
}  // namespace tarnlex
