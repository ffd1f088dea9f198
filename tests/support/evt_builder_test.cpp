// Hand-written bytes pin the builder, so that tests built on it stand on solid ground.
#include "tests/support/evt_builder.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/breakers.h"

namespace tarnlex::support {
namespace {

EvtEntry SmallEntry() {
  return {.number = 7,
          .time = 0x4E2FA99C,
          .event_id = 0x210,
          .type = 8,
          .category = 2,
          .source = "S",
          .computer = "C",
          .sid = "S-1-5-18",
          .strings = {"a", ""},
          .data = {0xAA, 0xBB}};
}

constexpr const char* kSmallEntry =
    "5C 00 00 00 4C 66 4C 65 07 00 00 00 9C A9 2F 4E 9C A9 2F 4E 10 02 00 00"
    // a success, two strings, the category
    "08 00 02 00 02 00 00 00 00 00 00 00"
    // where the strings, the SID and the data stand
    "4C 00 00 00 0C 00 00 00 40 00 00 00 02 00 00 00 52 00 00 00"
    // S, C, the SID
    "53 00 00 00 43 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00"
    // a, nothing, data, padding, the length again
    "61 00 00 00 00 00 AA BB 00 00 00 00 5C 00 00 00";

TEST(EvtBuilder, LaysDownARecord) {
  EXPECT_EQ(ToHex(EvtEntryBytes(SmallEntry())), ToHex(Hex(kSmallEntry)));
}

TEST(EvtBuilder, PutsHeaderAndEndRecordAroundTheRecords) {
  EvtBuilder log;
  log.AddEntry(SmallEntry());
  EXPECT_EQ(ToHex(log.Build({.flags = kEvtArchive})),
            ToHex(Hex("30 00 00 00 4C 66 4C 65 01 00 00 00 01 00 00 00 30 00 00 00 8C 00 00 00"
                      "08 00 00 00 07 00 00 00 B4 00 00 00 08 00 00 00 00 00 00 00 30 00 00 00")) +
                ToHex(Hex(kSmallEntry)) +
                ToHex(Hex("28 00 00 00 11 11 11 11 22 22 22 22 33 33 33 33 44 44 44 44"
                          "30 00 00 00 8C 00 00 00 08 00 00 00 07 00 00 00 28 00 00 00")));
}

TEST(EvtBuilder, ContinuesARecordBehindTheHeaderWhenTheFileEnds) {
  EvtBuilder log;
  log.AddEntry(SmallEntry());
  const ByteString file = log.Build({.start = 200, .file_size = 264, .slack = 0xEE});
  const ByteString entry = Hex(kSmallEntry);
  EXPECT_EQ(ToHex({file.begin() + 200, file.end()}), ToHex({entry.begin(), entry.begin() + 64}));
  EXPECT_EQ(ToHex({file.begin() + 48, file.begin() + 76}),
            ToHex({entry.begin() + 64, entry.end()}));
  EXPECT_EQ(GetU32(file, 80), 0x11111111U);
  EXPECT_EQ(ToHex({file.begin() + 116, file.begin() + 120}), "eeeeeeee");
  EXPECT_EQ(GetU32(file, 16), 200U);
  EXPECT_EQ(GetU32(file, 20), 76U);
}

TEST(EvtBuilder, FillsARestTooShortForAFixedPart) {
  EvtBuilder log;
  log.AddEntry(SmallEntry());
  const ByteString file = log.Build({.start = 200, .file_size = 208});
  EXPECT_EQ(ToHex({file.begin() + 200, file.end()}), "2700000027000000");
  EXPECT_EQ(GetU32(file, 52), 0x654C664CU);
}

TEST(EvtBuilder, RefusesALayoutTooSmall) {
  EvtBuilder log;
  log.AddEntry(SmallEntry());
  EXPECT_THROW(log.Build({.file_size = 100}), std::length_error);
}

TEST(EvtBuilder, SaysWhatItIsToldInPlaceOfTheTruth) {
  EvtEntry entry = SmallEntry();
  entry.length = 1;
  entry.signature = 2;
  entry.string_count = 3;
  entry.string_offset = 4;
  entry.sid_length = 5;
  entry.sid_offset = 6;
  entry.data_length = 7;
  entry.data_offset = 8;
  entry.length_copy = 9;
  entry.time_written = 10;
  const ByteString bytes = EvtEntryBytes(entry);
  ASSERT_EQ(bytes.size(), Hex(kSmallEntry).size());
  EXPECT_EQ(GetU32(bytes, 0), 1U);
  EXPECT_EQ(GetU32(bytes, 4), 2U);
  EXPECT_EQ(GetU32(bytes, 16), 10U);
  EXPECT_EQ(GetU32(bytes, 24), 0x00030008U);
  EXPECT_EQ(ToHex({bytes.begin() + 36, bytes.begin() + 56}),
            "0400000005000000060000000700000008000000");
  EXPECT_EQ(GetU32(bytes, bytes.size() - 4), 9U);
}

TEST(EvtBuilder, NumbersAndDatesItsRecords) {
  EvtBuilder log;
  log.AddEntry({}).AddEntry({.time = 0}).AddRaw({1, 2, 3, 4});
  const ByteString file = log.Build({.end_record = false});
  const std::size_t second = 48 + GetU32(file, 48);
  EXPECT_EQ(GetU32(file, 48 + 8), 1U);
  EXPECT_EQ(GetU32(file, 48 + 12), UnixTime(2011, 7, 27, 6, 1, 0));
  EXPECT_EQ(GetU32(file, second + 8), 2U);
  EXPECT_EQ(GetU32(file, second + 12), 0U);
  EXPECT_EQ(GetU32(file, file.size() - 4), 0x04030201U);
}

TEST(EvtBuilder, TearsARecord) {
  ByteString file = Hex(kSmallEntry);
  TearRecord(file, 0, 60);
  EXPECT_EQ(ToHex({file.begin() + 56, file.end()}), "53000000" + std::string(64, '0'));
}

}  // namespace
}  // namespace tarnlex::support
