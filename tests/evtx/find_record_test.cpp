#include "evtx/find_record.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/evtx/decoding.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::ChunkOffset;
using support::EvtxBuilder;

using Ids = std::vector<std::uint64_t>;

// The records of a whole file, all that can be found.
DecodedLog DecodeCompletely(const ByteString& file) {
  DecodedLog log;
  EvtxDecoder decoder;
  BeginLog(decoder, nullptr, Policy::kComplete);
  EvtxHandlers handlers;
  handlers.record = [&log](EvtxDecoder& with, DecodedEvent& event) {
    log.records.push_back(Collect(with, event));
  };
  WalkSlots(decoder, Clip(file, 4096, file.size()), 4096, handlers);
  log.account = decoder.account;
  return log;
}

Ids IdsOf(const DecodedLog& log) {
  Ids ids;
  for (const DecodedRecord& record : log.records) ids.push_back(record.record_id);
  return ids;
}

// The identifiers of the whole log, and that no record lost a value.
void ExpectAll(const ByteString& damaged, const ByteString& whole) {
  const DecodedLog found = DecodeCompletely(damaged);
  const DecodedLog expected = DecodeCompletely(whole);
  EXPECT_EQ(IdsOf(found), IdsOf(expected));
  ASSERT_EQ(found.records.size(), expected.records.size());
  for (std::size_t i = 0; i < found.records.size(); ++i) {
    EXPECT_EQ(found.records[i].values, expected.records[i].values) << i;
  }
}

std::uint64_t Count(const WalkAccount& account, Regained why) {
  return account.regained[static_cast<std::size_t>(why)];
}

std::string Written(const WalkAccount& account) {
  std::string text;
  TextSink sink = MakeStringSink(text);
  WriteAccount(sink, account);
  Flush(sink);
  return text;
}

// Two chunks of four records each, with times as records have them.
EvtxBuilder TwoChunks() {
  EvtxBuilder log;
  for (int chunk = 0; chunk < 2; ++chunk) {
    log.AddChunk();
    for (const char* user : {"alice", "bob", "carol", "dave"}) {
      log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", user}}});
    }
  }
  return log;
}

const Ids kAll{1, 2, 3, 4, 5, 6, 7, 8};

TEST(FindRecord, OfAWholeLogNothingIsRegained) {
  const ByteString file = TwoChunks().Build();
  const DecodedLog decoded = DecodeCompletely(file);
  EXPECT_EQ(IdsOf(decoded), kAll);
  EXPECT_EQ(Written(decoded.account), Written(DecodeChunks(Bytes(file).subspan(4096)).account));
}

TEST(FindRecord, ASizeOfZeroEndsNothing) {
  const ByteString whole = TwoChunks().Build();
  for (std::size_t record = 0; record < 4; ++record) {
    ByteString file = whole;
    support::SetRecordSize(file, 1, record, 0);
    ExpectAll(file, whole);
    EXPECT_EQ(Count(DecodeCompletely(file).account, Regained::kBehindBreak), 4 - record);
  }
}

TEST(FindRecord, ARecordIsTakenUpToTheNextWhereBothSizesAreGone) {
  const ByteString whole = TwoChunks().Build();
  for (const std::size_t record : {1U, 3U}) {  // before another, and before free space
    ByteString file = whole;
    const std::size_t end = support::RecordOffset(file, 0, record) +
                            support::GetU32(file, support::RecordOffset(file, 0, record) + 4);
    support::SetU32(file, end - 4, 0);
    support::SetRecordSize(file, 0, record, 0);
    ExpectAll(file, whole);
    const WalkAccount account = DecodeCompletely(file).account;
    EXPECT_EQ(Count(account, RecordFault::kUnknownSize), 1U);
    EXPECT_TRUE(Contains(Written(account), "taken up to the next one: 1\n  record " +
                                               std::to_string(record + 1) + " at"));
  }
}

TEST(FindRecord, ASizeThatLeadsNowhereEndsNothing) {
  const ByteString whole = TwoChunks().Build();
  for (const std::uint32_t size : {1U, 23U, 28U, 200U, 1000U, 65'000U, 0x80000000U, 0xFFFFFFFFU}) {
    ByteString file = whole;
    support::SetRecordSize(file, 0, 1, size);
    ExpectAll(file, whole);
  }
}

TEST(FindRecord, ADamagedSizeHidesNoRecords) {
  const ByteString whole = TwoChunks().Build();
  ByteString file = whole;
  // It leads exactly to the fourth record.
  support::SetRecordSize(file, 0, 1,
                         static_cast<std::uint32_t>(support::RecordOffset(whole, 0, 3) -
                                                    support::RecordOffset(whole, 0, 1)));
  ExpectAll(file, whole);
  EXPECT_EQ(Count(DecodeCompletely(file).account, Regained::kBehindBreak), 1U);
}

TEST(FindRecord, ARecordInItsPlaceNeedsTwoWitnesses) {
  const ByteString whole = TwoChunks().Build();
  const std::size_t second = support::RecordOffset(whole, 0, 1);
  const std::size_t third = support::RecordOffset(whole, 0, 2);
  const auto without = [&](bool signature, bool copy, bool plausible) {
    ByteString file = whole;
    if (!signature) support::SetU32(file, second, 0x12345678);
    if (!copy) support::SetU32(file, third - 4, 0);
    if (!plausible) support::SetU64(file, second + 16, 5);
    return IdsOf(DecodeCompletely(file));
  };
  EXPECT_EQ(without(false, true, true), kAll);
  EXPECT_EQ(without(true, false, true), kAll);
  EXPECT_EQ(without(true, true, false), kAll);
  EXPECT_EQ(without(false, false, true), kAll);  // another record follows right behind
  EXPECT_EQ(without(true, false, false), kAll);
  EXPECT_EQ(without(false, true, false), kAll);
  EXPECT_EQ(without(false, false, false), (Ids{1, 3, 4, 5, 6, 7, 8}));
}

TEST(FindRecord, GoesOnBehindAStretchThatIsGone) {
  const ByteString whole = TwoChunks().Build();
  ByteString file = whole;
  const std::size_t from = support::RecordOffset(whole, 0, 1) + 40;
  const std::size_t to = support::RecordOffset(whole, 0, 2) + 60;
  for (std::size_t at = from; at < to; ++at) file[at] = 0;
  const DecodedLog decoded = DecodeCompletely(file);
  EXPECT_EQ(IdsOf(decoded), (Ids{1, 2, 4, 5, 6, 7, 8}));
  EXPECT_EQ(decoded.records[2].values, DecodeCompletely(whole).records[3].values);
  ASSERT_EQ(decoded.account.left.size(), 1U);
  EXPECT_EQ(decoded.account.left[0].missing, 1U);
}

TEST(FindRecord, ADamagedRecordHasNoValuesOfTheNext) {
  EvtxBuilder log;
  for (const char* user : {"alice", "bob", "carol"}) {
    log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", user}}});
  }
  ByteString file = log.Build();
  const std::size_t second = support::RecordOffset(file, 0, 1);
  const std::size_t third = support::RecordOffset(file, 0, 2);
  // The third record moves to where the values of the second should be.
  const std::size_t moved = second + 96;
  const std::uint32_t size = support::GetU32(file, third + 4);
  for (std::size_t i = 0; i < size; ++i) file[moved + i] = file[third + i];
  support::SetU32(file, ChunkOffset(0) + 48,
                  static_cast<std::uint32_t>(moved + size - ChunkOffset(0)));
  const DecodedLog decoded = DecodeCompletely(file);
  EXPECT_EQ(IdsOf(decoded), (Ids{1, 2, 3}));
  for (const auto& [name, text] : decoded.records[1].values) {
    EXPECT_EQ(text.find("carol"), std::string::npos) << name;
  }
  EXPECT_EQ(decoded.records[2].values.at("TargetUserName"), "carol");
}

TEST(FindRecord, ReadsWhatTheNumbersOfTheChunkDoNotCount) {
  EvtxBuilder log;
  log.AddChunk({.first_number = 1, .last_number = 2});
  for (int i = 0; i < 4; ++i) log.AddEvent({.event_id = 1});
  log.AddChunk({.first_number = 2, .last_number = 1});
  log.AddEvent({.event_id = 1});
  log.AddChunk({.last_number = ~std::uint64_t{0}});
  log.AddEvent({.event_id = 1});
  const DecodedLog decoded = DecodeCompletely(log.Build());
  EXPECT_EQ(IdsOf(decoded), (Ids{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(Count(decoded.account, Regained::kBehindBreak), 4U);
}

// A whole record of an earlier use of the chunk, right behind those in use.
ByteString WithSlack(std::uint64_t id) {
  EvtxBuilder log;
  for (int i = 0; i < 2; ++i) log.AddEvent({.event_id = 1});
  const std::uint32_t free = log.NextRecordOffset();
  log.AddEvent({.event_id = 1, .id = id});
  ByteString file = log.Build();
  support::SetU32(file, ChunkOffset(0) + 48, free);
  return file;
}

TEST(FindRecord, TakesNothingBehindFreeSpace) {
  ByteString file = WithSlack(3);
  support::SetU64(file, ChunkOffset(0) + 16, 2);  // the last number
  EXPECT_EQ(IdsOf(DecodeCompletely(file)), (Ids{1, 2}));
}

TEST(FindRecord, TakesBehindFreeSpaceWhatTheHeaderCounts) {
  EXPECT_EQ(IdsOf(DecodeCompletely(WithSlack(3))), (Ids{1, 2, 3}));
  ByteString file = WithSlack(1);  // an older one
  support::SetU64(file, ChunkOffset(0) + 8, 1);
  support::SetU64(file, ChunkOffset(0) + 16, 3);
  EXPECT_EQ(IdsOf(DecodeCompletely(file)), (Ids{1, 2}));
}

TEST(FindRecord, WithoutAPlaceForFreeSpaceReadsToTheChunksEnd) {
  for (const std::uint32_t free : {0U, 511U, 512U, 65'537U, 0xFFFFFFFFU}) {
    ByteString file = WithSlack(3);
    support::SetU32(file, ChunkOffset(0) + 48, free);
    EXPECT_EQ(IdsOf(DecodeCompletely(file)), (Ids{1, 2, 3})) << free;
  }
}

TEST(FindRecord, ReadsALastChunkThatIsCutAtAnyLength) {
  const ByteString whole = TwoChunks().Build();
  const DecodedLog expected = DecodeCompletely(whole);
  std::vector<std::size_t> ends;
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t at = support::RecordOffset(whole, 1, i);
    ends.push_back(at + support::GetU32(whole, at + 4) - ChunkOffset(1));
  }
  for (std::size_t kept = 0; kept < ends[3] + 100; kept += kept < 512 ? 37 : 1) {
    ByteString file = whole;
    support::CutLastChunk(file, kept);
    const DecodedLog decoded = DecodeCompletely(file);
    std::size_t complete = 0;
    while (complete < 4 && ends[complete] <= kept) ++complete;
    ASSERT_GE(decoded.records.size(), 4 + complete) << kept;
    ASSERT_LE(decoded.records.size(), 4 + complete + 1) << kept;  // and the one that is cut
    for (std::size_t i = 0; i < 4 + complete; ++i) {
      ASSERT_EQ(decoded.records[i].values, expected.records[i].values) << kept;
    }
    ASSERT_EQ(Count(decoded.account, Regained::kCutSlot), decoded.records.size() - 4);
  }
}

TEST(FindRecord, ARecordCutByTheEndOfTheFileHasNoValuesThatAreNotThere) {
  ByteString file = TwoChunks().Build();
  const std::size_t last = support::RecordOffset(file, 1, 3);
  const std::uint32_t size = support::GetU32(file, last + 4);
  support::CutLastChunk(file, last + size - 24 - ChunkOffset(1));  // inside of the user's name
  const DecodedLog decoded = DecodeCompletely(file);
  ASSERT_EQ(IdsOf(decoded), kAll);
  EXPECT_EQ(decoded.records[7].values.at("EventID"), "4624");
  EXPECT_FALSE(decoded.records[7].values.contains("TargetUserName"));
  EXPECT_EQ(decoded.account.faults[static_cast<std::size_t>(RecordFault::kUnknownSize)], 1U);
}

TEST(FindRecord, ReadsASlotWhoseSignatureAloneIsGone) {
  const ByteString whole = TwoChunks().Build();
  ByteString file = whole;
  support::RemoveChunkMagic(file, 1);
  ExpectAll(file, whole);
  const DecodedLog decoded = DecodeCompletely(file);
  EXPECT_EQ(Count(decoded.account, Regained::kNoSignature), 4U);
  EXPECT_EQ(decoded.account.skipped_slots, 0U);
  EXPECT_TRUE(Contains(Written(decoded.account),
                       "records regained, in slots without a chunk signature: 4\n"
                       "  slot at file offset 0x11000: 4\n"));
}

TEST(FindRecord, GivesValuesWithoutNamesWhereTheTemplateIsGone) {
  const ByteString whole = TwoChunks().Build();
  ByteString file = whole;
  for (std::size_t at = ChunkOffset(1); at < support::RecordOffset(whole, 1, 1); ++at) file[at] = 0;
  const DecodedLog decoded = DecodeCompletely(file);
  EXPECT_EQ(IdsOf(decoded), (Ids{1, 2, 3, 4, 6, 7, 8}));
  const DecodedRecord& record = decoded.records[4];
  EXPECT_EQ(record.written_time, DecodeCompletely(whole).records[5].written_time);
  std::vector<std::string> texts;
  for (const auto& [name, text] : record.values) {
    EXPECT_TRUE(name.starts_with("Data")) << name;
    texts.push_back(text);
  }
  for (const char* text : {"4624", "bob", "Security", "Microsoft-Windows-Security-Auditing"}) {
    EXPECT_EQ(std::count(texts.begin(), texts.end(), text), 1) << text;
  }
  EXPECT_EQ(Count(decoded.account, RecordFault::kNoNames), 3U);
  EXPECT_EQ(Count(decoded.account, RecordFault::kNoTemplate), 0U);
}

TEST(FindRecord, TakesNoSlotWithoutAWholeRecord) {
  ByteString file = TwoChunks().Build();
  support::InsertSlot(file, 1);
  support::InsertSlot(file, 1, ByteString(70'000, '*'));
  const DecodedLog decoded = DecodeCompletely(file);
  EXPECT_EQ(IdsOf(decoded), kAll);
  EXPECT_EQ(decoded.account.skipped_slots, 2U);
  EXPECT_EQ(decoded.account.chunks, 2U);
}

// Places behind one another, inside of the chunk, however it is damaged.
void ExpectInOrder(Bytes chunk) {
  RecordSearch search = SearchRecords(chunk);
  std::uint64_t end = 512;
  for (RecordPlace place; NextRecord(search, place);) {
    ASSERT_GE(place.offset, end);
    ASSERT_GE(place.size, 28U);
    ASSERT_TRUE(Fits(chunk, place.offset, place.size));
    end = std::uint64_t{place.offset} + place.size;
  }
}

TEST(FindRecord, FindsNoRecordTwiceAndNoneOutsideOfTheChunk) {
  const ByteString good = TwoChunks().BuildChunks();
  std::uint32_t state = 1;
  for (int round = 0; round < 3000; ++round) {
    ByteString chunk(good.begin(), good.begin() + 65'536);
    for (int i = 0; i < 12; ++i) {
      state = state * 1664525 + 1013904223;
      const std::size_t at = i == 0 ? 48 : 512 + (state >> 8) % 5000;
      chunk[at] = static_cast<std::uint8_t>(state);
    }
    chunk.resize(65'536 - (state >> 4) % 65'000 * (round % 2));
    ExpectInOrder(chunk);
  }
}

TEST(FindRecord, TimeIsLinearInAChunkOfNothingButHeads) {
  ByteString file(4096 + 65'536);
  const ByteString signature = {'E', 'l', 'f', 'C', 'h', 'n', 'k', 0};
  std::copy(signature.begin(), signature.end(), file.begin() + 4096);
  // Heads without a size, as dense as they may lie, and marks that are none between them.
  for (std::size_t at = 4096 + 512; at + 24 <= file.size(); at += 8) {
    support::SetU32(file, at, at % 24 == 0 ? 0x2A2A : 0x2A2A2A2A);
    if (at % 24 == 0) support::SetU64(file, at + 8, 1);
    if (at % 24 == 0) support::SetU64(file, at + 16, 130'000'000'000'000'000);
  }
  const auto start = std::chrono::steady_clock::now();
  EXPECT_GT(DecodeCompletely(file).account.records, 0U);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(taken.count(), 5);  // a quadratic search takes minutes with sanitizers
}

TEST(FindRecord, RegainsWhatTheRealLogsLose) {
  const char* logs = std::getenv("TARNLEX_LOGS");
  if (logs == nullptr) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  struct Expected {
    const char* name;
    std::size_t literal;
    std::size_t complete;
    std::uint64_t regained[3];
    std::uint64_t without_names;
  };
  const Expected expected[] = {
      {"sample-with-zero-data-size-event.evtx", 335, 450, {115, 0, 0}, 0},
      {"sample_with_a_bad_chunk_magic.evtx", 270, 384, {31, 83, 0}, 83},
  };
  for (const Expected& log : expected) {
    std::ifstream in(std::filesystem::path(logs) / "evtx" / log.name, std::ios::binary);
    const ByteString file{std::istreambuf_iterator<char>(in), {}};
    if (file.empty()) continue;
    EXPECT_EQ(DecodeChunks(Clip(file, 4096, file.size())).records.size(), log.literal) << log.name;
    const DecodedLog decoded = DecodeCompletely(file);
    EXPECT_EQ(decoded.records.size(), log.complete) << log.name;
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(decoded.account.regained[i], log.regained[i]) << log.name;
    }
    EXPECT_EQ(Count(decoded.account, RecordFault::kNoNames), log.without_names) << log.name;
  }
}

TEST(FindRecord, OfRealLogsThatAreWholeNothingChanges) {
  const char* logs = std::getenv("TARNLEX_LOGS");
  if (logs == nullptr) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  std::size_t whole = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(logs)) {
    if (entry.path().extension() != ".evtx") continue;
    std::ifstream in(entry.path(), std::ios::binary);
    ByteString file{std::istreambuf_iterator<char>(in), {}};
    file.resize(std::min<std::size_t>(file.size(), ChunkOffset(4)));
    const DecodedLog literal = DecodeChunks(Clip(file, 4096, file.size()));
    const DecodedLog complete = DecodeCompletely(file);
    EXPECT_GE(complete.records.size(), literal.records.size()) << entry.path();
    if (literal.account.chunks_left > 0 || literal.account.skipped_heads > 0) continue;
    EXPECT_EQ(IdsOf(complete), IdsOf(literal)) << entry.path();
    EXPECT_EQ(Count(complete.account, RecordFault::kUnknownSize), 0U) << entry.path();
    EXPECT_EQ(Count(complete.account, RecordFault::kNoNames), 0U) << entry.path();
    // Cut, none of the records that stand whole is lost.
    const std::size_t size = file.size() - 40'000;
    Ids kept;
    for (const DecodedRecord& record : complete.records) {
      const std::size_t end = record.file_offset + support::GetU32(file, record.file_offset + 4);
      if (end <= size) kept.push_back(record.record_id);
    }
    file.resize(size);
    Ids found = IdsOf(DecodeCompletely(file));
    if (found.size() > kept.size()) found.pop_back();  // the one that is cut
    EXPECT_EQ(found, kept) << entry.path();
    ++whole;
  }
  EXPECT_GT(whole, 0U);
}

}  // namespace
}  // namespace tarnlex
