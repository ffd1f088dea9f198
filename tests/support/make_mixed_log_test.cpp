// The log that measurements of mixed chunks are made on: they mean something only when it holds
// what it should, and the same everywhere.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tests/app/temp_directory.h"
#include "tests/support/child_run.h"
#include "tests/support/evtx_builder.h"
#include "tests/support/log_of_chunks.h"

namespace tarnlex::support {
namespace {

// A log of one record a chunk, numbered from `first` on.
EvtxBuilder LogOf(std::uint64_t first, int chunks) {
  EvtxBuilder log;
  for (int i = 0; i < chunks; ++i) {
    log.AddChunk().AddEvent(
        {.event_id = 4624, .id = first + static_cast<std::uint64_t>(i), .data = {{"Name", "x"}}});
  }
  return log;
}

void AddLog(const TempDirectory& folder, const std::string& name, const ByteString& log) {
  folder.AddFile(name, {reinterpret_cast<const char*>(log.data()), log.size()});
}

// Logs of chunks 1 to 4 and 10 to 12, and everything that is no chunk with records.
void AddLogs(const TempDirectory& folder) {
  ByteString first = LogOf(1, 5).AddChunk().Build();
  RemoveChunkMagic(first, 4);
  InsertSlot(first, 2);
  AddLog(folder, "logs/b.evtx", first);
  AddLog(folder, "logs/a/any name", LogOf(10, 3).Build());
  ByteString marked_empty = LogOf(20, 1).Build();
  SetU64(marked_empty, ChunkOffset(0) + 16, ~std::uint64_t{0});
  AddLog(folder, "logs/c.evtx", marked_empty);
  AddLog(folder, "logs/d.evtx", EvtxBuilder().Build());
  AddLog(folder, "logs/e.evtx", LogOf(30, 1).BuildChunks());
  folder.AddFile("logs/f.evtx", "no log");
}

// Makes a log of 1 MiB and gives the numbers of its chunks' first records.
std::vector<std::uint32_t> NumbersOfMixed(const TempDirectory& folder) {
  const std::string out = folder.path + "/mixed";
  const ChildRun run = RunChild(TARNLEX_MAKE_MIXED_LOG, {folder.path + "/logs", out, "1"});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  const ByteString log = ReadAll(out);
  EXPECT_EQ(log.size(), kEvtxHeaderSize + 16 * kEvtxChunkSize);
  std::vector<std::uint32_t> numbers;
  for (const ByteString& chunk : ChunksOf(log)) {
    numbers.push_back(GetU32(chunk, kEvtxFirstRecord + 8));
  }
  return numbers;
}

TEST(MakeMixedLog, TakesEveryChunkThatHoldsRecordsAndRepeatsThemAll) {
  const TempDirectory folder;
  AddLogs(folder);
  const std::vector<std::uint32_t> numbers = NumbersOfMixed(folder);
  ASSERT_EQ(numbers.size(), 16U);
  std::vector<std::uint32_t> once(numbers.begin(), numbers.begin() + 7);
  EXPECT_TRUE(std::equal(numbers.begin() + 7, numbers.begin() + 14, once.begin()));
  std::sort(once.begin(), once.end());
  EXPECT_EQ(once, (std::vector<std::uint32_t>{1, 2, 3, 4, 10, 11, 12}));
}

// Written down from the first run: another order elsewhere would be another log.
TEST(MakeMixedLog, ShufflesTheSameWayEverywhere) {
  const TempDirectory folder;
  AddLogs(folder);
  std::vector<std::uint32_t> numbers = NumbersOfMixed(folder);
  numbers.resize(7);
  EXPECT_EQ(numbers, (std::vector<std::uint32_t>{1, 11, 2, 4, 3, 10, 12}));
}

TEST(MakeMixedLog, IsALogThatTheProgramReadsWhole) {
  const TempDirectory folder;
  AddLogs(folder);
  NumbersOfMixed(folder);
  const std::string out = folder.path + "/rows";
  EXPECT_EQ(RunChild(TARNLEX_PROGRAM, {"-log", folder.path + "/mixed", "-csvgen", "-quiet"}, out)
                .exit_code,
            0);
  std::ifstream rows(out);
  int count = 0;
  for (std::string row; std::getline(rows, row);) count += row.find(",4624,") != row.npos ? 1 : 0;
  EXPECT_EQ(count, 16);
}

TEST(MakeMixedLog, FailsWithoutChunksOrSize) {
  const TempDirectory folder;
  folder.AddFile("logs/f.evtx", "no log");
  const std::string out = folder.path + "/mixed";
  const std::string logs = folder.path + "/logs";
  EXPECT_EQ(RunChild(TARNLEX_MAKE_MIXED_LOG, {logs, out, "1"}).exit_code, 1);
  EXPECT_EQ(RunChild(TARNLEX_MAKE_MIXED_LOG, {logs + "/none", out, "1"}).exit_code, 1);
  EXPECT_EQ(RunChild(TARNLEX_MAKE_MIXED_LOG, {logs, out, "1x"}).exit_code, 2);
}

}  // namespace
}  // namespace tarnlex::support
