#include "evt/walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtBuilder;

std::vector<std::uint32_t> RecordNumbers(Bytes log, EvtAccount* account = nullptr) {
  std::vector<std::uint32_t> numbers;
  EvtCursor cursor;
  EvtRecord record;
  if (!BeginEvtWalk(log, cursor)) return numbers;
  while (NextEvtRecord(cursor, record)) numbers.push_back(record.record_number);
  if (account != nullptr) *account = cursor.account;
  return numbers;
}

EvtBuilder ThreeRecords() {
  EvtBuilder log;
  log.AddEntry({.event_id = 528, .strings = {"alice", "WKS-ALPHA"}});
  log.AddEntry({.event_id = 538, .strings = {"bob"}});
  log.AddEntry({.event_id = 540});
  return log;
}

using Numbers = std::vector<std::uint32_t>;

TEST(EvtWalk, GivesRecordsInFileOrder) {
  EvtAccount account;
  EXPECT_EQ(RecordNumbers(ThreeRecords().Build(), &account), (Numbers{1, 2, 3}));
  EXPECT_EQ(account.records, 3U);
  EXPECT_EQ(account.skipped_bytes, 0U);
  EXPECT_FALSE(account.torn_record);
}

TEST(EvtWalk, LeavesAnEndRecordAloneThatIsTooShortForARecord) {
  ByteString file = ThreeRecords().Build();
  EvtAccount account;
  RecordNumbers(file, &account);
  EXPECT_EQ(account.end_marks, 0U);
  EXPECT_EQ(account.unwalked_bytes, 40U);
  file.resize(file.size() + 16);
  RecordNumbers(file, &account);
  EXPECT_EQ(account.end_marks, 1U);
  EXPECT_EQ(account.unwalked_bytes, 16U);
}

TEST(EvtWalk, FindsNothingInALogOfHeaderAndEndRecord) {
  const ByteString log = EvtBuilder().Build();
  ASSERT_EQ(log.size(), 88U);
  EvtCursor cursor;
  EvtRecord record;
  ASSERT_TRUE(BeginEvtWalk(log, cursor));
  EXPECT_FALSE(NextEvtRecord(cursor, record));
  EXPECT_FALSE(NextEvtRecord(cursor, record));
}

TEST(EvtWalk, NeedsTheSignature) {
  EvtCursor cursor;
  EXPECT_FALSE(BeginEvtWalk({}, cursor));
  const ByteString bare = support::Hex("30 00 00 00 4C 66 4C 65");
  EXPECT_TRUE(BeginEvtWalk(bare, cursor));
  EXPECT_FALSE(BeginEvtWalk(Bytes(bare).first(7), cursor));
  EXPECT_FALSE(BeginEvtWalk(support::Hex("30 00 00 00 4C 66 4C 66"), cursor));
}

TEST(EvtWalk, BeginsWhereTheHeaderSizeSays) {
  ByteString log = ThreeRecords().Build();
  EvtCursor cursor;
  EvtRecord record;
  ASSERT_TRUE(BeginEvtWalk(log, cursor));
  ASSERT_TRUE(NextEvtRecord(cursor, record));
  support::SetU32(log, 0, 48 + record.length);
  EXPECT_EQ(RecordNumbers(log), (Numbers{2, 3}));
  support::SetU32(log, 0, 0xFFFFFFFF);
  EXPECT_TRUE(RecordNumbers(log).empty());
}

TEST(EvtWalk, SkipsZeroBytesBetweenRecordsAndBehindTheEndRecord) {
  EvtBuilder log;
  log.AddEntry({.event_id = 1}).AddRaw(ByteString(12, 0)).AddEntry({.event_id = 2});
  ByteString file = log.Build();
  file.resize(file.size() + 400);
  EvtAccount account;
  EXPECT_EQ(RecordNumbers(file, &account), (Numbers{1, 2}));
  EXPECT_EQ(account.skipped_bytes + account.unwalked_bytes, 12U + 400U);
}

TEST(EvtWalk, TakesTheTrailUpAgainBehindATornRecord) {
  EvtBuilder log = ThreeRecords();
  ByteString file = log.Build();
  support::TearRecord(file, 48, 4);  // the signature of the first record is gone
  EXPECT_EQ(RecordNumbers(file), (Numbers{2, 3}));
}

TEST(EvtWalk, StepsOverARecordWithoutLengthByFourBytes) {
  EvtBuilder log;
  log.AddEntry({.number = 7, .length = 0}).AddEntry({.number = 8});
  EvtAccount account;
  EXPECT_EQ(RecordNumbers(log.Build(), &account), (Numbers{7, 8}));
  EXPECT_GT(account.skipped_bytes, 0U);
}

TEST(EvtWalk, StepsOverAnEndRecordWithoutLengthByFourBytes) {
  EvtBuilder log;
  log.AddRaw(support::Hex("00 00 00 00 11 11 11 11")).AddEntry({.number = 3});
  EXPECT_EQ(RecordNumbers(log.Build()), (Numbers{3}));
}

TEST(EvtWalk, JumpsAsFarAsAnEndRecordSays) {
  EvtBuilder log;
  log.AddRaw(support::Hex("FF FF FF FF 11 11 11 11")).AddEntry({.number = 3});
  EXPECT_TRUE(RecordNumbers(log.Build()).empty());
}

TEST(EvtWalk, StopsAtARecordCutShortAndKeepsEarlierOnes) {
  EvtBuilder log;
  log.AddEntry({.strings = {"whole"}}).AddEntry({.strings = {"cut"}});
  ByteString file = log.Build({.end_record = false});
  const std::size_t second = 48 + support::GetU32(file, 48);
  file.pop_back();
  EvtAccount account;
  EXPECT_EQ(RecordNumbers(file, &account), (Numbers{1}));
  EXPECT_TRUE(account.torn_record);
  EXPECT_EQ(account.torn_offset, second);
  EXPECT_EQ(account.unwalked_bytes, file.size() - second);
}

TEST(EvtWalk, DoesNotWrapOnAbsurdLengths) {
  EvtBuilder log;
  log.AddEntry({.number = 1}).AddEntry({.number = 2, .length = 0xFFFFFFFC});
  EXPECT_EQ(RecordNumbers(log.Build()), (Numbers{1}));
}

TEST(EvtWalk, FindsAllRecordsOfALogThatCameRound) {
  EvtBuilder log;
  for (int i = 0; i < 20; ++i) log.AddEntry({.strings = {"some text"}});
  const ByteString plain = log.Build();
  const ByteString file = log.Build({.start = 400,
                                     .file_size = static_cast<std::uint32_t>(plain.size() + 200),
                                     .flags = support::kEvtWrapped | support::kEvtDirty});
  // The record that lies across the end of the file is two pieces; neither is a record.
  const Numbers numbers = RecordNumbers(file);
  EXPECT_GE(numbers.size(), 19U);
}

// Cutting a good log anywhere loses records from the end and nothing else.
TEST(EvtWalk, SurvivesEveryCut) {
  const ByteString file = ThreeRecords().Build();
  const Numbers all = RecordNumbers(file);
  std::size_t most = 0;
  for (std::size_t size = 0; size <= file.size(); ++size) {
    const ByteString cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
    const Numbers some = RecordNumbers(cut);
    ASSERT_LE(some.size(), all.size());
    ASSERT_TRUE(std::equal(some.begin(), some.end(), all.begin()));
    ASSERT_GE(some.size(), most);
    most = some.size();
  }
  EXPECT_EQ(most, all.size());
}

// Every byte of a log in turn takes every value that tends to hurt; sanitizers watch.
TEST(EvtWalk, SurvivesEveryDamagedByte) {
  const ByteString file = ThreeRecords().Build();
  std::size_t walked = 0;
  for (std::size_t at = 0; at < file.size(); ++at) {
    for (const int value : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
      ByteString damaged = file;
      damaged[at] = static_cast<std::uint8_t>(value);
      EvtCursor cursor;
      EvtRecord record;
      if (!BeginEvtWalk(damaged, cursor)) continue;
      while (NextEvtRecord(cursor, record)) {
        CutTexts(record);
        ++walked;
        ASSERT_LE(record.strings.size(), record.string_count);
      }
    }
  }
  EXPECT_GT(walked, file.size());
}

// A record may claim 65,535 strings in a field of text without terminators; each of them begins one
// unit behind the one before.
TEST(EvtWalk, StaysLinearInRecordsWithoutTerminators) {
  ByteString file = EvtBuilder().Build({.end_record = false});
  constexpr std::uint32_t kLength = 60'000;
  for (std::uint32_t i = 0; i < 20; ++i) {
    const std::size_t at = file.size();
    file.resize(at + kLength, 0x41);
    support::SetU32(file, at, kLength);
    support::SetU32(file, at + 4, 0x654C664C);
    support::SetU16(file, at + 26, 0xFFFF);
    support::SetU32(file, at + 36, 56);
    support::SetU32(file, at + 40, 0);
  }
  const auto begin = std::chrono::steady_clock::now();
  EvtCursor cursor;
  EvtRecord record;
  ASSERT_TRUE(BeginEvtWalk(file, cursor));
  std::size_t records = 0;
  while (NextEvtRecord(cursor, record)) {
    CutTexts(record);
    ++records;
    std::uint64_t total = 0;
    for (const Bytes string : record.strings) total += string.size() / 2;
    ASSERT_GT(record.strings.size(), 20U);
    ASSERT_LE(total, std::uint64_t{16} << 20);  // all of it ASCII, one byte a unit
  }
  EXPECT_EQ(records, 20U);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(EvtWalk, ReadsARealLogWhoseRingHasTurned) {
  const char* folder = std::getenv("TARNLEX_LOGS");
  if (folder == nullptr) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  std::ifstream in(std::string(folder) + "/evt/SysEvent.Evt", std::ios::binary);
  ASSERT_TRUE(in.is_open());
  const ByteString file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  EvtAccount account;
  const Numbers numbers = RecordNumbers(file, &account);
  EXPECT_EQ(numbers.size(), account.records);
  EXPECT_GT(numbers.size(), 6000U);
  EXPECT_EQ(account.end_marks, 1U);
}

}  // namespace
}  // namespace tarnlex
