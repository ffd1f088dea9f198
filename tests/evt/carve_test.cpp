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

TEST(CarveEvt, KnowsAWholeRecord) {
  const ByteString record = EvtEntryBytes(Entry());
  EXPECT_EQ(WholeEvtLength(record), record.size());
}

TEST(CarveEvt, PassesOverWhatIsNoWholeRecord) {
  const ByteString record = EvtEntryBytes(Entry());
  EXPECT_EQ(WholeEvtLength(Bytes(record).first(record.size() - 1)), 0U);
  for (const auto& [offset, value] :
       {std::pair<std::size_t, std::uint8_t>{4, 'M'}, {0, 60}, {record.size() - 4, 1}}) {
    ByteString changed = record;
    changed[offset] = value;
    EXPECT_EQ(WholeEvtLength(changed), 0U) << offset;
  }
  EvtEntry entry = Entry();
  entry.time = 100;
  EXPECT_EQ(WholeEvtLength(EvtEntryBytes(entry)), 0U) << "a time before 1990";
  entry = Entry();
  entry.data_offset = 4000;
  EXPECT_EQ(WholeEvtLength(EvtEntryBytes(entry)), 0U) << "data outside of the record";
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
