#include "evtx/walk.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/evtx/decoding.h"
#include "tests/evtx/nesting.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::ChunkOffset;
using support::EvtxBuilder;

using Ids = std::vector<std::uint64_t>;

Ids IdsOf(const DecodedLog& log) {
  Ids ids;
  for (const DecodedRecord& record : log.records) ids.push_back(record.record_id);
  return ids;
}

// The records of a whole file, walked as one block.
DecodedLog DecodeFile(const ByteString& file, bool with_trace = false) {
  return DecodeChunks(Clip(file, 4096, file.size()), with_trace);
}

// Three chunks of two records each.
EvtxBuilder ThreeChunks() {
  EvtxBuilder log;
  for (int chunk = 0; chunk < 3; ++chunk) {
    log.AddChunk();
    log.AddEvent({.event_id = 4624, .data = {{"TargetUserName", "alice"}}});
    log.AddEvent({.event_id = 4634, .data = {{"", "x"}}});
  }
  return log;
}

TEST(EvtxWalk, ReadsEveryChunkWhateverTheFileHeaderCounts) {
  ByteString file = ThreeChunks().Build();
  for (std::size_t i = 8; i < 4096; ++i) file[i] = 0;
  EXPECT_EQ(IdsOf(DecodeFile(file)), (Ids{1, 2, 3, 4, 5, 6}));
}

TEST(EvtxWalk, ReadsChunksOfALogThatWasNotClosed) {
  ByteString file = ThreeChunks().Build();
  support::SetU32(file, 120, 1);                  // dirty
  support::FlipByte(file, ChunkOffset(1) + 52);   // checksum of the records
  support::FlipByte(file, ChunkOffset(1) + 124);  // and of the header
  support::SetU32(file, ChunkOffset(1) + 44, 0);  // last record, free space
  support::SetU32(file, ChunkOffset(1) + 48, 0);
  EXPECT_EQ(IdsOf(DecodeFile(file)), (Ids{1, 2, 3, 4, 5, 6}));
}

TEST(EvtxWalk, PassesOverSlotsThatHoldNoChunk) {
  ByteString file = ThreeChunks().Build();
  support::InsertSlot(file, 1);
  support::InsertSlot(file, 1, ByteString(70'000, 'x'));
  support::RemoveChunkMagic(file, 4);
  const DecodedLog decoded = DecodeFile(file);
  EXPECT_EQ(IdsOf(decoded), (Ids{1, 2, 3, 4}));
  EXPECT_EQ(decoded.account.chunks, 2U);
  EXPECT_EQ(decoded.account.skipped_slots, 3U);
  ASSERT_EQ(decoded.account.skipped.size(), 2U);
  EXPECT_EQ(decoded.account.skipped[0].file_offset, ChunkOffset(1));
  EXPECT_EQ(decoded.account.skipped[0].count, 2U);
  EXPECT_EQ(decoded.account.skipped[1].file_offset, ChunkOffset(4));
}

TEST(EvtxWalk, TriesEverySlotEvenWhenTheFirstHoldsNoChunk) {
  ByteString file = ThreeChunks().Build();
  support::RemoveChunkMagic(file, 0);
  EXPECT_EQ(IdsOf(DecodeFile(file)), (Ids{3, 4, 5, 6}));
}

TEST(EvtxWalk, ComparesSevenBytesOfTheChunkSignature) {
  ByteString file = ThreeChunks().Build();
  file[ChunkOffset(0) + 7] = 'x';
  file[ChunkOffset(1) + 6] = 'x';
  EXPECT_EQ(IdsOf(DecodeFile(file)), (Ids{1, 2, 5, 6}));
}

TEST(EvtxWalk, LeavesAChunkThatIsCutShort) {
  ByteString file = ThreeChunks().Build();
  support::CutLastChunk(file, 65'535);
  const DecodedLog decoded = DecodeFile(file);
  EXPECT_EQ(IdsOf(decoded), (Ids{1, 2, 3, 4}));
  EXPECT_EQ(decoded.account.trailing_bytes, 65'535U);
}

TEST(EvtxWalk, AnEmptyChunkHasNoRecords) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 1}).AddChunk().AddChunk().AddEvent({.event_id = 2});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(IdsOf(decoded), (Ids{1, 2}));
  EXPECT_EQ(decoded.account.empty_chunks, 1U);
  EXPECT_EQ(decoded.account.chunks, 3U);
  EXPECT_EQ(decoded.account.chunks_left, 0U);
}

TEST(EvtxWalk, AChunkThatSaysItIsEmptyIsNotRead) {
  EvtxBuilder log;
  log.AddChunk({.last_number = ~std::uint64_t{0}}).AddEvent({.event_id = 1});
  EXPECT_TRUE(Decode(log).records.empty());
}

TEST(EvtxWalk, NoRecordIsReadWhenTheFirstNumberIsAboveTheLast) {
  EvtxBuilder log;
  log.AddChunk({.first_number = 2, .last_number = 1}).AddEvent({.event_id = 1});
  EXPECT_TRUE(Decode(log).records.empty());
}

TEST(EvtxWalk, TheNumbersOfTheChunkBoundTheRecordsTried) {
  EvtxBuilder log;
  log.AddChunk({.first_number = 100, .last_number = 101});
  for (int i = 0; i < 3; ++i) log.AddEvent({.event_id = 1});
  EXPECT_EQ(IdsOf(Decode(log)), (Ids{1, 2}));
}

TEST(EvtxWalk, NumbersNearTheirLimitDoNotWrap) {
  EvtxBuilder log;
  log.AddChunk({.first_number = 0, .last_number = ~std::uint64_t{1}}).AddEvent({.event_id = 1});
  const DecodedLog decoded = Decode(log);
  EXPECT_EQ(IdsOf(decoded), Ids{1});
  ASSERT_EQ(decoded.account.left.size(), 1U);
  EXPECT_EQ(decoded.account.left[0].missing, ~std::uint64_t{1});
}

TEST(EvtxWalk, ASizeOfZeroEndsTheChunkAndNotTheLog) {
  ByteString file = ThreeChunks().Build();
  support::SetRecordSize(file, 1, 0, 0);
  const DecodedLog decoded = DecodeFile(file);
  EXPECT_EQ(IdsOf(decoded), (Ids{1, 2, 5, 6}));
  ASSERT_EQ(decoded.account.left.size(), 1U);
  EXPECT_EQ(decoded.account.left[0].file_offset, ChunkOffset(1));
  EXPECT_EQ(decoded.account.left[0].record_offset, ChunkOffset(1) + 512);
  EXPECT_EQ(decoded.account.left[0].missing, 2U);
}

TEST(EvtxWalk, GoesByTheSizeInFrontAloneAndLeavesAtTheChunksEnd) {
  for (const std::uint32_t size : {0xFFFFFFFFU, 0x80000000U, 65'536U - 512, 65'536U - 512 - 23}) {
    ByteString file = ThreeChunks().Build();
    support::SetRecordSize(file, 1, 0, size);
    const DecodedLog decoded = DecodeFile(file);
    EXPECT_EQ(IdsOf(decoded), (Ids{1, 2, 3, 5, 6})) << size;
    EXPECT_EQ(decoded.account.chunks_left, 1U);
  }
}

TEST(EvtxWalk, ARecordWhoseHeadJustFitsIsTried) {
  ByteString file = ThreeChunks().Build();
  support::SetRecordSize(file, 1, 0, 65'536 - 512 - 24);
  support::SetU32(file, ChunkOffset(2) - 20, 1);  // its size
  support::SetU64(file, ChunkOffset(2) - 16, 77);
  EXPECT_EQ(IdsOf(DecodeFile(file)), (Ids{1, 2, 3, 77, 5, 6}));
}

TEST(EvtxWalk, ReportsProgressBeforeEachRecord) {
  EvtxDecoder decoder;
  std::vector<std::uint64_t> told;
  EvtxHandlers handlers;
  handlers.record = [](EvtxDecoder&, DecodedEvent&) {};
  handlers.progress = [&told](std::uint64_t id) { told.push_back(id); };
  const ByteString chunks = ThreeChunks().BuildChunks();
  WalkSlots(decoder, chunks, 4096, handlers);
  WalkSlots(decoder, Bytes(chunks).first(65'536), 4096, handlers);
  EXPECT_EQ(told, (std::vector<std::uint64_t>{1, 2, 3, 4, 5, 6, 1, 2}));
}

TEST(EvtxWalk, EmptyBlocksAreNothing) {
  EXPECT_TRUE(DecodeChunks({}).records.empty());
  EXPECT_TRUE(DecodeChunks(ByteString(65'535, 'E')).records.empty());
}

// The records at least must be those of the whole log from its start on.
void ExpectPrefix(const DecodedLog& part, const DecodedLog& whole, std::size_t size) {
  ASSERT_LE(part.records.size(), whole.records.size()) << size;
  for (std::size_t i = 0; i < part.records.size(); ++i) {
    ASSERT_EQ(part.records[i].record_id, whole.records[i].record_id) << size;
    ASSERT_EQ(part.records[i].values, whole.records[i].values) << size;
  }
}

TEST(EvtxWalk, CutAtAnyLengthALogOnlyLosesItsLastRecords) {
  const ByteString file = ThreeChunks().Build();
  const DecodedLog whole = DecodeFile(file);
  std::size_t last = whole.records.size();
  for (std::size_t size = file.size();; size -= std::min<std::size_t>(size, 997)) {
    const DecodedLog part = DecodeFile({file.begin(), file.begin() + static_cast<long>(size)});
    ExpectPrefix(part, whole, size);
    EXPECT_LE(part.records.size(), last);
    last = part.records.size();
    if (size == 0) break;
  }
  EXPECT_EQ(last, 0U);
  for (const std::size_t near : {ChunkOffset(1), ChunkOffset(2), ChunkOffset(3)}) {
    EXPECT_EQ(DecodeFile({file.begin(), file.begin() + static_cast<long>(near) - 1}).records.size(),
              2 * (near - 4096) / 65'536 - 2);
  }
}

TEST(EvtxWalk, ZeroedFromAnyByteOnAChunkKeepsTheRecordsInFrontOfIt) {
  // Every byte of the records' area matters here: what a torn write leaves is a zeroed rest.
  EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .data = {{"A", "alice"}, {"", support::SidValue("S-1-5-18")}}});
  log.AddEvent({.event_id = 4625, .data = {{"A", "bob"}}});
  log.AddRecord({.body = NestedFragment(3)});
  ByteString chunk = log.BuildChunks();
  const DecodedLog whole = DecodeChunks(chunk);
  ASSERT_EQ(whole.records.size(), 3U);
  std::vector<std::size_t> ends;
  for (std::size_t i = 1; i < 3; ++i) ends.push_back(whole.records[i].file_offset - 4096);
  std::size_t end = log.NextRecordOffset();
  ends.push_back(end);
  std::size_t last = 3;
  for (; end > 512; --end) {
    chunk[end - 1] = 0;
    const DecodedLog part = DecodeChunks(chunk);
    ASSERT_LE(part.records.size(), last) << end;
    last = part.records.size();
    for (std::size_t i = 0; i < part.records.size() && ends[i] < end; ++i) {
      ASSERT_EQ(part.records[i].values, whole.records[i].values) << end;
    }
  }
  EXPECT_EQ(last, 0U);
}

TEST(EvtxWalk, AnyByteMayBeWrongWithoutHarm) {
  EvtxBuilder log;
  log.AddEvent({.event_id = 4624, .data = {{"A", "alice"}, {"", support::SidValue("S-1-5-18")}}});
  log.AddRecord({.body = NestedFragment(3)});
  log.AddRecord({.body = support::ElementsFragment({support::Element(
                     "E", {support::Attribute("A", "a")}, {support::Text("x")})})});
  const ByteString good = log.BuildChunks();
  const std::size_t end = log.NextRecordOffset();
  for (std::size_t at = 0; at < end; ++at) {
    for (const std::uint8_t wrong : support::Hex("00 01 0C 21 7F FF")) {
      if (at >= 128 && at < 512 && at % 4 != 0) continue;
      ByteString chunk = good;
      chunk[at] = wrong;
      const DecodedLog decoded = DecodeChunks(chunk, at % 7 == 0);
      ASSERT_LE(decoded.records.size(), 3U);
      ASSERT_LE(decoded.account.records, 3U);
    }
  }
}

TEST(EvtxWalk, RealLogsCutOrDamagedAreReadWithoutHarm) {
  const char* logs = std::getenv("TARNLEX_LOGS");
  if (logs == nullptr) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(logs)) {
    if (entry.path().extension() != ".evtx") continue;
    std::ifstream in(entry.path(), std::ios::binary);
    ByteString file{std::istreambuf_iterator<char>(in), {}};
    file.resize(std::min<std::size_t>(file.size(), ChunkOffset(2)));
    const DecodedLog whole = DecodeFile(file);
    EXPECT_GT(whole.records.size(), 0U) << entry.path();
    // A different byte in every file and run of bytes; always the same ones.
    std::uint32_t state = 12345;
    for (int round = 0; round < 20; ++round) {
      ByteString damaged = file;
      for (int i = 0; i < 50; ++i) {
        state = state * 1664525 + 1013904223;
        damaged[4096 + (state >> 8) % (damaged.size() - 4096)] = static_cast<std::uint8_t>(state);
      }
      EXPECT_LE(DecodeFile(damaged).account.trailing_bytes, file.size());
    }
    ++files;
  }
  EXPECT_GT(files, 0U);
}

}  // namespace
}  // namespace tarnlex
