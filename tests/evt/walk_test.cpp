#include "evt/walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "logs/text.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtBuilder;

std::vector<std::uint32_t> RecordNumbers(Bytes log, EvtAccount* account = nullptr,
                                         Policy policy = Policy::kLiteral) {
  std::vector<std::uint32_t> numbers;
  EvtCursor cursor;
  EvtRecord record;
  if (!BeginEvtWalk(log, cursor, policy)) return numbers;
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

// As a record would that runs past the end.
TEST(EvtWalk, TellsOfAnEndRecordThatLeadsPastTheEnd) {
  ByteString file = ThreeRecords().Build();
  const std::size_t second = support::kEvtHeaderSize + support::GetU32(file, 48);
  support::SetU32(file, second, 0x7FFFFFFF);
  support::SetU32(file, second + 4, 0x11111111);
  for (const Policy policy : {Policy::kLiteral, Policy::kComplete}) {
    EvtAccount account;
    EXPECT_EQ(RecordNumbers(file, &account, policy), (Numbers{1}));
    EXPECT_TRUE(account.torn_record);
    EXPECT_EQ(account.torn_offset, second);
    EXPECT_EQ(account.unwalked_bytes, file.size() - second);
  }
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

// A log of ten records as long as one another that came round, and of which the first piece of one
// has `first` bytes.
ByteString RoundLog(std::uint32_t first) {
  EvtBuilder log;
  for (int i = 0; i < 10; ++i) log.AddEntry({.strings = {"some text"}});
  const auto length =
      static_cast<std::uint32_t>(support::EvtEntryBytes({.strings = {"some text"}}).size());
  const std::uint32_t start = support::kEvtHeaderSize + 8 * length;
  return log.Build({.start = start,
                    .file_size = start + 3 * length + first,
                    .flags = support::kEvtWrapped | support::kEvtDirty});
}

Numbers CompleteNumbers(const ByteString& log, EvtAccount& account) {
  return RecordNumbers(log, &account, Policy::kComplete);
}

TEST(EvtWalk, JoinsTheRecordThatLiesAcrossTheEnd) {
  const ByteString file = RoundLog(80);
  EvtAccount account;
  EXPECT_EQ(RecordNumbers(file, &account), (Numbers{5, 6, 7, 8, 9, 10, 1, 2, 3}));
  EXPECT_TRUE(account.torn_record);
  EXPECT_EQ(account.joined_records, 0U);
  const std::uint64_t skipped = account.skipped_bytes;
  EXPECT_EQ(account.unwalked_bytes, 80U);
  EXPECT_EQ(CompleteNumbers(file, account), (Numbers{5, 6, 7, 8, 9, 10, 1, 2, 3, 4}));
  EXPECT_FALSE(account.torn_record);
  EXPECT_EQ(account.joined_records, 1U);
  EXPECT_EQ(account.records, 10U);
  EXPECT_LT(account.skipped_bytes, skipped);
  EXPECT_EQ(account.unwalked_bytes, 0U);
}

TEST(EvtWalk, JoinsPiecesOfEverySize) {
  for (std::uint32_t first = support::kEvtFixedSize; first < 124; first += 4) {
    EvtAccount account;
    const Numbers numbers = CompleteNumbers(RoundLog(first), account);
    EXPECT_EQ(numbers.size(), 10U) << first;
    EXPECT_EQ(account.joined_records, 1U) << first;
    EvtCursor cursor;
    EvtRecord record;
    const ByteString file = RoundLog(first);
    ASSERT_TRUE(BeginEvtWalk(file, cursor, Policy::kComplete));
    while (NextEvtRecord(cursor, record)) {
    }
    CutTexts(record);
    EXPECT_EQ(record.record_number, 4U);
    EXPECT_EQ(record.offset, file.size() - first);
    ASSERT_EQ(record.strings.size(), 1U);
    EXPECT_EQ(Utf16ToUtf8(record.strings[0]), "some text") << first;
    EXPECT_EQ(Utf16ToUtf8(record.source_name), "Security") << first;
  }
}

TEST(EvtWalk, JoinsNothingWhereTheSecondPieceIsNone) {
  EvtAccount account;
  // Its length does not stand at its end.
  ByteString file = RoundLog(80);
  const std::size_t length = support::GetU32(file, file.size() - 80);
  support::SetU32(file, support::kEvtHeaderSize + length - 80 - 4, 1);
  EXPECT_EQ(CompleteNumbers(file, account).size(), 9U);
  EXPECT_TRUE(account.torn_record);
  EXPECT_EQ(account.joined_records, 0U);
  // A record begins in it.
  file = RoundLog(80);
  support::SetU32(file, support::kEvtHeaderSize, 0);
  support::SetU32(file, support::kEvtHeaderSize + 4, support::GetU32(file, 4));
  CompleteNumbers(file, account);
  EXPECT_EQ(account.joined_records, 0U);
  // The log begins with whole records.
  EvtBuilder cut;
  cut.AddEntry({}).AddEntry({.length = 4096});
  EXPECT_EQ(CompleteNumbers(cut.Build(), account), (Numbers{1}));
  EXPECT_TRUE(account.torn_record);
}

TEST(EvtWalk, GivesCopiesOnceUnderTheCompletePolicy) {
  ByteString file = ThreeRecords().Build({.end_record = false});
  const ByteString records(file.begin() + support::kEvtHeaderSize, file.end());
  support::PutBytes(file, records);
  file.back() = 1;  // the last one differs
  EvtAccount account;
  EXPECT_EQ(RecordNumbers(file, &account), (Numbers{1, 2, 3, 1, 2, 3}));
  EXPECT_EQ(account.copies, 0U);
  EXPECT_EQ(CompleteNumbers(file, account), (Numbers{1, 2, 3, 3}));
  EXPECT_EQ(account.copies, 2U);
  EXPECT_EQ(account.records, 4U);
}

TEST(EvtWalk, LeavesAJoinedRecordOutThatTheLogHasWhole) {
  ByteString file = RoundLog(80);
  const std::uint32_t length = support::GetU32(file, file.size() - 80);
  const std::size_t start = support::kEvtHeaderSize + 8 * length;
  ByteString whole(file.end() - 80, file.end());
  whole.insert(whole.end(), file.begin() + support::kEvtHeaderSize,
               file.begin() + support::kEvtHeaderSize + length - 80);
  std::copy(whole.begin(), whole.end(), file.begin() + static_cast<std::ptrdiff_t>(start - length));
  EvtAccount account;
  EXPECT_EQ(CompleteNumbers(file, account), (Numbers{5, 6, 7, 8, 9, 10, 4, 1, 2, 3}));
  EXPECT_EQ(account.copies, 1U);
  EXPECT_FALSE(account.torn_record);
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
