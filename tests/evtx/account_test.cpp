#include "evtx/account.h"

#include <gtest/gtest.h>

#include "tests/evtx/decoding.h"
#include "tests/evtx/nesting.h"

namespace tarnlex {
namespace {

using support::Element;
using support::EvtxBuilder;
using support::InstanceFragment;
using support::MakeTemplate;

std::string Written(const WalkAccount& account) {
  std::string text;
  TextSink sink = MakeStringSink(text);
  WriteAccount(sink, account);
  Flush(sink);
  return text;
}

TEST(EvtxAccount, OfAWholeLogHasNothingToSay) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 1}).AddEvent({.event_id = 2});
  EXPECT_EQ(Written(Decode(log).account),
            "chunks walked: 1\n"
            "chunks without records: 0\n"
            "slots skipped, no chunk signature: 0\n"
            "record heads in skipped slots: 0\n"
            "records decoded: 2\n"
            "records skipped, template offset out of the chunk: 0\n"
            "records without values, no template: 0\n"
            "records without values, template not where it was registered: 0\n"
            "records with unreadable values: 0\n"
            "records with values cut at the end of the chunk: 0\n"
            "records with unreadable nested values: 0\n"
            "records with a fragment stopped at a token that is not decoded: 0\n"
            "records with a fragment cut inside a token: 0\n"
            "records cut at a limit of nesting, work or text: 0\n"
            "doubtful records, the event states another identifier (normal in an exported log): 0\n"
            "doubtful records, event identifier missing or no number: 0\n"
            "doubtful records, provider missing or not printable: 0\n"
            "doubtful records, names that are no names: 0\n"
            "chunks left before their last record: 0\n"
            "bytes behind the last whole chunk: 0\n"
            "record heads behind the last whole chunk: 0\n");
}

TEST(EvtxAccount, NamesTheRecordsThatWereSkippedOrArePartial) {
  EvtxBuilder log;
  support::Fragment skipped = InstanceFragment(MakeTemplate("t", {Element("E")}), {});
  skipped.instance[0].definition_offset = 0x20000;
  log.AddEvent({.event_id = 1});
  const std::uint32_t second = log.NextRecordOffset();
  log.AddRecord({.id = 40, .body = skipped});
  const std::uint32_t third = log.NextRecordOffset();
  log.AddRecord({.body = InstanceFragment(MakeTemplate("s", {support::CData("x")}), {})});
  const std::uint32_t fourth = log.NextRecordOffset();
  log.AddRecord({.body = NestedFragment(20)});
  const std::string text = Written(Decode(log).account);
  EXPECT_TRUE(Contains(text, "records decoded: 3\n")) << text;
  EXPECT_TRUE(Contains(text, "template offset out of the chunk: 1\n  record 40 at file offset 0x" +
                                 HexText(4096 + second) + "\n"))
      << text;
  EXPECT_TRUE(Contains(
      text, "not decoded: 1\n  record 41 at file offset 0x" + HexText(4096 + third) + "\n"))
      << text;
  EXPECT_TRUE(Contains(text, "nesting, work or text: 1\n  record 42 at file offset 0x" +
                                 HexText(4096 + fourth) + "\n"))
      << text;
}

TEST(EvtxAccount, CountsARecordOncePerFault) {
  EvtxBuilder log;
  std::vector<support::Node> body;
  std::vector<support::Value> values;
  for (std::uint16_t i = 0; i < 3; ++i) {
    body.push_back(Element("N", {}, {support::Slot(i, support::kBinaryXml)}));
    support::Instance inner;
    inner.definition = MakeTemplate("inner", {support::CData("x")});
    values.push_back(support::InstanceValue(inner));
  }
  log.AddRecord({.body = InstanceFragment(MakeTemplate("t", body), values)});
  const WalkAccount account = Decode(log).account;
  EXPECT_EQ(Count(account, RecordFault::kFragmentStopped), 1U);
  EXPECT_EQ(account.faulty.size(), 1U);
}

TEST(EvtxAccount, TellsAFragmentCutInsideAToken) {
  EvtxBuilder log;
  log.AddRecord(
      {.body = InstanceFragment(
           MakeTemplate("t", {Element("E", {}, {support::Raw({0x05, 0x01, 0xFF, 0x7F})})}), {})});
  EXPECT_EQ(Count(Decode(log).account, RecordFault::kFragmentCut), 1U);
}

TEST(EvtxAccount, NamesChunksThatWereLeftAndSlotsThatWereSkipped) {
  EvtxBuilder log;
  for (int i = 0; i < 3; ++i) log.AddEvent({.event_id = 1});
  support::ByteString file = log.Build();
  support::SetRecordSize(file, 0, 1, 0);
  support::InsertSlot(file, 0);
  support::InsertSlot(file, 0);
  file.resize(file.size() + 100);
  const std::size_t left =
      support::ChunkOffset(2) + 512 + support::GetU32(file, support::ChunkOffset(2) + 516);
  const std::string text = Written(DecodeChunks(Bytes(file).subspan(4096)).account);
  EXPECT_TRUE(Contains(text, "slots skipped, no chunk signature: 2\n  at file offset 0x1000: 2\n"))
      << text;
  EXPECT_TRUE(Contains(text,
                       "chunks left before their last record: 1\n"
                       "  chunk at file offset 0x21000, left at file offset 0x" +
                           HexText(left) + ", records not found: 2\n"))
      << text;
  EXPECT_TRUE(Contains(text, "bytes behind the last whole chunk: 100\n")) << text;
}

TEST(EvtxAccount, CountsRecordsThatStandWholeInSlotsWithoutAChunk) {
  EvtxBuilder log;
  for (int i = 0; i < 3; ++i) log.AddEvent({.event_id = 1});
  support::ByteString file = log.Build();
  const std::size_t chunk = support::ChunkOffset(0);
  // One record and most of another.
  const std::size_t second = chunk + 512 + support::GetU32(file, chunk + 516);
  const std::size_t end = second + support::GetU32(file, second + 4) - 1;
  const support::ByteString cut(file.begin() + static_cast<std::ptrdiff_t>(chunk),
                                file.begin() + static_cast<std::ptrdiff_t>(end));
  file[chunk] = 'x';  // the signature of the only chunk
  support::PutBytes(file, cut);
  const std::string text = Written(DecodeChunks(Bytes(file).subspan(4096)).account);
  EXPECT_TRUE(Contains(text,
                       "  at file offset 0x1000: 1, record heads: 3\n"
                       "record heads in skipped slots: 3\n"))
      << text;
  EXPECT_TRUE(Contains(text, "record heads behind the last whole chunk: 1\n")) << text;
}

// What `event` and `identifier`, which the record's header states, are doubted for.
WalkAccount AccountOf(const support::Fragment& event, std::uint64_t identifier) {
  EvtxBuilder log;
  log.AddRecord({.id = identifier, .body = event});
  return DecodeChunks(log.BuildChunks(), false, 4096, true).account;
}

TEST(EvtxAccount, CountsRowsThatAreHardlyWhatTheySay) {
  const support::Event sound{.event_id = 4624, .id = 7};
  EXPECT_EQ(CountFaults(AccountOf(EventFragment(sound), 7)), 0U);
  const WalkAccount other = AccountOf(EventFragment(sound), 8);
  EXPECT_EQ(Count(other, RecordFault::kOtherIdentifier), 1U);
  EXPECT_EQ(other.faulty.at(0).record_id, 8U);
  EXPECT_EQ(other.faulty.at(0).file_offset, 4096U + 512U);
  support::Event unprintable = sound;
  unprintable.provider = "Microsoft\x03";
  EXPECT_EQ(Count(AccountOf(EventFragment(unprintable), 7), RecordFault::kNoProvider), 1U);

  const auto event = [](std::string_view id_element, support::Value id, std::string_view data) {
    return InstanceFragment(
        MakeTemplate("t",
                     {Element("Provider", {support::Attribute("Name", "p")}),
                      Element(id_element, {}, {support::Slot(0, support::kUInt16)}),
                      Element("Data", {support::Attribute("Name", data)}, {support::Text("d")})}),
        {std::move(id)});
  };
  EXPECT_EQ(CountFaults(AccountOf(event("EventID", support::UInt16Value(0), "A name"), 1)), 0U);
  EXPECT_EQ(
      Count(AccountOf(event("EventID", support::NullValue(), "A"), 1), RecordFault::kNoEventId),
      1U);
  EXPECT_EQ(
      Count(AccountOf(event("Level", support::UInt16Value(4), "A"), 1), RecordFault::kNoEventId),
      1U);
  EXPECT_EQ(Count(AccountOf(event("EventID", support::StringValue("4x"), "A"), 1),
                  RecordFault::kNoEventId),
            1U);
  EXPECT_EQ(Count(AccountOf(event("EventID", support::UInt16Value(4), "A\x01"), 1),
                  RecordFault::kOddNames),
            1U);
  const WalkAccount odd = AccountOf(
      InstanceFragment(MakeTemplate("t", {Element("a b", {}, {support::Text("x")})}), {}), 1);
  EXPECT_EQ(Count(odd, RecordFault::kOddNames), 1U);
  EXPECT_EQ(Count(odd, RecordFault::kNoProvider), 1U);
}

TEST(EvtxAccount, ListsManyFaultsOnlyUpToABoundAndCountsThemAll) {
  WalkAccount account;
  for (std::uint64_t i = 0; i < kMaxListed + 5; ++i) {
    AddFault(account, {RecordFault::kNoTemplate, i, i});
    AddLeftChunk(account, {i, i, 1});
    AddSkippedSlot(account, i * 0x20000, 2);
  }
  EXPECT_EQ(Count(account, RecordFault::kNoTemplate), kMaxListed + 5);
  EXPECT_EQ(account.chunks_left, kMaxListed + 5);
  EXPECT_EQ(account.skipped_slots, kMaxListed + 5);
  EXPECT_EQ(account.skipped_heads, 2 * (kMaxListed + 5));
  EXPECT_EQ(account.faulty.size(), kMaxListed);
  // Each kind has a list of its own length.
  AddFault(account, {RecordFault::kLimit, 1, 1});
  EXPECT_EQ(account.faulty.size(), kMaxListed + 1);
  EXPECT_EQ(account.left.size(), kMaxListed);
  EXPECT_EQ(account.skipped.size(), kMaxListed);
}

}  // namespace
}  // namespace tarnlex
