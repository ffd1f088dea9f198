// EVT logs that claim more than they hold.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "evt/walk.h"
#include "tests/app/temp_directory.h"
#include "tests/support/child_run.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtBuilder;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kCountsCost = false;  // the sanitizer's own would be counted
#else
constexpr bool kCountsCost = true;
#endif

std::string_view AsText(const ByteString& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A log of three records, of which the second claims `length`, in a file of `size` bytes.
std::string SparseLog(const TempDirectory& directory, std::uint64_t size, std::uint32_t length) {
  EvtBuilder log;
  log.AddEntry({.event_id = 1, .strings = {"alice"}});
  log.AddEntry({.event_id = 2, .string_count = 0xFFFF, .string_offset = 100, .data_offset = 100});
  const ByteString head = log.Build({.end_record = false});
  ByteString file = head;
  const std::size_t second = 48 + support::GetU32(file, 48);
  if (length != 0) support::SetU32(file, second, length);
  const std::string path = directory.AddFile("log.evt", AsText(file));
  EXPECT_EQ(truncate(path.c_str(), static_cast<off_t>(size)), 0);
  return path;
}

void ExpectSmall(const std::string& log, double seconds) {
  const support::ChildRun run =
      support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-csvgen", "-log", log});
  EXPECT_EQ(run.exit_code, 0) << run.err;
  if (!kCountsCost) return;
  EXPECT_LT(run.peak_kib, 128 << 10);
  EXPECT_LT(run.seconds, seconds);
}

TEST(CraftedEvt, ASparseFileOfFourGibibytesTakesNoMemory) {
  const TempDirectory directory;
  // Reading four gigabytes of holes is most of the time.
  ExpectSmall(SparseLog(directory, std::uint64_t{1} << 32, 0), 30);
}

TEST(CraftedEvt, ARecordOfFourGibibytesTakesNoMemory) {
  const TempDirectory directory;
  ExpectSmall(SparseLog(directory, std::uint64_t{1} << 32, 0xFFFFFE00), 30);
}

TEST(CraftedEvt, ManyRecordsWithoutLengthCostLittle) {
  ByteString file = EvtBuilder().Build({.end_record = false});
  const ByteString record = support::Hex("00 00 00 00 4C 66 4C 65");
  // A million of them, each stepped over by four bytes.
  file.reserve(file.size() + 8'000'000);
  for (int i = 0; i < 1'000'000; ++i) support::PutBytes(file, record);
  const TempDirectory directory;
  const std::string log = directory.AddFile("log.evt", AsText(file));
  const support::ChildRun run =
      support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-csvgen", "-log", log});
  EXPECT_EQ(run.exit_code, 0);
  if (!kCountsCost) return;
  EXPECT_LT(run.seconds, 8 * 16 * 0.05);
  EXPECT_LT(run.peak_kib, 768 << 10);
}

TEST(CraftedEvt, StringsThatOverlapCostNoMoreThanTheirBound) {
  // 64 KiB without a terminator: every string begins two bytes behind the one before.
  ByteString record = support::EvtEntryBytes(
      {.event_id = 1, .string_count = 0xFFFF, .string_offset = 56, .data_offset = 60});
  record.resize(65'536, 'x');
  support::SetU32(record, 0, 65'536);
  EvtBuilder log;
  for (int i = 0; i < 4; ++i) log.AddRaw(record);
  const TempDirectory directory;
  const std::string path = directory.AddFile("log.evt", AsText(log.Build()));
  const support::ChildRun run =
      support::RunChild(TARNLEX_PROGRAM, {"-quiet", "-csvgen", "-log", path});
  EXPECT_EQ(run.exit_code, 0);
  if (kCountsCost) {
    EXPECT_LT(run.peak_kib, 256 << 10);
  }
}

// Many of them must not cost many times what one may.
TEST(CraftedEvt, StringsThatOverlapInShortRecordsCostNoMore) {
  constexpr std::uint32_t kLength = 8192;
  constexpr int kRecords = 64;
  ByteString record = support::EvtEntryBytes(
      {.event_id = 1, .string_count = 0xFFFF, .string_offset = 56, .data_offset = 56});
  record.resize(kLength, 'x');
  support::SetU32(record, 0, kLength);
  EvtRecord read;
  std::size_t text = 0;
  for (int i = 0; i < kRecords; ++i) {
    ASSERT_TRUE(ReadEvtRecord(record, 0, read));
    CutTexts(read);
    for (const Bytes string : read.strings) text += string.size() / 2 * 3;  // bytes of UTF-8
  }
  constexpr std::size_t kShares = (kEvtTextPerByte + kEvtTextBackPerByte) * kLength * kRecords;
  constexpr std::size_t kOwn = std::size_t{kLength} / 2 * 3 * kRecords;
  EXPECT_GT(text, kShares);
  EXPECT_LE(text, kShares + kEvtSpareText + kOwn);
}

TEST(CraftedEvt, ASourceNamePastTheBoundIsLeftOut) {
  constexpr std::size_t kSize = (std::size_t{34} << 20) + 4;
  ByteString record = support::EvtEntryBytes({.event_id = 1, .data_offset = 60});
  record.resize(support::kEvtFixedSize);
  record.resize(kSize, 'x');
  support::SetU32(record, 0, static_cast<std::uint32_t>(kSize));
  EvtRecord read;
  ASSERT_TRUE(ReadEvtRecord(record, 0, read));
  CutTexts(read);
  EXPECT_TRUE(read.source_name.empty());
}

TEST(CraftedEvt, LengthsAtTheEndOf32BitsDoNotWrap) {
  for (const std::uint32_t length : {0xFFFFFFFFU, 0xFFFFFFFCU, 0x80000000U, 0x7FFFFFFFU, 57U}) {
    for (const std::uint32_t offset : {0U, 55U, 0x7FFFFFFFU, 0xFFFFFFFEU}) {
      EvtBuilder log;
      log.AddEntry({.event_id = 1,
                    .strings = {"alice"},
                    .length = length,
                    .string_count = 0xFFFF,
                    .string_offset = offset,
                    .sid_length = length,
                    .sid_offset = offset,
                    .data_length = length,
                    .data_offset = offset});
      log.AddEntry({.number = 9, .event_id = 2});
      const ByteString file = log.Build();
      EvtCursor cursor;
      EvtRecord record;
      ASSERT_TRUE(BeginEvtWalk(file, cursor));
      std::uint64_t last = 0;
      while (NextEvtRecord(cursor, record)) {
        CutTexts(record);
        EXPECT_GT(record.offset, last);
        EXPECT_TRUE(Fits(file.size(), record.offset, record.length));
        last = record.offset;
      }
      EXPECT_EQ(cursor.account.torn_record, length > file.size());
    }
  }
}

}  // namespace
}  // namespace tarnlex
