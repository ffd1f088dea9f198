#include "evt/recover.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/evt/recovering.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtBuilder;
using support::EvtEntry;
using support::SetU32;

constexpr std::uint32_t kMark = 0x11111111;

// Records of as many bytes each, numbered from `first` on.
EvtBuilder Records(std::uint32_t first, std::uint32_t count, const std::string& text) {
  EvtBuilder log;
  for (std::uint32_t i = 0; i < count; ++i) {
    log.AddEntry({.number = first + i,
                  .event_id = 528,
                  .strings = {text, "text " + std::to_string(100 + first + i)}});
  }
  return log;
}

std::size_t PlaceOf(const ByteString& file, std::uint32_t number) {
  for (std::size_t at = support::kEvtHeaderSize; at + 12 < file.size(); at += 4) {
    if (support::GetU32(file, at + 4) == 0x654C664C && support::GetU32(file, at + 8) == number) {
      return at;
    }
  }
  ADD_FAILURE() << number;
  return 0;
}

// A log of the records 1 to 6 that was cleared, and begun anew with the records 1 and 2.
ByteString ClearedLog() {
  ByteString file = Records(1, 6, "old").Build();
  const ByteString young = Records(1, 2, "new").Build({.flags = support::kEvtDirty});
  std::copy(young.begin(), young.end(), file.begin());
  return file;
}

// Six records in a ring that has come round: of two more of them only the newest is left whole.
ByteString RingLog() {
  EvtBuilder log = Records(5, 6, "ring");
  const std::uint32_t length = support::GetU32(log.Build(), support::kEvtHeaderSize);
  const std::uint32_t start = support::kEvtHeaderSize + 5 * length;
  ByteString file = log.Build({.start = start,
                               .file_size = start + 3 * length,
                               .flags = support::kEvtDirty | support::kEvtWrapped});
  const ByteString old = Records(3, 2, "ring").Build({.end_record = false});
  std::copy(old.begin() + support::kEvtHeaderSize + 40, old.end(),
            file.begin() + support::kEvtHeaderSize + 3 * length + 40);
  return file;
}

TEST(EvtRecover, GivesWhatALogHadBeforeItWasCleared) {
  const ByteString file = ClearedLog();
  const RecoveredEvt log = RecoverEvt(file);
  // The third record's head lies under the end-of-file record.
  EXPECT_EQ(Summary(log), "2 slack/all 4 slack/all 5 slack/all 6");
  EXPECT_EQ(log.found[0].offset, PlaceOf(file, 4));
  EXPECT_NE(log.found[0].text.find("Security WKS-ALPHA|old|text 104|"), std::string::npos);
  EXPECT_EQ(log.account.records, 2U);
  EXPECT_EQ(log.account.recovered.checked[0], 3U);
  EXPECT_TRUE(log.account.ring_known);
}

TEST(EvtRecover, GivesEverythingOfALogThatIsEmptyNow) {
  ByteString file = Records(1, 3, "old").Build();
  const ByteString empty = EvtBuilder().Build();
  std::copy(empty.begin(), empty.end(), file.begin());
  EXPECT_EQ(Summary(RecoverEvt(file)), "0 slack/all 2 slack/all 3");
}

TEST(EvtRecover, GivesWhatARingHasNotOverwrittenYet) {
  const RecoveredEvt log = RecoverEvt(RingLog());
  EXPECT_EQ(Summary(log), "6 slack/all 4");
  EXPECT_EQ(log.live[0].number, 8U);  // in file order, behind the header
}

TEST(EvtRecover, LeavesOutCopiesOfRecordsOfTheLogWhereverTheyLie) {
  // The copy stands in front of the record that it is one of.
  ByteString file = RingLog();
  const std::size_t length = support::GetU32(file, PlaceOf(file, 4));
  std::copy_n(file.begin() + static_cast<std::ptrdiff_t>(PlaceOf(file, 5)), length,
              file.begin() + static_cast<std::ptrdiff_t>(PlaceOf(file, 4)));
  const RecoveredEvt log = RecoverEvt(file);
  EXPECT_EQ(Summary(log), "6");
  EXPECT_EQ(log.account.recovered.copies, 1U);
  EXPECT_EQ(log.account.copies, 0U);
}

TEST(EvtRecover, FindsNothingInALogWithoutSlack) {
  const RecoveredEvt log = RecoverEvt(Records(1, 4, "a").Build());
  EXPECT_EQ(Summary(log), "4");
  EXPECT_EQ(log.account.recovered.copies, 0U);
}

TEST(EvtRecover, TellsNothingButTheHeadOfARecordThatDoesNotHoldTogether) {
  ByteString file = ClearedLog();
  const std::size_t at = PlaceOf(file, 5);
  file[at + 60] = 7;  // a control character in the source's name
  const RecoveredEvt log = RecoverEvt(file);
  EXPECT_EQ(Summary(log), "2 slack/all 4 slack/none 5 slack/all 6");
  EXPECT_FALSE(log.found[1].recovery.has_values);
}

TEST(EvtRecover, TakesNothingThatIsNotWhole) {
  const std::vector<std::pair<std::size_t, std::uint32_t>> kBroken = {{0, 4096},
                                                                      {4, 1},
                                                                      {8, 0},
                                                                      {12, 0},
                                                                      {12, 631'151'999},
                                                                      {16, 0},
                                                                      {16, 4'102'444'800},
                                                                      {36, 4096},
                                                                      {48, 0x7FFFFFFF},
                                                                      {52, 0x7FFFFFFF}};
  for (const auto& [field, value] : kBroken) {
    ByteString file = ClearedLog();
    const std::size_t at = PlaceOf(file, 5);
    SetU32(file, at + 48, 4);
    SetU32(file, at + field, value);
    const std::string summary = Summary(RecoverEvt(file));
    EXPECT_EQ(summary.find("all 5"), std::string::npos) << field << ' ' << value;
    EXPECT_EQ(summary.find("none 5"), std::string::npos) << field << ' ' << value;
  }
  ByteString file = ClearedLog();
  const std::size_t at = PlaceOf(file, 5);
  SetU32(file, at + support::GetU32(file, at) - 4, 1);
  const RecoveredEvt log = RecoverEvt(file);
  EXPECT_EQ(Summary(log), "2 slack/all 4 slack/all 6");
  EXPECT_EQ(log.account.broken_outside, 1U);
}

TEST(EvtRecover, TakesNoRecordOutOfAnother) {
  const ByteString inner = support::EvtEntryBytes({.number = 77, .time = 1'300'000'000U});
  ByteString file = EvtBuilder().AddEntry({.number = 1}).AddEntry({.data = inner}).Build();
  EXPECT_EQ(Summary(RecoverEvt(file)), "2");
  // Nor is one taken that stands in the values of one that is recovered.
  const ByteString empty = EvtBuilder().Build();
  std::copy(empty.begin(), empty.end(), file.begin());
  EXPECT_EQ(Summary(RecoverEvt(file)), "0 slack/all 2");
}

TEST(EvtRecover, GoesOnBehindALengthThatLeadsPastRecordsOfTheLog) {
  ByteString file = Records(1, 6, "a").Build();
  const std::size_t at = PlaceOf(file, 2);
  SetU32(file, at, 4 * support::GetU32(file, at));
  const RecoveredEvt log = RecoverEvt(file);
  // They are the log's, by their place and number.
  EXPECT_EQ(Summary(log), "3 log/all 3 log/all 4 log/all 5");
  EXPECT_EQ(log.account.regained_records, 3U);
  EXPECT_EQ(log.account.records, 6U);
}

TEST(EvtRecover, GoesOnBehindARecordThatRunsPastTheEnd) {
  ByteString file = Records(1, 4, "a").Build();
  SetU32(file, PlaceOf(file, 2), 1U << 30);
  EXPECT_EQ(Summary(RecoverEvt(file)), "1 log/all 3 log/all 4");
  // Where the end-of-file record is gone too nobody knows whose they are.
  file = Records(1, 4, "a").Build({.end_record = false});
  SetU32(file, PlaceOf(file, 2), 1U << 30);
  const RecoveredEvt log = RecoverEvt(file);
  EXPECT_EQ(Summary(log), "1 tail/all 3 tail/all 4");
  EXPECT_FALSE(log.account.ring_known);
}

// Records lie at multiples of four, wherever the walk has been led.
TEST(EvtRecover, GoesOnBehindARecordOfAnOddLength) {
  ByteString file = Records(1, 4, "a").Build();
  const std::size_t at = PlaceOf(file, 2);
  const std::uint32_t length = support::GetU32(file, at) - 3;
  SetU32(file, at, length);
  SetU32(file, at + length - 4, length);
  EXPECT_EQ(Summary(RecoverEvt(file)), "2 log/all 3 log/all 4");
}

TEST(EvtRecover, FindsWhatLiesInFrontOfWhereTheHeaderLeads) {
  ByteString file = Records(1, 4, "a").Build();
  SetU32(file, 0, static_cast<std::uint32_t>(PlaceOf(file, 3)));
  EXPECT_EQ(Summary(RecoverEvt(file)), "2 log/all 1 log/all 2");
  SetU32(file, 0, 0xFFFFFFFF);
  const RecoveredEvt log = RecoverEvt(file);
  EXPECT_EQ(Summary(log), "0 log/all 1 log/all 2 log/all 3 log/all 4");
  EXPECT_EQ(log.account.unwalked_bytes, file.size() - support::kEvtHeaderSize);
}

TEST(EvtRecover, GivesThroughAWindowWhatItGivesOfTheWholeFile) {
  const ByteString file = ClearedLog();
  InputFile input{file.size(), [&file](std::uint64_t offset, std::span<std::uint8_t> to) {
                    const Bytes part = Clip(file, offset, to.size());
                    std::copy(part.begin(), part.end(), to.begin());
                    return part.size();
                  }};
  EvtCursor cursor;
  ASSERT_TRUE(BeginEvtFileWalk(input, cursor, Policy::kComplete));
  EXPECT_EQ(Summary(RecoverEvt(cursor)), Summary(RecoverEvt(file)));
}

TEST(EvtRing, IsThatOfTheLatestLog) {
  EXPECT_EQ(FindEvtRing(WholeEvtLog(ClearedLog())).next_record, 3U);
  const ByteString ring = RingLog();
  const EvtRing found = FindEvtRing(WholeEvtLog(ring));
  EXPECT_TRUE(found.known);
  EXPECT_GT(found.begin, found.end);
  EXPECT_TRUE(IsInRing(found, ring.size() - 1));
  EXPECT_TRUE(IsInRing(found, support::kEvtHeaderSize));
  EXPECT_FALSE(IsInRing(found, found.begin - 1));
  EXPECT_FALSE(IsInRing(found, found.end));
}

TEST(EvtRing, IsThatOfTheHeaderWhereTheLogWasClosed) {
  // Behind the log's end lies that of another, which ends in front of it: either could be meant.
  ByteString file = Records(1, 2, "a").Build();
  const std::size_t end = support::GetU32(file, 20);
  ByteString other(file.begin() + static_cast<std::ptrdiff_t>(end), file.end());
  SetU32(other, 20, static_cast<std::uint32_t>(file.size()));
  SetU32(other, 24, static_cast<std::uint32_t>(file.size()));
  support::PutBytes(file, other);
  EXPECT_EQ(FindEvtRing(WholeEvtLog(file)).end, end);
  SetU32(file, 36, support::kEvtDirty);
  EXPECT_FALSE(FindEvtRing(WholeEvtLog(file)).known);
}

TEST(EvtRing, IsNotKnownByAnEndThatDoesNotHold) {
  for (const std::size_t field : {0U, 4U, 8U, 12U, 16U, 20U, 24U, 28U, 36U}) {
    ByteString file = Records(3, 2, "a").Build({.flags = support::kEvtDirty});
    const std::size_t end = support::GetU32(file, 20);
    ASSERT_EQ(support::GetU32(file, end + 4), kMark);
    ASSERT_TRUE(FindEvtRing(WholeEvtLog(file)).known);
    SetU32(file, end + field, 2);
    EXPECT_FALSE(FindEvtRing(WholeEvtLog(file)).known) << field;
  }
}

TEST(EvtRing, IsFoundInALogFullOfEndsInLinearTime) {
  ByteString file = EvtBuilder().Build({.flags = support::kEvtDirty});
  const ByteString end(file.end() - 40, file.end());
  while (file.size() < (1U << 22)) {
    const auto at = static_cast<std::uint32_t>(file.size());
    support::PutBytes(file, end);
    SetU32(file, at + 20, at);
    SetU32(file, at + 24, at);
  }
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(FindEvtRing(WholeEvtLog(file)).known);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(EvtRecover, StaysLinearInHeadsWithoutEnds) {
  ByteString file = EvtBuilder().Build();
  ByteString head = support::EvtEntryBytes({.number = 1, .time = 1'300'000'000U});
  head.resize(support::kEvtFixedSize);
  SetU32(head, 0, 1U << 19);
  while (file.size() < (1U << 23)) support::PutBytes(file, head);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Summary(RecoverEvt(file)), "0");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST(EvtRecover, FindsInARealLogTheRecordsBeforeItsOldest) {
  const char* folder = std::getenv("TARNLEX_LOGS");
  if (folder == nullptr) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  std::ifstream in(std::string(folder) + "/evt/SysEvent.Evt", std::ios::binary);
  ASSERT_TRUE(in.is_open());
  const ByteString file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const RecoveredEvt log = RecoverEvt(file);
  EXPECT_EQ(log.live.size(), 6063U);
  ASSERT_EQ(log.found.size(), 257U);
  for (std::size_t i = 0; i < log.found.size(); ++i) {
    EXPECT_EQ(log.found[i].number, 1135 + i);
    EXPECT_EQ(log.found[i].recovery.checked, Checked::kAll);
  }
  EXPECT_EQ(log.account.recovered.copies, 180U);
}

}  // namespace
}  // namespace tarnlex
