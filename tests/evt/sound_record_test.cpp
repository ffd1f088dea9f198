#include "evt/sound_record.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "evt/walk.h"
#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtEntry;

constexpr std::uint32_t kTime = 1'300'000'000;

EvtEntry Entry() {
  return {.number = 7,
          .time = kTime,
          .event_id = 528,
          .sid = "S-1-5-21-1-2-3-500",
          .strings = {"alice", "", "Grüße"},
          .data = {1, 2, 3}};
}

bool IsSound(const EvtEntry& entry) { return IsSoundEvtRecord(support::EvtEntryBytes(entry)); }

TEST(SoundEvtRecord, TakesRecordsOfAllShapes) {
  EXPECT_TRUE(IsSound(Entry()));
  EXPECT_TRUE(IsSound({.number = 1, .time = kTime}));
  for (const unsigned type : {0U, 1U, 2U, 4U, 8U, 16U}) {
    EvtEntry entry = Entry();
    entry.type = static_cast<std::uint16_t>(type);
    EXPECT_TRUE(IsSound(entry)) << type;
  }
  // A driver's record: the place of a SID that it does not have is 0, and it ends with bytes of
  // whatever was in memory.
  EvtEntry entry = Entry();
  entry.sid = "";
  entry.sid_offset = 0;
  entry.data = ByteString(20, 0x5A);
  entry.data_length = 6;
  EXPECT_TRUE(IsSound(entry));
}

TEST(SoundEvtRecord, RefusesPartsThatDoNotMeet) {
  const ByteString whole = support::EvtEntryBytes(Entry());
  // The number of strings, where they are, the SID and its size, where the data are.
  for (const std::size_t field : {26U, 36U, 40U, 44U, 52U}) {
    for (const int by : {-4, -1, 1, 4}) {
      ByteString record = whole;
      record[field] = static_cast<std::uint8_t>(record[field] + by);
      EXPECT_FALSE(IsSoundEvtRecord(record)) << field << ' ' << by;
    }
  }
}

TEST(SoundEvtRecord, RefusesTypesThatNoEventHas) {
  for (const unsigned type : {3U, 5U, 6U, 12U, 17U, 32U}) {
    ByteString record = support::EvtEntryBytes(Entry());
    record[24] = static_cast<std::uint8_t>(type);
    EXPECT_FALSE(IsSoundEvtRecord(record)) << type;
  }
}

TEST(SoundEvtRecord, RefusesTextsThatAreNone) {
  const ByteString whole = support::EvtEntryBytes(Entry());
  const std::size_t strings = support::GetU32(whole, 36);
  for (const std::size_t at : {std::size_t{56}, std::size_t{76}, strings, strings + 16}) {
    for (const unsigned unit : {0x0000U, 0x0007U, 0xD800U, 0xDC00U, 0xE000U, 0xFFFFU}) {
      ByteString record = whole;
      support::SetU16(record, at, static_cast<std::uint16_t>(unit));
      EXPECT_FALSE(IsSoundEvtRecord(record)) << at << ' ' << unit;
    }
  }
}

TEST(SoundEvtRecord, RefusesZerosInPlaceOfItsEnd) {
  const ByteString whole = support::EvtEntryBytes(Entry());
  for (std::size_t at = 24; at < whole.size() - 12; ++at) {
    ByteString record = whole;
    std::fill(record.begin() + static_cast<std::ptrdiff_t>(at), record.end() - 4, std::uint8_t{0});
    if (record == whole) continue;
    // The data are the one part of which nothing is known.
    if (at + 3 >= support::GetU32(whole, 52)) break;
    EXPECT_FALSE(IsSoundEvtRecord(record)) << at;
  }
}

// Anything may stand there, sanitizers watch.
TEST(SoundEvtRecord, LooksAtNothingOutside) {
  const ByteString whole = support::EvtEntryBytes(Entry());
  std::size_t sound = 0;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const int value : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
      ByteString record = whole;
      record[at] = static_cast<std::uint8_t>(value);
      const std::uint32_t length = PlausibleEvtLength(record);
      if (length == whole.size()) sound += IsSoundEvtRecord(record);
    }
  }
  EXPECT_GT(sound, 0U);
}

TEST(SoundEvtRecord, IsWhatARealLogIsMadeOf) {
  const char* folder = std::getenv("TARNLEX_LOGS");
  if (folder == nullptr) GTEST_SKIP() << "TARNLEX_LOGS is not set";
  std::ifstream in(std::string(folder) + "/evt/SysEvent.Evt", std::ios::binary);
  const ByteString file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  EvtCursor cursor;
  EvtRecord record;
  ASSERT_TRUE(BeginEvtWalk(file, cursor));
  std::size_t sound = 0;
  while (NextEvtRecord(cursor, record)) {
    const Bytes bytes = Clip(file, record.offset, record.length);
    sound += PlausibleEvtLength(bytes) == record.length && IsSoundEvtRecord(bytes);
  }
  // All but one, whose end was overwritten by another record's.
  EXPECT_EQ(cursor.account.records, 6500U);
  EXPECT_EQ(sound, 6499U);
}

}  // namespace
}  // namespace tarnlex
