#include "evtx/survey.h"

#include <gtest/gtest.h>

#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::ChunkOffset;
using support::EvtxBuilder;
using support::Filetime;

// The account of a whole file, as -account asks for it.
WalkAccount Surveyed(const ByteString& file, Policy policy = Policy::kLiteral,
                     bool with_rows = true) {
  EvtxDecoder decoder;
  BeginLog(decoder, nullptr, policy, with_rows);
  EvtxHandlers handlers;
  handlers.record = [](EvtxDecoder&, DecodedEvent&) {};
  WalkSlots(decoder, Bytes(file).subspan(4096), 4096, handlers);
  return decoder.account;
}

// Without -account, where a query asks for the values of each record.
WalkAccount WalkedForRows(const ByteString& file) {
  EvtxDecoder decoder;
  BeginLog(decoder, nullptr, Policy::kLiteral);
  EvtxHandlers handlers;
  handlers.record = [](EvtxDecoder& with, DecodedEvent& event) {
    PlanOf(with, event);
    CompareTimes(with, event);
  };
  WalkSlots(decoder, Bytes(file).subspan(4096), 4096, handlers);
  return decoder.account;
}

EvtxBuilder TwoChunks() {
  EvtxBuilder log;
  log.AddEvent({.event_id = 1}).AddEvent({.event_id = 2});
  log.AddChunk();
  log.AddEvent({.event_id = 3});
  return log;
}

TEST(EvtxSurvey, FindsNothingWrongWithAWholeLog) {
  const ByteString file = TwoChunks().Build();
  const WalkAccount account = Surveyed(file);
  EXPECT_EQ(account.broken_checksums, 0U);
  EXPECT_EQ(account.survey.ids, (std::map<std::uint64_t, std::uint64_t>{{1, 3}}));
  EXPECT_EQ(account.survey.steps, 0U);
  EXPECT_EQ(account.survey.clears, 0U);
  EXPECT_EQ(account.partial + account.undated + account.other_times + account.uncounted, 0U);
  const EvtxFileHeader header = ReadEvtxFileHeader(file);
  EXPECT_TRUE(header.found && header.checksum_holds);
  EXPECT_FALSE(header.dirty || header.full);
  EXPECT_EQ(header.chunks, 2U);
  EXPECT_EQ(header.next_record, 4U);
}

TEST(EvtxSurvey, IsNotMadeUnlessAskedFor) {
  ByteString file = TwoChunks().Build();
  support::FlipByte(file, ChunkOffset(0) + 600);
  const WalkAccount account = WalkedForRows(file);
  EXPECT_EQ(account.broken_checksums, 0U);
  EXPECT_TRUE(account.survey.ids.empty());
}

TEST(EvtxSurvey, NamesTheChunkWhoseChecksumDoesNotHold) {
  ByteString file = TwoChunks().Build();
  support::FlipByte(file, ChunkOffset(0) + 600);
  support::FlipByte(file, ChunkOffset(1) + 40);
  const WalkAccount account = Surveyed(file);
  ASSERT_EQ(account.broken.size(), 2U);
  EXPECT_EQ(account.broken[0].file_offset, ChunkOffset(0));
  EXPECT_EQ(account.broken[0].of, ChecksumOf::kChunkRecords);
  EXPECT_EQ(account.broken[1].file_offset, ChunkOffset(1));
  EXPECT_EQ(account.broken[1].of, ChecksumOf::kChunkHeader);
}

TEST(EvtxSurvey, DoesNotCheckWhatNoRecordUses) {
  ByteString file = TwoChunks().Build();
  support::FlipByte(file, ChunkOffset(0) + 65'000);
  EXPECT_EQ(Surveyed(file).broken_checksums, 0U);
}

TEST(EvtxSurvey, TakesNoFreeSpaceOutsideOfTheChunk) {
  for (const std::uint32_t free : {0U, 511U, 65'537U, 0xFFFFFFFFU}) {
    ByteString file = TwoChunks().Build();
    support::SetU32(file, ChunkOffset(0) + 48, free);
    EXPECT_EQ(Surveyed(file).broken_checksums, 2U) << free;
  }
}

TEST(EvtxSurvey, ReadsTheFlagsOfTheFileHeader) {
  ByteString file = TwoChunks().Build();
  support::SetU32(file, 120, 3);
  const EvtxFileHeader header = ReadEvtxFileHeader(file);
  EXPECT_TRUE(header.dirty && header.full && header.checksum_holds);
  support::FlipByte(file, 42);
  EXPECT_FALSE(ReadEvtxFileHeader(file).checksum_holds);
  EXPECT_FALSE(ReadEvtxFileHeader(Bytes(file).first(127)).found);
  support::FlipByte(file, 0);
  EXPECT_FALSE(ReadEvtxFileHeader(file).found);
}

TEST(EvtxSurvey, TellsAClearedLogByItsProvider) {
  EvtxBuilder log;
  log.AddEvent({.provider = "Microsoft-Windows-Eventlog", .event_id = 1102});
  log.AddEvent({.provider = "Microsoft-Windows-RemoteDesktopServices-RdpCoreTS", .event_id = 104});
  log.AddEvent({.provider = "Microsoft-Windows-Eventlog", .event_id = 104});
  log.AddEvent({.provider = "Microsoft-Windows-Eventlog", .event_id = 105});
  const RecordSurvey survey = Surveyed(log.Build()).survey;
  ASSERT_EQ(survey.cleared.size(), 2U);
  EXPECT_EQ(survey.cleared[0].event_id, 1102U);
  EXPECT_EQ(survey.cleared[0].record.id, 1U);
  EXPECT_EQ(survey.cleared[0].record.file_offset, ChunkOffset(0) + 512);
  EXPECT_EQ(survey.cleared[1].record.id, 3U);
}

// The header's time of an exported log is another; what the event states counts in the survey.
TEST(EvtxSurvey, GoesByTheTimeOfTheEvent) {
  const std::uint64_t noon = Filetime(2020, 5, 6, 12, 0, 0);
  EvtxBuilder log;
  log.AddEvent({.event_id = 1, .time = noon, .id = 5}).AddEvent({.event_id = 1, .time = noon});
  ByteString file = log.Build();
  support::SetU64(file, support::RecordOffset(file, 0, 0) + 16, noon + 10'000'000);
  support::SetU64(file, support::RecordOffset(file, 0, 1) + 16, 0);
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    const WalkAccount account = Surveyed(file, policy);
    EXPECT_EQ(account.other_times, 2U);
    EXPECT_EQ(account.survey.first_time, noon);
    EXPECT_EQ(account.survey.last_time, noon);
    EXPECT_EQ(account.undated, policy == Policy::kLiteral ? 1U : 0U);
  }
  EXPECT_EQ(WalkedForRows(file).other_times, 2U);
  EXPECT_EQ(WalkedForRows(file).undated, 1U);
}

TEST(EvtxSurvey, LetsTimesDifferByLessThanASecond) {
  const std::uint64_t noon = Filetime(2020, 5, 6, 12, 0, 0);
  EvtxBuilder log;
  for (int i = 0; i < 4; ++i) log.AddEvent({.event_id = 1, .time = noon});
  ByteString file = log.Build();
  const auto place = [&file](std::size_t i) { return support::RecordOffset(file, 0, i) + 16; };
  support::SetU64(file, place(0), noon + 9'999'999);
  support::SetU64(file, place(1), noon - 9'999'999);
  support::SetU64(file, place(2), noon + 10'000'000);
  support::SetU64(file, place(3), noon - 10'000'000);
  EXPECT_EQ(WalkedForRows(file).other_times, 2U);
}

TEST(EvtxSurvey, CountsRecordsThatTheirChunkDoesNotCount) {
  EvtxBuilder log;
  for (int i = 0; i < 5; ++i) log.AddEvent({.event_id = 1});
  ByteString file = log.Build();
  support::SetU64(file, ChunkOffset(0) + 16, 2);
  EXPECT_EQ(WalkedForRows(file).uncounted, 3U);
  // What lies behind the free space was deleted.
  const std::size_t third = support::RecordOffset(file, 0, 2) - ChunkOffset(0);
  support::SetU32(file, ChunkOffset(0) + 48, static_cast<std::uint32_t>(third));
  EXPECT_EQ(WalkedForRows(file).uncounted, 0U);
}

// A header that is damaged may promise anything.
TEST(EvtxSurvey, BoundsWhatALeftChunkMayHold) {
  EvtxBuilder log;
  for (int i = 0; i < 3; ++i) log.AddEvent({.event_id = 1});
  ByteString file = log.Build();
  support::SetRecordSize(file, 0, 1, 0);
  EXPECT_EQ(WalkedForRows(file).records_left, 2U);
  support::SetU64(file, ChunkOffset(0) + 16, 0x7FFFFFFFFFFFFFFF);
  EXPECT_LT(WalkedForRows(file).records_left, 65'536U / 24);
}

TEST(EvtxSurvey, CountsARecordInPartOnce) {
  EvtxBuilder log;
  std::vector<support::Node> body;
  std::vector<support::Value> values;
  for (std::uint16_t i = 0; i < 2; ++i) {
    body.push_back(support::Element("N", {}, {support::Slot(i, support::kBinaryXml)}));
    support::Instance inner;
    inner.definition = support::MakeTemplate(
        i == 0 ? "first" : "second",
        {i == 0 ? support::CData("x") : support::Raw({0x05, 0x01, 0xFF, 0x7F})});
    values.push_back(support::InstanceValue(inner));
  }
  log.AddRecord({.body = support::InstanceFragment(support::MakeTemplate("t", body), values)});
  const WalkAccount account = WalkedForRows(log.Build());
  EXPECT_EQ(account.partial, 1U);
  EXPECT_EQ(Count(account, RecordFault::kFragmentStopped), 1U);
  EXPECT_EQ(Count(account, RecordFault::kFragmentCut), 1U);
}

// Doubts are about rows that have their values.
TEST(EvtxSurvey, DoesNotTakeADoubtForALoss) {
  EvtxBuilder log;
  log.AddEvent({.provider = "", .event_id = 1});
  const WalkAccount account = Surveyed(log.Build());
  EXPECT_EQ(Count(account, RecordFault::kNoProvider), 1U);
  EXPECT_EQ(account.partial, 0U);
}

}  // namespace
}  // namespace tarnlex
