#include "evt/carve.h"

#include <gtest/gtest.h>

#include "tests/support/evt_builder.h"

namespace tarnlex {
namespace {

using support::ByteString;
using support::EvtEntry;

EvtEntry Entry() {
  return {.number = 7,
          .time = 1'162'455'249,
          .event_id = 528,
          .sid = "S-1-5-21-1-2-3-500",
          .strings = {"alice", "", "2"},
          .data = {1, 2, 3}};
}

TEST(CarveEvt, TakesAWholeRecordForAllThatItSays) {
  const ByteString record = EvtEntryBytes(Entry());
  EXPECT_EQ(SoundEvtLength(record), record.size());
  EXPECT_EQ(CheckEvtRecord(record), Checked::kAll);
}

TEST(CarveEvt, PassesOverWhatIsNoWholeRecord) {
  const ByteString record = EvtEntryBytes(Entry());
  EXPECT_EQ(SoundEvtLength(Bytes(record).first(record.size() - 1)), 0U);
  for (const auto& [offset, value] :
       {std::pair<std::size_t, std::uint8_t>{4, 'M'}, {0, 60}, {record.size() - 4, 1}}) {
    ByteString changed = record;
    changed[offset] = value;
    EXPECT_EQ(SoundEvtLength(changed), 0U) << offset;
  }
  EvtEntry entry = Entry();
  entry.time = 100;
  EXPECT_EQ(SoundEvtLength(EvtEntryBytes(entry)), 0U) << "a time before 1990";
  entry = Entry();
  entry.type = 3;
  EXPECT_EQ(SoundEvtLength(EvtEntryBytes(entry)), 0U) << "no type of event";
}

TEST(CarveEvt, ProvesNothingButTheHeadOfARecordThatDoesNotHoldTogether) {
  EvtEntry entry = Entry();
  entry.string_count = 60;
  EXPECT_EQ(CheckEvtRecord(EvtEntryBytes(entry)), Checked::kNone);
  entry = Entry();
  entry.data_offset = 4000;
  EXPECT_EQ(CheckEvtRecord(EvtEntryBytes(entry)), Checked::kNone);
  entry = Entry();
  entry.sid_length = 0x7FFFFFFF;
  EXPECT_EQ(CheckEvtRecord(EvtEntryBytes(entry)), Checked::kNone);
}

TEST(CarveEvt, KnowsTheHeaderOfAFile) {
  ByteString file = support::EvtBuilder().AddEntry(Entry()).Build();
  EXPECT_TRUE(IsEvtHeader(file));
  EXPECT_FALSE(IsEvtHeader(Bytes(file).first(47)));
  file[44] = 0;
  EXPECT_FALSE(IsEvtHeader(file));
}

}  // namespace
}  // namespace tarnlex
