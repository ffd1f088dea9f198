// What recovery takes for proof must hold where nothing is in doubt: in the chunks of every real
// log below $TARNLEX_LOGS whose checksums are those of their bytes.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "evtx/chunk.h"
#include "evtx/find_record.h"
#include "evtx/judge_record.h"
#include "evtx/name_hash.h"
#include "evtx/survey.h"
#include "tests/end_to_end/real_logs.h"

namespace tarnlex {
namespace {

bool IsSoundChunk(Bytes slot) {
  WalkAccount account;
  CheckChecksums(slot, 0, account);
  return HasChunkSignature(slot, 0) && account.broken_checksums == 0;
}

// Hands each chunk of every log to `use`, in which all checksums hold; returns how many there were.
template <typename Use>
std::size_t OfSoundChunks(const Use& use) {
  std::size_t chunks = 0;
  for (const std::string& path : PathsOfRealLogs()) {
    SCOPED_TRACE(path);
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> text{std::istreambuf_iterator<char>(in), {}};
    const std::vector<std::uint8_t> file(text.begin(), text.end());
    for (std::size_t at = kEvtxFileHeaderSize; Fits(file, at, kChunkSize); at += kChunkSize) {
      const Bytes slot = Clip(file, at, kChunkSize);
      if (!IsSoundChunk(slot)) continue;
      ++chunks;
      use(slot);
    }
  }
  return chunks;
}

std::size_t ExpectHashes(Bytes chunk, std::uint32_t name) {
  std::size_t names = 0;
  for (; name != 0 && Fits(chunk, name, kNameHeadSize); ++names) {
    const auto hash = Load<std::uint16_t>(chunk.data() + name + 4);
    const auto count = Load<std::uint16_t>(chunk.data() + name + 6);
    EXPECT_EQ(NameHash(Clip(chunk, name + kNameHeadSize, 2 * std::size_t{count})), hash) << name;
    if (names > kChunkSize / kNameHeadSize) break;  // names that lead back to themselves
    name = Load<std::uint32_t>(chunk.data() + name);
  }
  return names;
}

TEST(RealLogsSound, NamesSatisfyTheirHashes) {
  std::size_t names = 0;
  const std::size_t chunks = OfSoundChunks([&](Bytes chunk) {
    for (std::uint32_t bucket = 0; bucket < kNameBuckets; ++bucket) {
      names +=
          ExpectHashes(chunk, Load<std::uint32_t>(chunk.data() + kChunkNameTable + 4 * bucket));
    }
  });
  if (chunks == 0) GTEST_SKIP() << "no log";
  EXPECT_GT(names, chunks);
}

TEST(RealLogsSound, RecordsOfTheLogAreProvedInFull) {
  std::size_t records = 0;
  std::size_t others = 0;
  const std::size_t chunks = OfSoundChunks([&](Bytes chunk) {
    SoundChecks checks{chunk, {}, {}, kMaxChunkPrepared};
    RecordSearch search = SearchRecords(chunk);
    for (RecordPlace place; NextRecord(search, place);) {
      const Recovery judged = JudgeRecord(checks, FoundIn::kSlack, place.offset, place.size);
      ++records;
      others += judged.checked != Checked::kAll;
    }
  });
  if (chunks == 0) GTEST_SKIP() << "no log";
  // Five of 13,914, when this was written. One has a policy's numbers as texts, control characters.
  EXPECT_LE(others, records / 1000) << "of " << records;
  EXPECT_GT(records, chunks);
}

}  // namespace
}  // namespace tarnlex
