#include "reports/text_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "event/slot_text.h"
#include "reports/plan_tests.h"
#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::Event;
using support::EvtxBuilder;

TEST(TextSearch, KnowsWhatNumbersInstantsAndIdentifiersHold) {
  for (const char* text : {"", "1", "-1", "4624", "0x3e7", "cafe", "s-1-5-18", "2016-07-08", "12:0",
                           " : ", "true", "als", "-nan", "inf", "1.5", "e+30", "08 12"}) {
    EXPECT_TRUE(MayBeInNumbers(text)) << text;
  }
  for (const char* text : {"admin", "z", "g", "1s", "ss", "truefalse", "10.0.0.1", "\\", "4624,",
                           "c:\\", "_", "\xC3\xA9"}) {
    EXPECT_FALSE(MayBeInNumbers(text)) << text;
  }
}

// Every part of every text that values of these types can have, whatever their bytes are.
TEST(TextSearch, ValuesWithoutFreeTextHoldNothingElse) {
  constexpr std::uint8_t kOthers[] = {kEvtVarTypeEvtHandle, 0x1F, 0x22, 0x30, 0x7F};
  std::vector<std::uint8_t> types(kOthers, kOthers + std::size(kOthers));
  for (std::uint8_t type = kEvtVarTypeNull; type <= kEvtVarTypeHexInt64; ++type) {
    if (type != kEvtVarTypeString && type != kEvtVarTypeAnsiString) types.push_back(type);
  }
  std::mt19937 random(1);
  std::size_t texts = 0;
  for (int round = 0; round < 4'000; ++round) {
    std::vector<std::uint8_t> bytes(64);
    const unsigned mask = round % 3 == 0 ? 0xFF : round % 3 == 1 ? 0x0F : 0x03;
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random() & mask);
    if (round % 5 == 0) std::fill(bytes.begin() + 6, bytes.begin() + 8, std::uint8_t{0xFF});
    for (const std::uint8_t type : types) {
      for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
        const EventStructure event{policy, bytes, {}, {}, {}};
        constexpr std::uint32_t kSizes[] = {0, 1, 2, 4, 8, 16, 28};
        const SubstitutionValue value{0, kSizes[random() % std::size(kSizes)], type};
        char room[1024];
        const std::string text = ToLowerAscii(
            {room, static_cast<std::size_t>(WriteSlotText(event, value, room) - room)});
        texts += !text.empty();
        for (std::size_t begin = 0; begin < text.size(); ++begin) {
          for (const std::size_t size : {1U, 2U, 5U, 64U}) {
            ASSERT_TRUE(MayBeInNumbers(std::string_view(text).substr(begin, size)))
                << text << " of type " << int{type};
          }
        }
      }
    }
  }
  EXPECT_GT(texts, 50'000U);
}

support::Record Joined(std::string_view behind) {
  const auto data = [](std::string_view name, std::vector<support::Node> text) {
    return support::Element("Data", {support::Attribute("Name", name)}, std::move(text));
  };
  return {
      .body = support::InstanceFragment(
          support::MakeTemplate(
              "joined", {support::Element("Event", {},
                                          {data("Joined", {support::Text("lit"),
                                                           support::Slot(0, support::kString)}),
                                           data("Literal", {support::Text("Only Once")}),
                                           data("Number", {support::Slot(1, support::kUInt32),
                                                           support::Slot(2, support::kString)})})}),
          {support::StringValue(behind), support::UInt32Value(77), support::StringValue(behind)})};
}

// Two texts of a byte a character, in a list of them.
support::Value SingleByteList(std::string_view first, std::string_view second) {
  support::ByteString bytes;
  for (const std::string_view text : {first, second}) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
  }
  return support::RawValue(0x80 | support::kAnsiString, bytes);
}

// A value in the record's own array.
support::Record WithOwn(std::string_view seed, support::Value value) {
  const std::uint8_t type = value.type;
  return {.body = support::InstanceFragment(
              support::MakeTemplate(
                  seed, {support::Element(
                            "Event", {}, {support::Element("Own", {}, {support::Slot(0, type)})})}),
              {std::move(value)})};
}

// A value in a slot that the values of other records have in another type.
support::Record WithAny(support::Value value) {
  const auto any = support::MakeTemplate(
      "any",
      {support::Element("Event", {},
                        {support::Element("Any", {}, {support::Slot(0, support::kString)})})});
  return {.body = support::InstanceFragment(any, {std::move(value)})};
}

// Values of all kinds that a text can stand in, in records of kinds that come again.
support::ByteString LogOfAllKinds() {
  EvtxBuilder log;
  for (const char* name : {"alice", "bob", "Carol of Sales", "d\xC3\xA9sir\xC3\xA9"}) {
    log.AddEvent({.event_id = 4624, .data = {{"User", name}, {"Port", support::UInt32Value(99)}}});
    log.AddEvent({.event_id = 1, .data = {{"Single", support::AnsiStringValue(name)}}});
    log.AddEvent({.event_id = 2, .data = {{"List", support::StringArrayValue({name, "second"})}}});
    log.AddEvent({.event_id = 3, .data = {{"Zero", support::WideStringValue({u"in\0side", 7})}}});
    log.AddEvent({.event_id = 4, .data = {{"Singles", SingleByteList("alpha", "gamma")}}});
    log.AddRecord(WithOwn("own list", SingleByteList("delta", "omega")));
    log.AddRecord(WithOwn("own text", support::AnsiStringValue("lambda")));
    log.AddRecord(WithAny(support::StringValue("plain")));
    log.AddRecord(WithAny(support::RawValue(0x80 | support::kBoolean, {1, 0, 0, 0, 0, 0, 0, 0})));
    log.AddRecord(Joined(name));
    log.AddRecord({.body = support::ElementsFragment({support::Element(
                       "Event", {}, {support::Element("Named", {}, {support::Text(name)})})})});
  }
  return log.BuildChunks();
}

struct Found {
  std::size_t records = 0;
  std::size_t kept = 0;     // of records whose plan is kept
  std::size_t lacking = 0;  // records that were known not to hold the text before they were asked
};

// Asks one record, which the long way has to answer alike.
void Ask(TextSearch& search, EvtxDecoder& decoder, DecodedEvent& event, Found& found) {
  const bool lacks = IsKnownToLack(search, decoder, event);
  const Plan& plan = PlanOf(decoder, event);
  std::string scratch;
  const bool finds = Finds(search, decoder, event, plan, scratch);
  EXPECT_EQ(finds, AnyTextContains(event.structure, plan, plan.values, search.wanted, scratch))
      << search.wanted << " in record " << event.record_id;
  EXPECT_FALSE(lacks && (finds || plan.id == kUnkeptPlan || event.faults != 0)) << search.wanted;
  found.records += finds;
  found.kept += plan.id != kUnkeptPlan;
  found.lacking += lacks;
}

// Looks for the text in the records of the chunks, which others have taught before.
Found CountFound(const support::ByteString& chunks, Policy policy, const std::string& wanted,
                 const support::ByteString& taught_by) {
  EvtxDecoder decoder;
  BeginLog(decoder, nullptr, policy);
  TextSearch search = MakeTextSearch(wanted);
  Found found;
  EvtxHandlers handlers;
  handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
    Ask(search, with, event, found);
  };
  for (int i = 0; i < 2; ++i) WalkSlots(decoder, taught_by, 4096, handlers);
  found = {};
  WalkSlots(decoder, chunks, 4096, handlers);
  return found;
}

Found CountFound(const support::ByteString& chunks, Policy policy, const std::string& wanted) {
  return CountFound(chunks, policy, wanted, chunks);
}

TEST(TextSearch, FindsWhatTheTextsOfAllValuesContain) {
  const support::ByteString chunks = LogOfAllKinds();
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    for (const char* text :
         {"nothing of it", "zz", "4", "99", "77", "e", "s-1", "port", "second", "l, s", "n s",
          "tlit", "litter", "77d", "\xC3\xA9", "d\xC3\xA9", "7b"}) {
      EXPECT_GT(CountFound(chunks, policy, text).kept, 10U) << text;
    }
    EXPECT_EQ(CountFound(chunks, policy, "alice").records, 5U);
    EXPECT_EQ(CountFound(chunks, policy, "carol of").records, 5U);
    EXPECT_EQ(CountFound(chunks, policy, "litb").records, 1U);
    EXPECT_EQ(CountFound(chunks, policy, "77bo").records, 1U);
    EXPECT_EQ(CountFound(chunks, policy, "once").records, 4U);
    EXPECT_EQ(CountFound(chunks, policy, "second").records, 4U);
    EXPECT_EQ(CountFound(chunks, policy, "in side").records, 4U);
    const std::size_t listed = policy == Policy::kComplete ? 4 : 0;
    EXPECT_EQ(CountFound(chunks, policy, "gamma").records, listed);
    EXPECT_EQ(CountFound(chunks, policy, "omega").records, listed);
    EXPECT_EQ(CountFound(chunks, policy, "lambda").records, 4U);
    EXPECT_EQ(CountFound(chunks, policy, "true, false").records, listed);
    // Single bytes are read as UTF-8 by the tables and as Windows-1252 where every value counts.
    EXPECT_EQ(CountFound(chunks, policy, "sir\xC3\xA9").records,
              policy == Policy::kLiteral ? 5U : 4U);
  }
}

// What is put together of parts that the bytes have apart is found, and nothing is taken for
// granted of records of such kinds.
TEST(TextSearch, KnowsWhatRecordsLackOfChunksThatLackIt) {
  const support::ByteString chunks = LogOfAllKinds();
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    const Found nothing = CountFound(chunks, policy, "nothing of it");
    EXPECT_EQ(nothing.records, 0U);
    EXPECT_GE(nothing.lacking, 12U);               // a list might hold it, which joins its values
    EXPECT_LE(nothing.lacking + 8, nothing.kept);  // those with joined and with single-byte texts
    EXPECT_GE(CountFound(chunks, policy, "tlit").lacking, 16U);
    EXPECT_EQ(CountFound(chunks, policy, "litb").records, 1U);
    EXPECT_EQ(CountFound(chunks, policy, "alice").lacking, 0U);
    EXPECT_EQ(CountFound(chunks, policy, "4624").lacking, 0U);
  }
}

// A chunk with so many records of every name in turn, two of each.
support::ByteString LogOfUsers(const std::vector<std::string>& names, int times) {
  EvtxBuilder log;
  for (int i = 0; i < times; ++i) {
    for (const std::string& name : names) {
      log.AddEvent({.event_id = 4624, .data = {{"User", name}}});
      log.AddRecord(
          {.body = support::ElementsFragment({support::Element(
               "Event", {}, {support::Element("Named", {}, {support::Text("x" + name)})})})});
    }
  }
  return log.BuildChunks();
}

// What was known of one chunk says nothing of the next.
TEST(TextSearch, LooksIntoEveryChunk) {
  const support::ByteString without = LogOfUsers({"alice", "bob"}, 6);
  const support::ByteString with = LogOfUsers({"dave", "the Needle", "carol"}, 6);
  support::ByteString both = without;
  for (const support::ByteString& chunk : {with, without, with}) {
    both.insert(both.end(), chunk.begin(), chunk.end());
  }
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    const Found found = CountFound(both, policy, "needle", without);
    EXPECT_EQ(found.records, 24U);
    EXPECT_EQ(found.lacking, 48U);
  }
}

// A chunk is a lot to search for one of many queries, each of which looks into a record or two.
TEST(TextSearch, LooksIntoChunksOnlyForMostOfTheirRecords) {
  const support::ByteString chunks = LogOfUsers({"alice", "bob"}, 20);
  for (const bool looks_into_most : {false, true}) {
    EvtxDecoder decoder;
    BeginLog(decoder, nullptr, Policy::kLiteral);
    TextSearch search = MakeTextSearch("needle");
    Found found;
    EvtxHandlers handlers;
    handlers.record = [&](EvtxDecoder& with, DecodedEvent& event) {
      if (looks_into_most || event.record_id % 40 == 7) Ask(search, with, event, found);
    };
    for (int i = 0; i < 3; ++i) WalkSlots(decoder, chunks, 4096, handlers);
    EXPECT_EQ(search.is_chunk_searched, looks_into_most);
    EXPECT_EQ(found.lacking > 0, looks_into_most);
  }
}

}  // namespace
}  // namespace tarnlex
